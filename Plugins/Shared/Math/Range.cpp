#include "Range.h"

#include <limits>

namespace Ostrivane {
namespace GaussianBlur {

Range::Range(bool all) : start(0), length(all ? std::numeric_limits<int>::max() : 0) {}

Range::Range(int start) : start(start), length(0) {}

Range::Range(int start, int length) : start(start), length(length) {}

}  // namespace GaussianBlur
}  // namespace Ostrivane
