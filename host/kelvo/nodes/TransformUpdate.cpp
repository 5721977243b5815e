#include "kelvo/nodes/TransformUpdate.h"

#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Timeline.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace trevik::kelvo {

namespace {

/**
 * Whether `taken` is another value, which it is no more then. By bits, so that a value that is not a number
 * is equal to itself and does not count as changed for ever.
 */
inline bool Take(Vector3T<RealFloat> const& value, Vector3T<RealFloat>& taken) {
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    if (std::memcmp(&value, &taken, sizeof(value)) == 0) {
        return false;
    }
    taken = value;
    return true;
}

/** Whether a matrix is a translation or the identity; by bits, so that a -0 makes it something else. */
bool OnlyMoves(Matrix4T<RealFloat> const& matrix) {
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    return std::memcmp(matrix.m, Matrix4T<RealFloat>::Identity.m, 12 * sizeof(RealFloat)) == 0 &&
           matrix.m[15] == 1;
}

/** The rotation's columns, without a product where only z, as in a plane, is turned about. */
inline void WriteRotation(Vector3T<RealFloat> const& degrees, RealFloat (&m)[12]) {
    if (degrees.x != 0 || degrees.y != 0) {
        Matrix4T<RealFloat> const rotation = Matrix4RotationEulerXYZ(degrees);
        std::memcpy(m, rotation.m, sizeof(m));
        return;
    }
    RealFloat sine, cosine;
    trevik::detail::SineAndCosineOfDegrees(degrees.z, sine, cosine);
    m[0] = m[5] = cosine;
    m[1] = sine;
    m[4] = 0 - sine;
    m[2] = m[3] = m[6] = m[7] = m[8] = m[9] = m[11] = 0;
    m[10] = 1;
}

/** Whether a property has this value and nothing that gives it another one. */
bool Stays(Vector3Property const& property, Vector3T<RealFloat> const& value) {
    // By bits, as in Take. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    bool const fSame = std::memcmp(&property.GetValue(), &value, sizeof(value)) == 0;
    return fSame && property.GetControllerCount() == 0 && !property.GetBinding();
}

/** Within 0 to 1; 0 for NaN. */
RealFloat ClampOpacity(RealFloat opacity) {
    return opacity > 0 ? (opacity < 1 ? opacity : RealFloat(1)) : RealFloat(0);
}

} // namespace

// How a node's matrices and opacity follow its properties and its parent, and when it is left out.

void TransformNode::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                   bool fForce) {
    Arguments const arguments(device, frame, delta, fForce);
    m_properties.Update(arguments, frame);
    unsigned int nChanges = m_nChanges | TakeTransform() | FindParentChange();
    if (fForce) {
        nChanges |= Everything;
    }
    if (nChanges != 0) {
        m_nChanges = static_cast<unsigned char>(nChanges);
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
    if (m_nChanges == Moved && m_pParentTransform && (m_nMarks & TransformMarks) == 0) {
        m_nChanges = 0;
        MoveOrigin();
    } else {
        CalculateAnyTransform();
    }
}

void TransformNode::CalculateAnyTransform() {
    // No changes are noted when it is called from outside: then all values count as changed.
    unsigned int const nNoted = m_nChanges != 0 ? m_nChanges : unsigned(Everything);
    unsigned int const nChanges = nNoted | TakeTransform();
    m_nChanges = 0;
    if (m_pShape && (nChanges & (Turned | Shaped))) {
        TakeShape(nChanges);
    }
    if (m_pParentTransform) {
        MultiplyWithParent();
    } else if (Node const* const pSpace = GetSpace()) {
        Matrix4Multiply(GetLocalMatrix(), pSpace->GetWorldMatrix(), m_worldMatrix);
    } else {
        m_worldMatrix = GetLocalMatrix();
        m_nParentVersion = NoParent;
    }
    CountTransform();
}

/** The world matrix from the local one and the parent's. Most parents only move, which makes a product a sum.
 */
inline void TransformNode::MultiplyWithParent() {
    TransformNode const& parent = *m_pParentTransform;
    if (m_nParentVersion != parent.m_nTransformVersion) {
        m_nParentVersion = parent.m_nTransformVersion;
        // A class may write its world matrix without counting that.
        bool const fMoves = parent.m_fPlainUpdate && OnlyMoves(parent.m_worldMatrix);
        m_nMarks = fMoves ? m_nMarks | ParentMovesMark : m_nMarks & ~ParentMovesMark;
    }
    if (!(m_nMarks & ParentMovesMark)) {
        Matrix4Multiply(GetLocalMatrix(), parent.m_worldMatrix, m_worldMatrix);
        return;
    }
    RealFloat const* const local = GetLocalColumns();
    for (int nElement = 0; nElement < 12; ++nElement) {
        m_worldMatrix.m[nElement] = local[nElement] + 0; // 0 of -0, as the product has it
    }
    AddParentOrigin(GetOrigin());
}

/** The first three columns of the local matrix. */
RealFloat const* TransformNode::GetLocalColumns() const {
    return m_pShape ? m_pShape->m_localColumns : Matrix4T<RealFloat>::Identity.m;
}

Matrix4T<RealFloat> TransformNode::GetLocalMatrix() const {
    Matrix4T<RealFloat> matrix{Uninitialized()};
    Vector4T<RealFloat> const origin = GetOrigin();
    std::memcpy(matrix.m, GetLocalColumns(), sizeof(Shape::m_localColumns));
    std::memcpy(matrix.m + 12, &origin, sizeof(origin));
    return matrix;
}

/** Columns of the rotation, scaled, and the pivot's. Sines and cosines only when the rotation has changed. */
void TransformNode::TakeShape(unsigned int nChanges) {
    Shape& shape = *m_pShape;
    if (nChanges & Turned) {
        WriteRotation(shape.m_rotation, shape.m_rotationColumns);
    }
    Vector3T<RealFloat> const& scale = shape.m_scale;
    Vector3T<RealFloat> const& stretch = shape.m_stretch;
    Vector3T<RealFloat> const& pivot = shape.m_pivot;
    RealFloat const factors[3] = {scale.x * stretch.x, scale.y * stretch.y, scale.z * stretch.z};
    RealFloat const shifts[3] = {pivot.x, pivot.y, pivot.z};
    RealFloat offset[4] = {0, 0, 0, 1};
    // Four elements at a time, which compilers make one operation of; the fourth stays what it is.
    for (unsigned int nColumn = 0; nColumn < 3; ++nColumn) {
        RealFloat const* const rotation = shape.m_rotationColumns + std::size_t{4} * nColumn;
        RealFloat column[4];
        for (int nRow = 0; nRow < 4; ++nRow) {
            column[nRow] = rotation[nRow] * factors[nColumn];
        }
        for (int nRow = 0; nRow < 4; ++nRow) {
            offset[nRow] += column[nRow] * shifts[nColumn];
        }
        std::memcpy(shape.m_localColumns + std::size_t{4} * nColumn, column, sizeof(column));
    }
    m_pivotOffset = Vector4T<RealFloat>(offset[0], offset[1], offset[2], offset[3]);
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
