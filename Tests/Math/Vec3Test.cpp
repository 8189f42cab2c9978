#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "Euler.h"
#include "Mat4.h"
#include "Quaternion.h"
#include "Vec3.h"

using namespace Ostrivane::GaussianBlur;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectVec(const Vec3& v, double x, double y, double z, double tolerance = 0.0)
{
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
}

}  // namespace

TEST(TransformRecords, Defaults)
{
    const Mat4 id;
    const Mat4 zero(false);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(id.e[i], i % 5 == 0 ? 1.0 : 0.0) << i;
        EXPECT_EQ(zero.e[i], 0.0) << i;
    }
    const Quaternion q;
    EXPECT_EQ(q.x, 0.0);
    EXPECT_EQ(q.y, 0.0);
    EXPECT_EQ(q.z, 0.0);
    EXPECT_EQ(q.w, 1.0);
    const Euler e;
    EXPECT_EQ(e.order, XYZ);
    EXPECT_EQ(static_cast<int>(Euler::mDefaultOrder), 1);
    EXPECT_EQ(sizeof(RotationOrder), 4u);
    EXPECT_EQ(Euler(1.0, 2.0, 3.0, Unspecified).order, Unspecified);
}

TEST(Vec3, ConstructionAndExchange)
{
    expectVec(Vec3(), 0.0, 0.0, 0.0);
    expectVec(Vec3(2.5), 2.5, 2.5, 2.5);
    expectVec(Vec3(Vec2(1.0, 2.0), 3.0), 1.0, 2.0, 3.0);

    Vec3 v;
    v.set(0, 1.0);
    v.set(1, 2.0);
    v.set(-1, 3.0);
    expectVec(v, 1.0, 2.0, 3.0);
    v.set(7, 4.0);
    EXPECT_EQ(v.z, 4.0);

    double values[5] = {0.0, 0.0, 0.0, 0.0, 0.0};
    v.toArray(values, 2);
    EXPECT_EQ(values[1], 0.0);
    EXPECT_EQ(values[4], 4.0);
    Vec3 w;
    w.fromArray(values, 2);
    expectVec(w, 1.0, 2.0, 4.0);
    EXPECT_EQ(w.getVec2().y, 2.0);

    Mat4 m;
    for (int i = 0; i < 16; ++i)
        m.e[i] = 100.0 + i;
    w.setFromMatrixPosition(m);
    expectVec(w, 112.0, 113.0, 114.0);
    w.setFromMatrixColumn(m, 1);
    expectVec(w, 104.0, 105.0, 106.0);
}

TEST(Vec3, Arithmetic)
{
    Vec3 v(1.0, 2.0, 3.0);
    v += 1.0;
    v *= Vec3(1.0, 2.0, 3.0);
    v -= Vec3(2.0, 2.0, 2.0);
    v /= 2.0;
    expectVec(v, 0.0, 2.0, 5.0);
    v.setNegate();
    expectVec(v, -0.0, -2.0, -5.0);
    Vec3 r(2.0, -4.0, 0.0);
    r.setInvert();
    EXPECT_EQ(r.x, 0.5);
    EXPECT_EQ(r.y, -0.25);
    EXPECT_TRUE(std::isinf(r.z));

    const Vec3 a(1.0, 2.0, 4.0);
    expectVec(a.invert(), 1.0, 0.5, 0.25);
    expectVec(a.negate(), -1.0, -2.0, -4.0);
    expectVec(a - 1.0, 0.0, 1.0, 3.0);
    expectVec(a / Vec3(1.0, 2.0, 8.0), 1.0, 1.0, 0.5);
    expectVec(a, 1.0, 2.0, 4.0);
    expectVec(Vec3(350.0, 0.0, 0.0).rotationalDifference(Vec3(10.0, 0.0, 0.0)), 340.0, 0.0, 0.0);
    expectVec(Vec3::lerp(Vec3(1.0, 0.0, 0.0), Vec3(2.0, 2.0, 2.0), 2.0), 3.0, 4.0, 4.0);
    const Vec3 f(-0.5, 0.5, 1.0);
    expectVec(f.floor(), -1.0, 0.0, 1.0);
    expectVec(f, -0.5, 0.5, 1.0);
}

TEST(Vec3, EqualityIsPerAxisInclusive)
{
    EXPECT_TRUE(Vec3(0.0) == Vec3(1e-12, -1e-12, 1e-12));
    EXPECT_FALSE(Vec3(0.0) == Vec3(0.0, 0.0, 1.0001e-12));
    EXPECT_TRUE(Vec3(0.0).equal(Vec3(1e-12, 0.0, 0.0)));
    EXPECT_TRUE(Vec3(0.0).equal(Vec3(0.1, 0.1, -0.1), 0.1));
    EXPECT_FALSE(Vec3(kNaN) == Vec3(kNaN));
    EXPECT_TRUE(Vec3(kNaN) != Vec3(kNaN));
    EXPECT_FALSE(Vec3(0.0, 0.0, 1e-300).isZero());
}

TEST(Vec3, LengthsAndZeroVectors)
{
    Vec3 v;
    v.normalize();
    expectVec(v, 1.0, 0.0, 0.0);
    Vec3 w;
    w.setLength(5.0);
    expectVec(w, 5.0, 0.0, 0.0);
    Vec3 u(2.0, 3.0, 6.0);
    EXPECT_EQ(u.length(), 7.0);
    EXPECT_EQ(u.lengthSquare(), 49.0);
    EXPECT_EQ(u.distance(Vec3(2.0, 3.0, -1.0)), 7.0);
    EXPECT_EQ(u.distanceSquare(Vec3(2.0, 3.0, -1.0)), 49.0);
    u.setLength(14.0);
    expectVec(u, 4.0, 6.0, 12.0, 1e-14);
    EXPECT_EQ(Vec3(1.0, 2.0, 3.0).dot(Vec3(4.0, -5.0, 6.0)), 12.0);
    expectVec(Vec3(1.0, 0.0, 0.0).cross(Vec3(0.0, 1.0, 0.0)), 0.0, 0.0, 1.0);
    expectVec(Vec3(0.0, 1.0, 0.0).cross(Vec3(1.0, 0.0, 0.0)), 0.0, 0.0, -1.0);
}

TEST(Vec3, AngleBetweenIsUnclampedRadians)
{
    EXPECT_NEAR(Vec3(1.0, 0.0, 0.0).angleBetween(Vec3(0.0, 2.0, 0.0)), M_PI / 2, 1e-15);
    EXPECT_NEAR(Vec3(1.0, 0.0, 0.0).angleBetween(Vec3(-3.0, 0.0, 0.0)), M_PI, 1e-15);
    // 3 / (sqrt(3) * sqrt(3)) rounds just above 1.
    EXPECT_TRUE(std::isnan(Vec3(1.0, 1.0, 1.0).angleBetween(Vec3(1.0, 1.0, 1.0))));
    EXPECT_TRUE(std::isnan(Vec3().angleBetween(Vec3(1.0, 0.0, 0.0))));
}

TEST(Vec3, LargestComponentAndOrtho)
{
    EXPECT_EQ(Vec3(1.0, 1.0, 0.0).largestAbsComponent(), 1);
    EXPECT_EQ(Vec3(1.0, 0.0, 1.0).largestAbsComponent(), 2);
    EXPECT_EQ(Vec3(0.0, 1.0, 1.0).largestAbsComponent(), 2);
    EXPECT_EQ(Vec3(0.0, 0.0, 0.0).largestAbsComponent(), 2);
    EXPECT_EQ(Vec3(-5.0, 1.0, 1.0).largestAbsComponent(), 0);
    EXPECT_EQ(Vec3(0.0, -5.0, 1.0).largestAbsComponent(), 1);

    // Largest is y, so the x axis is taken: z cross x is y.
    Vec3 a(0.0, 1.0, 0.0);
    a.ortho(Vec3(0.0, 0.0, 1.0));
    expectVec(a, 0.0, 1.0, 0.0);
    // Largest is z, so the y axis is taken; o along it gives a zero cross, then (1, 0, 0).
    Vec3 b(0.0, 0.0, 3.0);
    b.ortho(Vec3(0.0, 2.0, 0.0));
    expectVec(b, 1.0, 0.0, 0.0);

    const Vec3 o(1.0, 2.0, 2.0);
    Vec3 c(5.0, -1.0, 0.5);
    c.ortho(o);
    EXPECT_NEAR(c.length(), 1.0, 1e-15);
    EXPECT_NEAR(c.dot(o), 0.0, 1e-15);
}

TEST(Vec3, MinMaxClampMutate)
{
    Vec3 lo(1.0, 5.0, 0.0);
    lo.getMin(Vec3(2.0, 3.0, -0.0));
    expectVec(lo, 1.0, 3.0, 0.0);
    EXPECT_FALSE(std::signbit(lo.z));
    Vec3 hi(1.0, 5.0, 0.0);
    hi.getMax(Vec3(2.0, 3.0, -0.0));
    expectVec(hi, 2.0, 5.0, 0.0);
    EXPECT_TRUE(std::signbit(hi.z));

    Vec3 n(1.0, 1.0, 1.0);
    n.getMin(Vec3(kNaN, 0.0, 2.0));
    expectVec(n, 1.0, 0.0, 1.0);
    n.getMax(Vec3(kNaN, 0.0, 2.0));
    EXPECT_TRUE(std::isnan(n.x));
    EXPECT_EQ(n.z, 2.0);

    Vec3 c(-1.0, 0.5, 9.0);
    c.clamp(Vec3(0.0), Vec3(1.0));
    expectVec(c, 0.0, 0.5, 1.0);
    Vec3 inverted(-1.0, 5.0, 20.0);
    inverted.clamp(Vec3(10.0), Vec3(0.0));
    expectVec(inverted, 10.0, 10.0, 0.0);
}

TEST(Vec3, MatrixTransforms)
{
    Mat4 m;  // x' = x + 2y + 10, y' = y + 20, z' = z + 30, bottom row ignored
    m.e[4] = 2.0;
    m.e[12] = 10.0;
    m.e[13] = 20.0;
    m.e[14] = 30.0;
    m.e[3] = 5.0;
    m.e[15] = 7.0;
    Vec3 p(1.0, 1.0, 1.0);
    p.applyMatrix4(m);
    expectVec(p, 13.0, 21.0, 31.0);

    Mat4 proj;  // w = -z
    proj.e[11] = -1.0;
    proj.e[15] = 0.0;
    Vec3 q(2.0, 4.0, -2.0);
    q.applyProjection(proj);
    expectVec(q, 1.0, 2.0, -1.0);

    Mat4 s;  // scale x by 3, translate
    s.e[0] = 3.0;
    s.e[12] = 5.0;
    Vec3 d(2.0, 0.0, 0.0);
    d.transformDirection(s);
    expectVec(d, 1.0, 0.0, 0.0);
    Vec3 d2(0.0, 4.0, 0.0);
    d2.transformDirection(s);
    expectVec(d2, 0.0, 1.0, 0.0);
    Mat4 collapse(false);
    Vec3 d3(0.0, 4.0, 0.0);
    d3.transformDirection(collapse);
    expectVec(d3, 1.0, 0.0, 0.0);
}

TEST(Vec3, QuaternionRotation)
{
    // A quarter turn about z takes x to y.
    const double h = std::sqrt(0.5);
    Vec3 v(1.0, 0.0, 0.0);
    v.applyQuaternion(Quaternion(0.0, 0.0, h, h));
    expectVec(v, 0.0, 1.0, 0.0, 1e-15);
    Vec3 w(0.0, 0.0, 2.0);
    w.applyQuaternion(Quaternion(h, 0.0, 0.0, h));  // about x: z goes to -y
    expectVec(w, 0.0, -2.0, 0.0, 1e-15);
    // Not normalised: q v q* scales by |q|^2.
    Vec3 s(1.0, 2.0, 3.0);
    s.applyQuaternion(Quaternion(0.0, 0.0, 0.0, 2.0));
    expectVec(s, 4.0, 8.0, 12.0);
}
