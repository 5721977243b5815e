#pragma once

#include "image/NinePatchImage.h"
#include "scene/JsonCursor.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <map>
#include <optional>
#include <string>

namespace trevik::kelvo::assets {

/** A texture of a scene, and how it stretches when it comes from a nine-patch image. */
struct SceneTexture {
    Ref<Texture> pTexture; ///< null when it could not be read, which has been told
    std::optional<NinePatchInfo> ninePatch;
    mutable bool fUsed = false; ///< somebody has asked for it
};

/** The textures of a scene, by the names that its nodes use for them. */
class SceneTextures {
public:
    explicit SceneTextures(ClassRegistry const& registry) : m_registry(registry) {}

    /** Reads the files of the textures that `place` describes; notes or throws what is wrong. */
    void Read(JsonCursor const& place);
    /** What the names mean is not known, because what describes them could not be read: any may be right. */
    void SetUnknown() { m_fUnknown = true; }

    /** The texture whose name stands at `place`. Throws a Fault when there is none. */
    SceneTexture const& Find(JsonCursor const& place) const;

    /** Those that have names. */
    std::map<std::string, SceneTexture> const& GetNamed() const { return m_textures; }

    /**
     * The same, but what looks like a path and is no texture's name is the path of a picture, which is read
     * as it is.
     */
    SceneTexture const& FindOrRead(JsonCursor const& place);

private:
    SceneTexture ReadTexture(JsonCursor const& place, std::string const& name);
    SceneTexture Load(JsonCursor const& place, std::string const& path, ImageOptions const& options,
                      bool fNinePatch);

    ClassRegistry const& m_registry;
    std::map<std::string, SceneTexture> m_textures;
    std::map<std::string, SceneTexture> m_files; ///< those without a name, by their paths
    bool m_fUnknown = false;
    std::size_t m_nBytes = 0; ///< of all textures
};

} // namespace trevik::kelvo::assets
