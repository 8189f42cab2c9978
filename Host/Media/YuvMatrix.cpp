#include "YuvMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libswscale/swscale.h>
}

namespace fxhost {

namespace {

constexpr int kBits = 16;
constexpr double kOne = 1 << kBits;
constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

int32_t fixed(double value) {
    return static_cast<int32_t>(std::lround(value * kOne));
}

}  // namespace

YuvMatrix::YuvMatrix(int swsMatrix, bool fullRange) {
    // swscale's table holds the chroma gains for limited-range chroma (16..240), scaled by 2^16:
    // the same numbers its own converters start from, so both agree on what each matrix is.
    const int* table = sws_getCoefficients(swsMatrix);
    const double chroma = fullRange ? 224.0 / 255.0 : 1.0;
    mY = fixed(fullRange ? 1.0 : 255.0 / 219.0);
    mYOffset = fullRange ? 0 : 16;
    mVR = fixed(table[0] / kOne * chroma);
    mUB = fixed(table[1] / kOne * chroma);
    mUG = fixed(table[2] / kOne * chroma);
    mVG = fixed(table[3] / kOne * chroma);
}

void YuvMatrix::row(const uint8_t* y, const uint8_t* u, const uint8_t* v, const uint8_t* a, uint8_t* argb,
                    int width) const {
    if (a) {
        rowOf<true>(y, u, v, a, argb, width);
    } else {
        rowOf<false>(y, u, v, a, argb, width);
    }
}

// Four pixels at a time in the compiler's generic vectors (one SSE2 or NEON register each), in
// single precision: SSE2 has no 32-bit integer multiply, and the build's -O2 leaves a plain loop
// scalar, at about twice the time. Each value lies within 1e-4 of the exact one before rounding.
template <bool kAlpha>
void YuvMatrix::rowOf(const uint8_t* y, const uint8_t* u, const uint8_t* v, const uint8_t* a, uint8_t* argb,
                      int width) const {
    typedef uint8_t Bytes __attribute__((vector_size(4)));
    typedef float Floats __attribute__((vector_size(16)));
    typedef int32_t Ints __attribute__((vector_size(16)));
    typedef uint32_t Words __attribute__((vector_size(16)));
    auto all = [](double value) { return Floats{} + static_cast<float>(value); };
    const Floats zero = all(0), top = all(255), grey = all(128), half = all(0.5);
    const Floats kY = all(mY / kOne), kYOffset = all(mYOffset), kVR = all(mVR / kOne), kUG = all(mUG / kOne),
                 kVG = all(mVG / kOne), kUB = all(mUB / kOne);
    auto load = [](const uint8_t* from) {
        Bytes bytes;
        std::memcpy(&bytes, from, sizeof bytes);
        return __builtin_convertvector(__builtin_convertvector(bytes, Ints), Floats);
    };
    // Rounded to nearest: clipped first, so truncation toward zero is the floor of value + 0.5.
    auto clip = [&](Floats value) {
        value = value + half;
        value = value < zero ? zero : value;
        return __builtin_convertvector(__builtin_convertvector(value > top ? top : value, Ints), Words);
    };
    int x = 0;
    for (; x + 4 <= width; x += 4) {
        const Floats luma = (load(y + x) - kYOffset) * kY;
        const Floats cb = load(u + x) - grey, cr = load(v + x) - grey;
        const Words r = clip(luma + kVR * cr);
        const Words g = clip(luma - kUG * cb - kVG * cr);
        const Words b = clip(luma + kUB * cb);
        const Words alpha = kAlpha ? __builtin_convertvector(__builtin_convertvector(load(a + x), Ints), Words)
                                   : Words{} + 255u;
        // Bytes A, R, G, B in memory order, whatever the machine's word order.
        const Words words =
            kLittleEndian ? alpha | r << 8 | g << 16 | b << 24 : alpha << 24 | r << 16 | g << 8 | b;
        std::memcpy(argb + 4 * static_cast<size_t>(x), &words, sizeof words);
    }
    const int32_t halfOne = 1 << (kBits - 1);
    for (; x < width; ++x) {
        const int32_t luma = (y[x] - mYOffset) * mY + halfOne;
        const int32_t cb = u[x] - 128, cr = v[x] - 128;
        const uint32_t r = static_cast<uint32_t>(std::clamp((luma + mVR * cr) >> kBits, 0, 255));
        const uint32_t g = static_cast<uint32_t>(std::clamp((luma - mUG * cb - mVG * cr) >> kBits, 0, 255));
        const uint32_t b = static_cast<uint32_t>(std::clamp((luma + mUB * cb) >> kBits, 0, 255));
        const uint32_t alpha = kAlpha ? a[x] : 255u;
        const uint32_t word =
            kLittleEndian ? alpha | r << 8 | g << 16 | b << 24 : alpha << 24 | r << 16 | g << 8 | b;
        std::memcpy(argb + 4 * static_cast<size_t>(x), &word, 4);
    }
}

}  // namespace fxhost
