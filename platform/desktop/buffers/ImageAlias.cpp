#include "buffers/ImageAlias.h"

#include "buffers/PixelUpload.h"
#include "egl/GlFunctions.h"
#include "egl/ScopedState.h"

namespace kelvokit::desktop {

namespace {

// An alias is known by levels of detail that no program gives to a texture; it is never sampled.
constexpr GLfloat MinLod = -531.375F;
constexpr GLfloat MaxLod = 7219.625F;

/** The context's texture until this ends is `texture`; Is tells whether there is a context at all. */
class BoundTexture {
public:
    explicit BoundTexture(GLuint texture) {
        Gl().glGetIntegerv(GL_TEXTURE_BINDING_2D, &m_nSaved);
        // Only names that are there: to bind one that is not makes a texture of it.
        m_fBound = m_nSaved >= 0 && Gl().glIsTexture(texture);
        if (m_fBound) {
            Gl().glBindTexture(GL_TEXTURE_2D, texture);
        }
    }
    BoundTexture(BoundTexture const&) = delete;
    ~BoundTexture() {
        if (m_fBound) {
            Gl().glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(m_nSaved));
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
    GLint m_nSaved = -1; // what it stays without a context
    bool m_fBound = false;
};

bool HasSize(GLsizei width, GLsizei height) {
    GLint nWidth = 0;
    GLint nHeight = 0;
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &nWidth);
    Gl().glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &nHeight);
    return nWidth == width && nHeight == height;
}

} // namespace

GLuint CreateAlias(EGLImage image, GLsizei width, GLsizei height) {
    if (!IsEs31() || !Gl().glEGLImageTargetTexture2DOES) {
        return 0;
    }
    GLint nBound = 0;
    Gl().glGetIntegerv(GL_TEXTURE_BINDING_2D, &nBound);
    GLuint texture = 0;
    Gl().glGenTextures(1, &texture);
    Gl().glBindTexture(GL_TEXTURE_2D, texture);
    Gl().glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, image);
    Gl().glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_LOD, MinLod);
    Gl().glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, MaxLod);
    bool const fMade = HasSize(width, height);
    Gl().glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(nBound));
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
