#include "Color.h"

#include <cstdint>
#include <cstdio>

#include "Float.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// The quotient is formed in single precision and widened: 0x80 gives 0.501960813999176,
// which still comes back as 0x80 through toHexString's multiply and truncate.
double channel(unsigned long long bits, float divisor) {
    return static_cast<float>(bits) / divisor;
}

// channel * 255 truncated; out-of-range and NaN channels are held to 0..255 so that the
// text always reads as a colour and no conversion overflows.
unsigned int printable(double channel) {
    const double scaled = channel * 255.0;
    if (!(scaled > 0.0)) return 0;
    if (scaled >= 255.0) return 255;
    return static_cast<unsigned int>(scaled);
}

}  // namespace

Color::Color() : rgba{1.0, 1.0, 1.0, 1.0} {}

Color::Color(double r, double g, double b, double a) : rgba{r, g, b, a} {}

Color::Color(const std::string& text) : rgba{1.0, 1.0, 1.0, 1.0} {
    if (text.empty() || text[0] != '#') return;
    const std::string body = text.substr(1);
    const unsigned long long v = std::stoull(body, nullptr, 16);
    switch (body.size()) {
        case 3:
            set(channel((v >> 8) & 0xF, 15.0f), channel((v >> 4) & 0xF, 15.0f), channel(v & 0xF, 15.0f), 1.0);
            break;
        case 4:
            set(channel((v >> 8) & 0xF, 15.0f), channel((v >> 4) & 0xF, 15.0f), channel(v & 0xF, 15.0f),
                channel((v >> 12) & 0xF, 15.0f));
            break;
        case 6:
            set(channel((v >> 16) & 0xFF, 255.0f), channel((v >> 8) & 0xFF, 255.0f),
                channel(v & 0xFF, 255.0f), 1.0);
            break;
        case 8:
            set(channel((v >> 16) & 0xFF, 255.0f), channel((v >> 8) & 0xFF, 255.0f),
                channel(v & 0xFF, 255.0f), channel((v >> 24) & 0xFF, 255.0f));
            break;
        default:
            break;
    }
}

Color::Color(unsigned int value)
    : rgba{channel((value >> 16) & 0xFF, 255.0f), channel((value >> 8) & 0xFF, 255.0f),
           channel(value & 0xFF, 255.0f), channel((value >> 24) & 0xFF, 255.0f)} {}

void Color::set(double r, double g, double b, double a) {
    rgba[0] = r;
    rgba[1] = g;
    rgba[2] = b;
    rgba[3] = a;
}

void Color::setNil() {
    set(-1.0, -1.0, -1.0, -1.0);
}

bool Color::isNil() const {
    return rgba[0] < 0.0 || rgba[1] < 0.0 || rgba[2] < 0.0 || rgba[3] < 0.0;
}

bool Color::equal(const Color& o) const {
    if (isNil() && o.isNil()) return true;
    for (int i = 0; i < 4; ++i)
        if (!(absValue(rgba[i] - o.rgba[i]) <= kTolerance)) return false;
    return true;
}

bool Color::operator==(const Color& o) const {
    return equal(o);
}

bool Color::operator!=(const Color& o) const {
    return !equal(o);
}

Color Color::operator+(const Color& o) const {
    return Color(rgba[0] + o.rgba[0], rgba[1] + o.rgba[1], rgba[2] + o.rgba[2], rgba[3] + o.rgba[3]);
}

Color Color::operator-(const Color& o) const {
    return Color(rgba[0] - o.rgba[0], rgba[1] - o.rgba[1], rgba[2] - o.rgba[2], rgba[3] - o.rgba[3]);
}

Color Color::operator*(const Color& o) const {
    return Color(rgba[0] * o.rgba[0], rgba[1] * o.rgba[1], rgba[2] * o.rgba[2], rgba[3] * o.rgba[3]);
}

Color Color::operator*(const double& s) const {
    return Color(rgba[0] * s, rgba[1] * s, rgba[2] * s, rgba[3] * s);
}

Color Color::lerp(const Color& a, const Color& b, double t) {
    const double weight = t < 0.0 ? 0.0 : (t < 1.0 ? t : 1.0);
    const double other = static_cast<float>(1.0 - weight);
    Color result;
    for (int i = 0; i < 4; ++i) result.rgba[i] = a.rgba[i] * other + b.rgba[i] * weight;
    return result;
}

std::string Color::toHexString() {
    char text[16];
    if (rgba[3] == 1.0)
        std::snprintf(text, sizeof(text), "#%X%X%X", printable(rgba[0]), printable(rgba[1]),
                      printable(rgba[2]));
    else
        std::snprintf(text, sizeof(text), "#%X%X%X%X", printable(rgba[3]), printable(rgba[0]),
                      printable(rgba[1]), printable(rgba[2]));
    return text;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
