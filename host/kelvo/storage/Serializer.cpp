#include "trevik/kelvo/Serializer.h"

#include "SharedKind.h"
#include "trevik/Debug.h"

#include <climits>
#include <new>

namespace trevik::kelvo {

Serializer::Serializer() {
    StartOver();
}

Serializer::~Serializer() = default;

void Serializer::StartOver() {
    m_pRoot = Ref(new (std::nothrow) DocumentNode(0, 0));
    m_stack.Clear();
    m_textures.Clear();
    m_fonts.Clear();
    m_fSharedLost = false;
}

bool Serializer::PushTag(unsigned int nTagID, unsigned int nTypeID) {
    DocumentNode* const pCurrent = GetWritableNode();
    unsigned int const nDepth = m_stack.GetCount() + 1; // of the current node; the root's is 1
    if (!pCurrent || nDepth >= DocumentNode::MaximumDepth || !m_stack.Reserve(m_stack.GetCount() + 1)) {
        return false;
    }
    Ref<DocumentNode> pChild(new (std::nothrow) DocumentNode(nTagID, nTypeID));
    return pCurrent->AddChild(pChild) && m_stack.Append(pChild.Get());
}

void Serializer::PopTag() {
    m_stack.RemoveLast();
}

bool Serializer::WriteAttribute(unsigned int nAttributeID, unsigned char const* pData,
                                unsigned long nLength) {
    DocumentNode* const pCurrent = GetWritableNode();
    return pCurrent && pCurrent->AddAttribute(nAttributeID, pData, nLength);
}

int Serializer::GetTextureIndex(Texture* pTexture) {
    return GetIndex(m_textures, pTexture);
}

int Serializer::GetFontIndex(Font* pFont) {
    return GetIndex(m_fonts, pFont);
}

template <class T>
int Serializer::GetIndex(List<Ref<T>>& shared, T* pObject) {
    if (!pObject) {
        return -1;
    }
    int const nIndex = shared.IndexOf(pObject);
    if (nIndex >= 0) {
        return nIndex;
    }
    if (shared.GetCount() == INT_MAX || !shared.Append(Ref(pObject))) {
        m_fSharedLost = true;
        return -1;
    }
    return static_cast<int>(shared.GetCount()) - 1;
}

Ref<DocumentNode> Serializer::Finish() {
    Ref<DocumentNode> pDocument;
    if (m_pRoot && !m_fSharedLost && SaveShared() && !m_fSharedLost) {
        pDocument = m_pRoot;
    }
    StartOver();
    return pDocument;
}

/** Inserts the tables of shared objects before the other children of the root. */
bool Serializer::SaveShared() {
    Ref<DocumentNode> pTextures(new (std::nothrow) DocumentNode(HashName(SharedKind<Texture>::TableName), 0));
    Ref<DocumentNode> pFonts(new (std::nothrow) DocumentNode(HashName(SharedKind<Font>::TableName), 0));
    if (!pTextures || !pFonts) {
        return false;
    }
    // Saving a texture or font may enter further ones of either kind.
    while (pTextures->GetChildCount() < m_textures.GetCount() ||
           pFonts->GetChildCount() < m_fonts.GetCount()) {
        if (!SaveShared(m_fonts, *pFonts) || !SaveShared(m_textures, *pTextures)) {
            return false;
        }
    }
    return (m_fonts.IsEmpty() || m_pRoot->InsertChild(0, pFonts)) &&
           (m_textures.IsEmpty() || m_pRoot->InsertChild(0, pTextures));
}

/** Saves the objects that are not in the table yet. */
template <class T>
bool Serializer::SaveShared(List<Ref<T>> const& shared, DocumentNode& table) {
    typedef SharedKind<T> Kind;
    while (table.GetChildCount() < shared.GetCount()) {
        unsigned int const nIndex = table.GetChildCount();
        Ref<T> const pObject(shared[nIndex].Get()); // the list may grow meanwhile
        m_stack.Clear();
        if (!m_stack.Append(&table) || !PushTag(Kind::EntryID, Kind::GetTypeID(*pObject)) ||
            !pObject->Save(*this)) {
            Debug::TraceFormat(TraceLevel::Error,
                               u"[kelvo] %s %u cannot be saved, nor can the document that uses it",
                               Kind::Name, nIndex);
            return false;
        }
    }
    return true;
}

} // namespace trevik::kelvo
