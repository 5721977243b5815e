#pragma once

#include <algorithm>
#include <cmath>

/** Geometry in the plane, in double precision, of anything with x and y. */
namespace kelvokit::test {

/** Twice the signed area of a triangle: positive when it is anticlockwise. */
template <class A, class B, class C>
double Cross(A const& a, B const& b, C const& c) {
    return (double(b.x) - a.x) * (double(c.y) - a.y) - (double(c.x) - a.x) * (double(b.y) - a.y);
}

/** How far a point lies from the line between two others. */
template <class P, class A, class B>
double DistanceToSegment(P const& p, A const& a, B const& b) {
    double const dx = double(b.x) - a.x, dy = double(b.y) - a.y;
    double const length = dx * dx + dy * dy;
    double const t = length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

} // namespace kelvokit::test
