#include "RectHelpers.h"

#include <algorithm>

namespace Ostrivane {
namespace GaussianBlur {

bool IsEmptyRect(const PF_LRect* rect) {
    return rect->left >= rect->right || rect->top >= rect->bottom;
}

void UnionRect(const PF_LRect* src, PF_LRect* dst) {
    if (IsEmptyRect(dst)) {
        *dst = *src;
    } else if (!IsEmptyRect(src)) {
        dst->left = std::min(dst->left, src->left);
        dst->top = std::min(dst->top, src->top);
        dst->right = std::max(dst->right, src->right);
        dst->bottom = std::max(dst->bottom, src->bottom);
    }
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
