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
using Equation = std::array<double, 3>;

/** What CalculateLineEq answers, by its formula in double precision. */
struct ExactEdge {
    Equation equations[4];
    ExactPoint ends[2]; ///< device coordinates
};

ExactEdge ComputeEdge(ExactMatrix const& toWindow, ExactPoint const& p0, ExactPoint const& p1, double h) {
    ExactEdge edge;
    edge.ends[0] = ExactDivided(p0);
    edge.ends[1] = ExactDivided(p1);
    ExactPoint const s0 = toWindow * edge.ends[0];
    ExactPoint const s1 = toWindow * edge.ends[1];
    double length = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        length += (s0[i] - s1[i]) * (s0[i] - s1[i]);
    }
    length = std::sqrt(length);
    double const dx = 2 * h * (s0[0] - s1[0]) / length;
    double const dy = 2 * h * (s0[1] - s1[1]) / length;
    double const x0 = s0[0] + dx, y0 = s0[1] + dy, x1 = s1[0] - dx, y1 = s1[1] - dy;
    double const a = y1 - y0, b = x1 - x0;
    double const k = 2 / (2 * h * std::sqrt(std::fabs(b * b - a * a)));
    edge.equations[0] = {k * a, -k * b, 1 + k * (x1 * y0 - x0 * y1)};
    edge.equations[1] = {-k * b, -k * a, 1 + k * (x1 * x1 + y1 * y1 - x0 * x1 - y0 * y1)};
    edge.equations[2] = {-k * a, k * b, 1 + k * (x0 * y1 - x1 * y0)};
    edge.equations[3] = {k * b, k * a, 1 + k * (x0 * x0 + y0 * y0 - x0 * x1 - y0 * y1)};
    return edge;
}

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

TEST_F(Antialias, TheCoverageTableIsARaisedCosine) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(4, 4);
    Draw(*pSprite);
    std::optional<recording::Texture> const table = FindTexture(Draws().at(1).Texture("sDistribution"));
    ASSERT_TRUE(table);
    TextureLevel const& level = table->levels.at(0);
    EXPECT_EQ(level.width, 32);
    EXPECT_EQ(level.height, 1);
    EXPECT_EQ(level.format, static_cast<GLenum>(GL_ALPHA));
    ASSERT_EQ(level.bytes.size(), 32u);
    EXPECT_EQ(level.bytes[0], 0);
    EXPECT_EQ(level.bytes[16], 127);
    EXPECT_EQ(level.bytes[31], 254);
    for (std::size_t i = 0; i < 32; ++i) {
        double const angle = M_PI / 2 + (1 - double(i) / 32) * M_PI;
        EXPECT_EQ(level.bytes[i], static_cast<int>((std::sin(angle) + 1) * 0.5 * 255)) << i;
    }
}

TEST_F(Antialias, DrawsTheOutlineOfATexturedSpriteAfterIt) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    Ref<TextureGL2> const pTexture = MakeTexture(4, 4);
    pSprite->SetTexture(pTexture.Get());
    DrawAgain(*pSprite);
    std::vector<Call> const calls = Calls();
    std::size_t const after = static_cast<std::size_t>(IndexOf("glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)")) + 1;
    std::string const bind = "glBindTexture(GL_TEXTURE_2D, ";
    std::string const image = bind + std::to_string(pTexture->GetGLTexture()) + ")";
    EXPECT_TRUE(CallsAre({"glDisableVertexAttribArray(0)",
                          "glDisableVertexAttribArray(1)",
                          "glActiveTexture(GL_TEXTURE0)",
                          bind + "0)",
                          "glUseProgram(0)",
                          "glUseProgram(" + std::to_string(ProgramName(9)) + ")",
                          "glEnableVertexAttribArray(0)",
                          "glEnableVertexAttribArray(1)",
                          "glEnableVertexAttribArray(4)",
                          "glEnableVertexAttribArray(5)",
                          "glEnableVertexAttribArray(6)",
                          "glEnableVertexAttribArray(7)",
                          "glUniform1i(sTexture, 0)",
                          "glActiveTexture(GL_TEXTURE0)",
                          image,
                          "glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, *)",
                          "glUniform1i(sDistribution, 1)",
                          "glActiveTexture(GL_TEXTURE1)",
                          bind + "*)",
                          "glUniform1f(fVPHeight, 37)",
                          "glVertexAttribPointer(0, 4, GL_FLOAT, GL_FALSE, 0, *)",
                          "glVertexAttribPointer(4, 3, GL_FLOAT, GL_FALSE, 48, *)",
                          "glVertexAttribPointer(5, 3, GL_FLOAT, GL_FALSE, 48, *)",
                          "glVertexAttribPointer(6, 3, GL_FLOAT, GL_FALSE, 48, *)",
                          "glVertexAttribPointer(7, 3, GL_FLOAT, GL_FALSE, 48, *)",
                          "glLineWidth(4)",
                          "glDrawArrays(GL_LINES, 0, 8)"},
                         std::vector<Call>(calls.begin() + std::ptrdiff_t(after), calls.end())));
    EXPECT_EQ(Draws().at(1).Values(1), (Floats{0, 1, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(Antialias, TheOutlineOfAPromotedTextureHasItsRowsSwappedToo) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    Ref<TextureGL2> const pTexture = MakeTexture(4, 4);
    pSprite->SetTexture(pTexture.Get());
    ASSERT_TRUE(pTexture->Promote(false));
    pTexture->Swap();
    Draw(*pSprite);
    EXPECT_EQ(Draws().at(1).Values(1), (Floats{0, 0, 1, 0, 1, 0, 1, 1, 1, 1, 0, 1, 0, 1, 0, 0}));
}

TEST_F(Antialias, TheOutlineIsFourEdgesWithTheirEquationsAtBothEnds) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    pSprite->GetPositionProperty().SetValue(Vector(15, 12, 0));
    pSprite->GetRotationProperty().SetValue(Vector(20, 35, 10)); // so that every corner has a w of its own
    Draw(*pSprite);
    ASSERT_EQ(Draws().size(), 2u);
    ExactMatrix const toClip(Draws()[0].Uniform("mWorldToView").data());
    ExactMatrix const toWindow(WindowMatrix());
    double const corners[5][2] = {{0, 0}, {20, 0}, {20, 10}, {0, 10}, {0, 0}};
    recording::Draw const lines = Draws()[1];
    for (std::size_t edge = 0; edge < 4; ++edge) {
        SCOPED_TRACE(edge);
        ExactPoint const start = {corners[edge][0], corners[edge][1], 0, 1};
        ExactPoint const end = {corners[edge + 1][0], corners[edge + 1][1], 0, 1};
        ExactEdge const exact = ComputeEdge(toWindow, toClip * start, toClip * end, 2);
        for (std::size_t i = 0; i < 2; ++i) {
            Floats const position = lines.streams.at(0).Vertex(2 * edge + i);
            for (std::size_t n = 0; n < 4; ++n) {
                EXPECT_NEAR(position.at(n), exact.ends[i][n], 1e-4);
            }
            for (GLuint equation = 0; equation < 4; ++equation) {
                Floats const found = lines.streams.at(4 + equation).Vertex(2 * edge + i);
                EXPECT_NEAR(found.at(0), exact.equations[equation][0], 1e-3);
                EXPECT_NEAR(found.at(1), exact.equations[equation][1], 1e-3);
                EXPECT_NEAR(found.at(2), exact.equations[equation][2], 5e-2);
            }
        }
    }
}

TEST_F(Antialias, TheOutlineFollowsTheSizePropertyOfTheMoment) {
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    pSprite->GetSizeProperty().SetValue(SizeT<int>(40, 10));
    Draw(*pSprite);
    Floats const farEnd = Draws().at(1).streams.at(0).Vertex(1);
    EXPECT_NEAR(farEnd.at(0), 2 * 40.0 / Width - 1, 1e-4);
}

TEST_F(Antialias, AnUntexturedOutlineKeepsItsColourWhileHighlighted) {
    Device().SetHighlight(true, ColorT<RealFloat>(0, 0, 1, 1));
    Ref<SpriteGL2> const pSprite = MakeSmoothSprite(20, 10);
    pSprite->GetColorProperty().SetValue(Vector(1, 0.5f, 0.25f));
    pSprite->GetOpacityProperty().SetValue(0.75f);
    Draw(*pSprite);
    recording::Draw const lines = Draws().at(1);
    EXPECT_EQ(GetState().program, ProgramName(10));
    EXPECT_EQ(lines.Uniform("vColor"), (Floats{1, 0.5f, 0.25f, 0.75f}));
    EXPECT_EQ(lines.streams.count(1), 0u);
    EXPECT_EQ(lines.Uniform("sDistribution"), (Floats{0}));
    EXPECT_NE(lines.Texture("sDistribution"), 0u);
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
