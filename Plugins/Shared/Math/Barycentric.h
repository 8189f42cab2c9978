// The weights u, v, w of a point against a triangle a, b, c (u for a, v for b, w for c),
// in 2, 3 or 4 dimensions or over a colour's four channels; w = 1 - u - v. Off the plane
// a point gets the weights of its projection. A degenerate triangle gives NaN or infinite
// weights, with no tolerance; nothing reports errors.
#pragma once

#include "Color.h"
#include "Vec2.h"
#include "Vec3.h"
#include "Vec4.h"

namespace Ostrivane {
namespace GaussianBlur {

class Barycentric {
public:
    double u;
    double v;
    double w;

    Barycentric(double u, double v, double w);
    // Vertices first, the point last.
    Barycentric(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& p);
    Barycentric(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& p);
    Barycentric(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& p);
    // Over the channels r, g, b, a.
    Barycentric(const Color& a, const Color& b, const Color& c, const Color& p);

    // 0 <= u <= 1, 0 <= v <= 1 and 0 <= w, exactly; any NaN makes it false.
    bool isInside();
    // (a u + b v) + c w with the weights as they stand, so an outside point extrapolates.
    Vec2 interpolate(const Vec2& a, const Vec2& b, const Vec2& c);
    Vec3 interpolate(const Vec3& a, const Vec3& b, const Vec3& c);
    Vec4 interpolate(const Vec4& a, const Vec4& b, const Vec4& c);
    // All four channels, alpha included, unclamped.
    Color interpolate(const Color& a, const Color& b, const Color& c);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
