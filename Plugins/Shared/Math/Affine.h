// A 2-D affine transform of doubles: m holds rows (m0 m1 m2) and (m3 m4 m5) acting on
// the column (x, y, 1), so x' = m0 x + m1 y + m2. Angles in degrees, positive from +x
// towards +y. Transforms with |det| below 1e-06 count as singular.
#pragma once

#include "Float.h"
#include "Vec2.h"

namespace Ostrivane {
namespace GaussianBlur {

class Affine {
public:
    double m[6];

    // The identity, or all zeros with identity false.
    explicit Affine(bool identity = true);
    // Column by column: (a, b) the first column, (c, d) the second, (e, f) the translation.
    Affine(double a, double b, double c, double d, double e, double f);
    Affine(const Affine& o) = default;
    Affine& operator=(const Affine& o) = default;

    // Column by column, as the six-double constructor.
    void set(double a, double b, double c, double d, double e, double f);
    // Per element, |difference| <= kTolerance (inclusive).
    bool operator==(const Affine& o) const;

    void setTranslate(double x, double y);
    void setScale(double x, double y);
    void setRotate(double degrees);
    // x' = x + tan(angle) y.
    void setSkewX(double degrees);
    // y' = y + tan(angle) x.
    void setSkewY(double degrees);
    // Layer transform: p maps to position + R(degrees) (scale * (p - anchor)), so the
    // anchor lands on position.
    void set(Vec2 anchor, Vec2 position, Vec2 scale, double degrees);

    // The object becomes O x A: o acts after what the object holds.
    void multiply(const Affine& o);
    // The object becomes A x O: o acts first.
    void premultiply(const Affine& o);
    // Each applies its transform before what the object holds (object = object x T).
    void translate(double x, double y);
    void scale(double x, double y);
    void rotate(double degrees);
    void skewX(double degrees);
    void skewY(double degrees);

    void transform(Vec2& v) const;
    Vec2 getTransform(const Vec2& v) const;
    // Both pointers must be valid.
    void transform(double x, double y, double* outX, double* outY) const;
    void transform(double& x, double& y) const;
    // False, with out untouched, when singular.
    bool inverse(Affine& out) const;
    // The identity when singular.
    Affine getInverse() const;
    // Mean length of the two rows, quantised to 1/10000 in single precision.
    double averageScale() const;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
