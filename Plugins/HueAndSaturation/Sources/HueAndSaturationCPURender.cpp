#include "HueAndSaturationCPURender.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

// The row kernel is built for AVX-512, AVX2 and SSE2, and `render` takes the widest the machine
// has. None fuses a multiply and an add: a fused product moves a value that lies on a rounding
// step (a colour of 3 over an alpha of 18 is 42.5 levels, which the GL road rounds to 42), and
// every width must give the same bytes.
#pragma GCC optimize("fp-contract=off")

// The vector helpers below are inlined and never cross this file, so the note that their wide
// arguments would be passed differently with AVX enabled does not concern them.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// Fifteen decimals, as the GL pass turns degrees into radians.
const double kDegreesToRadians = 0.017453292519943;

// The upload turns a byte into a float by multiplying with the float nearest 1/255; the final
// pass reads its 8-bit texture the same way.
const float kByteToFloat = 1.0f / 255.0f;

// Below this many pixels a band is not worth a thread.
constexpr long long kPixelsPerThread = 1LL << 18;
// Rows are handed out in runs of about this many pixels (a 1080p frame in some 60 runs).
constexpr long long kPixelsPerRun = 1LL << 15;

// Adding 2^23 to a float in 0..2^23 rounds it to an integer, half to even as an 8-bit unorm
// target does, and leaves that integer in the low bits of the sum.
constexpr float kRound = 8388608.0f;

// The pass's whole colour transform on levels 0..255: Y, I and Q; I and Q turned back by the hue;
// R, G and B again; the mix against the luminance. Each step is linear, so one 3x3 matrix.
struct Transform {
    float m[3][3];
};

Transform transformOf(float hueDegrees, float saturation) {
    // The pass's constants are floats; the product is taken in double and narrowed once.
    const double toYIQ[3][3] = {{0.299f, 0.587f, 0.114f},
                                {0.595716f, -0.274453f, -0.321263f},
                                {0.211456f, -0.522591f, 0.31135f}};
    const double toRGB[3][3] = {{1.0f, 0.9563f, 0.6210f}, {1.0f, -0.2721f, -0.6474f}, {1.0f, -1.1070f, 1.7046f}};
    const double luminance[3] = {0.2125f, 0.7154f, 0.0721f};
    // The uniform the pass gets: modulo 360 in double, narrowed to float.
    const double angle = static_cast<float>(std::fmod(static_cast<double>(hueDegrees), 360.0) * kDegreesToRadians);
    const double c = std::cos(angle), s = std::sin(angle);
    // The pass's angle is atan(Q, I) - hue: I' = I cos + Q sin, Q' = Q cos - I sin.
    const double turn[3][3] = {{1, 0, 0}, {0, c, s}, {0, -s, c}};
    const double sat = saturation;
    double mix[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) mix[i][j] = (i == j ? sat : 0.0) + (1.0 - sat) * luminance[j];

    const auto times = [](const double (&a)[3][3], const double (&b)[3][3], double (&out)[3][3]) {
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) out[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    };
    double turned[3][3], back[3][3], all[3][3];
    times(turn, toYIQ, turned);
    times(toRGB, turned, back);
    times(mix, back, all);
    Transform transform;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) transform.m[i][j] = static_cast<float>(all[i][j]);
    return transform;
}

// Every helper of the kernel is inlined into the row function of its width, so that each is built
// for that width's instruction set and no wide vector crosses a call.
#define INLINE __attribute__((always_inline)) inline

// One lane a pixel, a block of pixels filling one register of floats at each width.
template <int Bytes>
struct Vectors {
    typedef float Floats __attribute__((vector_size(Bytes)));
    typedef std::int32_t Ints __attribute__((vector_size(Bytes)));
    typedef std::uint32_t Pixels __attribute__((vector_size(Bytes)));
};

template <typename Floats, typename Ints, typename Pixels>
struct Kernel {
    static constexpr int Lanes = sizeof(Floats) / sizeof(float);

    INLINE static Floats toFloat(const Pixels& bytes) {
        return __builtin_convertvector(__builtin_convertvector(bytes, Ints), Floats);
    }

    // The bits of 2^23 plus a level clamped to 0..255 (NaN to 0) and rounded half to even: the
    // level is the low byte, and the float's exponent above it, which a shift by 8 or more leaves
    // out. Past the lower clamp the sum is a positive float, whose bits order as integers do, so
    // the upper clamp takes one integer minimum.
    INLINE static Ints roundedBits(const Floats& value) {
        const Floats low = Floats{} + kRound;
        Floats level = value + kRound;
        level = level > low ? level : low;
        return atMost255(level);
    }
    // The same for a sum already at least 2^23.
    INLINE static Ints atMost255(const Floats& sum) {
        const Ints high = Ints{} + 0x4b0000ff;  // the bits of 2^23 + 255
        Ints bits;
        std::memcpy(&bits, &sum, sizeof(bits));
        return bits < high ? bits : high;
    }
    INLINE static Pixels toLowByte(const Floats& value) {
        const Ints bits = roundedBits(value);
        Pixels pixels;
        std::memcpy(&pixels, &bits, sizeof(pixels));
        return pixels;
    }

    INLINE static bool allOpaque(const Pixels& pixels) {
        std::uint32_t all = 0xffu;
        for (int i = 0; i < Lanes; ++i) all &= pixels[i];
        return (all & 0xffu) == 0xffu;
    }

    // A colour level through the GL road's premultiplied store and its division by the alpha `a`
    // (`divisor` is `a`, or 1 where `a` is 0), as toLowByte gives it.
    INLINE static Pixels straight(const Floats& level, const Floats& a, const Floats& divisor) {
        const Ints storedBits = roundedBits(level * a);
        Floats stored;
        std::memcpy(&stored, &storedBits, sizeof(stored));
        stored = stored - kRound;
        // Never below 0, so only the top needs a clamp.
        const Ints bits = atMost255((stored * kByteToFloat) / divisor * 255.0f + kRound);
        Pixels pixels;
        std::memcpy(&pixels, &bits, sizeof(pixels));
        return pixels;
    }

    // Host pixels are A, R, G, B in memory: A in the low byte of a little-endian 32-bit word.
    INLINE static void block(const std::uint8_t* in, std::uint8_t* out, const Transform& t) {
        Pixels pixels;
        std::memcpy(&pixels, in, sizeof(pixels));
        const Floats r = toFloat((pixels >> 8) & 0xffu), g = toFloat((pixels >> 16) & 0xffu), b = toFloat(pixels >> 24);
        const Floats rr = r * t.m[0][0] + g * t.m[0][1] + b * t.m[0][2];
        const Floats gg = r * t.m[1][0] + g * t.m[1][1] + b * t.m[1][2];
        const Floats bb = r * t.m[2][0] + g * t.m[2][1] + b * t.m[2][2];
        const Pixels alpha = pixels & 0xffu;
        if (allOpaque(pixels)) {
            pixels = alpha | toLowByte(rr) << 8 | toLowByte(gg) << 16 | toLowByte(bb) << 24;
            std::memcpy(out, &pixels, sizeof(pixels));
            return;
        }
        // The GL road stores the premultiplied colour in 8 bits, and its final pass divides those
        // levels by the stored alpha in float; both roundings are kept, since each can move a
        // level. At alpha 0 the stored colour is 0 and so is the quotient.
        const Floats zero = {};
        const Floats a = toFloat(alpha) * kByteToFloat;
        const Floats divisor = a != zero ? a : zero + 1.0f;
        pixels = alpha | straight(rr, a, divisor) << 8 | straight(gg, a, divisor) << 16 |
                 straight(bb, a, divisor) << 24;
        std::memcpy(out, &pixels, sizeof(pixels));
    }

    INLINE static void row(const std::uint8_t* in, std::uint8_t* out, A_long width, const Transform& t) {
        A_long x = 0;
        for (; x + Lanes <= width; x += Lanes) block(in + 4 * x, out + 4 * x, t);
        if (x < width) {
            // The last pixels go through a whole block in scratch memory, so that nothing past the
            // row's end is read or written.
            std::uint8_t scratchIn[4 * Lanes] = {};
            std::uint8_t scratchOut[4 * Lanes];
            const std::size_t bytes = static_cast<std::size_t>(width - x) * 4;
            std::memcpy(scratchIn, in + 4 * x, bytes);
            block(scratchIn, scratchOut, t);
            std::memcpy(out + 4 * x, scratchOut, bytes);
        }
    }
};

typedef void (*RowFunction)(const std::uint8_t*, std::uint8_t*, A_long, const Transform&);

#if defined(__x86_64__) && defined(__GNUC__)
__attribute__((target("avx512f"))) void rowAVX512(const std::uint8_t* in, std::uint8_t* out, A_long width,
                                                  const Transform& t) {
    Kernel<Vectors<64>::Floats, Vectors<64>::Ints, Vectors<64>::Pixels>::row(in, out, width, t);
}
__attribute__((target("avx2"))) void rowAVX2(const std::uint8_t* in, std::uint8_t* out, A_long width,
                                             const Transform& t) {
    Kernel<Vectors<32>::Floats, Vectors<32>::Ints, Vectors<32>::Pixels>::row(in, out, width, t);
}
#endif
void rowBaseline(const std::uint8_t* in, std::uint8_t* out, A_long width, const Transform& t) {
    Kernel<Vectors<16>::Floats, Vectors<16>::Ints, Vectors<16>::Pixels>::row(in, out, width, t);
}

RowFunction widestRow() {
#if defined(__x86_64__) && defined(__GNUC__)
    // Harmless when the loader has already run it; needed where this runs before constructors.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f")) return rowAVX512;
    if (__builtin_cpu_supports("avx2")) return rowAVX2;
#endif
    return rowBaseline;
}

// Helper threads kept for the life of the library: a thread started and ended for every frame
// cost FFmpeg, with x264's threads beside it, more system time than rendering on one thread. A job
// is offered to the helpers, and the caller runs it too; when the caller has finished its share
// it withdraws the job and waits only for helpers inside it, so a helper that wakes late finds
// nothing to do. A second render while a job is offered renders on its own thread.
class Helpers {
public:
    static Helpers& shared() {
        static Helpers helpers;
        return helpers;
    }

    // Runs `job` on the calling thread and on up to `wanted` helpers at once; returns when no
    // helper is inside it any more. `job` must be safe to run on several threads at once.
    template <typename Job>
    void run(unsigned wanted, Job& job) {
        std::unique_lock<std::mutex> lock(mMutex);
        if (mJob || wanted == 0 || mThreads.empty()) {
            lock.unlock();
            job();
            return;
        }
        mJob = [](void* context) { (*static_cast<Job*>(context))(); };
        mContext = const_cast<void*>(static_cast<const void*>(&job));
        mWanted = wanted;
        ++mGeneration;
        lock.unlock();
        mWake.notify_all();
        job();
        lock.lock();
        mJob = nullptr;
        mIdle.wait(lock, [this] { return mInside == 0; });
    }

    ~Helpers() {
        {
            std::lock_guard<std::mutex> hold(mMutex);
            mStop = true;
        }
        mWake.notify_all();
        for (std::thread& thread : mThreads) thread.join();
    }

private:
    Helpers() {
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        try {
            for (unsigned i = 1; i < cores; ++i) mThreads.emplace_back([this] { serve(); });
        } catch (...) {
            // Fewer helpers, or none: the caller renders what they would have.
        }
    }

    void serve() {
        unsigned long seen = 0;
        std::unique_lock<std::mutex> lock(mMutex);
        for (;;) {
            mWake.wait(lock, [&] { return mStop || (mJob && mGeneration != seen && mInside < mWanted); });
            if (mStop) return;
            seen = mGeneration;
            void (*job)(void*) = mJob;
            void* context = mContext;
            ++mInside;
            lock.unlock();
            job(context);
            lock.lock();
            if (--mInside == 0) mIdle.notify_all();
        }
    }

    std::mutex mMutex;
    std::condition_variable mWake;
    std::condition_variable mIdle;
    void (*mJob)(void*) = nullptr;  // null when nothing is offered
    void* mContext = nullptr;
    unsigned mWanted = 0;
    unsigned mInside = 0;
    unsigned long mGeneration = 0;
    bool mStop = false;
    std::vector<std::thread> mThreads;
};

}  // namespace

void HueAndSaturationCPURender::render(const PF_LayerDef& input, PF_LayerDef& output) const {
    const A_long width = std::min(input.width, output.width);
    const A_long height = std::min(input.height, output.height);
    if (width <= 0 || height <= 0 || input.data == nullptr || output.data == nullptr) return;

    const Transform transform = transformOf(mHue, mSaturation);
    const auto* inBase = static_cast<const std::uint8_t*>(static_cast<const void*>(input.data));
    auto* outBase = static_cast<std::uint8_t*>(static_cast<void*>(output.data));
    static const RowFunction renderRow = widestRow();
    const auto rows = [&](A_long first, A_long last) noexcept {
        for (A_long y = first; y < last; ++y)
            renderRow(inBase + static_cast<std::ptrdiff_t>(y) * input.rowbytes,
                      outBase + static_cast<std::ptrdiff_t>(y) * output.rowbytes, width, transform);
    };

    unsigned threads = mMaxThreads != 0 ? mMaxThreads : std::max(1u, std::thread::hardware_concurrency());
    const long long pixels = static_cast<long long>(width) * height;
    threads = static_cast<unsigned>(
        std::min<long long>({threads, std::max(1LL, pixels / kPixelsPerThread), static_cast<long long>(height)}));
    // The calling thread and its helpers take runs of rows in turn, so a helper that the scheduler
    // starts late (the host's other threads busy every core) finds the frame done: with a fixed
    // band each, the caller waited for the slowest.
    const A_long runRows = static_cast<A_long>(std::max(1LL, kPixelsPerRun / width));
    std::atomic<A_long> next{0};
    const auto take = [&]() noexcept {
        for (A_long first; (first = next.fetch_add(runRows, std::memory_order_relaxed)) < height;)
            rows(first, std::min(height, first + runRows));
    };

    Helpers::shared().run(threads - 1, take);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
