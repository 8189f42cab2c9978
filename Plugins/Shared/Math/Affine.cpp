#include "Affine.h"

#include <cmath>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// out = x × y, with y acting first; computed into locals, so out may be x or y.
void Product(const double* x, const double* y, double* out) {
    const double n0 = x[0] * y[0] + x[1] * y[3];
    const double n1 = x[0] * y[1] + x[1] * y[4];
    const double n2 = x[0] * y[2] + x[1] * y[5] + x[2];
    const double n3 = x[3] * y[0] + x[4] * y[3];
    const double n4 = x[3] * y[1] + x[4] * y[4];
    const double n5 = x[3] * y[2] + x[4] * y[5] + x[5];
    out[0] = n0;
    out[1] = n1;
    out[2] = n2;
    out[3] = n3;
    out[4] = n4;
    out[5] = n5;
}

// An absolute bound on the determinant: a uniform scale below 0.001 counts as singular.
constexpr double kSingularDeterminant = 1e-06;

}  // namespace

Affine::Affine(bool identity) : m{} {
    if (identity) m[0] = m[4] = 1.0;
}

Affine::Affine(double a, double b, double c, double d, double e, double f) {
    set(a, b, c, d, e, f);
}

void Affine::set(double a, double b, double c, double d, double e, double f) {
    m[0] = a;
    m[3] = b;
    m[1] = c;
    m[4] = d;
    m[2] = e;
    m[5] = f;
}

bool Affine::operator==(const Affine& o) const {
    for (int i = 0; i < 6; ++i)
        if (!(absValue(o.m[i] - m[i]) <= kTolerance)) return false;
    return true;
}

void Affine::setTranslate(double x, double y) {
    m[0] = 1.0;
    m[1] = 0.0;
    m[2] = x;
    m[3] = 0.0;
    m[4] = 1.0;
    m[5] = y;
}

void Affine::setScale(double x, double y) {
    m[0] = x;
    m[1] = 0.0;
    m[2] = 0.0;
    m[3] = 0.0;
    m[4] = y;
    m[5] = 0.0;
}

void Affine::setRotate(double degrees) {
    const double th = degreesToRadians(degrees);
    const double c = std::cos(th);
    const double s = std::sin(th);
    m[0] = c;
    m[1] = -s;
    m[2] = 0.0;
    m[3] = s;
    m[4] = c;
    m[5] = 0.0;
}

void Affine::setSkewX(double degrees) {
    const double t = std::tan(degreesToRadians(degrees));
    m[0] = 1.0;
    m[1] = t;
    m[2] = 0.0;
    m[3] = 0.0;
    m[4] = 1.0;
    m[5] = 0.0;
}

void Affine::setSkewY(double degrees) {
    const double t = std::tan(degreesToRadians(degrees));
    m[0] = 1.0;
    m[1] = 0.0;
    m[2] = 0.0;
    m[3] = t;
    m[4] = 1.0;
    m[5] = 0.0;
}

void Affine::set(Vec2 anchor, Vec2 position, Vec2 scale, double degrees) {
    const double th = degreesToRadians(degrees);
    const double c = std::cos(th);
    const double s = std::sin(th);
    m[0] = scale.x * c;
    m[3] = scale.x * s;
    m[1] = -s * scale.y;
    m[4] = c * scale.y;
    m[2] = position.x;
    m[5] = position.y;
    translate(-anchor.x, -anchor.y);
}

void Affine::multiply(const Affine& o) { Product(o.m, m, m); }

void Affine::premultiply(const Affine& o) { Product(m, o.m, m); }

void Affine::translate(double x, double y) {
    Affine t;
    t.setTranslate(x, y);
    premultiply(t);
}

void Affine::scale(double x, double y) {
    Affine t;
    t.setScale(x, y);
    premultiply(t);
}

void Affine::rotate(double degrees) {
    Affine t;
    t.setRotate(degrees);
    premultiply(t);
}

void Affine::skewX(double degrees) {
    Affine t;
    t.setSkewX(degrees);
    premultiply(t);
}

void Affine::skewY(double degrees) {
    Affine t;
    t.setSkewY(degrees);
    premultiply(t);
}

void Affine::transform(Vec2& v) const {
    transform(v.x, v.y);
}

Vec2 Affine::getTransform(const Vec2& v) const {
    Vec2 r(v);
    transform(r);
    return r;
}

void Affine::transform(double x, double y, double* outX, double* outY) const {
    *outX = m[0] * x + m[1] * y + m[2];
    *outY = m[3] * x + m[4] * y + m[5];
}

void Affine::transform(double& x, double& y) const {
    const double nx = m[0] * x + m[1] * y + m[2];
    const double ny = m[3] * x + m[4] * y + m[5];
    x = nx;
    y = ny;
}

bool Affine::inverse(Affine& out) const {
    const double det = m[0] * m[4] - m[1] * m[3];
    if (-kSingularDeterminant < det && det < kSingularDeterminant) return false;
    const double k = 1.0 / det;
    // Locals first, so out may even be the object.
    const double n0 = m[4] * k;
    const double n1 = -(m[1] * k);
    const double n2 = (m[1] * m[5] - m[4] * m[2]) * k;
    const double n3 = -(m[3] * k);
    const double n4 = m[0] * k;
    const double n5 = (m[3] * m[2] - m[0] * m[5]) * k;
    out.m[0] = n0;
    out.m[1] = n1;
    out.m[2] = n2;
    out.m[3] = n3;
    out.m[4] = n4;
    out.m[5] = n5;
    return true;
}

Affine Affine::getInverse() const {
    Affine r(true);
    inverse(r);
    return r;
}

double Affine::averageScale() const {
    // Row lengths, not column lengths. The rounding to 1/10000 runs in single precision,
    // so the result carries only single-precision accuracy.
    const double r0 = std::sqrt(m[0] * m[0] + m[1] * m[1]);
    const double r1 = std::sqrt(m[3] * m[3] + m[4] * m[4]);
    const double v = (r0 + r1) * 0.5 * 10000.0;
    const float rounded = std::round(static_cast<float>(v));
    return static_cast<double>(rounded / 10000.0f);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
