// Glyphs that are pictures: what a text's image batches draw, and what a text sets up around its batches.

#include "GlyphTest.h"

#include "BitmapFontGL2.h"
#include "CameraGL2.h"
#include "TextGL2.h"
#include "trevik/Allocation.h"
#include "trevik/ScopeCounter.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class TextImageTest : public GlyphTest {
protected:
    TextImageTest() : m_pText(new TextGL2) {
        m_pTexture->SetUsedSize(12, 2); // of 16 by 8
        m_glyphs[0].m_fImage = m_glyphs[1].m_fImage = true;
    }

    void RenderBatch(GlyphBatch const& batch) {
        Record([&] {
            m_pText->RenderImageBatch(Device(), m_instances, batch, Color(0.125f, 0.375f, 0.625f, 0.5f));
        });
    }
    void RenderBatch() { RenderBatch(m_batch); }

    Ref<TextGL2> m_pText;
};

TEST_F(TextImageTest, ABatchIsOneDrawFromClientMemory) {
    RenderBatch();
    RenderBatch(); // the texture is there and uniforms are known
    EXPECT_CALLS("glUseProgram(" + std::to_string(ProgramName(6)) + ")", "glEnableVertexAttribArray(0)",
                 "glEnableVertexAttribArray(1)", "glEnableVertexAttribArray(4)",
                 "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(4, 1, GL_FLOAT, GL_FALSE, 0, *)", "glUniform1i(sTexture, 0)",
                 "glActiveTexture(GL_TEXTURE0)", BindingOf(*m_pTexture),
                 "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)", "glUniform4f(vColor, 1, 1, 1, 0.5)",
                 "glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA)",
                 "glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)", "glDrawArrays(GL_TRIANGLES, 0, 12)");
    EXPECT_TRUE(Errors().empty());
    // Each image is two triangles.
    recording::Draw const draw = Draws().at(0);
    EXPECT_EQ(draw.Values(0),
              (Floats{10,    20, 0, 10,    26, 0, 14,    26, 0, 14,    26, 0, 14,    20, 0, 10,    20, 0,
                      30.5f, -7, 0, 30.5f, 1,  0, 33.5f, 1,  0, 33.5f, 1,  0, 33.5f, -7, 0, 30.5f, -7, 0}));
    // The used part of the texture, its first row at the upper edge.
    Floats coords = {0, 0.25f, 0, 0, 0.75f, 0, 0.75f, 0, 0.75f, 0.25f, 0, 0.25f};
    coords.insert(coords.end(), {0, 0.25f, 0, 0, 0.75f, 0, 0.75f, 0, 0.75f, 0.25f, 0, 0.25f});
    EXPECT_EQ(draw.Values(1), coords);
    EXPECT_EQ(draw.Values(4), (Floats{0.125f, 0.25f, 1, 1, 0.5f, 0.125f, 1, 0, 0.625f, 0.625f, 0.75f, 1}))
        << "faded at its corners";
}

TEST_F(TextImageTest, LiesUnderTheTransformOnTopOfTheStack) {
    Device().Clear();
    Clear();
    Device().PushTransformMatrix(SomeTransform());
    m_pText->RenderImageBatch(Device(), m_instances, m_batch, Color());
    EXPECT_EQ(Draws().at(0).Uniform("mWorldToView"), ToClipSpace());
    EXPECT_EQ(Draws().at(0).Uniform("mViewToViewport"),
              Floats(Matrix4T<float>::Identity.m, Matrix4T<float>::Identity.m + 16));
}

TEST_F(TextImageTest, AHighlightReplacesTheFadeOfTheWhole) {
    RenderBatch();
    Floats const fades = Draws().at(0).Values(4);
    Device().SetHighlight(true, Color(1, 0.5f, 0.375f, 0.25f));
    RenderBatch();
    EXPECT_EQ(Draws().at(0).Uniform("vColor"), (Floats{1, 0.5f, 0.375f, 0.125f}));
    EXPECT_EQ(Draws().at(0).Values(4), fades);
}

TEST_F(TextImageTest, SmallerBatchesDrawTheBeginningOfLargerStreams) {
    RenderBatch(GlyphBatch{0, 3});
    void const* const pPositions = LastCall("glVertexAttribPointer(0, *)").Pointer(5);
    RenderBatch(GlyphBatch{1, 1});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 6)"}));
    EXPECT_EQ(Draws().at(0).Values(4), (Floats{0.125f, 0.25f, 1, 1, 0.5f, 0.125f}));
    EXPECT_EQ(LastCall("glVertexAttribPointer(0, *)").Pointer(5), pPositions);
}

TEST_F(TextImageTest, AnEmptyBatchBindsTheTextureOfItsFirstInstance) {
    RenderBatch(GlyphBatch{2, 0});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 0)"}));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), m_pTexture->GetGLTexture());
}

TEST_F(TextImageTest, BatchesThatAreNotAmongTheInstancesDrawNothing) {
    for (GlyphBatch const batch : {GlyphBatch{3, 0}, GlyphBatch{2, 2}, GlyphBatch{1, ~0u}}) {
        RenderBatch(batch);
        EXPECT_EQ(Lines(), Strings()) << batch.m_nFirst << ", " << batch.m_nCount;
    }
}

TEST_F(TextImageTest, WithoutMemoryOrDeviceNothingIsDrawn) {
    static unsigned int s_nInstances = 0;
    s_nInstances += 5000; // more than anything has drawn before, this test the last time included
    while (m_instances.GetCount() < s_nInstances) {
        Append(m_glyphs[0], 3, 4, {1, 1, 1, 1});
    }
    GlyphBatch const all{0, m_instances.GetCount()};
    RenderBatch(); // uniforms are known from here on
    Clear();
    // None of the three streams, then one more each time.
    for (unsigned int const nStreams : {0u, 1u, 1u}) {
        Allocation::FailAfter(nStreams);
        m_pText->RenderImageBatch(Device(), m_instances, all, Color());
        Allocation::FailNever();
    }
    GraphicsDeviceGL2 device;
    m_pText->RenderImageBatch(device, m_instances, all, Color());
    EXPECT_EQ(Lines(), Strings());
}

TEST_F(TextImageTest, AnImageWithoutTextureHasNoArea) {
    m_glyphs[0].m_pTexture = nullptr;
    RenderBatch();
    Floats const coords = Draws().at(0).Values(1);
    EXPECT_EQ(Floats(coords.begin(), coords.begin() + 12), Floats(12));
    EXPECT_EQ(coords.at(12 + 4), 0.75f);
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), 0u);
}

TEST_F(TextImageTest, BothKindsOfBatchAreCountedAsOne) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    RenderBatch();
    m_pText->Render(Device());
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(ScopeCounter::GetTotals(6).nCalls, 1u);
    EXPECT_EQ(ScopeCounter::GetTotals(5).nCalls, 1u);
}

/** Notes under which transform it is asked to draw. */
class TransformNotingEffect : public NotingEffect {
public:
    using NotingEffect::NotingEffect;

    bool OverrideDrawText(GraphicsDevice& device, Text&) override {
        m_transform = device.GetTransformMatrix();
        m_projection = device.GetProjectionMatrix();
        return true;
    }

    Matrix4T<RealFloat> m_transform;
    Matrix4T<RealFloat> m_projection;
};

TEST_F(TextImageTest, ATextPutsItsTransformUnderWhatItDraws) {
    Ref<CameraGL2> const pCamera(new CameraGL2);
    pCamera->GetPositionProperty().SetValue(Vector(1, 2, 300));
    pCamera->Update(Device(), 0);
    Strings notes;
    Ref<TransformNotingEffect> const pEffect(new TransformNotingEffect("", notes));
    m_pText->SetFont(new BitmapFontGL2);
    m_pText->AddEffect(pEffect.Get());
    m_pText->GetPositionProperty().SetValue(Vector(5, -7, 11));
    m_pText->GetScaleProperty().SetValue(Vector(2, 3, 4));
    m_pText->Update(Device(), 0);
    // Camera depth chooses between the camera on top and the default one.
    for (bool const fDepth : {false, true}) {
        SCOPED_TRACE(fDepth);
        m_pText->GetDepthProperty().SetValue(fDepth);
        Device().Clear();
        Device().PushCamera(pCamera.Get());
        m_pText->Render(Device());
        Device().SetCameraDepth(fDepth);
        EXPECT_EQ(pEffect->m_transform, m_pText->GetWorldMatrix() * Device().GetViewMatrix());
        EXPECT_EQ(pEffect->m_projection, Device().GetProjectionMatrix());
        EXPECT_EQ(Device().GetTransformMatrix(), Matrix4T<RealFloat>::Identity) << "and takes it off again";
        Device().PopCamera();
    }
}

} // namespace
