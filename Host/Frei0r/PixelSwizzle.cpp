#include "PixelSwizzle.h"

#include <cstring>

namespace fxhost {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the swizzle reads pixels as little-endian words");

namespace {

// Read as a little-endian word, R,G,B,A is A<<24|B<<16|G<<8|R and A,R,G,B is B<<24|G<<16|R<<8|A:
// one byte rotation apart. memcpy keeps the loads legal for any alignment and still vectorises.
template <bool kToArgb>
void rotateRows(const PixelView& from, const PixelView& to) {
    const int width = from.width < to.width ? from.width : to.width;
    const int height = from.height < to.height ? from.height : to.height;
    for (int y = 0; y < height; ++y) {
        const uint8_t* src = from.data + static_cast<size_t>(y) * from.rowbytes;
        uint8_t* dst = to.data + static_cast<size_t>(y) * to.rowbytes;
        for (int x = 0; x < width; ++x) {
            uint32_t word;
            std::memcpy(&word, src + 4 * x, 4);
            word = kToArgb ? (word << 8) | (word >> 24) : (word >> 8) | (word << 24);
            std::memcpy(dst + 4 * x, &word, 4);
        }
    }
}

}  // namespace

void rgbaToArgb(const PixelView& rgba, const PixelView& argb) {
    rotateRows<true>(rgba, argb);
}

void argbToRgba(const PixelView& argb, const PixelView& rgba) {
    rotateRows<false>(argb, rgba);
}

}  // namespace fxhost
