#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Euler.h"
#include "Mat4.h"
#include "Quaternion.h"
#include "Vec3.h"

using namespace Ostrivane::GaussianBlur;

static const double kNaN = std::numeric_limits<double>::quiet_NaN();

static void expectVec(const Vec3& v, double x, double y, double z, double tolerance = 0.0) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
}

TEST(Vec3, ZeroVectorsAndAngles) {
    Vec3 v, w;
    v.normalize();
    expectVec(v, 1.0, 0.0, 0.0);
    w.setLength(5.0);
    expectVec(w, 5.0, 0.0, 0.0);
    EXPECT_TRUE(Vec3(0.0) == Vec3(1e-12, -1e-12, 1e-12));
    EXPECT_FALSE(Vec3(0.0) == Vec3(0.0, 0.0, 1.0001e-12));

    EXPECT_NEAR(Vec3(1.0, 0.0, 0.0).angleBetween(Vec3(0.0, 2.0, 0.0)), M_PI / 2, 1e-15);
    // 3 / (sqrt(3) * sqrt(3)) rounds just above 1, and nothing clamps it.
    EXPECT_TRUE(std::isnan(Vec3(1.0, 1.0, 1.0).angleBetween(Vec3(1.0, 1.0, 1.0))));
    EXPECT_TRUE(std::isnan(Vec3().angleBetween(Vec3(1.0, 0.0, 0.0))));
}

TEST(Vec3, LargestComponentAndOrtho) {
    EXPECT_EQ(Vec3(1.0, 1.0, 0.0).largestAbsComponent(), 1);
    EXPECT_EQ(Vec3(1.0, 0.0, 1.0).largestAbsComponent(), 2);
    EXPECT_EQ(Vec3(0.0, 0.0, 0.0).largestAbsComponent(), 2);
    EXPECT_EQ(Vec3(-5.0, 1.0, 1.0).largestAbsComponent(), 0);

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

TEST(Vec3, QuaternionRotation) {
    const double h = std::sqrt(0.5);
    Vec3 v(1.0, 0.0, 0.0), w(0.0, 0.0, 2.0), s(1.0, 2.0, 3.0);
    v.applyQuaternion(Quaternion(0.0, 0.0, h, h));  // a quarter turn about z: x to y
    expectVec(v, 0.0, 1.0, 0.0, 1e-15);
    w.applyQuaternion(Quaternion(h, 0.0, 0.0, h));  // about x: z to -y
    expectVec(w, 0.0, -2.0, 0.0, 1e-15);
    // Not normalised: q v q* scales by |q|^2.
    s.applyQuaternion(Quaternion(0.0, 0.0, 0.0, 2.0));
    expectVec(s, 4.0, 8.0, 12.0);
}
