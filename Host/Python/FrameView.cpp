#include "FrameView.h"

#include <cstdint>
#include <cstring>

#include "ChannelDepth.h"

namespace fxhost {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "packed pixels are rotated as little-endian words");

namespace {

uint8_t toByte(uint8_t v) {
    return v;
}
uint8_t toByte(uint16_t v) {
    return channel_depth::u16ToByte(v);
}
uint8_t toByte(float v) {
    return channel_depth::floatToByte(v);
}

template <typename T>
T fromByte(uint8_t b);
template <>
uint8_t fromByte<uint8_t>(uint8_t b) {
    return b;
}
template <>
uint16_t fromByte<uint16_t>(uint8_t b) {
    return channel_depth::byteToU16(b);
}
template <>
float fromByte<float>(uint8_t b) {
    return channel_depth::byteToFloat(b);
}

// The world's A, R, G, B for the frame's R, G, B, A: channel c of the frame is byte kWorld[c].
constexpr int kWorld[4] = {1, 2, 3, 0};

}  // namespace

FrameView::FrameView(void* data, Type type, int height, int width, std::ptrdiff_t rowStride,
                     std::ptrdiff_t pixelStride, std::ptrdiff_t channelStride)
    : mData(static_cast<char*>(data)),
      mType(type),
      mHeight(height),
      mWidth(width),
      mRowStride(rowStride),
      mPixelStride(pixelStride),
      mChannelStride(channelStride) {}

// An ordinary C-ordered 8-bit frame is one byte rotation of the world's words away; the rotation
// vectorises, where the general loop below takes a channel at a time.
bool FrameView::packedBytes() const {
    return mType == Type::U8 && mChannelStride == 1 && mPixelStride == 4;
}

template <typename T>
void FrameView::read(HostWorld& world) const {
    PF_LayerDef* def = world.def();
    for (int y = 0; y < mHeight; ++y) {
        const char* row = mData + y * mRowStride;
        uint8_t* p = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        if (packedBytes()) {
            for (int x = 0; x < mWidth; ++x) {
                uint32_t word;
                std::memcpy(&word, row + 4 * x, 4);
                word = (word << 8) | (word >> 24);
                std::memcpy(p + 4 * x, &word, 4);
            }
            continue;
        }
        for (int x = 0; x < mWidth; ++x, p += 4) {
            const char* s = row + x * mPixelStride;
            for (int c = 0; c < 4; ++c) {
                T v;
                std::memcpy(&v, s + c * mChannelStride, sizeof v);
                p[kWorld[c]] = toByte(v);
            }
        }
    }
}

template <typename T>
void FrameView::write(const HostWorld& world) const {
    const PF_LayerDef* def = world.def();
    for (int y = 0; y < mHeight; ++y) {
        char* row = mData + y * mRowStride;
        const uint8_t* p = static_cast<const uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        if (packedBytes()) {
            for (int x = 0; x < mWidth; ++x) {
                uint32_t word;
                std::memcpy(&word, p + 4 * x, 4);
                word = (word >> 8) | (word << 24);
                std::memcpy(row + 4 * x, &word, 4);
            }
            continue;
        }
        for (int x = 0; x < mWidth; ++x, p += 4) {
            char* d = row + x * mPixelStride;
            for (int c = 0; c < 4; ++c) {
                const T v = fromByte<T>(p[kWorld[c]]);
                std::memcpy(d + c * mChannelStride, &v, sizeof v);
            }
        }
    }
}

void FrameView::readInto(HostWorld& world) const {
    switch (mType) {
        case Type::U8:
            return read<uint8_t>(world);
        case Type::U16:
            return read<uint16_t>(world);
        case Type::F32:
            return read<float>(world);
    }
}

void FrameView::writeFrom(const HostWorld& world) const {
    switch (mType) {
        case Type::U8:
            return write<uint8_t>(world);
        case Type::U16:
            return write<uint16_t>(world);
        case Type::F32:
            return write<float>(world);
    }
}

}  // namespace fxhost
