#pragma once

namespace trevik {

/**
 * Red, green, blue and alpha, each 0 to 1, alpha not multiplied in; all zero by default. Comparison is exact.
 */
template <class T>
struct ColorT {
    /** Red, green, blue and alpha. */
    T r, g, b, a;

    /** Opaque black (0, 0, 0, 1). */
    static ColorT const Black;

    /** Nothing at all (0, 0, 0, 0). */
    static ColorT const None;

    constexpr ColorT() : r(), g(), b(), a() {}
    /** From its four components. */
    constexpr ColorT(T r_, T g_, T b_, T a_) : r(r_), g(g_), b(b_), a(a_) {}

    constexpr bool operator==(ColorT const& c) const { return r == c.r && g == c.g && b == c.b && a == c.a; }
    constexpr bool operator!=(ColorT const& c) const { return !(*this == c); }
};

template <class T>
inline constexpr ColorT<T> ColorT<T>::Black(T(0), T(0), T(0), T(1));

template <class T>
inline constexpr ColorT<T> ColorT<T>::None(T(0), T(0), T(0), T(0));

} // namespace trevik
