#include "trevik/Color.h"
#include "trevik/Hash.h"
#include "trevik/Matrix.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

using namespace trevik;

namespace {

using Matrix = Matrix4T<RealFloat>;
using Vector3 = Vector3T<RealFloat>;
using Vector4 = Vector4T<RealFloat>;

static_assert(std::is_trivially_copyable<Vector3>::value && std::is_trivially_copyable<Matrix>::value &&
                  std::is_trivially_copyable<ColorT<float>>::value &&
                  std::is_trivially_copyable<RectangleT<int>>::value,
              "values are copied as bytes");
static_assert(sizeof(Vector3) == 12 && sizeof(Matrix) == 64 && sizeof(RectangleT<float>) == 16,
              "values have no padding: files hold their bytes");

/** A value that no other initialisation precedes: it shows whether a constant stands there from the start. */
Matrix const g_identityOfAnEarlyStatic = Matrix::Identity;
ColorT<RealFloat> const g_blackOfAnEarlyStatic = ColorT<RealFloat>::Black;

/** Sixteen unlike numbers, whose products in floating point depend on the order of the sums. */
Matrix UnlikeNumbers(unsigned int seed) {
    Matrix m;
    for (unsigned int i = 0; i < 16; ++i) {
        seed = seed * 1103515245u + 12345u;
        m[i] = static_cast<float>((seed >> 16) % 2003) / 7.0f - 100.0f;
    }
    return m;
}

Vector4 Point(Vector3 const& v) {
    return Vector4(v.x, v.y, v.z, 1);
}

void ExpectNear(Matrix const& actual, Matrix const& expected, float tolerance) {
    for (unsigned int i = 0; i < 16; ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "element " << i;
    }
}

TEST(TrevikHash, GivesTheIdsThatFactoriesAndFilesUse) {
    struct {
        char const* name;
        char16_t const* wideName;
        unsigned int id;
    } const cases[] = {
        {"", u"", 5381},
        {"Timeline", u"Timeline", 429067420},
        {"Camera", u"Camera", 725709262},
        {"Font", u"Font", 2089113820},
        {"DirectionalBlurResource", u"DirectionalBlurResource", 717217456},
        {"NinePatchSprite", u"NinePatchSprite", 2069643382},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(HashName(c.name), c.id) << c.name;
        EXPECT_EQ(HashName(c.wideName), c.id) << c.name;
    }
    static_assert(HashName("Sprite") == 1369848476u && HashName(u"Sprite") == 1369848476u,
                  "an id is a constant of the compiler's");
}

TEST(TrevikHash, TakesUnitsAsUnsignedAndLengthsAsGiven) {
    EXPECT_EQ(HashName("\xff", 1), (5381u * 33 + 0xff) & 0x7fffffffu);
    EXPECT_EQ(HashName(u"\xffff", 1), (5381u * 33 + 0xffff) & 0x7fffffffu);
    EXPECT_EQ(HashName("Fonts", 4), HashName("Font"));
    EXPECT_NE(HashName("a\0b", 3), HashName("a"));
}

TEST(TrevikValues, AreZeroByDefaultAndCompareExactly) {
    EXPECT_EQ(Vector2T<int>(), Vector2T<int>(0, 0));
    EXPECT_EQ(Vector4(), Vector4(0, 0, 0, 0));
    EXPECT_EQ(QuaternionT<float>(), QuaternionT<float>(0, 0, 0, 0));
    EXPECT_EQ(ColorT<float>(), ColorT<float>::None);
    EXPECT_EQ(g_blackOfAnEarlyStatic, ColorT<RealFloat>(0, 0, 0, 1));
    EXPECT_NE(Vector3(0, 0, 1), Vector3(0, 0, std::nextafter(1.0f, 2.0f)));
    EXPECT_NE(QuaternionT<float>(0, 0, 0, 1), QuaternionT<float>());
    EXPECT_NE(SizeT<int>(3, 4), SizeT<int>(4, 3));
    EXPECT_NE(RectangleT<int>(1, 2, 3, 4), RectangleT<int>(1, 2, 3, 5));
}

TEST(TrevikValues, VectorsAddScaleAndMultiply) {
    Vector3 const a(1, 2, 3), b(-4, 5, 0.5f);
    EXPECT_EQ(a + b, Vector3(-3, 7, 3.5f));
    EXPECT_EQ(a - b, Vector3(5, -3, 2.5f));
    EXPECT_EQ(a * 2.0f, 2.0f * a);
    EXPECT_EQ(-a, Vector3(-1, -2, -3));
    EXPECT_EQ(Vector3Dot(a, b), 7.5f);
    EXPECT_EQ(Vector3Cross(Vector3(1, 0, 0), Vector3(0, 1, 0)), Vector3(0, 0, 1));
    EXPECT_EQ(Vector2T<int>(3, 4) - Vector2T<int>(1, 7), Vector2T<int>(2, -3));
    EXPECT_EQ(Vector4(1, 2, 3, 4) + Vector4(1, 1, 1, 1), Vector4(2, 3, 4, 5));
}

TEST(TrevikMatrix, IsTheIdentityByDefaultAndBeforeOtherStatics) {
    EXPECT_EQ(Matrix() * Vector4(2, 3, 5, 7), Vector4(2, 3, 5, 7));
    EXPECT_EQ(g_identityOfAnEarlyStatic, Matrix());
    Matrix set = UnlikeNumbers(1);
    Matrix4SetIdentity<RealFloat>(set);
    EXPECT_EQ(set, Matrix::Identity);
}

TEST(TrevikMatrix, ProductAppliesTheFirstMatrixFirst) {
    Matrix const scale = Matrix4Scale(Vector3(2, 3, 4));
    Matrix const move = Matrix4Translation(Vector3(10, 20, 30));
    EXPECT_EQ(scale * move * Point(Vector3(1, 1, 1)), Point(Vector3(12, 23, 34)));
    EXPECT_EQ(move * scale * Point(Vector3(1, 1, 1)), Point(Vector3(22, 63, 124)));
}

/** The vector unit's product has the bits of the plain sum, which another processor computes. */
TEST(TrevikMatrix, ProductsAreTheSumsFromLeftToRight) {
    Matrix const a = UnlikeNumbers(3), b = UnlikeNumbers(77);
    Matrix const product = a * b;
    for (unsigned int column = 0; column < 4; ++column) {
        for (unsigned int row = 0; row < 4; ++row) {
            float const sum = b[row] * a[column * 4] + b[4 + row] * a[column * 4 + 1] +
                              b[8 + row] * a[column * 4 + 2] + b[12 + row] * a[column * 4 + 3];
            EXPECT_EQ(product[column * 4 + row], sum) << column << ", " << row;
        }
    }
    Vector4 const v(0.3f, -7.1f, 11.7f, 1.9f);
    EXPECT_EQ((b * v).y, b[1] * v.x + b[5] * v.y + b[9] * v.z + b[13] * v.w);
}

TEST(TrevikMatrix, ResultMayBeAnOperand) {
    Matrix const a = UnlikeNumbers(5), b = UnlikeNumbers(6), product = a * b;
    Matrix first = a, second = b, both = a;
    Matrix4Multiply<RealFloat>(first, b, first);
    Matrix4Multiply<RealFloat>(a, second, second);
    Matrix4Multiply<RealFloat>(both, both, both);
    EXPECT_EQ(first, product);
    EXPECT_EQ(second, product);
    EXPECT_EQ(both, a * a);
    Vector4 v(1, 2, 3, 4);
    Matrix4Vector4Multiply<RealFloat, RealFloat>(a, v, v);
    EXPECT_EQ(v, a * Vector4(1, 2, 3, 4));
}

TEST(TrevikMatrix, DoublePrecisionMultipliesInTheSameOrder) {
    Matrix4T<double> const scale = Matrix4Scale(Vector3T<double>(2, 2, 2));
    Matrix4T<double> const move = Matrix4Translation(Vector3T<double>(1, 0, 0));
    EXPECT_EQ((scale * move)[12], 1.0);
    EXPECT_EQ((move * scale)[12], 2.0);
    Matrix4T<double> product = scale;
    Matrix4Multiply(product, move, product);
    EXPECT_EQ(product, scale * move);
}

TEST(TrevikMatrix, InverseUndoesEveryKindOfMatrix) {
    Matrix perspective;
    perspective[0] = 1.5f;
    perspective[5] = 2.5f;
    perspective[10] = -1.02f;
    perspective[11] = -1;
    perspective[14] = -2.02f;
    perspective[15] = 0;
    Matrix const cases[] = {
        Matrix(),
        Matrix4Translation(Vector3(5, -6, 7)),
        Matrix4Scale(Vector3(2, -0.5f, 3)),
        Matrix4RotationEulerXYZ(Vector3(30, 40, 50)) * Matrix4Translation(Vector3(1, 2, 3)),
        perspective,
        Matrix4Scale(Vector3(0.5f, 2, 1)) * Matrix4RotationEulerXYZ(Vector3(10, 200, -70)) * perspective,
    };
    for (Matrix const& m : cases) {
        Matrix inverse;
        ASSERT_TRUE(Matrix4Inverse(m, inverse));
        ExpectNear(m * inverse, Matrix(), 1e-4f);
        ExpectNear(inverse * m, Matrix(), 1e-4f);
        Matrix inPlace = m;
        ASSERT_TRUE(Matrix4Inverse(inPlace, inPlace));
        EXPECT_EQ(inPlace, inverse);
    }
}

TEST(TrevikMatrix, InverseOfADegenerateMatrixLeavesTheResultAlone) {
    Matrix const untouched = UnlikeNumbers(9);
    Matrix out = untouched;
    Matrix notANumber;
    notANumber[5] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(1, 0, 1)), out));
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(0.01f, 0.01f, 0.99f)), out)); // 0.000099
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(-0.01f, 0.01f, 0.99f)), out));
    EXPECT_FALSE(Matrix4Inverse(notANumber, out));
    EXPECT_EQ(out, untouched);
    EXPECT_TRUE(Matrix4Inverse(Matrix4Scale(Vector3(0.01f, -0.01f, 1.01f)), out)); // -0.000101
    EXPECT_FLOAT_EQ(out[5], -100);
    EXPECT_TRUE(Matrix4Inverse(Matrix4Scale(Vector3(0.001f, 0.001f, 1)), out, 1e-9));
    EXPECT_FALSE(Matrix4Inverse(Matrix4Scale(Vector3(0.5f, 0.5f, 1)), out, 0.25)); // equal is not greater
}

TEST(TrevikMatrix, RotatesCounterClockwiseAboutXThenYThenZ) {
    struct {
        Vector3 degrees, from, to;
    } const cases[] = {
        {{90, 0, 0}, {0, 1, 0}, {0, 0, 1}},     {{0, 90, 0}, {0, 0, 1}, {1, 0, 0}},
        {{0, 0, 90}, {1, 0, 0}, {0, 1, 0}},     {{90, 90, 0}, {0, 1, 0}, {1, 0, 0}},
        {{90, 0, 90}, {0, 0, 1}, {1, 0, 0}},    {{0, 90, 90}, {0, 0, 1}, {0, 1, 0}},
        {{0, 0, -180}, {1, 2, 3}, {-1, -2, 3}},
    };
    for (auto const& c : cases) {
        Vector4 const to = Matrix4RotationEulerXYZ(c.degrees) * Point(c.from);
        EXPECT_NEAR(to.x, c.to.x, 1e-6f);
        EXPECT_NEAR(to.y, c.to.y, 1e-6f);
        EXPECT_NEAR(to.z, c.to.z, 1e-6f);
    }
    Vector3 const angles(25, -130, 77);
    Matrix const oneByOne = Matrix4RotationEulerXYZ(Vector3(angles.x, 0, 0)) *
                            Matrix4RotationEulerXYZ(Vector3(0, angles.y, 0)) *
                            Matrix4RotationEulerXYZ(Vector3(0, 0, angles.z));
    ExpectNear(Matrix4RotationEulerXYZ(angles), oneByOne, 1e-6f);
    EXPECT_EQ(Matrix4RotationEulerXYZ(Vector3()), Matrix::Identity) << "exactly";
}

} // namespace
