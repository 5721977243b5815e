#pragma once

#include "trevik/Vector.h"

#include <cmath>
#include <cstring>
#include <type_traits>

namespace trevik {

/** Asks a constructor to leave the elements unset, for a matrix that is written whole right afterwards. */
struct Uninitialized {};

/**
 * A 4 by 4 matrix: 16 elements, column after column (element index = column * 4 + row), for column vectors,
 * so that a translation stands in elements 12 to 14. Identity by default. Comparison is exact.
 *
 * `A * B` is the matrix that applies A first and B second.
 */
template <class T>
struct Matrix4T {
    T m[16]; ///< column after column: m[column * 4 + row]

    /** The identity; it is constant-initialised, so other statics may use it. */
    static Matrix4T const Identity;

    constexpr Matrix4T()
        : m{T(1), T(0), T(0), T(0), T(0), T(1), T(0), T(0), T(0), T(0), T(1), T(0), T(0), T(0), T(0), T(1)} {}
    /** Leaves the elements unset. */
    explicit Matrix4T(Uninitialized) {}

    /** From 16 elements, column after column. */
    explicit Matrix4T(T const* elements) { std::memcpy(m, elements, sizeof(m)); }

    /** Element column * 4 + row, 0 to 15. */
    T& operator[](unsigned int index) { return m[index]; }
    /** Element column * 4 + row, 0 to 15. */
    constexpr T const& operator[](unsigned int index) const { return m[index]; }

    bool operator==(Matrix4T const& other) const {
        for (int i = 0; i < 16; ++i) {
            if (!(m[i] == other.m[i])) {
                return false;
            }
        }
        return true;
    }
    bool operator!=(Matrix4T const& other) const { return !(*this == other); }
};

template <class T>
inline constexpr Matrix4T<T> Matrix4T<T>::Identity{};

namespace detail {

#if defined(__GNUC__)
#define TREVIK_VECTOR_MATH 1

// Four lanes of one register, SSE or NEON alike. Every lane multiplies and adds in the order of the plain
// loop below, so that both give the same bits.
using Lanes = float __attribute__((vector_size(16)));
using LaneBits = int __attribute__((vector_size(16)));

inline Lanes LoadLanes(float const* source) {
    Lanes lanes;
    std::memcpy(&lanes, source, sizeof(lanes));
    return lanes;
}

inline void StoreLanes(float* target, Lanes lanes) {
    std::memcpy(target, &lanes, sizeof(lanes));
}

template <int Index>
inline Lanes SpreadLane(Lanes lanes) {
#if defined(__clang__)
    return __builtin_shufflevector(lanes, lanes, Index, Index, Index, Index);
#else
    // Spread as integers, SSE2 needs one instruction, without a copy first.
    LaneBits const bits =
        __builtin_shuffle(reinterpret_cast<LaneBits>(lanes), LaneBits{Index, Index, Index, Index});
    return reinterpret_cast<Lanes>(bits);
#endif
}

/** The lanes w, w, w and z. */
inline Lanes ExchangeLanes(Lanes lanes) {
#if defined(__clang__)
    return __builtin_shufflevector(lanes, lanes, 3, 3, 3, 2);
#else
    // As integers, as above.
    LaneBits const bits = __builtin_shuffle(reinterpret_cast<LaneBits>(lanes), LaneBits{3, 3, 3, 2});
    return reinterpret_cast<Lanes>(bits);
#endif
}

inline Lanes TransformLanes(Lanes c0, Lanes c1, Lanes c2, Lanes c3, Lanes v) {
    return c0 * SpreadLane<0>(v) + c1 * SpreadLane<1>(v) + c2 * SpreadLane<2>(v) + c3 * SpreadLane<3>(v);
}

inline void MultiplyLanes(float const* a, float const* b, float* out) {
    Lanes const c0 = LoadLanes(b), c1 = LoadLanes(b + 4), c2 = LoadLanes(b + 8), c3 = LoadLanes(b + 12);
    // A column of the result takes all of b, in registers by now, and the same column of a, read before the
    // result's is written; so out may be a or b. The columns are written out one by one because optimisers
    // leave the loop a loop.
    StoreLanes(out, TransformLanes(c0, c1, c2, c3, LoadLanes(a)));
    StoreLanes(out + 4, TransformLanes(c0, c1, c2, c3, LoadLanes(a + 4)));
    StoreLanes(out + 8, TransformLanes(c0, c1, c2, c3, LoadLanes(a + 8)));
    StoreLanes(out + 12, TransformLanes(c0, c1, c2, c3, LoadLanes(a + 12)));
}

inline void MultiplyAxialLanes(float const* a, float const* own, float const* exchanged, float* out) {
    Lanes const o = LoadLanes(own), e = LoadLanes(exchanged);
    Lanes const v0 = LoadLanes(a), v1 = LoadLanes(a + 4), v2 = LoadLanes(a + 8), v3 = LoadLanes(a + 12);
    StoreLanes(out, o * v0 + e * ExchangeLanes(v0));
    StoreLanes(out + 4, o * v1 + e * ExchangeLanes(v1));
    StoreLanes(out + 8, o * v2 + e * ExchangeLanes(v2));
    StoreLanes(out + 12, o * v3 + e * ExchangeLanes(v3));
}
#endif

template <class M, class V>
inline void TransformPlain(M const* m, V const* v, V* out) {
    for (int row = 0; row < 4; ++row) {
        out[row] = static_cast<V>(m[row] * v[0] + m[4 + row] * v[1] + m[8 + row] * v[2] + m[12 + row] * v[3]);
    }
}

} // namespace detail

/** Writes the identity. */
template <class T>
inline void Matrix4SetIdentity(Matrix4T<T>& out) {
    out = Matrix4T<T>();
}

/**
 * Writes the matrix that applies a first and b second (in column-vector notation: b times a). out may be a or
 * b.
 */
template <class T>
inline void Matrix4Multiply(Matrix4T<T> const& a, Matrix4T<T> const& b, Matrix4T<T>& out) {
#if defined(TREVIK_VECTOR_MATH)
    if constexpr (std::is_same<T, float>::value) {
        detail::MultiplyLanes(a.m, b.m, out.m);
        return;
    }
#endif
    Matrix4T<T> product{Uninitialized()};
    for (int column = 0; column < 16; column += 4) {
        detail::TransformPlain(b.m, a.m + column, product.m + column);
    }
    out = product;
}

/** Writes one column of what Matrix4Multiply writes, 0 to 3, and leaves the others as they are. */
template <class T>
inline void Matrix4MultiplyColumn(Matrix4T<T> const& a, Matrix4T<T> const& b, unsigned int column,
                                  Matrix4T<T>& out) {
#if defined(TREVIK_VECTOR_MATH)
    if constexpr (std::is_same<T, float>::value) {
        detail::Lanes const lanes = detail::TransformLanes(
            detail::LoadLanes(b.m), detail::LoadLanes(b.m + 4), detail::LoadLanes(b.m + 8),
            detail::LoadLanes(b.m + 12), detail::LoadLanes(a.m + 4 * column));
        detail::StoreLanes(out.m + 4 * column, lanes);
        return;
    }
#endif
    T product[4];
    detail::TransformPlain(b.m, a.m + 4 * column, product);
    std::memcpy(out.m + 4 * column, product, sizeof(product));
}

/**
 * A matrix that leaves the axes apart: it is zero but for its diagonal, its translation and the element that
 * makes w of z. Views that only move are such matrices, and so are all orthographic projections and all
 * perspective ones that look straight ahead. A product with one takes half of the instructions.
 */
template <class T>
struct AxialMatrix4T {
    T m_own[4];       ///< what a vector's x, y, z and w are multiplied with
    T m_exchanged[4]; ///< what its w, w, w and z are multiplied with, to be added to that

    /** Takes the elements of a matrix over; false, for any other kind of matrix, with nothing changed. */
    bool Take(Matrix4T<T> const& matrix) {
        constexpr unsigned int Others[] = {1, 2, 3, 4, 6, 7, 8, 9};
        for (unsigned int const nOther : Others) {
            if (!(matrix[nOther] == T(0))) {
                return false;
            }
        }
        for (unsigned int i = 0; i < 4; ++i) {
            m_own[i] = matrix[5 * i];
            m_exchanged[i] = matrix[i < 3 ? 12 + i : 11];
        }
        return true;
    }
};

/**
 * Writes the matrix that applies a first and b second, as the other form does. What is left out are products
 * with zero: elements are the same, but for the sign of a zero, as long as those of a are finite. Where one
 * of a column of a is not, the other form makes the whole column NaN, and this one only what depends on it.
 * out may be a.
 */
template <class T>
inline void Matrix4Multiply(Matrix4T<T> const& a, AxialMatrix4T<T> const& b, Matrix4T<T>& out) {
#if defined(TREVIK_VECTOR_MATH)
    if constexpr (std::is_same<T, float>::value) {
        detail::MultiplyAxialLanes(a.m, b.m_own, b.m_exchanged, out.m);
        return;
    }
#endif
    for (int column = 0; column < 16; column += 4) {
        T const v[4] = {a.m[column], a.m[column + 1], a.m[column + 2], a.m[column + 3]};
        for (int row = 0; row < 4; ++row) {
            out.m[column + row] =
                static_cast<T>(b.m_own[row] * v[row] + b.m_exchanged[row] * v[row < 3 ? 3 : 2]);
        }
    }
}

/** Writes the ordinary product of m and the column vector v. out may be v. */
template <class M, class V>
inline void Matrix4Vector4Multiply(Matrix4T<M> const& m, Vector4T<V> const& v, Vector4T<V>& out) {
#if defined(TREVIK_VECTOR_MATH)
    if constexpr (std::is_same<M, float>::value && std::is_same<V, float>::value) {
        detail::Lanes const lanes = detail::TransformLanes(
            detail::LoadLanes(m.m), detail::LoadLanes(m.m + 4), detail::LoadLanes(m.m + 8),
            detail::LoadLanes(m.m + 12), detail::LoadLanes(&v.x));
        detail::StoreLanes(&out.x, lanes);
        return;
    }
#endif
    V const in[4] = {v.x, v.y, v.z, v.w};
    V result[4];
    detail::TransformPlain(m.m, in, result);
    out = Vector4T<V>(result[0], result[1], result[2], result[3]);
}

/** The matrix that applies a first and b second. */
template <class T>
inline Matrix4T<T> operator*(Matrix4T<T> const& a, Matrix4T<T> const& b) {
    Matrix4T<T> out{Uninitialized()};
    Matrix4Multiply(a, b, out);
    return out;
}

/** The ordinary product of m and the column vector v. */
template <class T>
inline Vector4T<T> operator*(Matrix4T<T> const& m, Vector4T<T> const& v) {
    Vector4T<T> out;
    Matrix4Vector4Multiply(m, v, out);
    return out;
}

/**
 * Writes the inverse of m, by cofactors. out may be m.
 * @param minimumDeterminant the determinant's absolute value, as a double, has to be greater than this.
 * @return false, with out untouched, when it is not (or is not a number).
 */
template <class T>
bool Matrix4Inverse(Matrix4T<T> const& m, Matrix4T<T>& out, double minimumDeterminant = 0.0001);

/** The matrix that moves by v. */
template <class T>
inline Matrix4T<T> Matrix4Translation(Vector3T<T> const& v) {
    Matrix4T<T> out;
    out.m[12] = v.x;
    out.m[13] = v.y;
    out.m[14] = v.z;
    return out;
}

/** The matrix that scales by v about the origin. */
template <class T>
inline Matrix4T<T> Matrix4Scale(Vector3T<T> const& v) {
    Matrix4T<T> out;
    out.m[0] = v.x;
    out.m[5] = v.y;
    out.m[10] = v.z;
    return out;
}

/**
 * The matrix that turns about the x axis, then the y axis, then the z axis.
 * @param degrees one angle for each axis, counter-clockwise as seen from the axis's positive end.
 */
template <class T>
Matrix4T<T> Matrix4RotationEulerXYZ(Vector3T<T> const& degrees);

namespace detail {

/** The 2 by 2 minors of two rows, one for each pair of columns. */
template <class T>
struct RowPairMinors {
    T c01, c02, c03, c12, c13, c23;

    RowPairMinors(T const* m, int upper, int lower)
        : c01(m[upper] * m[4 + lower] - m[4 + upper] * m[lower]),
          c02(m[upper] * m[8 + lower] - m[8 + upper] * m[lower]),
          c03(m[upper] * m[12 + lower] - m[12 + upper] * m[lower]),
          c12(m[4 + upper] * m[8 + lower] - m[8 + upper] * m[4 + lower]),
          c13(m[4 + upper] * m[12 + lower] - m[12 + upper] * m[4 + lower]),
          c23(m[8 + upper] * m[12 + lower] - m[12 + upper] * m[8 + lower]) {}

    /** The 3 by 3 minors over this pair of rows and a third one, without column 0, 1, 2 and 3 in turn. */
    void ExpandAlong(T const* m, int row, T* minors) const {
        T const e0 = m[row], e1 = m[4 + row], e2 = m[8 + row], e3 = m[12 + row];
        minors[0] = e1 * c23 - e2 * c13 + e3 * c12;
        minors[1] = e0 * c23 - e2 * c03 + e3 * c02;
        minors[2] = e0 * c13 - e1 * c03 + e3 * c01;
        minors[3] = e0 * c12 - e1 * c02 + e2 * c01;
    }
};

template <class T>
inline void SineAndCosineOfDegrees(T degrees, T& sine, T& cosine) {
    // Most nodes turn about one axis or none.
    if (degrees == T(0)) {
        sine = T(0);
        cosine = T(1);
        return;
    }
    T const radians = degrees * T(0.017453292519943295);
    sine = std::sin(radians);
    cosine = std::cos(radians);
}

} // namespace detail

template <class T>
bool Matrix4Inverse(Matrix4T<T> const& m, Matrix4T<T>& out, double minimumDeterminant) {
    detail::RowPairMinors<T> const lower(m.m, 2, 3);
    T row0[4];
    lower.ExpandAlong(m.m, 1, row0);
    T const determinant = m.m[0] * row0[0] - m.m[4] * row0[1] + m.m[8] * row0[2] - m.m[12] * row0[3];
    if (!(std::fabs(static_cast<double>(determinant)) > minimumDeterminant)) {
        return false;
    }
    T row1[4], row2[4], row3[4];
    lower.ExpandAlong(m.m, 0, row1);
    detail::RowPairMinors<T> const upper(m.m, 0, 1);
    upper.ExpandAlong(m.m, 3, row2);
    upper.ExpandAlong(m.m, 2, row3);

    // The cofactor of row r and column c goes to row c and column r.
    T const factor = T(1) / determinant;
    Matrix4T<T> inverse{Uninitialized()};
    for (int column = 0; column < 4; ++column) {
        T const sign = column % 2 == 0 ? factor : -factor;
        inverse.m[column] = row0[column] * sign;
        inverse.m[4 + column] = row1[column] * -sign;
        inverse.m[8 + column] = row2[column] * sign;
        inverse.m[12 + column] = row3[column] * -sign;
    }
    out = inverse;
    return true;
}

template <class T>
Matrix4T<T> Matrix4RotationEulerXYZ(Vector3T<T> const& degrees) {
    T sx, cx, sy, cy, sz, cz;
    detail::SineAndCosineOfDegrees(degrees.x, sx, cx);
    detail::SineAndCosineOfDegrees(degrees.y, sy, cy);
    detail::SineAndCosineOfDegrees(degrees.z, sz, cz);
    Matrix4T<T> out;
    out.m[0] = cz * cy;
    out.m[1] = sz * cy;
    out.m[2] = -sy;
    out.m[4] = cz * sy * sx - sz * cx;
    out.m[5] = sz * sy * sx + cz * cx;
    out.m[6] = cy * sx;
    out.m[8] = cz * sy * cx + sz * sx;
    out.m[9] = sz * sy * cx - cz * sx;
    out.m[10] = cy * cx;
    return out;
}

} // namespace trevik
