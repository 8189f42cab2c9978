#include "HueAndSaturationCPURender.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

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
    float cosine;
    float sine;
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
    const float c = turn.cosine, s = turn.sine, saturation = turn.saturation;

    const Floats y = r * 0.299f + g * 0.587f + b * 0.114f;
    const Floats i0 = r * 0.595716f + g * -0.274453f + b * -0.321263f;
    const Floats q0 = r * 0.211456f + g * -0.522591f + b * 0.31135f;
    // The pass turns the angle atan(Q, I) back by the hue and rebuilds I and Q from the chroma;
    // the same turn as a rotation.
    const Floats i1 = i0 * c + q0 * s;
    const Floats q1 = q0 * c - i0 * s;
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
    const Ints opaque = storedAlpha != zero;
    const Floats divisor = opaque ? storedAlpha * kByteToFloat : zero + 1.0f;
    const Floats outR = opaque ? toLevel((toLevel(rr * a) * kByteToFloat) / divisor) : zero;
    const Floats outG = opaque ? toLevel((toLevel(gg * a) * kByteToFloat) / divisor) : zero;
    const Floats outB = opaque ? toLevel((toLevel(bb * a) * kByteToFloat) / divisor) : zero;
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

    // The angle is narrowed to float before its sine and cosine, as the pass's uniform is.
    const float angle = static_cast<float>(std::fmod(static_cast<double>(mHue), 360.0) * kDegreesToRadians);
    const Turn turn{std::cos(angle), std::sin(angle), mSaturation};

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
