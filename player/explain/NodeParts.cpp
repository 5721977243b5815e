#include "explain/NodeParts.h"

#include <utility>

namespace kelvokit::player {

using trevik::kelvo::Node;

NodeParts::NodeParts(NodeCosts const& costs, std::function<void(std::size_t nNode)> part)
    : m_costs(costs), m_part(std::move(part)), m_pBefore(Set(this)) {}

NodeParts::~NodeParts() {
    m_part(0);
    Set(m_pBefore);
}

void NodeParts::BeginNode(Node& node) {
    m_part(m_drawn.back());
    m_drawn.push_back(m_costs.Find(node, m_drawn.back()));
}

void NodeParts::EndNode(Node&) {
    m_part(m_drawn.back());
    m_drawn.pop_back();
}

} // namespace kelvokit::player
