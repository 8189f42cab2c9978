// The frame every benchmark works on: an 8-bit host world of the given size filled with a
// fixed, colourful pattern (hue and saturation sweep across it, alpha varies by row), so that
// the effect's arithmetic is exercised on every pixel, and the parameters the peers use.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "HostWorld.h"

namespace Ostrivane {
namespace GaussianBlur {

class BenchFrame {
public:
    static constexpr double kHueDegrees = 90.0;
    static constexpr double kSaturation = 1.5;

    /// Fills an 8-bit world; the same size always gives the same bytes.
    static void fill(fxhost::HostWorld& world);

    /// The same pixels tightly packed, A, R, G, B, row 0 first: what the peers read.
    static std::vector<uint8_t> packed(int width, int height);

    /// The bundle under test: $OSTRIVANE_BENCH_BUNDLE when set (to compare two builds), else the
    /// one this build made.
    static std::string bundlePath();

    /// "1920x1080" into its two numbers; false when malformed.
    static bool parseSize(const std::string& text, int& width, int& height);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
