#include "trevik/Color.h"
#include "trevik/Hash.h"
#include "trevik/Matrix.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Types.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace trevik;

namespace {

using Matrix = Matrix4T<RealFloat>;
using Vector2 = Vector2T<RealFloat>;
using Vector3 = Vector3T<RealFloat>;
using Vector4 = Vector4T<RealFloat>;
using Quaternion = QuaternionT<RealFloat>;

static_assert(sizeof(Vector3) == 12 && sizeof(Matrix) == 64 && sizeof(RectangleT<float>) == 16,
              "values have no padding: files hold their bytes");
static_assert(HashName("Sprite") == 1369848476u && HashName(u"Sprite") == 1369848476u,
              "an id is a constant of the compiler's");

/** Sixteen unlike numbers, whose products in floating point depend on the order of the sums. */
template <class T>
Matrix4T<T> UnlikeNumbers(unsigned int seed) {
    Matrix4T<T> m;
    for (unsigned int i = 0; i < 16; ++i) {
        seed = seed * 1103515245u + 12345u;
        m[i] = static_cast<T>((seed >> 16) % 2003) / T(7) - T(100);
    }
    return m;
}

TEST(TrevikHash, GivesTheIdsThatFactoriesAndFilesUse) {
    EXPECT_EQ(HashName("NinePatchSprite"), 2069643382u);
    EXPECT_EQ(HashName(u"NinePatchSprite"), 2069643382u);
    // Units are unsigned, and the length is as given.
    EXPECT_EQ(HashName("\xff", 1), (5381u * 33 + 0xff) & 0x7fffffffu);
    EXPECT_EQ(HashName(u"\xffff", 1), (5381u * 33 + 0xffff) & 0x7fffffffu);
}

/** `parts` components, each of which counts when values are compared. */
template <class T>
void ExpectCompared() {
    T const zero{};
    EXPECT_TRUE(zero == T());
    for (std::size_t n = 0; n < sizeof(T) / sizeof(float); ++n) {
        float parts[sizeof(T) / sizeof(float)] = {};
        parts[n] = std::nextafter(0.0f, 1.0f);
        T other;
        std::memcpy(static_cast<void*>(&other), parts, sizeof(other));
        EXPECT_FALSE(other == zero) << n << " of " << sizeof(T);
        EXPECT_TRUE(other != zero) << n << " of " << sizeof(T);
    }
}

TEST(TrevikValues, AreZeroByDefaultAndCompareExactly) {
    ExpectCompared<Vector2>();
    ExpectCompared<Vector3>();
    ExpectCompared<Vector4>();
    ExpectCompared<Quaternion>();
    ExpectCompared<ColorT<float>>();
    ExpectCompared<SizeT<float>>();
    ExpectCompared<RectangleT<float>>();
    EXPECT_EQ(ColorT<float>(), ColorT<float>(0, 0, 0, 0));
    EXPECT_EQ(ColorT<float>::None, ColorT<float>(0, 0, 0, 0));
    EXPECT_EQ(ColorT<float>::Black, ColorT<float>(0, 0, 0, 1));
}

TEST(TrevikValues, VectorsAddScaleAndMultiply) {
    auto const expectAll = [](auto a, auto b, auto sum, auto difference, auto twice, auto negative) {
        EXPECT_EQ(a + b, sum);
        EXPECT_EQ(a - b, difference);
        EXPECT_EQ(a * 2.0f, twice);
        EXPECT_EQ(2.0f * a, twice);
        EXPECT_EQ(-a, negative);
        auto changed = a;
        EXPECT_EQ((changed += b) -= b, a);
        EXPECT_EQ(changed *= 2.0f, twice);
    };
    expectAll(Vector2(1, 2), Vector2(-4, 7), Vector2(-3, 9), Vector2(5, -5), Vector2(2, 4), Vector2(-1, -2));
    expectAll(Vector3(1, 2, 3), Vector3(-4, 7, 1), Vector3(-3, 9, 4), Vector3(5, -5, 2), Vector3(2, 4, 6),
              Vector3(-1, -2, -3));
    expectAll(Vector4(1, 2, 3, 4), Vector4(-4, 7, 1, 8), Vector4(-3, 9, 4, 12), Vector4(5, -5, 2, -4),
              Vector4(2, 4, 6, 8), Vector4(-1, -2, -3, -4));
    EXPECT_EQ(Vector3Dot(Vector3(1, 2, 3), Vector3(-4, 5, 0.5f)), 7.5f);
    EXPECT_EQ(Vector3Cross(Vector3(1, 2, 3), Vector3(-4, 5, 0.5f)), Vector3(-14, -12.5f, 13));
}

/** The vector unit's product has the bits of the plain sum, which another processor computes. */
template <class T>
void ExpectProducts() {
    Matrix4T<T> const a = UnlikeNumbers<T>(3), b = UnlikeNumbers<T>(77);
    auto const sum = [&b](unsigned int row, T const& x, T const& y, T const& z, T const& w) {
        return b[row] * x + b[4 + row] * y + b[8 + row] * z + b[12 + row] * w;
    };
    Matrix4T<T> product, columns;
    for (unsigned int i = 0; i < 16; ++i) {
        unsigned int const start = i / 4 * 4;
        product[i] = sum(i % 4, a[start], a[start + 1], a[start + 2], a[start + 3]);
    }
    EXPECT_EQ(a * b, product);
    for (unsigned int column = 0; column < 4; ++column) {
        Matrix4MultiplyColumn(a, b, column, columns);
    }
    EXPECT_EQ(columns, product);
    Vector4T<T> const v(T(0.3), T(-7.1), T(11.7), T(1.9));
    Vector4T<T> const placed(sum(0, v.x, v.y, v.z, v.w), sum(1, v.x, v.y, v.z, v.w),
                             sum(2, v.x, v.y, v.z, v.w), sum(3, v.x, v.y, v.z, v.w));
    EXPECT_EQ(b * v, placed);
    EXPECT_EQ(Matrix4T<T>::Identity * v, v);
    // The result may be an operand.
    Matrix4T<T> first = a, second = b, both = a;
    Matrix4Multiply<T>(first, b, first);
    Matrix4Multiply<T>(a, second, second);
    Matrix4Multiply<T>(both, both, both);
    EXPECT_EQ(first, product);
    EXPECT_EQ(second, product);
    EXPECT_EQ(both, a * a);
    Vector4T<T> changed = v;
    Matrix4Vector4Multiply<T, T>(b, changed, changed);
    EXPECT_EQ(changed, placed);
    Matrix4SetIdentity<T>(both);
    EXPECT_EQ(both, Matrix4T<T>());
}

TEST(TrevikMatrix, ProductsApplyTheFirstMatrixFirstAndAreSumsFromLeftToRight) {
    ExpectProducts<float>();
    ExpectProducts<double>();
}

template <class T>
void ExpectAxialProducts() {
    Matrix4T<T> const a = UnlikeNumbers<T>(3);
    Matrix4T<T> b = UnlikeNumbers<T>(77);
    T const notANumber = std::numeric_limits<T>::quiet_NaN(), infinite = std::numeric_limits<T>::infinity();
    AxialMatrix4T<T> axial;
    for (unsigned int const i : {9u, 8u, 7u, 6u, 4u, 3u, 2u, 1u}) {
        EXPECT_FALSE(axial.Take(b)) << i;
        b[i] = notANumber;
        EXPECT_FALSE(axial.Take(b)) << i;
        b[i] = i % 2 == 0 ? T(0) : -T(0);
    }
    ASSERT_TRUE(axial.Take(b));
    EXPECT_FALSE(axial.Take(a)) << "and what was taken stays";
    Matrix4T<T> product = a;
    Matrix4Multiply(product, axial, product);
    EXPECT_EQ(product, a * b);
    // What is not finite spoils what depends on it, and nothing else.
    for (T const value : {notANumber, infinite}) {
        Matrix4T<T> spoilt = a;
        spoilt[13] = value;
        Matrix4Multiply(spoilt, axial, spoilt);
        for (unsigned int i = 0; i < 16; ++i) {
            EXPECT_EQ(spoilt[i] == product[i], i != 13) << i;
        }
    }
}

TEST(TrevikMatrix, AProductWithAnAxialMatrixHasTheBitsOfTheOther) {
    ExpectAxialProducts<float>();
    ExpectAxialProducts<double>();
}

TEST(TrevikMatrix, InverseUndoesAMatrix) {
    for (unsigned int seed : {3u, 77u}) {
        Matrix const m = UnlikeNumbers<RealFloat>(seed);
        Matrix inverse = m;
        ASSERT_TRUE(Matrix4Inverse(inverse, inverse));
        Matrix const left = m * inverse, right = inverse * m;
        for (unsigned int i = 0; i < 16; ++i) {
            EXPECT_NEAR(left[i], Matrix()[i], 1e-4f) << "element " << i;
            EXPECT_NEAR(right[i], Matrix()[i], 1e-4f) << "element " << i;
        }
    }
}

TEST(TrevikMatrix, InverseOfADegenerateMatrixLeavesTheResultAlone) {
    Matrix const untouched = UnlikeNumbers<RealFloat>(9);
    Matrix out = untouched, notANumber;
    notANumber[5] = std::nanf("");
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(0.01f, 0.01f, 0.99f)), out)); // 0.000099
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(-0.01f, 0.01f, 0.99f)), out));
    EXPECT_FALSE(Matrix4Inverse(notANumber, out));
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(0.5f, 0.5f, 1)), out, 0.25)); // equal is not greater
    EXPECT_EQ(out, untouched);
    EXPECT_TRUE(Matrix4Inverse(Matrix4Scale(Vector3(0.01f, -0.01f, 1.01f)), out)); // -0.000101
    EXPECT_FLOAT_EQ(out[5], -100);
}

TEST(TrevikMatrix, ScalesTurnsAboutXThenYThenZAndMoves) {
    for (Vector3 const& degrees : {Vector3(), Vector3(25, -130, 77)}) {
        Vector4 const actual = Matrix4Scale(Vector3(2, 3, 4)) * Matrix4RotationEulerXYZ(degrees) *
                               Matrix4Translation(Vector3(10, 20, 30)) * Vector4(1, -2, 3, 1);
        Vector3 p(2, -6, 12);
        Vector3 const a = degrees * (3.14159265f / 180);
        p = Vector3(p.x, std::cos(a.x) * p.y - std::sin(a.x) * p.z,
                    std::sin(a.x) * p.y + std::cos(a.x) * p.z);
        p = Vector3(std::cos(a.y) * p.x + std::sin(a.y) * p.z, p.y,
                    std::cos(a.y) * p.z - std::sin(a.y) * p.x);
        p = Vector3(std::cos(a.z) * p.x - std::sin(a.z) * p.y, std::sin(a.z) * p.x + std::cos(a.z) * p.y,
                    p.z);
        EXPECT_NEAR(actual.x, 10 + p.x, 1e-4f);
        EXPECT_NEAR(actual.y, 20 + p.y, 1e-4f);
        EXPECT_NEAR(actual.z, 30 + p.z, 1e-4f);
    }
}

} // namespace
