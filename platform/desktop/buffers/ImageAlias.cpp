#include "buffers/ImageAlias.h"

#include "buffers/PixelUpload.h"
#include "egl/GlFunctions.h"
#include "egl/ScopedState.h"

namespace kelvokit::desktop {

namespace {

// An alias is known by levels of detail that no program gives to a texture; it is never sampled.
constexpr GLfloat MinLod = -531.375F;
constexpr GLfloat MaxLod = 7219.625F;

// Aliases have names far above those that GL gives and that programs choose, each of them once before the
// range is used up, so that no texture of another image or of another context is taken for one. They go
// downward, since drivers may give the names above the highest from then on.
constexpr GLuint HighestName = 0x40000FFF;
constexpr GLuint LowestName = 0x20000000;

/** A name that the context has no texture of. The layer's work is held. */
GLuint NextName() {
    static GLuint s_nLast = HighestName + 1;
    do {
        s_nLast = s_nLast > LowestName ? s_nLast - 1 : HighestName;
    } while (Gl().glIsTexture(s_nLast));
    return s_nLast;
}

GLuint BoundName() {
    GLint nBound = 0;
    Gl().glGetIntegerv(GL_TEXTURE_BINDING_2D, &nBound);
    return static_cast<GLuint>(nBound);
}

/** The context's texture until this ends is `texture`, where there is one of that name. */
class BoundTexture {
public:
    // Only names that are there: to bind one that is not makes a texture of it.
    explicit BoundTexture(GLuint texture) : m_saved(BoundName()), m_fBound(Gl().glIsTexture(texture)) {
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
        GLfloat rMin = 0;
        GLfloat rMax = 0;
        if (m_fBound) {
            Gl().glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MIN_LOD, &rMin);
            Gl().glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, &rMax);
        }
        return rMin == MinLod && rMax == MaxLod;
    }

private:
    GLuint m_saved;
    bool m_fBound;
};

bool HasSize(GLsizei width, GLsizei height) {
    GLint nWidth = 0;
    GLint nHeight = 0;
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &nWidth);
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &nHeight);
    return nWidth == width && nHeight == height;
}

} // namespace

bool CanUseAliases() {
    GLuint const bound = BoundName();
    return bound == 0 || Gl().glIsTexture(bound);
}

GLuint CreateAlias(EGLImage image, GLsizei width, GLsizei height) {
    if (!IsEs31() || !Gl().glEGLImageTargetTexture2DOES) {
        return 0;
    }
    GLuint const bound = BoundName();
    GLuint const texture = NextName();
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    Gl().glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, image);
    Gl().glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_LOD, MinLod);
    Gl().glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, MaxLod);
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
    bool const fPacked = IsPacked(buffer, true);
    auto const rowLength = static_cast<GLenum>(fPacked ? 0 : buffer.stride);
    ScopedInteger const source(true, GL_PIXEL_UNPACK_BUFFER_BINDING, 0,
                               BufferBinding{GL_PIXEL_UNPACK_BUFFER});
    ScopedInteger const alignment(true, GL_UNPACK_ALIGNMENT, 1, PixelStore{GL_UNPACK_ALIGNMENT});
    ScopedInteger const row(true, GL_UNPACK_ROW_LENGTH, rowLength, PixelStore{GL_UNPACK_ROW_LENGTH});
    ScopedInteger const skipRows(true, GL_UNPACK_SKIP_ROWS, 0, PixelStore{GL_UNPACK_SKIP_ROWS});
    ScopedInteger const skipPixels(true, GL_UNPACK_SKIP_PIXELS, 0, PixelStore{GL_UNPACK_SKIP_PIXELS});
    UploadBound(buffer, true);
    Gl().glFinish();
    return true;
}

} // namespace kelvokit::desktop
