#include "scene/SceneNotes.h"

namespace trevik::kelvo::assets {

SceneOrigin const* SceneNotes::Find(Referenced const& object) const {
    auto const found = m_origins.find(&object);
    return found == m_origins.end() ? nullptr : &found->second;
}

void SceneNotes::AddOrigin(Referenced const& object, SceneOrigin origin) {
    m_origins[&object] = std::move(origin);
}

} // namespace trevik::kelvo::assets
