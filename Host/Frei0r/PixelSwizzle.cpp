#include "PixelSwizzle.h"

#include <cstring>

namespace fxhost {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the swizzle reads pixels as little-endian words");

namespace {

// Read as a little-endian word, R,G,B,A is A<<24|B<<16|G<<8|R and A,R,G,B is B<<24|G<<16|R<<8|A:
// one byte rotation apart. -O2 leaves the plain loop scalar (seven instructions a pixel, as
// much as the effect itself costs), so whole blocks go through the compiler's vector type: SSE2
// on any x86-64, NEON on ARM. memcpy keeps the loads legal for any alignment.
typedef uint32_t Block __attribute__((vector_size(16)));
constexpr int kBlockPixels = sizeof(Block) / 4;

template <bool kToArgb>
inline uint32_t rotate(uint32_t word) {
    return kToArgb ? (word << 8) | (word >> 24) : (word >> 8) | (word << 24);
}

template <bool kToArgb>
inline Block rotate(Block words) {
    return kToArgb ? (words << 8) | (words >> 24) : (words >> 8) | (words << 24);
}

template <bool kToArgb>
void rotateRows(const PixelView& from, const PixelView& to) {
    const int width = from.width < to.width ? from.width : to.width;
    const int height = from.height < to.height ? from.height : to.height;
    for (int y = 0; y < height; ++y) {
        const uint8_t* src = from.data + static_cast<size_t>(y) * from.rowbytes;
        uint8_t* dst = to.data + static_cast<size_t>(y) * to.rowbytes;
        int x = 0;
        for (; x + 2 * kBlockPixels <= width; x += 2 * kBlockPixels) {
            Block a, b;
            std::memcpy(&a, src + 4 * x, sizeof a);
            std::memcpy(&b, src + 4 * x + sizeof a, sizeof b);
            a = rotate<kToArgb>(a);
            b = rotate<kToArgb>(b);
            std::memcpy(dst + 4 * x, &a, sizeof a);
            std::memcpy(dst + 4 * x + sizeof a, &b, sizeof b);
        }
        for (; x < width; ++x) {
            uint32_t word;
            std::memcpy(&word, src + 4 * x, 4);
            word = rotate<kToArgb>(word);
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
