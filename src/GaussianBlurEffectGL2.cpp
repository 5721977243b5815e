#include "GaussianBlurEffectGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

bool GaussianBlurResourceGL2::Init(GraphicsDevice&) {
    TraceUnavailable(u"GaussianBlurEffect");
    return false;
}

GaussianBlurEffectGL2::GaussianBlurEffectGL2() = default;

GaussianBlurEffectGL2::GaussianBlurEffectGL2(GaussianBlurEffectGL2 const& other) = default;

GaussianBlurEffectGL2::~GaussianBlurEffectGL2() = default;

bool GaussianBlurEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = static_cast<GaussianBlurResourceGL2*>(pResource);
    return true;
}

} // namespace trevik::kelvo
