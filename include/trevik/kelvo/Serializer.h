#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik::kelvo {

class Font;
class Texture;

/**
 * Writes scene objects into a document. Tags nest: between PushTag and PopTag attributes go to the pushed
 * tag. Objects that several others share (textures, fonts) are written once and referred to by index. One
 * thread at a time.
 */
class TREVIK_API Serializer {
public:
    /** Starts an empty document; its root has tag 0 and type 0. */
    Serializer();
    ~Serializer();
    Serializer(Serializer const&) = delete;
    Serializer& operator=(Serializer const&) = delete;

    /**
     * Appends a child node (tag, type) to the current one and makes it current. False, with nothing changed,
     * when out of memory or below more than DocumentNode::MaximumDepth levels.
     */
    bool PushTag(unsigned int nTagID, unsigned int nTypeID);
    /** Makes the parent of the current node current again. On the root nothing happens. */
    void PopTag();
    /**
     * Appends a raw-bytes attribute to the current node. False when out of memory or `nLength` exceeds 28
     * bits.
     */
    bool WriteAttribute(unsigned int nAttributeID, unsigned char const* pData, unsigned long nLength);

    /** Writes a plain value's bytes as an attribute. */
    template <class T>
    bool WriteValue(unsigned int nAttributeID, T const& value) {
        return WriteAttribute(nAttributeID, reinterpret_cast<unsigned char const*>(&value), sizeof(T));
    }

    /** The node that attributes go to now; null only when there was no memory for the root. */
    DocumentNode const* GetCurrentNode() const { return GetWritableNode(); }

    /**
     * Index under which the document refers to `pTexture`; enters it on first use and holds a reference until
     * Finish. -1 for null, and without memory, when Finish then fails.
     */
    int GetTextureIndex(Texture* pTexture);
    /** The same for a font; the textures of its glyphs are entered when it is saved. */
    int GetFontIndex(Font* pFont);

    /**
     * The finished document; the serializer then starts over with an empty one. A document with shared
     * textures begins with a child "Textures" that has one child "Texture" for each, in the order of their
     * indices; then comes the same for fonts, "Fonts" with children "Font", whose types are the ids that the
     * fonts' classes are registered under. Null, traced, when one of them refused to be saved, and when
     * memory is short.
     */
    Ref<DocumentNode> Finish();

private:
    void StartOver();
    DocumentNode* GetWritableNode() const { return m_stack.IsEmpty() ? m_pRoot.Get() : m_stack.Last(); }
    template <class T>
    int GetIndex(List<Ref<T>>& shared, T* pObject);
    bool SaveShared();
    template <class T>
    bool SaveShared(List<Ref<T>> const& shared, DocumentNode& table);

    Ref<DocumentNode> m_pRoot;
    List<DocumentNode*> m_stack; ///< pushed nodes, without the root
    List<Ref<Texture>> m_textures;
    List<Ref<Font>> m_fonts;
    bool m_fSharedLost = false; ///< one could not be entered: its users would be saved without it
};

} // namespace trevik::kelvo
