#include "trevik/kelvo/DocumentNode.h"

#include "PackedBytes.h"
#include "PackedDocument.h"
#include "trevik/Types.h"

#include <climits>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace trevik::kelvo {

// Documents hold values as they stand in memory, so these have to be the same wherever documents go.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "documents hold values with their lowest byte first");
static_assert(sizeof(int) == 4 && sizeof(char16_t) == 2 && CHAR_BIT == 8, "documents hold words of 32 bits");
static_assert(sizeof(RealFloat) == 4 && std::numeric_limits<RealFloat>::is_iec559,
              "documents hold numbers as IEEE 754 lays them out");

namespace {

/** Bytes that every node takes: tag, type, number of children and the header of the attribute block. */
constexpr unsigned int NodeHeaderLength = 16;
/** Bytes that every attribute takes: length and kind, and the id. */
constexpr unsigned int EntryHeaderLength = 8;

/** Makes the list `nMore` bytes longer and returns where they start; null when out of memory. */
unsigned char* Extend(List<unsigned char>& bytes, unsigned long nMore) {
    unsigned int const nCount = bytes.GetCount();
    unsigned int const nRoom = 0xffffffffu - nCount;
    if (nMore > nRoom) {
        return nullptr;
    }
    unsigned int const nNeeded = nCount + static_cast<unsigned int>(nMore);
    if (nNeeded > bytes.GetCapacity()) {
        unsigned int const nDoubled = nCount < 0x80000000u ? nCount * 2 : 0xffffffffu;
        if (!bytes.Reserve(nNeeded > nDoubled ? nNeeded : nDoubled)) {
            return nullptr;
        }
    }
    return bytes.Resize(nNeeded) ? bytes.GetData() + nCount : nullptr;
}

constexpr unsigned long Padded(unsigned long nLength) {
    return (nLength + 3) & ~3ul;
}

/** The entry at the start of `nLength` bytes; false when they end before it does. */
bool ParseEntry(unsigned char const* pData, unsigned long nLength, unsigned long& nDataLength,
                unsigned long& nEntryLength) {
    if (nLength < EntryHeaderLength) {
        return false;
    }
    nDataLength = GetWord(pData) >> 4;
    nEntryLength = EntryHeaderLength + Padded(nDataLength);
    return nEntryLength <= nLength;
}

bool AreEntriesWhole(unsigned char const* pData, unsigned long nLength, unsigned long& nBadEntry) {
    for (nBadEntry = 0; nBadEntry < nLength;) {
        unsigned long nDataLength;
        unsigned long nEntryLength;
        if (!ParseEntry(pData + nBadEntry, nLength - nBadEntry, nDataLength, nEntryLength)) {
            return false;
        }
        nBadEntry += nEntryLength;
    }
    return true;
}

} // namespace

DocumentNode::DocumentNode(unsigned int nTagID, unsigned int nTypeID)
    : m_nTagID(nTagID), m_nTypeID(nTypeID) {}

DocumentNode::~DocumentNode() = default;

bool DocumentNode::AddAttribute(unsigned int nID, unsigned char const* pData, unsigned long nLength) {
    unsigned long const nRoom = MaximumBlockLength - m_attributes.GetCount();
    if (nLength > nRoom || EntryHeaderLength + Padded(nLength) > nRoom) {
        return false;
    }
    unsigned char* const pEntry = Extend(m_attributes, EntryHeaderLength + Padded(nLength));
    if (!pEntry) {
        return false;
    }
    PutWord(pEntry, static_cast<unsigned int>(nLength) << 4 | RawBytes);
    PutWord(pEntry + 4, nID);
    if (nLength > 0) {
        std::memcpy(pEntry + EntryHeaderLength, pData, nLength);
    }
    return true;
}

bool DocumentNode::FindAttribute(unsigned int nID, unsigned char const*& pData,
                                 unsigned long& nLength) const {
    unsigned char const* pEntry = m_attributes.GetData();
    unsigned long nLeft = m_attributes.GetCount();
    unsigned long nDataLength;
    unsigned long nEntryLength;
    while (nLeft > 0 && ParseEntry(pEntry, nLeft, nDataLength, nEntryLength)) {
        if (GetWord(pEntry + 4) == nID && (GetWord(pEntry) & 0xf) == RawBytes) {
            pData = pEntry + EntryHeaderLength;
            nLength = nDataLength;
            return true;
        }
        pEntry += nEntryLength;
        nLeft -= nEntryLength;
    }
    return false;
}

bool DocumentNode::AddChild(Ref<DocumentNode> const& pChild) {
    return InsertChild(GetChildCount(), pChild);
}

bool DocumentNode::InsertChild(unsigned int nChild, Ref<DocumentNode> const& pChild) {
    return pChild && (m_packedChildren.IsEmpty() || Unpack()) && m_children.Insert(nChild, pChild);
}

unsigned char* DocumentNode::ExtendAttributes(unsigned int nMore) {
    return Extend(m_attributes, nMore);
}

/** Makes the children, all of them or none. */
bool DocumentNode::Unpack() const {
    List<Ref<DocumentNode>> children;
    if (!children.Reserve(m_packedChildren.GetCount())) {
        return false;
    }
    for (unsigned int nPacked : m_packedChildren) {
        Ref<DocumentNode> const pChild = m_pPacked->MakeNode(nPacked);
        if (!pChild) {
            return false;
        }
        children.Append(pChild);
    }
    m_children.Swap(children);
    m_packedChildren.Release();
    m_pPacked.Reset();
    return true;
}

unsigned int DocumentNode::GetPackedTagID(unsigned int nChild) const {
    return m_pPacked->GetTagID(m_packedChildren[nChild]);
}

unsigned int DocumentNode::GetPackedTypeID(unsigned int nChild) const {
    return m_pPacked->GetTypeID(m_packedChildren[nChild]);
}

Ref<DocumentNode> DocumentNode::ReadChild(unsigned int nChild, Ref<DocumentNode>&& pSpare) const {
    return m_packedChildren.IsEmpty() ? m_children[nChild]
                                      : m_pPacked->GetNode(m_packedChildren[nChild], std::move(pSpare));
}

bool DocumentNode::Write(List<unsigned char>& bytes) const {
    unsigned int const nCount = bytes.GetCount();
    if (WriteNode(bytes, 1)) {
        return true;
    }
    bytes.Resize(nCount);
    return false;
}

bool DocumentNode::WriteNode(List<unsigned char>& bytes, unsigned int nDepth) const {
    unsigned int const nBlockLength = m_attributes.GetCount();
    unsigned char* const pNode =
        nDepth <= MaximumDepth ? Extend(bytes, NodeHeaderLength + nBlockLength) : nullptr;
    if (!pNode) {
        return false;
    }
    PutWord(pNode, m_nTagID);
    PutWord(pNode + 4, m_nTypeID);
    PutWord(pNode + 8, GetChildCount());
    PutWord(pNode + 12, nBlockLength << 4);
    if (nBlockLength > 0) {
        std::memcpy(pNode + NodeHeaderLength, m_attributes.GetData(), nBlockLength);
    }
    for (unsigned int nChild = 0; nChild < GetChildCount(); ++nChild) {
        Ref<DocumentNode> const pChild = ReadChild(nChild);
        if (!pChild || !pChild->WriteNode(bytes, nDepth + 1)) {
            return false;
        }
    }
    return true;
}

/** Reads a tree node by node; each operation returns what is wrong, or null. */
class DocumentNode::TreeReader {
public:
    TreeReader(unsigned char const* pData, unsigned long nLength) : m_pData(pData), m_nLength(nLength) {}

    char const* ReadTree(Ref<DocumentNode>& pRoot);
    /** Where the next node begins, or what is wrong. */
    unsigned long GetOffset() const { return m_nOffset; }

private:
    struct Level {
        DocumentNode* m_pNode;
        unsigned int m_nMissing; // children still to be read
    };

    char const* ReadNode(Ref<DocumentNode>& pNode, unsigned int& nChildren);

    unsigned char const* const m_pData;
    unsigned long const m_nLength;
    unsigned long m_nOffset = 0;
    unsigned long m_nMissing = 0; ///< children still to be read, of all levels together
};

/** Reads one node without its children and moves behind it. */
char const* DocumentNode::TreeReader::ReadNode(Ref<DocumentNode>& pNode, unsigned int& nChildren) {
    if (m_nLength - m_nOffset < NodeHeaderLength) {
        return "the document ends within a node";
    }
    unsigned char const* const pHeader = m_pData + m_nOffset;
    unsigned long const nLeft = m_nLength - m_nOffset - NodeHeaderLength;
    nChildren = GetWord(pHeader + 8);
    unsigned long const nBlockLength = GetWord(pHeader + 12) >> 4;
    if (nBlockLength > nLeft) {
        return "an attribute block reaches past the document's end";
    }
    // Each child takes at least a header, and so does each child that earlier nodes still miss: a count that
    // is too large is found before memory is taken for it.
    unsigned long const nRoom = (nLeft - nBlockLength) / NodeHeaderLength;
    if (nChildren > (m_nMissing < nRoom ? nRoom - m_nMissing : 0)) {
        return "a node has more children than the document has room for";
    }
    unsigned char const* const pBlock = pHeader + NodeHeaderLength;
    unsigned long nBadEntry;
    if (!AreEntriesWhole(pBlock, nBlockLength, nBadEntry)) {
        m_nOffset += NodeHeaderLength + nBadEntry;
        return "an attribute reaches past its block's end";
    }
    pNode = Ref(new (std::nothrow) DocumentNode(GetWord(pHeader), GetWord(pHeader + 4)));
    unsigned char* const pCopy = pNode ? Extend(pNode->m_attributes, nBlockLength) : nullptr;
    if (!pNode || (nBlockLength > 0 && !pCopy) || !pNode->m_children.Reserve(nChildren)) {
        return "out of memory";
    }
    if (nBlockLength > 0) {
        std::memcpy(pCopy, pBlock, nBlockLength);
    }
    m_nOffset += NodeHeaderLength + nBlockLength;
    m_nMissing += nChildren;
    return nullptr;
}

char const* DocumentNode::TreeReader::ReadTree(Ref<DocumentNode>& pRoot) {
    List<Level> levels;
    unsigned int nChildren = 0;
    char const* pProblem = ReadNode(pRoot, nChildren);
    if (pProblem) {
        return pProblem;
    }
    if (!levels.Append(Level{pRoot.Get(), nChildren})) {
        return "out of memory";
    }
    while (!levels.IsEmpty()) {
        Level& level = levels.Last();
        if (level.m_nMissing == 0) {
            levels.RemoveLast();
            continue;
        }
        if (levels.GetCount() == MaximumDepth) {
            return "the document is nested too deep";
        }
        --level.m_nMissing;
        --m_nMissing;
        Ref<DocumentNode> pChild;
        pProblem = ReadNode(pChild, nChildren);
        if (pProblem) {
            return pProblem;
        }
        if (!level.m_pNode->AddChild(pChild) || !levels.Append(Level{pChild.Get(), nChildren})) {
            return "out of memory";
        }
    }
    return m_nOffset == m_nLength ? nullptr : "bytes are left over behind the document";
}

Ref<DocumentNode> DocumentNode::Read(unsigned char const* pData, unsigned long nLength, char const** pError,
                                     unsigned long* pOffset) {
    TreeReader reader(pData, nLength);
    Ref<DocumentNode> pRoot;
    char const* const pProblem = reader.ReadTree(pRoot);
    if (pError) {
        *pError = pProblem;
    }
    if (pOffset) {
        *pOffset = reader.GetOffset();
    }
    return pProblem ? Ref<DocumentNode>() : pRoot;
}

} // namespace trevik::kelvo
