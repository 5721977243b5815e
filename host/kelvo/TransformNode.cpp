#include "trevik/kelvo/TransformNode.h"

#include <cstring>

#include "EffectStorage.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo {

namespace {

Vector3T<RealFloat> const g_one(1, 1, 1);

/** By bits, so that a value that is not a number is equal to itself and does not count as changed for ever.
 */
bool IsSame(Vector3T<RealFloat> const& a, Vector3T<RealFloat> const& b) {
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

/** 0 to 1; 0 for what is not a number. */
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

TransformNode::TransformNode() : m_scale(g_one), m_stretch(g_one), m_opacity(RealFloat(1)), m_visible(true) {
    m_pTransformNode = this;
}

TransformNode::TransformNode(TransformNode const& other)
    : Node(other), m_position(other.m_position), m_rotation(other.m_rotation), m_pivot(other.m_pivot),
      m_scale(other.m_scale), m_stretch(other.m_stretch), m_opacity(other.m_opacity),
      m_visible(other.m_visible), m_depth(other.m_depth), m_worldMatrix(other.m_worldMatrix),
      m_localMatrix(other.m_localMatrix), m_rEffectiveOpacity(other.m_rEffectiveOpacity) {
    m_pTransformNode = this;
    for (Mask* pMask : other.m_masks) {
        Ref<Mask> const pCopy(pMask->Clone());
        AppendReference(m_masks, pCopy.Get());
    }
    for (Effect* pEffect : other.m_effects) {
        Ref<Effect> const pCopy(pEffect->Clone());
        AppendReference(m_effects, pCopy.Get());
    }
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
    if (device.IsSelectionMode()) {
        InternalSelect(device);
    } else {
        InternalRender(device);
    }
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
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
}

inline unsigned int TransformNode::FindChanges() const {
    unsigned int nChanges = IsSame(m_position.GetValue(), m_inputs.m_position) ? 0u : Moved;
    if (!IsSame(m_rotation.GetValue(), m_inputs.m_rotation)) {
        nChanges |= Turned;
    }
    if (!IsSame(m_scale.GetValue(), m_inputs.m_scale) || !IsSame(m_stretch.GetValue(), m_inputs.m_stretch) ||
        !IsSame(m_pivot.GetValue(), m_inputs.m_pivot)) {
        nChanges |= Shaped;
    }
    if (m_pParent) {
        // Of a parent without a transform of this kind nobody knows when its matrix changes.
        TransformNode const* const pParent = m_pParent->GetTransformNode();
        if (!pParent || pParent->m_nTransformVersion != m_nParentVersion) {
            nChanges |= ParentMoved;
        }
    } else if (m_nParentVersion != NoParent) {
        nChanges |= ParentMoved;
    }
    return nChanges;
}

inline void TransformNode::UpdateOpacity() {
    RealFloat opacity = ClampOpacity(m_opacity.GetValue());
    if (m_pParent) {
        TransformNode const* const pParent = m_pParent->GetTransformNode();
        opacity *= pParent ? pParent->m_rEffectiveOpacity : m_pParent->GetOpacity();
    }
    m_rEffectiveOpacity = opacity;
}

void TransformNode::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                   bool fForce) {
    UpdateContext context;
    context.m_pDevice = &device;
    m_properties.Update(context, frame);
    m_nChanges |= FindChanges() | (fForce ? Everything : 0u);
    if (m_nChanges != 0) {
        CalculateTransform();
    }
    UpdateOpacity();
    for (unsigned int nEffect = 0; nEffect < m_effects.GetCount(); ++nEffect) {
        m_effects[nEffect]->Update(device, frame, delta, fForce);
    }
}

inline void TransformNode::PlaceOrigin() {
    m_inputs.m_position = m_position.GetValue();
    m_localMatrix.m[12] = m_inputs.m_position.x + m_pivotOffset.x;
    m_localMatrix.m[13] = m_inputs.m_position.y + m_pivotOffset.y;
    m_localMatrix.m[14] = m_inputs.m_position.z + m_pivotOffset.z;
}

inline void TransformNode::MakeWorldMatrix(unsigned int nChanges) {
    if (!m_pParent) {
        m_worldMatrix = m_localMatrix;
        m_nParentVersion = NoParent;
        return;
    }
    TransformNode const* const pParent = m_pParent->GetTransformNode();
    if (!pParent) {
        Matrix4Multiply(m_localMatrix, m_pParent->GetWorldMatrix(), m_worldMatrix);
        return;
    }
    m_nParentVersion = pParent->m_nTransformVersion;
    if (nChanges != Moved) {
        Matrix4Multiply(m_localMatrix, pParent->m_worldMatrix, m_worldMatrix);
        return;
    }
    // Only the origin has moved: the other columns stay.
    Vector4T<RealFloat> const origin(m_localMatrix.m[12], m_localMatrix.m[13], m_localMatrix.m[14],
                                     RealFloat(1));
    Vector4T<RealFloat> placed;
    Matrix4Vector4Multiply(pParent->m_worldMatrix, origin, placed);
    std::memcpy(m_worldMatrix.m + 12, &placed, sizeof(placed));
}

void TransformNode::CalculateTransform() {
    unsigned int const nChanges = m_nChanges != 0 ? m_nChanges : Everything;
    m_nChanges = 0;
    if (nChanges & (Turned | Shaped)) {
        MakeLocalMatrix(nChanges);
    } else if (nChanges & Moved) {
        PlaceOrigin();
    }
    MakeWorldMatrix(nChanges);
    if (++m_nTransformVersion == NoParent) {
        m_nTransformVersion = 1;
    }
}

/** Columns of the rotation, scaled; then the origin. Sines and cosines only when the rotation has changed. */
void TransformNode::MakeLocalMatrix(unsigned int nChanges) {
    m_inputs.m_pivot = m_pivot.GetValue();
    m_inputs.m_scale = m_scale.GetValue();
    m_inputs.m_stretch = m_stretch.GetValue();
    if (nChanges & Turned) {
        m_inputs.m_rotation = m_rotation.GetValue();
        m_rotationMatrix = Matrix4RotationEulerXYZ(m_inputs.m_rotation);
    }
    Vector3T<RealFloat> const& scale = m_inputs.m_scale;
    Vector3T<RealFloat> const& stretch = m_inputs.m_stretch;
    RealFloat const factors[3] = {scale.x * stretch.x, scale.y * stretch.y, scale.z * stretch.z};
    Vector3T<RealFloat> const& pivot = m_inputs.m_pivot;
    RealFloat* const m = m_localMatrix.m;
    for (int nColumn = 0; nColumn < 3; ++nColumn) {
        for (int nElement = 4 * nColumn; nElement < 4 * nColumn + 3; ++nElement) {
            m[nElement] = m_rotationMatrix.m[nElement] * factors[nColumn];
        }
    }
    m_pivotOffset = Vector3T<RealFloat>(m[0] * pivot.x + m[4] * pivot.y + m[8] * pivot.z,
                                        m[1] * pivot.x + m[5] * pivot.y + m[9] * pivot.z,
                                        m[2] * pivot.x + m[6] * pivot.y + m[10] * pivot.z);
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

} // namespace trevik::kelvo
