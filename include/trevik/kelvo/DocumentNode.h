#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

/**
 * One node of a saved document: a tag id, a type id, an attribute block and children.
 *
 * The attribute block is a 32-bit header whose upper 28 bits are the length in bytes of what follows, then
 * entries: a 32-bit word (upper 28 bits: data length in bytes; low 4 bits: kind, 2 = raw bytes), a 32-bit id,
 * and the data padded with zeros to a multiple of 4. All words are little-endian.
 */
class TREVIK_API DocumentNode : public Referenced {
public:
    /** Kind of an attribute that holds raw bytes. */
    static constexpr unsigned int RawBytes = 2;
    /** Bytes that a node's attribute block can hold. */
    static constexpr unsigned int MaximumBlockLength = 0x0fffffff;
    /** Levels that a document may have, the root included. */
    static constexpr unsigned int MaximumDepth = 1024;

    /** A node without attributes and children. */
    DocumentNode(unsigned int nTagID, unsigned int nTypeID);
    ~DocumentNode() override;

    /** What the node is, as the hash of a name. */
    unsigned int GetTagID() const { return m_nTagID; }
    /** Which of its kind it is, as the hash of a name; 0 for tags without types. */
    unsigned int GetTypeID() const { return m_nTypeID; }

    /**
     * Appends a raw-bytes entry. False, with nothing changed, when out of memory or when the block would
     * become longer than 28 bits can say. Pointers to attribute data end.
     */
    bool AddAttribute(unsigned int nID, unsigned char const* pData, unsigned long nLength);
    /**
     * First raw-bytes entry with the id; its data holds until an attribute is added. False when absent or
     * when the block ends before the entry does.
     */
    bool FindAttribute(unsigned int nID, unsigned char const*& pData, unsigned long& nLength) const;

    /** Appends a child; the node holds a reference. */
    bool AddChild(Ref<DocumentNode> const& pChild);
    /** The same, before child `nChild` (at most the number of children). */
    bool InsertChild(unsigned int nChild, Ref<DocumentNode> const& pChild);
    /** The number of children. */
    unsigned int GetChildCount() const { return m_children.GetCount(); }
    /** Child `nChild` (0 .. GetChildCount() - 1), borrowed. */
    DocumentNode* GetChild(unsigned int nChild) const { return m_children[nChild].Get(); }
    /** The first child with the tag, or null. */
    DocumentNode* FindChild(unsigned int nTagID) const {
        for (Ref<DocumentNode> const& pChild : m_children) {
            if (pChild->GetTagID() == nTagID) {
                return pChild.Get();
            }
        }
        return nullptr;
    }

    /**
     * Appends the tree's binary form to `bytes`: per node the tag id, the type id, the number of children (32
     * bits each), the attribute block, then the children. False, with `bytes` unchanged, when out of memory
     * or deeper than MaximumDepth.
     */
    bool Write(List<unsigned char>& bytes) const;
    /**
     * Reads a tree from `nLength` bytes. Null when a length or a count does not fit the bytes there are, when
     * the nesting exceeds MaximumDepth, when bytes are left over, or when out of memory; `pError` (if given)
     * then points to a static text that says what is wrong and `pOffset` to the byte where.
     */
    static Ref<DocumentNode> Read(unsigned char const* pData, unsigned long nLength,
                                  char const** pError = nullptr, unsigned long* pOffset = nullptr);

private:
    class TreeReader;

    bool WriteNode(List<unsigned char>& bytes, unsigned int nDepth) const;

    unsigned int m_nTagID;
    unsigned int m_nTypeID;
    List<unsigned char> m_attributes; ///< the entries, without the header
    List<Ref<DocumentNode>> m_children;
};

} // namespace trevik::kelvo
