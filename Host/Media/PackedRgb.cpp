#include "PackedRgb.h"

#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace fxhost {

bool PackedRgb::takes(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    if (!d) return false;
    if (format == AV_PIX_FMT_PAL8) return true;
    if (!(d->flags & AV_PIX_FMT_FLAG_RGB) || (d->flags & (AV_PIX_FMT_FLAG_PLANAR | AV_PIX_FMT_FLAG_BITSTREAM)) ||
        (d->nb_components != 3 && d->nb_components != 4))
        return false;
    for (int c = 0; c < d->nb_components; ++c)
        if (d->comp[c].depth != 8 || d->comp[c].shift != 0 || d->comp[c].plane != 0 ||
            d->comp[c].step != d->comp[0].step)
            return false;
    return d->comp[0].step == 3 || d->comp[0].step == 4;
}

void PackedRgb::toArgb(const AVFrame& frame, uint8_t* rows, ptrdiff_t rowbytes) {
    const int width = frame.width;
    if (frame.format == AV_PIX_FMT_PAL8) {
        // libav's palette entries are native 32-bit words 0xAARRGGBB.
        const uint8_t* palette = frame.data[1];
        for (int y = 0; y < frame.height; ++y) {
            const uint8_t* in = frame.data[0] + static_cast<ptrdiff_t>(y) * frame.linesize[0];
            uint8_t* out = rows + y * rowbytes;
            for (int x = 0; x < width; ++x, out += 4) {
                uint32_t entry;
                std::memcpy(&entry, palette + 4 * in[x], 4);
                out[0] = static_cast<uint8_t>(entry >> 24);
                out[1] = static_cast<uint8_t>(entry >> 16);
                out[2] = static_cast<uint8_t>(entry >> 8);
                out[3] = static_cast<uint8_t>(entry);
            }
        }
        return;
    }
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const int step = d->comp[0].step, r = d->comp[0].offset, g = d->comp[1].offset, b = d->comp[2].offset;
    const bool alpha = d->nb_components == 4;
    const int a = alpha ? d->comp[3].offset : 0;
    for (int y = 0; y < frame.height; ++y) {
        const uint8_t* in = frame.data[0] + static_cast<ptrdiff_t>(y) * frame.linesize[0];
        uint8_t* out = rows + y * rowbytes;
        for (int x = 0; x < width; ++x, in += step, out += 4) {
            out[0] = alpha ? in[a] : 255;
            out[1] = in[r];
            out[2] = in[g];
            out[3] = in[b];
        }
    }
}

}  // namespace fxhost
