#include "Quaternion.h"

namespace Ostrivane {
namespace GaussianBlur {

Quaternion::Quaternion() : x(0.0), y(0.0), z(0.0), w(1.0) {}

Quaternion::Quaternion(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}

}  // namespace GaussianBlur
}  // namespace Ostrivane
