#include "explain/NodeCosts.h"

namespace kelvokit::player {

using trevik::kelvo::Node;
using trevik::kelvo::Scene;

void NodeCosts::SetScene(Scene const& scene) {
    m_nodes.clear();
    m_places.clear();
    Add(*scene.GetRoot(), 0, 0);
}

void NodeCosts::Add(Node& node, std::size_t nParent, std::size_t nDepth) {
    std::size_t const nPlace = m_nodes.size();
    m_places[&node] = nPlace;
    m_nodes.push_back({&node, nParent, nDepth, 0, {}, {}});
    for (Node* const pChild : node.GetChildren()) {
        Add(*pChild, nPlace, nDepth + 1);
    }
    m_nodes[nPlace].nEnd = m_nodes.size();
}

std::size_t NodeCosts::Find(Node const& node, std::size_t nElse) const {
    auto const found = m_places.find(&node);
    return found == m_places.end() ? nElse : found->second;
}

void NodeCosts::AddUp() {
    for (NodeCost& node : m_nodes) {
        node.sum.counts += node.itself.counts;
        node.sum.nWritten += node.itself.nWritten;
        node.sum.nOffScreen += node.itself.nOffScreen;
        node.sum.rUpdate += node.itself.rUpdate;
        node.sum.rRender += node.itself.rRender;
    }
    // Children stand behind their parents: from the end, each has its sum before it is added.
    for (std::size_t nNode = m_nodes.size(); nNode-- > 1;) {
        Cost const& sum = m_nodes[nNode].sum;
        Cost& parent = m_nodes[m_nodes[nNode].nParent].sum;
        parent.counts += sum.counts;
        parent.nWritten += sum.nWritten;
        parent.nOffScreen += sum.nOffScreen;
        parent.rUpdate += sum.rUpdate;
        parent.rRender += sum.rRender;
    }
}

} // namespace kelvokit::player
