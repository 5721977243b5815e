#include "FramebufferGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

FramebufferGL2::FramebufferGL2() : m_pColorTexture(new (std::nothrow) TextureGL2) {}

FramebufferGL2::~FramebufferGL2() = default;

bool FramebufferGL2::Create(InitParams const& params) {
    m_nWidth = params.width;
    m_nHeight = params.height;
    TraceUnavailable(u"FramebufferGL2::Create");
    return false;
}

void FramebufferGL2::Bind() {}

void FramebufferGL2::Unbind(FramebufferGL2*) {}

} // namespace trevik::kelvo
