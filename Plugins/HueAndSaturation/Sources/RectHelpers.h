// Rectangles of the host: right and bottom are exclusive, so a rectangle is
// empty when left >= right or top >= bottom.
#pragma once

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

bool IsEmptyRect(const PF_LRect* rect);
// dst becomes the smallest rectangle enclosing both; an empty dst takes src as
// it is, even an empty one, and an empty src leaves dst alone.
void UnionRect(const PF_LRect* src, PF_LRect* dst);

}  // namespace GaussianBlur
}  // namespace Ostrivane
