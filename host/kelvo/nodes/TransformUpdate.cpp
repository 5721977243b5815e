#include "kelvo/nodes/TransformUpdate.h"

#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Timeline.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace trevik::kelvo {

namespace {

/** Whether a vector is 0, and not -0; by bits, which takes fewer steps. */
inline bool IsZero(Vector3T<RealFloat> const& vector) {
    static constexpr RealFloat Zeros[3] = {};
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    return std::memcmp(&vector, Zeros, sizeof(Zeros)) == 0;
}

/** Whether x and y are 0 or -0; by bits, too. */
inline bool IsInPlane(Vector3T<RealFloat> const& degrees) {
    std::uint64_t nBits;
    static_assert(sizeof(nBits) == 2 * sizeof(RealFloat));
    std::memcpy(&nBits, &degrees, sizeof(nBits));
    return (nBits & 0x7fffffff7fffffffu) == 0; // but for the signs
}

/** The rotation's columns, without a product where only z, as in a plane, is turned about. */
inline void WriteRotation(Vector3T<RealFloat> const& degrees, RealFloat (&m)[12]) {
    if (!IsInPlane(degrees)) {
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
    unsigned int nChanges = 0;
    if (unsigned int const nOwn = m_properties.GetOwn(); nOwn != 0) {
        Arguments const arguments(device, frame, delta, fForce);
        nChanges = nOwn == OwnPosition ? UpdatePosition(arguments) : UpdateSeveral(nOwn, arguments);
    }
    nChanges |= TakeTransform();
    nChanges |= FindParentChange() | m_nChanges;
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
 * Brings the properties to the frame; the changes of values that have been taken over, but for noted ones. A
 * value that comes of samples alone goes to where the matrix is made from at once: without a call through the
 * list and the property's table, without its mark, and without looking for what has been marked, a vector
 * takes 41 instructions in place of 104.
 */
inline __attribute__((always_inline)) unsigned int
TransformNode::UpdateSeveralInline(unsigned int nOwn, Arguments const& arguments) {
    Shape* const pShape = m_pShape; // there is one where it is needed, see UpdateUnfound
    unsigned int nChanges = 0;
    if (__builtin_expect((nOwn & OwnPosition) != 0, 1)) {
        if (__builtin_expect(!m_position.Sample(arguments), 0)) {
            return UpdateRest(0, 0, arguments);
        }
        nChanges = Moved; // if so: until the end, the local matrix is that of the last update
    }
    if (nOwn & OwnRotation) {
        Vector3T<RealFloat> const* const pRotation = m_rotation.Sample(arguments);
        if (__builtin_expect(!pRotation, 0)) {
            return UpdateRest(nOwn & (OwnRotation - 1), nChanges, arguments);
        }
        nChanges |= Take(*pRotation, pShape->m_rotation) ? Turned : 0u;
    }
    if (nOwn & OwnScale) {
        Vector3T<RealFloat> const* const pScale = m_scale.Sample(arguments);
        if (__builtin_expect(!pScale, 0)) {
            return UpdateRest(nOwn & (OwnScale - 1), nChanges, arguments);
        }
        nChanges |= Take(*pScale, pShape->m_scale) ? Shaped : 0u;
    }
    if ((nOwn & OwnOpacity) && !SampleOpacity(arguments)) {
        return UpdateRest(nOwn & (OwnOpacity - 1), nChanges, arguments);
    }
    if (__builtin_expect((nOwn & (PropertyList::Others | PropertyList::Unfound)) != 0, 0)) {
        return nOwn == PropertyList::Unfound ? UpdateUnfound(arguments)
                                             : UpdateRest(nOwn, nChanges, arguments);
    }
    if (__builtin_expect((nChanges & Moved) != 0, 1) && !Take(m_position.GetStoredValue(), m_takenPosition)) {
        nChanges &= ~unsigned(Moved);
    }
    return nChanges;
}

unsigned int TransformNode::UpdateSeveral(unsigned int nOwn, Arguments const& arguments) {
    return UpdateSeveralInline(nOwn, arguments);
}

/**
 * UpdateSeveral behind the node's own properties in the set, with whatever controllers and subscribers the
 * other ones have. These may update the node, and have its matrix made: what has changed is noted where that
 * looks for it, and what nobody has taken up is still found there.
 */
TREVIK_NOINLINE unsigned int TransformNode::UpdateRest(unsigned int nDone, unsigned int nChanges,
                                                       Arguments const& arguments) {
    if (nChanges & Moved) {
        m_nMarks |= PositionMark;
    }
    m_nChanges = static_cast<unsigned char>(m_nChanges | (nChanges & ~unsigned(Moved)));
    m_properties.UpdateBehind(nDone, arguments, *arguments.m_pFrame);
    return 0;
}

/** UpdateSeveral where it is not known which properties have controllers; those that turn need the shape. */
TREVIK_NOINLINE unsigned int TransformNode::UpdateUnfound(Arguments const& arguments) {
    if (!NeedShape()) { // no memory: the next update tries again
        m_properties.Update(arguments, *arguments.m_pFrame);
        return 0;
    }
    Property const* const own[] = {&m_position, &m_rotation, &m_scale, &m_opacity};
    return UpdateSeveral(m_properties.FindOwn(own, sizeof(own) / sizeof(own[0])), arguments);
}

TREVIK_NOINLINE bool TransformNode::IsAnimated() {
    return m_properties.HasAnimated();
}

/** UpdatePlain of a node in which not only the position is animated. */
bool TransformNode::UpdatePlainAnimated(unsigned int nOwn, Arguments const& arguments) {
    unsigned int nChanges = UpdateSeveralInline(nOwn, arguments);
    nChanges |= TakeTransform();
    nChanges |= FindParentChange() | m_nChanges;
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
    if (!NeedShape()) {
        return 0; // the marks stay, so that the next update tries again
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

/**
 * Makes the shape where there is none and a value that it is made from is other than it is at first, or may
 * become so by itself. False without memory.
 */
bool TransformNode::NeedShape() {
    Vector3T<RealFloat> const zeros, ones(1, 1, 1);
    if (m_pShape || (Stays(m_rotation, zeros) && Stays(m_pivot, zeros) && Stays(m_scale, ones) &&
                     Stays(m_stretch, ones))) {
        return true;
    }
    m_pShape = new (std::nothrow) Shape;
    return m_pShape != nullptr;
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
    unsigned int nChanges = m_nChanges != 0 ? m_nChanges : unsigned(Everything);
    nChanges |= TakeTransform();
    DeriveTransform(nChanges | FindParentChange());
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
    if (__builtin_expect(!IsZero(pivot), 0)) {
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
