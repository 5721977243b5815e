#include "PixelUpload.h"

#include "GlFunctions.h"

#include <ui/PixelFormat.h>

#include <cstring>

namespace kelvo::desktop {

namespace {

/** How GL takes a format. */
struct Upload {
    GLenum format; ///< GL_NONE: not at all
    GLenum type;
    /** Rewrites a row of `nPixels`; null where GL takes the pixels as they are. */
    void (*convert)(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels);
};

void MakeOpaque(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels) {
    for (std::size_t n = 0; n < nPixels; ++n, to += 4, from += 4) {
        std::memcpy(to, from, 3);
        to[3] = 0xFF; // what is there is no alpha
    }
}

void ExchangeRedAndBlue(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels) {
    for (std::size_t n = 0; n < nPixels; ++n, to += 4, from += 4) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
        to[3] = from[3];
    }
}

Upload UploadOf(ANativeWindowBuffer const& buffer) {
    switch (buffer.format) {
    case android::PIXEL_FORMAT_RGBA_8888:
        return {GL_RGBA, GL_UNSIGNED_BYTE, nullptr};
    case android::PIXEL_FORMAT_RGBX_8888:
        return {GL_RGBA, GL_UNSIGNED_BYTE, MakeOpaque};
    case android::PIXEL_FORMAT_RGB_888:
        return {GL_RGB, GL_UNSIGNED_BYTE, nullptr};
    case android::PIXEL_FORMAT_RGB_565:
        return {GL_RGB, GL_UNSIGNED_SHORT_5_6_5, nullptr};
    case android::PIXEL_FORMAT_BGRA_8888: // not every GL has it, and none has to share it
        return {GL_RGBA, GL_UNSIGNED_BYTE, ExchangeRedAndBlue};
    case android::PIXEL_FORMAT_RGBA_5551:
        return {GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, nullptr};
    case android::PIXEL_FORMAT_RGBA_4444:
        return {GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, nullptr};
    case android::PIXEL_FORMAT_A_8:
        return {GL_ALPHA, GL_UNSIGNED_BYTE, nullptr};
    default:
        return {GL_NONE, GL_NONE, nullptr};
    }
}

bool IsPacked(ANativeWindowBuffer const& buffer, bool fRowLength) {
    return UploadOf(buffer).convert || (buffer.stride != buffer.width && !fRowLength);
}

std::size_t RowSize(ANativeWindowBuffer const& buffer) {
    return std::size_t(buffer.width) * android::bytesPerPixel(buffer.format);
}

void Pack(ANativeWindowBuffer const& buffer) {
    Upload const upload = UploadOf(buffer);
    std::size_t const nRow = RowSize(buffer);
    std::size_t const nStride = std::size_t(buffer.stride) * android::bytesPerPixel(buffer.format);
    std::uint8_t const* from = buffer.contents->pixels.get();
    std::uint8_t* to = buffer.contents->packed.get();
    for (std::int32_t y = 0; y < buffer.height; ++y, from += nStride, to += nRow) {
        if (upload.convert)
            upload.convert(to, from, std::size_t(buffer.width));
        else
            std::memcpy(to, from, nRow);
    }
}

/** The layer's context is its own: what an error flag says is about the calls since this one. */
void ForgetErrors() {
    while (Gl().glGetError() != GL_NO_ERROR) {}
}

} // namespace

bool IsUploadable(ANativeWindowBuffer const& buffer) {
    return UploadOf(buffer).format != GL_NONE;
}

bool PrepareUpload(ANativeWindowBuffer const& buffer, bool fRowLength) {
    Memory& packed = buffer.contents->packed;
    if (IsPacked(buffer, fRowLength) && !packed)
        packed.reset(static_cast<std::uint8_t*>(std::malloc(RowSize(buffer) * std::size_t(buffer.height))));
    return packed || !IsPacked(buffer, fRowLength);
}

GLuint CreateTextureFor(ANativeWindowBuffer const& buffer) {
    Upload const upload = UploadOf(buffer);
    GLuint texture = 0;
    ForgetErrors();
    Gl().glGenTextures(1, &texture);
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    // Without these it would need mipmaps to be complete, which a shared texture has to be.
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    Gl().glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(upload.format), buffer.width, buffer.height, 0,
                      upload.format, upload.type, nullptr);
    if (Gl().glGetError() != GL_NO_ERROR) {
        Gl().glDeleteTextures(1, &texture);
        return 0;
    }
    return texture;
}

bool UploadPixels(ANativeWindowBuffer const& buffer, GLuint texture, bool fRowLength) {
    Upload const upload = UploadOf(buffer);
    bool const fPacked = IsPacked(buffer, fRowLength);
    if (fPacked)
        Pack(buffer);
    ForgetErrors();
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    Gl().glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (fRowLength)
        Gl().glPixelStorei(GL_UNPACK_ROW_LENGTH, fPacked ? 0 : buffer.stride);
    Memory const& source = fPacked ? buffer.contents->packed : buffer.contents->pixels;
    Gl().glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, buffer.width, buffer.height, upload.format, upload.type,
                         source.get());
    bool const fUploaded = Gl().glGetError() == GL_NO_ERROR;
    Gl().glFinish();
    return fUploaded;
}

} // namespace kelvo::desktop
