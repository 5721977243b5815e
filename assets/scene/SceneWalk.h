#pragma once

#include "scene/JsonCursor.h"
#include "trevik/kelvo/Timeline.h"

#include <string>

namespace trevik::kelvo::assets {

/** What a node of a scene is to the one above it. */
enum class SceneRole { Root, Child, Camera, Background };

/** A node of a scene and where a scene file describes it. */
struct SceneStep {
    JsonCursor place;
    std::string way; ///< "/nodes/3"; empty for the root
    Node& node;
    SceneRole role;
    SceneStep const* pAbove; ///< null for the root
};

class SceneVisitor {
public:
    virtual ~SceneVisitor() = default;
    /** Called for a node before those below it, in the order in which they are drawn. */
    virtual void Enter(SceneStep const& step) = 0;
    virtual void Leave(SceneStep const&) {}
};

/** Walks through a scene file and the nodes that it has become, side by side. */
void WalkScene(JsonCursor const& file, Timeline& root, SceneVisitor& visitor);

} // namespace trevik::kelvo::assets
