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
