#include "trevik/kelvo/TransformNode.h"

#include "kelvo/nodes/Overrides.h"
#include "kelvo/nodes/SpriteLayout.h"
#include "kelvo/nodes/TransformUpdate.h"
#include "kelvo/storage/EffectStorage.h"
#include "kelvo_host/RenderObserver.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/MemoryTracer.h"

#include <cstddef>
#include <new>

namespace trevik::kelvo {

namespace {

Vector3T<RealFloat> const One(1, 1, 1);

/**
 * How many nodes before it is drawn a node is fetched: drawing one takes less than fetching it. With 100 000
 * moving sprites a frame takes 68 to 75 ns for each, in place of 90 to 125 with one node.
 */
constexpr unsigned int FetchedAhead = 3;

/** Holds a reference for each entry. */
template <class T>
bool AppendReference(List<T*>& list, T* pObject) {
    if (!pObject || !list.Append(pObject)) {
        return false;
    }
    pObject->AddReference();
    return true;
}

template <class T>
void RemoveReference(List<T*>& list, T* pObject) {
    int const nIndex = list.IndexOf(pObject);
    if (pObject && nIndex >= 0) {
        list.RemoveAt(static_cast<unsigned int>(nIndex));
        pObject->ReleaseReference();
    }
}

template <class T>
void RemoveAllReferences(List<T*>& list) {
    while (!list.IsEmpty()) {
        T* const pObject = list.Last();
        list.RemoveLast();
        pObject->ReleaseReference();
    }
}

} // namespace

TransformNode::TransformNode()
    : m_scale(One), m_stretch(One), m_opacity(RealFloat(1)), m_visible(true), m_selectable(true) {
    m_fHasTransform = true;
    SetPropertyMarks();
    GetOwnOverriders(*this);
}

TransformNode::TransformNode(TransformNode const& other)
    : Node(other), m_pShape(other.m_pShape ? new (std::nothrow) Shape(*other.m_pShape) : nullptr),
      m_worldMatrix(other.m_worldMatrix), m_takenPosition(other.m_takenPosition),
      m_pivotOffset(other.m_pivotOffset), m_rEffectiveOpacity(other.m_rEffectiveOpacity),
      m_position(other.m_position), m_rotation(other.m_rotation), m_pivot(other.m_pivot),
      m_scale(other.m_scale), m_stretch(other.m_stretch), m_opacity(other.m_opacity),
      m_visible(other.m_visible), m_depth(other.m_depth), m_selectable(other.m_selectable) {
    m_fHasTransform = true;
    SetPropertyMarks();
    for (Mask* pMask : other.m_masks) {
        Ref<Mask> const pCopy(pMask->Clone());
        m_properties.NoteShortage(!AppendReference(m_masks, pCopy.Get()));
    }
    for (Effect* pEffect : other.m_effects) {
        Ref<Effect> const pCopy(pEffect->Clone());
        m_properties.NoteShortage(!AppendReference(m_effects, pCopy.Get()));
    }
}

/** Taken down in the first node's constructor: while it runs, the node is a TransformNode and nothing more.
 */
UpdateOverriders const& TransformNode::GetOwnOverriders(TransformNode const& node) {
    static UpdateOverriders const s_overriders(node);
    return s_overriders;
}

void TransformNode::SetPropertyMarks() {
    m_position.SetMarks(m_nMarks, PositionMark);
    m_rotation.SetMarks(m_nMarks, RotationMark);
    m_pivot.SetMarks(m_nMarks, ShapeMark);
    m_scale.SetMarks(m_nMarks, ScaleMark);
    m_stretch.SetMarks(m_nMarks, ShapeMark);
    m_opacity.SetMarks(m_nMarks, OpacityMark);
    m_visible.SetMarks(m_nMarks, DrawMark);
    m_depth.SetMarks(m_nMarks, DrawMark);
}

TransformNode::~TransformNode() {
    RemoveAllReferences(m_effects);
    RemoveAllReferences(m_masks);
    delete m_pShape;
}

/** The node whose space this one stands in: the parent, but for SharedParent. Null for none. */
Node* TransformNode::GetSpace() const {
    if (m_pParentTransform) {
        return m_pParentTransform;
    }
    return m_fSharesSpace ? GetSharedSpace() : m_pParent;
}

/** Has the node stand in the space of its parent, which is given since it need not have it yet. */
void TransformNode::SetSpace(Node* pNode) {
    Awaken();
    m_fSharesSpace = false;
    m_pParentTransform = pNode ? pNode->GetTransformNode() : nullptr;
    m_nParentVersion = 0;
}

TransformNode::SharedParent::SharedParent(TransformNode& node, TransformNode const& sibling) : m_node(node) {
    Node* const pSpace = sibling.GetSpace();
    m_node.SetSpace(pSpace);
    m_node.m_fSharesSpace = true;
    m_node.SetSharedSpace(m_node.m_pParentTransform ? nullptr : pSpace);
}

TransformNode::SharedParent::~SharedParent() {
    m_node.SetSpace(m_node.m_pParent);
}

Matrix4T<RealFloat> TransformNode::GetWorldMatrix() const {
    return m_worldMatrix;
}

RealFloat TransformNode::GetOpacity() const {
    return m_rEffectiveOpacity;
}

void TransformNode::Render(GraphicsDevice& device) {
    if (IsHidden()) {
        return;
    }
    if (!device.IsSelectionMode()) {
        InternalRender(device);
    } else if (m_selectable.GetValue()) {
        InternalSelect(device);
    }
    // Most nodes have none, which costs less to see here than in there.
    if (!m_children.IsEmpty()) {
        RenderChildren(device);
    }
}

/**
 * Has the memory fetched that drawing a node will read: where it lies in a sprite, which most nodes are. For
 * other nodes some of it is fetched for nothing; nothing else happens.
 */
inline void TransformNode::FetchForDrawing(Node const* pNode) {
    // By offsets, since the node may be of a class without these members. The standard leaves it to compilers
    // whether classes with virtual operations have offsets; in those that know this pragma they have.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
    constexpr std::size_t StateOffset = offsetof(TransformNode, m_worldMatrix);
    constexpr std::size_t StateEnd = offsetof(TransformNode, m_masks) + sizeof(unsigned int); // of its count
#pragma GCC diagnostic pop
    char const* const pBytes = reinterpret_cast<char const*>(pNode);
    __builtin_prefetch(pBytes);
    for (std::size_t nByte = StateOffset; nByte < StateEnd; nByte += CacheLine) {
        __builtin_prefetch(pBytes + nByte);
    }
    __builtin_prefetch(pBytes + StateEnd); // nodes begin anywhere in a line
    __builtin_prefetch(pBytes + DrawnSpriteOffset);
}

void TransformNode::RenderChildren(GraphicsDevice& device) {
    if (m_children.IsEmpty()) {
        return;
    }
    if (RenderObserver* const pObserver = RenderObserver::Get();
        __builtin_expect(pObserver != nullptr, false)) {
        for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
            Ref<Node> const pChild(m_children[nChild]);
            pObserver->BeginNode(*pChild);
            pChild->Render(device);
            pObserver->EndNode(*pChild);
        }
        return;
    }
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        if (nChild + FetchedAhead < m_children.GetCount()) {
            FetchForDrawing(m_children[nChild + FetchedAhead]);
        }
        m_children[nChild]->Render(device);
    }
}

void TransformNode::Emit(MemoryTracer* pTracer) {
    Node::Emit(pTracer);
    for (Effect* pEffect : m_effects) {
        pTracer->EmitObject(pEffect);
    }
    for (Mask* pMask : m_masks) {
        pTracer->EmitAllocation(pMask->GetByteSize(), MemoryType::Geometry);
    }
}

void TransformNode::RegisterProperties() {
    m_properties.Register(u"Position", &m_position);
    m_properties.Register(u"Rotation", &m_rotation);
    m_properties.Register(u"Pivot", &m_pivot);
    m_properties.Register(u"Scale", &m_scale);
    m_properties.Register(u"Stretch", &m_stretch);
    m_properties.Register(u"Opacity", &m_opacity);
    m_properties.Register(u"Visible", &m_visible);
    m_properties.Register(u"CameraDepth", &m_depth);
    m_properties.Register(u"Selectable", &m_selectable);
}

bool TransformNode::InternalSave(Serializer& serializer) {
    return GetProperties().Save(serializer) && SaveMasks(serializer, m_masks) &&
           SaveEffects(serializer, m_effects);
}

bool TransformNode::InternalLoad(Deserializer& deserializer) {
    return GetProperties().Load(deserializer) && LoadMasks(deserializer, *this) &&
           LoadEffects(deserializer, *this);
}

void TransformNode::AddMask(Mask* pMask) {
    AppendReference(m_masks, pMask);
}

void TransformNode::AddEffect(Effect* pEffect) {
    Awaken();
    AppendReference(m_effects, pEffect);
}

void TransformNode::RemoveMask(Mask* pMask) {
    RemoveReference(m_masks, pMask);
}

void TransformNode::RemoveEffect(Effect* pEffect) {
    RemoveReference(m_effects, pEffect);
}

bool TransformNode::IsSelect(GraphicsDevice& device, SizeT<int> const& size, Vector2T<RealFloat>& position,
                             RealFloat& distance) {
    RectangleT<RealFloat> const rectangle(0, 0, static_cast<RealFloat>(size.width),
                                          static_cast<RealFloat>(size.height));
    return IsRectangleSelected(device, rectangle, position, distance);
}

bool TransformNode::IsRectangleSelected(GraphicsDevice& device, RectangleT<RealFloat> const& rectangle,
                                        Vector2T<RealFloat>& position, RealFloat& distance) {
    device.SetCameraDepth(m_depth.GetValue());
    // One triangle spans the plane of both: where the ray meets it, u and v up to 1 cover the whole
    // rectangle.
    Vector2T<RealFloat> uv;
    RealFloat along = 0;
    if (!device.HitProjection(m_worldMatrix, Vector3T<RealFloat>(rectangle.left, rectangle.top, 0),
                              Vector3T<RealFloat>(rectangle.right, rectangle.top, 0),
                              Vector3T<RealFloat>(rectangle.left, rectangle.bottom, 0), uv, along)) {
        return false;
    }
    bool const fInside = uv.x >= 0 && uv.x <= 1 && uv.y >= 0 && uv.y <= 1;
    bool const fInFront = along > GraphicsDevice::DistanceOfEye;
    if (!fInside || !fInFront) {
        return false;
    }
    position = uv;
    distance = along;
    return true;
}

bool TransformNode::IsSelectedInMasks(GraphicsDevice& device) {
    bool fInside = m_masks.IsEmpty();
    for (unsigned int nMask = 0; !fInside && nMask < m_masks.GetCount(); ++nMask) {
        MaskGeometry const& geometry = m_masks[nMask]->GetGeometry();
        for (unsigned int nVertex = 0; !fInside && nVertex < geometry.m_nVertexCount; nVertex += 3) {
            Vector3T<RealFloat> const* const pCorners = geometry.m_pVertices + nVertex;
            Vector2T<RealFloat> uv;
            RealFloat along = 0;
            fInside = device.HitProjection(m_worldMatrix, pCorners[0], pCorners[1], pCorners[2], uv, along) &&
                      uv.x >= 0 && uv.y >= 0 && uv.x + uv.y <= 1 && along > GraphicsDevice::DistanceOfEye;
        }
    }
    return fInside;
}

} // namespace trevik::kelvo
