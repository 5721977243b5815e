#include "PlatformBuffer.h"

#include "kelvo_test/Threads.h"

#include <utility>
#include <vector>

namespace kelvokit::test {
namespace {

class PlatformBufferImage : public PlatformBuffer {
protected:
    void SetUp() override { EglProgram::SetUp(); }
};

TEST_F(PlatformBufferImage, IsAdvertisedWhereItCanBeMadeAndRefusedElsewhere) {
    RecordProperty("images", HasExtension() ? "yes" : "no");
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    EXPECT_EQ(ErrorOf(MakeImage(pBuffer)), HasExtension() ? EGL_SUCCESS : EGL_BAD_PARAMETER);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    Fill(*pBuffer, Red);
}

TEST_F(PlatformBuffer, IsLockedOnceAtATimeAndOnlyWithMemory) {
    GGLSurface surface = {};
    sp<GraphicBuffer> const pBuffer = MakeBuffer(1, 1, 1);
    EXPECT_EQ(pBuffer->unlock(), android::INVALID_OPERATION);
    EXPECT_EQ(pBuffer->lock(nullptr, 0), android::BAD_VALUE);
    ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
    EXPECT_NE(surface.data, nullptr);
    EXPECT_EQ(pBuffer->lock(&surface, 0), android::INVALID_OPERATION);
    EXPECT_EQ(surface.data, nullptr);
    EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
    EXPECT_EQ(MakeBuffer(32, 1, 1)->getStride(), 32u);
    // More than any memory; where size_t has 32 bits, a row is just one too many for it.
    int const nWidth = sizeof(std::size_t) == 4 ? 0x40000000 : 0x40000010;
    EXPECT_EQ(MakeBuffer(nWidth, 0x7FFFFFFF, 1)->initCheck(), android::NO_MEMORY);
    EXPECT_TRUE(android::bytesPerPixel(0) == 0 && android::bytesPerPixel(9) == 0);
    for (sp<GraphicBuffer> const& pNone : {MakeBuffer(0, 4, 1), MakeBuffer(4, -1, 1), MakeBuffer(4, 4, 0)}) {
        EXPECT_EQ(pNone->initCheck(), android::BAD_VALUE);
        EXPECT_EQ(pNone->lock(&surface, 0), android::NO_INIT);
        EXPECT_EQ(pNone->unlock(), android::NO_INIT);
        EXPECT_EQ(ErrorOf(MakeImage(pNone)), EGL_BAD_PARAMETER);
    }
}

TEST_F(PlatformBuffer, EachFormatBeginsAsZerosAndIsSampledInItsColours) {
    for (FormatCase const& test : FormatCases()) {
        SCOPED_TRACE(test.format);
        EXPECT_EQ(android::bytesPerPixel(test.format), test.bytes.size());
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, test.format);
        ASSERT_EQ(pBuffer->initCheck(), android::NO_ERROR);
        EXPECT_TRUE(pBuffer->getWidth() == 13 && pBuffer->getHeight() == 7 && pBuffer->getStride() == 16);
        EXPECT_TRUE(pBuffer->getPixelFormat() == test.format && pBuffer->getUsage() == Usage);
        GGLSurface surface = {};
        ASSERT_EQ(pBuffer->lock(&surface, GRALLOC_USAGE_SW_WRITE_OFTEN), android::NO_ERROR);
        EXPECT_TRUE(surface.stride == 16 && surface.width == 13 && surface.height == 7);
        EXPECT_TRUE(surface.format == test.format && surface.version == sizeof(GGLSurface));
        std::vector<std::uint8_t> const zeros(16 * 7 * test.bytes.size());
        EXPECT_EQ(std::memcmp(surface.data, zeros.data(), zeros.size()), 0);
        EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
        EGLImageKHR const image = MakeImage(pBuffer);
        ASSERT_NE(image, EGL_NO_IMAGE_KHR) << std::hex << eglGetError();
        GLuint const texture = MakeTexture(image);
        Write(*pBuffer, test.bytes.size(), [&](int, int) { return test.bytes; });
        EXPECT_TRUE(Shows(texture, test.colour));
        glDeleteTextures(1, &texture);
        EXPECT_TRUE(eglDestroyImage(m_display, image));
    }
}

TEST_F(PlatformBuffer, RowsLieAStrideApartTheFirstAtTheTopAlsoWherePixelsAreManyAndRewritten) {
    struct {
        int format, columns, rows; ///< that a pixel of the window covers
    } const cases[] = {{android::PIXEL_FORMAT_RGBA_8888, 1, 1},
                       {android::PIXEL_FORMAT_RGBX_8888, 1, 1},
                       {android::PIXEL_FORMAT_BGRA_8888, 25, 51}, // more than is rewritten at a time
                       {android::PIXEL_FORMAT_RGBX_8888, 25, 51}};
    for (auto const& test : cases) {
        SCOPED_TRACE(test.format);
        SCOPED_TRACE(test.rows);
        auto const colour = [](int x, int y) {
            return Pixel{std::uint8_t(x / 2), std::uint8_t(y % 251), std::uint8_t(y / 2 + x)};
        };
        sp<GraphicBuffer> const pBuffer = MakeBuffer(test.columns * Width, test.rows * Height, test.format);
        bool const fImageFirst = test.rows > 1; // or the pixels are from before the image was made
        GLuint texture = fImageFirst ? MakeTexture(MakeImage(pBuffer)) : 0;
        Write(*pBuffer, 4, [&](int x, int y) { return ToBytes(colour(x, y)); });
        texture = fImageFirst ? texture : MakeTexture(MakeImage(pBuffer));
        Image const expected = test::MakeImage(Width, Height, [&](int x, int y) {
            Pixel pixel = colour(test.columns * x + test.columns / 2, test.rows * y + test.rows / 2);
            if (test.format == android::PIXEL_FORMAT_BGRA_8888) {
                std::swap(pixel.r, pixel.b);
            }
            return pixel;
        });
        EXPECT_TRUE(CompareImages(Show(texture), expected));
    }
}

TEST_F(PlatformBuffer, ShowsFromUnlockOnWhatAnotherThreadWroteAndBeforeThatTheOldPixels) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Fill(*pBuffer, Red);
    EXPECT_TRUE(Shows(texture, Red)) << "before";
    GGLSurface surface = {};
    ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
    std::memset(surface.data, 0xFF, std::size_t(surface.stride) * Height * 4);
    EXPECT_TRUE(Shows(texture, Red)) << "while it is written";
    RunOnThreads(1, [&](int) {
        EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
        EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    });
    EXPECT_TRUE(Shows(texture, {255, 255, 255, 255})) << "after";
    Draw(texture); // and what is drawn and not shown yet, with the pixels that were there then
    Fill(*pBuffer, Green);
    EXPECT_TRUE(Shows(0, {255, 255, 255, 255})) << "drawn before";
    EXPECT_TRUE(Shows(texture, Green)) << "drawn after";
}

TEST_F(PlatformBuffer, ThreadsThatWriteWhileFramesAreShownNeverTearThem) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Fill(*pBuffer, Red);
    RunBesideThreads(
        1, [&](int, int nRound) { Fill(*pBuffer, nRound % 2 == 0 ? Green : Blue); },
        [&] {
            for (int nFrame = 0; nFrame < 100; ++nFrame) {
                Image const frame = Show(texture);
                ASSERT_TRUE(CompareImages(frame, Image(Width, Height, frame.At(0, 0)))) << "torn";
            }
        });
}

TEST_F(PlatformBuffer, WhatIsCurrentAndTheErrorsStayAsTheyWere) {
    EGLContext const context = eglGetCurrentContext();
    desktop::OffscreenWindow other(3, 3);
    EGLSurface const read = Surface(Config(), &other);
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, read, context));
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    EGLImageKHR const image = MakeImage(pBuffer);
    glBindTexture(GL_TEXTURE_2D, 0);
    glEnable(GL_TEXTURE_2D);                                 // leaves an error in GL
    EXPECT_FALSE(eglSwapBuffers(m_display, EGL_NO_SURFACE)); // and one in EGL
    Fill(*pBuffer, Red);
    EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
    EXPECT_EQ(glGetError(), GLenum(GL_INVALID_ENUM));
    EXPECT_EQ(ErrorOf(eglDestroyImage(m_display, image)), EGL_SUCCESS);
    EXPECT_EQ(eglGetCurrentContext(), context);
    EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), m_surface);
    EXPECT_EQ(eglGetCurrentSurface(EGL_READ), read);
    GLint nTexture = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &nTexture);
    EXPECT_EQ(nTexture, 0);

    // Also what was destroyed while it was current. It cannot be shown any more.
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, context));
    ASSERT_TRUE(eglDestroyContext(m_display, context));
    Fill(*pBuffer, Green);
    EXPECT_EQ(eglGetCurrentContext(), context);
    Draw(texture);
    Pixel pixel;
    glReadPixels(Width / 2, Height / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    EXPECT_TRUE(pixel == Green);
}

TEST_F(PlatformBuffer, ImageAndBufferMayGoInAnyOrderAndOutliveTheirDisplay) {
    sp<GraphicBuffer> pBuffer = MakeBuffer();
    EGLImageKHR const first = MakeImage(pBuffer), second = MakeImage(pBuffer);
    EXPECT_NE(first, second);
    EXPECT_EQ(pBuffer->getStrongCount(), 1);
    GLuint const firstTexture = MakeTexture(first), secondTexture = MakeTexture(second);
    Fill(*pBuffer, Red);
    EXPECT_TRUE(eglDestroyImage(m_display, first));
    EXPECT_EQ(ErrorOf(eglDestroyImage(m_display, first)), EGL_BAD_PARAMETER);
    Fill(*pBuffer, Blue);
    EXPECT_TRUE(Shows(firstTexture, Red)) << "whose image is gone";
    EXPECT_TRUE(Shows(secondTexture, Blue)) << "whose image is there";
    sp<GraphicBuffer> const pOther = MakeBuffer();
    GLuint const otherTexture = MakeTexture(MakeImage(pOther));
    pBuffer.clear();
    Fill(*pOther, Green);
    EXPECT_TRUE(Shows(secondTexture, Blue)) << "whose buffer is gone";
    EXPECT_TRUE(Shows(otherTexture, Green)) << "whose buffer is there";
    EXPECT_TRUE(eglDestroyImage(m_display, second));

    pBuffer = MakeBuffer();
    ASSERT_NE(MakeImage(pBuffer), EGL_NO_IMAGE_KHR);
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    ASSERT_TRUE(eglTerminate(m_display));
    Fill(*pBuffer, Green);
    ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
    m_surface = StartDrawing(Config(), m_window);
    m_fProgram = false;
    EXPECT_TRUE(Shows(MakeTexture(MakeImage(pBuffer)), Green));
}

TEST_F(PlatformBuffer, WrongArgumentsForImagesAreRefused) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(), pWide = MakeBuffer(100000, 1);
    EGLClientBuffer const buffer = pBuffer->getNativeBuffer();
    EGLint const width[] = {EGL_WIDTH, 4, EGL_NONE};
    ANativeWindowBuffer unknown;
    unknown.magic = ANativeWindowBuffer::LivingMagic;
    struct {
        EGLDisplay display;
        EGLContext context;
        EGLClientBuffer buffer;
        EGLint const* attributes;
        EGLint error;
    } const cases[] = {
        {m_display, EGL_NO_CONTEXT, nullptr, nullptr, EGL_BAD_PARAMETER},
        {m_display, EGL_NO_CONTEXT, &unknown, nullptr, EGL_BAD_PARAMETER},
        {m_display, EGL_NO_CONTEXT, buffer, width, EGL_BAD_PARAMETER},
        {m_display, eglGetCurrentContext(), buffer, nullptr, EGL_BAD_CONTEXT},
        {EGL_NO_DISPLAY, EGL_NO_CONTEXT, buffer, nullptr, EGL_BAD_DISPLAY},
        {m_display, EGL_NO_CONTEXT, pWide->getNativeBuffer(), nullptr, EGL_BAD_ALLOC},
        {m_display, EGL_NO_CONTEXT, buffer, nullptr, EGL_SUCCESS},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(ErrorOf(CreateImage(test.display, test.context, test.buffer, test.attributes)), test.error);
    }
}

} // namespace
} // namespace kelvokit::test
