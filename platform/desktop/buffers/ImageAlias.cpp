#include "buffers/ImageAlias.h"

#include "buffers/PixelUpload.h"
#include "egl/GlFunctions.h"
#include "egl/ScopedState.h"

#include <cstddef>
#include <cstdint>

namespace kelvokit::desktop {

namespace {

/**
 * An alias is known by the highest level of detail, one that no program gives to a texture; it is never
 * sampled. It is made of an address, so that no other layer in the process has it.
 */
GLfloat Mark() {
    static char const s_place = 0;
    // Above what programs give, and with as many bits of the page as a number keeps exactly.
    constexpr std::uintptr_t HighBit = 0x800000;
    std::uintptr_t const nPage = reinterpret_cast<std::uintptr_t>(&s_place) >> 12;
    return static_cast<GLfloat>(HighBit + nPage % HighBit);
}

// Aliases have names far above those that GL gives and that programs choose, each of them once, so that no
// texture of another image or of another context is taken for one. They go downward, since drivers may give
// the names above the highest from then on.
constexpr GLuint HighestName = 0x40000FFF;
constexpr GLuint LowestName = 0x20000000;

/** A name that the context has no texture of; 0 once all are used up. The layer's work is held. */
GLuint NextName() {
    static GLuint s_nNext = HighestName;
    while (s_nNext >= LowestName) {
        GLuint const name = s_nNext--;
        if (!Gl().glIsTexture(name)) {
            return name;
        }
    }
    return 0;
}

GLuint BoundName() {
    GLint nBound = 0;
    Gl().glGetIntegerv(GL_TEXTURE_BINDING_2D, &nBound);
    return static_cast<GLuint>(nBound);
}

/** Whether the texture that is bound, whose name this is, can be bound again after another one. */
bool IsLasting(GLuint bound) {
    return bound == 0 || Gl().glIsTexture(bound);
}

/** The context's texture until this ends is `texture`, where there is one of that name. */
class BoundTexture {
public:
    // Only names that are there: to bind one that is not makes a texture of it.
    explicit BoundTexture(GLuint texture)
        : m_saved(BoundName()), m_fBound(Gl().glIsTexture(texture) && IsLasting(m_saved)) {
        if (m_fBound) {
            Gl().glBindTexture(GL_TEXTURE_2D, texture);
        }
    }
    BoundTexture(BoundTexture const&) = delete;
    ~BoundTexture() {
        if (m_fBound) {
            Gl().glBindTexture(GL_TEXTURE_2D, m_saved);
        }
    }

    /** Whether it is an alias still, and not another texture that was given its name. */
    bool IsAlias() const {
        if (!m_fBound) {
            return false;
        }
        GLfloat mark = 0;
        Gl().glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, &mark);
        return mark == Mark();
    }

private:
    GLuint m_saved;
    bool m_fBound;
};

constexpr std::size_t MaxUnpackAlignment = 8;

bool HasSize(GLsizei width, GLsizei height) {
    GLint nWidth = 0;
    GLint nHeight = 0;
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &nWidth);
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &nHeight);
    return nWidth == width && nHeight == height;
}

} // namespace

bool CanUseAliases() {
    return IsLasting(BoundName());
}

bool CanFindAlias() {
    return HasAnswerWithoutContext() && IsPlainEs32();
}

GLuint CreateAlias(EGLImage image, GLsizei width, GLsizei height) {
    if (!IsEs31() || !Gl().glEGLImageTargetTexture2DOES) {
        return 0;
    }
    GLuint const bound = BoundName();
    GLuint const texture = NextName();
    if (texture == 0) {
        return 0;
    }
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    Gl().glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, image);
    Gl().glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, Mark());
    bool const fMade = HasSize(width, height);
    Gl().glBindTexture(GL_TEXTURE_2D, bound);
    if (!fMade) {
        Gl().glDeleteTextures(1, &texture);
    }
    return fMade ? texture : 0;
}

void DeleteAlias(GLuint texture) {
    bool const fThere = BoundTexture(texture).IsAlias();
    if (fThere) {
        Gl().glDeleteTextures(1, &texture);
    }
}

bool UploadToAlias(ANativeWindowBuffer const& buffer, GLuint texture) {
    BoundTexture const bound(texture);
    if (!bound.IsAlias() || !HasSize(buffer.width, buffer.height)) {
        return false;
    }
    bool const fApart = !IsPacked(buffer, true) && buffer.stride != buffer.width;
    auto const rowLength = static_cast<GLenum>(fApart ? buffer.stride : 0);
    // Most rows end where the next one may begin, whatever the alignment.
    bool const fAligned = RowSpan(buffer, true) % MaxUnpackAlignment == 0;
    ScopedInteger const source(true, GL_PIXEL_UNPACK_BUFFER_BINDING, 0,
                               BufferBinding{GL_PIXEL_UNPACK_BUFFER});
    ScopedInteger const alignment(!fAligned, GL_UNPACK_ALIGNMENT, 1, PixelStore{GL_UNPACK_ALIGNMENT});
    ScopedInteger const row(true, GL_UNPACK_ROW_LENGTH, rowLength, PixelStore{GL_UNPACK_ROW_LENGTH});
    ScopedInteger const skipRows(true, GL_UNPACK_SKIP_ROWS, 0, PixelStore{GL_UNPACK_SKIP_ROWS});
    ScopedInteger const skipPixels(true, GL_UNPACK_SKIP_PIXELS, 0, PixelStore{GL_UNPACK_SKIP_PIXELS});
    UploadBound(buffer, true);
    Gl().glFinish();
    return true;
}

} // namespace kelvokit::desktop
