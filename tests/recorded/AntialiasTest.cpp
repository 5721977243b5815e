// Antialiased edges: the coverage table, the edge equations, and the pass that draws them.

#include "NodeTest.h"

#include "kelvo_test/Exact.h"

#include <cmath>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;
using namespace ::kelvo::test;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;
using Point = Vector4T<RealFloat>;
using Matrix = Matrix4T<RealFloat>;

double At(Vector const& equation, double x, double y) {
    return double(equation.x) * x + double(equation.y) * y + double(equation.z);
}

/** Device coordinates to a window of 61 by 37 pixels, y down, whole halves. */
Matrix WindowMatrix() {
    Matrix matrix;
    matrix.m[0] = 30;
    matrix.m[5] = -18;
    matrix.m[12] = 30;
    matrix.m[13] = 18;
    return matrix;
}

TEST(AntialiasLine, AHorizontalEdgeFadesWithinTheHalfWidth) {
    struct Case {
        double x, y;
        int equation;
        double value;
    };
    // From (10, 9) to (40, 9), drawn from (6, 9) to (44, 9). The equations are 1 on the line, respectively at
    // its ends, and fall to 0 over two pixels outward; k = 2 / (4 * 38).
    Case const cases[] = {{20, 9, 0, 1},  {20, 11, 0, 0}, {20, 7, 0, 2}, {20, 9, 2, 1},
                          {20, 7, 2, 0},  {20, 11, 2, 2}, {44, 9, 1, 1}, {46, 20, 1, 0},
                          {42, 20, 1, 2}, {6, 9, 3, 1},   {4, 20, 3, 0}, {8, 20, 3, 2}};
    Matrix fromWindow;
    ASSERT_TRUE(Matrix4Inverse(WindowMatrix(), fromWindow));
    Point p0((10 - 30) / 30.0f, (18 - 9) / 18.0f, 0, 1);
    Point p1((40 - 30) / 30.0f, (18 - 9) / 18.0f, 0, 1);
    Vector equations[10]; // one slot on either side that nothing writes
    SpriteGL2::CalculateLineEq(WindowMatrix(), fromWindow, p0, p1, 2, equations, 1, 4);
    for (Case const& test : cases) {
        EXPECT_NEAR(At(equations[1 + test.equation], test.x, test.y), test.value, 1e-4)
            << "equation " << test.equation << " at " << test.x << ", " << test.y;
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(equations[1 + i], equations[5 + i]) << "each is written for both ends";
    }
    EXPECT_EQ(equations[0], Vector());
    EXPECT_EQ(equations[9], Vector());
}

TEST(AntialiasLine, DepthCountsInTheLength) {
    // One end three window units deeper: of the length 5 only 4 lie along x, so the ends move by 4 * 4 / 5.
    Matrix const identity;
    Point p0(0, 0, 3, 1);
    Point p1(4, 0, 0, 1);
    Vector equations[8];
    SpriteGL2::CalculateLineEq(identity, identity, p0, p1, 2, equations, 0, 4);
    EXPECT_NEAR(At(equations[1], 4 + 3.2, 0), 1, 1e-5);
    EXPECT_NEAR(At(equations[3], -3.2, 0), 1, 1e-5);
}

class Antialias : public NodeTest {
protected:
    Ref<SpriteGL2> MakeSmoothSprite(int width, int height) {
        Ref<SpriteGL2> const pSprite = MakeSprite(width, height);
        pSprite->GetAntialiasProperty().SetValue(true);
        return pSprite;
    }
};

TEST_F(Antialias, TheOutlineFollowsTheSizePropertyOfTheMoment) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    pSprite->GetSizeProperty().SetValue(SizeT<int>(40, 10));
    Draw(*pSprite);
    Floats const farEnd = Draws().at(1).streams.at(0).Vertex(1);
    EXPECT_NEAR(farEnd.at(0), 2 * 40.0 / Width - 1, 1e-4);
}

TEST_F(Antialias, WithoutTheTableTextureNoneIsBound) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    DrawAgain(*pSprite);
    SpriteGL2::ReleaseAntialiasFilter();
    Draw(*pSprite);
    EXPECT_EQ(Draws().at(1).Texture("sDistribution"), 0u);
    EXPECT_TRUE(CallsInclude({"glUniform1i(sDistribution, 0)", "glActiveTexture(GL_TEXTURE0)",
                              "glBindTexture(GL_TEXTURE_2D, 0)"}));
}

TEST_F(Antialias, TheTableIsMadeAnewOnRequestAndGoesWithTheDevice) {
    EXPECT_TRUE(SpriteGL2::CreateAntialiasFilter());
    Ref<SpriteGL2> pSprite = MakeSmoothSprite(20, 10);
    Draw(*pSprite);
    GLuint const first = Draws().at(1).Texture("sDistribution");
    EXPECT_TRUE(SpriteGL2::CreateAntialiasFilter());
    Draw(*pSprite);
    GLuint const second = Draws().at(1).Texture("sDistribution");
    EXPECT_TRUE(FindTexture(second));
    Device().SetActiveShader(nullptr);
    pSprite.Reset();
    m_pDevice.reset();
    EXPECT_TRUE(LiveNames(Object::Texture).empty()) << "first " << first << ", second " << second;
}

} // namespace
