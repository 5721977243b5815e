#pragma once

namespace trevik {

/** A width and a height; zero by default. Comparison is exact. */
template <class T>
struct SizeT {
    /** In units of the user's choice. */
    T width, height;

    constexpr SizeT() : width(), height() {}
    /** From width and height. */
    constexpr SizeT(T width_, T height_) : width(width_), height(height_) {}

    constexpr bool operator==(SizeT const& s) const { return width == s.width && height == s.height; }
    constexpr bool operator!=(SizeT const& s) const { return !(*this == s); }
};

} // namespace trevik
