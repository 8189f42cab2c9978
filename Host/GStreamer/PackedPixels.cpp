#include "PackedPixels.h"

namespace fxhost {

PackedPixels::PackedPixels(int red, int green, int blue, int alpha, bool hasAlpha)
    : mRed(red), mGreen(green), mBlue(blue), mAlpha(alpha), mHasAlpha(hasAlpha) {}

void PackedPixels::toWorld(const uint8_t* data, ptrdiff_t stride, HostWorld& world) const {
    const PF_LayerDef* def = world.def();
    for (int y = 0; y < world.height(); ++y) {
        const uint8_t* src = data + static_cast<ptrdiff_t>(y) * stride;
        uint8_t* dst = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        for (int x = 0; x < world.width(); ++x, src += 4, dst += 4) {
            dst[0] = mHasAlpha ? src[mAlpha] : 255;
            dst[1] = src[mRed];
            dst[2] = src[mGreen];
            dst[3] = src[mBlue];
        }
    }
}

void PackedPixels::fromWorld(const HostWorld& world, uint8_t* data, ptrdiff_t stride) const {
    const PF_LayerDef* def = world.def();
    for (int y = 0; y < world.height(); ++y) {
        const uint8_t* src = static_cast<const uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        uint8_t* dst = data + static_cast<ptrdiff_t>(y) * stride;
        for (int x = 0; x < world.width(); ++x, src += 4, dst += 4) {
            // GStreamer leaves the padding byte undefined; an opaque value is what a reader that
            // takes it for alpha expects.
            dst[mAlpha] = mHasAlpha ? src[0] : 255;
            dst[mRed] = src[1];
            dst[mGreen] = src[2];
            dst[mBlue] = src[3];
        }
    }
}

}  // namespace fxhost
