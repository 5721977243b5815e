#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneAnimation.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/TransformNode.h"

namespace trevik::kelvo::assets {

// Keys that say in a scene's words what properties say in the framework's. All throw a Fault.

/** The height of a node that has one of its own, else 0: a sprite's size, a text's box. Stretching left out.
 */
RealFloat GetHeight(Node& node);

/**
 * The "anchor" of a sprite or a text: which point of it lies at its Position; it becomes the Pivot or, along
 * a side of a text's box that is 0, the alignment. Where y points down the anchor is the upper left corner
 * unless the description at `place` says otherwise, and a Pivot is counted from there. To be called once the
 * node has its size.
 */
void ReadAnchor(JsonCursor const& place, Sprite& sprite, bool fYDown);
void ReadAnchor(JsonCursor const& place, Text& text, bool fYDown);

/** Whether a node at `place` is stretched and its children stand below a node that takes that back. */
bool HasStretchedChildren(JsonCursor const& place);

/** What a node is stretched by. */
struct SceneStretch {
    Ref<TransformNode> pBelow; ///< that its children are to stand below; or null
    Vector3T<RealFloat> scale = Vector3T<RealFloat>(1, 1, 1); ///< that it begins with
};

/**
 * "stretchTo", the width and height in units that a nine-patch sprite is to have: becomes its Scale. Where it
 * has children, they are to stand below a node that keeps their scale as it is and lies at the sprite's lower
 * left corner or, where y points down, its upper left one.
 */
SceneStretch ReadStretch(JsonCursor const& place, Sprite& sprite, AnimationReader const& animations,
                         bool fYDown);

} // namespace trevik::kelvo::assets
