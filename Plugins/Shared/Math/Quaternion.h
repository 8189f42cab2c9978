// A rotation as a quaternion of doubles: vector part x, y, z and scalar part w.
// Nothing keeps it at unit length. The default is the identity (0, 0, 0, 1).
#pragma once

namespace Ostrivane {
namespace GaussianBlur {

class Quaternion {
public:
    double x;
    double y;
    double z;
    double w;

    Quaternion();
    Quaternion(double x, double y, double z, double w);
    Quaternion(const Quaternion& o) = default;
    Quaternion& operator=(const Quaternion& o) = default;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
