// A 3-vector of doubles: point, direction or scale. Angles are in radians; matrices
// act on it as column vectors. `add`/`sub`/`mult`/`divide`, the compound operators,
// the set* operations, getMin/getMax/clamp and the apply* transforms mutate.
#pragma once

#include "Float.h"
#include "Vec2.h"

namespace Ostrivane {
namespace GaussianBlur {

class Mat4;
class Quaternion;

class Vec3 {
public:
    double x;
    double y;
    double z;

    Vec3();
    explicit Vec3(double v);
    Vec3(double x, double y, double z);
    Vec3(Vec2 xy, double z);
    Vec3(const Vec3& o) = default;
    Vec3& operator=(const Vec3& o) = default;

    void set(double x, double y, double z);
    void set(Vec2 xy, double z);
    // Index 0 writes x, 1 writes y, any other index writes z.
    void set(int index, double value);
    void setZero();
    // Three doubles from values[offset] on; the caller keeps them within the array.
    void fromArray(const double* values, int offset);
    void toArray(double* values, int offset) const;
    Vec2 getVec2() const;
    void setFromMatrixPosition(const Mat4& m);
    void setFromMatrixColumn(const Mat4& m, int column);

    void add(const Vec3& o);
    void add(double v);
    void sub(const Vec3& o);
    void sub(double v);
    void mult(const Vec3& o);
    void mult(double v);
    void divide(const Vec3& o);
    void divide(double v);
    void operator+=(const Vec3& o);
    void operator+=(double v);
    void operator-=(const Vec3& o);
    void operator-=(double v);
    void operator*=(const Vec3& o);
    void operator*=(double v);
    void operator/=(const Vec3& o);
    void operator/=(double v);
    void setNegate();
    // Each component becomes 1 / component, with no zero guard.
    void setInvert();

    Vec3 operator+(const Vec3& o) const;
    Vec3 operator+(double v) const;
    Vec3 operator-(const Vec3& o) const;
    Vec3 operator-(double v) const;
    Vec3 operator*(const Vec3& o) const;
    Vec3 operator*(double v) const;
    Vec3 operator/(const Vec3& o) const;
    Vec3 operator/(double v) const;
    Vec3 negate() const;
    Vec3 invert() const;

    // Per axis, |difference| <= kTolerance (inclusive).
    bool operator==(const Vec3& o) const;
    bool operator!=(const Vec3& o) const;
    // Per axis, |difference| <= tolerance (inclusive).
    bool equal(const Vec3& o, double tolerance = kTolerance) const;
    // Exactly (0, 0, 0).
    bool isZero() const;

    double dot(const Vec3& o) const;
    Vec3 cross(const Vec3& o) const;
    double length() const;
    double lengthSquare() const;
    double distance(const Vec3& o) const;
    double distanceSquare(const Vec3& o) const;
    // The zero vector becomes (l, 0, 0); there is no tolerance.
    void setLength(double l);
    void normalize();
    // Unsigned radians in [0, pi]; NaN for a zero vector or a quotient rounded past 1.
    double angleBetween(const Vec3& o) const;
    // Index of the largest absolute component; on a tie the higher index wins.
    int largestAbsComponent() const;
    // The object becomes a unit vector orthogonal to o, chosen from its own previous value.
    void ortho(const Vec3& o);
    // Plain difference, no wrapping to any period.
    Vec3 rotationalDifference(const Vec3& o) const;
    static Vec3 lerp(Vec3 a, Vec3 b, double t);
    // Mutators: on a tie or NaN getMin keeps its own component, getMax takes o's.
    void getMin(Vec3 o);
    void getMax(Vec3 o);
    void clamp(Vec3 low, Vec3 high);
    Vec3 floor() const;

    // As a point (w = 1); the matrix's bottom row is ignored.
    void applyMatrix4(const Mat4& m);
    // As a point, divided by the projected w, with no guard against zero.
    void applyProjection(const Mat4& m);
    // As a direction (no translation), then normalised.
    void transformDirection(const Mat4& m);
    // q * v * conjugate(q); q is not normalised.
    void applyQuaternion(const Quaternion& q);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
