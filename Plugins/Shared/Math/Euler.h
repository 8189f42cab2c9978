// A rotation as three angles in radians about x, y and z, composed in `order`
// (column vectors, so in Rx x Ry x Rz the z rotation acts first). Default (0, 0, 0), XYZ.
// Reading angles back from a rotation inverts the composition exactly in orders 1 to 3;
// orders 4 to 6 read back with the signs noted at setWithMat4.
#pragma once

#include <cstdint>

namespace Ostrivane {
namespace GaussianBlur {

class Mat4;
class Quaternion;

// How Euler angles compose from Rx, Ry, Rz. Unspecified, as an argument, means the
// object's own order.
enum RotationOrder : std::int32_t {
    Unspecified = 0,
    XYZ = 1,  // Rx * Ry * Rz
    YZX = 2,  // Ry * Rz * Rx
    ZXY = 3,  // Rz * Rx * Ry
    XZY = 4,  // Rx * Rz * Ry
    YXZ = 5,  // Ry * Rx * Rz
    ZYX = 6   // Rz * Ry * Rx
};

class Euler {
public:
    static constexpr RotationOrder mDefaultOrder = XYZ;

    double x;
    double y;
    double z;
    RotationOrder order;

    Euler();
    // Stores all four as given, Unspecified included.
    Euler(double x, double y, double z, RotationOrder order);
    Euler(const Euler& o) = default;
    Euler& operator=(const Euler& o) = default;

    // Overwrites the angles; the order only when it isn't Unspecified.
    void set(double x, double y, double z, RotationOrder order);
    // Reads the angles of the unscaled rotation in m's upper left 3x3 for order (Unspecified:
    // the object's own), and stores the order. The middle angle comes from a clamped asin;
    // where its element reaches 0.9999989867210388 in size one outer angle becomes 0.
    // An order outside 1 to 6 is stored and the angles stay. Against the composition of
    // Quaternion::setWithEuler, order XZY reads back z negated, YXZ all three negated and
    // ZYX y negated.
    void setWithMat4(const Mat4& m, RotationOrder order);
    // Through the matrix of q, as setWithMat4.
    void setWithQuaternion(const Quaternion& q, RotationOrder order);
    // Per angle, |difference| <= kTolerance (inclusive), and the same order.
    bool operator==(const Euler& o) const;
    bool operator!=(const Euler& o) const;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
