// A rotation as three angles in radians about x, y and z, composed in `order`
// (column vectors, so in Rx x Ry x Rz the z rotation acts first). Default (0, 0, 0), XYZ.
#pragma once

#include <cstdint>

namespace Ostrivane {
namespace GaussianBlur {

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
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
