// 8-bit packed four-byte pixels as GStreamer lays them out (RGBA, BGRA, ARGB, ABGR, RGBx, BGRx: a
// byte offset for each of R, G, B and alpha, or padding), moved to and from the host's 8-bit worlds
// (bytes A, R, G, B; straight alpha, as GStreamer's). Rows are `stride` bytes apart and only
// width × 4 bytes of each are touched. Formats without alpha read as opaque, and their padding
// byte is written as 255.
#pragma once

#include <cstddef>
#include <cstdint>

#include "HostWorld.h"

namespace fxhost {

class PackedPixels {
public:
    // Byte offsets within a pixel; `alpha` is the padding byte's where hasAlpha is false.
    PackedPixels(int red, int green, int blue, int alpha, bool hasAlpha);

    // The frame's pixels (the world's size) into the world.
    void toWorld(const uint8_t* data, ptrdiff_t stride, HostWorld& world) const;
    // The world's pixels into the frame.
    void fromWorld(const HostWorld& world, uint8_t* data, ptrdiff_t stride) const;

private:
    int mRed, mGreen, mBlue, mAlpha;
    bool mHasAlpha;
};

}  // namespace fxhost
