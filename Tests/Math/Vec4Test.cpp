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
