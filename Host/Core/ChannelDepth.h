// The one rounding between the effect's 8-bit channels and deeper ones, wherever a deeper frame
// meets an 8-bit world (image files, the Python module): a value of 0 to 1 becomes round(v × 255),
// clipped to 0 to 1 first and NaN taken as 0; a byte comes back as byte / 255. 16-bit channels
// pass through the same float, as the image library converts them on read and write.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace fxhost {
namespace channel_depth {

inline float clamp01(float v) {
    return std::isnan(v) ? 0.0f : std::min(1.0f, std::max(0.0f, v));
}

inline uint8_t floatToByte(float v) {
    return static_cast<uint8_t>(std::round(clamp01(v) * 255.0f));
}

inline float byteToFloat(uint8_t b) {
    return b / 255.0f;
}

inline uint8_t u16ToByte(uint16_t v) {
    return floatToByte(v * (1.0f / 65535.0f));
}

// Rounded half away from zero, as the library stores a float at 16 bits.
inline uint16_t byteToU16(uint8_t b) {
    return static_cast<uint16_t>(byteToFloat(b) * 65535.0f + 0.5f);
}

}  // namespace channel_depth
}  // namespace fxhost
