#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "Mat4.h"

using namespace Ostrivane::GaussianBlur;

static void expectVec(const Vec3& v, double x, double y, double z, double tolerance = 1e-12) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
}

// Only Mat4(bool) has a default; the reading flags must always be spelt out, and a lone
// pointer must not slip through as the bool.
static_assert(std::is_constructible<Mat4>::value, "Mat4() is the identity");
static_assert(!std::is_constructible<Mat4, const double*>::value, "no default reading");
static_assert(!std::is_constructible<Mat4, Vec4, Vec4, Vec4, Vec4>::value, "no default reading");

TEST(Mat4, ProductsAndTransformOrder) {
    // Translate then rotate: the rotation acts on points first, the translation stays.
    Mat4 tr;
    tr.translate(1.0, 2.0, 3.0);
    tr.rotateZ(M_PI / 2);
    expectVec(tr.getColumn(3).getVec3(), 1.0, 2.0, 3.0, 0.0);
    expectVec(tr * Vec3(1.0, 0.0, 0.0), 1.0, 3.0, 3.0);
    // Rotate then translate: the translation is turned, x to y.
    Mat4 rt;
    rt.rotate(M_PI / 2, 0.0, 0.0, 5.0);
    rt.translate(Vec3(1.0, 0.0, 0.0));
    expectVec(rt.getColumn(3).getVec3(), 0.0, 1.0, 0.0);

    Mat4 s;
    s.scale(2.0, 3.0, 4.0);
    const Mat4 product = tr * s;
    Mat4 left = tr, right = s;
    Mat4::mult(left, s, left);
    Mat4::mult(tr, right, right);
    EXPECT_TRUE(left == product);
    EXPECT_TRUE(right == product);
    // (1, 1, 1) scaled to (2, 3, 4), turned to (-3, 2, 4), moved by (1, 2, 3).
    expectVec(product * Vec3(1.0, 1.0, 1.0), -2.0, 4.0, 7.0);
    expectVec(product.multWithoutTranslate(Vec3(1.0, 1.0, 1.0)), -3.0, 2.0, 4.0);
}

TEST(Mat4, InverseAndDeterminant) {
    // Rows (2 0 0 1), (0 3 0 0), (0 0 4 0), (1 0 0 1): 3 * 4 * (2 * 1 - 1 * 1) = 12.
    const Mat4 m(2, 0, 0, 1, 0, 3, 0, 0, 0, 0, 4, 0, 1, 0, 0, 1, false);
    EXPECT_EQ(m.determinant(), 12.0);
    // Dense, bottom row included, through factors of determinant 1.
    Mat4 lower, turn;
    lower.setTranslate(1.0, -2.0, 0.5);
    lower.setTranspose();
    turn.setRotation(0.7, 1.0, 2.0, 3.0);
    turn.translate(-3.0, 1.0, 2.0);
    const Mat4 dense = lower * m * turn;
    EXPECT_NEAR(dense.determinant(), 12.0, 1e-12);
    Mat4 inverse(false);
    EXPECT_TRUE(dense.getInverse(inverse));
    EXPECT_TRUE(dense * inverse == Mat4());
    EXPECT_TRUE(inverse * dense == Mat4());

    Mat4 zero(false);
    EXPECT_FALSE(zero.getInverse(zero));
    EXPECT_TRUE(zero == Mat4());
}

TEST(Mat4, DecomposeKeepsAMirror) {
    const Quaternion turn(0.0, std::sin(0.35), 0.0, std::cos(0.35));
    Mat4 m;
    m.compose(Vec3(1.0, 2.0, 3.0), turn, Vec3(2.0, -3.0, 0.5));
    Vec3 p, s;
    Quaternion q;
    m.decompose(p, q, s);
    expectVec(p, 1.0, 2.0, 3.0, 0.0);
    expectVec(s, -2.0, 3.0, 0.5);
    EXPECT_LT(std::fabs(q.dot(turn)), 0.999);  // another reading of the same matrix
    Mat4 again;
    again.compose(p, q, s);
    EXPECT_TRUE(again == m);
}

TEST(Mat4, AEToGLConversion) {
    const Mat4 m = Mat4::getAEToGLConversionMatrix(1920.0, 1080.0);
    expectVec(m * Vec3(0.0, 0.0, 0.0), -960.0, 540.0, 0.0, 0.0);
    expectVec(m * Vec3(1920.0, 0.0, 0.0), 960.0, 540.0, 0.0, 0.0);
    expectVec(m * Vec3(960.0, 540.0, 0.0), 0.0, 0.0, 0.0, 0.0);
    expectVec(m * Vec3(1920.0, 1080.0, 10.0), 960.0, -540.0, -10.0, 0.0);
    EXPECT_EQ(m.determinant(), 1.0);
}
