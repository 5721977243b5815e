#include "trevik/kelvo/Deserializer.h"

#include "NodeStorage.h"
#include "SharedKind.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/Hash.h"
#include "trevik/Immortal.h"

#include <utility>

namespace trevik::kelvo {

namespace {

/** Bytes of attributes up to which nodes are used again. */
constexpr unsigned int LargestSpare = 4096;

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

/** Number of children with the same tag that stand before child `nChild`. */
int CountBefore(DocumentNode const& parent, unsigned int nChild) {
    int nCount = 0;
    for (unsigned int nBefore = 0; nBefore < nChild; ++nBefore) {
        nCount += parent.GetChildTagID(nBefore) == parent.GetChildTagID(nChild) ? 1 : 0;
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
    return PushChild(GetCurrentNode()->FindChildIndex(nTagID));
}

bool Deserializer::PushChild(unsigned int nChild) {
    if (nChild >= GetChildCount()) {
        return false;
    }
    unsigned int const nLevel = m_stack.GetCount();
    Ref<DocumentNode> pNone;
    // Stays where it is unless it becomes the child.
    Ref<DocumentNode>& pSpare = nLevel < m_popped.GetCount() ? m_popped[nLevel] : pNone;
    Ref<DocumentNode> pChild = GetCurrentNode()->ReadChild(nChild, std::move(pSpare));
    return pChild && m_stack.Append(Level{std::move(pChild), nChild});
}

void Deserializer::PopNode() {
    if (m_stack.IsEmpty()) {
        return;
    }
    unsigned int const nLevel = m_stack.GetCount() - 1;
    Ref<DocumentNode>& pNode = m_stack.Last().m_pNode;
    // A large one, such as a texture, would keep its memory until another one of its level comes.
    if (pNode->GetReferenceCount() == 1 && pNode->m_attributes.GetCapacity() <= LargestSpare &&
        (nLevel < m_popped.GetCount() || m_popped.Resize(nLevel + 1))) {
        pNode.Swap(m_popped[nLevel]);
    }
    m_stack.RemoveLast();
}

void Deserializer::PopTo(unsigned int nDepth) {
    while (m_stack.GetCount() > nDepth) {
        PopNode();
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
    unsigned int const nTypeID = table.m_pNode->GetChildTypeID(nIndex);
    // The type comes from a file: no other class's object must be taken for one of this kind.
    if (table.m_pNode->GetChildTagID(nIndex) != Kind::EntryID || !Kind::IsType(nTypeID)) {
        return nullptr;
    }
    Ref<T> pObject(static_cast<T*>(m_registry.Create(nTypeID)));
    List<Level> interrupted;
    interrupted.Swap(m_stack);
    bool const fLoaded = pObject && m_stack.Append(Level{Ref(table.m_pNode), 0}) && PushChild(nIndex) &&
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
    for (Level const& level : m_stack) {
        DocumentNode const* const pNode = level.m_pNode.Get();
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        StringEncoded<UTF16Encoding> sName;
        bool fNamed = pNode->FindAttribute(NodeID::Name, pData, nLength) && ReadText(pData, nLength, sName);
        if (IsTable(pNode)) {
            sName = pNode == m_fonts.m_pNode ? SharedKind<Font>::TableName : SharedKind<Texture>::TableName;
            fNamed = true;
        }
        if (fNamed || pNode->GetTagID() == NodeID::Node || IsTable(pParent)) {
            AppendPathStep(sPath, sName, CountBefore(*pParent, level.m_nChild));
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
