#include "GraphicsDeviceGL2.h"

namespace trevik::kelvo {

EffectResource* GraphicsDeviceGL2::GetEffectResource(unsigned int nClassID) {
    if (EffectResource* const pCached = m_effectResources.Find(nClassID)) {
        return pCached;
    }
    EffectResource* const pResource = CreateEffectResource(nClassID);
    if (!pResource) {
        return nullptr;
    }
    if (!pResource->Init(*this)) {
        delete pResource; // the next request tries again
        return nullptr;
    }
    // Without room in the table the resource is handed out all the same; its reference is never released.
    static_cast<void>(m_effectResources.Add(nClassID, pResource));
    return pResource;
}

void GraphicsDeviceGL2::SetExactEffects(bool fExact) {
    m_fExactEffects = fExact;
}

void GraphicsDeviceGL2::ReleaseEffectResources() {
    m_effectResources.ReleaseAll();
}

} // namespace trevik::kelvo
