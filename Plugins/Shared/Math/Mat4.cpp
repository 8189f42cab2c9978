#include "Mat4.h"

#include <cmath>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// Scale that decompose reports for a zero basis column, so that dividing by it stays finite.
constexpr double kZeroScale = 1e-06;
// The single-precision 0.0001 widened, not the double 0.0001: setLookAt's nudge has always
// had this exact value.
constexpr double kLookAtNudge = 0.0001f;

}  // namespace

Mat4::Mat4(bool identity) : e{} {
    if (identity) e[0] = e[5] = e[10] = e[15] = 1.0;
}

Mat4::Mat4(double a0, double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
           double a9, double a10, double a11, double a12, double a13, double a14, double a15,
           bool columnMajor) {
    const double values[16] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15};
    *this = Mat4(values, columnMajor);
}

Mat4::Mat4(const double* values, bool columnMajor) {
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) e[4 * c + r] = columnMajor ? values[4 * c + r] : values[4 * r + c];
}

Mat4::Mat4(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& d, bool rows) {
    if (rows) {
        setRow(0, a);
        setRow(1, b);
        setRow(2, c);
        setRow(3, d);
    } else {
        setColumn(0, a);
        setColumn(1, b);
        setColumn(2, c);
        setColumn(3, d);
    }
}

void Mat4::set(double a0, double a1, double a2, double a3, double a4, double a5, double a6, double a7,
               double a8, double a9, double a10, double a11, double a12, double a13, double a14, double a15) {
    *this = Mat4(a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, false);
}

void Mat4::setZero() {
    for (double& v : e) v = 0.0;
}

void Mat4::setIdentity() {
    *this = Mat4(true);
}

Mat4 Mat4::identity() {
    return Mat4(true);
}

bool Mat4::operator==(const Mat4& o) const {
    for (int i = 0; i < 16; ++i)
        if (!(std::fabs(e[i] - o.e[i]) <= kTolerance)) return false;
    return true;
}

void Mat4::add(const Mat4& o) {
    add(*this, o, *this);
}

Mat4 Mat4::operator+(const Mat4& o) const {
    Mat4 r(false);
    add(*this, o, r);
    return r;
}

void Mat4::add(const Mat4& a, const Mat4& b, Mat4& out) {
    for (int i = 0; i < 16; ++i) out.e[i] = a.e[i] + b.e[i];
}

void Mat4::subtract(const Mat4& o) {
    subtract(*this, o, *this);
}

Mat4 Mat4::operator-(const Mat4& o) const {
    Mat4 r(false);
    subtract(*this, o, r);
    return r;
}

void Mat4::subtract(const Mat4& a, const Mat4& b, Mat4& out) {
    for (int i = 0; i < 16; ++i) out.e[i] = a.e[i] - b.e[i];
}

Mat4 Mat4::operator*(double s) const {
    Mat4 r(false);
    for (int i = 0; i < 16; ++i) r.e[i] = e[i] * s;
    return r;
}

void Mat4::mult(const Mat4& a, const Mat4& b, Mat4& out) {
    // Into a local first, so that out may alias a or b.
    double p[16];
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            p[4 * c + r] = a.e[r] * b.e[4 * c] + a.e[4 + r] * b.e[4 * c + 1] + a.e[8 + r] * b.e[4 * c + 2] +
                           a.e[12 + r] * b.e[4 * c + 3];
    for (int i = 0; i < 16; ++i) out.e[i] = p[i];
}

void Mat4::mult(const Mat4& o) {
    mult(*this, o, *this);
}

Mat4 Mat4::operator*(const Mat4& o) const {
    Mat4 r(false);
    mult(*this, o, r);
    return r;
}

Vec4 Mat4::mult(const Vec4& v) const {
    return Vec4(e[0] * v.x + e[4] * v.y + e[8] * v.z + e[12] * v.w,
                e[1] * v.x + e[5] * v.y + e[9] * v.z + e[13] * v.w,
                e[2] * v.x + e[6] * v.y + e[10] * v.z + e[14] * v.w,
                e[3] * v.x + e[7] * v.y + e[11] * v.z + e[15] * v.w);
}

Vec4 Mat4::operator*(const Vec4& v) const {
    return mult(v);
}

Vec3 Mat4::mult(const Vec3& v) const {
    return mult(Vec4(v, 1.0)).getVec3();
}

Vec3 Mat4::operator*(const Vec3& v) const {
    return mult(v);
}

Vec3 Mat4::multWithoutTranslate(const Vec3& v) const {
    return mult(Vec4(v, 0.0)).getVec3();
}

Vec3 Mat4::multAndProject(const Vec3& v) const {
    const Vec4 r = mult(Vec4(v, 1.0));
    const double k = 1.0 / r.w;
    return Vec3(r.x * k, r.y * k, r.z * k);
}

void Mat4::setTranslate(const Vec3& t) {
    setTranslate(t.x, t.y, t.z);
}

void Mat4::setTranslate(double x, double y, double z) {
    setIdentity();
    e[12] = x;
    e[13] = y;
    e[14] = z;
}

void Mat4::setScale(const Vec3& s) {
    setScale(s.x, s.y, s.z);
}

void Mat4::setScale(double x, double y, double z) {
    setIdentity();
    e[0] = x;
    e[5] = y;
    e[10] = z;
}

void Mat4::setRotation(double angle, const Vec3& axis) {
    setRotation(angle, axis.x, axis.y, axis.z);
}

void Mat4::setRotation(double angle, double x, double y, double z) {
    Vec3 a(x, y, z);
    a.normalize();
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double t = 1.0 - c;
    setIdentity();
    e[0] = t * a.x * a.x + c;
    e[1] = t * a.x * a.y + s * a.z;
    e[2] = t * a.x * a.z - s * a.y;
    e[4] = t * a.x * a.y - s * a.z;
    e[5] = t * a.y * a.y + c;
    e[6] = t * a.y * a.z + s * a.x;
    e[8] = t * a.x * a.z + s * a.y;
    e[9] = t * a.y * a.z - s * a.x;
    e[10] = t * a.z * a.z + c;
}

void Mat4::setXRotation(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    setIdentity();
    e[5] = c;
    e[6] = s;
    e[9] = -s;
    e[10] = c;
}

void Mat4::setYRotation(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    setIdentity();
    e[0] = c;
    e[2] = -s;
    e[8] = s;
    e[10] = c;
}

void Mat4::setZRotation(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    setIdentity();
    e[0] = c;
    e[1] = s;
    e[4] = -s;
    e[5] = c;
}

void Mat4::setWithQuaternion(const Quaternion& q) {
    const double x = q.x, y = q.y, z = q.z, w = q.w;
    setIdentity();
    e[0] = 1.0 - 2.0 * (y * y + z * z);
    e[1] = 2.0 * (x * y + z * w);
    e[2] = 2.0 * (x * z - y * w);
    e[4] = 2.0 * (x * y - z * w);
    e[5] = 1.0 - 2.0 * (x * x + z * z);
    e[6] = 2.0 * (y * z + x * w);
    e[8] = 2.0 * (x * z + y * w);
    e[9] = 2.0 * (y * z - x * w);
    e[10] = 1.0 - 2.0 * (x * x + y * y);
}

void Mat4::setWithAffine(const Affine& a) {
    setIdentity();
    e[0] = a.m[0];
    e[4] = a.m[1];
    e[12] = a.m[2];
    e[1] = a.m[3];
    e[5] = a.m[4];
    e[13] = a.m[5];
}

void Mat4::setPerspective(double fovy, double aspect, double near, double far) {
    const double f = 1.0 / std::tan(fovy * 0.5);
    setZero();
    e[0] = f / aspect;
    e[5] = f;
    e[10] = (near + far) / (near - far);
    e[11] = -1.0;
    e[14] = 2.0 * far * near / (near - far);
}

void Mat4::setFrustum(double left, double right, double bottom, double top, double near, double far) {
    setZero();
    e[0] = 2.0 * near / (right - left);
    e[5] = 2.0 * near / (top - bottom);
    e[8] = (left + right) / (right - left);
    e[9] = (bottom + top) / (top - bottom);
    e[10] = -(near + far) / (far - near);
    e[11] = -1.0;
    e[14] = -2.0 * far * near / (far - near);
}

void Mat4::setOrtho(double left, double right, double top, double bottom, double near, double far) {
    setZero();
    e[0] = 2.0 / (right - left);
    e[5] = 2.0 / (top - bottom);
    e[10] = -2.0 / (far - near);
    e[12] = -(left + right) / (right - left);
    e[13] = -(top + bottom) / (top - bottom);
    e[14] = -(near + far) / (far - near);
    e[15] = 1.0;
}

void Mat4::compose(const Vec3& position, const Quaternion& quaternion, const Vec3& scale) {
    setWithQuaternion(quaternion);
    this->scale(scale.x, scale.y, scale.z);
    this->position(position);
}

void Mat4::compose(const Vec3& anchor, const Vec3& position, const Quaternion& quaternion,
                   const Vec3& scale) {
    setWithQuaternion(quaternion);
    Mat4 t;
    t.setTranslate(position);
    mult(t, *this, *this);
    translate(-anchor.x * scale.x, -anchor.y * scale.y, -anchor.z * scale.z);
    for (int r = 0; r < 3; ++r) {
        e[r] *= scale.x;
        e[4 + r] *= scale.y;
        e[8 + r] *= scale.z;
    }
}

void Mat4::setLookAt(Vec3 eye, Vec3 target, Vec3 up) {
    Vec3 z = eye - target;
    z.normalize();
    // normalize() answers a zero vector with +x, so these two repairs only act where a
    // squared length overflows and the normalised vector comes out as zero.
    if (z.lengthSquare() == 0.0) z.z = 1.0;
    Vec3 x = up.cross(z);
    x.normalize();
    if (x.lengthSquare() == 0.0) {
        z.z += kLookAtNudge;
        x = up.cross(z);
        x.normalize();
    }
    const Vec3 y = z.cross(x);
    e[0] = x.x;
    e[1] = x.y;
    e[2] = x.z;
    e[4] = y.x;
    e[5] = y.y;
    e[6] = y.z;
    e[8] = z.x;
    e[9] = z.y;
    e[10] = z.z;
}

void Mat4::setLookAt(double eyeX, double eyeY, double eyeZ, double targetX, double targetY, double targetZ,
                     double upX, double upY, double upZ) {
    setLookAt(Vec3(eyeX, eyeY, eyeZ), Vec3(targetX, targetY, targetZ), Vec3(upX, upY, upZ));
}

void Mat4::position(const Vec3& p) {
    e[12] = p.x;
    e[13] = p.y;
    e[14] = p.z;
}

void Mat4::setRow(int i, const Vec4& v) {
    e[i] = v.x;
    e[i + 4] = v.y;
    e[i + 8] = v.z;
    e[i + 12] = v.w;
}

void Mat4::setColumn(int i, const Vec4& v) {
    e[4 * i] = v.x;
    e[4 * i + 1] = v.y;
    e[4 * i + 2] = v.z;
    e[4 * i + 3] = v.w;
}

void Mat4::setTranspose() {
    transpose(*this);
}

void Mat4::translate(double x, double y, double z) {
    for (int r = 0; r < 4; ++r) e[12 + r] += x * e[r] + y * e[4 + r] + z * e[8 + r];
}

void Mat4::translate(const Vec3& t) {
    translate(t.x, t.y, t.z);
}

void Mat4::translate(const Vec4& t) {
    translate(t.x, t.y, t.z);
}

void Mat4::scale(double x, double y, double z) {
    for (int r = 0; r < 4; ++r) {
        e[r] *= x;
        e[4 + r] *= y;
        e[8 + r] *= z;
    }
}

void Mat4::scale(const Vec3& s) {
    scale(s.x, s.y, s.z);
}

void Mat4::scale(const Vec4& s) {
    scale(s.x, s.y, s.z);
}

void Mat4::rotate(double angle, double x, double y, double z) {
    Mat4 r;
    r.setRotation(angle, x, y, z);
    mult(r);
}

void Mat4::rotate(double angle, const Vec3& axis) {
    rotate(angle, axis.x, axis.y, axis.z);
}

void Mat4::rotate(double angle, const Vec4& axis) {
    rotate(angle, axis.x, axis.y, axis.z);
}

void Mat4::rotateX(double angle) {
    Mat4 r;
    r.setXRotation(angle);
    mult(r);
}

void Mat4::rotateY(double angle) {
    Mat4 r;
    r.setYRotation(angle);
    mult(r);
}

void Mat4::rotateZ(double angle) {
    Mat4 r;
    r.setZRotation(angle);
    mult(r);
}

Vec4 Mat4::getRow(int i) const {
    return Vec4(e[i], e[i + 4], e[i + 8], e[i + 12]);
}

Vec4 Mat4::getColumn(int i) const {
    return Vec4(e[4 * i], e[4 * i + 1], e[4 * i + 2], e[4 * i + 3]);
}

void Mat4::transpose(Mat4& out) const {
    const Mat4 copy = *this;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) out.e[4 * c + r] = copy.e[4 * r + c];
}

bool Mat4::getInverse(Mat4& out) const {
    // Cofactors from the 2x2 minors of the column pairs (0, 1) and (2, 3).
    const double a00 = e[0], a01 = e[1], a02 = e[2], a03 = e[3];
    const double a10 = e[4], a11 = e[5], a12 = e[6], a13 = e[7];
    const double a20 = e[8], a21 = e[9], a22 = e[10], a23 = e[11];
    const double a30 = e[12], a31 = e[13], a32 = e[14], a33 = e[15];
    const double b00 = a00 * a11 - a01 * a10;
    const double b01 = a00 * a12 - a02 * a10;
    const double b02 = a00 * a13 - a03 * a10;
    const double b03 = a01 * a12 - a02 * a11;
    const double b04 = a01 * a13 - a03 * a11;
    const double b05 = a02 * a13 - a03 * a12;
    const double b06 = a20 * a31 - a21 * a30;
    const double b07 = a20 * a32 - a22 * a30;
    const double b08 = a20 * a33 - a23 * a30;
    const double b09 = a21 * a32 - a22 * a31;
    const double b10 = a21 * a33 - a23 * a31;
    const double b11 = a22 * a33 - a23 * a32;
    const double det = b00 * b11 - b01 * b10 + b02 * b09 + b03 * b08 - b04 * b07 + b05 * b06;
    if (det == 0.0) {
        out.setIdentity();
        return false;
    }
    const double k = 1.0 / det;
    out.e[0] = (a11 * b11 - a12 * b10 + a13 * b09) * k;
    out.e[1] = (a02 * b10 - a01 * b11 - a03 * b09) * k;
    out.e[2] = (a31 * b05 - a32 * b04 + a33 * b03) * k;
    out.e[3] = (a22 * b04 - a21 * b05 - a23 * b03) * k;
    out.e[4] = (a12 * b08 - a10 * b11 - a13 * b07) * k;
    out.e[5] = (a00 * b11 - a02 * b08 + a03 * b07) * k;
    out.e[6] = (a32 * b02 - a30 * b05 - a33 * b01) * k;
    out.e[7] = (a20 * b05 - a22 * b02 + a23 * b01) * k;
    out.e[8] = (a10 * b10 - a11 * b08 + a13 * b06) * k;
    out.e[9] = (a01 * b08 - a00 * b10 - a03 * b06) * k;
    out.e[10] = (a30 * b04 - a31 * b02 + a33 * b00) * k;
    out.e[11] = (a21 * b02 - a20 * b04 - a23 * b00) * k;
    out.e[12] = (a11 * b07 - a10 * b09 - a12 * b06) * k;
    out.e[13] = (a00 * b09 - a01 * b07 + a02 * b06) * k;
    out.e[14] = (a31 * b01 - a30 * b03 - a32 * b00) * k;
    out.e[15] = (a20 * b03 - a21 * b01 + a22 * b00) * k;
    return true;
}

double Mat4::determinant() const {
    const double b00 = e[0] * e[5] - e[1] * e[4];
    const double b01 = e[0] * e[6] - e[2] * e[4];
    const double b02 = e[0] * e[7] - e[3] * e[4];
    const double b03 = e[1] * e[6] - e[2] * e[5];
    const double b04 = e[1] * e[7] - e[3] * e[5];
    const double b05 = e[2] * e[7] - e[3] * e[6];
    const double b06 = e[8] * e[13] - e[9] * e[12];
    const double b07 = e[8] * e[14] - e[10] * e[12];
    const double b08 = e[8] * e[15] - e[11] * e[12];
    const double b09 = e[9] * e[14] - e[10] * e[13];
    const double b10 = e[9] * e[15] - e[11] * e[13];
    const double b11 = e[10] * e[15] - e[11] * e[14];
    return b00 * b11 - b01 * b10 + b02 * b09 + b03 * b08 - b04 * b07 + b05 * b06;
}

Affine Mat4::getAffine() const {
    return Affine(e[0], e[1], e[4], e[5], e[12], e[13]);
}

double Mat4::getMaxScaleOnAxis() const {
    const double x = e[0] * e[0] + e[1] * e[1] + e[2] * e[2];
    const double y = e[4] * e[4] + e[5] * e[5] + e[6] * e[6];
    const double z = e[8] * e[8] + e[9] * e[9] + e[10] * e[10];
    const double m = x > y ? x : y;
    return std::sqrt(m > z ? m : z);
}

void Mat4::decompose(Vec3& position, Quaternion& quaternion, Vec3& scale) const {
    double sx = Vec3(e[0], e[1], e[2]).length();
    double sy = Vec3(e[4], e[5], e[6]).length();
    double sz = Vec3(e[8], e[9], e[10]).length();
    // A mirror can't be told apart by axis; it is always reported on x.
    if (determinant() < 0.0) sx = -sx;
    position.set(e[12], e[13], e[14]);
    if (sx == 0.0) sx = kZeroScale;
    if (sy == 0.0) sy = kZeroScale;
    if (sz == 0.0) sz = kZeroScale;
    Mat4 rotation = *this;
    const double kx = 1.0 / sx, ky = 1.0 / sy, kz = 1.0 / sz;
    for (int r = 0; r < 3; ++r) {
        rotation.e[r] *= kx;
        rotation.e[4 + r] *= ky;
        rotation.e[8 + r] *= kz;
    }
    quaternion.setWithMat4(rotation);
    scale.set(sx, sy, sz);
}

void Mat4::decompose(const Vec3& anchor, Vec3& position, Quaternion& quaternion, Vec3& scale) const {
    decompose(position, quaternion, scale);
    position.add(multWithoutTranslate(anchor));
}

Mat4 Mat4::getAEToGLConversionMatrix(double width, double height) {
    Mat4 m;
    m.e[5] = -1.0;
    m.e[10] = -1.0;
    m.e[12] = -0.5 * width;
    m.e[13] = 0.5 * height;
    return m;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
