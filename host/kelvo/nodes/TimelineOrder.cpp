#include "trevik/kelvo/Timeline.h"

#include "kelvo/nodes/Overrides.h"
#include "kelvo/nodes/TransformUpdate.h"
#include "kelvo_host/UpdateObserver.h"

namespace trevik::kelvo {

namespace {

/**
 * How many nodes before it is updated a node is fetched: updating one takes less than fetching it. It costs
 * 11 instructions, and saves 5 to 20 ns for each of 100 000 moving sprites.
 */
constexpr unsigned int FetchedAhead = 4;

} // namespace

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
    if (&tree == &m_tree) {
        WakeAll();
    }
    if (UpdateObserver* const pObserver = UpdateObserver::Get();
        __builtin_expect(pObserver != nullptr, false)) {
        updateAll([pObserver](Node& node) { pObserver->BeginUpdate(node); });
    } else {
        updateAll([](Node&) {});
    }
}

/** UpdateTree, not forced and not watched, without the nodes that are asleep. */
void Timeline::UpdateAwake(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta) {
    TransformNode::Arguments const arguments(device, frame, delta, false);
    if (m_nMarks & TellMark) {
        m_nMarks &= ~TellMark;
        WakeChildren(0, m_treeNodes.GetCount());
    }
    unsigned int nEntry = 0;
    bool fWoken = false;
    while (true) {
        // A property may have got a controller, and tells nobody which one it is.
        if (__builtin_expect(m_nGeneration != BasePropertyGeneration::Get(), 0)) {
            if (fWoken) {
                UpdateFrom(nEntry, arguments);
                return;
            }
            fWoken = true;
            m_nGeneration = BasePropertyGeneration::Get();
            WakeAll();
        }
        nEntry = FindAwake(nEntry);
        if (nEntry >= m_treeNodes.GetCount()) {
            return;
        }
        Node const* const pNode = m_treeNodes[nEntry].m_value;
        if (nEntry + FetchedAhead < m_treeNodes.GetCount()) {
            TransformNode::FetchForUpdating(m_treeNodes[nEntry + FetchedAhead].m_value);
        }
        UpdateEntry(nEntry, arguments);
        if (__builtin_expect(m_fSubtreeChanged, 0)) {
            nEntry = ResumeAfter(pNode);
        }
        ++nEntry;
    }
}

/**
 * Updates all entries from `nEntry` on, whether awake or not: for updates in which controllers go on coming.
 * To wake all for each of them would take as many steps as there are nodes, each time.
 */
TREVIK_NOINLINE void Timeline::UpdateFrom(unsigned int nEntry, TransformNode::Arguments const& arguments) {
    for (; nEntry < m_treeNodes.GetCount(); ++nEntry) {
        Node const* const pNode = m_treeNodes[nEntry].m_value;
        UpdateEntry(nEntry, arguments);
        if (m_fSubtreeChanged) {
            nEntry = ResumeAfter(pNode);
        }
    }
}

/** The first entry from `nEntry` on that is awake; behind the last one when there is none. */
inline unsigned int Timeline::FindAwake(unsigned int nEntry) const {
    unsigned int nWord = nEntry / AwakeWordBits;
    if (__builtin_expect(nWord >= m_awake.GetCount(), 0)) {
        return m_treeNodes.GetCount();
    }
    AwakeWord awake = m_awake[nWord] >> nEntry % AwakeWordBits;
    while (__builtin_expect(awake == 0, 0)) {
        if (++nWord >= m_awake.GetCount()) {
            return m_treeNodes.GetCount();
        }
        awake = m_awake[nWord];
        nEntry = nWord * AwakeWordBits;
    }
    return nEntry + static_cast<unsigned int>(__builtin_ctzl(awake));
}

inline __attribute__((always_inline)) void Timeline::UpdateEntry(unsigned int nEntry,
                                                                 TransformNode::Arguments const& arguments) {
    Node& node = *m_treeNodes[nEntry].m_value;
    if (!node.m_fPlainEntry) {
        if (node.m_fUpdatesSubtree) {
            node.Update(*arguments.m_pDevice, *arguments.m_pFrame, *arguments.m_pDelta, false);
        } else {
            node.InternalUpdate(*arguments.m_pDevice, *arguments.m_pFrame, *arguments.m_pDelta, false);
        }
        return;
    }
    TransformNode& plain = static_cast<TransformNode&>(node);
    bool const fRests = plain.UpdatePlain(arguments);
    if (__builtin_expect(!fRests && !(plain.m_nMarks & TellMark), 1)) {
        return;
    }
    // A change handler may have changed the tree, and even had it flattened: all are awake after that.
    if (m_fSubtreeChanged || !IsEntry(nEntry, plain)) {
        return;
    }
    if (fRests) {
        plain.m_nMarks |= Property::AsleepMark;
        m_awake[nEntry / AwakeWordBits] &= ~(AwakeWord{1} << nEntry % AwakeWordBits);
    } else {
        plain.m_nMarks &= ~TellMark;
        WakeChildren(nEntry + 1, nEntry + m_treeNodes[nEntry].m_nSubtreeCount);
    }
}

/** What a class that keeps a timeline's operations has; taken down in the first timeline's constructor. */
struct Timeline::Overriders : UpdateOverriders {
    explicit Overriders(Timeline const& timeline)
        : UpdateOverriders(timeline), m_nUpdateTree(FindOverrider(timeline, &Timeline::UpdateTree)) {}

    std::uintptr_t m_nUpdateTree;
};

Timeline::Overriders const& Timeline::GetOwnOverriders(Timeline const& timeline) {
    static Overriders const s_overriders(timeline);
    return s_overriders;
}

void Timeline::TakeOverriders() {
    m_fOverridersTaken = true;
    m_fOwnUpdateTree = Overriders(*this).m_nUpdateTree != GetOwnOverriders(*this).m_nUpdateTree;
    m_fPlainUpdate = HasPlainUpdate(*this);
}

/** Whether the node's matrix and opacity come about as those of a timeline or of a plain node do. */
bool Timeline::HasPlainUpdate(Node const& node) {
    TransformNode const* const pTransform = node.GetTransformNode();
    if (!pTransform || (node.m_fFlattensSubtree && !node.m_fUpdatesSubtree)) {
        return false;
    }
    return UpdateOverriders(node) == (node.m_fFlattensSubtree
                                          ? GetOwnOverriders(static_cast<Timeline const&>(node))
                                          : TransformNode::GetOwnOverriders(*pTransform));
}

void Timeline::WakeAll() {
    for (unsigned int nEntry = 0; nEntry < m_treeNodes.GetCount(); ++nEntry) {
        WakeEntry(nEntry);
    }
}

inline void Timeline::WakeEntry(unsigned int nEntry) {
    Node& node = *m_treeNodes[nEntry].m_value;
    if (node.m_fPlainUpdate) {
        static_cast<TransformNode&>(node).m_nMarks &= ~Property::AsleepMark;
    }
    m_awake[nEntry / AwakeWordBits] |= AwakeWord{1} << nEntry % AwakeWordBits;
}

/** Wakes the children whose subtrees are the entries from `nEntry` on, up to `nEnd`. */
void Timeline::WakeChildren(unsigned int nEntry, unsigned int nEnd) {
    while (nEntry < nEnd) {
        WakeEntry(nEntry);
        nEntry += m_treeNodes[nEntry].m_nSubtreeCount;
    }
}

/** Of a node below, which may not be in the list as it was flattened last. */
void Timeline::WakeNode(TransformNode const& node) {
    if (IsEntry(node.m_nTreeEntry, node)) {
        WakeEntry(node.m_nTreeEntry);
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
        m_awake.Clear();
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
    unsigned int const nCount = m_treeNodes.GetCount();
    if (!m_tree.Reserve(nCount) || !m_awake.Resize((nCount + AwakeWordBits - 1) / AwakeWordBits)) {
        return false;
    }
    TakeOverriders();
    for (unsigned int nEntry = 0; nEntry < nCount; ++nEntry) {
        Node& node = *m_treeNodes[nEntry].m_value;
        m_tree.Append(&m_treeNodes[nEntry]);
        node.m_fPlainUpdate = HasPlainUpdate(node);
        node.m_fPlainEntry = node.m_fPlainUpdate && !node.m_fUpdatesSubtree;
        if (node.m_fPlainUpdate) {
            static_cast<TransformNode&>(node).m_nTreeEntry = nEntry;
        }
    }
    CountSubtrees();
    WakeAll();
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
