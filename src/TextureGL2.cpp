#include "TextureGL2.h"

#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "JObject.h"
#include "RenderThread.h"
#include "trevik/Assert.h"
#include "trevik/Debug.h"
#include "trevik/ScopeCounter.h"
#include "trevik/Statistics.h"

#include <GLES2/gl2ext.h>

// Assertions print these places, which are fixed: they are not the lines of this file.
#define TEXTURE_ASSERT(condition, line, text) TREVIK_ASSERT_AT(condition, "src/TextureGL2", line, text)

namespace trevik::kelvo {

namespace {

constexpr unsigned int LineReleaseColor = 190;
constexpr unsigned int LineReleaseAlpha = 199;
constexpr unsigned int LineSurfaceInfo = 407;
constexpr unsigned int LineSwap = 450;
constexpr unsigned int LineReplace = 528;
constexpr unsigned int LineCreateImage = 544;

/**
 * How a texture format is given to GL. An internal format of 0 means that it cannot be uploaded, a format of
 * 0 that it is compressed.
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
    {GL_ETC1_RGB8_OES, 0, 0}, // ETC1_Alpha: as ETC1_RGB, but behind the colour image
    {GL_ETC1_RGB8_OES, 0, 0},
    {0, 0, 0}, // ETC1_RGBA: uploaded as two others
    {GL_ALPHA, GL_ALPHA, GL_UNSIGNED_BYTE},
    {GL_LUMINANCE, GL_ALPHA, GL_UNSIGNED_SHORT}, // they differ: intended (format-16-refused)
};

constexpr Upload GetUpload(int nFormat) {
    constexpr int UploadCount = static_cast<int>(sizeof(Uploads) / sizeof(Uploads[0]));
    return nFormat >= 0 && nFormat < UploadCount ? Uploads[nFormat] : Upload{0, 0, 0};
}

void UploadLevel(int nFormat, GLint nLevel, MipLevel const& level, unsigned char const* pSource) {
    Upload const upload = GetUpload(nFormat);
    if (upload.format == 0) {
        glCompressedTexImage2D(GL_TEXTURE_2D, nLevel, upload.internalFormat, level.m_nWidth, level.m_nHeight,
                               0, level.m_nSize, pSource);
    } else {
        GlState::PixelAlignment const alignment(GL_UNPACK_ALIGNMENT,
                                                Texture::GetImageSize(level.m_nWidth, 1, nFormat));
        glTexImage2D(GL_TEXTURE_2D, nLevel, static_cast<GLint>(upload.internalFormat), level.m_nWidth,
                     level.m_nHeight, 0, upload.format, upload.type, pSource);
    }
    // The error is dropped: a later check would take it for its own.
    static_cast<void>(glGetError());
}

/** Deletes a texture, unless its context is gone; off the render thread at the next Process. */
void DeleteTexture(GLuint nName, unsigned int nContext) {
    if (!DoInContext(nContext, [nName] { glDeleteTextures(1, &nName); })) {
        static char16_t const s_message[] = u"[kelvo] A GL texture leaks: out of memory";
        Debug::Trace(TraceLevel::Error, StringEncoded<UTF16Encoding>::FromLiteral(s_message));
    }
}

} // namespace

TextureGL2::TextureGL2() = default;

TextureGL2::~TextureGL2() {
    Release(TakeNames(m_nOwnedName));
}

int TextureGL2::GetStride() {
    return IsPromoted() ? CurrentEGLImage().GetStride() : Texture::GetStride();
}

bool TextureGL2::Compress() {
    return false;
}

bool TextureGL2::Promote(bool fDoubleBuffered) {
    if (m_surfaces != Surfaces::None) {
        return true; // intended (second-promote)
    }
    m_nEglImages = fDoubleBuffered ? 2 : 1;
    m_pEGLImage.Clear();
    m_pEGLImage.Reserve(static_cast<unsigned int>(m_nEglImages));
    bool fCreated = true;
    for (int nImage = 0; nImage < m_nEglImages && fCreated; ++nImage) {
        fCreated = m_pEGLImage.Append(CreateEGLImageHelper()) && m_pEGLImage.Last() && CreateEGLImage(nImage);
    }
    if (!fCreated) {
        for (Ref<EGLImageHelper>& pImage : m_pEGLImage) {
            pImage.Reset();
        }
        return false;
    }
    // The current surface stays what it was: intended (current-surface-kept).
    m_surfaces = Surfaces::Made;
    return true;
}

bool TextureGL2::CreateEGLImage(int nImage) {
    // The texture keeps a compressed format, by which renderers choose their program: intended
    // (compressed-surface).
    int const nFormat = IsCompressed() ? static_cast<int>(TextureFormat::RGBA8888) : m_format;
    EGLImageHelper* const pImage = FindEGLImage(nImage);
    TEXTURE_ASSERT(pImage != nullptr, LineCreateImage, "m_pEGLImage[image]");
    return pImage && pImage->Create(static_cast<unsigned int>(m_nWidth), static_cast<unsigned int>(m_nHeight),
                                    static_cast<unsigned int>(nFormat));
}

/** Null where there is no surface of this index. */
EGLImageHelper* TextureGL2::FindEGLImage(int nImage) const {
    unsigned int const nIndex = static_cast<unsigned int>(nImage);
    return nIndex < m_pEGLImage.GetCount() ? m_pEGLImage[nIndex].Get() : nullptr;
}

/** The surface of an index; the last one where the index is from a promotion to more surfaces. */
EGLImageHelper& TextureGL2::GetEGLImage(int nImage) const {
    unsigned int const nIndex = static_cast<unsigned int>(nImage);
    unsigned int const nLast = m_pEGLImage.GetCount() - 1;
    return *m_pEGLImage[nIndex < nLast ? nIndex : nLast];
}

/** Lets surfaces be drawn in place of the owned GL textures, which it deletes. */
void TextureGL2::ShowSurfaces() {
    ReleaseGLTexture();
    m_nContext = GraphicsDeviceGL2::GetContextNumber(); // the surfaces'
    m_surfaces = Surfaces::Shown;
}

bool TextureGL2::Demote() {
    Surfaces const surfaces = m_surfaces;
    if (surfaces == Surfaces::None) {
        return true;
    }
    unsigned int const nShown = m_nShownName;
    Ref<EGLImageHelper> const pKept(&CurrentEGLImage());
    m_nShownName = m_nOwnedName; // Replace deletes it; a surface's name goes with the surface
    m_surfaces = Surfaces::None;
    void const* const pPixels = pKept->Lock();
    bool const fKept = pPixels && Replace(pKept->GetWidth(), pKept->GetHeight(),
                                          static_cast<TextureFormat::Enum>(pKept->GetPixelFormat()), pPixels,
                                          pKept->GetStride());
    pKept->Unlock(); // whether there were pixels or not
    if (fKept) {
        m_pEGLImage.Clear();
        return true;
    }
    Debug::TraceFormat(TraceLevel::Error, u"[kelvo] A texture stays promoted: its pixels cannot be kept");
    m_nShownName = nShown;
    m_surfaces = surfaces;
    return true; // all the same: intended (demote-always-true)
}

bool TextureGL2::GetSurfaceInfo(SurfaceInfo* pSurfaceInfo) const {
    TEXTURE_ASSERT(pSurfaceInfo != nullptr, LineSurfaceInfo, "pSurfaceInfo != __null");
    if (!pSurfaceInfo || m_surfaces == Surfaces::None) {
        return false;
    }
    EGLImageHelper& image = CurrentEGLImage();
    *pSurfaceInfo = {image.GetWidth(), image.GetHeight(), image.GetStride(), image.GetPixelFormat()};
    return true;
}

void* TextureGL2::Lock() {
    if (m_surfaces == Surfaces::None && !Promote(false)) {
        return nullptr;
    }
    return CurrentEGLImage().Lock();
}

void TextureGL2::Unlock() {
    if (m_surfaces != Surfaces::None) {
        CurrentEGLImage().Unlock();
    }
}

int TextureGL2::Swap() {
    if (m_surfaces != Surfaces::None) {
        EGLImageHelper& image = CurrentEGLImage();
        TEXTURE_ASSERT(!image.IsLocked(), LineSwap, "!m_pEGLImage[m_nCurrentEglImage]->IsLocked()");
        if (m_surfaces == Surfaces::Made) {
            ShowSurfaces();
        }
        // With a name in place nothing is uploaded, and pixels that have not been drawn yet stay: intended
        // (swap-keeps-pixels).
        m_nShownName.store(static_cast<unsigned int>(image.GetTexture()), std::memory_order_release);
        int const nNext = m_nCurrentEglImage + 1;
        m_nCurrentEglImage = nNext >= m_nEglImages ? 0 : nNext;
    }
    return Current();
}

int TextureGL2::Current() {
    return m_surfaces != Surfaces::None ? m_nCurrentEglImage.load() : -1;
}

int TextureGL2::Count() {
    return m_surfaces != Surfaces::None ? m_nEglImages : 0;
}

bool TextureGL2::Replace(int nWidth, int nHeight, TextureFormat::Enum format, void const* pData,
                         int nStride) {
    bool const fPromoted = m_surfaces != Surfaces::None;
    TEXTURE_ASSERT(!fPromoted, LineReplace, "!m_fEglImageInitialized");
    if (fPromoted) {
        return false;
    }
    // The GL textures are deleted only once the host has taken the new pixels.
    Names const names = TakeNames(m_nOwnedName);
    bool const fReplaced = Texture::Replace(nWidth, nHeight, format, pData, nStride);
    if (fReplaced) {
        Release(names);
    } else {
        m_nShownName = m_nOwnedName = names.nColor;
        m_nAlphaName = names.nAlpha;
    }
    return fReplaced;
}

jni::Object<jni::android::graphics::Bitmap> TextureGL2::CreateJavaBitmapFromTexture(int nImage) {
    if (nImage >= 0 && nImage < m_nEglImages && !Promote(false)) {
        return jni::Object<jni::android::graphics::Bitmap>();
    }
    // Indices beyond those above promote nothing: intended (java-bitmap-index).
    EGLImageHelper* const pImage = FindEGLImage(nImage);
    return pImage ? pImage->CreateJavaBitmapFromTexture() : jni::Object<jni::android::graphics::Bitmap>();
}

unsigned int TextureGL2::CreateCountedGLTexture() {
    ScopeCounter const counter(ScopeCounter::TextureCreation, true);
    Statistics& statistics = Statistics::Instance();
    statistics.FireEvent(
        StringEncoded<UTF16Encoding>::Format(u"Create Texture: %dx%d(%d)", m_nWidth, m_nHeight, m_nByteSize));
    // Even if it fails now: intended (failed-texture-counted).
    statistics.IncrementStat(Statistics::StatTextureMemory, m_nByteSize);
    CreateGLTexture();
    return m_nShownName;
}

bool TextureGL2::CreateGLTexture() {
    if (IsPromoted()) {
        // After a wrap to 0 this is surface 0, not the last one: intended (released-surface-wrap).
        int const nCurrent = m_nCurrentEglImage;
        int const nImage = nCurrent > 1 ? nCurrent - 1 : 0;
        // Unless a producer has swapped a surface in meanwhile.
        unsigned int nNone = 0;
        m_nShownName.compare_exchange_strong(nNone,
                                             static_cast<unsigned int>(GetEGLImage(nImage).GetTexture()));
        DropPixels();
        return true;
    }
    unsigned char const* const pData = m_pixelData.GetBuffer().GetData();
    if (!pData) {
        return false;
    }
    ReleaseGLTexture();
    m_nContext = GraphicsDeviceGL2::GetContextNumber();
    if (m_format == TextureFormat::ETC1_RGBA) {
        m_nOwnedName = CreateGLTexture(pData, m_mipLevels, TextureFormat::ETC1_RGB);
        m_nAlphaName = CreateGLTexture(pData, m_mipLevels, TextureFormat::ETC1_Alpha);
    } else {
        m_nOwnedName = CreateGLTexture(pData, m_mipLevels, m_format);
    }
    m_nShownName = m_nOwnedName;
    DropPixels(); // intended (pixels-dropped)
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
    for (MipLevel const& level : list) {
        int const nLimit = GraphicsDeviceGL2::GetMaximumTextureSize();
        if (level.m_nWidth > nLimit || level.m_nHeight > nLimit) {
            return 0; // drivers have been seen to abort; without a message: intended (texture-too-large)
        }
    }
    GLuint nName = 0;
    glGenTextures(1, &nName);
    GlState::BindTexture(GL_TEXTURE_2D, nName);
    SetFilters(list.GetCount());
    for (unsigned int i = 0; i < list.GetCount(); ++i) {
        MipLevel const& level = list[i];
        unsigned char const* pSource = static_cast<unsigned char const*>(pData) + level.m_nOffset;
        if (nFormat == TextureFormat::ETC1_Alpha) {
            unsigned int const nTexels =
                static_cast<unsigned int>(level.m_nWidth) * static_cast<unsigned int>(level.m_nHeight);
            // Behind the colour image: half a byte a texel, not whole blocks, intended (etc1-alpha-offset).
            pSource += static_cast<int>(nTexels) >> 1;
        }
        if (GetUpload(nFormat).internalFormat == 0) {
            return 0; // leaves the name behind, bound: intended (unsupported-format-name)
        }
        UploadLevel(nFormat, static_cast<GLint>(i), level, pSource);
    }
    GlState::BindTexture(GL_TEXTURE_2D, 0);
    return nName;
}

void TextureGL2::SetFilters(unsigned int nLevels) const {
    GLint nFilter = GL_LINEAR;
    if (nLevels > 1) {
        // For magnification too, which GL refuses, keeping GL_LINEAR: intended (mipmap-magnification).
        nFilter = GL_LINEAR_MIPMAP_LINEAR;
    } else if (m_format == TextureFormat::Depth16 || m_format == TextureFormat::Depth24Stencil8) {
        nFilter = GL_NEAREST;
    }
    GlState::SetTextureFilter(GL_TEXTURE_2D, nFilter);
}

void TextureGL2::ReleaseGLTexture() {
    // A surface's GL texture goes as well: intended (released-surface-wrap).
    Release(TakeNames(m_nShownName));
}

/**
 * Lets the texture forget its GL names. The bytes are those of now, so that a Load since the upload makes
 * the statistic drift: intended (statistic-drift).
 */
TextureGL2::Names TextureGL2::TakeNames(unsigned int nColor) {
    Names const names = {nColor, m_nAlphaName, m_nByteSize, m_nContext};
    m_nShownName = 0;
    m_nOwnedName = 0;
    m_nAlphaName = 0;
    return names;
}

void TextureGL2::Release(Names const& names) {
    if (names.nColor != 0) {
        TEXTURE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineReleaseColor,
                       "GraphicsDeviceGL2::InRenderThread()");
        Statistics::Instance().DecrementStat(Statistics::StatTextureMemory, names.nByteSize);
        DeleteTexture(names.nColor, names.nContext);
    }
    if (names.nAlpha != 0) {
        TEXTURE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineReleaseAlpha,
                       "GraphicsDeviceGL2::InRenderThread()");
        DeleteTexture(names.nAlpha, names.nContext);
    }
}

} // namespace trevik::kelvo
