#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Vec2.h"

using namespace Ostrivane::GaussianBlur;

static const double kNaN = std::numeric_limits<double>::quiet_NaN();

static void expectVec(const Vec2& v, double x, double y, double tolerance = 0.0) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
}

TEST(Vec2, EqualityBoundaries) {
    // Per axis and inclusive; equal's default tolerance is the same.
    EXPECT_TRUE(Vec2(0.0, 0.0) == Vec2(1e-12, -1e-12));
    EXPECT_FALSE(Vec2(0.0, 0.0) == Vec2(1.0001e-12, 0.0));
    EXPECT_TRUE(Vec2(kNaN, 0.0) != Vec2(kNaN, 0.0));
    EXPECT_FALSE(Vec2::negligible(1e-12));  // strict
    // Euclidean and strict: 3-4-5 sits on the boundary; 0.8 per axis exceeds 1.
    EXPECT_FALSE(Vec2::equalWithTolerance(0.0, 0.0, 3.0, 4.0, 5.0));
    EXPECT_FALSE(Vec2::equalWithTolerance(Vec2(0.0, 0.0), Vec2(0.8, 0.8), 1.0));
    EXPECT_FALSE(Vec2::isDuplicate(Vec2(1.0, 1.0), Vec2(1.25, 1.0)));
    EXPECT_TRUE(Vec2::isDuplicate(Vec2(1.0, 1.0), Vec2(1.24, 0.76)));
}

TEST(Vec2, RotationUsesTheFourteenDigitFactor) {
    Vec2 v(1.0, 0.0);
    v.rotate(90.0);
    // cos(pi/2 - d) is d to first order, d being how far 90 times the factor falls short.
    const double th = 90.0 * 0.017453292519943;
    EXPECT_NEAR(v.x, static_cast<double>(3.14159265358979323846264338327950288L / 2 - th), 1e-18);
    EXPECT_GT(v.x, 2.6e-14);
    EXPECT_EQ(v.y, 1.0);

    Vec2 n(kNaN, 2.0), r(2.0, 1.0);
    n.rotate(0.0);
    EXPECT_TRUE(std::isnan(n.x));
    EXPECT_EQ(n.y, 2.0);
    r.rotateAround(90.0, Vec2(1.0, 1.0));
    expectVec(r, 1.0, 2.0, 1e-13);
}

TEST(Vec2, IntersectCodes) {
    Vec2 out;
    double t = 42.0, u = 42.0;
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(2, 0), Vec2(1, -1), Vec2(1, 1), out, &t, &u), Crossing);
    expectVec(out, 1.0, 0.0);
    // 0 and 1 count as inside.
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(1, 0), Vec2(1, 1), out, &t, &u), Crossing);
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(u, 0.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(3, -1), Vec2(3, 1), out, &t, &u), OutsideFirst);
    EXPECT_EQ(t, 3.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(4, 0), Vec2(1, 1), Vec2(1, 2), out, &t, &u), OutsideSecond);
    EXPECT_EQ(u, -1.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(3, 1), Vec2(3, 2), out, nullptr, nullptr),
              OutsideBoth);
    expectVec(out, 3.0, 0.0);

    // Parallel and coincident write out but neither t nor u.
    t = u = 42.0;
    out.set(9.0, 9.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(0, 1), Vec2(1, 1), out, &t, &u), Parallel);
    expectVec(out, 0.0, 0.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(2, 0), Vec2(3, 0), out, &t, &u), Coincident);
    expectVec(out, 0.5, 0.0);
    EXPECT_EQ(t, 42.0);
    EXPECT_EQ(u, 42.0);
    // The bounds are absolute: segments of 1e-7 that cross read as coincident.
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1e-7, 0), Vec2(5e-8, -1e-7), Vec2(5e-8, 1e-7), out, nullptr,
                              nullptr),
              Coincident);
}
