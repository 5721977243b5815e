#include "trevik/kelvo/Node.h"

#include "kelvo/storage/NodeStorage.h"
#include "trevik/Debug.h"
#include "trevik/Memory.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Timeline.h"
#include "trevik/kelvo/TransformNode.h"

#include <algorithm>
#include <new>

namespace trevik::kelvo {

namespace {

void TraceRefusedChild(Node const& parent, char16_t const* pReason) {
    Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: the node to attach %s", parent.GetPath().GetData(),
                       pReason);
}

} // namespace

Node::Node()
    : m_fSeen(false), m_fPlainUpdate(false), m_fPlainEntry(false), m_fFlattensSubtree(false),
      m_fHasTransform(false) {}

Node::Node(Node const& other) : Node() {
    m_sName = other.m_sName;
}

NodeUserdata::~NodeUserdata() = default;

struct Node::Extras {
    Ref<NodeUserdata> m_pUserdata;
    Node* m_pHeld = nullptr;        ///< the node that this one keeps alive besides its children
    Node* m_pFirstHolder = nullptr; ///< the first node that keeps this one alive in that way
    Node* m_pNextHolder = nullptr;  ///< the next node that keeps m_pHeld alive
    Node* m_pSharedSpace = nullptr; ///< see SetSharedSpace

    static void* operator new(std::size_t nBytes, std::nothrow_t const&) noexcept {
        return AllocateMemory(nBytes);
    }
    static void operator delete(void* pMemory, std::nothrow_t const&) noexcept { FreeMemory(pMemory); }
    static void operator delete(void* pMemory) noexcept { FreeMemory(pMemory); }
};

Node::~Node() {
    ReleaseChildren();
    delete m_pExtras;
}

/** False without memory. */
bool Node::NeedExtras() {
    if (!m_pExtras) {
        m_pExtras = new (std::nothrow) Extras;
    }
    return m_pExtras != nullptr;
}

Node* Node::GetHeld() const {
    return m_pExtras ? m_pExtras->m_pHeld : nullptr;
}

Node* Node::GetFirstHolder() const {
    return m_pExtras ? m_pExtras->m_pFirstHolder : nullptr;
}

/** What SetSharedSpace was given last. */
Node* Node::GetSharedSpace() const {
    return m_pExtras ? m_pExtras->m_pSharedSpace : nullptr;
}

/** Keeps a node without a transform whose space this one stands in for a while; none without memory. */
void Node::SetSharedSpace(Node* pSpace) {
    if (m_pExtras || (pSpace && NeedExtras())) {
        m_pExtras->m_pSharedSpace = pSpace;
    }
}

TransformNode* Node::GetTransformNode() const {
    return m_fHasTransform ? static_cast<TransformNode*>(const_cast<Node*>(this)) : nullptr;
}

void Node::ReleaseChildren() {
    // All of them first: objects that are deleted with one child may look at the other children.
    for (Node* pChild : m_children) {
        pChild->SetParent(nullptr);
    }
    while (!m_children.IsEmpty()) {
        Node* const pChild = m_children.Last();
        m_children.RemoveLast();
        pChild->ReleaseReference();
    }
}

void Node::Reset() {
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        m_children[nChild]->Reset();
    }
}

void Node::SetUserData(Ref<NodeUserdata> const& pUserdata) {
    if (m_pExtras || (pUserdata && NeedExtras())) {
        m_pExtras->m_pUserdata = pUserdata;
    }
}

NodeUserdata* Node::GetUserData() {
    return m_pExtras ? m_pExtras->m_pUserdata.Get() : nullptr;
}

NodeUserdata const* Node::GetUserData() const {
    return m_pExtras ? m_pExtras->m_pUserdata.Get() : nullptr;
}

bool Node::CanAttach(Node const* pChild) const {
    if (!pChild) {
        TraceRefusedChild(*this, u"is null");
        return false;
    }
    if (IsKeptBy(*pChild)) {
        TraceRefusedChild(*this, u"is this node itself or keeps it alive");
        return false;
    }
    if (pChild->m_pParent != this && !HasRoomBelow(*pChild)) {
        TraceRefusedChild(*this, u"would lie too deep");
        return false;
    }
    return true;
}

char16_t const* Node::PrepareHold(Node& node) {
    if (IsKeptBy(node)) {
        return u"keeps it alive";
    }
    if (!node.m_pParent && !HasRoomBelow(node)) {
        return u"would lie too deep";
    }
    return NeedExtras() && node.NeedExtras() ? nullptr : u"finds no memory";
}

/**
 * Whether this node is `node`, or is kept alive by it, directly or through others. Also true when there is no
 * memory to find out.
 */
bool Node::IsKeptBy(Node const& node) const {
    bool fHeld = false;
    for (Node const* pNode = this; pNode; pNode = pNode->m_pParent) {
        if (pNode == &node) {
            return true;
        }
        fHeld = fHeld || pNode->GetFirstHolder();
    }
    if (!fHeld || (node.m_children.IsEmpty() && !node.GetHeld())) {
        return false;
    }
    // Several ways may lead up to a node, as from a camera below its timeline: each node is looked at once.
    List<Node const*> seen;
    auto const see = [&seen](Node const* pNode) {
        if (!pNode || pNode->m_fSeen) {
            return true;
        }
        pNode->m_fSeen = seen.Append(pNode);
        return pNode->m_fSeen;
    };
    bool fKept = !see(this);
    for (unsigned int nSeen = 0; nSeen < seen.GetCount() && !fKept; ++nSeen) {
        Node const* const pNode = seen[nSeen];
        fKept = pNode == &node || !see(pNode->m_pParent);
        for (Node const* pHolder = pNode->GetFirstHolder(); pHolder && !fKept;
             pHolder = pHolder->m_pExtras->m_pNextHolder) {
            fKept = !see(pHolder);
        }
    }
    for (Node const* pNode : seen) {
        pNode->m_fSeen = false;
    }
    return fKept;
}

/** Whether the tree stays within MaximumDepth when `node` comes below this one. */
bool Node::HasRoomBelow(Node const& node) const {
    return CountLevelsAbove() + node.CountLevelsBelow() <= MaximumDepth;
}

/**
 * Levels from the top of the tree down to this node, itself included. Nodes that hold the top are above it.
 */
unsigned int Node::CountLevelsAbove() const {
    unsigned int nLevels = 1;
    Node const* pTop = this;
    for (; pTop->m_pParent; pTop = pTop->m_pParent) {
        ++nLevels;
    }
    unsigned int nAbove = 0;
    for (Node const* pHolder = pTop->GetFirstHolder(); pHolder; pHolder = pHolder->m_pExtras->m_pNextHolder) {
        nAbove = std::max(nAbove, pHolder->CountLevelsAbove());
    }
    return nAbove + nLevels;
}

/** Levels from this node down, itself included. */
unsigned int Node::CountLevelsBelow() const {
    Node const* const pHeld = GetHeld();
    unsigned int nBelow = pHeld && !pHeld->m_pParent ? pHeld->CountLevelsBelow() : 0;
    for (Node const* pChild : m_children) {
        nBelow = std::max(nBelow, pChild->CountLevelsBelow());
    }
    return nBelow + 1;
}

void Node::NoteHeld(Node* pNode) {
    if (!m_pExtras) {
        return; // it has never held one, and gets none
    }
    if (Node const* const pFormer = m_pExtras->m_pHeld) {
        Node** ppHolder = &pFormer->m_pExtras->m_pFirstHolder;
        while (*ppHolder != this) {
            ppHolder = &(*ppHolder)->m_pExtras->m_pNextHolder;
        }
        *ppHolder = m_pExtras->m_pNextHolder;
    }
    m_pExtras->m_pHeld = pNode;
    m_pExtras->m_pNextHolder = nullptr;
    if (pNode) {
        m_pExtras->m_pNextHolder = pNode->m_pExtras->m_pFirstHolder;
        pNode->m_pExtras->m_pFirstHolder = this;
    }
}

void Node::Attach(Node* pChild) {
    if (CanAttach(pChild)) {
        InsertChild(m_children.GetCount(), pChild);
    }
}

void Node::AttachBefore(Node* pChild, Node* pSibling) {
    if (CanAttach(pChild)) {
        int const nSibling = m_children.IndexOf(pSibling);
        InsertChild(nSibling < 0 ? m_children.GetCount() : static_cast<unsigned int>(nSibling), pChild);
    }
}

void Node::AttachAfter(Node* pChild, Node* pSibling) {
    if (CanAttach(pChild)) {
        int const nSibling = m_children.IndexOf(pSibling);
        InsertChild(nSibling < 0 ? m_children.GetCount() : static_cast<unsigned int>(nSibling) + 1, pChild);
    }
}

void Node::Detach(Node* pChild) {
    if (pChild && pChild->m_pParent == this) {
        RemoveChild(static_cast<unsigned int>(m_children.IndexOf(pChild)));
    }
}

void Node::SetParent(Node* pParent) {
    m_pParent = pParent;
    m_nParentVersion = 0;
    if (TransformNode* const pTransform = GetTransformNode()) {
        pTransform->SetSpace(pParent);
    }
}

/** Makes `pChild` the child before the one at `nIndex`, or the last one. */
void Node::InsertChild(unsigned int nIndex, Node* pChild) {
    Node* const pOldParent = pChild->m_pParent;
    if (pOldParent == this) {
        MoveChild(static_cast<unsigned int>(m_children.IndexOf(pChild)), nIndex);
        return;
    }
    if (!m_children.Insert(nIndex, pChild)) {
        TraceRefusedChild(*this, u"finds no memory");
        return;
    }
    pChild->AddReference(); // before the old parent drops its own
    if (pOldParent) {
        pOldParent->RemoveChild(static_cast<unsigned int>(pOldParent->m_children.IndexOf(pChild)));
    }
    pChild->SetParent(this);
    MarkSubtreeChanged();
}

/** Puts the child at `nFrom` before the one at `nTo`, or at the end. */
void Node::MoveChild(unsigned int nFrom, unsigned int nTo) {
    Node* const pChild = m_children[nFrom];
    for (; nFrom + 1 < nTo; ++nFrom) {
        m_children[nFrom] = m_children[nFrom + 1];
    }
    for (; nFrom > nTo; --nFrom) {
        m_children[nFrom] = m_children[nFrom - 1];
    }
    m_children[nFrom] = pChild;
    MarkSubtreeChanged();
}

void Node::RemoveChild(unsigned int nIndex) {
    Node* const pChild = m_children[nIndex];
    m_children.RemoveAt(nIndex);
    pChild->SetParent(nullptr);
    MarkSubtreeChanged();
    pChild->ReleaseReference();
}

void Node::MarkSubtreeChanged() {
    Node* pNode = this;
    while (pNode && !pNode->m_fSubtreeChanged) {
        pNode->m_fSubtreeChanged = true;
        pNode = pNode->m_fUpdatesSubtree ? nullptr : pNode->m_pParent;
    }
}

void Node::Update(GraphicsDevice& device, RealFloat const& frame) {
    Update(device, frame, RealFloat(0), false);
}

void Node::Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) {
    EnsureRegistered();
    InternalUpdate(device, frame, delta, fForce);
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        m_children[nChild]->Update(device, frame, delta, fForce);
    }
}

bool Node::Save(Serializer& serializer) {
    if (!SaveText(serializer, NodeID::Name, m_sName) || !InternalSave(serializer)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: the node cannot be saved", GetPath().GetData());
        return false;
    }
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        if (!SaveNode(serializer, NodeID::Node, *m_children[nChild])) {
            return false;
        }
    }
    return true;
}

bool Node::Load(Deserializer& deserializer) {
    if (!LoadText(deserializer, NodeID::Name, m_sName)) {
        return deserializer.Fail(u"its name is no UTF-16 text");
    }
    if (!InternalLoad(deserializer)) {
        return deserializer.Fail(u"its own data does not fit");
    }
    for (unsigned int nChild = 0; nChild < deserializer.GetChildCount(); ++nChild) {
        if (deserializer.GetChildTagID(nChild) != NodeID::Node) {
            continue;
        }
        Ref<Node> const pChild = LoadNode(deserializer, nChild);
        if (!pChild) {
            return false;
        }
        Attach(pChild.Get());
        if (pChild->GetParent() != this) {
            return deserializer.Fail(u"a child cannot be attached");
        }
    }
    return true;
}

void Node::Reload() {
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        m_children[nChild]->Reload();
    }
}

void Node::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(GetClassSize(), MemoryType::Object);
    pTracer->EmitAllocation(m_sName.GetLength() * static_cast<unsigned int>(sizeof(char16_t)),
                            MemoryType::Text);
    GetProperties().Emit(pTracer);
    for (Node* pChild : m_children) {
        pTracer->EmitObject(pChild);
    }
}

void Node::GetParents(Node* pRoot, List<Ref<Node>>& parents) {
    for (Node* pNode = this; pNode != pRoot && pNode->m_pParent; pNode = pNode->m_pParent) {
        parents.Append(Ref(pNode->m_pParent));
    }
}

void Node::InternalRender(GraphicsDevice&) {}

void Node::InternalSelect(GraphicsDevice&) {}

Node* Node::FindNode(StringEncoded<UTF16Encoding> const& sName) {
    List<Node*> pending;
    pending.Append(this);
    while (!pending.IsEmpty()) {
        Node* const pNode = pending.Last();
        if (pNode->m_sName == sName) {
            return pNode;
        }
        pending.RemoveLast();
        for (unsigned int nChild = pNode->m_children.GetCount(); nChild-- > 0;) {
            pending.Append(pNode->m_children[nChild]);
        }
    }
    return nullptr;
}

StringEncoded<UTF16Encoding> Node::GetPath() const {
    List<Node const*> path;
    for (Node const* pNode = this; pNode && path.Append(pNode); pNode = pNode->m_pParent) {}
    StringEncoded<UTF16Encoding> sPath;
    for (; !path.IsEmpty(); path.RemoveLast()) {
        Node const* const pNode = path.Last();
        int nIndex = -1;
        if (pNode->m_pParent && pNode->m_sName.IsEmpty()) {
            nIndex = pNode->m_pParent->m_children.IndexOf(const_cast<Node*>(pNode));
        }
        AppendPathStep(sPath, pNode->m_sName, nIndex);
    }
    return sPath;
}

Node* Node::CloneChildrenInto(Node* pCopy) const {
    for (unsigned int nChild = 0; pCopy && nChild < m_children.GetCount(); ++nChild) {
        Node* const pChild = m_children[nChild]->CloneTree();
        if (pChild) {
            pCopy->Attach(pChild);
            if (pChild->m_pParent == pCopy) {
                continue;
            }
        }
        delete pChild;
        delete pCopy;
        return nullptr;
    }
    if (pCopy && IsKindOf(Timeline::ClassID) &&
        !static_cast<Timeline*>(pCopy)->TakeCopiedCamera(static_cast<Timeline const&>(*this))) {
        delete pCopy;
        return nullptr;
    }
    return pCopy;
}

} // namespace trevik::kelvo
