// Turns 8-bit ARGB worlds (bytes A,R,G,B) into frames of an encoder's pixel format: RGB formats
// byte for byte, YUV with the given matrix (BT.601 where unspecified) and range (limited where
// unspecified), alpha kept where the format has it.
#pragma once

#include "HostWorld.h"
#include "LibAv.h"

namespace fxhost {

class FrameConverter {
public:
    FrameConverter(int width, int height, AVPixelFormat format, AVColorSpace matrix, AVColorRange range);

    // A new frame of the converter's format and size; the world must be 8-bit and of that size.
    av::Frame convert(const HostWorld& world);
    // Takes back a frame convert() gave, to fill again once the encoder holds no reference to it.
    void recycle(av::Frame frame);

private:
    int mWidth;
    int mHeight;
    AVPixelFormat mFormat;
    av::ScaleContext mScale;
    av::Frame mSpare;
};

}  // namespace fxhost
