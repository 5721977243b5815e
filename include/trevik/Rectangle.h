#pragma once

namespace trevik {

/**
 * Four edges; all zero by default. Which of top and bottom is the greater one depends on the space that the
 * rectangle lives in, so width and height may be negative. Comparison is exact.
 */
template <class T>
struct RectangleT {
    T left, top, right, bottom;

    constexpr RectangleT() : left(), top(), right(), bottom() {}
    constexpr RectangleT(T left_, T top_, T right_, T bottom_)
        : left(left_), top(top_), right(right_), bottom(bottom_) {}

    /** right - left. */
    constexpr T GetWidth() const { return right - left; }

    /** bottom - top. */
    constexpr T GetHeight() const { return bottom - top; }

    constexpr bool operator==(RectangleT const& r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    constexpr bool operator!=(RectangleT const& r) const { return !(*this == r); }
};

} // namespace trevik
