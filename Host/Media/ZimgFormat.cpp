#include "ZimgFormat.h"

#include <cstdint>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace fxhost {

namespace {

constexpr uintptr_t kAlignment = 64;  // what zimg asks of planes on x86 with ZIMG_CPU_AUTO_64B

const AVPixFmtDescriptor* describe(int format) {
    return av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
}

}  // namespace

bool ZimgFormat::takes(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    constexpr uint64_t kForeign = AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                  AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    if (!d || (d->flags & kForeign) || !(d->flags & AV_PIX_FMT_FLAG_PLANAR)) return false;
    if (d->nb_components != 3 && !(d->nb_components == 4 && (d->flags & AV_PIX_FMT_FLAG_ALPHA))) return false;
    const int depth = d->comp[0].depth;
    if (depth < 8 || depth > 16) return false;
    unsigned planesSeen = 0;
    for (int c = 0; c < d->nb_components; ++c) {
        const AVComponentDescriptor& comp = d->comp[c];
        if (comp.depth != depth || comp.shift != 0 || comp.offset != 0 || comp.step != (depth > 8 ? 2 : 1))
            return false;
        if (planesSeen & (1u << comp.plane)) return false;  // two components share a plane (NV12)
        planesSeen |= 1u << comp.plane;
    }
    return true;
}

zimg_image_format ZimgFormat::of(AVPixelFormat format, int width, int height) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    zimg_image_format f;
    zimg_image_format_default(&f, ZIMG_API_VERSION);
    f.width = static_cast<unsigned>(width);
    f.height = static_cast<unsigned>(height);
    f.depth = static_cast<unsigned>(d->comp[0].depth);
    f.pixel_type = f.depth > 8 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
    f.subsample_w = d->log2_chroma_w;
    f.subsample_h = d->log2_chroma_h;
    const bool rgb = d->flags & AV_PIX_FMT_FLAG_RGB;
    f.color_family = rgb ? ZIMG_COLOR_RGB : ZIMG_COLOR_YUV;
    f.matrix_coefficients = rgb ? ZIMG_MATRIX_RGB : ZIMG_MATRIX_ST170_M;
    f.pixel_range = rgb ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
    return f;
}

zimg_image_format ZimgFormat::rgb(int width, int height) {
    zimg_image_format f;
    zimg_image_format_default(&f, ZIMG_API_VERSION);
    f.width = static_cast<unsigned>(width);
    f.height = static_cast<unsigned>(height);
    f.depth = 8;
    f.pixel_type = ZIMG_PIXEL_BYTE;
    f.color_family = ZIMG_COLOR_RGB;
    f.matrix_coefficients = ZIMG_MATRIX_RGB;
    f.pixel_range = ZIMG_RANGE_FULL;
    return f;
}

namespace {

// zimg's read-only and writable buffers differ only in the constness of their pointers.
template <typename Buffer, typename Frame>
Buffer framePlanes(Frame& frame) {
    const AVPixFmtDescriptor* d = describe(frame.format);
    Buffer buffer{};
    buffer.version = ZIMG_API_VERSION;
    for (int c = 0; c < 3; ++c) {
        buffer.plane[c].data = frame.data[d->comp[c].plane];
        buffer.plane[c].stride = frame.linesize[d->comp[c].plane];
        buffer.plane[c].mask = ZIMG_BUFFER_MAX;
    }
    return buffer;
}

}  // namespace

zimg_image_buffer_const ZimgFormat::planes(const AVFrame& frame) {
    return framePlanes<zimg_image_buffer_const>(frame);
}

zimg_image_buffer ZimgFormat::planes(AVFrame& frame) { return framePlanes<zimg_image_buffer>(frame); }

bool ZimgFormat::aligned(const AVFrame& frame) {
    const AVPixFmtDescriptor* d = describe(frame.format);
    for (int c = 0; c < 3; ++c) {
        const int p = d->comp[c].plane;
        if (reinterpret_cast<uintptr_t>(frame.data[p]) % kAlignment || frame.linesize[p] % kAlignment) return false;
    }
    return true;
}

zimg_matrix_coefficients_e ZimgFormat::matrix(int space) {
    switch (space) {
        case AVCOL_SPC_BT709: return ZIMG_MATRIX_BT709;
        case AVCOL_SPC_FCC: return ZIMG_MATRIX_FCC;
        case AVCOL_SPC_BT470BG: return ZIMG_MATRIX_BT470_BG;
        case AVCOL_SPC_SMPTE240M: return ZIMG_MATRIX_ST240_M;
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL: return ZIMG_MATRIX_BT2020_NCL;
        default: return ZIMG_MATRIX_ST170_M;
    }
}

zimg_chroma_location_e ZimgFormat::siting(int location) {
    switch (location) {
        case AVCHROMA_LOC_CENTER: return ZIMG_CHROMA_CENTER;
        case AVCHROMA_LOC_TOPLEFT: return ZIMG_CHROMA_TOP_LEFT;
        case AVCHROMA_LOC_TOP: return ZIMG_CHROMA_TOP;
        case AVCHROMA_LOC_BOTTOMLEFT: return ZIMG_CHROMA_BOTTOM_LEFT;
        case AVCHROMA_LOC_BOTTOM: return ZIMG_CHROMA_BOTTOM;
        default: return ZIMG_CHROMA_LEFT;
    }
}

}  // namespace fxhost
