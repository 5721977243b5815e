#include "buffers/PixelUpload.h"

#include "egl/GlFunctions.h"

#include <ui/PixelFormat.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace kelvokit::desktop {

namespace {

/** How GL takes a format. */
struct Upload {
    GLenum format; ///< GL_NONE: not at all
    GLenum type;
    /** Rewrites a row of `nPixels`; null where GL takes the pixels as they are. */
    void (*convert)(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels);
};

/** A pixel as one number, and numbers that cover some of its bytes, in the machine's byte order. */
std::uint32_t Word(std::uint8_t const* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}
constexpr std::uint8_t Alpha[] = {0, 0, 0, 0xFF};
constexpr std::uint8_t RedAndBlue[] = {0xFF, 0, 0xFF, 0};

/** Rewrites each pixel of a row; as words the compiler makes vector code of it. */
template <class Function>
void Rewrite(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels, Function function) {
    for (std::size_t n = 0; n < 4 * nPixels; n += 4) {
        std::uint32_t const word = function(Word(from + n));
        std::memcpy(to + n, &word, sizeof word);
    }
}

void MakeOpaque(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels) {
    std::uint32_t const alpha = Word(Alpha); // the format's fourth byte is not alpha
    Rewrite(to, from, nPixels, [=](std::uint32_t pixel) { return pixel | alpha; });
}

void ExchangeRedAndBlue(std::uint8_t* to, std::uint8_t const* from, std::size_t nPixels) {
    std::uint32_t const redAndBlue = Word(RedAndBlue);
    Rewrite(to, from, nPixels, [=](std::uint32_t pixel) {
        return (pixel & ~redAndBlue) | ((pixel << 16 | pixel >> 16) & redAndBlue);
    });
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

std::size_t RowSize(ANativeWindowBuffer const& buffer) {
    return std::size_t(buffer.width) * android::bytesPerPixel(buffer.format);
}

std::size_t StrideSize(ANativeWindowBuffer const& buffer) {
    return std::size_t(buffer.stride) * android::bytesPerPixel(buffer.format);
}

/** How many rows are packed at a time: few enough for them to be in a cache still when GL takes them. */
std::int32_t PackedRows(ANativeWindowBuffer const& buffer) {
    constexpr std::size_t PieceSize = std::size_t{256} * 1024;
    std::size_t const nRows = std::max<std::size_t>(1, PieceSize / RowSize(buffer));
    return static_cast<std::int32_t>(std::min(nRows, static_cast<std::size_t>(buffer.height)));
}

/** Packs rows from `nFirst` on. */
void Pack(ANativeWindowBuffer const& buffer, std::int32_t nFirst, std::int32_t nRows) {
    Upload const upload = UploadOf(buffer);
    std::size_t const nRow = RowSize(buffer);
    std::size_t const nStride = StrideSize(buffer);
    std::uint8_t const* from = buffer.contents->pixels.get() + std::size_t(nFirst) * nStride;
    std::uint8_t* to = buffer.contents->packed.get();
    for (std::int32_t y = 0; y < nRows; ++y, from += nStride, to += nRow) {
        if (upload.convert) {
            upload.convert(to, from, std::size_t(buffer.width));
        } else {
            std::memcpy(to, from, nRow);
        }
    }
}

/** Into the texture that is bound. */
void UploadRows(ANativeWindowBuffer const& buffer, std::int32_t nFirst, std::int32_t nRows,
                std::uint8_t const* pPixels) {
    Upload const upload = UploadOf(buffer);
    Gl().glTexSubImage2D(GL_TEXTURE_2D, 0, 0, nFirst, buffer.width, nRows, upload.format, upload.type,
                         pPixels);
}

/** The layer's context is its own: what an error flag says is about the calls since this one. */
void ForgetErrors() {
    constexpr int MaxFlags = 16; // more than GL has; a context that was lost reports errors without end
    for (int n = 0; n < MaxFlags && Gl().glGetError() != GL_NO_ERROR; ++n) {}
}

} // namespace

bool IsUploadable(ANativeWindowBuffer const& buffer) {
    return UploadOf(buffer).format != GL_NONE;
}

bool IsPacked(ANativeWindowBuffer const& buffer, bool fRowLength) {
    return UploadOf(buffer).convert || (buffer.stride != buffer.width && !fRowLength);
}

std::size_t RowSpan(ANativeWindowBuffer const& buffer, bool fRowLength) {
    return IsPacked(buffer, fRowLength) ? RowSize(buffer) : StrideSize(buffer);
}

Outcome PrepareUpload(ANativeWindowBuffer const& buffer, bool fRowLength) {
    Memory& packed = buffer.contents->packed;
    if (IsPacked(buffer, fRowLength) && !packed) {
        packed.reset(
            static_cast<std::uint8_t*>(std::malloc(RowSize(buffer) * std::size_t(PackedRows(buffer)))));
    }
    return packed || !IsPacked(buffer, fRowLength) ? Outcome::Done() : Outcome::Failed(EGL_BAD_ALLOC);
}

OwnedTexture CreateTextureFor(ANativeWindowBuffer const& buffer) {
    Upload const upload = UploadOf(buffer);
    ForgetErrors();
    OwnedTexture texture = OwnedTexture::Generate();
    Gl().glBindTexture(GL_TEXTURE_2D, texture.Name());
    // Without these it would need mipmaps to be complete, which a shared texture has to be.
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    Gl().glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(upload.format), buffer.width, buffer.height, 0,
                      upload.format, upload.type, nullptr);
    return Gl().glGetError() == GL_NO_ERROR ? std::move(texture) : OwnedTexture();
}

void UploadBound(ANativeWindowBuffer const& buffer, bool fRowLength) {
    bool const fPacked = IsPacked(buffer, fRowLength);
    if (!fPacked) {
        UploadRows(buffer, 0, buffer.height, buffer.contents->pixels.get());
    }
    std::int32_t const nRows = PackedRows(buffer);
    for (std::int32_t y = 0; fPacked && y < buffer.height; y += nRows) {
        std::int32_t const nPacked = std::min(nRows, buffer.height - y);
        Pack(buffer, y, nPacked);
        UploadRows(buffer, y, nPacked, buffer.contents->packed.get());
    }
}

Outcome UploadPixels(ANativeWindowBuffer const& buffer, GLuint texture, bool fRowLength) {
    ForgetErrors();
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    Gl().glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (fRowLength) {
        Gl().glPixelStorei(GL_UNPACK_ROW_LENGTH, IsPacked(buffer, fRowLength) ? 0 : buffer.stride);
    }
    UploadBound(buffer, fRowLength);
    bool const fUploaded = Gl().glGetError() == GL_NO_ERROR;
    Gl().glFinish();
    return fUploaded ? Outcome::Done() : Outcome::Failed(EGL_BAD_ALLOC);
}

} // namespace kelvokit::desktop
