// A 4x4 transform of doubles stored column by column, as GL expects: e[4 * c + r] is
// row r, column c; the translation is e[12], e[13], e[14]. Column vectors, right-handed,
// angles in radians. Construction gives the identity unless asked for zeros.
#pragma once

namespace Ostrivane {
namespace GaussianBlur {

class Mat4 {
public:
    double e[16];

    // All zero; with identity true the diagonal is then 1.
    explicit Mat4(bool identity = true);
    Mat4(const Mat4& o) = default;
    Mat4& operator=(const Mat4& o) = default;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
