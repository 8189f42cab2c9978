// 8-bit Y'CbCr at full chroma resolution (4:4:4 planes, alpha optional) into 8-bit ARGB rows
// (bytes A, R, G, B) with one of swscale's matrices (SWS_CS_*) at limited or full range, each
// channel rounded to nearest and clipped to 0..255. Opaque where no alpha plane is given.
#pragma once

#include <cstdint>

namespace fxhost {

class YuvMatrix {
public:
    YuvMatrix(int swsMatrix, bool fullRange);

    // One row of `width` pixels; `a` may be null.
    void row(const uint8_t* y, const uint8_t* u, const uint8_t* v, const uint8_t* a, uint8_t* argb,
             int width) const;

private:
    template <bool kAlpha>
    void rowOf(const uint8_t* y, const uint8_t* u, const uint8_t* v, const uint8_t* a, uint8_t* argb,
               int width) const;

    int32_t mY = 0, mYOffset = 0;  // luma gain and black level
    int32_t mVR = 0, mUG = 0, mVG = 0, mUB = 0;
};

}  // namespace fxhost
