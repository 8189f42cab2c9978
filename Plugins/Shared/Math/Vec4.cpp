#include "Vec4.h"

#include <cmath>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// kTolerance squared, written out so that the bound is exactly the double nearest 1e-24.
constexpr double kToleranceSquared = 1e-24;
// Below this 1 - cos the arc is too flat for sines; 0.01 in single precision, widened.
constexpr double kFlatArc = static_cast<double>(0.01f);

}  // namespace

Vec4::Vec4() : x(0.0), y(0.0), z(0.0), w(0.0) {}

Vec4::Vec4(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}

Vec4::Vec4(const Vec3& v, double w) : x(v.x), y(v.y), z(v.z), w(w) {}

void Vec4::set(double nx, double ny, double nz, double nw) {
    x = nx;
    y = ny;
    z = nz;
    w = nw;
}

void Vec4::setZero() {
    x = y = z = w = 0.0;
}

Vec3 Vec4::getVec3() const {
    return Vec3(x, y, z);
}

void Vec4::add(const Vec4& o) {
    x += o.x;
    y += o.y;
    z += o.z;
    w += o.w;
}
void Vec4::add(double v) {
    x += v;
    y += v;
    z += v;
    w += v;
}
void Vec4::sub(const Vec4& o) {
    x -= o.x;
    y -= o.y;
    z -= o.z;
    w -= o.w;
}
void Vec4::sub(double v) {
    x -= v;
    y -= v;
    z -= v;
    w -= v;
}
void Vec4::mult(const Vec4& o) {
    x *= o.x;
    y *= o.y;
    z *= o.z;
    w *= o.w;
}
void Vec4::mult(double v) {
    x *= v;
    y *= v;
    z *= v;
    w *= v;
}
void Vec4::divide(const Vec4& o) {
    x /= o.x;
    y /= o.y;
    z /= o.z;
    w /= o.w;
}
void Vec4::divide(double v) {
    x /= v;
    y /= v;
    z /= v;
    w /= v;
}
void Vec4::operator+=(const Vec4& o) {
    add(o);
}
void Vec4::operator+=(double v) {
    add(v);
}
void Vec4::operator-=(const Vec4& o) {
    sub(o);
}
void Vec4::operator-=(double v) {
    sub(v);
}
void Vec4::operator*=(const Vec4& o) {
    mult(o);
}
void Vec4::operator*=(double v) {
    mult(v);
}
void Vec4::operator/=(const Vec4& o) {
    divide(o);
}
void Vec4::operator/=(double v) {
    divide(v);
}

Vec4 Vec4::operator+(const Vec4& o) const {
    return Vec4(x + o.x, y + o.y, z + o.z, w + o.w);
}
Vec4 Vec4::operator+(double v) const {
    return Vec4(x + v, y + v, z + v, w + v);
}
Vec4 Vec4::operator-(const Vec4& o) const {
    return Vec4(x - o.x, y - o.y, z - o.z, w - o.w);
}
Vec4 Vec4::operator-(double v) const {
    return Vec4(x - v, y - v, z - v, w - v);
}
Vec4 Vec4::operator*(const Vec4& o) const {
    return Vec4(x * o.x, y * o.y, z * o.z, w * o.w);
}
Vec4 Vec4::operator*(double v) const {
    return Vec4(x * v, y * v, z * v, w * v);
}
Vec4 Vec4::operator/(const Vec4& o) const {
    return Vec4(x / o.x, y / o.y, z / o.z, w / o.w);
}
Vec4 Vec4::operator/(double v) const {
    return Vec4(x / v, y / v, z / v, w / v);
}
Vec4 Vec4::negate() const {
    return Vec4(-x, -y, -z, -w);
}
Vec4 Vec4::invert() const {
    return Vec4(1.0 / x, 1.0 / y, 1.0 / z, 1.0 / w);
}

bool Vec4::operator==(const Vec4& o) const {
    return (*this - o).lengthSquare() < kToleranceSquared;
}

bool Vec4::operator!=(const Vec4& o) const {
    return !(*this == o);
}

bool Vec4::equal(const Vec4& o, double tolerance) const {
    return (*this - o).lengthSquare() < tolerance * tolerance;
}

bool Vec4::isZero() const {
    return x == 0.0 && y == 0.0 && z == 0.0 && w == 0.0;
}

double Vec4::length() const {
    return std::sqrt(lengthSquare());
}

double Vec4::lengthSquare() const {
    return x * x + y * y + z * z + w * w;
}

double Vec4::lengthManhattan() const {
    return absValue(x) + absValue(y) + absValue(z) + absValue(w);
}

double Vec4::distance(const Vec4& o) const {
    return (*this - o).length();
}

double Vec4::dot(const Vec4& o) const {
    return x * o.x + y * o.y + z * o.z + w * o.w;
}

void Vec4::setLength(double l) {
    if (isZero()) {
        x = l;
        return;
    }
    mult(l / length());
}

void Vec4::normalize() {
    setLength(1.0);
}

Vec4 Vec4::lerp(Vec4 a, Vec4 b, double t) {
    if (t == 0.0) return a;
    if (t == 1.0) return b;
    const double c = a.dot(b) / (a.length() * b.length());
    // Negating b gives exactly -c, so this recursion ends after one step.
    if (c < 0.0) return lerp(a, b.negate(), t);

    double wa;
    double wb;
    if (1.0 - c < kFlatArc) {
        wa = 1.0 - t;
        wb = t;
    } else {
        // The weights are single-precision by contract (results are pinned to that
        // rounding); only the products with theta are formed in double before narrowing.
        const float theta = std::acos(static_cast<float>(c));
        const float inv = 1.0f / std::sin(theta);
        wa = static_cast<double>(std::sin(static_cast<float>((1.0 - t) * theta))) * inv;
        wb = static_cast<double>(std::sin(static_cast<float>(theta * t))) * inv;
    }
    Vec4 r = a * wa + b * wb;
    r.setLength(1.0);
    return r;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
