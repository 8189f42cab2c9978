// An RGBA colour of four doubles, red, green, blue, alpha, normally 0 to 1; the default is
// opaque white. Any channel below 0 makes the colour nil. Packed values and hexadecimal
// text put alpha first (0xAARRGGBB, "#ARGB", "#AARRGGBB"); integer channels become doubles
// through a single-precision division. Only lerp's weight is clamped.
#pragma once

#include <string>

namespace Ostrivane {
namespace GaussianBlur {

class Color {
public:
    double rgba[4];

    // (1, 1, 1, 1).
    Color();
    Color(double r, double g, double b, double a);
    // "#RGB", "#ARGB", "#RRGGBB" or "#AARRGGBB". The body is read by std::stoull in base 16,
    // whose std::invalid_argument and std::out_of_range pass through ("#" alone, "#GG");
    // any other text (no leading '#', another length) leaves opaque white.
    explicit Color(const std::string& text);
    // 0xAARRGGBB: a value below 0x01000000 has alpha 0.
    explicit Color(unsigned int value);
    Color(const Color& o) = default;
    Color& operator=(const Color& o) = default;

    void set(double r, double g, double b, double a);
    // (-1, -1, -1, -1).
    void setNil();
    // Any channel strictly below 0; NaN and -0.0 don't count.
    bool isNil() const;
    double r() const { return rgba[0]; }
    double g() const { return rgba[1]; }
    double b() const { return rgba[2]; }
    double a() const { return rgba[3]; }

    // Two nil colours are equal whatever their values; otherwise each channel within
    // kTolerance, inclusive.
    bool equal(const Color& o) const;
    bool operator==(const Color& o) const;
    bool operator!=(const Color& o) const;
    // Per channel, alpha included, unclamped.
    Color operator+(const Color& o) const;
    Color operator-(const Color& o) const;
    Color operator*(const Color& o) const;
    Color operator*(const double& s) const;

    // a (1 - t) + b t per channel with t clamped to 0..1; the weight 1 - t is rounded to
    // single precision, so the two weights need not sum to exactly 1.
    static Color lerp(const Color& a, const Color& b, double t);
    // "#RGB" when alpha is exactly 1, else "#ARGB", each channel as channel * 255 truncated
    // and printed in uppercase hex without leading zeros ((1, 0, 0.5, 1) is "#FF07F"), so the
    // text doesn't always read back. Channels outside 0..1 (and NaN) print as 00 or FF.
    std::string toHexString();
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
