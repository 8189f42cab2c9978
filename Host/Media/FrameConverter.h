// 8-bit ARGB worlds (bytes A, R, G, B) into frames of an encoder's format: RGB byte for byte; YUV
// with the given matrix (BT.601 unspecified), range (limited unspecified) and siting (left
// unspecified), as zscale=filter=lanczos converts it; alpha kept where the format has it.
#pragma once

#include <memory>

#include "HostWorld.h"
#include "LibAv.h"
#include "PlaneRing.h"
#include "ZimgGraph.h"

namespace fxhost {

class FrameConverter {
public:
    FrameConverter(int width, int height, AVPixelFormat format, AVColorSpace matrix, AVColorRange range,
                   AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED);

    // A new frame of the converter's format and size; the world must be 8-bit and of that size.
    av::Frame convert(const HostWorld& world);
    // Takes back a frame convert() gave, to fill again once the encoder holds no reference to it.
    void recycle(av::Frame frame);

private:
    void setUpScale(AVColorSpace matrix, AVColorRange range);

    int mWidth;
    int mHeight;
    AVPixelFormat mFormat;
    std::unique_ptr<ZimgGraph> mGraph;
    PlaneRing mRing;
    av::ScaleContext mScale;
    av::Frame mSpare;
};

}  // namespace fxhost
