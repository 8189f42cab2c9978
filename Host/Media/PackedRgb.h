// Frames that already hold 8-bit RGB in one plane (rgb24, bgr0, argb, bgra and the rest, and
// palette frames) copied into the host's ARGB rows byte for byte: only each row's pixels are
// written, never the bytes after them. Opaque where the format has no alpha.
#pragma once

#include <cstddef>
#include <cstdint>

#include "LibAv.h"

namespace fxhost {

class PackedRgb {
public:
    static bool takes(AVPixelFormat format);
    // `rows` holds frame.height rows of frame.width pixels, `rowbytes` apart.
    static void toArgb(const AVFrame& frame, uint8_t* rows, ptrdiff_t rowbytes);
};

}  // namespace fxhost
