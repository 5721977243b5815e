// Off-screen targets as no scene has them, and every way in which their creation fails.

#include "DeviceTest.h"
#include "FramebufferGL2.h"
#include "trevik/Statistics.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class Framebuffers : public DeviceTest {
protected:
    Framebuffers() { BringUp(); }

    static FramebufferGL2::InitParams Params(bool depthStencil = false, bool asTexture = false) {
        return {13, 7, depthStencil, asTexture, TextureFormat::RGB565};
    }

    static long long TextureBytes() { return Statistics::Instance().GetStat(Statistics::StatTextureMemory); }

    /** Lets a framebuffer go and gives back the reference to its colour texture, which it keeps. */
    static void LetGo(Ref<FramebufferGL2>& pTarget) {
        TextureGL2* const pColor = pTarget->GetColorTexture();
        pTarget.Reset();
        pColor->ReleaseReference();
    }
};

TEST_F(Framebuffers, ARenderbufferServesAsDepthAndStencil) {
    Ref<FramebufferGL2> pTarget(new FramebufferGL2);
    EXPECT_TRUE(pTarget->Create(Params(true)));
    EXPECT_TRUE(
        CallsInOrder({"glGenRenderbuffers(1, *)", "glBindRenderbuffer(GL_RENDERBUFFER, 1)",
                      "glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8_OES, 13, 7)",
                      "glBindRenderbuffer(GL_RENDERBUFFER, 0)", "glGenFramebuffers(1, *)",
                      "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, *)",
                      "glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, 1)",
                      "glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, 1)",
                      "glCheckFramebufferStatus"}));
    EXPECT_EQ(pTarget->GetDepthTexture(), nullptr);
    pTarget->Bind();
    EXPECT_EQ(Count("glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)"), 1u);
    pTarget->Unbind(nullptr);
    pTarget->SetClearOnBind(false);
    Clear();
    pTarget->Bind();
    EXPECT_EQ(Count("glClear"), 0u);
    pTarget->Unbind(nullptr);
    Clear();
    LetGo(pTarget);
    EXPECT_CALLS("glBindFramebuffer(GL_FRAMEBUFFER, 1)",
                 "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0)",
                 "glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glDeleteFramebuffers(1, {1})",
                 "glDeleteRenderbuffers(1, {1})", "glDeleteTextures(1, *)");
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

} // namespace
