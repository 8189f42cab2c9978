// A host-owned image in the host's layout: channels A, R, G, B at 8 bits,
// 16 bits (white at 32768) or 32-bit float, rows `rowbytes` apart. Every row is
// followed by padding, and the buffer by a tail of a row and more, filled with a guard pattern
// that guardsIntact() checks, so a write past a row's end is caught. The world
// keeps its true geometry apart from the definition it lends out, so a test may
// make the definition lie (rowbytes, sizes) while the guards are still checked
// against the memory that really exists. A new world's pixels are zero; the
// storage comes zeroed from the allocator, so a large world costs no clearing pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "PFTypes.h"

namespace fxhost {

enum class Depth { Eight, Sixteen, Float };

class HostWorld {
public:
    static constexpr uint8_t kGuardByte = 0xA5;

    // padBytes are added to every row beyond width pixels (rounded up to whole pixels).
    HostWorld(int width, int height, Depth depth, int padBytes = 16);

    ~HostWorld();
    HostWorld(const HostWorld&) = delete;
    HostWorld& operator=(const HostWorld&) = delete;

    PF_LayerDef* def() { return &mDef; }
    const PF_LayerDef* def() const { return &mDef; }
    int width() const { return mWidth; }
    int height() const { return mHeight; }
    int rowbytes() const { return mRowbytes; }
    Depth depth() const { return mDepth; }
    PF_PixelFormat pixelFormat() const;
    static size_t pixelSize(Depth depth);

    // Channel values in the world's own scale (0-255, 0-32768, or float), order A, R, G, B.
    void setPixel(int x, int y, const float argb[4]);
    void getPixel(int x, int y, float argb[4]) const;
    void fill(const float argb[4]);

    // Lays the guard pattern down again: what wrote there before (the host filling the world)
    // is no longer counted, so a check after the effect's call sees the effect's writes alone.
    void armGuards();
    bool guardsIntact() const;
    // Where the first written guard byte is, in words; empty when all are intact.
    std::string guardDamage() const;
    // Bytes of the pixels only, row by row, without padding: for "untouched" comparisons.
    std::vector<uint8_t> pixelBytes() const;

    // Bytes of all worlds alive in the process now, and the most there have been at once.
    static size_t liveBytes();
    static size_t peakBytes();

    // An 8-bit world of the size in `world`, kept when it already has that size, so that
    // buffers live from frame to frame; the old buffer goes before a new one comes.
    static void ensure(std::unique_ptr<HostWorld>& world, int width, int height);

    // The world behind a definition the host handed out, or null for a foreign one.
    static HostWorld* fromDef(const PF_LayerDef* def);

private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    uint8_t* row(int y) { return mStorage.get() + static_cast<size_t>(y) * mRowbytes; }
    const uint8_t* row(int y) const { return mStorage.get() + static_cast<size_t>(y) * mRowbytes; }

    Depth mDepth;
    int mWidth;
    int mHeight;
    int mRowbytes = 0;
    size_t mSize = 0;
    std::unique_ptr<uint8_t[], Free> mStorage;
    PF_LayerDef mDef;
};

}  // namespace fxhost
