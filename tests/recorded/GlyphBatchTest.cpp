// Batches of bitmap glyphs, their shadows and underlines: what they draw, and the calls that it takes.

#include "GlyphTest.h"

#include "BitmapFontGL2.h"
#include "trevik/Allocation.h"
#include "trevik/ScopeCounter.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class GlyphBatchTest : public GlyphTest {
protected:
    GlyphBatchTest() : m_pFont(new BitmapFontGL2) {
        m_glyphs[0].m_nOffsetX = 1;
        m_glyphs[0].m_nOffsetY = 2;
        m_glyphs[0].m_nAdvance = 9;
        m_glyphs[1].m_nOffsetX = -2;
        m_glyphs[1].m_nOffsetY = -3;
        m_glyphs[1].m_nAdvance = 5;
    }

    void Underline() {
        m_pFont->GetUnderlineProperty().SetValue(true);
        m_pFont->GetUnderlinePositionProperty().SetValue(0.25f);
        m_pFont->GetUnderlineThicknessProperty().SetValue(0.5f);
        m_pFont->GetUnderlineScaleProperty().SetValue(4);
    }

    void RenderBatch(GlyphBatch const& batch, bool fShadow = false) {
        Record([&] {
            m_pFont->RenderGlyphBatch(Device(), m_instances, batch, Vector(900, 900, 900),
                                      Color(0.125f, 0.375f, 0.625f, 0.5f), fShadow, m_shadowOffset,
                                      m_shadowColor);
        });
    }
    void RenderBatch(bool fShadow = false) { RenderBatch(m_batch, fShadow); }

    Ref<BitmapFontGL2> m_pFont;
    Vector m_shadowOffset{2, -3, 0.5f};
    Color m_shadowColor{0.25f, 0.75f, 0.125f, 0.5f};
};

Floats const GlyphPositions = {
    10,    20, 0, 10,    26, 0, 14,    26, 0, 14,    26, 0, 14,    20, 0, 10,    20, 0, //
    30.5f, -7, 0, 30.5f, 1,  0, 33.5f, 1,  0, 33.5f, 1,  0, 33.5f, -7, 0, 30.5f, -7, 0,
};

// Of corners 1, 2, 4, 4, 3 and 1 of both glyphs.
Floats const Alphas = {0.125f, 0.25f, 1, 1, 0.5f, 0.125f, 1, 0, 0.625f, 0.625f, 0.75f, 1};

Floats const OwnColors = {
    0,     0.25f, 0.5f, 0.125f, 0.25f, 0.25f, 0.5f, 0.25f, 0.75f, 0.25f, 0.5f, 1,      //
    0.75f, 0.25f, 0.5f, 1,      0.5f,  0.25f, 0.5f, 0.5f,  0,     0.25f, 0.5f, 0.125f, //
    0,     0.5f,  0.5f, 1,      0.25f, 0.5f,  0.5f, 0,     0.75f, 0.5f,  0.5f, 0.625f, //
    0.75f, 0.5f,  0.5f, 0.625f, 0.5f,  0.5f,  0.5f, 0.75f, 0,     0.5f,  0.5f, 1,
};

/** A stream of one colour with the alphas of the corners, times a factor. */
Floats ColorsOf(float r, float g, float b, float a) {
    Floats colors;
    for (float const alpha : Alphas) {
        colors.insert(colors.end(), {r, g, b, a * alpha});
    }
    return colors;
}

Floats Moved(Floats positions, Vector3T<RealFloat> const& offset) {
    for (std::size_t i = 0; i < positions.size(); i += 3) {
        positions[i] += offset.x;
        positions[i + 1] += offset.y;
        positions[i + 2] += offset.z;
    }
    return positions;
}

TEST_F(GlyphBatchTest, EachGlyphIsTwoTrianglesInItsCornersColours) {
    RenderBatch();
    recording::Draw const draw = Draws().at(0);
    EXPECT_EQ(draw.Values(0), GlyphPositions);
    EXPECT_EQ(draw.Values(1), (Floats{0.25f,  0.5f,   0.25f,  0.125f, 0.75f,  0.125f, //
                                      0.75f,  0.125f, 0.75f,  0.5f,   0.25f,  0.5f,   //
                                      0,      1,      0,      0.5f,   0.375f, 0.5f,   //
                                      0.375f, 0.5f,   0.375f, 1,      0,      1}));
    EXPECT_EQ(draw.Values(4), OwnColors);
}

TEST_F(GlyphBatchTest, IsOneDrawFromClientMemory) {
    RenderBatch();
    RenderBatch(); // the texture is there and uniforms are known
    EXPECT_CALLS("glUseProgram(" + std::to_string(ProgramName(4)) + ")", "glEnableVertexAttribArray(0)",
                 "glEnableVertexAttribArray(1)", "glEnableVertexAttribArray(4)",
                 "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(4, 4, GL_FLOAT, GL_FALSE, 0, *)", "glUniform1i(sTexture, 0)",
                 "glActiveTexture(GL_TEXTURE0)", BindingOf(*m_pTexture),
                 "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)", "glUniform1f(fFade, 0.5)",
                 "glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA)",
                 "glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)", "glDrawArrays(GL_TRIANGLES, 0, 12)");
    EXPECT_TRUE(Errors().empty());
}

TEST_F(GlyphBatchTest, LiesUnderTheTransformOnTopOfTheStack) {
    Underline();
    Device().Clear();
    Clear();
    Device().PushTransformMatrix(SomeTransform());
    m_pFont->RenderGlyphBatch(Device(), m_instances, m_batch, Vector(), Color::Black, false, Vector(),
                              Color());
    ASSERT_EQ(Draws().size(), 2u);
    EXPECT_EQ(Draws()[0].Uniform("mWorldToView"), ToClipSpace());
    EXPECT_EQ(Draws()[1].Uniform("mWorldToView"), ToClipSpace());
    EXPECT_EQ(Draws()[1].Uniform("mViewToViewport"),
              Floats(Matrix4T<float>::Identity.m, Matrix4T<float>::Identity.m + 16));
}

TEST_F(GlyphBatchTest, ShadowAndHighlightMoveAndTintGlyphsAndUnderlinesAlike) {
    Underline();
    RenderBatch();
    Floats const underlinePositions = Draws().at(1).Values(0);
    struct Case {
        char const* name;
        bool shadow, highlight;
        Floats colors;
    };
    // The highlight's alpha, a quarter, is in a highlighted shadow's colour twice.
    Case const cases[] = {
        {"neither", false, false, OwnColors},
        {"shadow", true, false, ColorsOf(0.25f, 0.75f, 0.125f, 0.5f)},
        {"highlight", false, true, ColorsOf(1, 0.5f, 0.375f, 0.25f)},
        {"highlighted shadow", true, true, ColorsOf(1, 0.5f, 0.375f, 0.25f * 0.5f * 0.25f)},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Device().SetHighlight(test.highlight, Color(1, 0.5f, 0.375f, 0.25f));
        RenderBatch(test.shadow);
        Vector const offset = test.shadow ? m_shadowOffset : Vector();
        ASSERT_EQ(Draws().size(), 2u);
        EXPECT_EQ(Draws()[0].Values(0), Moved(GlyphPositions, offset));
        EXPECT_EQ(Draws()[0].Values(4), test.colors);
        EXPECT_EQ(Draws()[1].Values(0), Moved(underlinePositions, offset));
        EXPECT_EQ(Draws()[1].Values(4), test.colors);
        EXPECT_EQ(Draws()[0].Uniform("fFade"), Floats{0.5f});
        EXPECT_EQ(Draws()[1].Uniform("fFade"), Floats{0.5f});
    }
}

TEST_F(GlyphBatchTest, UnderlinesSpanAdvancesBelowTheBaseline) {
    Underline(); // 3 from the baseline down to its lower edge, 2 thick
    RenderBatch();
    ASSERT_EQ(Draws().size(), 2u);
    EXPECT_EQ(Draws()[1].Values(0), (Floats{9,     19,  0, 9,     21,  0, 18,    21,  0, 18,    21,  0,
                                            18,    19,  0, 9,     19,  0, 32.5f, -13, 0, 32.5f, -11, 0,
                                            37.5f, -11, 0, 37.5f, -11, 0, 37.5f, -13, 0, 32.5f, -13, 0}));
}

TEST_F(GlyphBatchTest, UnderlinesAreASecondDrawWithoutTextureAndBlending) {
    Underline();
    RenderBatch();
    RenderBatch();
    auto const first = Calls();
    auto const draw = static_cast<std::size_t>(IndexOf("glDrawArrays"));
    EXPECT_TRUE(CallsAre(
        {"glDisableVertexAttribArray(0)", "glDisableVertexAttribArray(1)", "glDisableVertexAttribArray(4)",
         "glActiveTexture(GL_TEXTURE0)", "glBindTexture(GL_TEXTURE_2D, 0)", "glUseProgram(0)",
         "glUseProgram(" + std::to_string(ProgramName(5)) + ")", "glEnableVertexAttribArray(0)",
         "glEnableVertexAttribArray(4)", "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
         "glVertexAttribPointer(4, 4, GL_FLOAT, GL_FALSE, 0, *)",
         "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)", "glUniform1f(fFade, 0.5)",
         "glDrawArrays(GL_TRIANGLES, 0, 12)"},
        std::vector<Call>(first.begin() + static_cast<std::ptrdiff_t>(draw) + 1, first.end())));
}

TEST_F(GlyphBatchTest, SmallerBatchesDrawTheBeginningOfLargerStreams) {
    RenderBatch(GlyphBatch{0, 3});
    Strings const pointers = {"glVertexAttribPointer(0, *)", "glVertexAttribPointer(1, *)",
                              "glVertexAttribPointer(4, *)"};
    std::vector<void const*> streams;
    for (std::string const& pointer : pointers) {
        streams.push_back(LastCall(pointer).Pointer(5));
    }
    RenderBatch(GlyphBatch{1, 1});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 6)"}));
    EXPECT_EQ(Draws().at(0).Values(0), Floats(GlyphPositions.begin(), GlyphPositions.begin() + 18));
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        EXPECT_EQ(LastCall(pointers[i]).Pointer(5), streams[i]) << pointers[i];
    }
}

TEST_F(GlyphBatchTest, AnEmptyBatchBindsTheTextureOfItsFirstInstance) {
    RenderBatch(GlyphBatch{2, 0});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 0)"}));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), m_pTexture->GetGLTexture());
}

TEST_F(GlyphBatchTest, BatchesThatAreNotAmongTheInstancesDrawNothing) {
    for (GlyphBatch const batch :
         {GlyphBatch{3, 0}, GlyphBatch{2, 2}, GlyphBatch{1, ~0u}, GlyphBatch{~0u, 1}}) {
        RenderBatch(batch);
        EXPECT_EQ(Lines(), Strings()) << batch.m_nFirst << ", " << batch.m_nCount;
    }
}

TEST_F(GlyphBatchTest, WithoutMemoryForItsStreamsNothingIsDrawn) {
    static unsigned int s_nInstances = 0;
    s_nInstances += 5000; // more than anything has drawn before, this test the last time included
    while (m_instances.GetCount() < s_nInstances) {
        Append(m_glyphs[0], 3, 4, {1, 1, 1, 1});
    }
    GlyphBatch const all{0, m_instances.GetCount()};
    RenderBatch(); // uniforms are known from here on
    // None of the three streams, then one more each time.
    for (unsigned int const nStreams : {0u, 1u, 1u}) {
        Clear();
        Allocation::FailAfter(nStreams);
        m_pFont->RenderGlyphBatch(Device(), m_instances, all, Vector(), Color(), false, Vector(), Color());
        Allocation::FailNever();
        EXPECT_EQ(Lines(), Strings());
    }
    RenderBatch(all);
    EXPECT_EQ(Draws().at(0).count, static_cast<GLsizei>(6 * s_nInstances));
}

TEST_F(GlyphBatchTest, WithoutADeviceNothingIsDrawn) {
    GraphicsDeviceGL2 device;
    Clear();
    m_pFont->RenderGlyphBatch(device, m_instances, m_batch, Vector(), Color(), false, Vector(), Color());
    EXPECT_EQ(Lines(), Strings());
}

TEST_F(GlyphBatchTest, CountsItsRendering) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    RenderBatch();
    RenderBatch();
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(ScopeCounter::GetTotals(6).nCalls, 2u);
}

} // namespace
