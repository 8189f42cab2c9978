// A rotation as a quaternion of doubles: vector part x, y, z and scalar part w, angles in
// radians (getRotationAngle alone answers in degrees). Nothing keeps it at unit length;
// only normalize, setInverse and setWithDirection establish it. In a * b, b acts first.
#pragma once

#include "Vec3.h"

namespace Ostrivane {
namespace GaussianBlur {

class Mat4;
class Euler;

class Quaternion {
public:
    double x;
    double y;
    double z;
    double w;

    Quaternion();
    // (x, y, z, 1).
    Quaternion(double x, double y, double z);
    Quaternion(double x, double y, double z, double w);
    // The axis is used as given, so only a unit axis gives a unit quaternion.
    Quaternion(const Vec3& axis, double angle);
    // As setWithDirection(from, to).
    Quaternion(const Vec3& from, const Vec3& to);
    Quaternion(const Quaternion& o) = default;
    Quaternion& operator=(const Quaternion& o) = default;

    // w stays.
    void set(double x, double y, double z);
    void set(double x, double y, double z, double w);
    // As the constructor, on a normalised copy of the axis; a zero axis counts as +x.
    void set(const Vec3& axis, double angle);
    // The shortest rotation from one unit direction to another; opposite directions turn
    // a half turn about some perpendicular axis. The inputs are not normalised.
    void setWithDirection(const Vec3& from, const Vec3& to);
    // Reads the upper left 3x3 as a pure rotation; the result is not normalised.
    void setWithMat4(const Mat4& m);
    // Composed in single precision (about 1e-7) in e.order; Unspecified gives
    // (0, 0, 0, 0) and an unknown order leaves the object as it was.
    void setWithEuler(const Euler& e);
    // Four doubles from values[offset] on; the caller keeps them within the array.
    void setWithArray(const double* values, int offset);
    void toArray(double* values, int offset) const;

    // Exact, component by component, with no tolerance; NaN is unequal to everything.
    bool operator==(const Quaternion& q) const;
    bool operator!=(const Quaternion& q) const;

    // A zero quaternion becomes the identity.
    void normalize();
    void conjugate();
    void setInverse();
    double dot(const Quaternion& q) const;
    double lengthSq() const;
    double length() const;
    // Degrees; w is not clamped, so |w| above 1 gives NaN.
    double getRotationAngle() const;
    // (0, 0, 1) when the rotation is (nearly) the identity.
    Vec3 getRotationAxis() const;

    // The object becomes object * q.
    void multiply(const Quaternion& q);
    // The object becomes q * object.
    void premultiply(const Quaternion& q);
    // The object becomes the Hamilton product a * b; a or b may be the object itself.
    void multiplyQuaternions(const Quaternion& a, const Quaternion& b);
    // q v conjugate(q) for a unit q; a non-unit q is not corrected.
    static Vec3 quaternionMulVec3(const Quaternion& q, const Vec3& v);

    // Moves the object towards q along the shorter arc; t is not clamped. t exactly 0
    // keeps the object and t exactly 1 copies q, sign included.
    void slerp(const Quaternion& q, double t);
    // Spherical, in spite of the name: a copy of a slerped towards b.
    static Quaternion lerp(const Quaternion& a, const Quaternion& b, double t);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
