#include <gtest/gtest.h>

#include <cmath>

#include "Affine.h"

using namespace Ostrivane::GaussianBlur;

static void expectPoint(const Vec2& p, double x, double y, double tolerance = 0.0) {
    EXPECT_NEAR(p.x, x, tolerance);
    EXPECT_NEAR(p.y, y, tolerance);
}

static Affine translation(double x, double y) {
    Affine a;
    a.setTranslate(x, y);
    return a;
}

static Affine scaling(double x, double y) {
    Affine a;
    a.setScale(x, y);
    return a;
}

TEST(Affine, MultiplyActsAfterPremultiplyBefore) {
    const Vec2 p(1, 1);
    Affine a = translation(10, 0), b = translation(10, 0);
    a.multiply(scaling(2, 3));     // scale after translate
    b.premultiply(scaling(2, 3));  // scale before translate
    expectPoint(a.getTransform(p), 22, 3);
    expectPoint(b.getTransform(p), 12, 3);
}

TEST(Affine, LayerTransformMapsAnchorToPosition) {
    const Vec2 anchor(10, 20);
    Affine a(false);
    a.set(anchor, Vec2(100, 50), Vec2(2, 3), 30.0);
    expectPoint(a.getTransform(anchor), 100, 50, 1e-12);
    // One unit right of the anchor: scaled to 2, then turned by 30 degrees.
    expectPoint(a.getTransform(Vec2(11, 20)), 100 + std::sqrt(3.0), 51, 1e-12);
    // One unit up: scaled to 3, turned to (-3 sin 30, 3 cos 30).
    expectPoint(a.getTransform(Vec2(10, 21)), 98.5, 50 + 1.5 * std::sqrt(3.0), 1e-12);
}

TEST(Affine, InverseAndSingularBound) {
    EXPECT_TRUE(Affine(2, 0, 0, 4, 6, 8).getInverse() == Affine(0.5, 0, 0, 0.25, -3, -2));
    Affine m = translation(3, -7), inv(false);
    m.rotate(33.0);
    m.scale(2.0, 0.5);
    m.skewX(10.0);
    ASSERT_TRUE(m.inverse(inv));
    expectPoint(inv.getTransform(m.getTransform(Vec2(4, -9))), 4, -9, 1e-12);

    // Stored (1, 2, 3, 2, 4, 6): det 0. out stays; getInverse hides it behind the identity.
    const Affine singular(1, 2, 2, 4, 3, 6);
    Affine out = translation(7, 8);
    EXPECT_FALSE(singular.inverse(out));
    EXPECT_TRUE(out == translation(7, 8));
    EXPECT_TRUE(singular.getInverse() == Affine(true));

    EXPECT_FALSE(scaling(0.999e-6, 1.0).inverse(out));
    EXPECT_FALSE(scaling(-0.999e-6, 1.0).inverse(out));
    EXPECT_TRUE(scaling(1e-6, 1.0).inverse(out));
    EXPECT_TRUE(scaling(-1e-6, 1.0).inverse(out));
}
