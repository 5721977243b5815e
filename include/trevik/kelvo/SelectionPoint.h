#pragma once

#include "trevik/Types.h"
#include "trevik/Vector.h"

namespace trevik::kelvo {

class Node;

/**
 * One node hit by the selection ray. The list's owner must not keep the pointer beyond the scene's next
 * change.
 */
struct SelectionPoint {
    Node* m_pNode = nullptr;        ///< what was hit; borrowed
    Vector2T<RealFloat> m_position; ///< where in the node: (0, 0) to (1, 1) along its width and height
    RealFloat m_distance = 0;       ///< along the pick ray; smaller is nearer
};

} // namespace trevik::kelvo
