// A 4-vector of doubles (default all zero, w included). Unlike Vec2 and Vec3 its
// equality is Euclidean and strict, and its lerp is spherical and returns a unit vector.
// `add`/`sub`/`mult`/`divide` and the compound operators mutate.
#pragma once

#include "Float.h"
#include "Vec3.h"

namespace Ostrivane {
namespace GaussianBlur {

class Vec4 {
public:
    double x;
    double y;
    double z;
    double w;

    Vec4();
    Vec4(double x, double y, double z, double w);
    Vec4(const Vec3& v, double w);
    Vec4(const Vec4& o) = default;
    Vec4& operator=(const Vec4& o) = default;

    void set(double x, double y, double z, double w);
    void setZero();
    // (x, y, z); w is dropped, not divided by.
    Vec3 getVec3() const;

    void add(const Vec4& o);
    void add(double v);
    void sub(const Vec4& o);
    void sub(double v);
    void mult(const Vec4& o);
    void mult(double v);
    void divide(const Vec4& o);
    void divide(double v);
    void operator+=(const Vec4& o);
    void operator+=(double v);
    void operator-=(const Vec4& o);
    void operator-=(double v);
    void operator*=(const Vec4& o);
    void operator*=(double v);
    void operator/=(const Vec4& o);
    void operator/=(double v);

    Vec4 operator+(const Vec4& o) const;
    Vec4 operator+(double v) const;
    Vec4 operator-(const Vec4& o) const;
    Vec4 operator-(double v) const;
    Vec4 operator*(const Vec4& o) const;
    Vec4 operator*(double v) const;
    Vec4 operator/(const Vec4& o) const;
    Vec4 operator/(double v) const;
    Vec4 negate() const;
    // 1 / component for all four, with no zero guard.
    Vec4 invert() const;

    // Sum of squared differences strictly below 1e-24.
    bool operator==(const Vec4& o) const;
    bool operator!=(const Vec4& o) const;
    // Sum of squared differences strictly below tolerance squared.
    bool equal(const Vec4& o, double tolerance = kTolerance) const;
    // Exactly (0, 0, 0, 0).
    bool isZero() const;

    double length() const;
    double lengthSquare() const;
    double lengthManhattan() const;
    double distance(const Vec4& o) const;
    double dot(const Vec4& o) const;
    // The zero vector becomes (l, 0, 0, 0).
    void setLength(double l);
    void normalize();
    // Along the shorter arc between the directions of a and b, at unit length; a at t
    // exactly 0 and b at t exactly 1, unchanged. t is not clamped.
    static Vec4 lerp(Vec4 a, Vec4 b, double t);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
