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

TEST(Rect, ScaleExpandsOnEverySideAndSettersMoveOneEdge) {
    Rect r(0.0, 0.0, 10.0, 10.0);
    expectRect(r.scale(2.0f, 2.0f), -10.0, -10.0, 30.0, 30.0);
    expectRect(r.scale(0.5f, 0.5f), 5.0, 5.0, 0.0, 0.0);
    // 2 d in single precision: 0.1f doubled is 0.2f, not twice the widened 0.1f.
    EXPECT_EQ(r.expand(0.1f).getSize().x, 10.0 + static_cast<double>(0.2f));

    Rect s(8.0, 1.0, 4.0, 4.0);
    s.setRight(5.0);
    expectRect(s, 8.0, 1.0, -3.0, 4.0);
    s.setLeft(0.0);
    EXPECT_EQ(s.getRight(), -3.0);
    EXPECT_EQ(Range(true).length, 2147483647);
    EXPECT_EQ(Range(1).start, 1);
    EXPECT_EQ(Range(1).length, 0);
}
