#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "Vec2.h"

using namespace Ostrivane::GaussianBlur;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectVec(const Vec2& v, double x, double y, double tolerance = 0.0)
{
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
}

}  // namespace

TEST(Vec2, ArithmeticMutatesOrReturnsNew)
{
    Vec2 v(1.0, 2.0);
    v += Vec2(3.0, 4.0);
    v *= 2.0;
    v -= 1.0;
    v /= Vec2(7.0, 11.0);
    expectVec(v, 1.0, 1.0);

    const Vec2 a(6.0, 8.0);
    expectVec(a / 2.0, 3.0, 4.0);
    expectVec(a * Vec2(0.5, 0.25), 3.0, 2.0);
    expectVec(a.dotProduction(Vec2(0.5, 0.25)), 3.0, 2.0);
    expectVec(a, 6.0, 8.0);
    // The remainder takes the dividend's sign.
    expectVec(Vec2(-7.0, 7.0) % Vec2(3.0, -3.0), -1.0, 1.0);
    EXPECT_TRUE(std::isinf((Vec2(1.0, 0.0) / 0.0).x));

    double values[] = {9.0, 1.5, 2.5};
    Vec2 f(4.0, 5.0);
    f.fromArray(nullptr, 0);
    expectVec(f, 4.0, 5.0);
    f.fromArray(values, 1);
    expectVec(f, 1.5, 2.5);
}

TEST(Vec2, ZeroVectorsNormaliseAlongX)
{
    Vec2 v;
    v.normalize();
    expectVec(v, 1.0, 0.0);
    Vec2 w;
    w.setLength(5.0);
    expectVec(w, 5.0, 0.0);
    Vec2 s(3.0, 4.0);
    s.setLength(0.0);
    expectVec(s, 0.0, 0.0);
    Vec2 n(3.0, 4.0);
    n.normalize();
    expectVec(n, 0.6, 0.8, 1e-15);

    // No tolerance in the member; the static form leaves negligible lengths alone.
    Vec2 tiny(1e-13, 0.0);
    tiny.normalize();
    expectVec(tiny, 1.0, 0.0);
    double x = 1e-13, y = 0.0;
    Vec2::normalize(&x, &y);
    EXPECT_EQ(x, 1e-13);
    EXPECT_EQ(y, 0.0);
    x = 0.0;
    y = -2.0;
    Vec2::normalize(&x, &y);
    EXPECT_EQ(y, -1.0);
}

TEST(Vec2, EqualityBoundaries)
{
    // Per axis and inclusive.
    EXPECT_TRUE(Vec2(0.0, 0.0) == Vec2(1e-12, -1e-12));
    EXPECT_FALSE(Vec2(0.0, 0.0) == Vec2(1.0001e-12, 0.0));
    EXPECT_TRUE(Vec2(0.0, 0.0).equal(Vec2(1e-12, 0.0)));
    EXPECT_TRUE(Vec2(0.0, 0.0).equal(Vec2(0.5, -0.5), 0.5));
    EXPECT_FALSE(Vec2(kNaN, 0.0) == Vec2(kNaN, 0.0));
    EXPECT_TRUE(Vec2(kNaN, 0.0) != Vec2(kNaN, 0.0));

    // Strict.
    EXPECT_FALSE(Vec2::negligible(1e-12));
    EXPECT_TRUE(Vec2::negligible(-0.999e-12));
    EXPECT_TRUE(Vec2(0.5e-12, -0.5e-12).negligible());
    EXPECT_FALSE(Vec2(kNaN, 0.0).negligible());
    EXPECT_TRUE(Vec2(kNaN, 0.0).nonNegligible());
    EXPECT_TRUE(Vec2(-0.0, 0.0).isZero());
    EXPECT_FALSE(Vec2(1e-300, 0.0).isZero());

    // Euclidean and strict: 3-4-5 sits on the boundary; 0.8 per axis exceeds 1.
    EXPECT_FALSE(Vec2::equalWithTolerance(0.0, 0.0, 3.0, 4.0, 5.0));
    EXPECT_TRUE(Vec2::equalWithTolerance(Vec2(0.0, 0.0), Vec2(3.0, 4.0), 5.000001));
    EXPECT_FALSE(Vec2::equalWithTolerance(Vec2(0.0, 0.0), Vec2(0.8, 0.8), 1.0));

    EXPECT_FALSE(Vec2::isDuplicate(Vec2(1.0, 1.0), Vec2(1.25, 1.0)));
    EXPECT_TRUE(Vec2::isDuplicate(Vec2(1.0, 1.0), Vec2(1.24, 0.76)));
}

TEST(Vec2, CollinearAndOrthogonalAreRelative)
{
    EXPECT_FALSE(Vec2(1.0, 1.0).isOrthogonal(Vec2(1.0, 1.0)));
    EXPECT_TRUE(Vec2(1.0, 1.0).isOrthogonal(Vec2(1.0, -1.0)));
    EXPECT_TRUE(Vec2(2.0, 1.0).isCollinear(Vec2(-4.0, -2.0)));
    EXPECT_FALSE(Vec2(1.0, 0.0).isCollinear(Vec2(1.0, 1e-9)));
    EXPECT_TRUE(Vec2().isCollinear(Vec2(3.0, 4.0)));
    EXPECT_TRUE(Vec2().isOrthogonal(Vec2(3.0, 4.0)));
    // The cross product is 0.1, but relative to lengths of 1e6 that is within 1e-12.
    EXPECT_TRUE(Vec2(1e6, 0.0).isCollinear(Vec2(1e6, 1e-7)));
}

TEST(Vec2, ProductsAndPerpendiculars)
{
    const Vec2 a(3.0, 4.0);
    EXPECT_EQ(a.dot(Vec2(2.0, -1.0)), 2.0);
    EXPECT_EQ(a.cross(Vec2(2.0, -1.0)), -11.0);
    EXPECT_EQ(Vec2::cross(3.0, 4.0, 2.0, -1.0), -11.0);
    EXPECT_EQ(a.length(), 5.0);
    EXPECT_EQ(a.distance(Vec2(0.0, 8.0)), 5.0);
    EXPECT_EQ(Vec2::distanceSquared(a, Vec2(0.0, 8.0)), 25.0);
    EXPECT_EQ(Vec2(1.0, 4.0).slope(), 4.0);
    expectVec(a.negate(), -3.0, -4.0);
    expectVec(a.normal(), -4.0, 3.0);
    expectVec(a.perpindicularLeft(), -4.0, 3.0);
    expectVec(a.perpindicularRight(), 4.0, -3.0);
    Vec2 p = a;
    p.prepen();
    expectVec(p, -4.0, 3.0);
    expectVec(Vec2::lerp(Vec2(1.0, 2.0), Vec2(3.0, 6.0), 0.0), 1.0, 2.0);
    expectVec(Vec2::lerp(Vec2(1.0, 2.0), Vec2(3.0, 6.0), 1.0), 3.0, 6.0);
    expectVec(Vec2::lerp(Vec2(1.0, 2.0), Vec2(3.0, 6.0), 2.0), 5.0, 10.0);
}

TEST(Vec2, MinMaxTiesNaNAndSigns)
{
    Vec2 lo(1.0, 5.0);
    lo.getMin(Vec2(2.0, 3.0));
    expectVec(lo, 1.0, 3.0);
    Vec2 hi(1.0, 5.0);
    hi.getMax(Vec2(2.0, 3.0));
    expectVec(hi, 2.0, 5.0);

    // +0 and -0 tie: getMin keeps its own, getMax takes the argument's. A NaN likewise.
    Vec2 tieMin(0.0, 1.0);
    tieMin.getMin(Vec2(-0.0, kNaN));
    EXPECT_FALSE(std::signbit(tieMin.x));
    EXPECT_EQ(tieMin.y, 1.0);
    Vec2 tieMax(0.0, 1.0);
    tieMax.getMax(Vec2(-0.0, kNaN));
    EXPECT_TRUE(std::signbit(tieMax.x));
    EXPECT_TRUE(std::isnan(tieMax.y));

    Vec2 c(-5.0, 5.0);
    c.clamp(Vec2(0.0, 0.0), Vec2(1.0, 1.0));
    expectVec(c, 0.0, 1.0);

    Vec2 s(2.0, -3.0);
    s.followSigns(Vec2(-1.0, 5.0));
    expectVec(s, -2.0, 3.0);
    // Zero counts as not positive on both sides.
    Vec2 z(-1.0, 0.0);
    z.followSigns(Vec2(0.0, 1.0));
    EXPECT_EQ(z.x, -1.0);
    EXPECT_TRUE(std::signbit(z.y));
}

TEST(Vec2, RotationUsesTheFourteenDigitFactor)
{
    Vec2 v(1.0, 0.0);
    v.rotate(90.0);
    // cos(pi/2 - d) is d to first order, d being how far 90 times the factor falls short.
    const double th = 90.0 * 0.017453292519943;
    const double shortfall = static_cast<double>(3.14159265358979323846264338327950288L / 2 - th);
    EXPECT_NEAR(v.x, shortfall, 1e-18);
    EXPECT_GT(v.x, 2.6e-14);
    EXPECT_EQ(v.y, 1.0);

    // Exactly 0 degrees touches nothing, not even a NaN's payload.
    double nan;
    const std::uint64_t payload = 0x7FF8000000001234u;
    std::memcpy(&nan, &payload, sizeof nan);
    Vec2 n(nan, 2.0);
    n.rotate(0.0);
    std::uint64_t after;
    std::memcpy(&after, &n.x, sizeof after);
    EXPECT_EQ(after, payload);

    Vec2 r(2.0, 1.0);
    r.rotateAround(90.0, Vec2(1.0, 1.0));
    expectVec(r, 1.0, 2.0, 1e-13);
    const Vec2 k(2.0, 1.0);
    expectVec(k.rotateRound(-90.0, Vec2(1.0, 1.0)), 1.0, 0.0, 1e-13);
    expectVec(k, 2.0, 1.0);
}

TEST(Vec2, AnglesAndQuadrants)
{
    EXPECT_EQ(Vec2().getAngle(), 0.0);
    EXPECT_NEAR(Vec2(-1.0, 0.0).getAngle(), 180.0, 1e-12);
    EXPECT_NEAR(Vec2(0.0, -2.0).getAngle(), -90.0, 1e-12);
    EXPECT_NEAR(Vec2(1.0, 0.0).angleBetween(Vec2(0.0, 3.0)), 90.0, 1e-12);
    EXPECT_NEAR(Vec2(0.0, 3.0).angleBetween(Vec2(1.0, 0.0)), -90.0, 1e-12);
    EXPECT_EQ(Vec2().angleBetween(Vec2(1.0, 0.0)), 0.0);

    Vec2 s(3.0, 4.0);
    s.setAngle(90.0);
    expectVec(s, 0.0, 5.0, 1e-12);
    Vec2 zero;
    zero.setAngle(45.0);
    EXPECT_TRUE(zero.isZero());

    EXPECT_EQ(Vec2(0.0, 0.0).getQuadrant(), 1);
    EXPECT_EQ(Vec2(-1.0, 0.0).getQuadrant(), 2);
    EXPECT_EQ(Vec2(-1.0, -1.0).getQuadrant(), 3);
    EXPECT_EQ(Vec2(0.0, -1.0).getQuadrant(), 4);

    EXPECT_TRUE(Vec2::oppositeQuadrant(Vec2(1.0, 1.0), Vec2(-1.0, -1.0)));
    EXPECT_TRUE(Vec2::oppositeQuadrant(Vec2(1.0, 0.0), Vec2(-1.0, 0.0)));
    EXPECT_TRUE(Vec2::oppositeQuadrant(Vec2(0.0, 2.0), Vec2(0.0, -1.0)));
    EXPECT_TRUE(Vec2::oppositeQuadrant(Vec2(1.0, 0.0), Vec2(0.0, 1.0)));
    EXPECT_TRUE(Vec2::oppositeQuadrant(Vec2(0.0, 0.0), Vec2(1.0, 1.0)));
    EXPECT_FALSE(Vec2::oppositeQuadrant(Vec2(0.0, 0.0), Vec2(0.0, 0.0)));
    EXPECT_FALSE(Vec2::oppositeQuadrant(Vec2(1.0, 1.0), Vec2(-1.0, 1.0)));
    EXPECT_FALSE(Vec2::oppositeQuadrant(Vec2(1.0, 1.0), Vec2(1.0, -1.0)));
    EXPECT_FALSE(Vec2::oppositeQuadrant(Vec2(0.0, 1.0), Vec2(0.0, 2.0)));
}

TEST(Vec2, ProjectionAndLines)
{
    expectVec(Vec2(2.0, 3.0).project(Vec2()), 0.0, 0.0);
    expectVec(Vec2(2.0, 3.0).project(Vec2(4.0, 0.0)), 2.0, 0.0);
    expectVec(Vec2(2.0, 3.0).project(Vec2(1.0, 1.0)), 2.5, 2.5);

    // The infinite line, with no clamp to the segment.
    EXPECT_EQ(Vec2(5.0, 3.0).distanceToLine(Vec2(0.0, 0.0), Vec2(1.0, 0.0)), 3.0);
    EXPECT_EQ(Vec2(-4.0, 3.0).lineProjectionLength(Vec2(0.0, 0.0), Vec2(1.0, 0.0)), 4.0);
    EXPECT_TRUE(std::isnan(Vec2(1.0, 1.0).distanceToLine(Vec2(2.0, 2.0), Vec2(2.0, 2.0))));

    EXPECT_EQ(Vec2::signedArea(Vec2(0.0, 0.0), Vec2(1.0, 0.0), Vec2(0.0, 1.0)), 1.0);
    EXPECT_EQ(Vec2::signedArea(Vec2(0.0, 0.0), Vec2(0.0, 1.0), Vec2(1.0, 0.0)), -1.0);

    const Vec2 a(0.0, 0.0), b(1.0, 0.0);
    EXPECT_TRUE(Vec2::intersecting(a, b, Vec2(0.5, 1.0), Vec2(0.5, -1.0)));
    EXPECT_TRUE(Vec2::intersecting(a, b, Vec2(5.0, 1.0), Vec2(5.0, -1.0)));
    // A point on the line counts with the negative side.
    EXPECT_FALSE(Vec2::intersecting(a, b, Vec2(0.5, 0.0), Vec2(0.5, -1.0)));
    EXPECT_TRUE(Vec2::intersecting(a, b, Vec2(0.5, 0.0), Vec2(0.5, 1.0)));
}

TEST(Vec2, IntersectCodes)
{
    Vec2 out;
    double t = 42.0, u = 42.0;
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(2, 0), Vec2(1, -1), Vec2(1, 1), out, &t, &u), Crossing);
    expectVec(out, 1.0, 0.0);
    EXPECT_EQ(t, 0.5);
    EXPECT_EQ(u, 0.5);

    // 0 and 1 count as inside.
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(1, 0), Vec2(1, 1), out, &t, &u), Crossing);
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(u, 0.0);

    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(3, -1), Vec2(3, 1), out, &t, &u), OutsideFirst);
    expectVec(out, 3.0, 0.0);
    EXPECT_EQ(t, 3.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(4, 0), Vec2(1, 1), Vec2(1, 2), out, &t, &u), OutsideSecond);
    expectVec(out, 1.0, 0.0);
    EXPECT_EQ(u, -1.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(3, 1), Vec2(3, 2), out, nullptr, nullptr),
              OutsideBoth);
    expectVec(out, 3.0, 0.0);

    // Parallel and coincident write out but neither t nor u.
    t = u = 42.0;
    out.set(9.0, 9.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(0, 1), Vec2(1, 1), out, &t, &u), Parallel);
    expectVec(out, 0.0, 0.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(2, 2), Vec2(0, 0), Vec2(2, 2), out, &t, &u), Coincident);
    expectVec(out, 1.0, 1.0);
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1, 0), Vec2(2, 0), Vec2(3, 0), out, &t, &u), Coincident);
    expectVec(out, 0.5, 0.0);
    EXPECT_EQ(t, 42.0);
    EXPECT_EQ(u, 42.0);

    // The bounds are absolute: segments of 1e-7 that cross read as coincident.
    EXPECT_EQ(Vec2::intersect(Vec2(0, 0), Vec2(1e-7, 0), Vec2(5e-8, -1e-7), Vec2(5e-8, 1e-7), out,
                              nullptr, nullptr),
              Coincident);
    expectVec(out, 5e-8, 0.0);
}

TEST(Vec2, AnchoringDirections)
{
    const Vec2 a(1.0, 0.0), b(0.0, 0.0);
    Vec2 v(1.0, 0.0);  // already points from b towards a
    EXPECT_TRUE(Vec2::anchorOutwardD(v, a, b));
    EXPECT_FALSE(Vec2::anchorOutward(v, a, b, false));
    expectVec(v, 1.0, 0.0);
    EXPECT_TRUE(Vec2::anchorInward(v, a, b));
    expectVec(v, -1.0, 0.0);
    EXPECT_TRUE(Vec2::anchorOutward(v, a, b));
    expectVec(v, 1.0, 0.0);

    // Perpendicular (s exactly 0): outward reverses, inward keeps.
    Vec2 p(0.0, 1.0);
    EXPECT_FALSE(Vec2::anchorOutwardD(p, a, b));
    EXPECT_FALSE(Vec2::anchorInward(p, a, b));
    expectVec(p, 0.0, 1.0);
    EXPECT_TRUE(Vec2::anchorOutward(p, a, b, false));
    expectVec(p, 0.0, -1.0);
}

TEST(Vec2, FrameConversions)
{
    const Vec2 size(100.0, 50.0);
    expectVec(Vec2::centerToTopLefetPoint(Vec2(0.0, 0.0), size), 50.0, 25.0);
    expectVec(Vec2::centerToTopLefetPoint(Vec2(10.0, 10.0), size), 60.0, 15.0);
    expectVec(Vec2::topLeftToCenterPoint(Vec2(0.0, 0.0), size), -50.0, 25.0);
    expectVec(Vec2::topLeftToCenterPoint(Vec2(60.0, 15.0), size), 10.0, 10.0);
}
