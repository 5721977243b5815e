// Off-screen targets: their creation, binding and end, and every way in which creation fails.

#include "DeviceTest.h"

#include "FramebufferGL2.h"
#include "trevik/Allocation.h"
#include "trevik/Statistics.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class Framebuffers : public DeviceTest {
protected:
    static constexpr int Width = 13;
    static constexpr int Height = 7;

    Framebuffers() { BringUp(); }

    static FramebufferGL2::InitParams Params(bool depthStencil = false, bool asTexture = false) {
        return {Width, Height, depthStencil, asTexture, TextureFormat::RGB565};
    }

    static long long TextureBytes() { return Statistics::Instance().GetStat(Statistics::StatTextureMemory); }

    static Ref<FramebufferGL2> Make(FramebufferGL2::InitParams const& params) {
        Ref<FramebufferGL2> const pTarget(new FramebufferGL2);
        EXPECT_TRUE(pTarget->Create(params));
        return pTarget;
    }

    /** Lets a framebuffer go and gives back the reference to its colour texture, which it keeps. */
    static void LetGo(Ref<FramebufferGL2>& pTarget) {
        TextureGL2* const pColor = pTarget->GetColorTexture();
        pTarget.Reset();
        pColor->ReleaseReference();
    }
};

TEST_F(Framebuffers, AreMadeOfAColourTextureOfZeros) {
    long long const nBefore = TextureBytes();
    Ref<FramebufferGL2> pTarget(new FramebufferGL2);
    EXPECT_CALLS();
    ASSERT_TRUE(pTarget->Create(Params()));
    EXPECT_TRUE(CallsAre({"glGenFramebuffers(1, *)", "glBindFramebuffer(GL_FRAMEBUFFER, 1)",
                          "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, *, 0)",
                          "glCheckFramebufferStatus(GL_FRAMEBUFFER)", "glBindFramebuffer(GL_FRAMEBUFFER, 0)"},
                         CallsOf({"gl*Framebuffer*", "gl*Renderbuffer*"})));
    GLuint const color = pTarget->GetColorTexture()->GetGLTexture();
    EXPECT_EQ(FindFramebuffer(1)->color.name, color);
    EXPECT_EQ(FindFramebuffer(1)->depth.type, GLenum(GL_NONE));
    TextureLevel const level = FindTexture(color)->levels.at(0);
    EXPECT_EQ(level.width, Width);
    EXPECT_EQ(level.height, Height);
    EXPECT_EQ(level.type, GLenum(GL_UNSIGNED_SHORT_5_6_5));
    EXPECT_EQ(level.bytes, std::vector<std::uint8_t>(Width * Height * 2, 0));
    EXPECT_EQ(pTarget->GetColorTexture()->GetPixelData().GetBuffer().GetData(), nullptr);
    EXPECT_EQ(pTarget->GetDepthTexture(), nullptr);
    EXPECT_EQ(TextureBytes(), nBefore) << "what nobody counts in, nobody may count out";
    LetGo(pTarget);
    EXPECT_EQ(TextureBytes(), nBefore);
}

TEST_F(Framebuffers, ARenderbufferServesAsDepthAndStencil) {
    Ref<FramebufferGL2> pTarget = Make(Params(true));
    EXPECT_TRUE(
        CallsInOrder({"glGenRenderbuffers(1, *)", "glBindRenderbuffer(GL_RENDERBUFFER, 1)",
                      "glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8_OES, 13, 7)",
                      "glBindRenderbuffer(GL_RENDERBUFFER, 0)", "glGenFramebuffers(1, *)",
                      "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, *)",
                      "glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, 1)",
                      "glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, 1)",
                      "glCheckFramebufferStatus"}));
    Clear();
    LetGo(pTarget);
    EXPECT_TRUE(CallsAre({"glBindFramebuffer(GL_FRAMEBUFFER, 1)",
                          "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0)",
                          "glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glDeleteFramebuffers(1, {1})",
                          "glDeleteRenderbuffers(1, {1})", "glDeleteTextures(1, *)"}));
    EXPECT_EQ(Counts(Object::Renderbuffer).live, 0);
    EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
}

TEST_F(Framebuffers, ATextureServesAsDepthAndStencilAndGoesWithThem) {
    Ref<FramebufferGL2> pTarget = Make(Params(true, true));
    GLuint const depth = pTarget->GetDepthTexture()->GetGLTexture();
    EXPECT_EQ(pTarget->GetDepthTexture()->GetFormat(), TextureFormat::Depth24Stencil8);
    EXPECT_EQ(FindFramebuffer(1)->depth.name, depth);
    EXPECT_EQ(FindFramebuffer(1)->stencil.name, depth);
    EXPECT_EQ(FindTexture(depth)->levels.at(0).bytes.size(), Width * Height * 4u);
    EXPECT_EQ(Counts(Object::Renderbuffer).created, 0);
    Clear();
    TextureGL2* const pColor = pTarget->GetColorTexture();
    GLuint const color = pColor->GetGLTexture();
    pTarget.Reset();
    EXPECT_TRUE(
        CallsInOrder({"glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0)",
                      "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, 0, 0)",
                      "glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glDeleteFramebuffers", "glDeleteTextures"}));
    EXPECT_EQ(Count("*GL_STENCIL_ATTACHMENT*"), 0u);
    EXPECT_FALSE(FindTexture(depth));
    // The colour texture stays, with the reference that the framebuffer held.
    EXPECT_TRUE(FindTexture(color));
    EXPECT_EQ(pColor->GetReferenceCount(), 1);
    pColor->ReleaseReference();
    EXPECT_FALSE(FindTexture(color));
}

TEST_F(Framebuffers, ClearWhatTheyHaveWhenTheyAreBound) {
    struct Case {
        bool depthStencil;
        bool asTexture;
        char const* clear;
    };
    for (Case const& test : {Case{false, false, "glClear(GL_COLOR_BUFFER_BIT)"},
                             Case{true, false, "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)"},
                             Case{true, true, "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)"}}) {
        SCOPED_TRACE(test.clear);
        Ref<FramebufferGL2> pTarget = Make(Params(test.depthStencil, test.asTexture));
        Device().SetViewport(3, 4, 50, 60);
        Clear();
        pTarget->Bind();
        EXPECT_TRUE(CallsAre({"glBindFramebuffer(GL_FRAMEBUFFER, *)", test.clear,
                              "glGetIntegerv(GL_VIEWPORT, *)", "glViewport(0, 0, 13, 7)"}));
        EXPECT_TRUE(pTarget->IsBound());
        Clear();
        pTarget->Unbind(nullptr);
        EXPECT_CALLS("glViewport(3, 4, 50, 60)", "glBindFramebuffer(GL_FRAMEBUFFER, 0)");
        EXPECT_FALSE(pTarget->IsBound());
        pTarget->SetClearOnBind(false);
        Clear();
        pTarget->Bind();
        EXPECT_EQ(Count("glClear"), 0u);
        LetGo(pTarget);
    }
}

TEST_F(Framebuffers, UnbindingToAnotherBindsAndClearsThatAgain) {
    Ref<FramebufferGL2> pOuter = Make(Params());
    Ref<FramebufferGL2> pInner = Make({5, 3, false, false, TextureFormat::RGBA8888});
    Device().SetViewport(0, 0, 100, 90);
    pOuter->Bind();
    pInner->Bind();
    Clear();
    pInner->Unbind(pOuter.Get());
    EXPECT_CALLS("glViewport(0, 0, 13, 7)", "glBindFramebuffer(GL_FRAMEBUFFER, 1)",
                 "glClear(GL_COLOR_BUFFER_BIT)", "glGetIntegerv(GL_VIEWPORT, *)", "glViewport(0, 0, 13, 7)");
    EXPECT_FALSE(pInner->IsBound());
    EXPECT_TRUE(pOuter->IsBound());
    // The outer one has taken the restored viewport, its own, for the one of before.
    Clear();
    pOuter->Unbind(nullptr);
    EXPECT_CALLS("glViewport(0, 0, 13, 7)", "glBindFramebuffer(GL_FRAMEBUFFER, 0)");
    LetGo(pOuter);
    LetGo(pInner);
}

TEST_F(Framebuffers, CreationFailsWhereATextureOrTheWholeCannotBeHad) {
    struct Case {
        char const* name;
        FramebufferGL2::InitParams params;
        char const* failing; ///< GL function; null: none
        int nth;             ///< of its calls
        bool framebufferMade;
    };
    Case const cases[] = {
        {"not complete", Params(true, true), "glCheckFramebufferStatus", 1, true},
        {"no colour in GL", Params(), "glTexImage2D", 1, true},
        {"no depth in GL", Params(true, true), "glTexImage2D", 1, true},
        {"no colour behind a depth texture", Params(true, true), "glTexImage2D", 2, true},
        {"no renderbuffer in GL", Params(true), "glRenderbufferStorage", 1, true},
        {"a format that GL has not", {7, 7, false, false, TextureFormat::ARGB4444}, nullptr, 0, true},
        {"no width", {0, 7, false, false, TextureFormat::RGB565}, nullptr, 0, true},
        {"negative height", {7, -1, false, false, TextureFormat::RGB565}, nullptr, 0, true},
        {"no depth texture of that size", {-3, 7, true, true, TextureFormat::RGB565}, nullptr, 0, false},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        long long const nBefore = TextureBytes();
        int const nNamesBefore = Counts(Object::Texture).live;
        Ref<FramebufferGL2> pTarget(new FramebufferGL2);
        Clear();
        if (test.failing) {
            FailAt(test.failing, test.nth);
        }
        EXPECT_FALSE(pTarget->Create(test.params));
        EXPECT_EQ(Count("glGenFramebuffers"), test.framebufferMade ? 1u : 0u);
        EXPECT_EQ(GetState().framebuffer, test.framebufferMade ? LiveNames(Object::Framebuffer).at(0) : 0u)
            << "it stays bound";
        EXPECT_EQ(GetState().renderbuffer, 0u);
        EXPECT_TRUE(m_diagnostics.Messages().empty());
        EXPECT_EQ(TextureBytes(), nBefore);
        LetGo(pTarget);
        EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
        EXPECT_EQ(Counts(Object::Renderbuffer).live, 0);
        // A format that GL has not leaves the name behind, as with any texture.
        EXPECT_EQ(Counts(Object::Texture).live - nNamesBefore,
                  test.params.colorFormat == TextureFormat::ARGB4444 ? 1 : 0);
        EXPECT_EQ(GetState().framebuffer, 0u);
    }
}

TEST_F(Framebuffers, CreationFailsWhereverMemoryEnds) {
    bool fMade = false;
    for (unsigned int nAllowed = 0; !fMade; ++nAllowed) {
        SCOPED_TRACE(nAllowed);
        ASSERT_LT(nAllowed, 100u);
        Ref<FramebufferGL2> pTarget(new FramebufferGL2);
        Allocation::FailAfter(nAllowed);
        fMade = pTarget->Create(Params(true, true));
        Allocation::FailNever();
        EXPECT_TRUE(!fMade || nAllowed > 1) << "two textures have pixels";
        LetGo(pTarget);
        EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
        EXPECT_EQ(Counts(Object::Texture).live, 0);
    }
}

} // namespace
