#include <gtest/gtest.h>

#include <limits>

#include "Box3.h"

using namespace Ostrivane::GaussianBlur;

namespace {

const double kTinyMax = std::numeric_limits<double>::min();

void expectVec(const Vec3& v, double x, double y, double z) {
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
}

// The largest finite double and the smallest positive normal one.
void expectEmptyState(const Box3& box) {
    const double huge = std::numeric_limits<double>::max();
    expectVec(box.min, huge, huge, huge);
    expectVec(box.max, kTinyMax, kTinyMax, kTinyMax);
}

}  // namespace

TEST(Box3, GrowsFromPointsAndStartsEmptyWithout) {
    Vec3 points[] = {Vec3(-1.0, 5.0, -3.0), Vec3(-4.0, -5.0, 6.0), Vec3(0.0, 0.0, 0.0)};
    Box3 box;
    EXPECT_TRUE(box.isEmpty());
    box.setFromPoints(points, 3);
    expectVec(box.min, -4.0, -5.0, -3.0);
    expectVec(box.max, 0.0, 5.0, 6.0);
    box.setFromPoints(nullptr, 3);
    expectEmptyState(box);
}
