// Whether a container can hold a stream of a codec: FFmpeg's own answer where the muxer gives one;
// for MXF, whose muxer gives none and refuses most codecs only when the header or the first packet
// is written, the codecs it writes in every profile; for other muxers without an answer, yes (tried,
// as ffmpeg does).
#pragma once

#include "LibAv.h"

namespace fxhost {

bool containerHolds(const AVOutputFormat* container, AVCodecID codec);

}  // namespace fxhost
