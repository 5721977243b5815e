#include "trevik/kelvo/TransformNode.h"

#include "kelvo/nodes/SpriteLayout.h"
#include "kelvo/storage/EffectStorage.h"
#include "kelvo_host/RenderObserver.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/MemoryTracer.h"

#include <cstddef>
#include <cstring>

namespace trevik::kelvo {

namespace {

Vector3T<RealFloat> const One(1, 1, 1);

/**
 * By bits, so that a value that is not a number is equal to itself and does not count as changed for ever.
 */
bool IsSame(Vector3T<RealFloat> const& a, Vector3T<RealFloat> const& b) {
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

/** Within 0 to 1; 0 for NaN. */
RealFloat ClampOpacity(RealFloat opacity) {
    return opacity > 0 ? (opacity < 1 ? opacity : RealFloat(1)) : RealFloat(0);
}

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
    m_pTransformNode = this;
    SetPropertyMarks();
}

TransformNode::TransformNode(TransformNode const& other)
    : Node(other), m_localMatrix(other.m_localMatrix), m_rEffectiveOpacity(other.m_rEffectiveOpacity),
      m_worldMatrix(other.m_worldMatrix), m_position(other.m_position), m_rotation(other.m_rotation),
      m_pivot(other.m_pivot), m_scale(other.m_scale), m_stretch(other.m_stretch), m_opacity(other.m_opacity),
      m_visible(other.m_visible), m_depth(other.m_depth), m_selectable(other.m_selectable) {
    m_pTransformNode = this;
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

void TransformNode::SetPropertyMarks() {
    m_position.SetMarks(m_nMarks, PositionMark);
    m_rotation.SetMarks(m_nMarks, RotationMark);
    m_pivot.SetMarks(m_nMarks, ShapeMark);
    m_scale.SetMarks(m_nMarks, ShapeMark);
    m_stretch.SetMarks(m_nMarks, ShapeMark);
    m_opacity.SetMarks(m_nMarks, OpacityMark);
    m_visible.SetMarks(m_nMarks, DrawMark);
    m_depth.SetMarks(m_nMarks, DrawMark);
}

TransformNode::~TransformNode() {
    RemoveAllReferences(m_effects);
    RemoveAllReferences(m_masks);
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
    constexpr std::size_t StateOffset = offsetof(TransformNode, m_nMarks); // to m_rEffectiveOpacity
    constexpr std::size_t MatrixOffset = offsetof(TransformNode, m_worldMatrix);
    constexpr std::size_t ListsOffset = offsetof(TransformNode, m_masks); // and m_effects
#pragma GCC diagnostic pop
    char const* const pBytes = reinterpret_cast<char const*>(pNode);
    __builtin_prefetch(pBytes);
    __builtin_prefetch(pBytes + StateOffset);
    __builtin_prefetch(pBytes + MatrixOffset);
    __builtin_prefetch(pBytes + ListsOffset);
    __builtin_prefetch(pBytes + DrawnSpriteOffset);
    __builtin_prefetch(pBytes + DrawnSpriteOffset + CacheLine);
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
        if (nChild + 1 < m_children.GetCount()) {
            FetchForDrawing(m_children[nChild + 1]);
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

void TransformNode::TakeOpacity() {
    m_rOwnOpacity = ClampOpacity(m_opacity.GetValue());
    if (!m_opacity.GetBinding()) {
        m_nMarks &= ~unsigned(OpacityMark);
    }
}

/** Takes the position over and clears its mark; returns the changes. */
inline unsigned int TransformNode::TakePosition() {
    if (!m_position.GetBinding()) {
        m_nMarks &= ~unsigned(PositionMark);
    }
    Vector3T<RealFloat> const& position = m_position.GetValue();
    // By bits, as IsSame. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    if (std::memcmp(&position, &m_takenPosition, sizeof(position)) == 0) {
        return 0;
    }
    std::memcpy(static_cast<void*>(&m_takenPosition), &position, sizeof(position));
    return Moved;
}

/** The same for the other values that the matrix is made from, which change more rarely. */
unsigned int TransformNode::TakeRotationAndShape() {
    unsigned int nChanges = 0;
    if (!IsSame(m_rotation.GetValue(), m_taken.m_rotation)) {
        m_taken.m_rotation = m_rotation.GetValue();
        nChanges = Turned;
    }
    if (!IsSame(m_pivot.GetValue(), m_taken.m_pivot) || !IsSame(m_scale.GetValue(), m_taken.m_scale) ||
        !IsSame(m_stretch.GetValue(), m_taken.m_stretch)) {
        m_taken.m_pivot = m_pivot.GetValue();
        m_taken.m_scale = m_scale.GetValue();
        m_taken.m_stretch = m_stretch.GetValue();
        nChanges |= Shaped;
    }
    if (!m_rotation.GetBinding()) {
        m_nMarks &= ~unsigned(RotationMark);
    }
    if (!m_pivot.GetBinding() && !m_scale.GetBinding() && !m_stretch.GetBinding()) {
        m_nMarks &= ~unsigned(ShapeMark);
    }
    return nChanges;
}

inline unsigned int TransformNode::TakeTransform() {
    unsigned int const nMarks = m_nMarks & TransformMarks;
    if (nMarks == 0) {
        return 0;
    }
    unsigned int nChanges = 0;
    if (__builtin_expect(nMarks != PositionMark, 0)) {
        nChanges = TakeRotationAndShape();
    }
    return nChanges | TakePosition();
}

inline unsigned int TransformNode::FindParentChange() const {
    if (__builtin_expect(m_pParentTransform != nullptr, 1)) {
        return m_pParentTransform->m_nTransformVersion == m_nParentVersion ? 0u : ParentMoved;
    }
    // A parent of another class does not tell whether its matrix has changed: it counts as changed.
    return m_pSpace || m_nParentVersion != NoParent ? ParentMoved : 0u;
}

inline void TransformNode::UpdateOpacity() {
    if (__builtin_expect((m_nMarks & OpacityMark) != 0, 0)) {
        TakeOpacity();
    }
    RealFloat opacity = m_rOwnOpacity;
    if (__builtin_expect(m_pParentTransform != nullptr, 1)) {
        opacity *= m_pParentTransform->m_rEffectiveOpacity;
    } else if (m_pSpace) {
        opacity *= m_pSpace->GetOpacity();
    }
    m_rEffectiveOpacity = opacity;
}

void TransformNode::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                   bool fForce) {
    // The arguments for effects are kept in memory: in registers they would cost nodes without effects more.
    Arguments arguments;
    arguments.m_pDevice = &device;
    arguments.m_pFrame = &frame;
    arguments.m_pDelta = &delta;
    arguments.m_fForce = fForce;
    m_properties.Update(arguments, frame);
    unsigned int nChanges = m_nChanges | TakeTransform() | FindParentChange();
    if (__builtin_expect(arguments.m_fForce, 0)) {
        nChanges |= Everything;
    }
    if (nChanges != 0) {
        m_nChanges = nChanges;
        CalculateTransform();
    }
    UpdateOpacity();
    if (__builtin_expect(!m_effects.IsEmpty(), 0)) {
        UpdateEffects(arguments);
    }
}

void TransformNode::UpdateEffects(Arguments const& arguments) {
    CallEach(m_effects, [&arguments](Effect& effect) {
        effect.Update(*arguments.m_pDevice, *arguments.m_pFrame, *arguments.m_pDelta, arguments.m_fForce);
        return false;
    });
}

inline void TransformNode::PlaceOrigin() {
    m_localMatrix.m[12] = m_takenPosition.x + m_pivotOffset.x;
    m_localMatrix.m[13] = m_takenPosition.y + m_pivotOffset.y;
    m_localMatrix.m[14] = m_takenPosition.z + m_pivotOffset.z;
    m_localMatrix.m[15] = m_takenPosition.w + m_pivotOffset.w;
}

inline void TransformNode::CountTransform() {
    if (__builtin_expect(++m_nTransformVersion == NoParent, 0)) {
        m_nTransformVersion = 1;
    }
}

void TransformNode::CalculateTransform() {
    if (m_nChanges != Moved || !m_pParentTransform || (m_nMarks & TransformMarks) != 0) {
        CalculateAnyTransform();
        return;
    }
    // Only the origin has moved: the other columns stay.
    m_nChanges = 0;
    PlaceOrigin();
    Matrix4MultiplyColumn(m_localMatrix, m_pParentTransform->m_worldMatrix, 3, m_worldMatrix);
    CountTransform();
}

void TransformNode::CalculateAnyTransform() {
    // No changes are noted when it is called from outside: then all values count as changed.
    unsigned int const nChanges = (m_nChanges != 0 ? m_nChanges : Everything) | TakeTransform();
    m_nChanges = 0;
    if (nChanges & (Turned | Shaped)) {
        MakeLocalMatrix(nChanges);
    } else if (nChanges & Moved) {
        PlaceOrigin();
    }
    if (m_pParentTransform) {
        m_nParentVersion = m_pParentTransform->m_nTransformVersion;
        Matrix4Multiply(m_localMatrix, m_pParentTransform->m_worldMatrix, m_worldMatrix);
    } else if (m_pSpace) {
        Matrix4Multiply(m_localMatrix, m_pSpace->GetWorldMatrix(), m_worldMatrix);
    } else {
        m_worldMatrix = m_localMatrix;
        m_nParentVersion = NoParent;
    }
    CountTransform();
}

/** Columns of the rotation, scaled; then the origin. Sines and cosines only when the rotation has changed. */
void TransformNode::MakeLocalMatrix(unsigned int nChanges) {
    if (nChanges & Turned) {
        m_rotationMatrix = Matrix4RotationEulerXYZ(m_taken.m_rotation);
    }
    Vector3T<RealFloat> const& scale = m_taken.m_scale;
    Vector3T<RealFloat> const& stretch = m_taken.m_stretch;
    RealFloat const factors[3] = {scale.x * stretch.x, scale.y * stretch.y, scale.z * stretch.z};
    Vector3T<RealFloat> const& pivot = m_taken.m_pivot;
    RealFloat* const m = m_localMatrix.m;
    for (int nColumn = 0; nColumn < 3; ++nColumn) {
        for (int nElement = 4 * nColumn; nElement < 4 * nColumn + 3; ++nElement) {
            m[nElement] = m_rotationMatrix.m[nElement] * factors[nColumn];
        }
    }
    m_pivotOffset = Vector4T<RealFloat>(m[0] * pivot.x + m[4] * pivot.y + m[8] * pivot.z,
                                        m[1] * pivot.x + m[5] * pivot.y + m[9] * pivot.z,
                                        m[2] * pivot.x + m[6] * pivot.y + m[10] * pivot.z, RealFloat(1));
    PlaceOrigin();
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
