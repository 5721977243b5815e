#include "PackedDocument.h"

#include "PackedValue.h"

#include <cstring>
#include <new>
#include <utility>

namespace trevik::kelvo {

namespace {

constexpr unsigned int EntryHeaderLength = 8;

constexpr unsigned long Padded(unsigned long nLength) {
    return (nLength + 3) & ~3ul;
}

/** The child that a number names, of the node in place `nNode`; the node itself or one behind it when there
 * is none. */
unsigned long long FindChild(unsigned int nNode, unsigned long long nNumber) {
    unsigned long long const nPlace = nNumber >> 1;
    return (nNumber & 1) == 0 ? nPlace : nPlace <= nNode ? nNode - nPlace : ~0ull;
}

} // namespace

/** Looks through the bytes; each operation returns what is wrong, or null. */
class PackedDocument::Opener {
public:
    Opener(PackedDocument& document, unsigned int nStart, unsigned int nLength)
        : m_document(document), m_bytes(document.m_bytes.GetData() + nStart, nLength), m_nStart(nStart),
          m_nLength(nLength) {}

    char const* Open() {
        char const* pProblem = ReadIDs();
        pProblem = pProblem ? pProblem : ReadShapes();
        pProblem = pProblem ? pProblem : ReadNodes();
        if (!pProblem && m_bytes.GetLeft() != 0) {
            return "bytes are left over behind the document";
        }
        return pProblem ? pProblem : FindShared();
    }
    unsigned long GetOffset() const { return m_nLength - m_bytes.GetLeft(); }

private:
    static constexpr char const* OutOfMemory = "out of memory";

    char const* ReadCount(unsigned int nBytesEach, unsigned int& nCount);
    char const* ReadIDs();
    char const* ReadShapes();
    char const* ReadShape(Shape& shape);
    char const* ReadNodes();
    char const* ReadNode(PackedNode& node);
    char const* ReadChildren(PackedNode& node);
    char const* AddLength(PackedNode const& node);
    char const* FindShared();

    PackedDocument& m_document;
    PackedBytes m_bytes;
    unsigned int const m_nStart;
    unsigned int const m_nLength;
    List<unsigned int> m_ids;
    unsigned long long m_nUnpacked = 0; ///< what the nodes that have been read take unpacked
};

/** A count of things that take at least `nBytesEach` bytes: memory is taken for no more than can be there. */
char const* PackedDocument::Opener::ReadCount(unsigned int nBytesEach, unsigned int& nCount) {
    return m_bytes.ReadNumber(0x7fffffffu, nCount) && nCount <= m_bytes.GetLeft() / nBytesEach
               ? nullptr
               : "a count is larger than the document has room for";
}

char const* PackedDocument::Opener::ReadIDs() {
    unsigned int nCount = 0;
    if (char const* const pProblem = ReadCount(4, nCount)) {
        return pProblem;
    }
    if (!m_ids.Reserve(nCount)) {
        return OutOfMemory;
    }
    for (unsigned int n = 0; n < nCount; ++n) {
        unsigned char const* const pWord = m_bytes.GetPosition();
        if (!m_bytes.Skip(4)) {
            return "the document ends within its ids";
        }
        m_ids.Append(GetWord(pWord));
    }
    return nullptr;
}

char const* PackedDocument::Opener::ReadShapes() {
    unsigned int nCount = 0;
    if (char const* const pProblem = ReadCount(3, nCount)) {
        return pProblem;
    }
    if (!m_document.m_shapes.Reserve(nCount)) {
        return OutOfMemory;
    }
    for (unsigned int n = 0; n < nCount; ++n) {
        Shape shape{};
        if (char const* const pProblem = ReadShape(shape)) {
            return pProblem;
        }
        m_document.m_shapes.Append(shape);
    }
    return nullptr;
}

char const* PackedDocument::Opener::ReadShape(Shape& shape) {
    static constexpr char NoShape[] = "a shape of nodes is not one";
    unsigned int const nIDs = m_ids.GetCount();
    unsigned int nTag = 0;
    unsigned int nType = 0;
    if (nIDs == 0 || !m_bytes.ReadNumber(nIDs - 1, nTag) || !m_bytes.ReadNumber(nIDs - 1, nType)) {
        return NoShape;
    }
    if (char const* const pProblem = ReadCount(2, shape.m_nAttributes)) {
        return pProblem;
    }
    shape.m_nTagID = m_ids[nTag];
    shape.m_nTypeID = m_ids[nType];
    shape.m_nFirstAttribute = m_document.m_attributes.GetCount();
    unsigned long long nBlockLength = 0;
    for (unsigned int n = 0; n < shape.m_nAttributes; ++n) {
        unsigned int nID = 0;
        unsigned int nHeader = 0;
        if (!m_bytes.ReadNumber(nIDs - 1, nID) || !m_bytes.ReadNumber(0xffffffffu, nHeader)) {
            return NoShape;
        }
        nBlockLength += EntryHeaderLength + Padded(nHeader >> 4);
        if (nBlockLength > DocumentNode::MaximumBlockLength) {
            return NoShape;
        }
        if (!m_document.m_attributes.Append(Attribute{nHeader, m_ids[nID]})) {
            return OutOfMemory;
        }
    }
    shape.m_nBlockLength = static_cast<unsigned int>(nBlockLength);
    return nullptr;
}

char const* PackedDocument::Opener::ReadNodes() {
    unsigned int nCount = 0;
    if (char const* const pProblem = ReadCount(2, nCount)) {
        return pProblem;
    }
    if (nCount == 0) {
        return "there is no node";
    }
    if (!m_document.m_nodes.Reserve(nCount)) {
        return OutOfMemory;
    }
    for (unsigned int n = 0; n < nCount; ++n) {
        PackedNode node{};
        if (char const* const pProblem = ReadNode(node)) {
            return pProblem;
        }
        m_document.m_nodes.Append(node);
    }
    return AddLength(m_document.m_nodes.Last());
}

/** Reads the next node; those before it are all there. */
char const* PackedDocument::Opener::ReadNode(PackedNode& node) {
    unsigned int const nShapes = m_document.m_shapes.GetCount();
    if (nShapes == 0 || !m_bytes.ReadNumber(nShapes - 1, node.m_nShape)) {
        return "a node has a shape that is not there";
    }
    node.m_nOffset = m_nStart + static_cast<unsigned int>(GetOffset());
    Shape const& shape = m_document.m_shapes[node.m_nShape];
    for (unsigned int n = 0; n < shape.m_nAttributes; ++n) {
        if (!PackedValue::Skip(m_bytes,
                               m_document.m_attributes[shape.m_nFirstAttribute + n].m_nHeader >> 4)) {
            return "an attribute's data is not whole";
        }
    }
    return ReadChildren(node);
}

char const* PackedDocument::Opener::ReadChildren(PackedNode& node) {
    unsigned int const nNode = m_document.m_nodes.GetCount();
    unsigned int nCount = 0;
    if (char const* const pProblem = ReadCount(1, nCount)) {
        return pProblem;
    }
    node.m_fLeaf = nCount == 0;
    node.m_nLevels = 1;
    for (unsigned int n = 0; n < nCount; ++n) {
        unsigned long long nNumber = 0;
        unsigned long long const nChild =
            m_bytes.ReadNumber(0xffffffffull, nNumber) ? FindChild(nNode, nNumber) : ~0ull;
        if (nChild >= nNode) {
            return "a child does not stand before its parent";
        }
        PackedNode& child = m_document.m_nodes[static_cast<unsigned int>(nChild)];
        if (child.m_nParents++ != 0 && !child.m_fLeaf) {
            return "a node with children has two parents";
        }
        if (child.m_nLevels == DocumentNode::MaximumDepth) {
            return "the document is nested too deep";
        }
        if (node.m_nLevels <= child.m_nLevels) {
            node.m_nLevels = static_cast<unsigned short>(child.m_nLevels + 1);
        }
        if (char const* const pProblem = AddLength(child)) {
            return pProblem;
        }
    }
    return nullptr;
}

/** Adds what a node takes unpacked, without its children. */
char const* PackedDocument::Opener::AddLength(PackedNode const& node) {
    m_nUnpacked += NodeCost + m_document.m_shapes[node.m_nShape].m_nBlockLength;
    return m_nUnpacked <= GetLargestLength(m_nLength) ? nullptr
                                                      : "unpacked it is too large for a file of its size";
}

/** Gives each node with several parents its place; all but the topmost have one, or else they would be lost.
 */
char const* PackedDocument::Opener::FindShared() {
    unsigned int nShared = 0;
    for (PackedNode& node : m_document.m_nodes) {
        if (node.m_nParents == 0 && &node != &m_document.m_nodes.Last()) {
            return "a node has no parent";
        }
        node.m_nParents = node.m_nParents > 1 ? ++nShared : 0;
    }
    return m_document.m_shared.Resize(nShared) ? nullptr : OutOfMemory;
}

Ref<PackedDocument> PackedDocument::Open(List<unsigned char>& bytes, unsigned int nStart,
                                         unsigned int nLength, Problem& problem) {
    Ref<PackedDocument> pDocument(new (std::nothrow) PackedDocument);
    if (!pDocument) {
        problem = Problem{"out of memory", 0};
        return nullptr;
    }
    pDocument->m_bytes.Swap(bytes);
    pDocument->m_nEnd = nStart + nLength;
    Opener opener(*pDocument, nStart, nLength);
    problem = Problem{opener.Open(), opener.GetOffset()};
    return problem.m_pText ? Ref<PackedDocument>() : pDocument;
}

Ref<DocumentNode> PackedDocument::MakeNode(unsigned int nNode) {
    Ref<DocumentNode> pNode(new (std::nothrow) DocumentNode(0, 0));
    return pNode && Fill(*pNode, m_nodes[nNode]) ? pNode : Ref<DocumentNode>();
}

/** Makes a node another one: its attributes, and where its children are. */
bool PackedDocument::Fill(DocumentNode& node, PackedNode const& packed) {
    Shape const& shape = m_shapes[packed.m_nShape];
    node.m_nTagID = shape.m_nTagID;
    node.m_nTypeID = shape.m_nTypeID;
    node.m_attributes.Clear();
    node.m_children.Clear();
    node.m_packedChildren.Clear();
    unsigned char* pEntry = node.ExtendAttributes(shape.m_nBlockLength);
    if (shape.m_nBlockLength > 0 && !pEntry) {
        return false;
    }
    PackedBytes bytes(m_bytes.GetData() + packed.m_nOffset, m_nEnd - packed.m_nOffset);
    for (unsigned int n = 0; n < shape.m_nAttributes; ++n) {
        Attribute const& attribute = m_attributes[shape.m_nFirstAttribute + n];
        unsigned int const nLength = attribute.m_nHeader >> 4;
        PutWord(pEntry, attribute.m_nHeader);
        PutWord(pEntry + 4, attribute.m_nID);
        PackedValue::Read(bytes, pEntry + EntryHeaderLength, nLength);
        std::memset(pEntry + EntryHeaderLength + nLength, 0, Padded(nLength) - nLength);
        pEntry += EntryHeaderLength + Padded(nLength);
    }
    if (packed.m_fLeaf) {
        node.m_pPacked.Reset(); // which a node that is used again may have: it is to keep nothing for nothing
        return true;
    }
    return FillChildren(node, packed, bytes);
}

bool PackedDocument::FillChildren(DocumentNode& node, PackedNode const& packed, PackedBytes& bytes) {
    unsigned int const nNode = static_cast<unsigned int>(&packed - m_nodes.GetData());
    unsigned int nCount = 0;
    bytes.ReadNumber(0xffffffffu, nCount);
    if (!node.m_packedChildren.Reserve(nCount)) {
        return false;
    }
    for (unsigned int n = 0; n < nCount; ++n) {
        unsigned long long nNumber = 0;
        bytes.ReadNumber(0xffffffffull, nNumber);
        node.m_packedChildren.Append(static_cast<unsigned int>(FindChild(nNode, nNumber)));
    }
    if (node.m_pPacked != this) {
        node.m_pPacked = Ref(this);
    }
    return true;
}

Ref<DocumentNode> PackedDocument::GetNode(unsigned int nNode, Ref<DocumentNode>&& pSpare) {
    PackedNode const& packed = m_nodes[nNode];
    if (packed.m_nParents != 0) {
        Ref<DocumentNode>& pShared = m_shared[packed.m_nParents - 1];
        if (!pShared) {
            pShared = MakeNode(nNode);
        }
        return pShared;
    }
    if (!pSpare || pSpare->GetReferenceCount() != 1) {
        return MakeNode(nNode);
    }
    return Fill(*pSpare, packed) ? std::move(pSpare) : Ref<DocumentNode>();
}

} // namespace trevik::kelvo
