#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/StringEncoded.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik {
class ClassRegistry;
}

namespace trevik::kelvo {

class Font;
class Texture;

/**
 * Walks a document and gives loaders its attributes. The current node starts at the root. Never reads outside
 * an attribute. One thread at a time.
 */
class TREVIK_API Deserializer {
public:
    /**
     * Reads `pDocument`; scene objects are created through `registry`. Both must outlive the deserializer.
     */
    Deserializer(Ref<DocumentNode> const& pDocument, ClassRegistry& registry);
    ~Deserializer();
    Deserializer(Deserializer const&) = delete;
    Deserializer& operator=(Deserializer const&) = delete;

    /**
     * Makes the first child with the tag current. False, with the current node unchanged, when there is none,
     * or no memory.
     */
    bool PushNode(unsigned int nTagID);
    /**
     * Makes child `nChild` (0 .. GetChildCount() - 1) current; false when there is no such child, or no
     * memory.
     */
    bool PushChild(unsigned int nChild);
    /** Makes the parent of the current node current again. On the root nothing happens. */
    void PopNode();

    /**
     * The node whose attributes are read now; never null. It is not to be changed, and may go when it is
     * popped unless the caller holds a reference.
     */
    DocumentNode* GetCurrentNode() const {
        return m_stack.IsEmpty() ? m_pDocument.Get() : m_stack.Last().m_pNode.Get();
    }
    /** Number of children of the current node. */
    unsigned int GetChildCount() const { return GetCurrentNode()->GetChildCount(); }
    /** The tag of child `nChild` (0 .. GetChildCount() - 1) of the current node. */
    unsigned int GetChildTagID(unsigned int nChild) const { return GetCurrentNode()->GetChildTagID(nChild); }
    /** The type of child `nChild` of the current node. */
    unsigned int GetChildTypeID(unsigned int nChild) const {
        return GetCurrentNode()->GetChildTypeID(nChild);
    }
    /**
     * How many pushes are open; lets a loader return to where it began after a failed load left nodes pushed.
     */
    unsigned int GetDepth() const { return m_stack.GetCount(); }
    /** Pops until GetDepth() equals `nDepth`. */
    void PopTo(unsigned int nDepth);

    /**
     * Finds a raw-bytes attribute of the current node; false when absent. The bytes stay the node's: they
     * hold while it is current, and after that while the caller holds a reference to it.
     */
    bool FindAttribute(unsigned int nAttributeID, unsigned char const*& pData, unsigned long& nLength) const;

    /**
     * Reads an attribute of exactly sizeof(T) bytes; false, with `value` unchanged, when absent or of another
     * length.
     */
    template <class T>
    bool ReadValue(unsigned int nAttributeID, T& value) const {
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        if (!FindAttribute(nAttributeID, pData, nLength) || nLength != sizeof(T)) {
            return false;
        }
        __builtin_memcpy(&value, pData, sizeof(T));
        return true;
    }

    /**
     * The texture under `nIndex` of the document's table, created and loaded on first use; null when there is
     * none, and when it fails to load, which is traced once.
     */
    Ref<Texture> GetTexture(int nIndex);
    /** The same for fonts; a font is also initialized. */
    Ref<Font> GetFont(int nIndex);

    /** The registry that classes of the document are looked up in. */
    ClassRegistry& GetRegistry() const { return m_registry; }

    /**
     * Where in the document the current node stands, for messages: by the names of the scene nodes above, or
     * by its place in a table of shared objects ("/Fonts/#1").
     */
    StringEncoded<UTF16Encoding> GetPath() const;
    /**
     * Notes why the document cannot be loaded (UTF16Encoding::FormatV), with the current path, traces it, and
     * returns false. Loaders call it where they detect a fault; of one fault only this first note counts, so
     * those further up may call it too.
     */
    bool Fail(char16_t const* pFormat, ...);
    /** What Fail noted: path and reason in one line; empty when nothing has failed. */
    StringEncoded<UTF16Encoding> const& GetError() const { return m_sError; }

private:
    /** A node that has been pushed. */
    struct Level {
        Ref<DocumentNode> m_pNode;
        unsigned int m_nChild; ///< which child of the one before it is
    };
    /** One entry of a table of shared objects. */
    template <class T>
    struct SharedSlot {
        Ref<T> m_pObject;
        bool m_fTried = false; ///< loaded, being loaded, or failed
    };
    /** The objects of one kind that several others share. */
    template <class T>
    struct SharedTable {
        DocumentNode* m_pNode;       ///< a child of the document's topmost node; null when there is none
        List<SharedSlot<T>> m_slots; ///< one for each child of the node, from the first use on
    };

    template <class T>
    Ref<T> GetShared(SharedTable<T>& table, int nIndex);
    template <class T>
    Ref<T> LoadShared(SharedTable<T> const& table, unsigned int nIndex);
    bool IsTable(DocumentNode const* pNode) const;

    Ref<DocumentNode> m_pDocument;
    ClassRegistry& m_registry;
    List<Level> m_stack;              ///< without the root
    List<Ref<DocumentNode>> m_popped; ///< by level, a node that nobody else refers to; it may become the next
    SharedTable<Texture> m_textures;
    SharedTable<Font> m_fonts;
    StringEncoded<UTF16Encoding> m_sError;
};

} // namespace trevik::kelvo
