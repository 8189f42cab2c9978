#include "DecodeConverter.h"

#include <cstring>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <stdexcept>

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

}  // namespace

bool DecodeConverter::hasAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && (description->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL));
}

void DecodeConverter::convert(const AVFrame& frame, HostWorld& world) {
    bool full = storedValue(frame.color_range) == AVCOL_RANGE_JPEG;
    const int siting = storedValue(frame.chroma_location);
    const AVPixelFormat format = withoutJpeg(static_cast<AVPixelFormat>(frame.format), full);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    if (!description) throw std::runtime_error("a decoded frame has no pixel format");
    const Key key{frame.width, frame.height, format, swsMatrix(storedValue(frame.colorspace)), full,
                  siting};
    if (!mContext || !(key == mKey)) {
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
        if (siting > AVCHROMA_LOC_UNSPECIFIED && siting < AVCHROMA_LOC_NB &&
            avcodec_enum_to_chroma_pos(&x, &y, static_cast<AVChromaLocation>(siting)) == 0) {
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
            sws_setColorspaceDetails(context, sws_getCoefficients(key.space), full ? 1 : 0,
                                     sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
        }
        mKey = key;
    }
    uint8_t* const planes[4] = {static_cast<uint8_t*>(static_cast<void*>(world.def()->data)), nullptr, nullptr,
                                nullptr};
    const int strides[4] = {world.rowbytes(), 0, 0, 0};
    sws_scale(mContext.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
}

}  // namespace fxhost
