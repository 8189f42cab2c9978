#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Euler.h"
#include "Mat4.h"
#include "Quaternion.h"

using namespace Ostrivane::GaussianBlur;

static void expectQuat(const Quaternion& q, double x, double y, double z, double w, double tolerance = 0.0) {
    EXPECT_NEAR(q.x, x, tolerance);
    EXPECT_NEAR(q.y, y, tolerance);
    EXPECT_NEAR(q.z, z, tolerance);
    EXPECT_NEAR(q.w, w, tolerance);
}

TEST(Quaternion, WithMat4CoversAllFourCases) {
    Mat4 m;
    Quaternion q;
    q.setWithMat4(m);
    expectQuat(q, 0.0, 0.0, 0.0, 1.0);
    // Half turns have trace -1; the largest diagonal element picks the case.
    const double diagonals[3][3] = {{1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
    for (int axis = 0; axis < 3; ++axis) {
        m.e[0] = diagonals[axis][0], m.e[5] = diagonals[axis][1], m.e[10] = diagonals[axis][2];
        q.setWithMat4(m);
        expectQuat(q, axis == 0, axis == 1, axis == 2, 0.0);
    }
    // -150 degrees about x comes back as the negated quaternion, w below zero:
    // (cos 15deg, 0, 0, -sin 15deg) rather than (-sin 75deg, 0, 0, cos 75deg).
    const double c = -std::sqrt(3.0) / 2.0, s = -0.5;
    m = Mat4(1, 0, 0, 0, 0, c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, false);
    q.setWithMat4(m);
    expectQuat(q, (std::sqrt(6.0) + std::sqrt(2.0)) / 4.0, 0.0, 0.0, -(std::sqrt(6.0) - std::sqrt(2.0)) / 4.0,
               1e-15);
}

TEST(Quaternion, WithEulerMatchesTheOrderTable) {
    const double x = 0.3, y = -1.1, z = 2.0;
    Mat4 rx, ry, rz;
    rx.setXRotation(x), ry.setYRotation(y), rz.setZRotation(z);
    const Mat4 expected[7] = {Mat4(),       rx * ry * rz, ry * rz * rx, rz * rx * ry,
                              rx * rz * ry, ry * rx * rz, rz * ry * rx};
    for (int order = 1; order <= 6; ++order) {
        Quaternion q;
        q.setWithEuler(Euler(x, y, z, RotationOrder(order)));
        Mat4 m;
        m.setWithQuaternion(q);
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(m.e[i], expected[order].e[i], 1e-6) << "order " << order << " element " << i;
        q.setWithEuler(Euler(0.0, 0.0, 0.0, RotationOrder(order)));
        expectQuat(q, 0.0, 0.0, 0.0, 1.0);
    }
}

TEST(Quaternion, SlerpTakesTheShortWay) {
    const Quaternion a;
    const Quaternion quarter(0.0, 0.0, std::sqrt(0.5), std::sqrt(0.5));
    const Quaternion negated(0.0, 0.0, -quarter.z, -quarter.w);
    const double eighth = M_PI / 8;
    expectQuat(Quaternion::lerp(a, quarter, 0.5), 0.0, 0.0, std::sin(eighth), std::cos(eighth), 1e-15);
    expectQuat(Quaternion::lerp(a, negated, 0.5), 0.0, 0.0, std::sin(eighth), std::cos(eighth), 1e-15);
    // t exactly 1 copies the target, sign and all.
    EXPECT_TRUE(Quaternion::lerp(a, negated, 1.0) == negated);
    // a and -a are the same rotation: the object stays.
    EXPECT_TRUE(Quaternion::lerp(a, Quaternion(0.0, 0.0, 0.0, -1.0), 0.3) == a);
    EXPECT_TRUE(Quaternion::lerp(quarter, quarter, std::numeric_limits<double>::quiet_NaN()) == quarter);
    // Closer than sin(h) = 0.001: the plain mean, whatever t.
    const Quaternion near(0.0, 0.0, std::sin(0.0004), std::cos(0.0004));
    expectQuat(Quaternion::lerp(a, near, 0.9), 0.0, 0.0, std::sin(0.0004) / 2, (1.0 + std::cos(0.0004)) / 2);
}
