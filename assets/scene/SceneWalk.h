#pragma once

#include "scene/JsonCursor.h"
#include "trevik/kelvo/Timeline.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** What a node of a scene is to the one above it. */
enum class SceneRole { Root, Child, Camera, Background };

/** A node of a scene and where a scene file describes it. */
struct SceneStep {
    JsonCursor place;
    Node& node;
    SceneRole role;
    SceneStep const* pAbove; ///< null for the root
    char const* pKey;        ///< that it stands under in the description above; null for the root
    std::size_t nItem;       ///< of a child: which one of the array there

    /** "/nodes/3"; empty for the root. */
    std::string GetWay() const;
    /**
     * How what stands in the node's description has come there, or the node itself: see JsonCursor.
     * `outward` are the values from it on up to below the description.
     */
    std::string DescribeUse(std::vector<JsonValue const*> outward = {}) const;
};

class SceneVisitor {
public:
    virtual ~SceneVisitor() = default;
    /** Called for a node before those below it, in the order in which they are drawn. */
    virtual void Enter(SceneStep const& step) = 0;
    virtual void Leave(SceneStep const&) {}
};

/** The node that the described children lie below: the step's own, or one that takes back its stretching. */
Node& GetParentOfChildren(SceneStep const& step);

/** Walks through a scene file and the nodes that it has become, side by side. */
void WalkScene(JsonCursor const& file, Timeline& root, SceneVisitor& visitor);

} // namespace trevik::kelvo::assets
