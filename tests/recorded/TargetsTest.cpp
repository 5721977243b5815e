// Frame targets, the post-process pass and read-back.

#include "FramebufferGL2.h"
#include "NodeTest.h"
#include "trevik/Allocation.h"

#include <climits>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class Targets : public NodeTest {};

TEST_F(Targets, AreForgottenByASecondCall) {
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    FramebufferGL2* const pFirst = Device().GetBackTargetBuffer();
    Device().SwapTargetBuffers(false);
    pFirst->Unbind(nullptr);
    FramebufferGL2* const pOther = Device().GetBackTargetBuffer();
    ASSERT_NE(pOther, pFirst);
    Device().SetViewport(0, 0, 9, 8);
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    EXPECT_EQ(Counts(Object::Framebuffer).live, 4) << "those of before stay";
    FramebufferGL2* const pBack = Device().GetBackTargetBuffer();
    EXPECT_EQ(pBack->GetWidth(), 9);
    pBack->Bind();
    EXPECT_EQ(GetState().framebuffer, 4u) << "the first one is the current one, whichever was";
    pBack->Unbind(nullptr);
    for (FramebufferGL2* const pFormer : {pFirst, pOther}) {
        EXPECT_EQ(pFormer->GetReferenceCount(), 1) << "nobody else holds it";
        pFormer->ReleaseReference();
    }
}

TEST_F(Targets, BeforeThereAreAnySwappingAndPostProcessingDoNothing) {
    Clear();
    Device().SwapTargetBuffers(false);
    Device().SwapTargetBuffers(true);
    Device().RenderForPostProcess();
    EXPECT_CALLS();
}

/** A read of the rectangle from (3, 4) to (10, 9), y down. */
class ReadBack : public NodeTest {
protected:
    static constexpr int ReadWidth = 7;
    static constexpr int ReadHeight = 5;

    bool Read(trevik::kelvo::Texture** ppTexture) {
        return Device().ReadPixels(RectangleT<int>(3, 4, 3 + ReadWidth, 4 + ReadHeight), ppTexture);
    }

    static void SetColorBits(int nBits) {
        for (GLenum const limit : {GL_RED_BITS, GL_GREEN_BITS, GL_BLUE_BITS}) {
            SetLimit(limit, nBits);
        }
    }
};

TEST_F(ReadBack, FillsOneLevelWithTheRowsAsGLGivesThem) {
    SetColorBits(8);
    for (bool const fRefusesRGB : {false, true}) {
        SCOPED_TRACE(fRefusesRGB);
        if (fRefusesRGB) {
            FailAt("glReadPixels", 1, GL_INVALID_OPERATION); // three bytes of four will do
        }
        glPixelStorei(GL_PACK_ALIGNMENT, 8); // the application's
        SetError(GL_INVALID_ENUM);           // that of an earlier draw
        Clear();
        trevik::kelvo::Texture* pTexture = nullptr;
        ASSERT_TRUE(Read(&pTexture));
        EXPECT_EQ(GetState().packAlignment, 8);
        Ref<trevik::kelvo::Texture> const pKept(pTexture);
        EXPECT_EQ(Count("glReadPixels(3, 28, 7, 5, GL_RGBA, *)"), fRefusesRGB ? 1u : 0u);
        EXPECT_EQ(pTexture->GetFormat(), TextureFormat::RGB888);
        List<MipLevel> const& levels = pTexture->GetMipLevels().GetValue();
        EXPECT_TRUE(levels.GetCount() == 1 &&
                    levels[0] == (MipLevel{ReadWidth, ReadHeight, 0, ReadWidth * ReadHeight * 3}));
        unsigned char const* const pPixels = pTexture->GetPixelData().GetBuffer().GetData();
        for (int n = 0; n < ReadWidth * ReadHeight * 3; ++n) {
            int const x = n / 3 % ReadWidth;
            int const y = n / 3 / ReadWidth;
            ASSERT_EQ(pPixels[n], ReadPixelsPattern(3 + x, Height - 4 - ReadHeight + y, n % 3)) << n;
        }
    }
}

TEST_F(ReadBack, RefillsATextureThatIsDrawnAlready) {
    SetColorBits(8);
    Ref<TextureGL2> const pTexture = MakeTexture(50, 40);
    GLuint const before = pTexture->GetGLTexture();
    trevik::kelvo::Texture* pGiven = pTexture.Get();
    ASSERT_TRUE(Read(&pGiven));
    EXPECT_EQ(pGiven, pTexture.Get());
    EXPECT_FALSE(FindTexture(before));
    TextureLevel const level = FindTexture(pTexture->GetGLTexture())->levels.at(0);
    EXPECT_EQ(level.width, ReadWidth);
    EXPECT_EQ(level.bytes[0], ReadPixelsPattern(3, Height - 4 - ReadHeight, 0));
}

TEST_F(ReadBack, ARefusalLeavesTheCallersTextureAndMakesNone) {
    Ref<TextureGL2> const pGiven = MakeTexture(4, 3);
    GLuint const drawn = pGiven->GetGLTexture();
    for (int const nBits : {4, 10, 8}) { // only the last are read, in vain
        SCOPED_TRACE(nBits);
        SetColorBits(nBits);
        Fail("glReadPixels", GL_INVALID_OPERATION);
        Clear();
        trevik::kelvo::Texture* pTexture = nullptr;
        EXPECT_FALSE(Read(&pTexture));
        EXPECT_EQ(pTexture, nullptr);
        EXPECT_EQ(Count("glReadPixels"), nBits == 8 ? 2u : 0u) << "in both formats";
        pTexture = pGiven.Get();
        EXPECT_FALSE(Read(&pTexture));
        EXPECT_EQ(pTexture, pGiven.Get());
        EXPECT_TRUE(pGiven->GetWidth() == 4 && pGiven->GetFormat() == TextureFormat::RGBA8888);
        EXPECT_EQ(pGiven->GetGLTexture(), drawn) << "it shows what it showed";
        EXPECT_EQ(Count("glGenTextures"), 0u);
        EXPECT_TRUE(m_diagnostics.Messages().empty());
    }
}

TEST_F(ReadBack, WhatCannotBeReadIsNotAskedFor) {
    SetColorBits(8);
    Ref<TextureGL2> const pPromoted = MakeTexture(4, 3);
    ASSERT_TRUE(pPromoted->Promote(false));
    struct Case {
        char const* name;
        RectangleT<int> area;
        TextureGL2* pGiven;
    };
    Case const cases[] = {{"larger than any memory", {0, 0, 40000, 40000}, nullptr},
                          {"too wide a number", {INT_MIN, 0, INT_MAX, 1}, nullptr},
                          {"too high a number", {0, INT_MIN, 1, INT_MAX}, nullptr},
                          {"too far away", {0, INT_MIN, 1, INT_MIN + 1}, nullptr},
                          {"into surfaces", {0, 0, 4, 3}, pPromoted.Get()}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Clear();
        trevik::kelvo::Texture* pTexture = test.pGiven;
        EXPECT_FALSE(Device().ReadPixels(test.area, &pTexture));
        EXPECT_EQ(pTexture, test.pGiven);
        EXPECT_EQ(Count("glReadPixels"), 0u);
    }
    EXPECT_EQ(pPromoted->Count(), 1);
    Fail("glGetError", GL_OUT_OF_MEMORY); // as of a context that is lost, without end
    trevik::kelvo::Texture* pTexture = nullptr;
    EXPECT_FALSE(Read(&pTexture));
}

TEST_F(ReadBack, WithoutMemoryEvenTheCallersTextureGoes) {
    SetColorBits(8);
    long long const nLive = Allocation::GetLiveCount();
    trevik::kelvo::Texture* pTexture = MakeTexture(4, 4).Detach(); // with its one reference: nobody else's
    Allocation::FailAfter(0);
    EXPECT_FALSE(Read(&pTexture));
    Allocation::FailNever();
    EXPECT_EQ(pTexture, nullptr);
    EXPECT_EQ(Allocation::GetLiveCount(), nLive);
}

} // namespace
