#include "Euler.h"

namespace Ostrivane {
namespace GaussianBlur {

Euler::Euler() : x(0.0), y(0.0), z(0.0), order(mDefaultOrder) {}

Euler::Euler(double x, double y, double z, RotationOrder order) : x(x), y(y), z(z), order(order) {}

}  // namespace GaussianBlur
}  // namespace Ostrivane
