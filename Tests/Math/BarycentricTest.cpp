#include <gtest/gtest.h>

#include <cmath>

#include "Barycentric.h"

using namespace Ostrivane::GaussianBlur;

static void expectWeights(const Barycentric& b, double u, double v, double w) {
    EXPECT_NEAR(b.u, u, 1e-15);
    EXPECT_NEAR(b.v, v, 1e-15);
    EXPECT_NEAR(b.w, w, 1e-15);
}

TEST(Barycentric, WeightsInsideOutsideAndOffThePlane) {
    const Vec2 a(0.0, 0.0), b(1.0, 0.0), c(0.0, 1.0);
    expectWeights(Barycentric(a, b, c, Vec2(0.25, 0.25)), 0.5, 0.25, 0.25);
    Barycentric outside(a, b, c, Vec2(2.0, 2.0));
    expectWeights(outside, -3.0, 2.0, 2.0);
    EXPECT_FALSE(outside.isInside());
    EXPECT_NEAR(outside.interpolate(a, b, c).x, 2.0, 1e-15);
    expectWeights(Barycentric(Vec3(), Vec3(1.0, 0.0, 0.0), Vec3(0.0, 1.0, 0.0), Vec3(0.25, 0.25, 5.0)), 0.5,
                  0.25, 0.25);
    Barycentric collinear(Vec2(0.0, 0.0), Vec2(1.0, 1.0), Vec2(2.0, 2.0), Vec2(0.5, 0.5));
    EXPECT_TRUE(std::isnan(collinear.u));
    EXPECT_FALSE(collinear.isInside());
}
