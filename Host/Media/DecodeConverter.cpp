#include "DecodeConverter.h"

#include <cstring>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <stdexcept>

#include "PackedRgb.h"
#include "PixelWeave.h"
#include "ZimgFormat.h"

namespace fxhost {

namespace {

// The JPEG formats are their plain YUV twins at full range; swscale is told the range itself.
AVPixelFormat withoutJpeg(AVPixelFormat format, bool& full) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P: full = true; return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P: full = true; return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P: full = true; return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P: full = true; return AV_PIX_FMT_YUV440P;
        case AV_PIX_FMT_YUVJ411P: full = true; return AV_PIX_FMT_YUV411P;
        default: return format;
    }
}

// swscale's own default matrix is BT.601, which is also what FFmpeg applies to an untagged stream.
int swsMatrix(int space) {
    switch (space) {
        case AVCOL_SPC_BT709: return SWS_CS_ITU709;
        case AVCOL_SPC_FCC: return SWS_CS_FCC;
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M: return SWS_CS_ITU601;
        case AVCOL_SPC_SMPTE240M: return SWS_CS_SMPTE240M;
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL: return SWS_CS_BT2020;
        default: return SWS_CS_DEFAULT;
    }
}

// A frame's colour fields hold whatever number the file said; one outside its enumeration is no
// valid value of that type, so it is read as the plain int it is stored as.
template <typename Enum>
int storedValue(const Enum& field) {
    int value = 0;
    static_assert(sizeof(Enum) == sizeof(int), "an enumeration stored as an int");
    std::memcpy(&value, &field, sizeof value);
    return value;
}

bool isYuv(const AVPixFmtDescriptor* description) {
    return description->nb_components >= 3 &&
           !(description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

// zimg hands over a few finished rows at a time, as planes; they are woven into the world's
// A, R, G, B pixels while still in cache, with the frame's alpha, which zimg never sees.
struct Weave {
    const PlaneRing* ring;
    uint8_t* rows;
    ptrdiff_t rowbytes;
    const uint8_t* alpha;  // the frame's alpha plane, or null
    ptrdiff_t alphaStride;
    int alphaDepth;
};

int weave(void* user, unsigned i, unsigned left, unsigned right) {
    const Weave& w = *static_cast<const Weave*>(user);
    const uint8_t* alpha = nullptr;
    if (w.alpha) {
        alpha = w.alpha + static_cast<ptrdiff_t>(i) * w.alphaStride;
        if (w.alphaDepth > 8) {
            uint8_t* narrowed = w.ring->row(3, i);
            PixelWeave::narrow(reinterpret_cast<const uint16_t*>(alpha) + left, narrowed + left, right - left,
                               w.alphaDepth);
            alpha = narrowed;
        }
        alpha += left;
    }
    PixelWeave::weave(w.ring->row(0, i) + left, w.ring->row(1, i) + left, w.ring->row(2, i) + left, alpha,
                      w.rows + static_cast<ptrdiff_t>(i) * w.rowbytes + 4 * static_cast<ptrdiff_t>(left), right - left);
    return 0;
}

}  // namespace

bool DecodeConverter::hasAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && (description->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL));
}

void DecodeConverter::convert(const AVFrame& frame, HostWorld& world) {
    bool full = storedValue(frame.color_range) == AVCOL_RANGE_JPEG;
    const AVPixelFormat format = withoutJpeg(static_cast<AVPixelFormat>(frame.format), full);
    if (!av_pix_fmt_desc_get(format)) throw std::runtime_error("a decoded frame has no pixel format");
    const Key key{frame.width, frame.height, frame.format, storedValue(frame.colorspace), full,
                  storedValue(frame.chroma_location)};
    if (!(key == mKey)) setUp(frame, key);
    switch (mRoute) {
        case Route::Zimg: throughZimg(frame, world); break;
        case Route::Packed:
            PackedRgb::toArgb(frame, static_cast<uint8_t*>(static_cast<void*>(world.def()->data)), world.rowbytes());
            break;
        case Route::Scale: throughScale(frame, world); break;
    }
}

// Planar formats of 8 to 16 bits go through zimg; packed 8-bit RGB and palettes are copied; the
// rest, and what zimg will not build, through swscale.
void DecodeConverter::setUp(const AVFrame& frame, const Key& key) {
    mKey = Key();
    mGraph.reset();
    mContext.reset();
    bool full = key.range != 0;
    const AVPixelFormat format = withoutJpeg(static_cast<AVPixelFormat>(frame.format), full);
    if (ZimgFormat::takes(format)) {
        zimg_image_format from = ZimgFormat::of(format, frame.width, frame.height);
        if (from.color_family == ZIMG_COLOR_YUV) {
            from.matrix_coefficients = ZimgFormat::matrix(key.space);
            from.pixel_range = full ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
            from.chroma_location = ZimgFormat::siting(key.siting);
        }
        try {
            mGraph = std::make_unique<ZimgGraph>(from, ZimgFormat::rgb(frame.width, frame.height));
            mRing.reset(frame.width, frame.height, mGraph->outputLines());
            mRoute = Route::Zimg;
        } catch (const std::runtime_error&) {
            mGraph.reset();  // what zimg will not build, swscale still converts
        }
    }
    if (!mGraph) {
        if (PackedRgb::takes(format)) {
            mRoute = Route::Packed;
        } else {
            setUpScale(frame, key);
            mRoute = Route::Scale;
        }
    }
    mKey = key;
}

void DecodeConverter::setUpScale(const AVFrame& frame, const Key& key) {
    bool full = key.range != 0;
    const AVPixelFormat format = withoutJpeg(static_cast<AVPixelFormat>(frame.format), full);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    mContext.reset(sws_alloc_context());
    SwsContext* context = mContext.get();
    if (!context) throw std::bad_alloc();
    // Accurate rounding keeps swscale off its fast path, which ignores chroma siting and rounds
    // coarsely; full chroma interpolation filters chroma up rather than repeating it.
    av_opt_set_int(context, "sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, 0);
    av_opt_set_int(context, "srcw", frame.width, 0);
    av_opt_set_int(context, "srch", frame.height, 0);
    av_opt_set_int(context, "src_format", format, 0);
    av_opt_set_int(context, "dstw", frame.width, 0);
    av_opt_set_int(context, "dsth", frame.height, 0);
    av_opt_set_int(context, "dst_format", AV_PIX_FMT_ARGB, 0);
    int x = 0, y = 0;
    if (key.siting > AVCHROMA_LOC_UNSPECIFIED && key.siting < AVCHROMA_LOC_NB &&
        avcodec_enum_to_chroma_pos(&x, &y, static_cast<AVChromaLocation>(key.siting)) == 0) {
        av_opt_set_int(context, "src_h_chr_pos", x, 0);
        av_opt_set_int(context, "src_v_chr_pos", y, 0);
    }
    if (sws_init_context(context, nullptr, nullptr) < 0) {
        mContext.reset();
        throw std::runtime_error(std::string("cannot convert frames of pixel format ") + description->name +
                                 " to RGB");
    }
    if (isYuv(description)) {
        // Without this swscale would take every stream for BT.601 at limited range.
        sws_setColorspaceDetails(context, sws_getCoefficients(swsMatrix(key.space)), full ? 1 : 0,
                                 sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    }
}

void DecodeConverter::throughZimg(const AVFrame& frame, HostWorld& world) {
    const AVFrame* source = &frame;
    if (!ZimgFormat::aligned(frame)) {
        // Rare (a raw decoder lending the packet's bytes): the planes are copied where zimg reads.
        if (!mAligned || mAligned->width != frame.width || mAligned->height != frame.height ||
            mAligned->format != frame.format) {
            mAligned.reset(av_frame_alloc());
            if (!mAligned) throw std::bad_alloc();
            mAligned->format = frame.format;
            mAligned->width = frame.width;
            mAligned->height = frame.height;
            if (av_frame_get_buffer(mAligned.get(), static_cast<int>(AlignedBuffer::kAlignment)) < 0)
                throw std::bad_alloc();
        }
        if (av_frame_copy(mAligned.get(), &frame) < 0) throw std::runtime_error("cannot copy a decoded frame");
        source = mAligned.get();
    }
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source->format));
    const int alphaPlane = d->nb_components == 4 ? d->comp[3].plane : -1;
    Weave target{&mRing,
                 static_cast<uint8_t*>(static_cast<void*>(world.def()->data)),
                 world.rowbytes(),
                 alphaPlane < 0 ? nullptr : source->data[alphaPlane],
                 alphaPlane < 0 ? 0 : source->linesize[alphaPlane],
                 d->comp[0].depth};
    mGraph->process(ZimgFormat::planes(*source), mRing.buffer(), nullptr, nullptr, weave, &target);
}

void DecodeConverter::throughScale(const AVFrame& frame, HostWorld& world) {
    // swscale's vector code may store a little past a row's last pixel: it writes rows of its own,
    // which are copied into the world, whose padding belongs to the effect's guard.
    const size_t used = 4 * static_cast<size_t>(frame.width);
    const size_t stride = AlignedBuffer::stride(used + AlignedBuffer::kAlignment);
    uint8_t* scaled = mScaled.reserve(stride * (static_cast<size_t>(frame.height) + 1));
    uint8_t* const planes[4] = {scaled, nullptr, nullptr, nullptr};
    const int strides[4] = {static_cast<int>(stride), 0, 0, 0};
    sws_scale(mContext.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    uint8_t* rows = static_cast<uint8_t*>(static_cast<void*>(world.def()->data));
    for (int y = 0; y < frame.height; ++y)
        std::memcpy(rows + static_cast<ptrdiff_t>(y) * world.rowbytes(), scaled + y * stride, used);
}

}  // namespace fxhost
