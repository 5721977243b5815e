#pragma once

#include "JsonCursor.h"

#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <map>
#include <string>

namespace trevik::kelvo::assets {

/** The textures of a scene, by the names that its nodes use for them. */
class SceneTextures {
public:
    /**
     * Reads the files of the textures that `place` describes; relative paths start at `folder` (empty or
     * ending in
     * "/"). Throws a JsonFault.
     */
    void Read(JsonCursor const& place, std::string const& folder, ClassRegistry const& registry);

    /** The texture whose name stands at `place`. Throws a JsonFault when there is none. */
    Ref<Texture> Find(JsonCursor const& place) const;

private:
    Ref<Texture> ReadTexture(JsonCursor const& place, std::string const& name, std::string const& folder,
                             ClassRegistry const& registry);

    std::map<std::string, Ref<Texture>> m_textures;
    std::size_t m_nBytes = 0; ///< of all textures
};

} // namespace trevik::kelvo::assets
