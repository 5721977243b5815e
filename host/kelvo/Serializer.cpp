#include "trevik/kelvo/Serializer.h"

#include <climits>
#include <new>

#include "trevik/Debug.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Texture.h"

namespace trevik::kelvo {

Serializer::Serializer() {
    StartOver();
}

Serializer::~Serializer() = default;

void Serializer::StartOver() {
    m_pRoot = new (std::nothrow) DocumentNode(0, 0);
    m_stack.Clear();
    m_textures.Clear();
    m_fTextureLost = false;
}

/** Null only when there was no memory for the root. */
DocumentNode* Serializer::GetCurrentNode() const {
    return m_stack.IsEmpty() ? m_pRoot.Get() : m_stack.Last();
}

bool Serializer::PushTag(unsigned int nTagID, unsigned int nTypeID) {
    DocumentNode* const pCurrent = GetCurrentNode();
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
    DocumentNode* const pCurrent = GetCurrentNode();
    return pCurrent && pCurrent->AddAttribute(nAttributeID, pData, nLength);
}

int Serializer::GetTextureIndex(Texture* pTexture) {
    if (!pTexture) {
        return -1;
    }
    int const nIndex = m_textures.IndexOf(pTexture);
    if (nIndex >= 0) {
        return nIndex;
    }
    if (m_textures.GetCount() == INT_MAX || !m_textures.Append(pTexture)) {
        m_fTextureLost = true;
        return -1;
    }
    return static_cast<int>(m_textures.GetCount()) - 1;
}

Ref<DocumentNode> Serializer::Finish() {
    Ref<DocumentNode> pDocument;
    if (m_pRoot && !m_fTextureLost && SaveTextures()) {
        pDocument = m_pRoot;
    }
    StartOver();
    return pDocument;
}

bool Serializer::SaveTextures() {
    if (m_textures.IsEmpty()) {
        return true;
    }
    Ref<DocumentNode> pTable(new (std::nothrow) DocumentNode(HashName("Textures"), 0));
    if (!m_pRoot->InsertChild(0, pTable)) {
        return false;
    }
    // By index: saving a texture may enter further ones.
    for (unsigned int nTexture = 0; nTexture < m_textures.GetCount(); ++nTexture) {
        if (!SaveTexture(nTexture, pTable)) {
            Debug::TraceFormat(TraceLevel::Error,
                               u"[kelvo] Texture %u cannot be saved, nor can the document that uses it",
                               nTexture);
            return false;
        }
    }
    return true;
}

bool Serializer::SaveTexture(unsigned int nTexture, Ref<DocumentNode> const& pTable) {
    Ref<Texture> const pTexture = m_textures[nTexture];
    m_stack.Clear();
    return m_stack.Append(pTable.Get()) && PushTag(HashName("Texture"), HashName("Texture")) &&
           pTexture->Save(*this);
}

} // namespace trevik::kelvo
