#include "FrameConverter.h"

#include <string>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "JobError.h"

namespace fxhost {

FrameConverter::FrameConverter(int width, int height, AVPixelFormat format, AVColorSpace matrix, AVColorRange range)
    : mWidth(width), mHeight(height), mFormat(format) {
    // Bicubic only matters where chroma is subsampled; accurate rounding keeps RGB to RGB exact.
    mScale.reset(sws_getContext(width, height, AV_PIX_FMT_ARGB, width, height, format,
                                SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (!mScale)
        throw JobError(JobError::kUsage, std::string("cannot convert ARGB frames to ") + av_get_pix_fmt_name(format));
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
    if (!(desc->flags & AV_PIX_FMT_FLAG_RGB) && desc->nb_components >= 3) {
        // swscale would write BT.601 limited range whatever the output says it is.
        const int table = matrix == AVCOL_SPC_UNSPECIFIED || matrix > AVCOL_SPC_BT2020_CL || matrix == AVCOL_SPC_RGB
                              ? SWS_CS_ITU601
                              : static_cast<int>(matrix);
        const int full = range == AVCOL_RANGE_JPEG ? 1 : 0;
        sws_setColorspaceDetails(mScale.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1, sws_getCoefficients(table), full,
                                 0, 1 << 16, 1 << 16);
    }
}

av::Frame FrameConverter::convert(const HostWorld& world) {
    if (world.depth() != Depth::Eight || world.width() != mWidth || world.height() != mHeight)
        throw JobError(JobError::kHostFault, "a movie frame must be an 8-bit world of " + std::to_string(mWidth) + "x" +
                                                 std::to_string(mHeight));
    av::Frame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->format = mFormat;
    frame->width = mWidth;
    frame->height = mHeight;
    if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
    const uint8_t* source[4] = {static_cast<const uint8_t*>(static_cast<const void*>(world.def()->data)), nullptr,
                                nullptr, nullptr};
    const int sourceStride[4] = {world.rowbytes(), 0, 0, 0};
    sws_scale(mScale.get(), source, sourceStride, 0, mHeight, frame->data, frame->linesize);
    return frame;
}

}  // namespace fxhost
