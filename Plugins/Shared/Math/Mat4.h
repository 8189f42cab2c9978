// A 4x4 transform of doubles stored column by column, as GL expects: e[4 * c + r] is
// row r, column c; the translation is e[12], e[13], e[14]. Column vectors, right-handed,
// angles in radians; in a * b, b acts first. Nothing throws: degenerate input follows
// IEEE 754, and getInverse alone reports failure, by its result.
#pragma once

#include "Affine.h"
#include "Quaternion.h"
#include "Vec3.h"
#include "Vec4.h"

namespace Ostrivane {
namespace GaussianBlur {

class Mat4 {
public:
    double e[16];

    // All zero; with identity true the diagonal is then 1.
    explicit Mat4(bool identity = true);
    // columnMajor true: a0..a15 are e[0]..e[15], column by column. False: row by row.
    Mat4(double a0, double a1, double a2, double a3, double a4, double a5, double a6, double a7, double a8,
         double a9, double a10, double a11, double a12, double a13, double a14, double a15, bool columnMajor);
    // The same reading on 16 doubles.
    Mat4(const double* values, bool columnMajor);
    // The reading must be spelt out: a lone pointer would convert to Mat4(bool).
    Mat4(const double* values) = delete;
    // Note the flag's sense: rows true makes a..d rows 0..3, false makes them columns.
    Mat4(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& d, bool rows);
    Mat4(const Mat4& o) = default;
    Mat4& operator=(const Mat4& o) = default;

    // Row by row, as the 16-double constructor with columnMajor false.
    void set(double a0, double a1, double a2, double a3, double a4, double a5, double a6, double a7,
             double a8, double a9, double a10, double a11, double a12, double a13, double a14, double a15);
    void setZero();
    void setIdentity();
    static Mat4 identity();
    // Per element, |difference| <= kTolerance (inclusive); NaN makes it false.
    bool operator==(const Mat4& o) const;

    void add(const Mat4& o);
    Mat4 operator+(const Mat4& o) const;
    static void add(const Mat4& a, const Mat4& b, Mat4& out);
    void subtract(const Mat4& o);
    Mat4 operator-(const Mat4& o) const;
    static void subtract(const Mat4& a, const Mat4& b, Mat4& out);
    // All 16 elements, the bottom row included.
    Mat4 operator*(double s) const;

    // out = a * b; out may be a or b.
    static void mult(const Mat4& a, const Mat4& b, Mat4& out);
    // The object becomes object * o.
    void mult(const Mat4& o);
    Mat4 operator*(const Mat4& o) const;
    Vec4 mult(const Vec4& v) const;
    Vec4 operator*(const Vec4& v) const;
    // As the point (x, y, z, 1); the resulting w is dropped, not divided by.
    Vec3 mult(const Vec3& v) const;
    Vec3 operator*(const Vec3& v) const;
    // As the direction (x, y, z, 0).
    Vec3 multWithoutTranslate(const Vec3& v) const;
    // As a point, divided by the resulting w, with no guard against zero.
    Vec3 multAndProject(const Vec3& v) const;

    // These replace all 16 elements.
    void setTranslate(const Vec3& t);
    void setTranslate(double x, double y, double z);
    void setScale(const Vec3& s);
    void setScale(double x, double y, double z);
    // About the normalised axis; a zero axis turns about +x.
    void setRotation(double angle, const Vec3& axis);
    void setRotation(double angle, double x, double y, double z);
    void setXRotation(double angle);
    void setYRotation(double angle);
    void setZRotation(double angle);
    // q as it stands, not normalised.
    void setWithQuaternion(const Quaternion& q);
    // The 2-D transform on x and y, its translation in e[12], e[13]; z passes through.
    void setWithAffine(const Affine& a);
    // fovy is the full vertical angle in radians. The projections look down -z onto the
    // cube from -1 to 1 and don't guard their bounds.
    void setPerspective(double fovy, double aspect, double near, double far);
    void setFrustum(double left, double right, double bottom, double top, double near, double far);
    // Note: top comes before bottom here, unlike setFrustum.
    void setOrtho(double left, double right, double top, double bottom, double near, double far);
    // T(position) * R * S.
    void compose(const Vec3& position, const Quaternion& quaternion, const Vec3& scale);
    // T(position) * R * S * T(-anchor): the anchor lands on position, and scale and
    // rotation pivot about it.
    void compose(const Vec3& anchor, const Vec3& position, const Quaternion& quaternion, const Vec3& scale);

    // The orientation of an object at eye facing target (columns x, y, z of its frame),
    // not a view matrix: only the upper left 3x3 is written.
    void setLookAt(Vec3 eye, Vec3 target, Vec3 up);
    void setLookAt(double eyeX, double eyeY, double eyeZ, double targetX, double targetY, double targetZ,
                   double upX, double upY, double upZ);
    // Writes the translation only.
    void position(const Vec3& p);
    // Indices 0 to 3; there is no bound test.
    void setRow(int i, const Vec4& v);
    void setColumn(int i, const Vec4& v);
    void setTranspose();

    // Each post-multiplies (object = object * T), so T acts on a point first. The Vec4
    // forms ignore w.
    void translate(double x, double y, double z);
    void translate(const Vec3& t);
    void translate(const Vec4& t);
    void scale(double x, double y, double z);
    void scale(const Vec3& s);
    void scale(const Vec4& s);
    void rotate(double angle, double x, double y, double z);
    void rotate(double angle, const Vec3& axis);
    void rotate(double angle, const Vec4& axis);
    void rotateX(double angle);
    void rotateY(double angle);
    void rotateZ(double angle);

    // Indices 0 to 3; there is no bound test.
    Vec4 getRow(int i) const;
    Vec4 getColumn(int i) const;
    // out may be the object.
    void transpose(Mat4& out) const;
    // False, with the identity in out, when the determinant is exactly 0. A nearly
    // singular matrix inverts to huge values with true. out may be the object.
    bool getInverse(Mat4& out) const;
    // Of all 16 elements, bottom row included.
    double determinant() const;
    Affine getAffine() const;
    // Length of the longest of the three basis columns.
    double getMaxScaleOnAxis() const;
    // Reads back T * R * S. A mirror shows as a negative scale.x whichever axis was
    // mirrored; a zero scale reads as 1e-06. The object stays.
    void decompose(Vec3& position, Quaternion& quaternion, Vec3& scale) const;
    // Undoes the anchored compose: position is where the anchor maps to.
    void decompose(const Vec3& anchor, Vec3& position, Quaternion& quaternion, Vec3& scale) const;

    // From the host's composition (origin top left of width x height, y down) to GL
    // (origin at the centre, y up), with depth reversed: a half turn about x, no mirror.
    static Mat4 getAEToGLConversionMatrix(double width, double height);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
