#pragma once

#include <climits>

namespace trevik {

namespace detail {

template <class T>
constexpr T Difference(T a, T b) {
    return a - b;
}

/** Of ints that lie too far apart, the nearest number that there is. */
constexpr int Difference(int a, int b) {
    long long const nDifference = static_cast<long long>(a) - b;
    return static_cast<int>(nDifference < INT_MIN ? INT_MIN : nDifference > INT_MAX ? INT_MAX : nDifference);
}

} // namespace detail

/**
 * Four edges; all zero by default. Which of top and bottom is the greater one depends on the space that the
 * rectangle lives in, so width and height may be negative. Comparison is exact.
 */
template <class T>
struct RectangleT {
    /** Its edges; which way y goes is up to the user. */
    T left, top, right, bottom;

    constexpr RectangleT() : left(), top(), right(), bottom() {}
    /** From its four edges. */
    constexpr RectangleT(T left_, T top_, T right_, T bottom_)
        : left(left_), top(top_), right(right_), bottom(bottom_) {}

    /** right - left; of ints, the nearest number that there is. */
    constexpr T GetWidth() const { return detail::Difference(right, left); }

    /** bottom - top, in the same way. */
    constexpr T GetHeight() const { return detail::Difference(bottom, top); }

    constexpr bool operator==(RectangleT const& r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    constexpr bool operator!=(RectangleT const& r) const { return !(*this == r); }
};

} // namespace trevik
