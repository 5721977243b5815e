#include "FrameTarget.h"

#include "GraphicsDeviceGL2.h"
#include "RenderThread.h"
#include "TextureGL2.h"
#include "trevik/Debug.h"

#include <GLES2/gl2.h>

#include <cstring>
#include <new>

namespace trevik::kelvo::effects {

FrameTarget::~FrameTarget() {
    Release();
}

bool FrameTarget::Fit(int nWidth, int nHeight) {
    if (m_pFramebuffer && m_pFramebuffer->GetWidth() == nWidth && m_pFramebuffer->GetHeight() == nHeight) {
        return true;
    }
    if (nWidth == m_nFailedWidth && nHeight == m_nFailedHeight) {
        return false;
    }
    Release();
    m_nContext = GraphicsDeviceGL2::GetContextNumber();
    FramebufferGL2::InitParams params = {};
    params.width = nWidth;
    params.height = nHeight;
    params.depthStencil = m_kind == Kind::ColorDepthStencil;
    params.colorFormat = TextureFormat::RGBA8888;
    m_pFramebuffer = Ref(new (std::nothrow) FramebufferGL2);
    if (m_pFramebuffer && m_pFramebuffer->Create(params) && NoteName()) {
        m_nFailedWidth = 0;
        m_nFailedHeight = 0;
        return true;
    }
    Release();
    m_nFailedWidth = nWidth;
    m_nFailedHeight = nHeight;
    Debug::TraceFormat(TraceLevel::Error,
                       u"[kelvo] An effect's target of %d x %d pixels cannot be made: what it is on is drawn "
                       u"without it",
                       nWidth, nHeight);
    return false;
}

/** Whether the framebuffer has got a name: without one it would be the window's. */
bool FrameTarget::NoteName() {
    m_pFramebuffer->SetClearOnBind(false);
    m_pFramebuffer->Bind();
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &m_nName);
    m_pFramebuffer->Unbind(nullptr);
    return m_nName != 0;
}

void FrameTarget::Release() {
    m_nName = 0;
    FramebufferGL2* const pFramebuffer = m_pFramebuffer.Detach();
    if (!pFramebuffer) {
        return;
    }
    static_cast<void>(DoInContext(m_nContext, [pFramebuffer] {
        // A framebuffer leaves its reference to its colour texture behind, which is ours to give up.
        TextureGL2* const pColor = pFramebuffer->GetColorTexture();
        pFramebuffer->ReleaseReference();
        if (pColor) {
            pColor->ReleaseReference();
        }
    }));
}

namespace {

/** Whether a list of words has a word. */
bool HasWord(char const* pList, char const* pWord) {
    std::size_t const nLength = std::strlen(pWord);
    for (char const* pFound = std::strstr(pList, pWord); pFound; pFound = std::strstr(pFound + 1, pWord)) {
        bool const fBegins = pFound == pList || pFound[-1] == ' ';
        if (fBegins && (pFound[nLength] == ' ' || pFound[nLength] == '\0')) {
            return true;
        }
    }
    return false;
}

} // namespace

bool HasPackedDepthStencil() {
    auto const* const pExtensions = reinterpret_cast<char const*>(glGetString(GL_EXTENSIONS));
    return pExtensions && HasWord(pExtensions, "GL_OES_packed_depth_stencil");
}

} // namespace trevik::kelvo::effects
