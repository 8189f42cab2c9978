// Moves 8-bit pixels between the frei0r layout (bytes R, G, B, A; straight alpha) and the
// host's world layout (bytes A, R, G, B; straight alpha). Both sides are views with their own
// row pitch; only width × 4 bytes of each row are read or written.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fxhost {

struct PixelView {
    uint8_t* data;
    int width;
    int height;
    size_t rowbytes;
};

void rgbaToArgb(const PixelView& rgba, const PixelView& argb);
void argbToRgba(const PixelView& argb, const PixelView& rgba);

}  // namespace fxhost
