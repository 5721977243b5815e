#include "kelvo/nodes/TransformUpdate.h"

#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Timeline.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace trevik::kelvo {

namespace {

/** Whether numbers are 0, and not -0; by bits, which takes fewer steps. */
inline bool IsZero(RealFloat const* pNumbers, std::size_t nCount) {
    static constexpr RealFloat Zeros[3] = {};
    return std::memcmp(pNumbers, Zeros, nCount * sizeof(RealFloat)) == 0;
}

/** The rotation's columns, without a product where only z, as in a plane, is turned about. */
inline void WriteRotation(Vector3T<RealFloat> const& degrees, RealFloat (&m)[12]) {
    if (!IsZero(&degrees.x, 2)) {
        Matrix4T<RealFloat> const rotation = Matrix4RotationEulerXYZ(degrees);
        std::memcpy(m, rotation.m, sizeof(m));
        return;
    }
    RealFloat const radians = degrees.z * RealFloat(0.017453292519943295);
    RealFloat const sine = std::sin(radians);
    RealFloat const cosine = std::cos(radians);
    StoreLanes(m, Lanes{cosine, sine, 0, 0});
    StoreLanes(m + 4, Lanes{0 - sine, cosine, 0, 0});
    StoreLanes(m + 8, Lanes{0, 0, 1, 0});
}

/** Whether a property has this value and nothing that gives it another one. */
bool Stays(Vector3Property const& property, Vector3T<RealFloat> const& value) {
    // By bits, as in Take. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    bool const fSame = std::memcmp(&property.GetValue(), &value, sizeof(value)) == 0;
    return fSame && property.GetControllerCount() == 0 && !property.GetBinding();
}

} // namespace

// How a node's matrices and opacity follow its properties and its parent, and when it is left out.

void TransformNode::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                   bool fForce) {
    unsigned int nChanges = m_nChanges;
    if (unsigned int const nOwn = m_properties.GetOwn(); nOwn != 0) {
        Arguments const arguments(device, frame, delta, fForce);
        nChanges |= nOwn == OwnPosition ? UpdatePosition(arguments) : UpdateSeveral(nOwn, arguments);
    }
    nChanges |= TakeTransform() | FindParentChange();
    if (fForce) {
        nChanges |= Everything;
    }
    if (nChanges != 0) {
        m_nChanges = static_cast<unsigned char>(nChanges);
        CalculateTransform();
    }
    UpdateOpacity();
    if (__builtin_expect(!m_effects.IsEmpty(), 0)) {
        UpdateEffects(Arguments(device, frame, delta, fForce));
    }
}

void TransformNode::UpdateEffects(Arguments const& arguments) {
    CallEach(m_effects, [&arguments](Effect& effect) {
        effect.Update(*arguments.m_pDevice, *arguments.m_pFrame, *arguments.m_pDelta, arguments.m_fForce);
        return false;
    });
}

/**
 * Brings the properties to the frame; the changes of values that have been taken over right away. A value
 * that comes of samples alone goes to where the matrix is made from at once: without a call through the list
 * and the property's table, without its mark, and without looking for what has been marked, a vector takes 41
 * instructions in place of 104.
 */
inline __attribute__((always_inline)) unsigned int
TransformNode::UpdateSeveralInline(unsigned int nOwn, Arguments const& arguments) {
    unsigned int nChanges = 0;
    if (nOwn & OwnPosition) {
        nChanges = UpdatePosition(arguments);
    }
    if (nOwn & OwnRotation) {
        Vector3T<RealFloat> const* const pRotation = m_pShape ? m_rotation.Sample(arguments) : nullptr;
        if (__builtin_expect(!pRotation, 0)) {
            UpdateAny(OwnRotation, nChanges, arguments);
        } else if (Take(*pRotation, m_pShape->m_rotation)) {
            nChanges |= Turned;
        }
    }
    if (nOwn & OwnScale) {
        Vector3T<RealFloat> const* const pScale = m_pShape ? m_scale.Sample(arguments) : nullptr;
        if (__builtin_expect(!pScale, 0)) {
            UpdateAny(OwnScale, nChanges, arguments);
        } else if (Take(*pScale, m_pShape->m_scale)) {
            nChanges |= Shaped;
        }
    }
    if (nOwn & OwnOpacity) {
        UpdateOwnOpacity(nChanges, arguments);
    }
    if (__builtin_expect((nOwn & (PropertyList::Others | PropertyList::Unfound)) != 0, 0)) {
        nChanges |= UpdateOthers(nOwn, nChanges, arguments);
    }
    return nChanges;
}

unsigned int TransformNode::UpdateSeveral(unsigned int nOwn, Arguments const& arguments) {
    return UpdateSeveralInline(nOwn, arguments);
}

/**
 * Brings one of the node's own properties, or those in the set that are not, to the frame, with whatever
 * controllers and subscribers they have. These may have the node's matrix made, so it has to be known there
 * what has been taken over already.
 */
TREVIK_NOINLINE void TransformNode::UpdateAny(unsigned int nProperty, unsigned int nChanges,
                                              Arguments const& arguments) {
    RealFloat const& frame = *arguments.m_pFrame;
    m_nChanges = static_cast<unsigned char>(m_nChanges | nChanges);
    switch (nProperty) {
    case OwnPosition:
        m_position.Update(arguments, frame);
        break;
    case OwnRotation:
        m_rotation.Update(arguments, frame);
        break;
    case OwnScale:
        m_scale.Update(arguments, frame);
        break;
    case OwnOpacity:
        m_opacity.Update(arguments, frame);
        break;
    default:
        m_properties.UpdateOthers(nProperty, arguments, frame);
        break;
    }
    m_nChanges = static_cast<unsigned char>(m_nChanges & ~nChanges);
}

/** UpdateSeveral behind the node's own properties, or with them where those are not known yet. */
TREVIK_NOINLINE unsigned int TransformNode::UpdateOthers(unsigned int nOwn, unsigned int nChanges,
                                                         Arguments const& arguments) {
    if (nOwn == PropertyList::Unfound) {
        Property const* const own[] = {&m_position, &m_rotation, &m_scale, &m_opacity};
        return UpdateSeveral(m_properties.FindOwn(own, sizeof(own) / sizeof(own[0])), arguments);
    }
    UpdateAny(nOwn, nChanges, arguments);
    return 0;
}

TREVIK_NOINLINE bool TransformNode::IsAnimated() {
    return m_properties.HasAnimated();
}

/** UpdatePlain of a node in which not only the position is animated. */
bool TransformNode::UpdatePlainAnimated(unsigned int nOwn, Arguments const& arguments) {
    unsigned int nChanges = UpdateSeveralInline(nOwn, arguments) | m_nChanges;
    nChanges |= TakeTransform() | FindParentChange();
    if (nChanges != 0) {
        DeriveTransformInline(nChanges);
    }
    return EndPlainUpdate(nChanges, arguments);
}

void TransformNode::TakeOpacity() {
    m_rOwnOpacity = ClampOpacity(m_opacity.GetValue());
    if (!m_opacity.GetBinding()) {
        m_nMarks &= ~unsigned(OpacityMark);
    }
}

/** TakePosition for the other values that the matrix is made from, which change more rarely. */
unsigned int TransformNode::TakeRotationAndShape() {
    if (!m_pShape && NeedsShape()) {
        m_pShape = new (std::nothrow) Shape;
        if (!m_pShape) {
            return 0; // the marks stay, so that the next update tries again
        }
    }
    unsigned int nChanges = 0;
    if (m_nMarks & RotationMark) {
        if (!m_rotation.GetBinding()) {
            m_nMarks &= ~unsigned(RotationMark);
        }
        nChanges = m_pShape && Take(m_rotation.GetValue(), m_pShape->m_rotation) ? Turned : 0u;
    }
    if (m_nMarks & ScaleMark) {
        if (!m_scale.GetBinding()) {
            m_nMarks &= ~unsigned(ScaleMark);
        }
        nChanges |= m_pShape && Take(m_scale.GetValue(), m_pShape->m_scale) ? Shaped : 0u;
    }
    if (m_nMarks & ShapeMark) {
        if (!m_pivot.GetBinding() && !m_stretch.GetBinding()) {
            m_nMarks &= ~unsigned(ShapeMark);
        }
        bool const fStretched = m_pShape && Take(m_stretch.GetValue(), m_pShape->m_stretch);
        bool const fShifted = m_pShape && Take(m_pivot.GetValue(), m_pShape->m_pivot);
        nChanges |= fStretched || fShifted ? Shaped : 0u;
    }
    return nChanges;
}

/** Whether a value that a shape is made from is other than it is at first, or may become so by itself. */
bool TransformNode::NeedsShape() const {
    Vector3T<RealFloat> const zeros, ones(1, 1, 1);
    return !Stays(m_rotation, zeros) || !Stays(m_pivot, zeros) || !Stays(m_scale, ones) ||
           !Stays(m_stretch, ones);
}

void TransformNode::CalculateTransform() {
    if ((m_nChanges | FindParentChange()) == Moved && m_pParentTransform && !(m_nMarks & TransformMarks)) {
        m_nChanges = 0;
        MoveOrigin();
    } else {
        CalculateAnyTransform();
    }
}

void TransformNode::CalculateAnyTransform() {
    // No changes are noted when it is called from outside: then all values count as changed.
    unsigned int const nNoted = m_nChanges != 0 ? m_nChanges | FindParentChange() : unsigned(Everything);
    DeriveTransform(nNoted | TakeTransform());
}

void TransformNode::DeriveTransform(unsigned int nChanges) {
    DeriveTransformInline(nChanges);
}

/** The matrices, of which the changes say what to make anew. */
inline __attribute__((always_inline)) void TransformNode::DeriveTransformInline(unsigned int nChanges) {
    m_nChanges = 0;
    RealFloat const* pLocal = Matrix4T<RealFloat>::Identity.m;
    if (m_pShape) {
        if (nChanges & (Turned | Shaped)) {
            TakeShape(nChanges);
        }
        pLocal = m_pShape->m_localColumns;
    }
    if (!(nChanges & ParentMoved) && (m_nMarks & ParentMovesMark)) {
        MoveWithParent(pLocal);
    } else {
        MultiplyWithParent();
    }
    CountTransform();
}

/** The world matrix below a parent that only moves, as most do, which makes a product a sum. */
inline void TransformNode::MoveWithParent(RealFloat const* pLocalColumns) {
    Lanes const zero{}; // is added since the product makes 0 of -0
    Lanes const x = LoadLanes(pLocalColumns) + zero;
    Lanes const y = LoadLanes(pLocalColumns + 4) + zero;
    Lanes const z = LoadLanes(pLocalColumns + 8) + zero;
    StoreLanes(m_worldMatrix.m, x);
    StoreLanes(m_worldMatrix.m + 4, y);
    StoreLanes(m_worldMatrix.m + 8, z);
    AddParentOrigin();
}

/** The world matrix from the local one and that of the parent, whatever it is now. */
void TransformNode::MultiplyWithParent() {
    if (!m_pParentTransform) {
        m_nMarks &= ~ParentMovesMark;
        if (Node const* const pSpace = GetSpace()) {
            Matrix4Multiply(GetLocalMatrix(), pSpace->GetWorldMatrix(), m_worldMatrix);
        } else {
            m_worldMatrix = GetLocalMatrix();
            m_nParentVersion = NoParent;
        }
        return;
    }
    TransformNode const& parent = *m_pParentTransform;
    if (m_nParentVersion != parent.m_nTransformVersion) {
        m_nParentVersion = parent.m_nTransformVersion;
        // A class may write its world matrix without counting that.
        bool const fMoves = parent.m_fPlainUpdate && OnlyMoves(parent.m_worldMatrix);
        m_nMarks = fMoves ? m_nMarks | ParentMovesMark : m_nMarks & ~ParentMovesMark;
    }
    if (m_nMarks & ParentMovesMark) {
        MoveWithParent(GetLocalColumns());
    } else {
        Matrix4Multiply(GetLocalMatrix(), parent.m_worldMatrix, m_worldMatrix);
    }
}

/** The first three columns of the local matrix. */
RealFloat const* TransformNode::GetLocalColumns() const {
    return m_pShape ? m_pShape->m_localColumns : Matrix4T<RealFloat>::Identity.m;
}

Matrix4T<RealFloat> TransformNode::GetLocalMatrix() const {
    Matrix4T<RealFloat> matrix{Uninitialized()};
    std::memcpy(matrix.m, GetLocalColumns(), sizeof(Shape::m_localColumns));
    StoreLanes(matrix.m + 12, AddVectors(m_takenPosition, m_pivotOffset));
    return matrix;
}

/** Columns of the rotation, scaled, and the pivot's. Sines and cosines only when the rotation has changed. */
inline void TransformNode::TakeShape(unsigned int nChanges) {
    Shape& shape = *m_pShape;
    if (nChanges & Turned) {
        WriteRotation(shape.m_rotation, shape.m_rotationColumns);
    }
    auto const scaleColumn = [&shape](unsigned int nElement, RealFloat factor) {
        Lanes const column = LoadLanes(shape.m_rotationColumns + nElement) * factor;
        StoreLanes(shape.m_localColumns + nElement, column);
        return column;
    };
    Lanes const x = scaleColumn(0, shape.m_scale.x * shape.m_stretch.x);
    Lanes const y = scaleColumn(4, shape.m_scale.y * shape.m_stretch.y);
    Lanes const z = scaleColumn(8, shape.m_scale.z * shape.m_stretch.z);
    Vector3T<RealFloat> const& pivot = shape.m_pivot;
    Lanes offset = {0, 0, 0, 1};
    if (__builtin_expect(!IsZero(&pivot.x, 3), 0)) {
        offset = offset + x * pivot.x + y * pivot.y + z * pivot.z;
    }
    StoreLanes(&m_pivotOffset.x, offset);
}

/**
 * Lets the timeline update the node again. It is the nearest one above, which takes a step for each level to
 * find: a node that changes in every frame has to be woken only once.
 */
void TransformNode::Wake() {
    m_nMarks &= ~Property::AsleepMark;
    Node* pAbove = m_pParent;
    while (pAbove && !pAbove->m_fUpdatesSubtree) {
        pAbove = pAbove->m_pParent;
    }
    if (pAbove && pAbove->m_fFlattensSubtree) {
        static_cast<Timeline*>(pAbove)->WakeNode(*this);
    }
}

void Property::Wake(PropertyMarks& marks, unsigned short nMark) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // as in FetchForDrawing
    constexpr std::intptr_t Offset = offsetof(TransformNode, m_nMarks);
#pragma GCC diagnostic pop
    reinterpret_cast<TransformNode*>(reinterpret_cast<std::intptr_t>(&marks) - Offset)->Wake();
    marks |= nMark;
}

} // namespace trevik::kelvo
