// Decoded video frames into the host's 8-bit ARGB worlds (bytes A, R, G, B). YUV is turned into
// RGB with the frame's own matrix (BT.601, BT.709, BT.2020, SMPTE 240M, FCC), range (limited or
// full; the JPEG pixel formats are full) and chroma siting; a frame that names no matrix gets
// BT.601, as FFmpeg gives it. RGB frames are repacked, alpha kept where the frame has it, and
// opaque otherwise. Failures throw std::runtime_error naming the pixel format.
#pragma once

#include "HostWorld.h"
#include "LibAv.h"

namespace fxhost {

class DecodeConverter {
public:
    // `world` must have the frame's size.
    void convert(const AVFrame& frame, HostWorld& world);

    // Whether frames of this pixel format carry alpha (a palette counts: GIF's transparency).
    static bool hasAlpha(AVPixelFormat format);

private:
    struct Key {
        int width = 0, height = 0, format = -1, space = -1, range = -1, siting = -1;
        bool operator==(const Key& o) const {
            return width == o.width && height == o.height && format == o.format && space == o.space &&
                   range == o.range && siting == o.siting;
        }
    };
    av::ScaleContext mContext;
    Key mKey;
};

}  // namespace fxhost
