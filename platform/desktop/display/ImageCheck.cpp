#include "display/ImageCheck.h"

#include "buffers/BufferContents.h"
#include "buffers/ImageAlias.h"
#include "buffers/PixelUpload.h"
#include "egl/GlFunctions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace kelvokit::desktop {

namespace {

constexpr std::int32_t Width = 5; // rows end at odd places, and a stride has room beyond them
constexpr std::int32_t Stride = 8;
constexpr std::int32_t Height = 3;
constexpr std::size_t Pixels = std::size_t{Stride} * Height;

/** A buffer that the program does not know of. */
struct TestBuffer : ANativeWindowBuffer {
    explicit TestBuffer(android::PixelFormat pixelFormat) {
        width = Width;
        height = Height;
        stride = Stride;
        format = pixelFormat;
        contents = &m_contents;
        std::size_t const nSize = Pixels * android::bytesPerPixel(format);
        m_contents.pixels.reset(static_cast<std::uint8_t*>(std::calloc(nSize, 1)));
    }
    TestBuffer(TestBuffer const&) = delete;

    bool Prepare(bool fRowLength) { return m_contents.pixels && PrepareUpload(*this, fRowLength); }
    /** Other bytes for each pixel. */
    void Fill() {
        std::size_t const nSize = Pixels * android::bytesPerPixel(format);
        for (std::size_t n = 0; n < nSize; ++n) {
            m_contents.pixels.get()[n] = static_cast<std::uint8_t>(37 * n + 11);
        }
    }

private:
    BufferContents m_contents;
};

using Colours = std::array<std::uint8_t, std::size_t{4} * Width * Height>;

/** What a texture of the current context has; zeros where it cannot be read. */
Colours ReadTexture(GLuint texture) {
    Colours colours = {};
    GLuint framebuffer = 0;
    Gl().glGenFramebuffers(1, &framebuffer);
    Gl().glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    Gl().glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    if (Gl().glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        Gl().glReadPixels(0, 0, Width, Height, GL_RGBA, GL_UNSIGNED_BYTE, colours.data());
    }
    Gl().glBindFramebuffer(GL_FRAMEBUFFER, 0);
    Gl().glDeleteFramebuffers(1, &framebuffer);
    return colours;
}

/** In another context than the image's. */
bool UploadElsewhere(ANativeWindowBuffer const& buffer, EGLImage image) {
    GLuint const alias = CreateAlias(image, buffer.width, buffer.height);
    bool const fUploaded = alias != 0 && UploadToAlias(buffer, alias) && Gl().glGetError() == GL_NO_ERROR;
    if (alias != 0) {
        DeleteAlias(alias);
    }
    return fUploaded && Gl().glGetError() == GL_NO_ERROR;
}

} // namespace

bool CanUploadToAlias(LayerContext& context, android::PixelFormat format) {
    TestBuffer buffer(format);
    if (!buffer.Prepare(context.HasRowLength())) {
        return false;
    }
    GLuint texture = 0;
    EGLImage image = EGL_NO_IMAGE;
    bool const fMade = static_cast<bool>(context.Run([&] {
        OwnedTexture made = CreateTextureFor(buffer);
        if (made && UploadPixels(buffer, made.Name(), context.HasRowLength())) {
            image = context.CreateImage(made.Name());
            texture = image != EGL_NO_IMAGE ? made.Release() : 0;
        }
    }));
    if (!fMade || image == EGL_NO_IMAGE) {
        return false;
    }
    buffer.Fill();
    LayerContext other(context.Display());
    bool fUploaded = false;
    if (other.Start()) {
        static_cast<void>(other.Run([&] { fUploaded = UploadElsewhere(buffer, image); }));
    }
    bool fArrived = false;
    static_cast<void>(context.Run([&] {
        OwnedTexture const expected = CreateTextureFor(buffer);
        if (fUploaded && expected && UploadPixels(buffer, expected.Name(), context.HasRowLength())) {
            Colours const none = {};
            Colours const colours = ReadTexture(expected.Name());
            fArrived = colours != none && ReadTexture(texture) == colours;
        }
        Gl().glDeleteTextures(1, &texture);
    }));
    context.DestroyImage(image);
    return fArrived;
}

} // namespace kelvokit::desktop
