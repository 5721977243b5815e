#include "trevik/Color.h"
#include "trevik/Hash.h"
#include "trevik/Matrix.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Types.h"

#include <gtest/gtest.h>

#include <cmath>

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
Matrix UnlikeNumbers(unsigned int seed) {
    Matrix m;
    for (unsigned int i = 0; i < 16; ++i) {
        seed = seed * 1103515245u + 12345u;
        m[i] = static_cast<float>((seed >> 16) % 2003) / 7.0f - 100.0f;
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
TEST(TrevikMatrix, ProductsApplyTheFirstMatrixFirstAndAreSumsFromLeftToRight) {
    Matrix const a = UnlikeNumbers(3), b = UnlikeNumbers(77);
    Matrix product;
    Matrix4T<double> wideA, wideB;
    for (unsigned int i = 0; i < 16; ++i) {
        unsigned int const column = i / 4 * 4, row = i % 4;
        product[i] = b[row] * a[column] + b[4 + row] * a[column + 1] + b[8 + row] * a[column + 2] +
                     b[12 + row] * a[column + 3];
        wideA[i] = double(a[i]);
        wideB[i] = double(b[i]);
    }
    EXPECT_EQ(a * b, product);
    Vector4 const v(0.3f, -7.1f, 11.7f, 1.9f);
    EXPECT_EQ((b * v).y, b[1] * v.x + b[5] * v.y + b[9] * v.z + b[13] * v.w);
    EXPECT_EQ(Matrix::Identity * v, v);
    // The result may be an operand, and the numbers wider.
    Matrix first = a, second = b, both = a;
    Matrix4Multiply<RealFloat>(first, b, first);
    Matrix4Multiply<RealFloat>(a, second, second);
    Matrix4Multiply<RealFloat>(both, both, both);
    EXPECT_EQ(first, product);
    EXPECT_EQ(second, product);
    EXPECT_EQ(both, a * a);
    Matrix4SetIdentity<RealFloat>(both);
    EXPECT_EQ(both, Matrix());
    Vector4 changed = v;
    Matrix4Vector4Multiply<RealFloat, RealFloat>(b, changed, changed);
    EXPECT_EQ(changed, b * v);
    Matrix4Multiply(wideA, wideB, wideA);
    for (unsigned int i = 0; i < 16; ++i) {
        EXPECT_NEAR(wideA[i], double(product[i]), 0.05) << i; // of some ten thousand
    }
}

TEST(TrevikMatrix, InverseUndoesAMatrix) {
    for (unsigned int seed : {3u, 77u}) {
        Matrix const m = UnlikeNumbers(seed);
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
    Matrix const untouched = UnlikeNumbers(9);
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
