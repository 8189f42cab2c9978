// Decoded video frames into the host's 8-bit ARGB worlds (bytes A, R, G, B). YUV is turned into
// RGB with the frame's own matrix (BT.601, BT.709, BT.2020, SMPTE 240M, FCC), range (limited or
// full; the JPEG pixel formats are full) and chroma siting; a frame that names no matrix gets
// BT.601, as FFmpeg gives it. Planar formats of 8 to 16 bits go through zimg, as FFmpeg's
// zscale filter converts them with `filter=lanczos`; packed 8-bit RGB and palettes are copied; the
// rest go through swscale. RGB frames keep their alpha, and are opaque without one. Only the
// world's pixels are written. Failures throw std::runtime_error naming the pixel format.
#pragma once

#include <memory>

#include "AlignedBuffer.h"
#include "HostWorld.h"
#include "LibAv.h"
#include "PlaneRing.h"
#include "ZimgGraph.h"

namespace fxhost {

class DecodeConverter {
public:
    // `world` must have the frame's size.
    void convert(const AVFrame& frame, HostWorld& world);

    // Whether frames of this pixel format carry alpha (a palette counts: GIF's transparency).
    static bool hasAlpha(AVPixelFormat format);

private:
    enum class Route { Zimg, Packed, Scale };
    struct Key {
        int width = 0, height = 0, format = -1, space = -1, range = -1, siting = -1;
        bool operator==(const Key& o) const {
            return width == o.width && height == o.height && format == o.format && space == o.space &&
                   range == o.range && siting == o.siting;
        }
    };
    void setUp(const AVFrame& frame, const Key& key);
    void setUpScale(const AVFrame& frame, const Key& key);
    void throughZimg(const AVFrame& frame, HostWorld& world);
    void throughScale(const AVFrame& frame, HostWorld& world);

    Route mRoute = Route::Scale;
    std::unique_ptr<ZimgGraph> mGraph;
    PlaneRing mRing;
    av::Frame mAligned;  // a copy of a frame whose planes zimg could not read where they lie
    av::ScaleContext mContext;
    AlignedBuffer mScaled;  // swscale's rows, padded as it likes, before they go into the world
    Key mKey;
};

}  // namespace fxhost
