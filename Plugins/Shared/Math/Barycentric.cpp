#include "Barycentric.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

double dot(const Color& a, const Color& b) {
    return a.rgba[0] * b.rgba[0] + a.rgba[1] * b.rgba[1] + a.rgba[2] * b.rgba[2] + a.rgba[3] * b.rgba[3];
}

double dot(const Vec2& a, const Vec2& b) {
    return a.dot(b);
}
double dot(const Vec3& a, const Vec3& b) {
    return a.dot(b);
}
double dot(const Vec4& a, const Vec4& b) {
    return a.dot(b);
}

// Cramer's rule on the edges from the third vertex; the types differ only in how many
// components their dot products run over. No guard on den: a degenerate triangle shows
// as NaN or infinite weights.
template <class T>
Barycentric weights(const T& a, const T& b, const T& c, const T& p) {
    const T e0 = b - c;
    const T e1 = a - c;
    const T ep = p - c;
    const double d00 = dot(e0, e0);
    const double d11 = dot(e1, e1);
    const double d01 = dot(e0, e1);
    const double r0 = dot(ep, e0);
    const double r1 = dot(ep, e1);
    const double den = d00 * d11 - d01 * d01;
    const double u = (d00 * r1 - d01 * r0) / den;
    const double v = (d11 * r0 - d01 * r1) / den;
    return Barycentric(u, v, 1.0 - u - v);
}

}  // namespace

Barycentric::Barycentric(double u, double v, double w) : u(u), v(v), w(w) {}

Barycentric::Barycentric(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& p)
    : Barycentric(weights(a, b, c, p)) {}

Barycentric::Barycentric(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& p)
    : Barycentric(weights(a, b, c, p)) {}

Barycentric::Barycentric(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& p)
    : Barycentric(weights(a, b, c, p)) {}

Barycentric::Barycentric(const Color& a, const Color& b, const Color& c, const Color& p)
    : Barycentric(weights(a, b, c, p)) {}

bool Barycentric::isInside() {
    return u >= 0.0 && u <= 1.0 && v >= 0.0 && v <= 1.0 && w >= 0.0;
}

Vec2 Barycentric::interpolate(const Vec2& a, const Vec2& b, const Vec2& c) {
    return (a * u + b * v) + c * w;
}

Vec3 Barycentric::interpolate(const Vec3& a, const Vec3& b, const Vec3& c) {
    return (a * u + b * v) + c * w;
}

Vec4 Barycentric::interpolate(const Vec4& a, const Vec4& b, const Vec4& c) {
    return (a * u + b * v) + c * w;
}

Color Barycentric::interpolate(const Color& a, const Color& b, const Color& c) {
    return (a * u + b * v) + c * w;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
