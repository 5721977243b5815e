#include "TextureGL2.h"

#include "GraphicsDeviceGL2.h"
#include "JObject.h"
#include "Unavailable.h"
#include "trevik/Assert.h"
#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <GLES2/gl2ext.h>

// Broken invariants are reported under these places, which whoever reads a log looks for.
#define TEXTURE_ASSERT(condition, line, text) TREVIK_ASSERT_AT(condition, "src/TextureGL2", line, text)

namespace trevik::kelvo {

namespace {

constexpr unsigned int LineReleaseColor = 190;
constexpr unsigned int LineReleaseAlpha = 199;
constexpr unsigned int LineSurfaceInfo = 407;
constexpr unsigned int LineReplace = 528;

/**
 * How GL takes a texture format; an internal format of 0 cannot be uploaded, a format of 0 is a compressed
 * one.
 */
struct Upload {
    GLenum internalFormat;
    GLenum format;
    GLenum type;
};

constexpr Upload Uploads[] = {
    {GL_RGB, GL_RGB, GL_UNSIGNED_SHORT_5_6_5},
    {GL_RGBA, GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1},
    {GL_RGBA, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4},
    {0, 0, 0}, // ARGB4444
    {GL_RGB, GL_RGB, GL_UNSIGNED_BYTE},
    {GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE},
    {GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE},
    {GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE},
    {GL_ATC_RGB_AMD, 0, 0},
    {GL_ATC_RGBA_EXPLICIT_ALPHA_AMD, 0, 0},
    {GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT},
    {GL_DEPTH_STENCIL_OES, GL_DEPTH_STENCIL_OES, GL_UNSIGNED_INT_24_8_OES},
    {GL_ETC1_RGB8_OES, 0, 0}, // ETC1_Alpha: an image like any other, in another place
    {GL_ETC1_RGB8_OES, 0, 0},
    {0, 0, 0}, // ETC1_RGBA: uploaded as two others
    {GL_ALPHA, GL_ALPHA, GL_UNSIGNED_BYTE},
    {GL_LUMINANCE, GL_ALPHA, GL_UNSIGNED_SHORT}, // internal format and format differ: intended
};

constexpr Upload GetUpload(int nFormat) {
    constexpr int nCount = static_cast<int>(sizeof(Uploads) / sizeof(Uploads[0]));
    return nFormat >= 0 && nFormat < nCount ? Uploads[nFormat] : Upload{0, 0, 0};
}

void UploadLevel(Upload const& upload, GLint nLevel, MipLevel const& level, unsigned char const* pSource) {
    if (upload.format == 0) {
        glCompressedTexImage2D(GL_TEXTURE_2D, nLevel, upload.internalFormat, level.m_nWidth, level.m_nHeight,
                               0, level.m_nSize, pSource);
    } else {
        glTexImage2D(GL_TEXTURE_2D, nLevel, static_cast<GLint>(upload.internalFormat), level.m_nWidth,
                     level.m_nHeight, 0, upload.format, upload.type, pSource);
    }
    // What the driver thinks of it is nobody's business here; the flag must not reach a later check.
    static_cast<void>(glGetError());
}

} // namespace

TextureGL2::TextureGL2() = default;

TextureGL2::~TextureGL2() {
    if (m_fEglImageInitialized && !m_fReleasePending) {
        m_nGLTexture = 0; // it belongs to a surface
    }
    ReleaseGLTexture();
}

int TextureGL2::GetStride() {
    return IsPromoted() ? m_pEGLImage[static_cast<unsigned int>(m_nCurrentEglImage)]->GetStride()
                        : Texture::GetStride();
}

bool TextureGL2::Compress() {
    return false;
}

bool TextureGL2::Promote(bool) {
    TraceUnavailable(u"TextureGL2::Promote");
    return false;
}

bool TextureGL2::Demote() {
    return true;
}

bool TextureGL2::GetSurfaceInfo(SurfaceInfo* pSurfaceInfo) const {
    TEXTURE_ASSERT(pSurfaceInfo != nullptr, LineSurfaceInfo, "pSurfaceInfo != __null");
    return false;
}

void* TextureGL2::Lock() {
    if (!m_fEglImageInitialized && !Promote(false)) {
        return nullptr;
    }
    return m_pEGLImage[static_cast<unsigned int>(m_nCurrentEglImage)]->Lock();
}

void TextureGL2::Unlock() {
    if (m_fEglImageInitialized) {
        m_pEGLImage[static_cast<unsigned int>(m_nCurrentEglImage)]->Unlock();
    }
}

int TextureGL2::Swap() {
    return Current();
}

int TextureGL2::Current() {
    return m_fEglImageInitialized ? m_nCurrentEglImage : -1;
}

int TextureGL2::Count() {
    return m_fEglImageInitialized ? m_nEglImages : 0;
}

bool TextureGL2::Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData,
                         int nStride) {
    TEXTURE_ASSERT(!m_fEglImageInitialized, LineReplace, "!m_fEglImageInitialized");
    ReleaseGLTexture();
    return Texture::Replace(nWidth, nHeight, format, pData, nStride);
}

jni::Object<jni::android::graphics::Bitmap> TextureGL2::CreateJavaBitmapFromTexture(int) {
    TraceUnavailable(u"TextureGL2::CreateJavaBitmapFromTexture");
    return jni::Object<jni::android::graphics::Bitmap>();
}

unsigned int TextureGL2::CreateCountedGLTexture() {
    ScopeCounter const counter(ScopeCounter::TextureCreation, true);
    Statistics& statistics = Statistics::Instance();
    statistics.FireEvent(
        StringEncoded<UTF16Encoding>::Format(u"Create Texture: %dx%d(%d)", m_nWidth, m_nHeight, m_nByteSize));
    statistics.IncrementStat(Statistics::StatTextureMemory, m_nByteSize); // even if it fails now: intended
    CreateGLTexture();
    return m_nGLTexture;
}

bool TextureGL2::CreateGLTexture() {
    if (IsPromoted()) {
        if (m_nGLTexture == 0) {
            // After a wrap to 0 this is surface 0, not the last one: intended.
            int const nImage = m_nCurrentEglImage > 1 ? m_nCurrentEglImage - 1 : 0;
            m_nGLTexture =
                static_cast<unsigned int>(m_pEGLImage[static_cast<unsigned int>(nImage)]->GetTexture());
        }
        DropPixels();
        return true;
    }
    unsigned char const* const pData = m_pixelData.GetBuffer().GetData();
    if (!pData) {
        return false;
    }
    ReleaseGLTexture();
    if (m_format == TextureFormat::ETC1_RGBA) {
        m_nGLTexture = CreateGLTexture(pData, m_mipLevels, TextureFormat::ETC1_RGB);
        m_nGLTextureAlpha = CreateGLTexture(pData, m_mipLevels, TextureFormat::ETC1_Alpha);
    } else {
        m_nGLTexture = CreateGLTexture(pData, m_mipLevels, m_format);
    }
    DropPixels();
    return true;
}

void TextureGL2::DropPixels() {
    m_pixelData.GetBuffer().Release();
    m_pixelData.Notify();
}

unsigned int TextureGL2::CreateGLTexture(void const* pData, ListProperty<MipLevel> const& levels,
                                         int nFormat) const {
    if (!pData) {
        return 0;
    }
    List<MipLevel> const& list = levels.GetValue();
    GLuint nName = 0;
    glGenTextures(1, &nName);
    glBindTexture(GL_TEXTURE_2D, nName);
    SetFilters(list.GetCount());
    Upload const upload = GetUpload(nFormat);
    for (unsigned int i = 0; i < list.GetCount(); ++i) {
        MipLevel const& level = list[i];
        unsigned char const* pSource = static_cast<unsigned char const*>(pData) + level.m_nOffset;
        if (nFormat == TextureFormat::ETC1_Alpha) {
            unsigned int const nTexels =
                static_cast<unsigned int>(level.m_nWidth) * static_cast<unsigned int>(level.m_nHeight);
            pSource +=
                static_cast<int>(nTexels) >> 1; // behind the colour image, which takes half a byte a texel
        }
        if (upload.internalFormat == 0) {
            return 0; // leaves the name behind, bound: intended
        }
        UploadLevel(upload, static_cast<GLint>(i), level, pSource);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    return nName;
}

void TextureGL2::SetFilters(unsigned int nLevels) const {
    GLint nFilter = GL_LINEAR;
    if (nLevels > 1) {
        nFilter =
            GL_LINEAR_MIPMAP_LINEAR; // for magnification too, which GL refuses, keeping GL_LINEAR: intended
    } else if (m_format == TextureFormat::Depth16 || m_format == TextureFormat::Depth24Stencil8) {
        nFilter = GL_NEAREST;
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, nFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, nFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

void TextureGL2::ReleaseGLTexture() {
    if (m_nGLTexture != 0) {
        TEXTURE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineReleaseColor,
                       "GraphicsDeviceGL2::InRenderThread()");
        Statistics::Instance().DecrementStat(Statistics::StatTextureMemory, m_nByteSize);
        glDeleteTextures(1, &m_nGLTexture);
        m_nGLTexture = 0;
    }
    if (m_nGLTextureAlpha != 0) {
        TEXTURE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineReleaseAlpha,
                       "GraphicsDeviceGL2::InRenderThread()");
        glDeleteTextures(1, &m_nGLTextureAlpha);
        m_nGLTextureAlpha = 0;
    }
}

} // namespace trevik::kelvo
