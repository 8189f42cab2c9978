#include "Rect.h"

#include <algorithm>

namespace Ostrivane {
namespace GaussianBlur {

Rect::Rect() : mValues() {}

Rect::Rect(Vec2 point, Vec2 size) : mValues(point.x, point.y, size.x, size.y) {}

Rect::Rect(double left, double top, double width, double height) : mValues(left, top, width, height) {}

bool Rect::operator==(const Rect& o) const {
    // Per value, unlike Vec4's Euclidean equality.
    return absValue(mValues.x - o.mValues.x) <= kTolerance &&
           absValue(mValues.y - o.mValues.y) <= kTolerance &&
           absValue(mValues.z - o.mValues.z) <= kTolerance && absValue(mValues.w - o.mValues.w) <= kTolerance;
}

bool Rect::operator!=(const Rect& o) const {
    return !(*this == o);
}

Vec2 Rect::getPoint() const {
    return Vec2(mValues.x, mValues.y);
}

void Rect::setPoint(Vec2 p) {
    mValues.x = p.x;
    mValues.y = p.y;
}

Vec2 Rect::getSize() const {
    return Vec2(mValues.z, mValues.w);
}

void Rect::setSize(Vec2 s) {
    mValues.z = s.x;
    mValues.w = s.y;
}

double Rect::getLeft() const {
    return mValues.x;
}
void Rect::setLeft(double v) {
    mValues.x = v;
}
double Rect::getTop() const {
    return mValues.y;
}
void Rect::setTop(double v) {
    mValues.y = v;
}
double Rect::getRight() const {
    return mValues.x + mValues.z;
}
void Rect::setRight(double v) {
    mValues.z = v - mValues.x;
}
double Rect::getBottom() const {
    return mValues.y + mValues.w;
}
void Rect::setBottom(float v) {
    mValues.w = static_cast<double>(v) - mValues.y;
}

double Rect::getCenterX() const {
    return mValues.z * 0.5 + mValues.x;
}
void Rect::setCenterX(double c) {
    mValues.x = c - 0.5 * mValues.z;
}
double Rect::getCenterY() const {
    return mValues.w * 0.5 + mValues.y;
}
void Rect::setCenterY(double c) {
    mValues.y = c - 0.5 * mValues.w;
}
Vec2 Rect::getCenter() const {
    return Vec2(getCenterX(), getCenterY());
}

void Rect::setCenter(Vec2 c) {
    setCenterX(c.x);
    setCenterY(c.y);
}

Vec2 Rect::getTopLeft() const {
    return Vec2(mValues.x, mValues.y);
}
Vec2 Rect::getTopRight() const {
    return Vec2(getRight(), mValues.y);
}
Vec2 Rect::getBottomLeft() const {
    return Vec2(mValues.x, getBottom());
}
Vec2 Rect::getBottomRight() const {
    return Vec2(getRight(), getBottom());
}
double Rect::getArea() const {
    return mValues.z * mValues.w;
}
bool Rect::isEmpty() const {
    return mValues.z == 0.0 && mValues.w == 0.0;
}

bool Rect::containsPoint(Vec2 p) const {
    return getLeft() <= p.x && getTop() <= p.y && p.x <= getRight() && p.y <= getBottom();
}

bool Rect::containsRect(Rect r) const {
    return getLeft() <= r.getLeft() && getTop() <= r.getTop() && r.getRight() <= getRight() &&
           r.getBottom() <= getBottom();
}

bool Rect::intersects(Rect r) const {
    return getLeft() < r.getRight() && getTop() < r.getBottom() && r.getLeft() < getRight() &&
           r.getTop() < getBottom();
}

bool Rect::touches(Rect r) const {
    return getLeft() <= r.getRight() && getTop() <= r.getBottom() && r.getLeft() <= getRight() &&
           r.getTop() <= getBottom();
}

Rect Rect::intersect(Rect r) {
    const double left = std::max(getLeft(), r.getLeft());
    const double top = std::max(getTop(), r.getTop());
    const double right = std::min(getRight(), r.getRight());
    const double bottom = std::min(getBottom(), r.getBottom());
    return Rect(left, top, right - left, bottom - top);
}

Rect Rect::unite(Rect r) {
    const double left = std::min(getLeft(), r.getLeft());
    const double top = std::min(getTop(), r.getTop());
    const double right = std::max(getRight(), r.getRight());
    const double bottom = std::max(getBottom(), r.getBottom());
    return Rect(left, top, right - left, bottom - top);
}

void Rect::include(Vec2 p) {
    // Both far edges are taken before the corner moves.
    const double right = std::max(getRight(), p.x);
    const double bottom = std::max(getBottom(), p.y);
    mValues.x = std::min(getLeft(), p.x);
    mValues.y = std::min(getTop(), p.y);
    mValues.z = right - mValues.x;
    mValues.w = bottom - mValues.y;
}

Rect Rect::getInclude(Vec2 p) {
    Rect result(*this);
    result.include(p);
    return result;
}

Rect Rect::expand(Vec2 d) {
    return Rect(mValues.x - d.x, mValues.y - d.y, mValues.z + 2.0 * d.x, mValues.w + 2.0 * d.y);
}

Rect Rect::expand(float d) {
    const double side = d;
    const double both = 2.0f * d;
    return Rect(mValues.x - side, mValues.y - side, mValues.z + both, mValues.w + both);
}

Rect Rect::scale(float sx, float sy) {
    return expand(Vec2(sx * mValues.z - mValues.z, sy * mValues.w - mValues.w));
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
