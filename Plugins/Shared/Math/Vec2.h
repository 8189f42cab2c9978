// A 2-vector of doubles: point, direction or size (x width, y height). Angles are in
// degrees, positive from +x towards +y; `add`/`sub`/`mult`/`divide` and the compound
// operators mutate, the binary operators return new vectors. Nothing reports errors.
#pragma once

#include "Float.h"

namespace Ostrivane {
namespace GaussianBlur {

// Result codes of Vec2::intersect.
enum SegmentIntersection {
    Parallel = 0,       // parallel, not on one line; out is (0, 0)
    Crossing = 1,       // within both segments
    Coincident = 2,     // on one line; out is the midpoint of the first segment
    OutsideFirst = 3,   // beyond the first segment, within the second
    OutsideSecond = 4,  // within the first segment, beyond the second
    OutsideBoth = 5     // beyond both
};

class Vec2 {
public:
    double x;
    double y;

    Vec2();
    Vec2(double x, double y);
    Vec2(const Vec2& o) = default;
    Vec2& operator=(const Vec2& o) = default;

    void set(double x, double y);
    void set(const Vec2& o);
    void setZero();
    // Reads values[offset] and values[offset + 1]; a null array leaves the vector as it is.
    void fromArray(double* values, int offset);

    void add(const Vec2& o);
    void add(double v);
    void sub(const Vec2& o);
    void sub(double v);
    void mult(const Vec2& o);
    void mult(double v);
    void divide(const Vec2& o);
    void divide(double v);
    void operator+=(const Vec2& o);
    void operator+=(double v);
    void operator-=(const Vec2& o);
    void operator-=(double v);
    void operator*=(const Vec2& o);
    void operator*=(double v);
    void operator/=(const Vec2& o);
    void operator/=(double v);

    Vec2 operator+(const Vec2& o) const;
    Vec2 operator+(double v) const;
    Vec2 operator-(const Vec2& o) const;
    Vec2 operator-(double v) const;
    Vec2 operator*(const Vec2& o) const;
    Vec2 operator*(double v) const;
    Vec2 operator/(const Vec2& o) const;
    Vec2 operator/(double v) const;
    // fmod per component: the result takes the sign of the dividend.
    Vec2 modulo(const Vec2& o) const;
    Vec2 operator%(const Vec2& o) const;

    // Per axis, |difference| <= kTolerance (inclusive).
    bool operator==(const Vec2& o) const;
    bool operator!=(const Vec2& o) const;
    // Per axis, |difference| <= tolerance (inclusive).
    bool equal(const Vec2& o, double tolerance = kTolerance) const;
    // Exactly (0, 0).
    bool isZero() const;
    // Euclidean: squared distance strictly below tolerance squared.
    static bool equalWithTolerance(double x1, double y1, double x2, double y2, double tolerance);
    static bool equalWithTolerance(Vec2 a, Vec2 b, double tolerance);
    // Per axis, |difference| strictly below 0.25.
    static bool isDuplicate(const Vec2& a, const Vec2& b);
    // Each component strictly between -1e-12 and 1e-12.
    bool negligible() const;
    static bool negligible(double v);
    bool nonNegligible() const;
    // Tolerances relative to both lengths, limits inclusive; a zero vector passes both.
    bool isCollinear(const Vec2& o) const;
    bool isOrthogonal(const Vec2& o) const;

    double dot(const Vec2& o) const;
    // The componentwise product, not a scalar.
    Vec2 dotProduction(const Vec2& o) const;
    double cross(const Vec2& o) const;
    static double cross(double x1, double y1, double x2, double y2);
    double length() const;
    double lengthSquare() const;
    double distance(const Vec2& o) const;
    static double distanceSquared(const Vec2& a, const Vec2& b);
    // The zero vector becomes (l, 0).
    void setLength(double l);
    // The zero vector becomes (1, 0); there is no tolerance.
    void normalize();
    // Leaves a vector of length at most 1e-12 alone.
    static void normalize(double* x, double* y);
    Vec2 negate() const;
    // (-y, x), not scaled to unit length.
    Vec2 normal() const;
    Vec2 perpindicularLeft() const;
    Vec2 perpindicularRight() const;
    // The object becomes (-y, x).
    void prepen();
    double slope() const;
    // Mutators: on a tie or NaN getMin keeps its own component, getMax takes o's.
    void getMin(const Vec2& o);
    void getMax(const Vec2& o);
    void clamp(const Vec2& low, const Vec2& high);
    // Negates each component whose positivity differs from o's (zero is not positive).
    void followSigns(const Vec2& o);
    static Vec2 lerp(Vec2 a, Vec2 b, double t);

    // Rotations in degrees; exactly 0 degrees does no arithmetic at all.
    void rotate(double degrees);
    void rotateAround(double degrees, const Vec2& center);
    Vec2 rotateRound(double degrees, const Vec2& center) const;
    // Degrees in [-180, 180]; 0 for the zero vector.
    double getAngle() const;
    void setAngle(double degrees);
    // Signed degrees from the object to o, positive counter-clockwise.
    double angleBetween(const Vec2& o) const;
    // 1 to 4, zero counting as positive.
    int getQuadrant() const;
    static bool oppositeQuadrant(const Vec2& a, const Vec2& b);
    // Projection on o; (0, 0) when o is exactly zero.
    Vec2 project(const Vec2& o) const;
    // Distance from the object to the infinite line through a and b (NaN when a == b).
    double distanceToLine(const Vec2& a, const Vec2& b) const;
    // Distance from a to the object's foot on that line, never negative.
    double lineProjectionLength(const Vec2& a, const Vec2& b) const;
    // Twice the signed triangle area, positive counter-clockwise.
    static double signedArea(const Vec2& a, const Vec2& b, const Vec2& c);
    // Whether c and d lie on different sides of the line through a and b.
    static bool intersecting(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d);
    // Segments a-b and c-d; returns a SegmentIntersection code. t and u may be null.
    static int intersect(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d, Vec2& out, double* t,
                         double* u);
    // Whether v points from b towards a (strictly); v is not changed.
    static bool anchorOutwardD(Vec2& v, const Vec2& a, const Vec2& b);
    // Negates v when its outwardness equals flip and then returns true.
    static bool anchorOutward(Vec2& v, const Vec2& a, const Vec2& b, bool flip = false);
    static bool anchorInward(Vec2& v, const Vec2& a, const Vec2& b);
    // Centred y-up frame to top-left y-down frame of an area of the given size, and back.
    static Vec2 centerToTopLefetPoint(const Vec2& p, const Vec2& size);
    static Vec2 topLeftToCenterPoint(const Vec2& p, const Vec2& size);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
