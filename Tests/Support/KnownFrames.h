// Frames whose result is known by hand: a pattern of opaque red and grey pixels, and
// what the effect must make of each under a few settings. Red's YIQ is worked out in
// the frame tests (Y 0.299, I 0.595716, Q 0.211456); grey has no chroma, so no hue turn
// or saturation at or below 1 changes it.
#pragma once

#include <cmath>
#include <string>

#include "HostWorld.h"

namespace known {

struct ARGB {
    float a, r, g, b;
};

constexpr ARGB kRed{255, 255, 0, 0};
constexpr ARGB kGrey{255, 100, 100, 100};

struct Settings {
    const char* name;
    double hue, saturation;
    ARGB red;            // what red becomes
    bool greyStaysGrey;  // false where the YIQ rounding is blown up past one level
};

// Turned half a circle: (-0.402, 0.598, 0.598), clamped by the 8-bit target.
constexpr Settings kTurned{"hue 180", 180.0, 1.0, {255, 0, 152.5f, 152.5f}, true};
constexpr Settings kNeutral{"neutral", 0.0, 1.0, kRed, true};
// Hue and saturation both read as 0: the grey of red's luminance, 0.2125.
constexpr Settings kGreyed{"hue 0, saturation 0", 0.0, 0.0, {255, 54.2f, 54.2f, 54.2f}, true};
// Hue 180 with the saturation record still holding 180: luminance 0.3855, red pushed
// 180 times away from it, so (0, 1, 1) after clamping.
constexpr Settings kOverdriven{"hue 180, saturation 180", 180.0, 180.0, {255, 0, 255, 255}, false};

inline bool isRed(int x, int y) {
    return (x + 2 * y) % 3 == 0;
}

inline void fillPattern(fxhost::HostWorld& world) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            const ARGB& p = isRed(x, y) ? kRed : kGrey;
            const float v[4] = {p.a, p.r, p.g, p.b};
            world.setPixel(x, y, v);
        }
    }
}

// Empty when every pixel of `output` is what `settings` make of the pattern, else the first miss.
inline std::string checkPattern(const fxhost::HostWorld& output, const Settings& settings,
                                float tolerance = 1.5f) {
    for (int y = 0; y < output.height(); ++y) {
        for (int x = 0; x < output.width(); ++x) {
            if (!isRed(x, y) && !settings.greyStaysGrey) continue;
            const ARGB& want = isRed(x, y) ? settings.red : kGrey;
            const float w[4] = {want.a, want.r, want.g, want.b};
            float got[4];
            output.getPixel(x, y, got);
            for (int c = 0; c < 4; ++c) {
                if (!(std::fabs(got[c] - w[c]) <= tolerance))
                    return std::string(settings.name) + ": pixel " + std::to_string(x) + "," +
                           std::to_string(y) + " channel " + std::to_string(c) + " is " +
                           std::to_string(got[c]) + ", want " + std::to_string(w[c]);
            }
        }
    }
    return "";
}

}  // namespace known
