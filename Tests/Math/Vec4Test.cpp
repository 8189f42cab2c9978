#include <gtest/gtest.h>

#include <cmath>

#include "Vec4.h"

using namespace Ostrivane::GaussianBlur;

static void expectVec(const Vec4& v, double x, double y, double z, double w, double tolerance = 0.0) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
    EXPECT_NEAR(v.w, w, tolerance);
}

TEST(Vec4, EqualityIsEuclideanAndStrict) {
    const Vec4 o(1.0, 2.0, 3.0, 4.0);
    EXPECT_TRUE(o == Vec4(1.0 + 0.9e-12, 2.0, 3.0, 4.0));
    EXPECT_FALSE(o == Vec4(1.0 + 1.1e-12, 2.0, 3.0, 4.0));
    EXPECT_FALSE(Vec4() == Vec4(0.0, 0.0, 1e-12, 0.0));
    // 0.8e-12 on every axis is 1.6e-12 apart: equal per axis, not Euclidean.
    EXPECT_TRUE(Vec4() != Vec4(0.8e-12, 0.8e-12, 0.8e-12, 0.8e-12));
    EXPECT_FALSE(o.equal(o, 0.0));
    EXPECT_TRUE(o.equal(Vec4(1.0, 2.0, 3.0, 4.0 + 0.9e-12)));

    Vec4 z;
    z.normalize();
    expectVec(z, 1.0, 0.0, 0.0, 0.0);
    EXPECT_EQ(Vec4(1.0, -2.0, 3.0, -4.0).lengthManhattan(), 10.0);
    EXPECT_EQ(Vec4(2.0, 4.0, 6.0, 2.0).getVec3().z, 6.0);
}

TEST(Vec4, LerpIsSphericalAtUnitLength) {
    const Vec4 a(2.0, 0.0, 0.0, 0.0), b(0.0, 2.0, 0.0, 0.0);
    expectVec(Vec4::lerp(a, b, 0.0), 2.0, 0.0, 0.0, 0.0);
    expectVec(Vec4::lerp(a, b, 1.0), 0.0, 2.0, 0.0, 0.0);
    expectVec(Vec4::lerp(a, b, 0.5), std::sqrt(0.5), std::sqrt(0.5), 0.0, 0.0, 1e-15);

    // b at 135 degrees is negated: the arc runs 45 degrees towards -y.
    const double h = std::sqrt(0.5);
    const Vec4 r = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(-h, h, 0.0, 0.0), 0.5);
    expectVec(r, std::cos(M_PI / 8), -std::sin(M_PI / 8), 0.0, 0.0, 1e-6);
    // a against -a: b turns into a, and the result is a at unit length.
    const Vec4 c(0.0, 3.0, 0.0, 4.0);
    expectVec(Vec4::lerp(c, c.negate(), 0.5), 0.0, 0.6, 0.0, 0.8, 1e-15);
    EXPECT_TRUE(std::isnan(Vec4::lerp(Vec4(), c, 0.5).x));
}

TEST(Vec4, LerpWeightsAreSinglePrecision) {
    // A quarter turn at t = 0.25: single-precision weights miss (cos 22.5, sin 22.5) by
    // some 1e-8, far more than double arithmetic would.
    const Vec4 r = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(0.0, 1.0, 0.0, 0.0), 0.25);
    const double error = std::fabs(r.y - std::sin(M_PI / 8));
    EXPECT_LT(error, 1e-6);
    EXPECT_GT(error, 1e-10);

    // The flat-arc bound is 0.01 in single precision (0.0099999997765): 1 - c of
    // 0.0099999999 is above it, so the arc is followed rather than the chord, which
    // would land some 4e-5 further on.
    const double c = 1.0 - 0.0099999999, s = std::sqrt(1.0 - c * c);
    const Vec4 arc = Vec4::lerp(Vec4(1.0, 0.0, 0.0, 0.0), Vec4(c, s, 0.0, 0.0), 0.25);
    EXPECT_NEAR(arc.y, std::sin(0.25 * std::acos(c)), 1e-6);
    EXPECT_GT(std::fabs(arc.y - 0.25 * s / std::hypot(0.75 + 0.25 * c, 0.25 * s)), 1e-5);
}
