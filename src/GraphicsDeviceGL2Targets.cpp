#include "GraphicsDeviceGL2.h"

#include "FramebufferGL2.h"
#include "GlState.h"

#include <GLES2/gl2.h>

#include <new>

namespace trevik::kelvo {

void GraphicsDeviceGL2::Clear() {
    SetAlphaTestEnabled(false);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    GraphicsDevice::Clear();
    ForgetMatrices();
    SetActiveShader(nullptr);
}

void GraphicsDeviceGL2::SetClearColor(ColorT<RealFloat> const& color) {
    GlState::SetClearColor(color);
    GraphicsDevice::SetClearColor(color);
}

void GraphicsDeviceGL2::RenderFullscreenQuad() {
    // In the middle of the depth range, under the depth test: intended (full-screen-depth).
    static constexpr Vector3T<GLfloat> Positions[] = {{-1, -1, 0}, {-1, 1, 0}, {1, -1, 0}, {1, 1, 0}};
    static constexpr Vector2T<GLfloat> TextureCoords[] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
    GlState::SetVertexArray(VertexAttributeIndex::Position, Positions);
    GlState::SetVertexArray(VertexAttributeIndex::Texture, TextureCoords);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

bool GraphicsDeviceGL2::InitializeTargetBuffers() {
    GLfloat viewport[4] = {};
    glGetFloatv(GL_VIEWPORT, viewport);
    FramebufferGL2::InitParams params;
    params.width = static_cast<int>(viewport[2]);
    params.height = static_cast<int>(viewport[3]);
    params.depthStencil = true;
    params.depthStencilTexture = true;
    params.colorFormat = TextureFormat::RGB565; // intended (targets-565)
    for (Ref<FramebufferGL2>& pBuffer : m_pTargetBuffers) {
        // What was there before is not released: intended (targets-by-application).
        static_cast<void>(pBuffer.Detach());
        pBuffer = Ref<FramebufferGL2>(new (std::nothrow) FramebufferGL2);
        if (!pBuffer || !pBuffer->Create(params)) {
            return false; // and the buffer stays: intended (failed-target-kept)
        }
    }
    m_nCurrentTarget = 0;
    ChangeResourceState();
    return true;
}

FramebufferGL2* GraphicsDeviceGL2::GetFrontTargetBuffer() {
    FramebufferGL2* const pCurrent = m_pTargetBuffers[m_nCurrentTarget].Get();
    return pCurrent && pCurrent->IsBound() ? pCurrent : nullptr;
}

FramebufferGL2* GraphicsDeviceGL2::GetBackTargetBuffer() {
    return m_pTargetBuffers[m_nCurrentTarget == 1 ? 0 : 1].Get();
}

void GraphicsDeviceGL2::SwapTargetBuffers(bool fToScreen) {
    FramebufferGL2* const pBefore = m_pTargetBuffers[m_nCurrentTarget].Get();
    // Even where nothing is bound below: intended (swap-unbound-target).
    m_nCurrentTarget = 1 - m_nCurrentTarget;
    FramebufferGL2* const pTarget = fToScreen ? nullptr : m_pTargetBuffers[m_nCurrentTarget].Get();
    if (pBefore && pBefore->IsBound()) {
        pBefore->Unbind(pTarget);
    } else if (pTarget) {
        pTarget->Bind();
    }
}

void GraphicsDeviceGL2::RenderForPostProcess() {
    FramebufferGL2* const pBack = GetBackTargetBuffer();
    if (!pBack || !m_pPostProcessShader) {
        return;
    }
    SetActiveShader(m_pPostProcessShader.Get());
    m_pPostProcessShader->SetSampler(UniformNames::sColor, pBack->GetColorTexture(), 0);
    m_pPostProcessShader->SetSampler(UniformNames::sDepth, pBack->GetDepthTexture(), 0);
    RenderFullscreenQuad();
    SetActiveShader(nullptr);
}

namespace {

/** More than GL has kinds of errors: a context that has been lost may report errors without end. */
constexpr unsigned int MaximumErrorFlags = 16;

/** How pixels of the surface in use are read; a format of 0: not at all. */
struct ReadFormat {
    TextureFormat::Enum textureFormat;
    GLenum format;
};

ReadFormat ChooseReadFormat() {
    GLint nColorBits = 0;
    constexpr GLenum Channels[] = {GL_RED_BITS, GL_GREEN_BITS, GL_BLUE_BITS};
    for (GLenum const channel : Channels) {
        GLint nBits = 0;
        glGetIntegerv(channel, &nBits);
        nColorBits += nBits;
    }
    switch (nColorBits) {
    case 16:
        return {TextureFormat::RGBA8888, GL_RGBA};
    case 24:
        return {TextureFormat::RGB888, GL_RGB};
    default:
        return {TextureFormat::RGB565, 0};
    }
}

/** A rectangle of the current target, by its lower left corner. */
struct PixelArea {
    GLint m_nX;
    GLint m_nY;
    GLsizei m_nWidth;
    GLsizei m_nHeight;
};

/** The area, with y up, of a rectangle with y down; false when numbers are out of GL's range. */
bool GetArea(RectangleT<int> const& rectangle, RectangleT<int> const& viewport, PixelArea& area) {
    using Wide = long long;
    Wide const nWidth = Wide(rectangle.right) - rectangle.left;
    Wide const nHeight = Wide(rectangle.bottom) - rectangle.top;
    Wide const nY = Wide(viewport.bottom) - viewport.top - rectangle.bottom;
    area = {rectangle.left, static_cast<GLint>(nY), static_cast<GLsizei>(nWidth),
            static_cast<GLsizei>(nHeight)};
    return area.m_nWidth == nWidth && area.m_nHeight == nHeight && area.m_nY == nY;
}

/** Reads bytes of a format; false when GL reports an error. */
bool ReadAs(PixelArea const& area, GLenum format, void* pPixels) {
    unsigned int const nPixelBytes = format == GL_RGB ? 3 : 4;
    GlState::PixelAlignment const alignment(GL_PACK_ALIGNMENT,
                                            static_cast<unsigned long long>(area.m_nWidth) * nPixelBytes);
    glReadPixels(area.m_nX, area.m_nY, area.m_nWidth, area.m_nHeight, format, GL_UNSIGNED_BYTE, pPixels);
    return glGetError() == GL_NO_ERROR;
}

/** Reads GL_RGBA and keeps red, green and blue: GL lets drivers refuse to read GL_RGB. */
bool ReadRGBOfRGBA(PixelArea const& area, unsigned char* pPixels) {
    unsigned int const nBytes = Texture::GetImageSize(area.m_nWidth, area.m_nHeight, TextureFormat::RGBA8888);
    PixelBuffer wide;
    if (nBytes == 0 || !wide.Allocate(nBytes) || !ReadAs(area, GL_RGBA, wide.GetData())) {
        return false;
    }
    for (unsigned char const* pWide = wide.GetData(); pWide != wide.GetData() + nBytes; pWide += 4) {
        *pPixels++ = pWide[0];
        *pPixels++ = pWide[1];
        *pPixels++ = pWide[2];
    }
    return true;
}

bool ReadArea(PixelArea const& area, GLenum format, unsigned char* pPixels) {
    // Errors of earlier draws are dropped: the read is judged by its own.
    for (unsigned int nFlags = 0; nFlags < MaximumErrorFlags && glGetError() != GL_NO_ERROR; ++nFlags) {}
    return ReadAs(area, format, pPixels) || (format == GL_RGB && ReadRGBOfRGBA(area, pPixels));
}

} // namespace

bool GraphicsDeviceGL2::ReadPixels(RectangleT<int> const& rectangle, Texture** ppTexture) {
    TextureGL2* const pTexture =
        *ppTexture ? static_cast<TextureGL2*>(*ppTexture) : new (std::nothrow) TextureGL2;
    if (!pTexture) {
        return false;
    }
    switch (ReadInto(rectangle, *pTexture)) {
    case ReadResult::Read:
        *ppTexture = pTexture;
        return true;
    case ReadResult::OutOfMemory:
        *ppTexture = nullptr; // goes as well when it was the caller's: intended (read-pixels-memory)
        break;
    case ReadResult::Refused:
        if (*ppTexture) {
            return false;
        }
        break;
    }
    delete pTexture;
    return false;
}

/** Changes the texture only once everything has been read. */
GraphicsDeviceGL2::ReadResult GraphicsDeviceGL2::ReadInto(RectangleT<int> const& rectangle,
                                                          TextureGL2& texture) {
    RectangleT<int> const viewport = GetViewport();
    PixelArea area;
    ReadFormat const read = ChooseReadFormat();
    // The surfaces of a promoted texture are its picture, so it takes no other one.
    // Not into promoted textures, nor from all surfaces: intended (read-pixels-promoted,
    // read-pixels-formats).
    if (texture.Count() != 0 || read.format == 0 || !GetArea(rectangle, viewport, area)) {
        return ReadResult::Refused;
    }
    SizeT<int> const size(area.m_nWidth, area.m_nHeight);
    PixelBuffer pixels;
    List<MipLevel> levels;
    unsigned int const nBytes = Texture::GetImageSize(size.width, size.height, read.textureFormat);
    bool const fTooLarge = nBytes == 0 && size.width > 0 && size.height > 0;
    if (fTooLarge || !pixels.Allocate(nBytes) ||
        !levels.Append(MipLevel{size.width, size.height, 0, static_cast<int>(nBytes)})) {
        return ReadResult::OutOfMemory;
    }
    if (!ReadArea(area, read.format, pixels.GetData())) {
        return ReadResult::Refused;
    }
    texture.ReleaseGLTexture(); // the next draw shows what has been read now
    texture.SetSize(size.width, size.height);
    texture.SetFormat(read.textureFormat);
    texture.GetPixelData().GetBuffer().Swap(pixels);
    texture.GetMipLevels().SetValue(levels);
    texture.SetByteSize(nBytes);
    return ReadResult::Read;
}

} // namespace trevik::kelvo
