#pragma once

#include "scene/JsonCursor.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/TransformNode.h"

#include <map>
#include <optional>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Rows and columns: nodes whose children are placed beside or below each other, once, when all of the scene
 * has been read. Sizes are those of sprites, of texts as they are set, of rows and columns, and of all that
 * is below other nodes; pivots and scales count, rotations and animations do not.
 */
class SceneLayout {
public:
    /**
     * Takes down the "layout" of the node at `place`, if it has one: `parent` is what its children hang
     * below. They begin at its lower left corner or, where y points down, at its upper left one, which is at
     * `top`. Nodes come after those that are below them. Throws a Fault.
     */
    void Add(JsonCursor const& place, Node& parent, std::optional<RealFloat> top);
    /** Places all children. Texts have their fonts by then. Throws a Fault. */
    void Place();

private:
    enum class Align { Start, Center, End };
    /** A rectangle, y up. */
    struct Box {
        RealFloat left = 0;
        RealFloat bottom = 0;
        RealFloat right = 0;
        RealFloat top = 0;

        void Cover(Box const& other);
        bool IsEmpty() const { return left == right && bottom == top; }
    };
    struct Group {
        Ref<Node> pParent; ///< which may have got no place in the scene, where that is wrong
        bool fRow;
        std::optional<RealFloat> top; ///< of the children; above what they cover, unless it is said
        RealFloat gap;
        Align align;
        JsonCursor place; ///< of the node with the layout
    };

    void Place(Group const& group);
    /** What a node covers in its parent's space, its position left out. */
    Box Measure(Node& node) const;
    Box MeasureInside(Node& node) const;

    std::vector<Group> m_groups;
    std::map<Node const*, Box> m_placed; ///< what rows and columns cover, in their own space
};

} // namespace trevik::kelvo::assets
