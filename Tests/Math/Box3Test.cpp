#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "Box3.h"

using namespace Ostrivane::GaussianBlur;

namespace {

const double kTinyMax = std::numeric_limits<double>::min();

void expectVec(const Vec3& v, double x, double y, double z)
{
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
}

uint64_t bits(double v)
{
    uint64_t b = 0;
    std::memcpy(&b, &v, sizeof(b));
    return b;
}

void expectEmptyState(const Box3& box)
{
    for (double v : {box.min.x, box.min.y, box.min.z})
        EXPECT_EQ(bits(v), 0x7FEFFFFFFFFFFFFFull);
    for (double v : {box.max.x, box.max.y, box.max.z})
        EXPECT_EQ(bits(v), 0x0010000000000000ull);
}

}  // namespace

TEST(Box3, TheEmptyStateKeepsItsTinyMaxWhenGrown)
{
    const Box3 empty;
    expectEmptyState(empty);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(std::isfinite(empty.getSize().x));
    EXPECT_LT(empty.getSize().x, -1.7e308);

    Box3 grown;
    grown.expandByPoint(Vec3(1.0, 2.0, 3.0));
    expectVec(grown.min, 1.0, 2.0, 3.0);
    expectVec(grown.max, 1.0, 2.0, 3.0);
    EXPECT_FALSE(grown.isEmpty());

    grown.makeEmpty();
    grown.expandByPoint(Vec3(-1.0, -2.0, -3.0));
    expectVec(grown.min, -1.0, -2.0, -3.0);
    expectVec(grown.max, kTinyMax, kTinyMax, kTinyMax);

    float values[] = {-1.0f, -2.0f, -3.0f, -4.0f, -5.0f, -6.0f};
    Box3 fromArray;
    fromArray.setFromArray(values, 6);
    expectVec(fromArray.min, -4.0, -5.0, -6.0);
    expectVec(fromArray.max, kTinyMax, kTinyMax, kTinyMax);
    Box3 unite;
    unite.unionBox(Box3(Vec3(-2.0, -2.0, -2.0), Vec3(-1.0, -1.0, -1.0)));
    expectVec(unite.max, kTinyMax, kTinyMax, kTinyMax);
}

TEST(Box3, FromPointsStartsAtTheFirstPoint)
{
    Vec3 points[] = {Vec3(-1.0, -2.0, -3.0), Vec3(-4.0, -5.0, -6.0)};
    Box3 box;
    box.setFromPoints(points, 2);
    expectVec(box.min, -4.0, -5.0, -6.0);
    expectVec(box.max, -1.0, -2.0, -3.0);
    box.setFromPoints(points, -1);
    expectVec(box.min, -1.0, -2.0, -3.0);
    expectVec(box.max, -1.0, -2.0, -3.0);
    box.setFromPoints(points, 0);
    expectEmptyState(box);
    box.set(Vec3(), Vec3(1.0, 1.0, 1.0));
    box.setFromPoints(nullptr, 3);
    expectEmptyState(box);
    box.set(Vec3(), Vec3(1.0, 1.0, 1.0));
    box.setFromArray(nullptr, 0);
    expectEmptyState(box);
}

TEST(Box3, EmptinessAndInclusiveTests)
{
    EXPECT_TRUE(Box3(Vec3(), Vec3()).isEmpty());
    EXPECT_FALSE(Box3(Vec3(1.0), Vec3(1.0)).isEmpty());
    EXPECT_FALSE(Box3(Vec3(), Vec3(1.0, 0.0, 0.0)).isEmpty());

    const Box3 unit(Vec3(), Vec3(1.0));
    EXPECT_TRUE(unit.containsPoint(Vec3(1.0, 0.5, 0.0)));
    EXPECT_FALSE(unit.containsPoint(Vec3(1.0, 0.5, -1e-300)));
    EXPECT_TRUE(unit.containsPoint(Vec3(std::nan(""), 0.5, 0.5)));
    EXPECT_TRUE(unit.containsBox(unit));
    EXPECT_FALSE(unit.containsBox(Box3(Vec3(std::nan("")), Vec3(0.5))));
    EXPECT_TRUE(unit.intersectsBox(Box3(Vec3(1.0), Vec3(2.0))));
    EXPECT_FALSE(unit.intersectsBox(Box3(Vec3(1.0, 1.0, 1.5), Vec3(2.0))));
}

TEST(Box3, IntersectsTurnsTheObjectIntoTheOverlap)
{
    Box3 box(Vec3(), Vec3(2.0));
    box.intersects(Box3(Vec3(1.0), Vec3(3.0)));
    expectVec(box.min, 1.0, 1.0, 1.0);
    expectVec(box.max, 2.0, 2.0, 2.0);

    box.intersects(Box3(Vec3(5.0), Vec3(6.0)));
    expectEmptyState(box);

    Box3 corner(Vec3(), Vec3(1.0));
    corner.intersects(Box3(Vec3(1.0), Vec3(2.0)));
    expectVec(corner.min, 1.0, 1.0, 1.0);
    expectVec(corner.max, 1.0, 1.0, 1.0);
    Box3 origin(Vec3(-1.0), Vec3());
    origin.intersects(Box3(Vec3(), Vec3(1.0)));
    expectEmptyState(origin);
}

TEST(Box3, GrowthClampAndDistance)
{
    Box3 box(Vec3(), Vec3(1.0));
    box.expandByVector(Vec3(1.0, 0.0, 0.0));
    expectVec(box.getSize(), 3.0, 1.0, 1.0);
    box.translate(Vec3(1.0, 0.0, 0.0));
    expectVec(box.min, 0.0, 0.0, 0.0);

    Box3 shrunk(Vec3(), Vec3(1.0));
    shrunk.expandByScalar(-1.0f);
    expectVec(shrunk.min, 1.0, 1.0, 1.0);
    expectVec(shrunk.max, 0.0, 0.0, 0.0);
    EXPECT_TRUE(shrunk.isEmpty());

    const Box3 unit(Vec3(), Vec3(1.0));
    expectVec(unit.clampPoint(Vec3(0.25, 0.5, 0.75)), 0.25, 0.5, 0.75);
    expectVec(unit.clampPoint(Vec3(4.0, -5.0, 0.5)), 1.0, 0.0, 0.5);
    Box3 far(unit);
    EXPECT_EQ(far.distanceToPoint(Vec3(4.0, 5.0, 0.0)), 5.0);
    EXPECT_EQ(far.distanceToPoint(Vec3(1.0, 1.0, 0.5)), 0.0);
    const Box3 wide(Vec3(-2.0, 0.0, 4.0), Vec3(2.0, 8.0, 5.0));
    expectVec(wide.getParameter(wide.getCenter()), 0.5, 0.5, 0.5);
    expectVec(wide.getParameter(Vec3(4.0, -8.0, 4.0)), 1.5, -1.0, 0.0);

    Box3 sized;
    sized.setFromCenterAndSize(Vec3(1.0, 1.0, 1.0), Vec3(2.0, 4.0, 6.0));
    EXPECT_TRUE(sized == Box3(Vec3(0.0, -1.0, -2.0), Vec3(2.0, 3.0, 4.0)));
}
