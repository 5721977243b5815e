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

    DocumentNode(unsigned int nTagID, unsigned int nTypeID);
    ~DocumentNode() override;

    unsigned int GetTagID() const { return m_nTagID; }
    unsigned int GetTypeID() const { return m_nTypeID; }

    /** Appends a raw-bytes entry. False when out of memory or longer than 28 bits can say. */
    bool AddAttribute(unsigned int nID, unsigned char const* pData, unsigned long nLength);
    /** First raw-bytes entry with the id. False when absent or when the block ends before the entry does. */
    bool FindAttribute(unsigned int nID, unsigned char const*& pData, unsigned long& nLength) const;

    /** Appends a child; the node holds a reference. */
    bool AddChild(Ref<DocumentNode> const& pChild);
    unsigned int GetChildCount() const { return m_children.GetCount(); }
    DocumentNode* GetChild(unsigned int nChild) const { return m_children[nChild].Get(); }

    /**
     * Appends the tree's binary form to `bytes`: per node the tag id, the type id, the number of children (32
     * bits each), the attribute block, then the children.
     */
    bool Write(List<unsigned char>& bytes) const;
    /**
     * Reads a tree from `nLength` bytes. Null when a length, a count or the nesting (at most 1024 levels)
     * does not fit the bytes there are, or when bytes are left over; `pError` (if given) then points to a
     * static text that says what is wrong and `pOffset` to the byte where.
     */
    static Ref<DocumentNode> Read(unsigned char const* pData, unsigned long nLength,
                                  char const** pError = nullptr, unsigned long* pOffset = nullptr);

private:
    unsigned int m_nTagID;
    unsigned int m_nTypeID;
    List<unsigned char> m_attributes; ///< the entries, without the header
    List<Ref<DocumentNode>> m_children;
};

} // namespace trevik::kelvo
