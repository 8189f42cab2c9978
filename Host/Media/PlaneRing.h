// Four 8-bit planes (R, G, B, A in zimg's order) of a few rows each, in the circular layout zimg
// reads and writes through a callback: row i of a plane lives at row (i & mask). A ring that
// must hold the whole picture (zimg asks for every line) holds `height` rows.
#pragma once

#include <zimg.h>

#include <cstddef>
#include <cstdint>

#include "AlignedBuffer.h"

namespace fxhost {

class PlaneRing {
public:
    // Room for `lines` rows (as zimg asks) of `width` pixels; kept when already large enough.
    void reset(int width, int height, unsigned lines);

    uint8_t* row(int plane, unsigned i) const {
        return mMemory.data() + static_cast<size_t>(plane) * mPlaneBytes + static_cast<size_t>(i & mMask) * mStride;
    }
    zimg_image_buffer buffer() const;
    zimg_image_buffer_const constBuffer() const;

private:
    AlignedBuffer mMemory;
    size_t mStride = 0;
    size_t mPlaneBytes = 0;
    unsigned mMask = 0;
};

}  // namespace fxhost
