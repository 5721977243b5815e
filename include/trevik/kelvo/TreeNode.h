#pragma once

#include "trevik/List.h"

namespace trevik::kelvo {

/**
 * One entry of a flattened tree: a value, its depth, and how many entries its subtree has (itself included).
 */
template <class T>
struct TreeNode {
    T m_value{};                      ///< what stands there
    unsigned int m_nDepth = 0;        ///< levels below the topmost one
    unsigned int m_nSubtreeCount = 1; ///< the node itself and all that is below it
};

} // namespace trevik::kelvo
