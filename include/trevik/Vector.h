#pragma once

namespace trevik {

/** Two components; zero by default. Comparison is exact. */
template <class T>
struct Vector2T {
    /** Its components. */
    T x, y;

    constexpr Vector2T() : x(), y() {}
    /** From its components. */
    constexpr Vector2T(T x_, T y_) : x(x_), y(y_) {}

    constexpr bool operator==(Vector2T const& v) const { return x == v.x && y == v.y; }
    constexpr bool operator!=(Vector2T const& v) const { return !(*this == v); }
    constexpr Vector2T operator-() const { return Vector2T(-x, -y); }
    constexpr Vector2T operator+(Vector2T const& v) const { return Vector2T(x + v.x, y + v.y); }
    constexpr Vector2T operator-(Vector2T const& v) const { return Vector2T(x - v.x, y - v.y); }
    constexpr Vector2T operator*(T s) const { return Vector2T(x * s, y * s); }
    constexpr Vector2T& operator+=(Vector2T const& v) { return *this = *this + v; }
    constexpr Vector2T& operator-=(Vector2T const& v) { return *this = *this - v; }
    constexpr Vector2T& operator*=(T s) { return *this = *this * s; }
};

/** Three components; zero by default. Comparison is exact. */
template <class T>
struct Vector3T {
    /** Its components. */
    T x, y, z;

    constexpr Vector3T() : x(), y(), z() {}
    /** From its components. */
    constexpr Vector3T(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}

    constexpr bool operator==(Vector3T const& v) const { return x == v.x && y == v.y && z == v.z; }
    constexpr bool operator!=(Vector3T const& v) const { return !(*this == v); }
    constexpr Vector3T operator-() const { return Vector3T(-x, -y, -z); }
    constexpr Vector3T operator+(Vector3T const& v) const { return Vector3T(x + v.x, y + v.y, z + v.z); }
    constexpr Vector3T operator-(Vector3T const& v) const { return Vector3T(x - v.x, y - v.y, z - v.z); }
    constexpr Vector3T operator*(T s) const { return Vector3T(x * s, y * s, z * s); }
    constexpr Vector3T& operator+=(Vector3T const& v) { return *this = *this + v; }
    constexpr Vector3T& operator-=(Vector3T const& v) { return *this = *this - v; }
    constexpr Vector3T& operator*=(T s) { return *this = *this * s; }
};

/** Four components; zero by default, w included. Comparison is exact. */
template <class T>
struct Vector4T {
    /** Its components. */
    T x, y, z, w;

    constexpr Vector4T() : x(), y(), z(), w() {}
    /** From its components. */
    constexpr Vector4T(T x_, T y_, T z_, T w_) : x(x_), y(y_), z(z_), w(w_) {}

    constexpr bool operator==(Vector4T const& v) const {
        return x == v.x && y == v.y && z == v.z && w == v.w;
    }
    constexpr bool operator!=(Vector4T const& v) const { return !(*this == v); }
    constexpr Vector4T operator-() const { return Vector4T(-x, -y, -z, -w); }
    constexpr Vector4T operator+(Vector4T const& v) const {
        return Vector4T(x + v.x, y + v.y, z + v.z, w + v.w);
    }
    constexpr Vector4T operator-(Vector4T const& v) const {
        return Vector4T(x - v.x, y - v.y, z - v.z, w - v.w);
    }
    constexpr Vector4T operator*(T s) const { return Vector4T(x * s, y * s, z * s, w * s); }
    constexpr Vector4T& operator+=(Vector4T const& v) { return *this = *this + v; }
    constexpr Vector4T& operator-=(Vector4T const& v) { return *this = *this - v; }
    constexpr Vector4T& operator*=(T s) { return *this = *this * s; }
};

/**
 * A quaternion x i + y j + z k + w; all zero by default, which is no rotation of any kind. Comparison is
 * exact.
 */
template <class T>
struct QuaternionT {
    /** Its components, w the real one. */
    T x, y, z, w;

    constexpr QuaternionT() : x(), y(), z(), w() {}
    /** From its components. */
    constexpr QuaternionT(T x_, T y_, T z_, T w_) : x(x_), y(y_), z(z_), w(w_) {}

    constexpr bool operator==(QuaternionT const& q) const {
        return x == q.x && y == q.y && z == q.z && w == q.w;
    }
    constexpr bool operator!=(QuaternionT const& q) const { return !(*this == q); }
};

template <class T>
constexpr Vector2T<T> operator*(T s, Vector2T<T> const& v) {
    return v * s;
}

template <class T>
constexpr Vector3T<T> operator*(T s, Vector3T<T> const& v) {
    return v * s;
}

template <class T>
constexpr Vector4T<T> operator*(T s, Vector4T<T> const& v) {
    return v * s;
}

template <class T>
constexpr T Vector3Dot(Vector3T<T> const& a, Vector3T<T> const& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class T>
constexpr Vector3T<T> Vector3Cross(Vector3T<T> const& a, Vector3T<T> const& b) {
    return Vector3T<T>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

} // namespace trevik
