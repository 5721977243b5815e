#include "FrameReader.h"

#include "EglDriver.h"
#include "GlFunctions.h"
#include "kelvo_desktop/OffscreenWindow.h"

#include <algorithm>

namespace kelvo::desktop {

namespace {

/** Sets one integer state for as long as it lives. `query` is the name to read it by. */
template <class Set>
class ScopedInteger {
public:
    ScopedInteger(GLenum query, GLint value, Set set) : m_set(set) {
        Gl().glGetIntegerv(query, &m_nSaved);
        m_fChanged = m_nSaved != value;
        if (m_fChanged)
            m_set(value);
    }
    ScopedInteger(ScopedInteger const&) = delete;
    ~ScopedInteger() {
        if (m_fChanged)
            m_set(m_nSaved);
    }

private:
    Set m_set;
    GLint m_nSaved = 0;
    bool m_fChanged = false;
};

struct PixelStore {
    GLenum name;
    void operator()(GLint value) const { Gl().glPixelStorei(name, value); }
};

struct FramebufferBinding {
    GLenum target;
    void operator()(GLint value) const { Gl().glBindFramebuffer(target, value); }
};

struct PackBuffer {
    void operator()(GLint value) const { Gl().glBindBuffer(GL_PIXEL_PACK_BUFFER, value); }
};

struct ReadBuffer {
    void operator()(GLint value) const { Gl().glReadBuffer(value); }
};

void ReadPixels(int width, int height, void* pixels) {
    Gl().glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

// Every call in these two is legal in every state of its context, since nobody could ask whether it went
// well: an error flag cannot be read without taking it away from the program.

void ReadEs2(int width, int height, void* pixels) {
    ScopedInteger framebuffer(GL_FRAMEBUFFER_BINDING, 0, FramebufferBinding{GL_FRAMEBUFFER});
    ScopedInteger alignment(GL_PACK_ALIGNMENT, 4, PixelStore{GL_PACK_ALIGNMENT});
    ReadPixels(width, height, pixels);
}

void ReadEs3(int width, int height, void* pixels) {
    ScopedInteger framebuffer(GL_READ_FRAMEBUFFER_BINDING, 0, FramebufferBinding{GL_READ_FRAMEBUFFER});
    // After the framebuffer, for this is the state of the one that is bound.
    ScopedInteger readBuffer(GL_READ_BUFFER, GL_BACK, ReadBuffer{});
    ScopedInteger packBuffer(GL_PIXEL_PACK_BUFFER_BINDING, 0, PackBuffer{});
    ScopedInteger alignment(GL_PACK_ALIGNMENT, 4, PixelStore{GL_PACK_ALIGNMENT});
    ScopedInteger rowLength(GL_PACK_ROW_LENGTH, 0, PixelStore{GL_PACK_ROW_LENGTH});
    ScopedInteger skipRows(GL_PACK_SKIP_ROWS, 0, PixelStore{GL_PACK_SKIP_ROWS});
    ScopedInteger skipPixels(GL_PACK_SKIP_PIXELS, 0, PixelStore{GL_PACK_SKIP_PIXELS});
    ReadPixels(width, height, pixels);
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

EGLint ReadFrame(EGLDisplay display, EGLSurface surface, int width, int height, FinishedFrame& frame) {
    EglDriver const& egl = Driver();
    int const nVersion = EsVersion();
    if (nVersion == 0)
        return EGL_BAD_CONTEXT;
    frame.pixels.resize(std::size_t(width) * height * 4);
    frame.width = width;
    frame.height = height;
    // GL reads from the read surface, which may be another one than was drawn on.
    EGLSurface const readSurface = egl.eglGetCurrentSurface(EGL_READ);
    EGLContext const context = egl.eglGetCurrentContext();
    if (readSurface != surface && !egl.eglMakeCurrent(display, surface, surface, context))
        return egl.eglGetError();
    if (nVersion >= 3)
        ReadEs3(width, height, frame.pixels.data());
    else
        ReadEs2(width, height, frame.pixels.data());
    if (readSurface != surface && !egl.eglMakeCurrent(display, surface, readSurface, context))
        return egl.eglGetError();
    Flip(frame);
    return EGL_SUCCESS;
}

void FlushCurrentContext() {
    if (Gl().glFlush)
        Gl().glFlush();
}

void FinishCurrentContext() {
    if (Gl().glFinish)
        Gl().glFinish();
}

} // namespace kelvo::desktop
