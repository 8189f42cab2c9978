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

TEST(Euler, RoundTripThroughQuaternionInFirstThreeOrders) {
    // (outer, middle, outer): the outer angles anywhere in (-pi, pi), the middle one clear
    // of +-pi/2. The middle angle is y in XYZ, z in YZX and x in ZXY.
    const double triples[][3] = {{0.3, -1.1, 2.0}, {-2.9, 1.4, -0.2}, {1.0, 0.0, -3.0}};
    const int middleOf[4] = {0, 1, 2, 0};
    for (int order = 1; order <= 3; ++order)
        for (const auto& t : triples) {
            double a[3];
            const int m = middleOf[order];
            a[m] = t[1];
            a[(m + 1) % 3] = t[0];
            a[(m + 2) % 3] = t[2];
            Quaternion q;
            q.setWithEuler(Euler(a[0], a[1], a[2], RotationOrder(order)));
            Euler back;
            back.setWithQuaternion(q, RotationOrder(order));
            EXPECT_EQ(back.order, order);
            expectAngles(back, a[0], a[1], a[2], 1e-6);
        }
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
