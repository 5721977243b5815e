#include "windows/FrameReader.h"

#include "egl/GlFunctions.h"
#include "egl/ScopedState.h"
#include "kelvo_desktop/OffscreenWindow.h"

#include <algorithm>
#include <cstdint>

namespace kelvokit::desktop {

namespace {

struct FramebufferBinding {
    GLenum target;
    void operator()(GLenum value) const { Gl().glBindFramebuffer(target, value); }
};

struct ReadBuffer {
    int nVersion;
    void operator()(GLenum value) const { (nVersion >= 3 ? Gl().glReadBuffer : Gl().glReadBufferNV)(value); }
};

/** What of a context's state takes part in a read: OpenGL ES 3 has all but the last, 2 by extensions. */
struct ReadState {
    explicit ReadState(int nVersion) {
        auto const* extensions = reinterpret_cast<char const*>(Gl().glGetString(GL_EXTENSIONS));
        auto const has = [=](char const* name) { return HasExtension(extensions, name); };
        bool const fEs3 = nVersion >= 3;
        fReadFramebuffer = fEs3 || has("GL_NV_framebuffer_blit") || has("GL_ANGLE_framebuffer_blit") ||
                           has("GL_APPLE_framebuffer_multisample");
        fReadBuffer = fEs3 || has("GL_NV_read_buffer");
        fPackBuffer = fEs3 || has("GL_NV_pixel_buffer_object");
        fSubimage = fEs3 || has("GL_NV_pack_subimage");
        fReverseRows = has("GL_ANGLE_pack_reverse_row_order");
    }

    bool fReadFramebuffer;
    bool fReadBuffer;
    bool fPackBuffer;
    bool fSubimage;
    bool fReverseRows;
};

// The numbers that the extensions of OpenGL ES 2 have are those of OpenGL ES 3.
constexpr GLenum PackReverseRowOrder = 0x93A4;

/**
 * Makes only calls that are legal in every state of the context. Whether one failed cannot be asked: to read
 * an error flag takes it away from the program.
 */
void ReadPixels(int nVersion, int width, int height, void* pixels) {
    ReadState const has(nVersion);
    bool const fBoth = !has.fReadFramebuffer;
    ScopedInteger framebuffer(true, fBoth ? GL_FRAMEBUFFER_BINDING : GL_READ_FRAMEBUFFER_BINDING, 0,
                              FramebufferBinding{GLenum(fBoth ? GL_FRAMEBUFFER : GL_READ_FRAMEBUFFER)});
    // After the framebuffer: each framebuffer has a read buffer of its own.
    ScopedInteger readBuffer(has.fReadBuffer, GL_READ_BUFFER, GL_BACK, ReadBuffer{nVersion});
    ScopedInteger packBuffer(has.fPackBuffer, GL_PIXEL_PACK_BUFFER_BINDING, 0,
                             BufferBinding{GL_PIXEL_PACK_BUFFER});
    ScopedInteger alignment(true, GL_PACK_ALIGNMENT, 4, PixelStore{GL_PACK_ALIGNMENT});
    ScopedInteger rowLength(has.fSubimage, GL_PACK_ROW_LENGTH, 0, PixelStore{GL_PACK_ROW_LENGTH});
    ScopedInteger skipRows(has.fSubimage, GL_PACK_SKIP_ROWS, 0, PixelStore{GL_PACK_SKIP_ROWS});
    ScopedInteger skipPixels(has.fSubimage, GL_PACK_SKIP_PIXELS, 0, PixelStore{GL_PACK_SKIP_PIXELS});
    ScopedInteger reverseRows(has.fReverseRows, PackReverseRowOrder, GL_FALSE,
                              PixelStore{PackReverseRowOrder});
    Gl().glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

/** GL's first row is the bottom one. */
void Flip(FinishedFrame& frame) {
    std::ptrdiff_t const nRow = std::ptrdiff_t(frame.width) * 4;
    auto top = frame.pixels.begin();
    auto bottom = frame.pixels.end() - nRow;
    for (int nSwaps = frame.height / 2; nSwaps > 0; --nSwaps) {
        std::swap_ranges(top, top + nRow, bottom);
        top += nRow;
        bottom -= nRow;
    }
}

} // namespace

Outcome ReadFrame(EGLDisplay display, EGLSurface surface, int width, int height, FinishedFrame& frame) {
    EglDriver const& egl = Driver();
    int const nVersion = EsVersion();
    if (nVersion == 0) {
        return Outcome::Failed(EGL_BAD_CONTEXT);
    }
    // Two positive 32-bit sides: the product fits 64 bits, and size_t perhaps not.
    std::uint64_t const nSize = static_cast<std::uint64_t>(width) * static_cast<std::uint32_t>(height) * 4;
    if (nSize > frame.pixels.max_size()) {
        return Outcome::Failed(EGL_BAD_ALLOC);
    }
    frame.pixels.resize(static_cast<std::size_t>(nSize));
    frame.width = width;
    frame.height = height;
    // GL reads from the read surface, which may be another one than was drawn on.
    EGLSurface const readSurface = egl.eglGetCurrentSurface(EGL_READ);
    EGLContext const context = egl.eglGetCurrentContext();
    if (readSurface != surface && !egl.eglMakeCurrent(display, surface, surface, context)) {
        return Outcome::DriverFailed();
    }
    ReadPixels(nVersion, width, height, frame.pixels.data());
    if (readSurface != surface && !egl.eglMakeCurrent(display, surface, readSurface, context)) {
        return Outcome::DriverFailed();
    }
    Flip(frame);
    return Outcome::Done();
}

void FlushCurrentContext() {
    if (Gl().glFlush) {
        Gl().glFlush();
    }
}

void FinishCurrentContext() {
    if (Gl().glFinish) {
        Gl().glFinish();
    }
}

} // namespace kelvokit::desktop
