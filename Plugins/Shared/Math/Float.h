// Scalar helpers and the constants that the whole math library shares. The angle
// factors are exact doubles: degrees to radians is the 14-digit 0.017453292519943,
// which is not the nearest double to pi/180, and the two factors are not reciprocals.
#pragma once

namespace Ostrivane {
namespace GaussianBlur {

// Tolerance of the library's equality and negligibility tests.
constexpr double kTolerance = 1e-12;
constexpr double kDegreesToRadians = 0.017453292519943;
constexpr double kRadiansToDegrees = 57.29577951308232;

// v when 0 <= v, otherwise -v (so -0.0 stays -0.0 and NaN is negated).
inline double absValue(double v) {
    return 0.0 <= v ? v : -v;
}

// The low bound is tested first, so with low above high every v below low gives low.
inline double clampValue(double v, double low, double high) {
    if (v < low) return low;
    if (high < v) return high;
    return v;
}

inline double degreesToRadians(double degrees) {
    return degrees * kDegreesToRadians;
}
inline double radiansToDegrees(double radians) {
    return radians * kRadiansToDegrees;
}

// a - b with at most one period removed: a difference beyond half a period moves
// one period towards zero; exactly half a period keeps its sign.
double cyclicDifference(double a, double b, double period);

}  // namespace GaussianBlur
}  // namespace Ostrivane
