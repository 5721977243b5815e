#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

class PackedDocument;

/**
 * One node of a saved document: a tag id, a type id, an attribute block and children.
 *
 * The attribute block is a 32-bit header whose upper 28 bits are the length in bytes of what follows, then
 * entries: a 32-bit word (upper 28 bits: data length in bytes; low 4 bits: kind, 2 = raw bytes), a 32-bit id,
 * and the data padded with zeros to a multiple of 4. All words are little-endian.
 *
 * Children that came out of a packed file are made when they are asked for.
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
    unsigned int GetChildCount() const { return m_children.GetCount() + m_packedChildren.GetCount(); }
    /**
     * Child `nChild` (0 .. GetChildCount() - 1), borrowed. From then on the node holds all its children. Null
     * only when they have been packed so far and memory is short.
     */
    DocumentNode* GetChild(unsigned int nChild) const {
        return m_packedChildren.IsEmpty() || Unpack() ? m_children[nChild].Get() : nullptr;
    }
    /** The tag of child `nChild`; unpacks nothing. */
    unsigned int GetChildTagID(unsigned int nChild) const {
        return m_packedChildren.IsEmpty() ? m_children[nChild]->GetTagID() : GetPackedTagID(nChild);
    }
    /** The type of child `nChild`; unpacks nothing. */
    unsigned int GetChildTypeID(unsigned int nChild) const {
        return m_packedChildren.IsEmpty() ? m_children[nChild]->GetTypeID() : GetPackedTypeID(nChild);
    }
    /** The index of the first child with the tag; the number of children when there is none. */
    unsigned int FindChildIndex(unsigned int nTagID) const {
        unsigned int nChild = 0;
        while (nChild < GetChildCount() && GetChildTagID(nChild) != nTagID) {
            ++nChild;
        }
        return nChild;
    }
    /** The first child with the tag, or null. */
    DocumentNode* FindChild(unsigned int nTagID) const {
        unsigned int const nChild = FindChildIndex(nTagID);
        return nChild < GetChildCount() ? GetChild(nChild) : nullptr;
    }
    /**
     * Child `nChild`, to be read and not to be changed: one that is packed is made for the caller alone, or
     * for all places that it stands at, and the node does not hold it. `pSpare`, where that is the only
     * reference to a node, may become it, which saves allocations. Null without memory.
     */
    Ref<DocumentNode> ReadChild(unsigned int nChild, Ref<DocumentNode>&& pSpare = nullptr) const;

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
    friend class Deserializer;
    friend class DocumentPacker;
    friend class PackedDocument;
    class TreeReader;

    unsigned char* ExtendAttributes(unsigned int nMore);
    bool Unpack() const;
    unsigned int GetPackedTagID(unsigned int nChild) const;
    unsigned int GetPackedTypeID(unsigned int nChild) const;
    bool WriteNode(List<unsigned char>& bytes, unsigned int nDepth) const;

    unsigned int m_nTagID;
    unsigned int m_nTypeID;
    List<unsigned char> m_attributes; ///< the entries, without the header
    mutable List<Ref<DocumentNode>> m_children;
    mutable List<unsigned int> m_packedChildren; ///< while they are packed: their places in m_pPacked
    mutable Ref<PackedDocument> m_pPacked;       ///< null once no child is packed
};

} // namespace trevik::kelvo
