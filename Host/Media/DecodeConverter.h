// Decoded frames into 8-bit ARGB worlds (bytes A, R, G, B), only the world's pixels written: YUV with
// the frame's matrix (BT.601 untagged), range and chroma siting, as zscale=filter=lanczos converts it;
// RGB with its alpha, or opaque. Failures throw std::runtime_error naming the pixel format.
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
