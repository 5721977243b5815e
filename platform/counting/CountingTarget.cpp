#include "CountingTarget.h"

#include "DriverFunctions.h"

#include <GLES2/gl2ext.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kelvokit::counting {

namespace {

constexpr GLsizei MostPrimitives = 255; // what a pixel can count

GLint GetInteger(GLenum nName) {
    GLint nValue = 0;
    Gl().glGetIntegerv(nName, &nValue);
    return nValue;
}

} // namespace

CountingTarget::CountingTarget(TargetSize const& size)
    : m_size(size), m_fDepth(GetInteger(GL_DEPTH_BITS) > 0), m_fStencil(GetInteger(GL_STENCIL_BITS) > 0) {
    Gl().glGenFramebuffers(1, &m_nFramebuffer);
    Bind();
    AttachColor();
    m_fComplete = AttachBuffers();
    if (m_fComplete) {
        Gl().glClearDepthf(1);
        Gl().glClearStencil(0);
        Gl().glDepthMask(GL_TRUE);
        Gl().glStencilMask(~0u);
        Gl().glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        Empty();
    }
}

CountingTarget::~CountingTarget() {
    RemoveBuffers();
    Gl().glDeleteFramebuffers(1, &m_nFramebuffer);
    Gl().glDeleteTextures(1, &m_nTexture);
}

void CountingTarget::AttachColor() {
    GLint const nBefore = GetInteger(GL_TEXTURE_BINDING_2D);
    Gl().glGenTextures(1, &m_nTexture);
    Gl().glBindTexture(GL_TEXTURE_2D, m_nTexture);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    Gl().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    Gl().glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, m_size.nWidth, m_size.nHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                      nullptr);
    Gl().glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(nBefore));
    Gl().glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_nTexture, 0);
}

/** Depth and stencil in one buffer where the driver takes such, else in two. */
bool CountingTarget::AttachBuffers() {
    auto const isComplete = [] {
        return Gl().glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    };
    if (m_fDepth && m_fStencil) {
        AttachBuffer(GL_DEPTH24_STENCIL8_OES, true, true);
        if (isComplete()) {
            return true;
        }
        RemoveBuffers();
    }
    if (m_fDepth) {
        AttachBuffer(GL_DEPTH_COMPONENT16, true, false);
    }
    if (m_fStencil) {
        AttachBuffer(GL_STENCIL_INDEX8, false, true);
    }
    return isComplete();
}

void CountingTarget::AttachBuffer(GLenum nFormat, bool fDepth, bool fStencil) {
    GLint const nBefore = GetInteger(GL_RENDERBUFFER_BINDING);
    GLuint nBuffer = 0;
    Gl().glGenRenderbuffers(1, &nBuffer);
    m_renderbuffers.push_back(nBuffer);
    Gl().glBindRenderbuffer(GL_RENDERBUFFER, nBuffer);
    Gl().glRenderbufferStorage(GL_RENDERBUFFER, nFormat, m_size.nWidth, m_size.nHeight);
    Gl().glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(nBefore));
    if (fDepth) {
        Gl().glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, nBuffer);
    }
    if (fStencil) {
        Gl().glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, nBuffer);
    }
}

/** Deleted, they are detached from the framebuffer that is bound. */
void CountingTarget::RemoveBuffers() {
    Gl().glDeleteRenderbuffers(static_cast<GLsizei>(m_renderbuffers.size()), m_renderbuffers.data());
    m_renderbuffers.clear();
}

bool CountingTarget::Fits(TargetSize const& size) const {
    return m_size.nWidth == size.nWidth && m_size.nHeight == size.nHeight &&
           m_fDepth == (GetInteger(GL_DEPTH_BITS) > 0) && m_fStencil == (GetInteger(GL_STENCIL_BITS) > 0);
}

void CountingTarget::Bind() const {
    Gl().glBindFramebuffer(GL_FRAMEBUFFER, m_nFramebuffer);
}

bool CountingTarget::IsFullWith(GLsizei nPrimitives) const {
    return m_nPrimitives > 0 && nPrimitives > MostPrimitives - m_nPrimitives;
}

CountingTarget::Area CountingTarget::GetDrawnArea() const {
    std::array<GLint, 4> box{};
    Gl().glGetIntegerv(GL_VIEWPORT, box.data());
    Area area{std::max(box[0], 0), std::max(box[1], 0), std::min(box[0] + box[2], m_size.nWidth),
              std::min(box[1] + box[3], m_size.nHeight)};
    if (Gl().glIsEnabled(GL_SCISSOR_TEST)) {
        Gl().glGetIntegerv(GL_SCISSOR_BOX, box.data());
        area = {std::max(box[0], area.nLeft), std::max(box[1], area.nBottom),
                std::min(box[0] + box[2], area.nRight), std::min(box[1] + box[3], area.nTop)};
    }
    return area;
}

void CountingTarget::NoteDraw(GLsizei nPrimitives) {
    Area const area = GetDrawnArea();
    if (area.nLeft >= area.nRight || area.nBottom >= area.nTop || nPrimitives <= 0) {
        return;
    }
    m_drawn = m_nPrimitives == 0
                  ? area
                  : Area{std::min(m_drawn.nLeft, area.nLeft), std::min(m_drawn.nBottom, area.nBottom),
                         std::max(m_drawn.nRight, area.nRight), std::max(m_drawn.nTop, area.nTop)};
    m_nPrimitives = std::min(MostPrimitives, m_nPrimitives + std::min(nPrimitives, MostPrimitives));
}

/** Sets all pixels to 0. */
void CountingTarget::Empty() const {
    Gl().glClearColor(0, 0, 0, 0);
    Gl().glClear(GL_COLOR_BUFFER_BIT);
}

void CountingTarget::Read() {
    GLsizei const nColumns = m_drawn.nRight - m_drawn.nLeft;
    GLsizei const nRows = m_drawn.nTop - m_drawn.nBottom;
    m_pixels.resize(static_cast<std::size_t>(nColumns) * static_cast<std::size_t>(nRows) * 4);
    GLint const nAlignment = GetInteger(GL_PACK_ALIGNMENT);
    Gl().glPixelStorei(GL_PACK_ALIGNMENT, 1);
    Gl().glReadPixels(m_drawn.nLeft, m_drawn.nBottom, nColumns, nRows, GL_RGBA, GL_UNSIGNED_BYTE,
                      m_pixels.data());
    Gl().glPixelStorei(GL_PACK_ALIGNMENT, nAlignment);
}

void CountingTarget::Tell(GLuint nFramebuffer, CoverageListener& listener) {
    Read();
    Empty();
    m_nPrimitives = 0;
    // Most nodes write few rows: those without are told apart by comparing them as a whole.
    GLsizei const nColumns = m_drawn.nRight - m_drawn.nLeft;
    std::size_t const nRowBytes = static_cast<std::size_t>(nColumns) * 4;
    std::vector<std::uint8_t> const nothing(nRowBytes);
    auto const row = [&](GLint nRow) {
        return m_pixels.data() + static_cast<std::size_t>(nRow - m_drawn.nBottom) * nRowBytes;
    };
    auto const isEmpty = [&](GLint nRow) { return std::memcmp(row(nRow), nothing.data(), nRowBytes) == 0; };
    GLint nFirst = m_drawn.nBottom;
    GLint nEnd = m_drawn.nTop;
    while (nFirst < nEnd && isEmpty(nFirst)) {
        ++nFirst;
    }
    while (nEnd > nFirst && isEmpty(nEnd - 1)) {
        --nEnd;
    }
    if (nFirst == nEnd) {
        return;
    }
    std::uint8_t* const pTimes = row(nFirst);
    std::size_t const nPixels = static_cast<std::size_t>(nEnd - nFirst) * static_cast<std::size_t>(nColumns);
    for (std::size_t nPixel = 0; nPixel < nPixels; ++nPixel) { // one channel tells all
        pTimes[nPixel] = pTimes[nPixel * 4];
    }
    listener.TakePixels({nFramebuffer, m_size.nWidth, m_size.nHeight, m_drawn.nLeft, nFirst, nColumns,
                         nEnd - nFirst, pTimes});
}

} // namespace kelvokit::counting
