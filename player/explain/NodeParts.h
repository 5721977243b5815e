#pragma once

#include "explain/NodeCosts.h"
#include "kelvo_host/RenderObserver.h"

#include <functional>
#include <vector>

namespace kelvokit::player {

/**
 * Takes the drawing of a frame apart, while it lives: `part` is called whenever the drawing goes on to
 * another node, with the place of the one that what has been drawn since the last call belongs to. What
 * belongs to no node, such as clearing, belongs to the root.
 */
class NodeParts : public trevik::kelvo::RenderObserver {
public:
    NodeParts(NodeCosts const& costs, std::function<void(std::size_t nNode)> part);
    /** Calls `part` for the rest. */
    ~NodeParts() override;
    NodeParts(NodeParts const&) = delete;
    NodeParts& operator=(NodeParts const&) = delete;

    void BeginNode(trevik::kelvo::Node& node) override;
    void EndNode(trevik::kelvo::Node& node) override;

private:
    NodeCosts const& m_costs;
    std::function<void(std::size_t nNode)> m_part;
    std::vector<std::size_t> m_drawn{0}; ///< from the root to the node that is drawn
    RenderObserver* const m_pBefore;
};

} // namespace kelvokit::player
