#include <gtest/gtest.h>

#include "Range.h"
#include "Rect.h"

using namespace Ostrivane::GaussianBlur;

static void expectRect(const Rect& r, double left, double top, double width, double height) {
    EXPECT_EQ(r.getLeft(), left);
    EXPECT_EQ(r.getTop(), top);
    EXPECT_EQ(r.getSize().x, width);
    EXPECT_EQ(r.getSize().y, height);
}

TEST(Rect, EdgesIntersectionAndUnion) {
    Rect a(0.0, 0.0, 10.0, 10.0);
    const Rect b(10.0, 0.0, 10.0, 10.0);
    EXPECT_TRUE(a.containsPoint(Vec2(10.0, 10.0)));
    EXPECT_FALSE(a.intersects(b));
    EXPECT_TRUE(a.touches(b));
    EXPECT_TRUE(Rect(5.0, 5.0, 0.0, 0.0).intersects(a));
    expectRect(a.intersect(b), 10.0, 0.0, 0.0, 10.0);
    const Rect apart = a.intersect(Rect(20.0, 20.0, 5.0, 5.0));
    expectRect(apart, 20.0, 20.0, -10.0, -10.0);
    EXPECT_FALSE(apart.isEmpty());
    expectRect(Rect().unite(Rect(5.0, 5.0, 1.0, 1.0)), 0.0, 0.0, 6.0, 6.0);
}
