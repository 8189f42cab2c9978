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

TEST(Box3, EmptinessTestsAndIntersectionInPlace) {
    EXPECT_TRUE(Box3(Vec3(), Vec3()).isEmpty());
    EXPECT_FALSE(Box3(Vec3(1.0), Vec3(1.0)).isEmpty());
    const Box3 unit(Vec3(), Vec3(1.0));
    EXPECT_TRUE(unit.containsPoint(Vec3(1.0, 0.5, 0.0)));
    EXPECT_TRUE(unit.intersectsBox(Box3(Vec3(1.0), Vec3(2.0))));

    Box3 corner(unit);
    corner.intersects(Box3(Vec3(1.0), Vec3(2.0)));
    expectVec(corner.min, 1.0, 1.0, 1.0);
    expectVec(corner.max, 1.0, 1.0, 1.0);
    Box3 disjoint(unit);
    disjoint.intersects(Box3(Vec3(5.0), Vec3(6.0)));
    expectEmptyState(disjoint);
    Box3 origin(Vec3(-1.0), Vec3());
    origin.intersects(unit);
    expectEmptyState(origin);
}
