// Textures that live in surfaces: promotion, writing, swapping, demotion.

#include "JObject.h"
#include "SurfaceTest.h"
#include "trevik/Allocation.h"

#include <thread>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class Promotion : public SurfaceTest {};

TEST_F(Promotion, KeepsEachFormatInABufferOfItsOwn) {
    struct Case {
        int format;
        int buffer;
        int surface;
        int bytes;
    } const cases[] = {{0, 4, 0, 2},   {1, 6, 1, 2},  {2, 7, 2, 2}, {3, 7, 2, 2},
                       {4, 3, 4, 3},   {5, 2, 6, 4},  {6, 1, 6, 4}, {7, 1, 6, 4},
                       {13, 1, 6, 4},  {14, 1, 6, 4}, // compressed ones: plain pixels
                       {15, 0, -1, 0}, {10, 0, -1, 0}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Ref<TextureGL2> const pTexture = MakeTexture(test.format, 8, 4);
        Forget();
        ASSERT_TRUE(pTexture->Promote(false));
        ASSERT_EQ(Buffers().size(), 1u);
        EXPECT_EQ(Buffers()[0]->getPixelFormat(), test.buffer);
        EXPECT_EQ(Buffers()[0]->getUsage(), 0x130u);
        SurfaceInfo info = {};
        EXPECT_TRUE(pTexture->GetSurfaceInfo(&info) && info.m_nWidth == 8 && info.m_nHeight == 4);
        EXPECT_EQ(info.m_nFormat, test.surface);
        EXPECT_EQ(info.m_nStride, 16 * test.bytes);
    }
}

TEST_F(Promotion, NewPixelsAndDemotionWithoutMemoryLeaveTheTextureAsItWas) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    GLuint const uploaded = pTexture->GetGLTexture();
    auto const expectUnchanged = [&](GLuint drawn, bool fPromoted) {
        EXPECT_EQ(pTexture->GetGLTexture(), drawn);
        EXPECT_EQ(pTexture->IsPromoted(), fPromoted);
        EXPECT_EQ(Count("glDeleteTextures"), 0u);
    };
    auto const demoteInVain = [&] {
        Allocation::FailAfter(0);
        EXPECT_TRUE(pTexture->Demote());
        Allocation::FailNever();
    };
    Clear();
    EXPECT_FALSE(pTexture->Replace(0, 4, TextureFormat::RGBA8888, nullptr, 0));
    expectUnchanged(uploaded, false);
    ASSERT_TRUE(pTexture->Promote(true));
    demoteInVain();
    expectUnchanged(uploaded, false);
    WriteSurface(*pTexture, 0);
    pTexture->Swap();
    GLuint const swapped = pTexture->GetGLTexture();
    WriteSurface(*pTexture, 100);
    Clear();
    EXPECT_FALSE(pTexture->Replace(4, 4, TextureFormat::RGBA8888, nullptr, 0)); // asserted
    demoteInVain();
    expectUnchanged(swapped, true);
    EXPECT_TRUE(pTexture->Demote());
    EXPECT_EQ(Count("eglDestroyImageKHR"), 2u);
    EXPECT_EQ(pTexture->Current(), -1);
    PixelBuffer const& pixels = pTexture->GetPixelData().GetBuffer();
    ASSERT_EQ(pixels.GetSize(), 5u * 3 * 4);
    for (unsigned int i = 0; i < pixels.GetSize(); ++i) {
        ASSERT_EQ(pixels.GetData()[i], 100 + i);
    }
}

TEST_F(Promotion, AnIndexKeptFromTwoSurfacesStandsForTheOnlyOne) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    ASSERT_TRUE(pTexture->Promote(true));
    EXPECT_EQ(pTexture->Swap(), 1);
    EXPECT_TRUE(pTexture->Demote());
    ASSERT_TRUE(pTexture->Promote(false));
    EXPECT_EQ(pTexture->Current(), 1);
    SurfaceInfo info = {};
    EXPECT_TRUE(pTexture->GetSurfaceInfo(&info));
    WriteSurface(*pTexture, 7);
    EXPECT_EQ(pTexture->Swap(), 0);
    EXPECT_NE(FindTexture(pTexture->GetGLTexture())->image, EGL_NO_IMAGE_KHR);
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

TEST_F(Promotion, PixelsThatWereNeverUploadedAreDroppedForTheSurface) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    PixelBuffer& pixels = pTexture->GetPixelData().GetBuffer();
    ASSERT_TRUE(pTexture->Promote(true));
    pTexture->Swap();
    GLuint const first = pTexture->GetGLTexture();
    ASSERT_NE(pixels.GetData(), nullptr);
    Forget();
    EXPECT_TRUE(pTexture->CreateGLTexture());
    EXPECT_EQ(pixels.GetData(), nullptr);
    EXPECT_EQ(pTexture->GetGLTexture(), first);
    // Without a name, the surface's becomes the texture's.
    pTexture->ReleaseGLTexture();
    ASSERT_TRUE(pixels.Allocate(4));
    EXPECT_TRUE(pTexture->CreateGLTexture());
    EXPECT_EQ(pixels.GetData(), nullptr);
    EXPECT_EQ(pTexture->GetGLTexture(), first);
    EXPECT_EQ(Count("glTexImage2D"), 0u);
    EXPECT_EQ(Count("glGenTextures"), 0u);
}

TEST_F(Promotion, LockPromotesAPlainTexture) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    EXPECT_NE(pTexture->Lock(), nullptr);
    EXPECT_EQ(pTexture->Count(), 1);
    pTexture->Unlock();
    Fail("eglCreateImageKHR");
    EXPECT_EQ(MakeTexture()->Lock(), nullptr);
}

TEST_F(Promotion, WhatIsLeftOfAFailedOneAreEmptyPlaces) {
    Ref<TextureGL2> const pTexture = MakeTexture();
    FailAt("eglCreateImageKHR", 2, EGL_BAD_PARAMETER);
    EXPECT_FALSE(pTexture->Promote(true));
    EXPECT_EQ(pTexture->Count(), 0);
    EXPECT_EQ(pTexture->Swap(), -1);
    for (int const nImage : {0, 2, -1}) {
        m_diagnostics.Forget();
        EXPECT_FALSE(pTexture->CreateEGLImage(nImage));
        EXPECT_EQ(m_diagnostics.Failures(), Strings{"src/TextureGL2:544: m_pEGLImage[image]"});
        EXPECT_TRUE(nImage == 0 || pTexture->CreateJavaBitmapFromTexture(nImage).IsEmpty());
    }
    EXPECT_TRUE(pTexture->Promote(true));
}

TEST_F(Promotion, BrokenInvariantsAreReported) {
    Ref<TextureGL2> pTexture = MakeTexture();
    ASSERT_TRUE(pTexture->Promote(true));
    auto const expect = [this](char const* failure) {
        EXPECT_EQ(m_diagnostics.Failures(), Strings{failure});
        m_diagnostics.Forget();
    };
    pTexture->Lock();
    pTexture->Lock();
    expect("src/Android/EGLImageImpl:246: !IsLocked()");
    pTexture->Swap();
    expect("src/TextureGL2:450: !m_pEGLImage[m_nCurrentEglImage]->IsLocked()");
    pTexture->Swap();
    pTexture->Unlock();
    pTexture->Unlock();
    expect("src/Android/EGLImageImpl:257: IsLocked()");
    unsigned char const pixels[4] = {};
    pTexture->Replace(1, 1, TextureFormat::RGBA8888, pixels, 4);
    expect("src/TextureGL2:528: !m_fEglImageInitialized");
    pTexture->Lock();
    pTexture.Reset();
    expect("src/Android/EGLImageImpl:51: !IsLocked()");
}

TEST_F(Promotion, WhatWasUploadedGoesOnTheRenderThread) {
    struct Case {
        char const* name;
        void (*release)(Ref<TextureGL2>& pTexture);
    } const cases[] = {{"first swap", [](Ref<TextureGL2>& pTexture) { pTexture->Swap(); }},
                       {"demotion", [](Ref<TextureGL2>& pTexture) { pTexture->Demote(); }},
                       {"last reference", [](Ref<TextureGL2>& pTexture) { pTexture.Reset(); }}};
    for (Case const& test : cases) {
        Ref<TextureGL2> pTexture = MakeTexture();
        GLuint const uploaded = pTexture->GetGLTexture();
        ASSERT_TRUE(pTexture->Promote(true));
        std::thread([&] { test.release(pTexture); }).join();
        EXPECT_EQ(m_diagnostics.Failures(),
                  Strings{"src/TextureGL2:190: GraphicsDeviceGL2::InRenderThread()"})
            << test.name;
        EXPECT_TRUE(FindTexture(uploaded)) << test.name;
        // Once it is swapped in, a surface is the other thread's to swap and to let go of.
        m_diagnostics.Forget();
        if (pTexture) {
            std::thread([&] {
                pTexture->Swap();
                pTexture.Reset();
            }).join();
        }
        EXPECT_TRUE(m_diagnostics.Failures().empty()) << test.name;
        Device().Process();
        EXPECT_FALSE(FindTexture(uploaded)) << test.name;
    }
}

} // namespace
