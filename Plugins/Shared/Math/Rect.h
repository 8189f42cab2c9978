// An axis-aligned rectangle of doubles stored as left, top, width, height, with y growing
// downwards (top is the smaller y). Right and bottom are derived; sizes may be negative or
// NaN and nothing normalises them. Edge tests compare exactly, with no tolerance.
#pragma once

#include "Vec2.h"
#include "Vec4.h"

namespace Ostrivane {
namespace GaussianBlur {

class Rect {
public:
    // (0, 0, 0, 0).
    Rect();
    Rect(Vec2 point, Vec2 size);
    Rect(double left, double top, double width, double height);
    Rect(const Rect& o) = default;
    Rect& operator=(const Rect& o) = default;

    // Per value, |difference| <= kTolerance (inclusive).
    bool operator==(const Rect& o) const;
    bool operator!=(const Rect& o) const;

    Vec2 getPoint() const;
    void setPoint(Vec2 p);
    Vec2 getSize() const;
    void setSize(Vec2 s);
    // Moves the left edge and with it the right one.
    double getLeft() const;
    void setLeft(double v);
    double getTop() const;
    void setTop(double v);
    // Keeps the left edge and changes the width.
    double getRight() const;
    void setRight(double v);
    // Keeps the top edge and changes the height; the argument is single precision.
    double getBottom() const;
    void setBottom(float v);
    // Centre setters move the rectangle and keep its size.
    double getCenterX() const;
    void setCenterX(double c);
    double getCenterY() const;
    void setCenterY(double c);
    Vec2 getCenter() const;
    void setCenter(Vec2 c);
    Vec2 getTopLeft() const;
    Vec2 getTopRight() const;
    Vec2 getBottomLeft() const;
    Vec2 getBottomRight() const;
    // Signed, as the width and height are.
    double getArea() const;
    // Width and height both exactly 0.
    bool isEmpty() const;

    // All four edges inclusive.
    bool containsPoint(Vec2 p) const;
    bool containsRect(Rect r) const;
    // All strict: sharing only an edge or a corner doesn't intersect.
    bool intersects(Rect r) const;
    // All inclusive: sharing only an edge or a corner touches.
    bool touches(Rect r) const;

    // The overlap; for disjoint rectangles the size comes out negative, unclamped.
    Rect intersect(Rect r);
    // The bounds of both; a rectangle of zero size takes part through its corner.
    Rect unite(Rect r);
    // Mutates: grows to take in p.
    void include(Vec2 p);
    Rect getInclude(Vec2 p);
    // d on every side: (left - d.x, top - d.y, width + 2 d.x, height + 2 d.y); negative d shrinks.
    Rect expand(Vec2 d);
    // 2 d is formed in single precision before it is widened for the size.
    Rect expand(float d);
    // expand by (sx w - w, sy h - h): the centre stays and the width becomes (2 sx - 1) w.
    Rect scale(float sx, float sy);

private:
    // x left, y top, z width, w height.
    Vec4 mValues;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
