#pragma once

#include "EglProgram.h"

#include <GLES2/gl2ext.h>
#include <hardware/gralloc.h>
#include <pixelflinger/pixelflinger.h>
#include <ui/GraphicBuffer.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace kelvokit::test {

using android::GraphicBuffer;
using android::sp;

inline constexpr EGLenum NativeBufferAndroid = 0x3140;
inline constexpr std::uint32_t Usage = GRALLOC_USAGE_HW_TEXTURE | GRALLOC_USAGE_SW_WRITE_OFTEN;

/** A pixel as a buffer's format has it, and the colour that a texture of it shows. */
struct FormatCase {
    int format;
    std::vector<std::uint8_t> bytes; // 16-bit words with the lower byte first
    Pixel colour;
};

inline std::vector<FormatCase> FormatCases() {
    return {
        {android::PIXEL_FORMAT_RGBA_8888, {10, 60, 200, 130}, {10, 60, 200, 130}},
        {android::PIXEL_FORMAT_RGBX_8888, {10, 60, 200, 130}, {10, 60, 200, 255}},
        {android::PIXEL_FORMAT_RGB_888, {10, 60, 200}, {10, 60, 200, 255}},
        {android::PIXEL_FORMAT_RGB_565, {0x1F, 0x04}, {0, 130, 255, 255}},
        {android::PIXEL_FORMAT_BGRA_8888, {200, 60, 10, 130}, {10, 60, 200, 130}},
        {android::PIXEL_FORMAT_RGBA_5551, {0x3E, 0xF8}, {255, 0, 255, 0}},
        {android::PIXEL_FORMAT_RGBA_4444, {0x3C, 0xF0}, {255, 0, 51, 204}},
        {android::PIXEL_FORMAT_A_8, {130}, {0, 0, 0, 130}},
    };
}

/** A program that draws with textures made of graphic buffers. */
class PlatformBuffer : public EglProgram {
protected:
    void SetUp() override {
        EglProgram::SetUp();
        if (!HasExtension()) {
            GTEST_SKIP() << "no images";
        }
        m_surface = StartDrawing(Config(), m_window);
    }
    bool HasExtension() const {
        std::string const extensions = eglQueryString(m_display, EGL_EXTENSIONS);
        EXPECT_NE(extensions.find("EGL_KHR_image"), std::string::npos) << "the driver's own";
        return extensions.find("EGL_ANDROID_image_native_buffer") != std::string::npos;
    }

    static sp<GraphicBuffer> MakeBuffer(int width = Width, int height = Height,
                                        int format = android::PIXEL_FORMAT_RGBA_8888) {
        return new GraphicBuffer(std::uint32_t(width), std::uint32_t(height), format, Usage);
    }

    EGLImageKHR CreateImage(EGLDisplay display, EGLContext context, EGLClientBuffer buffer,
                            EGLint const* attributes) const {
        auto const create =
            reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
        return create(display, context, NativeBufferAndroid, buffer, attributes);
    }
    EGLImageKHR MakeImage(sp<GraphicBuffer> const& pBuffer) const {
        EGLint const attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE, EGL_NONE};
        return CreateImage(m_display, EGL_NO_CONTEXT, pBuffer->getNativeBuffer(), attributes);
    }

    GLuint MakeTexture(EGLImageKHR image) const {
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
            eglGetProcAddress("glEGLImageTargetTexture2DOES"))(GL_TEXTURE_2D, image);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        return texture;
    }

    /** Writes what `pixel` gives by column and row; rows lie a stride apart, the first at the top. */
    template <class PixelBytes>
    static void Write(GraphicBuffer& buffer, std::size_t nBytes, PixelBytes const& pixel) {
        GGLSurface surface = {};
        ASSERT_EQ(buffer.lock(&surface, GRALLOC_USAGE_SW_WRITE_OFTEN), android::NO_ERROR);
        std::memset(surface.data, 0xEE,
                    std::size_t(surface.stride) * surface.height * nBytes); // between rows, too
        for (int y = 0; y < int(surface.height); ++y) {
            for (int x = 0; x < int(surface.width); ++x) {
                auto const bytes = pixel(x, y);
                std::memcpy(surface.data + std::size_t(y * surface.stride + x) * nBytes, &bytes[0], nBytes);
            }
        }
        ASSERT_EQ(buffer.unlock(), android::NO_ERROR);
    }
    static void Fill(GraphicBuffer& buffer, Pixel colour) {
        Write(buffer, 4, [colour](int, int) { return ToBytes(colour); });
    }
    static std::array<std::uint8_t, 4> ToBytes(Pixel colour) {
        return {colour.r, colour.g, colour.b, colour.a};
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
    Image Show() { return Present(m_surface, m_window); }
    Image Show(GLuint texture) {
        Draw(texture);
        return Show();
    }
    /** Whether a texture is all of one colour; 0 for what has been drawn already. */
    testing::AssertionResult Shows(GLuint texture, Pixel colour) {
        return CompareImages(texture ? Show(texture) : Show(), Image(Width, Height, colour),
                             {1, 1, "rounding of channels with few bits"});
    }

    // Rows of the buffers of this size have room beyond their end.
    static constexpr int Width = 13;
    static constexpr int Height = 7;

    CapturedWindow m_window{Width, Height};
    EGLSurface m_surface = EGL_NO_SURFACE;
    bool m_fProgram = false;
};

} // namespace kelvokit::test
