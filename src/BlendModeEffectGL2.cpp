#include "BlendModeEffectGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

bool BlendModeResourceGL2::Init(GraphicsDevice&) {
    TraceUnavailable(u"BlendModeEffect");
    return false;
}

BlendModeEffectGL2::BlendModeEffectGL2() = default;

BlendModeEffectGL2::BlendModeEffectGL2(BlendModeEffectGL2 const& other) = default;

BlendModeEffectGL2::~BlendModeEffectGL2() = default;

bool BlendModeEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = static_cast<BlendModeResourceGL2*>(pResource);
    return true;
}

} // namespace trevik::kelvo
