#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik::kelvo {

class Texture;

/**
 * Writes scene objects into a document. Tags nest: between PushTag and PopTag attributes go to the pushed
 * tag. Objects that several others share (textures) are written once and referred to by index. One thread at
 * a time.
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

    /**
     * Index under which the document refers to `pTexture`; enters it on first use. -1 for null, and without
     * memory, when Finish then fails.
     */
    int GetTextureIndex(Texture* pTexture);

    /**
     * The finished document; the serializer then starts over with an empty one. A document with shared
     * textures begins with a child "Textures" that has one child "Texture" for each, in the order of their
     * indices. Null, traced, when a texture refused to be saved or memory is short.
     */
    Ref<DocumentNode> Finish();

private:
    void StartOver();
    DocumentNode* GetCurrentNode() const;
    bool SaveTextures();
    bool SaveTexture(unsigned int nTexture, Ref<DocumentNode> const& pTable);

    Ref<DocumentNode> m_pRoot;
    List<DocumentNode*> m_stack; ///< pushed nodes, without the root
    List<Ref<Texture>> m_textures;
    bool m_fTextureLost = false; ///< one could not be entered: its users would be saved without it
};

} // namespace trevik::kelvo
