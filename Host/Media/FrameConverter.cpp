#include "FrameConverter.h"

#include <cstring>
#include <string>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "AlignedBuffer.h"
#include "JobError.h"
#include "PixelWeave.h"
#include "ZimgFormat.h"

namespace fxhost {

namespace {

// The world's pixels stay the world's: the frame only borrows them.
void borrowed(void*, uint8_t*) {}

// zimg asks for a few rows at a time; each is split out of the world's A, R, G, B pixels into
// planes just before zimg reads it, and its alpha goes straight into the frame's alpha plane,
// which zimg never sees.
struct Split {
    const PlaneRing* ring;
    const uint8_t* rows;
    ptrdiff_t rowbytes;
    uint8_t* alpha;  // the frame's alpha plane, or null
    ptrdiff_t alphaStride;
    int alphaDepth;
};

int split(void* user, unsigned i, unsigned left, unsigned right) {
    const Split& s = *static_cast<const Split*>(user);
    uint8_t* alpha = s.ring->row(3, i);
    if (s.alpha && s.alphaDepth == 8) alpha = s.alpha + static_cast<ptrdiff_t>(i) * s.alphaStride;
    PixelWeave::split(s.rows + static_cast<ptrdiff_t>(i) * s.rowbytes + 4 * static_cast<ptrdiff_t>(left),
                      s.ring->row(0, i) + left, s.ring->row(1, i) + left, s.ring->row(2, i) + left, alpha + left,
                      right - left);
    if (s.alpha && s.alphaDepth > 8)
        PixelWeave::widen(alpha + left,
                          reinterpret_cast<uint16_t*>(s.alpha + static_cast<ptrdiff_t>(i) * s.alphaStride) + left,
                          right - left, s.alphaDepth);
    return 0;
}

}  // namespace

FrameConverter::FrameConverter(int width, int height, AVPixelFormat format, AVColorSpace matrix, AVColorRange range,
                               AVChromaLocation siting)
    : mWidth(width), mHeight(height), mFormat(format) {
    if (ZimgFormat::takes(format)) {
        zimg_image_format to = ZimgFormat::of(format, width, height);
        if (to.color_family == ZIMG_COLOR_YUV) {
            to.matrix_coefficients = ZimgFormat::matrix(matrix);
            to.pixel_range = range == AVCOL_RANGE_JPEG ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
            to.chroma_location = ZimgFormat::siting(siting);
        }
        try {
            mGraph = std::make_unique<ZimgGraph>(ZimgFormat::rgb(width, height), to);
            mRing.reset(width, height, mGraph->inputLines());
            return;
        } catch (const std::runtime_error&) {
            mGraph.reset();  // what zimg will not build, swscale still converts
        }
    }
    setUpScale(matrix, range);
}

void FrameConverter::setUpScale(AVColorSpace matrix, AVColorRange range) {
    // Bicubic only matters where chroma is subsampled; accurate rounding keeps RGB to RGB exact.
    mScale.reset(sws_alloc_context());
    if (!mScale) throw std::bad_alloc();
    SwsContext* context = mScale.get();
    av_opt_set_int(context, "sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND, 0);
    av_opt_set_int(context, "srcw", mWidth, 0);
    av_opt_set_int(context, "srch", mHeight, 0);
    av_opt_set_int(context, "src_format", AV_PIX_FMT_ARGB, 0);
    av_opt_set_int(context, "dstw", mWidth, 0);
    av_opt_set_int(context, "dsth", mHeight, 0);
    av_opt_set_int(context, "dst_format", mFormat, 0);
    // Slices of the frame on every core, so that the encoder's thread hands frames over sooner.
    av_opt_set_int(context, "threads", 0, 0);
    if (sws_init_context(context, nullptr, nullptr) < 0) {
        mScale.reset();
        throw JobError(JobError::kUsage, std::string("cannot convert ARGB frames to ") + av_get_pix_fmt_name(mFormat));
    }
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(mFormat);
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
    // A frame the encoder has let go of is filled again: no fresh pages to fault in every frame.
    av::Frame frame = std::move(mSpare);
    if (!frame) {
        frame.reset(av_frame_alloc());
        if (!frame) throw std::bad_alloc();
        frame->format = mFormat;
        frame->width = mWidth;
        frame->height = mHeight;
        if (av_frame_get_buffer(frame.get(), static_cast<int>(AlignedBuffer::kAlignment)) < 0) throw std::bad_alloc();
    }
    uint8_t* pixels = static_cast<uint8_t*>(static_cast<void*>(world.def()->data));
    if (mGraph) {
        if (!ZimgFormat::aligned(*frame)) throw JobError(JobError::kHostFault, "a movie frame's planes are misaligned");
        const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(mFormat);
        const int alphaPlane = d->nb_components == 4 ? d->comp[3].plane : -1;
        Split source{&mRing,
                     pixels,
                     world.rowbytes(),
                     alphaPlane < 0 ? nullptr : frame->data[alphaPlane],
                     alphaPlane < 0 ? 0 : frame->linesize[alphaPlane],
                     d->comp[0].depth};
        try {
            mGraph->process(mRing.constBuffer(), ZimgFormat::planes(*frame), split, &source);
        } catch (const std::runtime_error& e) {
            throw JobError(JobError::kHostFault, e.what());
        }
        return frame;
    }
    // swscale's threaded entry takes frames and references its source; a source frame without a
    // buffer of its own would be copied whole first, so the world is lent as one.
    av::Frame source(av_frame_alloc());
    if (!source) throw std::bad_alloc();
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
