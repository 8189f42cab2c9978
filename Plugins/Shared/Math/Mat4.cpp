#include "Mat4.h"

namespace Ostrivane {
namespace GaussianBlur {

Mat4::Mat4(bool identity) : e{}
{
    if (identity)
        e[0] = e[5] = e[10] = e[15] = 1.0;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
