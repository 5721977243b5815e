#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneFonts.h"
#include "scene/SceneKeys.h"
#include "scene/SceneLayout.h"
#include "scene/SceneProperty.h"
#include "scene/SceneTextures.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Timeline.h"

#include <map>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Builds the nodes that a scene file describes. Where the description is wrong, faults are noted for the
 * document (see JsonCursor::Attempt) or thrown, and what is built is not to be used.
 */
class SceneNodes {
public:
    /**
     * Objects are created through `registry`; `textures` are those that sprites may name, `fonts` those that
     * texts may.
     */
    SceneNodes(ClassRegistry const& registry, SceneTextures const& textures, SceneFonts& fonts)
        : m_registry(registry), m_textures(textures), m_fonts(fonts) {}

    /**
     * Appends the nodes of the array at `place` to `parent`, each so many frames later than the one before.
     */
    void ReadChildren(JsonCursor const& place, Node& parent, AnimationFrames const& frames, int nStagger = 0);
    /** The camera that `place` describes; null when it is none. */
    Ref<Camera> ReadCamera(JsonCursor const& place, AnimationFrames const& frames);
    /** Places what rows and columns place, once all of the scene is read and its texts have their fonts. */
    void Arrange() { m_layout.Place(); }
    /** A new timeline, without anything read into it. */
    Ref<Timeline> CreateTimeline(JsonCursor const& place) const;

private:
    Ref<Node> CreateNode(JsonCursor const& place, std::string const& className) const;
    Ref<Node> ReadNode(JsonCursor const& place, AnimationFrames const& frames);
    std::vector<std::string> const& GetKeys(Node const& node);
    void ReadParts(JsonCursor const& place, Node& node, AnimationFrames const& frames);
    void ReadName(JsonCursor const& place, Node& node) const;
    bool ReadMembers(JsonCursor const& place, PropertyList& properties, std::vector<std::string> const& keys,
                     AnimationFrames const& frames);
    void ReadTimeline(JsonCursor const& place, Timeline& timeline, AnimationFrames const& frames);
    void ReadSprite(JsonCursor const& place, Sprite& sprite, AnimationFrames const& frames);
    void ReadBackground(JsonCursor const& place, Text& text, AnimationFrames const& frames);
    void ReadLens(JsonCursor const& place, Camera& camera) const;
    void ReadMasks(JsonCursor const& place, Node& node, Vector3T<RealFloat> const& scale, bool fYDown) const;
    Ref<Node> ReadStretched(JsonCursor const& place, Sprite& sprite, AnimationFrames const& frames,
                            Vector3T<RealFloat>& scale);
    void ReadEffects(JsonCursor const& place, Node& node, AnimationFrames const& frames);
    void ReadEffect(JsonCursor const& place, Node& node, AnimationFrames const& frames);

    ClassRegistry const& m_registry;
    SceneTextures const& m_textures;
    SceneFonts& m_fonts;
    SampleBudget m_budget;
    SceneLayout m_layout;
    std::map<unsigned int, std::vector<std::string>> m_keys; ///< that are no properties, by class
    std::size_t m_nNodes = 0;
};

/**
 * The class names that scene files give to nodes, and those that they give to effects; a registry need not
 * have them all, and may have more.
 */
std::vector<std::string> const& GetNodeClassNames();
std::vector<std::string> const& GetEffectClassNames();

/** Those of nodes that can be had now. */
std::vector<std::string> GetKnownClasses(ClassRegistry const& registry);

/** The keys of a node that are no properties. */
std::vector<SceneKey> GetNodeKeys(Node const& node);

/** The names under which an object's properties are registered. */
std::vector<std::string> GetPropertyNames(PropertyList const& properties);

/** Frames per second. Throws a Fault. */
RealFloat ReadFrameRate(JsonCursor const& place);

} // namespace trevik::kelvo::assets
