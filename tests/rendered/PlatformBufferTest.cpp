#include "EglProgram.h"

#include <GLES2/gl2ext.h>
#include <hardware/gralloc.h>
#include <pixelflinger/pixelflinger.h>
#include <ui/GraphicBuffer.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

namespace kelvo::test {
namespace {

using android::GraphicBuffer;
using android::sp;

constexpr EGLenum NativeBufferAndroid = 0x3140;
constexpr std::uint32_t Usage = GRALLOC_USAGE_HW_TEXTURE | GRALLOC_USAGE_SW_WRITE_OFTEN;

constexpr Pixel Red = {255, 0, 0, 255};
constexpr Pixel Green = {0, 255, 0, 255};
constexpr Pixel Blue = {0, 0, 255, 255};

/** A program that draws with textures made of graphic buffers. */
class PlatformBuffer : public EglProgram {
protected:
    void SetUp() override {
        EglProgram::SetUp();
        if (!HasImages())
            GTEST_SKIP() << "no images";
        m_createImage = Find<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
        m_destroyImage = Find<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
        m_targetTexture = Find<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES");
        m_window.SetCapture(true);
        m_surface = StartDrawing(Config(), m_window);
    }

    bool HasImages() const {
        char const* const extensions = eglQueryString(m_display, EGL_EXTENSIONS);
        return extensions &&
               std::string(extensions).find("EGL_ANDROID_image_native_buffer") != std::string::npos;
    }

    template <class Function>
    static Function Find(char const* name) {
        return reinterpret_cast<Function>(eglGetProcAddress(name));
    }

    static sp<GraphicBuffer> MakeBuffer(int width, int height, int format) {
        return new GraphicBuffer(std::uint32_t(width), std::uint32_t(height), format, Usage);
    }

    EGLImageKHR MakeImage(sp<GraphicBuffer> const& pBuffer) const {
        EGLint const attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE, EGL_NONE};
        return m_createImage(m_display, EGL_NO_CONTEXT, NativeBufferAndroid, pBuffer->getNativeBuffer(),
                             attributes);
    }

    GLuint MakeTexture(EGLImageKHR image) const {
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        m_targetTexture(GL_TEXTURE_2D, image);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        return texture;
    }

    /** Writes the bytes of one pixel into all of them. */
    static void Fill(GraphicBuffer& buffer, std::vector<std::uint8_t> const& bytes) {
        GGLSurface surface = {};
        ASSERT_EQ(buffer.lock(&surface, GRALLOC_USAGE_SW_WRITE_OFTEN), android::NO_ERROR);
        for (std::uint32_t y = 0; y < surface.height; ++y) {
            for (std::uint32_t x = 0; x < surface.width; ++x) {
                std::memcpy(surface.data + (y * std::uint32_t(surface.stride) + x) * bytes.size(),
                            bytes.data(), bytes.size());
            }
        }
        ASSERT_EQ(buffer.unlock(), android::NO_ERROR);
    }
    static void Fill(GraphicBuffer& buffer, Pixel colour) {
        Fill(buffer, std::vector<std::uint8_t>{colour.r, colour.g, colour.b, colour.a});
    }

    /** Covers the window with the texture, t = 0 at the top. */
    void Draw(GLuint texture) {
        if (!m_fProgram) {
            StartProgram("precision highp float; varying vec2 place; uniform sampler2D picture;"
                         "void main() { gl_FragColor = texture2D(picture, place); }");
            m_fProgram = true;
        }
        glBindTexture(GL_TEXTURE_2D, texture);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    }
    Image Show() {
        EXPECT_TRUE(eglSwapBuffers(m_display, m_surface));
        return FrameOf(m_window);
    }
    Image Show(GLuint texture) {
        Draw(texture);
        return Show();
    }
    static Image Filled(Pixel colour) { return Image(Width, Height, colour); }

    // Rows of the buffers of this size have room beyond their end.
    static constexpr int Width = 13;
    static constexpr int Height = 7;

    desktop::OffscreenWindow m_window{Width, Height};
    EGLSurface m_surface = EGL_NO_SURFACE;
    bool m_fProgram = false;
    PFNEGLCREATEIMAGEKHRPROC m_createImage = nullptr;
    PFNEGLDESTROYIMAGEKHRPROC m_destroyImage = nullptr;
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC m_targetTexture = nullptr;
};

using PlatformBufferImage = EglProgram;

TEST_F(PlatformBufferImage, IsAdvertisedWhereItCanBeMadeAndRefusedElsewhere) {
    auto const createImage =
        reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
    ASSERT_NE(createImage, nullptr);
    std::string const extensions = eglQueryString(m_display, EGL_EXTENSIONS);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    bool const fAdvertised = extensions.find(" EGL_ANDROID_image_native_buffer") != std::string::npos;
    sp<GraphicBuffer> const pBuffer(new GraphicBuffer(4, 4, android::PIXEL_FORMAT_RGBA_8888, Usage));
    EGLImageKHR const image =
        createImage(m_display, EGL_NO_CONTEXT, NativeBufferAndroid, pBuffer->getNativeBuffer(), nullptr);
    EXPECT_EQ(eglGetError(), fAdvertised ? EGL_SUCCESS : EGL_BAD_PARAMETER);
    EXPECT_EQ(image != EGL_NO_IMAGE_KHR, fAdvertised);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    GGLSurface surface = {};
    EXPECT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
    EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
    RecordProperty("images", fAdvertised ? "yes" : "no");
}

TEST_F(PlatformBuffer, BeginsAsZerosAndSaysWhatItIs) {
    struct Case {
        int format;
        std::size_t bytes;
    } const cases[] = {{1, 4}, {2, 4}, {3, 3}, {4, 2}, {5, 4}, {6, 2}, {7, 2}, {8, 1}};
    for (Case const& each : cases) {
        SCOPED_TRACE(each.format);
        EXPECT_EQ(android::bytesPerPixel(each.format), each.bytes);
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, each.format);
        ASSERT_EQ(pBuffer->initCheck(), android::NO_ERROR);
        EXPECT_EQ(pBuffer->getWidth(), 13u);
        EXPECT_EQ(pBuffer->getHeight(), 7u);
        EXPECT_EQ(pBuffer->getStride(), 16u);
        EXPECT_EQ(pBuffer->getPixelFormat(), each.format);
        EXPECT_EQ(pBuffer->getUsage(), Usage);
        GGLSurface surface = {};
        ASSERT_EQ(pBuffer->lock(&surface, GRALLOC_USAGE_SW_WRITE_OFTEN), android::NO_ERROR);
        EXPECT_EQ(surface.stride, 16);
        std::vector<std::uint8_t> const zeros(16 * 7 * each.bytes);
        EXPECT_EQ(std::memcmp(surface.data, zeros.data(), zeros.size()), 0);
        EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
    }
    EXPECT_EQ(MakeBuffer(32, 1, 1)->getStride(), 32u);
    // More than any memory; where size_t has 32 bits, a row is just one too many for it.
    int const nWidth = sizeof(std::size_t) == 4 ? 0x40000000 : 0x40000010;
    EXPECT_EQ(MakeBuffer(nWidth, 0x7FFFFFFF, 1)->initCheck(), android::NO_MEMORY);
    EXPECT_EQ(android::bytesPerPixel(0), 0u);
    EXPECT_EQ(android::bytesPerPixel(9), 0u);
}

TEST_F(PlatformBuffer, IsLockedOnceAtATimeAndOnlyWithMemory) {
    GGLSurface surface = {};
    sp<GraphicBuffer> const pBuffer = MakeBuffer(4, 4, 1);
    EXPECT_EQ(pBuffer->unlock(), android::INVALID_OPERATION);
    EXPECT_EQ(pBuffer->lock(nullptr, 0), android::BAD_VALUE);
    ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
    EXPECT_NE(surface.data, nullptr);
    EXPECT_EQ(pBuffer->lock(&surface, 0), android::INVALID_OPERATION);
    EXPECT_EQ(surface.data, nullptr);
    EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
    for (sp<GraphicBuffer> const& pNone : {MakeBuffer(0, 4, 1), MakeBuffer(4, -1, 1), MakeBuffer(4, 4, 0)}) {
        EXPECT_EQ(pNone->initCheck(), android::BAD_VALUE);
        EXPECT_EQ(pNone->lock(&surface, 0), android::NO_INIT);
        EXPECT_EQ(pNone->unlock(), android::NO_INIT);
        EXPECT_EQ(MakeImage(pNone), EGL_NO_IMAGE_KHR);
        EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    }
}

TEST_F(PlatformBuffer, EachFormatIsSampledInItsColours) {
    struct Case {
        int format;
        std::vector<std::uint8_t> bytes; // 16-bit words with the lower byte first
        Pixel colour;
    } const cases[] = {
        {android::PIXEL_FORMAT_RGBA_8888, {10, 60, 200, 130}, {10, 60, 200, 130}},
        {android::PIXEL_FORMAT_RGBX_8888, {10, 60, 200, 130}, {10, 60, 200, 255}},
        {android::PIXEL_FORMAT_RGB_888, {10, 60, 200}, {10, 60, 200, 255}},
        {android::PIXEL_FORMAT_RGB_565, {0x1F, 0x04}, {0, 130, 255, 255}},
        {android::PIXEL_FORMAT_BGRA_8888, {200, 60, 10, 130}, {10, 60, 200, 130}},
        {android::PIXEL_FORMAT_RGBA_5551, {0x3E, 0xF8}, {255, 0, 255, 0}},
        {android::PIXEL_FORMAT_RGBA_4444, {0x3C, 0xF0}, {255, 0, 51, 204}},
        {android::PIXEL_FORMAT_A_8, {130}, {0, 0, 0, 130}},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.format);
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, each.format);
        EGLImageKHR const image = MakeImage(pBuffer);
        ASSERT_NE(image, EGL_NO_IMAGE_KHR) << std::hex << eglGetError();
        GLuint const texture = MakeTexture(image);
        Fill(*pBuffer, each.bytes);
        EXPECT_TRUE(CompareImages(Show(texture), Filled(each.colour),
                                  {1, 1, "rounding of channels with few bits"}, std::to_string(each.format)));
        glDeleteTextures(1, &texture);
        EXPECT_TRUE(m_destroyImage(m_display, image));
    }
}

TEST_F(PlatformBuffer, RowsLieAStrideApartTheFirstAtTheTop) {
    for (int const format : {android::PIXEL_FORMAT_RGBA_8888, android::PIXEL_FORMAT_RGBX_8888}) {
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, format);
        GGLSurface surface = {};
        ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
        Image expected(Width, Height);
        std::memset(surface.data, 0xEE, std::size_t(surface.stride) * Height * 4); // also between the rows
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < Width; ++x) {
                expected.At(x, y) = {std::uint8_t(x * 16), std::uint8_t(y * 32), std::uint8_t(x * y), 255};
                std::memcpy(surface.data + (y * surface.stride + x) * 4, &expected.At(x, y), 4);
            }
        }
        ASSERT_EQ(pBuffer->unlock(), android::NO_ERROR);
        // The pixels from before the image was made.
        EXPECT_TRUE(
            CompareImages(Show(MakeTexture(MakeImage(pBuffer))), expected, {}, std::to_string(format)));
    }
}

TEST_F(PlatformBuffer, PixelsThatGLTakesInAnotherOrderComeWholeWhereTheyAreMany) {
    // More than is rewritten at a time, in rows with room behind them.
    constexpr int Columns = 25 * Width;
    constexpr int Rows = 51 * Height;
    for (int const format : {android::PIXEL_FORMAT_BGRA_8888, android::PIXEL_FORMAT_RGBX_8888}) {
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Columns, Rows, format);
        GLuint const texture = MakeTexture(MakeImage(pBuffer));
        GGLSurface surface = {};
        ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
        for (int y = 0; y < Rows; ++y) {
            for (int x = 0; x < Columns; ++x) {
                std::uint8_t const bytes[] = {std::uint8_t(x / 2), std::uint8_t(y % 251), std::uint8_t(y / 2),
                                              255};
                std::memcpy(surface.data + (y * surface.stride + x) * 4, bytes, 4);
            }
        }
        ASSERT_EQ(pBuffer->unlock(), android::NO_ERROR);
        Image expected(Width, Height);
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < Width; ++x) {
                int const nColumn = 25 * x + 12; // in the middle of those that the window's pixel covers
                int const nRow = 51 * y + 25;
                auto const first = std::uint8_t(nColumn / 2);
                auto const third = std::uint8_t(nRow / 2);
                bool const fExchanged = format == android::PIXEL_FORMAT_BGRA_8888;
                expected.At(x, y) = {fExchanged ? third : first, std::uint8_t(nRow % 251),
                                     fExchanged ? first : third, 255};
            }
        }
        EXPECT_TRUE(CompareImages(Show(texture), expected, {}, std::to_string(format)));
    }
}

TEST_F(PlatformBuffer, ShowsFromUnlockOnWhatAnotherThreadWrote) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Fill(*pBuffer, Red);
    EXPECT_TRUE(CompareImages(Show(texture), Filled(Red), {}, "before"));
    GGLSurface surface = {};
    ASSERT_EQ(pBuffer->lock(&surface, 0), android::NO_ERROR);
    std::memset(surface.data, 0xFF, std::size_t(surface.stride) * Height * 4);
    EXPECT_TRUE(CompareImages(Show(texture), Filled(Red), {}, "while it is written"));
    std::thread([&] {
        EXPECT_EQ(pBuffer->unlock(), android::NO_ERROR);
        EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    }).join();
    EXPECT_TRUE(CompareImages(Show(texture), Filled({255, 255, 255, 255}), {}, "after"));
}

TEST_F(PlatformBuffer, DrawsGivenBeforeUnlockOnTheirThreadShowTheOldPixels) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Fill(*pBuffer, Red);
    Draw(texture);
    Fill(*pBuffer, Green);
    EXPECT_TRUE(CompareImages(Show(), Filled(Red), {}, "drawn before"));
    EXPECT_TRUE(CompareImages(Show(texture), Filled(Green), {}, "drawn after"));
}

TEST_F(PlatformBuffer, ThreadsThatWriteWhileFramesAreShownNeverTearThem) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Fill(*pBuffer, Red);
    std::atomic<bool> fDone{false};
    std::thread producer([&] {
        for (int n = 0; !fDone; ++n)
            Fill(*pBuffer, n % 2 == 0 ? Green : Blue);
    });
    int nTorn = 0;
    for (int nFrame = 0; nFrame < 100; ++nFrame) {
        Image const frame = Show(texture);
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < Width; ++x)
                nTorn += frame.At(x, y) != frame.At(0, 0);
        }
    }
    fDone = true;
    producer.join();
    EXPECT_EQ(nTorn, 0);
}

TEST_F(PlatformBuffer, WhatIsCurrentAndTheErrorsStayAsTheyWere) {
    EGLContext const context = eglGetCurrentContext();
    desktop::OffscreenWindow other(3, 3);
    EGLSurface const read = Surface(Config(), &other);
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, read, context));
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    EGLImageKHR const image = MakeImage(pBuffer);
    glBindTexture(GL_TEXTURE_2D, 0);
    glEnable(GL_TEXTURE_2D);                                 // leaves an error in GL
    EXPECT_FALSE(eglSwapBuffers(m_display, EGL_NO_SURFACE)); // and one in EGL
    Fill(*pBuffer, Red);
    EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
    EXPECT_EQ(glGetError(), GLenum(GL_INVALID_ENUM));
    EXPECT_TRUE(m_destroyImage(m_display, image));
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    EXPECT_EQ(eglGetCurrentContext(), context);
    EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), m_surface);
    EXPECT_EQ(eglGetCurrentSurface(EGL_READ), read);
    GLint nTexture = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &nTexture);
    EXPECT_EQ(nTexture, 0);
}

TEST_F(PlatformBuffer, WhatWasDestroyedWhileCurrentStaysCurrent) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    EGLContext const context = eglGetCurrentContext();
    ASSERT_TRUE(eglDestroyContext(m_display, context));
    Fill(*pBuffer, Green);
    EXPECT_EQ(eglGetCurrentContext(), context);
    Draw(texture); // it cannot be shown any more
    Pixel pixel;
    glReadPixels(Width / 2, Height / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    EXPECT_TRUE(pixel == Green);
}

TEST_F(PlatformBuffer, ImageAndBufferMayGoInAnyOrder) {
    sp<GraphicBuffer> pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    EGLImageKHR const first = MakeImage(pBuffer);
    EGLImageKHR const second = MakeImage(pBuffer);
    EXPECT_NE(first, second);
    EXPECT_EQ(pBuffer->getStrongCount(), 1);
    GLuint const firstTexture = MakeTexture(first);
    GLuint const secondTexture = MakeTexture(second);
    Fill(*pBuffer, Red);
    EXPECT_TRUE(m_destroyImage(m_display, first));
    EXPECT_FALSE(m_destroyImage(m_display, first));
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    Fill(*pBuffer, Blue);
    EXPECT_TRUE(CompareImages(Show(firstTexture), Filled(Red), {}, "whose image is gone"));
    EXPECT_TRUE(CompareImages(Show(secondTexture), Filled(Blue), {}, "whose image is there"));
    pBuffer.clear();
    EXPECT_TRUE(CompareImages(Show(secondTexture), Filled(Blue), {}, "whose buffer is gone"));
    EXPECT_TRUE(eglDestroyImage(m_display, second));
}

TEST_F(PlatformBuffer, WrongArgumentsForImagesAreRefused) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(4, 4, android::PIXEL_FORMAT_RGBA_8888);
    EGLClientBuffer const buffer = pBuffer->getNativeBuffer();
    EGLint const width[] = {EGL_WIDTH, 4, EGL_NONE};
    ANativeWindowBuffer unknown;
    unknown.magic = ANativeWindowBuffer::LivingMagic;
    struct Case {
        char const* name;
        EGLDisplay display;
        EGLContext context;
        EGLClientBuffer buffer;
        EGLint const* attributes;
        EGLint error;
    } const cases[] = {
        {"null", m_display, EGL_NO_CONTEXT, nullptr, nullptr, EGL_BAD_PARAMETER},
        {"no buffer", m_display, EGL_NO_CONTEXT, &unknown, nullptr, EGL_BAD_PARAMETER},
        {"an attribute of something else", m_display, EGL_NO_CONTEXT, buffer, width, EGL_BAD_PARAMETER},
        {"a context", m_display, eglGetCurrentContext(), buffer, nullptr, EGL_BAD_CONTEXT},
        {"no display", EGL_NO_DISPLAY, EGL_NO_CONTEXT, buffer, nullptr, EGL_BAD_DISPLAY},
    };
    for (Case const& each : cases) {
        EXPECT_EQ(
            m_createImage(each.display, each.context, NativeBufferAndroid, each.buffer, each.attributes),
            EGL_NO_IMAGE_KHR)
            << each.name;
        EXPECT_EQ(eglGetError(), each.error) << each.name;
    }
    sp<GraphicBuffer> const pWide = MakeBuffer(100000, 1, android::PIXEL_FORMAT_RGBA_8888);
    EXPECT_EQ(MakeImage(pWide), EGL_NO_IMAGE_KHR);
    EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    EXPECT_NE(eglCreateImage(m_display, EGL_NO_CONTEXT, NativeBufferAndroid, buffer, nullptr), EGL_NO_IMAGE);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

TEST_F(PlatformBuffer, OutlivesItsDisplay) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, android::PIXEL_FORMAT_RGBA_8888);
    ASSERT_NE(MakeImage(pBuffer), EGL_NO_IMAGE_KHR);
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    ASSERT_TRUE(eglTerminate(m_display));
    Fill(*pBuffer, Green);
    ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
    m_surface = StartDrawing(Config(), m_window);
    EXPECT_TRUE(CompareImages(Show(MakeTexture(MakeImage(pBuffer))), Filled(Green)));
}

} // namespace
} // namespace kelvo::test
