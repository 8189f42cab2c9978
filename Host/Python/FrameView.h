// A frame as NumPy holds it: height × width × 4 channels R, G, B, A (straight alpha) of 8-bit,
// 16-bit or 32-bit float values, each axis with its own stride in bytes, so views, slices and
// Fortran order are read where they lie. readInto() fills an 8-bit A, R, G, B world and
// writeFrom() writes one back at the frame's depth, rounding as image files of that depth are.
#pragma once

#include <cstddef>

#include "HostWorld.h"

namespace fxhost {

class FrameView {
public:
    enum class Type { U8, U16, F32 };

    FrameView(void* data, Type type, int height, int width, std::ptrdiff_t rowStride,
              std::ptrdiff_t pixelStride, std::ptrdiff_t channelStride);

    int width() const { return mWidth; }
    int height() const { return mHeight; }

    void readInto(HostWorld& world) const;
    void writeFrom(const HostWorld& world) const;

private:
    template <typename T>
    void read(HostWorld& world) const;
    template <typename T>
    void write(const HostWorld& world) const;
    bool packedBytes() const;

    char* mData;
    Type mType;
    int mHeight;
    int mWidth;
    std::ptrdiff_t mRowStride;
    std::ptrdiff_t mPixelStride;
    std::ptrdiff_t mChannelStride;
};

}  // namespace fxhost
