#include "Euler.h"

#include <cmath>

#include "Float.h"
#include "Mat4.h"
#include "Quaternion.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// The single-precision 0.999999 widened: at or beyond it the middle angle counts as a pole
// and the outer angles can no longer be told apart, so one of them is set to 0.
constexpr double kGimbalLimit = 0.999999f;

}  // namespace

Euler::Euler() : x(0.0), y(0.0), z(0.0), order(mDefaultOrder) {}

Euler::Euler(double x, double y, double z, RotationOrder order) : x(x), y(y), z(z), order(order) {}

void Euler::set(double x, double y, double z, RotationOrder order) {
    this->x = x;
    this->y = y;
    this->z = z;
    if (order != Unspecified) this->order = order;
}

void Euler::setWithMat4(const Mat4& m, RotationOrder order) {
    if (order != Unspecified) this->order = order;
    const double* e = m.e;
    const double m11 = e[0], m12 = e[4], m13 = e[8];
    const double m21 = e[1], m22 = e[5], m23 = e[9];
    const double m31 = e[2], m32 = e[6], m33 = e[10];

    switch (this->order) {
        case XYZ:
            y = std::asin(clampValue(m13, -1.0, 1.0));
            if (std::fabs(m13) < kGimbalLimit) {
                x = std::atan2(-m23, m33);
                z = std::atan2(-m12, m11);
            } else {
                x = std::atan2(m32, m22);
                z = 0.0;
            }
            break;
        case YZX:
            z = std::asin(clampValue(m21, -1.0, 1.0));
            if (std::fabs(m21) < kGimbalLimit) {
                x = std::atan2(-m23, m22);
                y = std::atan2(-m31, m11);
            } else {
                x = 0.0;
                y = std::atan2(m13, m33);
            }
            break;
        case ZXY:
            x = std::asin(clampValue(m32, -1.0, 1.0));
            if (std::fabs(m32) < kGimbalLimit) {
                y = std::atan2(-m31, m33);
                z = std::atan2(-m12, m22);
            } else {
                y = 0.0;
                z = std::atan2(m21, m11);
            }
            break;
        // Orders 4 to 6 take their terms with the signs the library has settled on, not those
        // of the exact inverse; the header says what that does to a round trip.
        case XZY:
            z = std::asin(clampValue(m12, -1.0, 1.0));
            if (std::fabs(m12) < kGimbalLimit) {
                x = std::atan2(m32, m22);
                y = std::atan2(m13, m11);
            } else {
                x = std::atan2(-m23, m33);
                y = 0.0;
            }
            break;
        case YXZ:
            x = std::asin(clampValue(m23, -1.0, 1.0));
            if (std::fabs(m23) < kGimbalLimit) {
                y = std::atan2(-m13, m33);
                z = std::atan2(-m21, m22);
            } else {
                y = std::atan2(-m31, m11);
                z = 0.0;
            }
            break;
        case ZYX:
            y = std::asin(clampValue(m31, -1.0, 1.0));
            if (std::fabs(m31) < kGimbalLimit) {
                x = std::atan2(m32, m33);
                z = std::atan2(m21, m11);
            } else {
                x = 0.0;
                z = std::atan2(-m12, m22);
            }
            break;
        default:
            break;
    }
}

void Euler::setWithQuaternion(const Quaternion& q, RotationOrder order) {
    Mat4 m;
    m.setWithQuaternion(q);
    setWithMat4(m, order);
}

bool Euler::operator==(const Euler& o) const {
    return std::fabs(x - o.x) <= kTolerance && std::fabs(y - o.y) <= kTolerance &&
           std::fabs(z - o.z) <= kTolerance && order == o.order;
}

bool Euler::operator!=(const Euler& o) const {
    return !(*this == o);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
