#include "trevik/kelvo/Deserializer.h"

#include "NodeStorage.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Texture.h"

namespace trevik::kelvo {

namespace {

DocumentNode* FindChild(DocumentNode const& node, unsigned int nTagID) {
    for (unsigned int nChild = 0; nChild < node.GetChildCount(); ++nChild) {
        if (node.GetChild(nChild)->GetTagID() == nTagID) {
            return node.GetChild(nChild);
        }
    }
    return nullptr;
}

/** Number of children with the same tag that stand before `node`. */
int CountBefore(DocumentNode const& parent, DocumentNode const& node) {
    int nCount = 0;
    for (unsigned int nChild = 0; nChild < parent.GetChildCount() && parent.GetChild(nChild) != &node;
         ++nChild) {
        nCount += parent.GetChild(nChild)->GetTagID() == node.GetTagID() ? 1 : 0;
    }
    return nCount;
}

} // namespace

Deserializer::Deserializer(Ref<DocumentNode> const& pDocument, ClassRegistry& registry)
    : m_pDocument(pDocument ? pDocument : Ref<DocumentNode>(new DocumentNode(0, 0))), m_registry(registry),
      m_pTextureTable(FindChild(*m_pDocument, HashName("Textures"))) {}

Deserializer::~Deserializer() = default;

bool Deserializer::PushNode(unsigned int nTagID) {
    DocumentNode* const pChild = FindChild(*GetCurrentNode(), nTagID);
    return pChild && m_stack.Append(pChild);
}

bool Deserializer::PushChild(unsigned int nChild) {
    return nChild < GetChildCount() && m_stack.Append(GetCurrentNode()->GetChild(nChild));
}

void Deserializer::PopNode() {
    m_stack.RemoveLast();
}

DocumentNode* Deserializer::GetCurrentNode() const {
    return m_stack.IsEmpty() ? m_pDocument.Get() : m_stack.Last();
}

unsigned int Deserializer::GetChildCount() const {
    return GetCurrentNode()->GetChildCount();
}

void Deserializer::PopTo(unsigned int nDepth) {
    while (m_stack.GetCount() > nDepth) {
        m_stack.RemoveLast();
    }
}

bool Deserializer::FindAttribute(unsigned int nAttributeID, unsigned char const*& pData,
                                 unsigned long& nLength) const {
    return GetCurrentNode()->FindAttribute(nAttributeID, pData, nLength);
}

Ref<Texture> Deserializer::GetTexture(int nIndex) {
    unsigned int const nCount = m_pTextureTable ? m_pTextureTable->GetChildCount() : 0;
    if (nIndex < 0 || static_cast<unsigned int>(nIndex) >= nCount || !m_textures.Resize(nCount)) {
        return nullptr;
    }
    TextureSlot& slot = m_textures[static_cast<unsigned int>(nIndex)];
    if (!slot.m_fTried) {
        slot.m_fTried = true; // a texture that asks for itself while it loads gets none
        slot.m_pTexture = LoadTexture(static_cast<unsigned int>(nIndex));
        if (!slot.m_pTexture) {
            Fail(u"texture %d of the document cannot be loaded", nIndex);
        }
    }
    return slot.m_pTexture;
}

/** Creates the texture of the table's entry `nIndex` and lets it load; null when either fails. */
Ref<Texture> Deserializer::LoadTexture(unsigned int nIndex) {
    DocumentNode* const pNode = m_pTextureTable->GetChild(nIndex);
    // The type comes from a file: no other class's object must be taken for a texture.
    constexpr unsigned int nTextureID = HashName("Texture");
    if (pNode->GetTagID() != nTextureID || pNode->GetTypeID() != nTextureID) {
        return nullptr;
    }
    Ref<Texture> pTexture(static_cast<Texture*>(m_registry.Create(nTextureID)));
    List<DocumentNode*> interrupted;
    interrupted.Swap(m_stack);
    bool const fLoaded =
        pTexture && m_stack.Append(m_pTextureTable) && m_stack.Append(pNode) && pTexture->Load(*this);
    m_stack.Swap(interrupted);
    return fLoaded ? pTexture : Ref<Texture>();
}

StringEncoded<UTF16Encoding> Deserializer::GetPath() const {
    StringEncoded<UTF16Encoding> sPath;
    DocumentNode const* pParent = m_pDocument.Get();
    for (DocumentNode const* pNode : m_stack) {
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        StringEncoded<UTF16Encoding> sName;
        bool const fNamed =
            pNode->FindAttribute(NodeID::Name, pData, nLength) && ReadText(pData, nLength, sName);
        if (fNamed || pNode->GetTagID() == NodeID::Node) {
            AppendPathStep(sPath, sName, CountBefore(*pParent, *pNode));
        }
        pParent = pNode;
    }
    return sPath;
}

bool Deserializer::Fail(char16_t const* pFormat, ...) {
    if (m_sError.IsEmpty()) {
        va_list arguments;
        va_start(arguments, pFormat);
        m_sError = GetPath();
        m_sError += StringEncoded<UTF16Encoding>::FromLiteral(u": cannot be loaded: ");
        m_sError += StringEncoded<UTF16Encoding>::FormatV(pFormat, arguments);
        va_end(arguments);
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s", m_sError.GetData());
    }
    return false;
}

} // namespace trevik::kelvo
