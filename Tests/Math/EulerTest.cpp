#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "Euler.h"
#include "Mat4.h"
#include "Quaternion.h"

using namespace Ostrivane::GaussianBlur;

// No default order: every caller names one.
static_assert(!std::is_constructible<Euler, double, double, double>::value, "order is required");

static void expectAngles(const Euler& e, double x, double y, double z, double tolerance) {
    EXPECT_NEAR(e.x, x, tolerance);
    EXPECT_NEAR(e.y, y, tolerance);
    EXPECT_NEAR(e.z, z, tolerance);
}

// The rotation of the order table, built from single-axis matrices.
static Mat4 composed(double x, double y, double z, int order) {
    Mat4 rx, ry, rz;
    rx.setXRotation(x), ry.setYRotation(y), rz.setZRotation(z);
    const Mat4 byOrder[7] = {Mat4(),       rx * ry * rz, ry * rz * rx, rz * rx * ry,
                             rx * rz * ry, ry * rx * rz, rz * ry * rx};
    return byOrder[order];
}

TEST(Euler, LaterOrdersReadBackWithTheLibrarySigns) {
    const double x = 0.3, y = -0.7, z = 1.2;
    const double expected[7][3] = {{0, 0, 0},  {x, y, z},    {x, y, z}, {x, y, z},
                                   {x, y, -z}, {-x, -y, -z}, {x, -y, z}};
    for (int order = 1; order <= 6; ++order) {
        Euler e;
        e.setWithMat4(composed(x, y, z, order), RotationOrder(order));
        expectAngles(e, expected[order][0], expected[order][1], expected[order][2], 1e-12);
    }
}
