#include "scene/SceneNotes.h"

namespace trevik::kelvo::assets {

SceneOrigin const* SceneNotes::Find(Referenced const& object) const {
    if (m_makeOrigins) {
        m_origins = m_makeOrigins();
        m_makeOrigins = nullptr;
    }
    auto const found = m_origins.find(&object);
    return found == m_origins.end() ? nullptr : &found->second;
}

} // namespace trevik::kelvo::assets
