#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Vec4.h"

using namespace Ostrivane::GaussianBlur;

namespace {

void expectVec(const Vec4& v, double x, double y, double z, double w, double tolerance = 0.0)
{
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
    EXPECT_NEAR(v.w, w, tolerance);
}

}  // namespace

TEST(Vec4, ConstructionArithmeticAndLengths)
{
    expectVec(Vec4(), 0.0, 0.0, 0.0, 0.0);
    expectVec(Vec4(Vec3(1.0, 2.0, 3.0), 4.0), 1.0, 2.0, 3.0, 4.0);
    // w is dropped, not divided by.
    const Vec3 v3 = Vec4(2.0, 4.0, 6.0, 2.0).getVec3();
    EXPECT_EQ(v3.x, 2.0);
    EXPECT_EQ(v3.z, 6.0);

    Vec4 v(1.0, 2.0, 3.0, 4.0);
    v += 1.0;
    v *= Vec4(1.0, 0.5, 2.0, 0.25);
    v /= 2.0;
    v -= Vec4(1.0, 1.0, 1.0, 1.0);
    expectVec(v, 0.0, -0.25, 3.0, -0.375);
    expectVec(Vec4(1.0, 2.0, 4.0, 8.0).invert(), 1.0, 0.5, 0.25, 0.125);
    expectVec(Vec4(1.0, 2.0, 4.0, 8.0).negate(), -1.0, -2.0, -4.0, -8.0);

    EXPECT_EQ(Vec4(1.0, -2.0, 3.0, -4.0).lengthManhattan(), 10.0);
    EXPECT_EQ(Vec4(1.0, 1.0, 1.0, 1.0).length(), 2.0);
    EXPECT_EQ(Vec4(1.0, 1.0, 1.0, 1.0).distance(Vec4(1.0, 1.0, 1.0, -1.0)), 2.0);
    EXPECT_EQ(Vec4(1.0, 2.0, 3.0, 4.0).dot(Vec4(1.0, 1.0, -1.0, 1.0)), 4.0);

    Vec4 z;
    z.normalize();
    expectVec(z, 1.0, 0.0, 0.0, 0.0);
    Vec4 f;
    f.setLength(5.0);
    expectVec(f, 5.0, 0.0, 0.0, 0.0);
    Vec4 g(1.0, 1.0, 1.0, 1.0);
    g.setLength(4.0);
    expectVec(g, 2.0, 2.0, 2.0, 2.0);
}

TEST(Vec4, EqualityIsEuclideanAndStrict)
{
    const Vec4 o(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(o == Vec4(1.0 + 0.9e-12, 2.0, 3.0, 4.0));
    EXPECT_FALSE(o == Vec4(1.0 + 1.1e-12, 2.0, 3.0, 4.0));
    // Exactly the tolerance on one axis is not below it.
    EXPECT_FALSE(Vec4() == Vec4(0.0, 0.0, 1e-12, 0.0));
    // 0.8e-12 on every axis is 1.6e-12 apart: per-axis equal, Euclidean not.
    EXPECT_FALSE(Vec4() == Vec4(0.8e-12, 0.8e-12, 0.8e-12, 0.8e-12));
    EXPECT_TRUE(Vec4() != Vec4(0.8e-12, 0.8e-12, 0.8e-12, 0.8e-12));
    EXPECT_FALSE(o.equal(o, 0.0));
    EXPECT_TRUE(o.equal(Vec4(1.0, 2.0, 3.0, 4.0 + 0.9e-12)));
    EXPECT_TRUE(o.equal(Vec4(1.3, 2.4, 3.0, 4.0), 0.51));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(Vec4(nan, 0, 0, 0) == Vec4(nan, 0, 0, 0));
    EXPECT_TRUE(Vec4(nan, 0, 0, 0) != Vec4(nan, 0, 0, 0));
    EXPECT_TRUE(Vec4(-0.0, 0.0, 0.0, 0.0).isZero());
}

TEST(Vec4, LerpEndsAreUnchanged)
{
    const Vec4 a(2.0, 0.0, 0.0, 0.0), b(0.0, 2.0, 0.0, 0.0);
    expectVec(Vec4::lerp(a, b, 0.0), 2.0, 0.0, 0.0, 0.0);
    expectVec(Vec4::lerp(a, b, 1.0), 0.0, 2.0, 0.0, 0.0);
    // Between the ends the result has unit length, whatever the ends' lengths.
    const Vec4 mid = Vec4::lerp(a, b, 0.5);
    expectVec(mid, std::sqrt(0.5), std::sqrt(0.5), 0.0, 0.0, 1e-15);
    EXPECT_NEAR(mid.length(), 1.0, 1e-15);
}

TEST(Vec4, LerpFollowsTheShorterArc)
{
    // b is 135 degrees from a; the arc to -b is 45 degrees towards -y.
    const double h = std::sqrt(0.5);
    const Vec4 r = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(-h, h, 0.0, 0.0), 0.5);
    expectVec(r, std::cos(M_PI / 8), -std::sin(M_PI / 8), 0.0, 0.0, 1e-6);

    // a against -a: b turns into a and the result is a at unit length.
    const Vec4 a(0.0, 3.0, 0.0, 4.0);
    expectVec(Vec4::lerp(a, a.negate(), 0.5), 0.0, 0.6, 0.0, 0.8, 1e-15);
    expectVec(Vec4::lerp(a, a, 0.3), 0.0, 0.6, 0.0, 0.8, 1e-15);

    // A zero end gives NaN except at the exact ends.
    const Vec4 n = Vec4::lerp(Vec4(), a, 0.5);
    EXPECT_TRUE(std::isnan(n.x) && std::isnan(n.w));
    EXPECT_TRUE(Vec4::lerp(Vec4(), a, 0.0).isZero());
}

TEST(Vec4, LerpWeightsAreSinglePrecision)
{
    // A quarter turn at t = 0.25: exact slerp gives (cos 22.5, sin 22.5). Single-precision
    // weights miss that by some 1e-8, more than double arithmetic would.
    const Vec4 r = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(0.0, 1.0, 0.0, 0.0), 0.25);
    const double error = std::fabs(r.y - std::sin(M_PI / 8));
    EXPECT_LT(error, 1e-6);
    EXPECT_GT(error, 1e-10);
    EXPECT_NEAR(r.length(), 1.0, 1e-15);

    // The flat-arc bound is 0.01 in single precision (0.0099999997765): 1 - c of
    // 0.0099999999 is above it, so the arc is still followed rather than the chord.
    const double c = 1.0 - 0.0099999999;
    const double s = std::sqrt(1.0 - c * c);
    const double theta = std::acos(c);
    const Vec4 arc = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(c, s, 0.0, 0.0), 0.25);
    EXPECT_NEAR(arc.y, std::sin(0.25 * theta), 1e-6);
    // The chord would give 0.25 s / |0.75 + 0.25 c, 0.25 s|, some 4e-5 further on.
    const double chord = 0.25 * s / std::hypot(0.75 + 0.25 * c, 0.25 * s);
    EXPECT_GT(std::fabs(arc.y - chord), 1e-5);
}
