#include "Vec2.h"

#include <cmath>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// isDuplicate's per-axis distance.
constexpr double kDuplicateDistance = 0.25;

int signOf(double v) {
    if (v > 0.0) return 1;
    if (v < 0.0) return -1;
    return 0;
}

}  // namespace

Vec2::Vec2() : x(0.0), y(0.0) {}

Vec2::Vec2(double x, double y) : x(x), y(y) {}

void Vec2::set(double nx, double ny) {
    x = nx;
    y = ny;
}

void Vec2::set(const Vec2& o) {
    x = o.x;
    y = o.y;
}

void Vec2::setZero() {
    x = y = 0.0;
}

void Vec2::fromArray(double* values, int offset) {
    if (!values) return;
    x = values[offset];
    y = values[offset + 1];
}

void Vec2::add(const Vec2& o) {
    x += o.x;
    y += o.y;
}
void Vec2::add(double v) {
    x += v;
    y += v;
}
void Vec2::sub(const Vec2& o) {
    x -= o.x;
    y -= o.y;
}
void Vec2::sub(double v) {
    x -= v;
    y -= v;
}
void Vec2::mult(const Vec2& o) {
    x *= o.x;
    y *= o.y;
}
void Vec2::mult(double v) {
    x *= v;
    y *= v;
}
void Vec2::divide(const Vec2& o) {
    x /= o.x;
    y /= o.y;
}
void Vec2::divide(double v) {
    x /= v;
    y /= v;
}
void Vec2::operator+=(const Vec2& o) {
    add(o);
}
void Vec2::operator+=(double v) {
    add(v);
}
void Vec2::operator-=(const Vec2& o) {
    sub(o);
}
void Vec2::operator-=(double v) {
    sub(v);
}
void Vec2::operator*=(const Vec2& o) {
    mult(o);
}
void Vec2::operator*=(double v) {
    mult(v);
}
void Vec2::operator/=(const Vec2& o) {
    divide(o);
}
void Vec2::operator/=(double v) {
    divide(v);
}

Vec2 Vec2::operator+(const Vec2& o) const {
    return Vec2(x + o.x, y + o.y);
}
Vec2 Vec2::operator+(double v) const {
    return Vec2(x + v, y + v);
}
Vec2 Vec2::operator-(const Vec2& o) const {
    return Vec2(x - o.x, y - o.y);
}
Vec2 Vec2::operator-(double v) const {
    return Vec2(x - v, y - v);
}
Vec2 Vec2::operator*(const Vec2& o) const {
    return Vec2(x * o.x, y * o.y);
}
Vec2 Vec2::operator*(double v) const {
    return Vec2(x * v, y * v);
}
Vec2 Vec2::operator/(const Vec2& o) const {
    return Vec2(x / o.x, y / o.y);
}
Vec2 Vec2::operator/(double v) const {
    return Vec2(x / v, y / v);
}
Vec2 Vec2::modulo(const Vec2& o) const {
    return Vec2(std::fmod(x, o.x), std::fmod(y, o.y));
}
Vec2 Vec2::operator%(const Vec2& o) const {
    return modulo(o);
}

bool Vec2::operator==(const Vec2& o) const {
    return equal(o, kTolerance);
}

bool Vec2::operator!=(const Vec2& o) const {
    return !(*this == o);
}

bool Vec2::equal(const Vec2& o, double tolerance) const {
    return absValue(o.x - x) <= tolerance && absValue(o.y - y) <= tolerance;
}

bool Vec2::isZero() const {
    return x == 0.0 && y == 0.0;
}

bool Vec2::equalWithTolerance(double x1, double y1, double x2, double y2, double tolerance) {
    const double dx = x2 - x1;
    const double dy = y2 - y1;
    return dx * dx + dy * dy < tolerance * tolerance;
}

bool Vec2::equalWithTolerance(Vec2 a, Vec2 b, double tolerance) {
    return equalWithTolerance(a.x, a.y, b.x, b.y, tolerance);
}

bool Vec2::isDuplicate(const Vec2& a, const Vec2& b) {
    return absValue(b.x - a.x) < kDuplicateDistance && absValue(b.y - a.y) < kDuplicateDistance;
}

bool Vec2::negligible() const {
    return negligible(x) && negligible(y);
}

bool Vec2::negligible(double v) {
    return -kTolerance < v && v < kTolerance;
}

bool Vec2::nonNegligible() const {
    return !negligible();
}

bool Vec2::isCollinear(const Vec2& o) const {
    return absValue(x * o.y - y * o.x) <= kTolerance * std::sqrt(lengthSquare() * o.lengthSquare());
}

bool Vec2::isOrthogonal(const Vec2& o) const {
    return absValue(x * o.x + y * o.y) <= kTolerance * std::sqrt(lengthSquare() * o.lengthSquare());
}

double Vec2::dot(const Vec2& o) const {
    return x * o.x + y * o.y;
}

Vec2 Vec2::dotProduction(const Vec2& o) const {
    return Vec2(x * o.x, y * o.y);
}

double Vec2::cross(const Vec2& o) const {
    return x * o.y - y * o.x;
}

double Vec2::cross(double x1, double y1, double x2, double y2) {
    return x1 * y2 - y1 * x2;
}

double Vec2::length() const {
    return std::sqrt(x * x + y * y);
}

double Vec2::lengthSquare() const {
    return x * x + y * y;
}

double Vec2::distance(const Vec2& o) const {
    return (*this - o).length();
}

double Vec2::distanceSquared(const Vec2& a, const Vec2& b) {
    return (a - b).lengthSquare();
}

void Vec2::setLength(double l) {
    // The zero vector has no direction; it is given +x so that the length holds.
    if (x == 0.0 && y == 0.0) {
        x = l;
        return;
    }
    const double factor = l / std::sqrt(x * x + y * y);
    x *= factor;
    y *= factor;
}

void Vec2::normalize() {
    if (x == 0.0 && y == 0.0) {
        x = 1.0;
        return;
    }
    const double inverse = 1.0 / std::sqrt(x * x + y * y);
    x *= inverse;
    y *= inverse;
}

void Vec2::normalize(double* px, double* py) {
    const double len = std::sqrt(*px * *px + *py * *py);
    if (len > kTolerance) {
        const double inverse = 1.0 / len;
        *px *= inverse;
        *py *= inverse;
    }
}

Vec2 Vec2::negate() const {
    return Vec2(-x, -y);
}

Vec2 Vec2::normal() const {
    return Vec2(-y, x);
}

Vec2 Vec2::perpindicularLeft() const {
    return Vec2(-y, x);
}

Vec2 Vec2::perpindicularRight() const {
    return Vec2(y, -x);
}

void Vec2::prepen() {
    set(-y, x);
}

double Vec2::slope() const {
    return y / x;
}

void Vec2::getMin(const Vec2& o) {
    // Written so that a tie or a NaN keeps the object's own value.
    if (o.x < x) x = o.x;
    if (o.y < y) y = o.y;
}

void Vec2::getMax(const Vec2& o) {
    // Written so that a tie or a NaN takes o's value.
    x = x > o.x ? x : o.x;
    y = y > o.y ? y : o.y;
}

void Vec2::clamp(const Vec2& low, const Vec2& high) {
    x = clampValue(x, low.x, high.x);
    y = clampValue(y, low.y, high.y);
}

void Vec2::followSigns(const Vec2& o) {
    if ((x > 0.0) != (o.x > 0.0)) x = -x;
    if ((y > 0.0) != (o.y > 0.0)) y = -y;
}

Vec2 Vec2::lerp(Vec2 a, Vec2 b, double t) {
    return a * (1.0 - t) + b * t;
}

void Vec2::rotate(double degrees) {
    // An exact 0 leaves the bits alone, NaN components included.
    if (degrees == 0.0) return;
    const double th = degreesToRadians(degrees);
    const double c = std::cos(th);
    const double s = std::sin(th);
    set(c * x - s * y, c * y + s * x);
}

void Vec2::rotateAround(double degrees, const Vec2& center) {
    if (degrees == 0.0) return;
    Vec2 d = *this - center;
    d.rotate(degrees);
    set(d + center);
}

Vec2 Vec2::rotateRound(double degrees, const Vec2& center) const {
    Vec2 r(*this);
    r.rotateAround(degrees, center);
    return r;
}

double Vec2::getAngle() const {
    if (x == 0.0 && y == 0.0) return 0.0;
    return radiansToDegrees(std::atan2(y, x));
}

void Vec2::setAngle(double degrees) {
    const double r = length();
    const double th = degreesToRadians(degrees);
    set(r * std::cos(th), r * std::sin(th));
}

double Vec2::angleBetween(const Vec2& o) const {
    return radiansToDegrees(std::atan2(x * o.y - y * o.x, x * o.x + y * o.y));
}

int Vec2::getQuadrant() const {
    if (x >= 0.0) return y >= 0.0 ? 1 : 4;
    return y >= 0.0 ? 2 : 3;
}

bool Vec2::oppositeQuadrant(const Vec2& a, const Vec2& b) {
    const int ax = signOf(a.x), ay = signOf(a.y), bx = signOf(b.x), by = signOf(b.y);
    const bool xDifferent = ax != bx;
    const bool yDifferent = ay != by;
    const bool xBothZero = ax == 0 && bx == 0;
    const bool yBothZero = ay == 0 && by == 0;
    return (xDifferent && yDifferent) || (xDifferent && yBothZero) || (xBothZero && yDifferent);
}

Vec2 Vec2::project(const Vec2& o) const {
    if (o.x == 0.0 && o.y == 0.0) return Vec2();
    const double s = (x * o.x + y * o.y) / (o.x * o.x + o.y * o.y);
    return o * s;
}

double Vec2::distanceToLine(const Vec2& a, const Vec2& b) const {
    const Vec2 dir = b - a;
    const double s = (*this - a).dot(dir) / dir.dot(dir);
    const Vec2 foot = a + dir * s;
    return (*this - foot).length();
}

double Vec2::lineProjectionLength(const Vec2& a, const Vec2& b) const {
    const Vec2 dir = b - a;
    const double s = (*this - a).dot(dir) / dir.dot(dir);
    const Vec2 foot = a + dir * s;
    return (foot - a).length();
}

double Vec2::signedArea(const Vec2& a, const Vec2& b, const Vec2& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool Vec2::intersecting(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d) {
    const double s1 = signedArea(a, b, c);
    const double s2 = signedArea(a, b, d);
    return (s1 > 0.0) != (s2 > 0.0);
}

int Vec2::intersect(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d, Vec2& out, double* t,
                    double* u) {
    const double denom = (b.x - a.x) * (d.y - c.y) - (b.y - a.y) * (d.x - c.x);
    const double numT = (a.y - c.y) * (d.x - c.x) - (a.x - c.x) * (d.y - c.y);
    const double numU = (a.y - c.y) * (b.x - a.x) - (a.x - c.x) * (b.y - a.y);

    // Absolute bounds on the products, not relative to the segments' lengths.
    if (negligible(numT) && negligible(numU) && negligible(denom)) {
        out.set((a.x + b.x) * 0.5, (a.y + b.y) * 0.5);
        return Coincident;
    }
    if (negligible(denom)) {
        out.set(0.0, 0.0);
        return Parallel;
    }

    const double tt = numT / denom;
    const double uu = numU / denom;
    if (t) *t = tt;
    if (u) *u = uu;
    out.set(a.x + tt * (b.x - a.x), a.y + tt * (b.y - a.y));

    const bool tOutside = tt < 0.0 || tt > 1.0;
    const bool uOutside = uu < 0.0 || uu > 1.0;
    if (tOutside && uOutside) return OutsideBoth;
    if (tOutside) return OutsideFirst;
    if (uOutside) return OutsideSecond;
    return Crossing;
}

bool Vec2::anchorOutwardD(Vec2& v, const Vec2& a, const Vec2& b) {
    return a.x * v.x - b.x * v.x + a.y * v.y - b.y * v.y > 0.0;
}

bool Vec2::anchorOutward(Vec2& v, const Vec2& a, const Vec2& b, bool flip) {
    const bool outward = anchorOutwardD(v, a, b);
    if (outward != flip) return false;
    v.set(-v.x, -v.y);
    return true;
}

bool Vec2::anchorInward(Vec2& v, const Vec2& a, const Vec2& b) {
    return anchorOutward(v, a, b, true);
}

Vec2 Vec2::centerToTopLefetPoint(const Vec2& p, const Vec2& size) {
    return Vec2(p.x + size.x * 0.5, size.y * 0.5 - p.y);
}

Vec2 Vec2::topLeftToCenterPoint(const Vec2& p, const Vec2& size) {
    return Vec2(p.x - size.x * 0.5, size.y * 0.5 - p.y);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
