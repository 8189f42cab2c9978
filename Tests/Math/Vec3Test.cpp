#include <gtest/gtest.h>

#include "Vec3.h"

using namespace Ostrivane::GaussianBlur;

static void expectVec(const Vec3& v, double x, double y, double z, double tolerance = 1e-15) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
}

TEST(Vec3, LargestComponentAndOrtho) {
    // Largest is y, so the x axis is taken: z cross x is y.
    Vec3 a(0.0, 1.0, 0.0);
    a.ortho(Vec3(0.0, 0.0, 1.0));
    expectVec(a, 0.0, 1.0, 0.0);
    // Largest is z, so the y axis is taken; o along it crosses to zero, then (1, 0, 0).
    Vec3 b(0.0, 0.0, 3.0);
    b.ortho(Vec3(0.0, 2.0, 0.0));
    expectVec(b, 1.0, 0.0, 0.0);
    const Vec3 o(1.0, 2.0, 2.0);
    Vec3 c(5.0, -1.0, 0.5);
    c.ortho(o);
    EXPECT_NEAR(c.length(), 1.0, 1e-15);
    EXPECT_NEAR(c.dot(o), 0.0, 1e-15);
}
