// An axis-aligned box of doubles between the corners min and max. The empty state is
// min = largest finite double and max = smallest positive normal double on every axis,
// so growing it by plain min/max keeps that tiny max on axes that see no positive value.
// Nothing enforces min <= max; nothing reports errors.
#pragma once

#include "Vec3.h"

namespace Ostrivane {
namespace GaussianBlur {

class Box3 {
public:
    Vec3 min;
    Vec3 max;

    // The empty state.
    Box3();
    Box3(Vec3 min, Vec3 max);
    Box3(const Box3& o) = default;
    Box3& operator=(const Box3& o) = default;

    void set(Vec3 min, Vec3 max);
    void makeEmpty();
    void setFromCenterAndSize(Vec3 center, Vec3 size);
    // The box of the points; null or a count of 0 gives the empty state, a negative
    // count the box of the first point.
    void setFromPoints(Vec3* points, int count);
    // Grows the empty state by the triples of `length` floats (a multiple of 3, and the
    // array must hold them all); NaN coordinates change nothing.
    void setFromArray(float* values, int length);
    // Vec3's equality on both corners: per axis within kTolerance, inclusive.
    bool operator==(const Box3& o) const;

    void expandByPoint(Vec3 p);
    // min -= v, max += v, whatever the sign of v.
    void expandByVector(Vec3 v);
    // A negative s shrinks the box and may turn it inside out.
    void expandByScalar(float s);
    void translate(Vec3 v);
    // Not a test: the object becomes the intersection, or the empty state when that is
    // empty (a single point at the origin included).
    void intersects(Box3 o);
    // Grows by o's corners, with no test of either box for emptiness.
    void unionBox(Box3 o);

    // Crossed on an axis, or exactly the origin to the origin.
    bool isEmpty() const;
    Vec3 getCenter() const;
    Vec3 getSize() const;
    // Faces inclusive; a NaN coordinate passes.
    bool containsPoint(const Vec3& p) const;
    // Equal faces count as contained; a NaN makes it false.
    bool containsBox(const Box3& o) const;
    // Per axis (p - min) / (max - min): min maps to 0, max to 1.
    Vec3 getParameter(const Vec3& p) const;
    // Boxes that touch on a face or a corner intersect.
    bool intersectsBox(const Box3& o) const;
    Vec3 clampPoint(Vec3 p) const;
    // 0 inside and on the faces.
    double distanceToPoint(Vec3 p);
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
