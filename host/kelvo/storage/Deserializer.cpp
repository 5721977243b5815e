#include "trevik/kelvo/Deserializer.h"

#include "NodeStorage.h"
#include "SharedKind.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/Hash.h"
#include "trevik/Immortal.h"

namespace trevik::kelvo {

namespace {

/** Stands in where there is no document; it is empty and never changes. */
Ref<DocumentNode> GetEmptyDocument() {
    struct Document {
        Document() : m_pNode(&m_node) {}
        DocumentNode m_node{0, 0};
        Ref<DocumentNode> m_pNode; // keeps others from deleting it
    };
    static Immortal<Document> s_document;
    return s_document.Get().m_pNode;
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
    : m_pDocument(pDocument ? pDocument : GetEmptyDocument()), m_registry(registry),
      m_textures{m_pDocument->FindChild(HashName(SharedKind<Texture>::TableName)), {}},
      m_fonts{m_pDocument->FindChild(HashName(SharedKind<Font>::TableName)), {}} {}

Deserializer::~Deserializer() = default;

bool Deserializer::PushNode(unsigned int nTagID) {
    DocumentNode* const pChild = GetCurrentNode()->FindChild(nTagID);
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
    return GetShared(m_textures, nIndex);
}

Ref<Font> Deserializer::GetFont(int nIndex) {
    return GetShared(m_fonts, nIndex);
}

template <class T>
Ref<T> Deserializer::GetShared(SharedTable<T>& table, int nIndex) {
    unsigned int const nCount = table.m_pNode ? table.m_pNode->GetChildCount() : 0;
    if (nIndex < 0 || static_cast<unsigned int>(nIndex) >= nCount || !table.m_slots.Resize(nCount)) {
        return nullptr;
    }
    SharedSlot<T>& slot = table.m_slots[static_cast<unsigned int>(nIndex)];
    if (!slot.m_fTried) {
        slot.m_fTried = true; // an object that asks for itself while it loads gets none
        slot.m_pObject = LoadShared(table, static_cast<unsigned int>(nIndex));
        if (!slot.m_pObject) {
            Fail(u"%s %d of the document cannot be loaded", SharedKind<T>::Name, nIndex);
        }
    }
    return slot.m_pObject;
}

/** Creates the object of the table's entry `nIndex` and lets it load; null when either fails. */
template <class T>
Ref<T> Deserializer::LoadShared(SharedTable<T> const& table, unsigned int nIndex) {
    typedef SharedKind<T> Kind;
    DocumentNode* const pNode = table.m_pNode->GetChild(nIndex);
    // The type comes from a file: no other class's object must be taken for one of this kind.
    if (pNode->GetTagID() != Kind::EntryID || !Kind::IsType(pNode->GetTypeID())) {
        return nullptr;
    }
    Ref<T> pObject(static_cast<T*>(m_registry.Create(pNode->GetTypeID())));
    List<DocumentNode*> interrupted;
    interrupted.Swap(m_stack);
    bool const fLoaded = pObject && m_stack.Append(table.m_pNode) && m_stack.Append(pNode) &&
                         pObject->Load(*this) && Kind::Initialize(*pObject);
    m_stack.Swap(interrupted);
    return fLoaded ? pObject : Ref<T>();
}

/** Whether the node holds the shared objects of one kind. */
bool Deserializer::IsTable(DocumentNode const* pNode) const {
    return pNode == m_textures.m_pNode || pNode == m_fonts.m_pNode;
}

StringEncoded<UTF16Encoding> Deserializer::GetPath() const {
    StringEncoded<UTF16Encoding> sPath;
    DocumentNode const* pParent = m_pDocument.Get();
    for (DocumentNode const* pNode : m_stack) {
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        StringEncoded<UTF16Encoding> sName;
        bool fNamed = pNode->FindAttribute(NodeID::Name, pData, nLength) && ReadText(pData, nLength, sName);
        if (IsTable(pNode)) {
            sName = pNode == m_fonts.m_pNode ? SharedKind<Font>::TableName : SharedKind<Texture>::TableName;
            fNamed = true;
        }
        if (fNamed || pNode->GetTagID() == NodeID::Node || IsTable(pParent)) {
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
