#include "HostWorld.h"

#include <atomic>
#include <cstring>
#include <new>
#include <stdexcept>

namespace fxhost {

namespace {

// The tail after the last row is one whole row and a little more, so a frame that writes one
// row too many lands in guard bytes of the host's own, not in someone else's memory.
constexpr size_t kTailBytes = 64;
std::atomic<size_t> gLiveBytes{0};
std::atomic<size_t> gPeakBytes{0};

}  // namespace

size_t HostWorld::pixelSize(Depth depth) {
    switch (depth) {
        case Depth::Eight:
            return 4;
        case Depth::Sixteen:
            return 8;
        case Depth::Float:
            return 16;
    }
    return 4;
}

HostWorld::HostWorld(int width, int height, Depth depth, int padBytes)
    : mDepth(depth), mWidth(width), mHeight(height), mDef() {
    if (width < 0 || height < 0 || padBytes < 0) {
        throw std::invalid_argument("world size must not be negative");
    }
    const size_t px = pixelSize(depth);
    const size_t pad = (static_cast<size_t>(padBytes) + px - 1) / px * px;
    const size_t rowbytes = static_cast<size_t>(width) * px + pad;
    if (rowbytes > 0x7fffffff) {
        throw std::invalid_argument("world row is too large");
    }
    // calloc hands large blocks out as fresh zero pages: only the guards are written, so a
    // world of any size costs one touch of its padding rather than two passes over it.
    mSize = rowbytes * (static_cast<size_t>(height) + 1) + kTailBytes;
    mStorage.reset(static_cast<uint8_t*>(std::calloc(mSize, 1)));
    if (!mStorage) throw std::bad_alloc();
    const size_t live = gLiveBytes += mSize;
    for (size_t peak = gPeakBytes; live > peak && !gPeakBytes.compare_exchange_weak(peak, live);) {
    }
    mRowbytes = static_cast<int>(rowbytes);  // row() steps by it, so it comes before the guards
    mDef.rowbytes = mRowbytes;
    armGuards();
    mDef.reserved0 = this;  // lets the host's callbacks find the world again
    mDef.world_flags = PF_WorldFlag_WRITEABLE | (depth == Depth::Sixteen ? PF_WorldFlag_DEEP : 0);
    mDef.data = mStorage.get();
    mDef.width = width;
    mDef.height = height;
    mDef.extent_hint = PF_LRect{0, 0, width, height};
    mDef.pix_aspect_ratio = PF_RationalScale{1, 1};
}

HostWorld::~HostWorld() {
    gLiveBytes -= mSize;
}

size_t HostWorld::liveBytes() {
    return gLiveBytes;
}

size_t HostWorld::peakBytes() {
    return gPeakBytes;
}

PF_PixelFormat HostWorld::pixelFormat() const {
    switch (mDepth) {
        case Depth::Eight:
            return PF_PixelFormat_ARGB32;
        case Depth::Sixteen:
            return PF_PixelFormat_ARGB64;
        case Depth::Float:
            return PF_PixelFormat_ARGB128;
    }
    return PF_PixelFormat_INVALID;
}

void HostWorld::setPixel(int x, int y, const float argb[4]) {
    uint8_t* p = row(y) + static_cast<size_t>(x) * pixelSize(mDepth);
    for (int c = 0; c < 4; ++c) {
        switch (mDepth) {
            case Depth::Eight:
                p[c] = static_cast<uint8_t>(argb[c]);
                break;
            case Depth::Sixteen: {
                const uint16_t v = static_cast<uint16_t>(argb[c]);
                std::memcpy(p + 2 * c, &v, 2);
                break;
            }
            case Depth::Float:
                std::memcpy(p + 4 * c, &argb[c], 4);
                break;
        }
    }
}

void HostWorld::getPixel(int x, int y, float argb[4]) const {
    const uint8_t* p = row(y) + static_cast<size_t>(x) * pixelSize(mDepth);
    for (int c = 0; c < 4; ++c) {
        switch (mDepth) {
            case Depth::Eight:
                argb[c] = p[c];
                break;
            case Depth::Sixteen: {
                uint16_t v;
                std::memcpy(&v, p + 2 * c, 2);
                argb[c] = v;
                break;
            }
            case Depth::Float:
                std::memcpy(&argb[c], p + 4 * c, 4);
                break;
        }
    }
}

void HostWorld::fill(const float argb[4]) {
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) {
            setPixel(x, y, argb);
        }
    }
}

void HostWorld::armGuards() {
    const size_t used = static_cast<size_t>(mWidth) * pixelSize(mDepth);
    const size_t pad = static_cast<size_t>(mRowbytes) - used;
    for (int y = 0; y < mHeight; ++y) {
        std::memset(row(y) + used, kGuardByte, pad);
    }
    const size_t end = static_cast<size_t>(mRowbytes) * static_cast<size_t>(mHeight);
    std::memset(mStorage.get() + end, kGuardByte, mSize - end);
}

bool HostWorld::guardsIntact() const {
    return guardDamage().empty();
}

std::string HostWorld::guardDamage() const {
    const size_t used = static_cast<size_t>(width()) * pixelSize(mDepth);
    for (int y = 0; y < height(); ++y) {
        const uint8_t* r = row(y);
        for (size_t i = used; i < static_cast<size_t>(rowbytes()); ++i) {
            if (r[i] != kGuardByte) {
                return "row " + std::to_string(y) + " written " + std::to_string(i - used + 1) +
                       " bytes past its " + std::to_string(used) + " bytes of pixels (rowbytes " +
                       std::to_string(rowbytes()) + ")";
            }
        }
    }
    const size_t end = static_cast<size_t>(rowbytes()) * height();
    for (size_t i = end; i < mSize; ++i) {
        if (mStorage[i] != kGuardByte) {
            return "byte " + std::to_string(i - end) + " after the last row written (rows " +
                   std::to_string(height()) + ", rowbytes " + std::to_string(rowbytes()) + ")";
        }
    }
    return "";
}

std::vector<uint8_t> HostWorld::pixelBytes() const {
    const size_t used = static_cast<size_t>(width()) * pixelSize(mDepth);
    std::vector<uint8_t> bytes;
    bytes.reserve(used * height());
    for (int y = 0; y < height(); ++y) {
        bytes.insert(bytes.end(), row(y), row(y) + used);
    }
    return bytes;
}

HostWorld* HostWorld::fromDef(const PF_LayerDef* def) {
    return def ? static_cast<HostWorld*>(def->reserved0) : nullptr;
}

void HostWorld::ensure(std::unique_ptr<HostWorld>& world, int width, int height) {
    if (!world || world->width() != width || world->height() != height) {
        world.reset();
        world.reset(new HostWorld(width, height, Depth::Eight));
    }
}

}  // namespace fxhost
