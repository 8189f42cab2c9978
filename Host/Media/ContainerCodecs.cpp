#include "ContainerCodecs.h"

#include <cstring>

namespace fxhost {

bool containerHolds(const AVOutputFormat* container, AVCodecID codec) {
    if (codec == AV_CODEC_ID_NONE) return false;
    const int answer = avformat_query_codec(container, codec, FF_COMPLIANCE_NORMAL);
    if (answer >= 0) return answer == 1;
    if (std::strcmp(container->name, "mxf") == 0)
        return codec == AV_CODEC_ID_MPEG2VIDEO || codec == AV_CODEC_ID_DNXHD || codec == AV_CODEC_ID_DVVIDEO ||
               codec == AV_CODEC_ID_PCM_S16LE || codec == AV_CODEC_ID_PCM_S24LE;
    return true;
}

}  // namespace fxhost
