#include "FrameConverter.h"

#include <string>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "JobError.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace fxhost {

FrameConverter::FrameConverter(int width, int height, AVPixelFormat format, AVColorSpace matrix, AVColorRange range)
    : mWidth(width), mHeight(height), mFormat(format) {
    // Bicubic only matters where chroma is subsampled; accurate rounding keeps RGB to RGB exact.
    mScale.reset(sws_alloc_context());
    if (!mScale) throw std::bad_alloc();
    SwsContext* context = mScale.get();
    av_opt_set_int(context, "sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND, 0);
    av_opt_set_int(context, "srcw", width, 0);
    av_opt_set_int(context, "srch", height, 0);
    av_opt_set_int(context, "src_format", AV_PIX_FMT_ARGB, 0);
    av_opt_set_int(context, "dstw", width, 0);
    av_opt_set_int(context, "dsth", height, 0);
    av_opt_set_int(context, "dst_format", format, 0);
    // Slices of the frame on every core, so that the encoder's thread hands frames over sooner.
    av_opt_set_int(context, "threads", 0, 0);
    if (sws_init_context(context, nullptr, nullptr) < 0) {
        mScale.reset();
        throw JobError(JobError::kUsage, std::string("cannot convert ARGB frames to ") + av_get_pix_fmt_name(format));
    }
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

namespace {

// The world's pixels stay the world's: the frame only borrows them.
void borrowed(void*, uint8_t*) {}

}  // namespace

av::Frame FrameConverter::convert(const HostWorld& world) {
    if (world.depth() != Depth::Eight || world.width() != mWidth || world.height() != mHeight)
        throw JobError(JobError::kHostFault, "a movie frame must be an 8-bit world of " + std::to_string(mWidth) + "x" +
                                                 std::to_string(mHeight));
    // A frame the encoder has let go of is filled again: no fresh pages to fault in every frame.
    av::Frame frame = std::move(mSpare);
    if (!frame) {
        frame.reset(av_frame_alloc());
        if (!frame) throw std::bad_alloc();
        frame->format = mFormat;
        frame->width = mWidth;
        frame->height = mHeight;
        if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
    }
    // swscale's threaded entry takes frames and references its source; a source frame without a
    // buffer of its own would be copied whole first, so the world is lent as one.
    av::Frame source(av_frame_alloc());
    if (!source) throw std::bad_alloc();
    uint8_t* pixels = static_cast<uint8_t*>(static_cast<void*>(world.def()->data));
    source->buf[0] = av_buffer_create(pixels, static_cast<size_t>(world.rowbytes()) * mHeight, borrowed, nullptr,
                                      AV_BUFFER_FLAG_READONLY);
    if (!source->buf[0]) throw std::bad_alloc();
    source->data[0] = pixels;
    source->linesize[0] = world.rowbytes();
    source->format = AV_PIX_FMT_ARGB;
    source->width = mWidth;
    source->height = mHeight;
    const int scaled = sws_scale_frame(mScale.get(), frame.get(), source.get());
    if (scaled < 0) throw JobError(JobError::kHostFault, "cannot convert a frame: " + av::errorText(scaled));
    return frame;
}

void FrameConverter::recycle(av::Frame frame) {
    if (frame && av_frame_is_writable(frame.get())) mSpare = std::move(frame);
}

}  // namespace fxhost
