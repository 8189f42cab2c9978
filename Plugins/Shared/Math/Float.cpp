#include "Float.h"

namespace Ostrivane {
namespace GaussianBlur {

double cyclicDifference(double a, double b, double period) {
    const double d = a - b;
    // One period at most: callers pass differences of angles already within one turn.
    if (d > period / 2.0) return d - period;
    if (d < -period / 2.0) return d + period;
    return d;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
