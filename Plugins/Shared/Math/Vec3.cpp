#include "Vec3.h"

#include <cmath>

#include "Mat4.h"
#include "Quaternion.h"

namespace Ostrivane {
namespace GaussianBlur {

Vec3::Vec3() : x(0.0), y(0.0), z(0.0) {}

Vec3::Vec3(double v) : x(v), y(v), z(v) {}

Vec3::Vec3(double x, double y, double z) : x(x), y(y), z(z) {}

Vec3::Vec3(Vec2 xy, double z) : x(xy.x), y(xy.y), z(z) {}

void Vec3::set(double nx, double ny, double nz) {
    x = nx;
    y = ny;
    z = nz;
}

void Vec3::set(Vec2 xy, double nz) {
    set(xy.x, xy.y, nz);
}

void Vec3::set(int index, double value) {
    if (index == 0)
        x = value;
    else if (index == 1)
        y = value;
    else
        z = value;
}

void Vec3::setZero() {
    x = y = z = 0.0;
}

void Vec3::fromArray(const double* values, int offset) {
    x = values[offset];
    y = values[offset + 1];
    z = values[offset + 2];
}

void Vec3::toArray(double* values, int offset) const {
    values[offset] = x;
    values[offset + 1] = y;
    values[offset + 2] = z;
}

Vec2 Vec3::getVec2() const {
    return Vec2(x, y);
}

void Vec3::setFromMatrixPosition(const Mat4& m) {
    set(m.e[12], m.e[13], m.e[14]);
}

void Vec3::setFromMatrixColumn(const Mat4& m, int column) {
    const double* c = m.e + 4 * column;
    set(c[0], c[1], c[2]);
}

void Vec3::add(const Vec3& o) {
    x += o.x;
    y += o.y;
    z += o.z;
}
void Vec3::add(double v) {
    x += v;
    y += v;
    z += v;
}
void Vec3::sub(const Vec3& o) {
    x -= o.x;
    y -= o.y;
    z -= o.z;
}
void Vec3::sub(double v) {
    x -= v;
    y -= v;
    z -= v;
}
void Vec3::mult(const Vec3& o) {
    x *= o.x;
    y *= o.y;
    z *= o.z;
}
void Vec3::mult(double v) {
    x *= v;
    y *= v;
    z *= v;
}
void Vec3::divide(const Vec3& o) {
    x /= o.x;
    y /= o.y;
    z /= o.z;
}
void Vec3::divide(double v) {
    x /= v;
    y /= v;
    z /= v;
}
void Vec3::operator+=(const Vec3& o) {
    add(o);
}
void Vec3::operator+=(double v) {
    add(v);
}
void Vec3::operator-=(const Vec3& o) {
    sub(o);
}
void Vec3::operator-=(double v) {
    sub(v);
}
void Vec3::operator*=(const Vec3& o) {
    mult(o);
}
void Vec3::operator*=(double v) {
    mult(v);
}
void Vec3::operator/=(const Vec3& o) {
    divide(o);
}
void Vec3::operator/=(double v) {
    divide(v);
}
void Vec3::setNegate() {
    set(-x, -y, -z);
}
void Vec3::setInvert() {
    set(1.0 / x, 1.0 / y, 1.0 / z);
}

Vec3 Vec3::operator+(const Vec3& o) const {
    return Vec3(x + o.x, y + o.y, z + o.z);
}
Vec3 Vec3::operator+(double v) const {
    return Vec3(x + v, y + v, z + v);
}
Vec3 Vec3::operator-(const Vec3& o) const {
    return Vec3(x - o.x, y - o.y, z - o.z);
}
Vec3 Vec3::operator-(double v) const {
    return Vec3(x - v, y - v, z - v);
}
Vec3 Vec3::operator*(const Vec3& o) const {
    return Vec3(x * o.x, y * o.y, z * o.z);
}
Vec3 Vec3::operator*(double v) const {
    return Vec3(x * v, y * v, z * v);
}
Vec3 Vec3::operator/(const Vec3& o) const {
    return Vec3(x / o.x, y / o.y, z / o.z);
}
Vec3 Vec3::operator/(double v) const {
    return Vec3(x / v, y / v, z / v);
}
Vec3 Vec3::negate() const {
    return Vec3(-x, -y, -z);
}
Vec3 Vec3::invert() const {
    return Vec3(1.0 / x, 1.0 / y, 1.0 / z);
}

bool Vec3::operator==(const Vec3& o) const {
    return equal(o, kTolerance);
}

bool Vec3::operator!=(const Vec3& o) const {
    return !(*this == o);
}

bool Vec3::equal(const Vec3& o, double tolerance) const {
    return absValue(o.x - x) <= tolerance && absValue(o.y - y) <= tolerance && absValue(o.z - z) <= tolerance;
}

bool Vec3::isZero() const {
    return x == 0.0 && y == 0.0 && z == 0.0;
}

double Vec3::dot(const Vec3& o) const {
    return x * o.x + y * o.y + z * o.z;
}

Vec3 Vec3::cross(const Vec3& o) const {
    return Vec3(y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x);
}

double Vec3::length() const {
    return std::sqrt(lengthSquare());
}

double Vec3::lengthSquare() const {
    return x * x + y * y + z * z;
}

double Vec3::distance(const Vec3& o) const {
    return (*this - o).length();
}

double Vec3::distanceSquare(const Vec3& o) const {
    return (*this - o).lengthSquare();
}

void Vec3::setLength(double l) {
    // The zero vector has no direction; it is given +x so that the length holds.
    if (x == 0.0 && y == 0.0 && z == 0.0) {
        x = l;
        return;
    }
    mult(l / std::sqrt(x * x + y * y + z * z));
}

void Vec3::normalize() {
    setLength(1.0);
}

double Vec3::angleBetween(const Vec3& o) const {
    // Unclamped on purpose: degenerate input answers NaN rather than a made-up angle.
    return std::acos(dot(o) / (length() * o.length()));
}

int Vec3::largestAbsComponent() const {
    const double ax = absValue(x);
    const double ay = absValue(y);
    const double az = absValue(z);
    if (ax > ay) return ax > az ? 0 : 2;
    return ay > az ? 1 : 2;
}

void Vec3::ortho(const Vec3& o) {
    // A unit axis other than the object's largest one is never parallel to the object.
    const int k = largestAbsComponent();
    const int axis = k == 0 ? 2 : k - 1;
    setZero();
    set(axis, 1.0);
    *this = o.cross(*this);
    setLength(1.0);
}

Vec3 Vec3::rotationalDifference(const Vec3& o) const {
    return *this - o;
}

Vec3 Vec3::lerp(Vec3 a, Vec3 b, double t) {
    return a * (1.0 - t) + b * t;
}

void Vec3::getMin(Vec3 o) {
    // Written so that a tie or a NaN keeps the object's own value.
    if (o.x < x) x = o.x;
    if (o.y < y) y = o.y;
    if (o.z < z) z = o.z;
}

void Vec3::getMax(Vec3 o) {
    // Written so that a tie or a NaN takes o's value.
    x = x > o.x ? x : o.x;
    y = y > o.y ? y : o.y;
    z = z > o.z ? z : o.z;
}

void Vec3::clamp(Vec3 low, Vec3 high) {
    x = clampValue(x, low.x, high.x);
    y = clampValue(y, low.y, high.y);
    z = clampValue(z, low.z, high.z);
}

Vec3 Vec3::floor() const {
    return Vec3(std::floor(x), std::floor(y), std::floor(z));
}

void Vec3::applyMatrix4(const Mat4& m) {
    const double* e = m.e;
    set(e[0] * x + e[4] * y + e[8] * z + e[12], e[1] * x + e[5] * y + e[9] * z + e[13],
        e[2] * x + e[6] * y + e[10] * z + e[14]);
}

void Vec3::applyProjection(const Mat4& m) {
    const double* e = m.e;
    const double d = 1.0 / (e[3] * x + e[7] * y + e[11] * z + e[15]);
    set((e[0] * x + e[4] * y + e[8] * z + e[12]) * d, (e[1] * x + e[5] * y + e[9] * z + e[13]) * d,
        (e[2] * x + e[6] * y + e[10] * z + e[14]) * d);
}

void Vec3::transformDirection(const Mat4& m) {
    const double* e = m.e;
    set(e[0] * x + e[4] * y + e[8] * z, e[1] * x + e[5] * y + e[9] * z, e[2] * x + e[6] * y + e[10] * z);
    setLength(1.0);
}

void Vec3::applyQuaternion(const Quaternion& q) {
    const double ix = q.w * x + q.y * z - q.z * y;
    const double iy = q.w * y + q.z * x - q.x * z;
    const double iz = q.w * z + q.x * y - q.y * x;
    const double iw = -q.x * x - q.y * y - q.z * z;
    set(ix * q.w - iw * q.x - iy * q.z + iz * q.y, iy * q.w - iw * q.y - iz * q.x + ix * q.z,
        iz * q.w - iw * q.z - ix * q.y + iy * q.x);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
