#include "HueAndSaturationCPURender.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// The kernel is built twice, for AVX2 and for the baseline, and the loader picks one. Neither clone
// fuses a multiply and an add (no FMA in either target, and contraction is off in ISO C++ mode), so
// both give the same bytes.
#if defined(__x86_64__) && defined(__GNUC__) && defined(__has_attribute)
#if __has_attribute(target_clones)
#define OSTRIVANE_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#endif
#endif
#ifndef OSTRIVANE_VECTOR_CLONES
#define OSTRIVANE_VECTOR_CLONES
#endif

// The vector helpers below are inlined and never cross this file, so the note that their 256-bit
// arguments would be passed differently with AVX enabled does not concern them.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// Fifteen decimals, as the GL pass turns degrees into radians.
const double kDegreesToRadians = 0.017453292519943;

// The upload turns a byte into a float by multiplying with the float nearest 1/255, not by
// dividing by 255; the final pass reads its 8-bit texture the same way.
const float kByteToFloat = 1.0f / 255.0f;

// Pixels a block: eight lanes of float, one a pixel. GCC's vector types keep the arithmetic in
// SIMD registers at any optimisation level, and split it in two where only 128 bits exist.
constexpr int kBlock = 8;
typedef float Floats __attribute__((vector_size(4 * kBlock)));
typedef std::int32_t Ints __attribute__((vector_size(4 * kBlock)));
typedef std::uint32_t Pixels __attribute__((vector_size(4 * kBlock)));

// Below this many pixels a band is not worth a thread.
constexpr long long kPixelsPerThread = 1LL << 18;

struct Turn {
    float angle;
    float saturation;
};

// What an 8-bit unorm target stores for a float, as a float 0..255: clamped to 0..1 (NaN to 0),
// times 255 in float, rounded half to even. Adding and taking away 2^23 does that rounding in
// the FPU's default mode.
inline Floats toLevel(Floats value) {
    const Floats zero = {}, one = zero + 1.0f;
    value = value > zero ? value : zero;
    value = value < one ? value : one;
    const Floats scaled = value * 255.0f;
    return (scaled + 8388608.0f) - 8388608.0f;
}

template <typename To, typename From>
inline To bitsOf(From value) {
    static_assert(sizeof(To) == sizeof(From), "same size");
    To to;
    std::memcpy(&to, &value, sizeof(to));
    return to;
}

inline Floats absolute(Floats value) { return bitsOf<Floats>(bitsOf<Ints>(value) & 0x7fffffff); }
inline Floats smaller(Floats a, Floats b) { return a < b ? a : b; }
inline Floats larger(Floats a, Floats b) { return a > b ? a : b; }

inline Floats squareRoot(Floats value) {
#if defined(__SSE2__)
    static_assert(sizeof(Floats) % sizeof(__m128) == 0, "whole SSE registers");
    __m128 parts[sizeof(Floats) / sizeof(__m128)];
    std::memcpy(parts, &value, sizeof(value));
    for (__m128& part : parts) part = _mm_sqrt_ps(part);
    std::memcpy(&value, parts, sizeof(value));
#else
    for (int i = 0; i < kBlock; ++i) value[i] = std::sqrt(value[i]);
#endif
    return value;
}

// The GL compiler's atan(y, x), step for step: the half-plane x <= 0 turned by a quarter, the
// quotient as s times the reciprocal of t, folded into 0..1, an odd polynomial of degree 11 summed
// term by term (its error reaches 3e-6, and the hue carries it), and the fold and turn undone.
inline Floats arcTangent(Floats y, Floats x) {
    const Floats zero = {}, one = zero + 1.0f;
    const float halfPi = 1.57079632679489661923f;
    const Ints flip = zero >= x;
    const Floats absX = absolute(x);
    const Floats s = flip ? absX : y;
    const Floats t = flip ? y : absX;
    const Floats reciprocal = one / t;
    const Floats tangent = absX == absolute(y) ? one : absolute(s * reciprocal);

    const Floats u = smaller(tangent, one) / larger(tangent, one);
    const Floats u2 = u * u, u3 = u2 * u, u5 = u3 * u2, u7 = u5 * u2, u9 = u7 * u2, u11 = u9 * u2;
    Floats arc = u * 0.9999793128310355f + u3 * -0.3326756418091246f + u5 * 0.1938924977115610f +
                 u7 * -0.1173503194786851f + u9 * 0.0536813784310406f + u11 * -0.0121323213173444f;
    arc = one < tangent ? (halfPi - arc * 2.0f) + arc : arc;
    arc = flip ? arc + halfPi : arc;
    return smaller(y, reciprocal) < zero ? -arc : arc;
}

// The GL compiler's sine and cosine of the same angle: reduced by multiples of pi/4 in three
// parts, then the polynomial for sine or cosine as the octant asks, with its sign; products and
// sums rounded one by one.
inline void sineAndCosine(Floats angle, Floats& sine, Floats& cosine) {
    const Ints angleBits = bitsOf<Ints>(angle);
    const Floats x = absolute(angle);
    const Ints octant = __builtin_convertvector(x * 1.27323954473516f, Ints) + 1;
    const Ints even = octant & ~1;
    const Floats j = __builtin_convertvector(even, Floats);
    const Floats reduced = ((x + j * -0.78515625f) + j * -2.4187564849853515625e-4f) + j * -3.77489497744594108e-8f;
    const Floats z = reduced * reduced;
    const Floats cosinePolynomial =
        ((((z * 2.443315711809948e-5f + -1.388731625493765e-3f) * z + 4.166664568298827e-2f) * z) * z - z * 0.5f) + 1.0f;
    const Floats sinePolynomial =
        (((z * -1.9515295891e-4f + 8.3321608736e-3f) * z + -1.6666654611e-1f) * z) * reduced + reduced;

    const Ints zeroInts = {};
    const Ints sineSign = (angleBits ^ (octant << 29)) & static_cast<std::int32_t>(0x80000000u);
    const Floats sineValue = (even & 2) == zeroInts ? sinePolynomial : cosinePolynomial;
    const Ints cosineOctant = even - 2;
    const Ints cosineSign = (4 & ~cosineOctant) << 29;
    const Floats cosineValue = (cosineOctant & 2) == zeroInts ? sinePolynomial : cosinePolynomial;

    const Floats minusOne = Floats{} - 1.0f, one = Floats{} + 1.0f;
    sine = smaller(larger(bitsOf<Floats>(bitsOf<Ints>(sineValue) ^ sineSign), minusOne), one);
    cosine = smaller(larger(bitsOf<Floats>(bitsOf<Ints>(cosineValue) ^ cosineSign), minusOne), one);
}

inline Floats channel(Pixels pixels, int shift) {
    return __builtin_convertvector(__builtin_convertvector((pixels >> shift) & 0xffu, Ints), Floats) * kByteToFloat;
}

inline bool allOpaque(Pixels pixels) {
    const Ints opaque = (pixels & 0xffu) == 0xffu;
    bool all = true;
    for (int i = 0; i < kBlock; ++i) all = all && opaque[i] != 0;
    return all;
}

inline Pixels bits(Floats level) {
    return __builtin_convertvector(__builtin_convertvector(level, Ints), Pixels);
}

// Every step in float, each product rounded before it is added, in the order the pass adds them:
// a one-ulp change here moves a value across a rounding boundary of the target now and then.
// Host pixels are A, R, G, B in memory: A in the low byte of a little-endian 32-bit word.
__attribute__((always_inline)) inline void renderBlock(const std::uint8_t* in, std::uint8_t* out,
                                                       const Turn& turn) {
    Pixels pixels;
    std::memcpy(&pixels, in, sizeof(pixels));
    const Floats a = channel(pixels, 0), r = channel(pixels, 8), g = channel(pixels, 16), b = channel(pixels, 24);
    const float saturation = turn.saturation;

    const Floats y = r * 0.299f + g * 0.587f + b * 0.114f;
    const Floats i0 = r * 0.595716f + g * -0.274453f + b * -0.321263f;
    const Floats q0 = r * 0.211456f + g * -0.522591f + b * 0.31135f;
    // The angle of (I, Q), turned back by the hue; I and Q rebuilt from the chroma.
    const Floats hue = arcTangent(q0, i0) + -turn.angle;
    const Floats chroma = squareRoot(i0 * i0 + q0 * q0);
    Floats sine, cosine;
    sineAndCosine(hue, sine, cosine);
    const Floats q1 = chroma * sine;
    const Floats i1 = chroma * cosine;
    Floats rr = y + i1 * 0.9563f + q1 * 0.6210f;
    Floats gg = y + i1 * -0.2721f + q1 * -0.6474f;
    Floats bb = y + i1 * -1.1070f + q1 * 1.7046f;
    const Floats luminance = rr * 0.2125f + gg * 0.7154f + bb * 0.0721f;
    rr = luminance + saturation * (rr - luminance);
    gg = luminance + saturation * (gg - luminance);
    bb = luminance + saturation * (bb - luminance);

    // The multisampled level stores the premultiplied colour in 8 bits; its samples are equal, so
    // the resolve keeps those bytes. The final pass divides them by the stored alpha, and a stored
    // alpha of 0 gives all zeros. At alpha 255, 255 * (1/255) is 1.0 in float and a level divided
    // by it comes back as itself, so opaque pixels are the colour's levels.
    if (allOpaque(pixels)) {
        pixels = (pixels & 0xffu) | bits(toLevel(rr)) << 8 | bits(toLevel(gg)) << 16 | bits(toLevel(bb)) << 24;
        std::memcpy(out, &pixels, sizeof(pixels));
        return;
    }
    const Floats zero = {};
    const Floats storedAlpha = toLevel(a);
    const Ints visible = storedAlpha != zero;
    const Floats divisor = visible ? storedAlpha * kByteToFloat : zero + 1.0f;
    const Floats outR = visible ? toLevel((toLevel(rr * a) * kByteToFloat) / divisor) : zero;
    const Floats outG = visible ? toLevel((toLevel(gg * a) * kByteToFloat) / divisor) : zero;
    const Floats outB = visible ? toLevel((toLevel(bb * a) * kByteToFloat) / divisor) : zero;
    pixels = bits(storedAlpha) | bits(outR) << 8 | bits(outG) << 16 | bits(outB) << 24;
    std::memcpy(out, &pixels, sizeof(pixels));
}

OSTRIVANE_VECTOR_CLONES
void renderRow(const std::uint8_t* in, std::uint8_t* out, A_long width, const Turn& turn) {
    A_long x = 0;
    for (; x + kBlock <= width; x += kBlock) renderBlock(in + 4 * x, out + 4 * x, turn);
    if (x < width) {
        // The last pixels go through a whole block in scratch memory, so that nothing past the
        // row's end is read or written.
        std::uint8_t scratchIn[4 * kBlock] = {};
        std::uint8_t scratchOut[4 * kBlock];
        const std::size_t bytes = static_cast<std::size_t>(width - x) * 4;
        std::memcpy(scratchIn, in + 4 * x, bytes);
        renderBlock(scratchIn, scratchOut, turn);
        std::memcpy(out + 4 * x, scratchOut, bytes);
    }
}

}  // namespace

void HueAndSaturationCPURender::render(const PF_LayerDef& input, PF_LayerDef& output) const {
    const A_long width = std::min(input.width, output.width);
    const A_long height = std::min(input.height, output.height);
    if (width <= 0 || height <= 0 || input.data == nullptr || output.data == nullptr) return;

    // Taken modulo 360 in double and narrowed to float, as the pass's uniform is.
    const Turn turn{static_cast<float>(std::fmod(static_cast<double>(mHue), 360.0) * kDegreesToRadians), mSaturation};

    const auto* inBase = static_cast<const std::uint8_t*>(static_cast<const void*>(input.data));
    auto* outBase = static_cast<std::uint8_t*>(static_cast<void*>(output.data));
    const auto rows = [&](A_long first, A_long last) noexcept {
        for (A_long y = first; y < last; ++y)
            renderRow(inBase + static_cast<std::ptrdiff_t>(y) * input.rowbytes,
                      outBase + static_cast<std::ptrdiff_t>(y) * output.rowbytes, width, turn);
    };

    unsigned threads = mMaxThreads != 0 ? mMaxThreads : std::max(1u, std::thread::hardware_concurrency());
    const long long pixels = static_cast<long long>(width) * height;
    threads = static_cast<unsigned>(
        std::min<long long>({threads, std::max(1LL, pixels / kPixelsPerThread), static_cast<long long>(height)}));
    const auto bandStart = [&](unsigned band) {
        return static_cast<A_long>(static_cast<long long>(height) * band / threads);
    };

    // Band 0 is the calling thread's; a band whose thread cannot be started is rendered here too.
    std::vector<std::thread> workers;
    unsigned started = 1;
    try {
        workers.reserve(threads - 1);
        for (; started < threads; ++started) workers.emplace_back(rows, bandStart(started), bandStart(started + 1));
    } catch (...) {
    }
    rows(bandStart(0), bandStart(1));
    rows(bandStart(started), height);
    for (std::thread& worker : workers) worker.join();
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
