#include <gtest/gtest.h>

#include <limits>

#include "Range.h"
#include "Rect.h"

using namespace Ostrivane::GaussianBlur;

static void expectRect(const Rect& r, double left, double top, double width, double height)
{
    EXPECT_EQ(r.getLeft(), left);
    EXPECT_EQ(r.getTop(), top);
    EXPECT_EQ(r.getSize().x, width);
    EXPECT_EQ(r.getSize().y, height);
}

TEST(Rect, EdgesAreInclusiveStrictOrTouching)
{
    const Rect a(0.0, 0.0, 10.0, 10.0), b(10.0, 0.0, 10.0, 10.0);
    EXPECT_TRUE(a.containsPoint(Vec2(10.0, 10.0)));
    EXPECT_TRUE(a.containsPoint(Vec2(0.0, 0.0)));
    EXPECT_FALSE(a.containsPoint(Vec2(10.0, 10.000001)));
    EXPECT_TRUE(a.containsRect(a));
    EXPECT_FALSE(a.intersects(b));
    EXPECT_TRUE(a.touches(b));
    EXPECT_FALSE(a.touches(Rect(10.5, 0.0, 1.0, 1.0)));
    EXPECT_TRUE(Rect(5.0, 5.0, 0.0, 0.0).intersects(a));
    // y grows downwards: the bottom is top + height.
    EXPECT_EQ(Rect(1.0, 2.0, 3.0, 4.0).getBottomLeft().y, 6.0);
    EXPECT_EQ(Rect(1.0, 2.0, 3.0, 4.0).getTopRight().x, 4.0);
}

TEST(Rect, IntersectOfDisjointRectanglesHasNegativeSize)
{
    Rect a(0.0, 0.0, 10.0, 10.0);
    expectRect(a.intersect(Rect(10.0, 0.0, 10.0, 10.0)), 10.0, 0.0, 0.0, 10.0);
    const Rect apart = a.intersect(Rect(20.0, 20.0, 5.0, 5.0));
    expectRect(apart, 20.0, 20.0, -10.0, -10.0);
    EXPECT_FALSE(apart.isEmpty());
    EXPECT_EQ(apart.getArea(), 100.0);
    EXPECT_FALSE(Rect(0.0, 0.0, 10.0, 0.0).isEmpty());
    EXPECT_TRUE(Rect().isEmpty());
    expectRect(Rect().unite(Rect(5.0, 5.0, 1.0, 1.0)), 0.0, 0.0, 6.0, 6.0);

    Rect grown(2.0, 2.0, 1.0, 1.0);
    grown.include(Vec2(0.0, 5.0));
    expectRect(grown, 0.0, 2.0, 3.0, 3.0);
    expectRect(grown.getInclude(Vec2(4.0, 1.0)), 0.0, 1.0, 4.0, 4.0);
    expectRect(grown, 0.0, 2.0, 3.0, 3.0);
}

TEST(Rect, ScaleExpandsOnEverySide)
{
    Rect r(0.0, 0.0, 10.0, 10.0);
    expectRect(r.scale(2.0f, 2.0f), -10.0, -10.0, 30.0, 30.0);
    expectRect(r.scale(1.0f, 1.0f), 0.0, 0.0, 10.0, 10.0);
    expectRect(r.scale(0.5f, 0.5f), 5.0, 5.0, 0.0, 0.0);
    expectRect(r.expand(Vec2(1.0, -2.0)), -1.0, 2.0, 12.0, 6.0);
    // 2 d in single precision: 0.1f doubled is 0.2f, not twice the widened 0.1f.
    const Rect e = r.expand(0.1f);
    EXPECT_EQ(e.getLeft(), -static_cast<double>(0.1f));
    EXPECT_EQ(e.getSize().x, 10.0 + static_cast<double>(0.2f));
}

TEST(Rect, SettersMoveOneEdgeOrTheWhole)
{
    Rect r(8.0, 1.0, 4.0, 4.0);
    r.setRight(5.0);
    expectRect(r, 8.0, 1.0, -3.0, 4.0);
    r.setLeft(0.0);
    EXPECT_EQ(r.getRight(), -3.0);
    r.setBottom(0.1f);
    EXPECT_EQ(r.getSize().y, static_cast<double>(0.1f) - 1.0);
    Rect c(0.0, 0.0, 4.0, 2.0);
    c.setCenter(Vec2(10.0, 10.0));
    expectRect(c, 8.0, 9.0, 4.0, 2.0);
    EXPECT_TRUE(c == Rect(8.0 + 0.5e-12, 9.0, 4.0, 2.0 - 0.5e-12));
    EXPECT_TRUE(c != Rect(8.0, 9.0, 4.0 + 2e-12, 2.0));
}

TEST(Range, Constructors)
{
    EXPECT_EQ(Range(true).start, 0);
    EXPECT_EQ(Range(true).length, 2147483647);
    EXPECT_EQ(Range(false).length, 0);
    EXPECT_EQ(Range(1).start, 1);
    EXPECT_EQ(Range(1).length, 0);
    EXPECT_EQ(Range(3, -4).length, -4);
}
