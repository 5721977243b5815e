#pragma once

#include "kelvo_host/Scene.h"
#include "trevik/kelvo/Node.h"

#include <kelvo_counting/Counting.h>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace kelvokit::player {

/** What a node, or a subtree, costs in one frame. */
struct Cost {
    counting::Counts counts;           ///< of GL
    unsigned long long nCovered = 0;   ///< different pixels that are written, in all targets
    unsigned long long nWritten = 0;   ///< pixels each time that they are written, in all targets
    unsigned long long nOffScreen = 0; ///< of these, in other targets than the surface
    unsigned long long nTextures = 0;  ///< bytes, of what sprites draw with
    unsigned long long nFonts = 0;     ///< bytes of fonts, their textures included
    double rUpdate = 0;                ///< milliseconds
    double rRender = 0;                ///< milliseconds
};

/** A node of the tree. */
struct NodeCost {
    trevik::kelvo::Node* pNode;
    std::size_t nParent; ///< its place in the list; of the root its own
    std::size_t nDepth;
    std::size_t nEnd; ///< the place behind its subtree
    Cost itself;
    Cost sum; ///< of the node and all below it
};

/** All nodes of a scene in drawing order, each followed by its subtree; the root is the first. */
class NodeCosts {
public:
    /** Costs nothing so far. The nodes are to stay where they are. */
    void SetScene(trevik::kelvo::Scene const& scene);

    std::vector<NodeCost>& GetNodes() { return m_nodes; }
    std::vector<NodeCost> const& GetNodes() const { return m_nodes; }
    /** The place of a node; `nElse` for one that is not in the tree. */
    std::size_t Find(trevik::kelvo::Node const& node, std::size_t nElse) const;
    /** Adds up what can be added, in each node's sum: all but covered pixels and memory. */
    void AddUp();

private:
    void Add(trevik::kelvo::Node& node, std::size_t nParent, std::size_t nDepth);

    std::vector<NodeCost> m_nodes;
    std::unordered_map<trevik::kelvo::Node const*, std::size_t> m_places;
};

} // namespace kelvokit::player
