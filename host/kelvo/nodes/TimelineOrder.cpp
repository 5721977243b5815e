#include "trevik/kelvo/Timeline.h"

#include "kelvo_host/UpdateObserver.h"

namespace trevik::kelvo {

// The order in which a timeline updates the nodes below: the tree flattened into a list, made again after
// changes.

void Timeline::UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice& device, RealFloat const& frame,
                          RealFloat const& delta, bool fForce) {
    auto const updateAll = [&](auto const& begin) {
        for (unsigned int nEntry = 0; nEntry < tree.GetCount(); ++nEntry) {
            Node* const pNode = tree[nEntry]->m_value;
            begin(*pNode);
            if (pNode->m_fUpdatesSubtree) {
                pNode->Update(device, frame, delta, fForce);
            } else {
                pNode->InternalUpdate(device, frame, delta, fForce);
            }
            if (__builtin_expect(m_fSubtreeChanged, 0) && &tree == &m_tree) {
                nEntry = ResumeAfter(pNode);
            }
        }
    };
    if (tree.IsEmpty()) {
        return;
    }
    if (UpdateObserver* const pObserver = UpdateObserver::Get();
        __builtin_expect(pObserver != nullptr, false)) {
        updateAll([pObserver](Node& node) { pObserver->BeginUpdate(node); });
    } else {
        updateAll([](Node&) {});
    }
}

/**
 * Flattens the tree again after a change handler has changed it during an update. Returns the place of the
 * node that was updated last, so that the update goes on behind it. Where that node is gone, returns the last
 * place: the nodes that remain have to wait for the next update.
 */
unsigned int Timeline::ResumeAfter(Node const* pNode) {
    BuildUpdateTree();
    unsigned int const nCount = m_tree.GetCount();
    for (unsigned int nEntry = 0; !m_fSubtreeChanged && nEntry < nCount; ++nEntry) {
        if (m_tree[nEntry]->m_value == pNode) {
            return nEntry;
        }
    }
    return nCount - 1; // for an empty list the largest number, which the loop counts up to 0
}

void Timeline::BuildUpdateTree() {
    m_fSubtreeChanged = false;
    if (!FlattenTree()) {
        m_tree.Clear();
        m_treeNodes.Clear();
        m_fSubtreeChanged = true;
    }
}

bool Timeline::FlattenTree() {
    m_tree.Clear();
    m_treeNodes.Clear();
    // Nodes still to come, the next one last; not recursive, since trees may be deep.
    List<TreeNode<Node*>> pending;
    if (!AppendChildren(*this, 0, pending)) {
        return false;
    }
    while (!pending.IsEmpty()) {
        TreeNode<Node*> const entry = pending.Last();
        pending.RemoveLast();
        Node& node = *entry.m_value;
        node.GetProperties(); // registered here, once, rather than looked after at each update
        if (!m_treeNodes.Append(entry) ||
            (!node.m_fUpdatesSubtree && !AppendChildren(node, entry.m_nDepth + 1, pending))) {
            return false;
        }
    }
    if (!m_tree.Reserve(m_treeNodes.GetCount())) {
        return false;
    }
    for (TreeNode<Node*>& node : m_treeNodes) {
        m_tree.Append(&node);
    }
    CountSubtrees();
    return true;
}

bool Timeline::AppendChildren(Node& node, unsigned int nDepth, List<TreeNode<Node*>>& pending) {
    node.m_fSubtreeChanged = false;
    TreeNode<Node*> child;
    child.m_nDepth = nDepth;
    for (unsigned int nChild = node.m_children.GetCount(); nChild-- > 0;) {
        child.m_value = node.m_children[nChild];
        if (!pending.Append(child)) {
            return false;
        }
    }
    return true;
}

/** Counts from the end, so that the subtrees below a node are counted before its own. */
void Timeline::CountSubtrees() {
    for (unsigned int nEntry = m_tree.GetCount(); nEntry-- > 0;) {
        TreeNode<Node*>& node = *m_tree[nEntry];
        unsigned int nNext = nEntry + 1;
        while (nNext < m_tree.GetCount() && m_tree[nNext]->m_nDepth > node.m_nDepth) {
            nNext += m_tree[nNext]->m_nSubtreeCount;
        }
        node.m_nSubtreeCount = nNext - nEntry;
    }
}

} // namespace trevik::kelvo
