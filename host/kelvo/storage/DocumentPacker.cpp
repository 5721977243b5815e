#include "DocumentPacker.h"

#include "PackedBytes.h"
#include "PackedDocument.h"
#include "PackedValue.h"

namespace trevik::kelvo {

namespace {

/** An attribute as it stands in a document node. */
struct Entry {
    unsigned int m_nHeader; ///< length times 16 plus kind
    unsigned int m_nID;
    unsigned char const* m_pData;

    unsigned int GetLength() const { return m_nHeader >> 4; }
};

/** Calls `take` with each attribute in a block of them; ends early, with false, when that answers false. */
template <class Take>
bool EachEntry(List<unsigned char> const& block, Take take) {
    unsigned char const* const pEnd = block.GetData() + block.GetCount();
    for (unsigned char const* pAt = block.GetData(); pAt != pEnd;) {
        Entry const entry = {GetWord(pAt), GetWord(pAt + 4), pAt + 8};
        if (!take(entry)) {
            return false;
        }
        pAt += 8 + ((entry.GetLength() + 3ul) & ~3ul);
    }
    return true;
}

} // namespace

bool DocumentPacker::Pack(DocumentNode const& document, List<unsigned char>& bytes) {
    DocumentPacker packer;
    unsigned int const nStart = bytes.GetCount();
    unsigned int nRoot = 0;
    if (packer.AddNode(document, 1, nRoot) && packer.AppendTo(bytes) &&
        packer.m_nLength <= PackedDocument::GetLargestLength(bytes.GetCount() - nStart)) {
        return true;
    }
    bytes.Resize(nStart);
    return false;
}

/** Adds a node behind all below it, unless it has no children and is there already; says where it is. */
bool DocumentPacker::AddNode(DocumentNode const& node, unsigned int nDepth, unsigned int& nNumber) {
    if (nDepth > DocumentNode::MaximumDepth) {
        return false;
    }
    unsigned int const nFirstChild = m_children.GetCount();
    for (unsigned int nChild = 0; nChild < node.GetChildCount(); ++nChild) {
        Ref<DocumentNode> const pChild = node.ReadChild(nChild);
        unsigned int nPlace = 0;
        if (!pChild || !AddNode(*pChild, nDepth + 1, nPlace) || !m_children.Append(nPlace)) {
            return false;
        }
    }
    m_nLength += PackedDocument::NodeCost + node.m_attributes.GetCount();
    unsigned int const nStart = m_nodes.GetBytes().GetCount();
    unsigned int nLeaf = 0;
    unsigned int nShape = 0;
    if (!FindShape(node, nShape) || !AppendNumber(m_nodes.GetBytes(), nShape) || !AppendValues(node) ||
        !AppendChildren(nFirstChild)) {
        return false;
    }
    if (node.GetChildCount() == 0 && nDepth > 1) {
        if (!m_nodes.Enter(nStart, nLeaf)) {
            return false;
        }
        if (nLeaf < m_leaves.GetCount()) {
            nNumber = m_leaves[nLeaf];
            return true;
        }
        if (!m_leaves.Append(m_nNodes)) {
            return false;
        }
    }
    nNumber = m_nNodes++;
    return true;
}

bool DocumentPacker::AppendValues(DocumentNode const& node) {
    return EachEntry(node.m_attributes, [this](Entry const& entry) {
        return PackedValue::Write(m_nodes.GetBytes(), entry.m_pData, entry.GetLength());
    });
}

/** Appends where the children are that stand in m_children from `nFirst` on, and takes them out of there. */
bool DocumentPacker::AppendChildren(unsigned int nFirst) {
    List<unsigned char>& bytes = m_nodes.GetBytes();
    bool fAppended = AppendNumber(bytes, m_children.GetCount() - nFirst);
    for (unsigned int n = nFirst; n < m_children.GetCount() && fAppended; ++n) {
        unsigned long long const nPlace = m_children[n];
        unsigned long long const nBefore = m_nNodes - nPlace;
        fAppended = AppendNumber(bytes, nPlace <= nBefore ? 2 * nPlace : 2 * nBefore + 1);
    }
    m_children.Resize(nFirst);
    return fAppended;
}

/** Appends the place of an id in the list of ids. */
bool DocumentPacker::AppendID(List<unsigned char>& bytes, unsigned int nID) {
    unsigned int const nStart = m_ids.GetBytes().GetCount();
    unsigned int nNumber = 0;
    return AppendWord(m_ids.GetBytes(), nID) && m_ids.Enter(nStart, nNumber) && AppendNumber(bytes, nNumber);
}

bool DocumentPacker::FindShape(DocumentNode const& node, unsigned int& nShape) {
    List<unsigned char>& bytes = m_shapes.GetBytes();
    unsigned int const nStart = bytes.GetCount();
    unsigned int nAttributes = 0;
    EachEntry(node.m_attributes, [&nAttributes](Entry const&) { return ++nAttributes != 0; });
    return AppendID(bytes, node.GetTagID()) && AppendID(bytes, node.GetTypeID()) &&
           AppendNumber(bytes, nAttributes) &&
           EachEntry(node.m_attributes,
                     [this, &bytes](Entry const& entry) {
                         return AppendID(bytes, entry.m_nID) && AppendNumber(bytes, entry.m_nHeader);
                     }) &&
           m_shapes.Enter(nStart, nShape);
}

bool DocumentPacker::AppendTo(List<unsigned char>& bytes) const {
    auto const append = [&bytes](unsigned int nCount, List<unsigned char> const& part) {
        return AppendNumber(bytes, nCount) && AppendBytes(bytes, part.GetData(), part.GetCount());
    };
    return append(m_ids.GetCount(), m_ids.GetBytes()) && append(m_shapes.GetCount(), m_shapes.GetBytes()) &&
           append(m_nNodes, m_nodes.GetBytes());
}

} // namespace trevik::kelvo
