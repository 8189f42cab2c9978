#include "Quaternion.h"

#include <cmath>

#include "Euler.h"
#include "Mat4.h"

namespace Ostrivane {
namespace GaussianBlur {

Quaternion::Quaternion() : x(0.0), y(0.0), z(0.0), w(1.0) {}

Quaternion::Quaternion(double x, double y, double z) : x(x), y(y), z(z), w(1.0) {}

Quaternion::Quaternion(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}

Quaternion::Quaternion(const Vec3& axis, double angle) {
    const double h = angle * 0.5;
    const double s = std::sin(h);
    x = axis.x * s;
    y = axis.y * s;
    z = axis.z * s;
    w = std::cos(h);
}

Quaternion::Quaternion(const Vec3& from, const Vec3& to) {
    setWithDirection(from, to);
}

void Quaternion::set(double x, double y, double z) {
    this->x = x;
    this->y = y;
    this->z = z;
}

void Quaternion::set(double x, double y, double z, double w) {
    this->x = x;
    this->y = y;
    this->z = z;
    this->w = w;
}

void Quaternion::set(const Vec3& axis, double angle) {
    Vec3 unit = axis;
    unit.normalize();
    *this = Quaternion(unit, angle);
}

void Quaternion::setWithDirection(const Vec3& from, const Vec3& to) {
    double r = from.dot(to) + 1.0;
    Vec3 v;
    if (r < 1e-12) {
        // Opposite directions: any axis perpendicular to `from` gives the half turn.
        r = 0.0;
        if (std::fabs(from.x) > std::fabs(from.z))
            v.set(-from.y, from.x, 0.0);
        else
            v.set(0.0, -from.z, from.y);
    } else {
        v = from.cross(to);
    }
    set(v.x, v.y, v.z, r);
    normalize();
}

void Quaternion::setWithMat4(const Mat4& m) {
    const double* e = m.e;
    const double m11 = e[0], m12 = e[4], m13 = e[8];
    const double m21 = e[1], m22 = e[5], m23 = e[9];
    const double m31 = e[2], m32 = e[6], m33 = e[10];
    const double trace = m11 + m22 + m33;
    // Each case divides by the largest of the four candidates, keeping the root well away
    // from zero for any rotation.
    if (trace > 0.0) {
        const double s = 0.5 / std::sqrt(trace + 1.0);
        set((m32 - m23) * s, (m13 - m31) * s, (m21 - m12) * s, 0.25 / s);
    } else if (m11 > m22 && m11 > m33) {
        const double s = 2.0 * std::sqrt(1.0 + m11 - m22 - m33);
        set(0.25 * s, (m12 + m21) / s, (m13 + m31) / s, (m32 - m23) / s);
    } else if (m22 > m33) {
        const double s = 2.0 * std::sqrt(1.0 + m22 - m11 - m33);
        set((m12 + m21) / s, 0.25 * s, (m23 + m32) / s, (m13 - m31) / s);
    } else {
        const double s = 2.0 * std::sqrt(1.0 + m33 - m11 - m22);
        set((m13 + m31) / s, (m23 + m32) / s, 0.25 * s, (m21 - m12) / s);
    }
}

void Quaternion::setWithEuler(const Euler& e) {
    // Signs of the second term of x, y, z, w for each order, index = order.
    static const float kSigns[7][4] = {
        {0.0f, 0.0f, 0.0f, 0.0f},   {1.0f, -1.0f, 1.0f, -1.0f}, {1.0f, 1.0f, -1.0f, -1.0f},
        {-1.0f, 1.0f, 1.0f, -1.0f}, {-1.0f, -1.0f, 1.0f, 1.0f}, {1.0f, -1.0f, -1.0f, 1.0f},
        {-1.0f, 1.0f, -1.0f, 1.0f},
    };
    const int order = static_cast<int>(e.order);
    if (order == Unspecified) {
        set(0.0, 0.0, 0.0, 0.0);
        return;
    }
    if (order < 1 || order > 6) return;

    // Single precision on purpose, as rotations have always been composed here: the
    // result agrees with the exact value to about 1e-7 only.
    const float s1 = static_cast<float>(std::sin(e.x * 0.5));
    const float c1 = static_cast<float>(std::cos(e.x * 0.5));
    const float s2 = static_cast<float>(std::sin(e.y * 0.5));
    const float c2 = static_cast<float>(std::cos(e.y * 0.5));
    const float s3 = static_cast<float>(std::sin(e.z * 0.5));
    const float c3 = static_cast<float>(std::cos(e.z * 0.5));
    const float* sign = kSigns[order];

    const float xa = s1 * c2 * c3, xb = c1 * s2 * s3;
    const float ya = c1 * s2 * c3, yb = s1 * c2 * s3;
    const float za = c1 * c2 * s3, zb = s1 * s2 * c3;
    const float wa = c1 * c2 * c3, wb = s1 * s2 * s3;
    const float rx = xa + sign[0] * xb;
    const float ry = ya + sign[1] * yb;
    const float rz = za + sign[2] * zb;
    const float rw = wa + sign[3] * wb;
    set(rx, ry, rz, rw);
}

void Quaternion::setWithArray(const double* values, int offset) {
    set(values[offset], values[offset + 1], values[offset + 2], values[offset + 3]);
}

void Quaternion::toArray(double* values, int offset) const {
    values[offset] = x;
    values[offset + 1] = y;
    values[offset + 2] = z;
    values[offset + 3] = w;
}

bool Quaternion::operator==(const Quaternion& q) const {
    return x == q.x && y == q.y && z == q.z && w == q.w;
}

bool Quaternion::operator!=(const Quaternion& q) const {
    return !(*this == q);
}

void Quaternion::normalize() {
    const double l = length();
    if (l == 0.0) {
        set(0.0, 0.0, 0.0, 1.0);
        return;
    }
    const double k = 1.0 / l;
    set(x * k, y * k, z * k, w * k);
}

void Quaternion::conjugate() {
    x = -x;
    y = -y;
    z = -z;
}

void Quaternion::setInverse() {
    conjugate();
    normalize();
}

double Quaternion::dot(const Quaternion& q) const {
    return x * q.x + y * q.y + z * q.z + w * q.w;
}

double Quaternion::lengthSq() const {
    return x * x + y * y + z * z + w * w;
}

double Quaternion::length() const {
    return std::sqrt(lengthSq());
}

double Quaternion::getRotationAngle() const {
    return radiansToDegrees(2.0 * std::acos(w));
}

Vec3 Quaternion::getRotationAxis() const {
    const double d = 1.0 - w * w;
    if (d < 1e-12) return Vec3(0.0, 0.0, 1.0);
    const double k = 1.0 / std::sqrt(d);
    return Vec3(x * k, y * k, z * k);
}

void Quaternion::multiply(const Quaternion& q) {
    multiplyQuaternions(*this, q);
}

void Quaternion::premultiply(const Quaternion& q) {
    multiplyQuaternions(q, *this);
}

void Quaternion::multiplyQuaternions(const Quaternion& a, const Quaternion& b) {
    const double ax = a.x, ay = a.y, az = a.z, aw = a.w;
    const double bx = b.x, by = b.y, bz = b.z, bw = b.w;
    set(aw * bx + bw * ax + (ay * bz - az * by), aw * by + bw * ay + (az * bx - ax * bz),
        aw * bz + bw * az + (ax * by - ay * bx), aw * bw - (ax * bx + ay * by + az * bz));
}

Vec3 Quaternion::quaternionMulVec3(const Quaternion& q, const Vec3& v) {
    const Vec3 u(q.x, q.y, q.z);
    const Vec3 t = u.cross(v);
    const Vec3 p = u.cross(t);
    return Vec3(v.x + 2.0 * (q.w * t.x + p.x), v.y + 2.0 * (q.w * t.y + p.y), v.z + 2.0 * (q.w * t.z + p.z));
}

void Quaternion::slerp(const Quaternion& q, double t) {
    if (t == 1.0) {
        *this = q;
        return;
    }
    if (t == 0.0) return;

    double c = dot(q);
    Quaternion b = q;
    // q and -q are the same rotation; the negated one lies on the shorter arc.
    if (c < 0.0) {
        b.set(-q.x, -q.y, -q.z, -q.w);
        c = -c;
    }
    if (c >= 1.0) return;

    const double s = std::sqrt(1.0 - c * c);
    if (std::fabs(s) < 0.001) {
        // Too close for sin(h) / s to be accurate; the mean is as good and stable.
        set((x + b.x) * 0.5, (y + b.y) * 0.5, (z + b.z) * 0.5, (w + b.w) * 0.5);
        return;
    }
    const double h = std::atan2(s, c);
    const double ra = std::sin((1.0 - t) * h) / s;
    const double rb = std::sin(t * h) / s;
    set(x * ra + b.x * rb, y * ra + b.y * rb, z * ra + b.z * rb, w * ra + b.w * rb);
}

Quaternion Quaternion::lerp(const Quaternion& a, const Quaternion& b, double t) {
    if (a == b) return a;
    Quaternion r = a;
    r.slerp(b, t);
    return r;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
