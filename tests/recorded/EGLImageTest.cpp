// Surfaces by themselves: buffer, EGL image and GL texture, from creation to destruction.

#include "Android/EGLImageImpl.h"
#include "JObject.h"
#include "SurfaceTest.h"
#include "trevik/Allocation.h"

#include <thread>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class EGLImage : public SurfaceTest {
protected:
    static Ref<EGLImageHelper> MakeSurface(unsigned int nFormat = TextureFormat::RGBA8888) {
        Ref<EGLImageHelper> pSurface = CreateEGLImageHelper();
        EXPECT_TRUE(pSurface->Create(Width, Height, nFormat));
        return pSurface;
    }

    static void ExpectEmpty(EGLImageHelper& surface) {
        EXPECT_FALSE(surface.IsCreated());
        EXPECT_FALSE(surface.IsLocked());
        EXPECT_EQ(surface.GetTexture(), -1);
        EXPECT_EQ(surface.GetEGLImage(), nullptr);
    }

    void ExpectFailure(char const* failure) {
        EXPECT_EQ(m_diagnostics.Failures(), Strings{failure});
        m_diagnostics.Forget();
    }

    /** The calls that end a surface, in order. */
    static Strings Deletions(EGLImageHelper& surface) {
        return {"glDeleteTextures(1, {" + std::to_string(surface.GetTexture()) + "})",
                "eglDestroyImageKHR(display, image*)"};
    }
};

TEST_F(EGLImage, FormatsTurnIntoEachOtherAsTabled) {
    struct Case {
        int number;
        int toTexture; ///< of this pixel format
        int toPixel;   ///< of this texture format
    } const cases[] = {{-1, -1, 0}, {0, -1, 4}, {1, 6, 6}, {2, 6, 7},  {3, 4, 7},   {4, 0, 3},
                       {5, 6, 2},   {6, 1, 1},  {7, 2, 1}, {8, -1, 0}, {16, -1, 0}, {255, -1, 0}};
    for (Case const& test : cases) {
        EXPECT_EQ(EGLImageImpl::PixelFormat2TextureFormat(test.number), test.toTexture) << test.number;
        EXPECT_EQ(EGLImageImpl::TextureFormat2PixelFormat(test.number), test.toPixel) << test.number;
    }
}

TEST_F(EGLImage, CreatedAgainItLetsGoOfWhatItHadFirst) {
    Ref<EGLImageHelper> const pSurface = MakeSurface();
    Strings expected = Deletions(*pSurface);
    expected.insert(expected.end(), {"eglGetCurrentDisplay()", "eglCreateImageKHR"});
    Clear();
    EXPECT_TRUE(pSurface->Create(7, 2, TextureFormat::RGB565));
    std::vector<Call> calls = Calls();
    calls.resize(expected.size());
    EXPECT_TRUE(CallsAre(expected, calls));
    EXPECT_EQ(pSurface->GetWidth(), 7);
    EXPECT_EQ(pSurface->GetPixelFormat(), TextureFormat::RGB565);
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

TEST_F(EGLImage, AFailureSaysWhyAndLeavesItEmptyWhateverItHadBefore) {
    struct Case {
        char const* function; ///< null: there is none to bind images with
        int error;
        char const* message;
        int textures; ///< made on the way
    } const cases[] = {
        {"eglCreateImageKHR", EGL_BAD_ALLOC, "eglCreateImageKHR() failed, err=0x3003.", 0},
        {"glEGLImageTargetTexture2DOES", GL_INVALID_VALUE, "glEGLImageTargetTexture2DOES failed 0x00000501",
         1},
        {nullptr, 0, "glEGLImageTargetTexture2DOES failed 0x00000502", 1},
    };
    for (bool const fBefore : {false, true}) {
        for (Case const& test : cases) {
            SCOPED_TRACE(test.message);
            Ref<EGLImageHelper> const pSurface = fBefore ? MakeSurface() : CreateEGLImageHelper();
            ObjectCounts const textures = Counts(Object::Texture);
            Forget();
            if (test.function) {
                FailAt(test.function, 1, test.error);
            }
            SetProcAddress("glEGLImageTargetTexture2DOES", test.function != nullptr);
            EXPECT_FALSE(pSurface->Create(Width, Height, TextureFormat::RGBA8888));
            SetProcAddress("glEGLImageTargetTexture2DOES", true);
            EXPECT_EQ(m_diagnostics.Messages(), Strings{test.message});
            EXPECT_TRUE(m_diagnostics.Failures().empty());
            ExpectEmpty(*pSurface);
            EXPECT_TRUE(pSurface->CreateJavaBitmapFromTexture().IsEmpty());
            EXPECT_EQ(Counts(Object::Texture).created - textures.created, test.textures);
            EXPECT_EQ(Counts(Object::Texture).live, textures.live - (fBefore ? 1 : 0));
            EXPECT_EQ(Counts(Object::EglImage).live, 0);
            Clear();
            pSurface->Destroy();
            EXPECT_CALLS();
        }
    }
}

TEST_F(EGLImage, DestroyedOnAnotherThreadItIsEmptyAtOnceAndGoneOnceAtProcess) {
    Ref<EGLImageHelper> pFirst = MakeSurface();
    Ref<EGLImageHelper> pSecond = MakeSurface();
    ::android::GraphicBuffer* const pBuffer = Buffers().at(0);
    Strings deletions = Deletions(*pFirst);
    for (std::string const& deletion : Deletions(*pSecond)) {
        deletions.push_back(deletion);
    }
    Clear();
    std::thread([&] {
        pFirst->Destroy();
        ExpectEmpty(*pFirst);
        pSecond.Reset();
    }).join();
    EXPECT_CALLS();
    EXPECT_EQ(pBuffer->getStrongCount(), 1); // that of the work to do
    // A new image is none of the old one's business.
    EXPECT_TRUE(pFirst->Create(Width, Height, TextureFormat::RGBA8888));
    Clear();
    Device().Process();
    Device().Process();
    EXPECT_TRUE(CallsAre(deletions));
    EXPECT_TRUE(FindTexture(static_cast<GLuint>(pFirst->GetTexture())));
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

TEST_F(EGLImage, TheBufferOutlivesImageAndTextureThatAnotherThreadGaveUp) {
    Ref<EGLImageHelper> pSurface = MakeSurface();
    ::android::sp<::android::GraphicBuffer> pShared(Buffers().at(0));
    std::thread([&] { pSurface.Reset(); }).join();
    EXPECT_EQ(pShared->getStrongCount(), 2);
    EXPECT_TRUE(m_diagnostics.Failures().empty());
    Device().Process();
    ExpectFailure("src/Android/EGLImageImpl:46: graphicBuffer.get() == __null || "
                  "graphicBuffer->getStrongCount() == 1");
    EXPECT_EQ(pShared->getStrongCount(), 1);
}

TEST_F(EGLImage, WhatThreadsLetGoOfGoesWithItsDeviceAndNeverWithTheNextOne) {
    Ref<EGLImageHelper> pQueued = MakeSurface();
    Ref<EGLImageHelper> pLate = MakeSurface();
    Ref<EGLImageHelper> const pLatest = MakeSurface();
    Strings const deletions = Deletions(*pQueued);
    Clear();
    std::thread([&] { pQueued.Reset(); }).join();
    m_pDevice = std::make_unique<GraphicsDeviceGL2>();
    std::vector<Call> calls = Calls();
    calls.resize(deletions.size());
    EXPECT_TRUE(CallsAre(deletions, calls));
    BringUp();
    std::thread([&] { pLate.Reset(); }).join();
    Device().Process();
    pLatest->Destroy();
    EXPECT_CALLS();
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

TEST_F(EGLImage, SaysWhatLeaksWhenAThreadHasNoMemoryToHandItOver) {
    Ref<EGLImageHelper> const pSurface = MakeSurface();
    std::thread([&] {
        Allocation::FailAfter(0); // the operation itself is there, and has nothing to call
        pSurface->Destroy();
        Allocation::FailNever();
    }).join();
    ExpectEmpty(*pSurface);
    EXPECT_EQ(m_diagnostics.Messages().size(), 1u); // there is no memory to note the text
}

TEST_F(EGLImage, OffTheRenderThreadNothingOfGLMayBeMadeOrDeleted) {
    Ref<EGLImageHelper> pSurface = MakeSurface();
    std::thread([&] { pSurface->Create(Width, Height, TextureFormat::RGBA8888); }).join();
    ExpectFailure("src/Android/EGLImageImpl:76: GraphicsDeviceGL2::InRenderThread()");
    Device().Process();
    pSurface = MakeSurface();
    std::thread([&] {
        pSurface.Reset();
        Device().Process(); // not the thread to do it
    }).join();
    ExpectFailure("src/Android/EGLImageImpl:35: GraphicsDeviceGL2::InRenderThread()");
}

} // namespace
