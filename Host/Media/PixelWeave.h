// The host's ARGB pixels (bytes A, R, G, B) to and from four 8-bit planes, one row span at a
// time: what zimg reads and writes beside the world. Vector code on x86-64, plain loops elsewhere.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fxhost {

class PixelWeave {
public:
    // `count` pixels of `argb` into the planes r, g, b and a.
    static void split(const uint8_t* argb, uint8_t* r, uint8_t* g, uint8_t* b, uint8_t* a, size_t count);
    // `count` pixels from the planes into `argb`; a null `a` writes opaque pixels.
    static void weave(const uint8_t* r, const uint8_t* g, const uint8_t* b, const uint8_t* a, uint8_t* argb,
                      size_t count);
    // Alpha between 8 bits and `depth` bits (9 to 16), full range: 255 is 2^depth - 1, rounded.
    static void widen(const uint8_t* in, uint16_t* out, size_t count, int depth);
    static void narrow(const uint16_t* in, uint8_t* out, size_t count, int depth);
};

}  // namespace fxhost
