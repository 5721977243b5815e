#include "DirectionalBlurEffectGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

bool DirectionalBlurResourceGL2::Init(GraphicsDevice&) {
    TraceUnavailable(u"DirectionalBlurEffect");
    return false;
}

DirectionalBlurEffectGL2::DirectionalBlurEffectGL2() = default;

DirectionalBlurEffectGL2::DirectionalBlurEffectGL2(DirectionalBlurEffectGL2 const& other) = default;

DirectionalBlurEffectGL2::~DirectionalBlurEffectGL2() = default;

bool DirectionalBlurEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = static_cast<DirectionalBlurResourceGL2*>(pResource);
    return true;
}

} // namespace trevik::kelvo
