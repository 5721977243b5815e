#pragma once

#include "trevik/Memory.h"
#include "trevik/kelvo/TransformNode.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace trevik::kelvo {

/**
 * What a node does without that is neither turned, scaled nor stretched and has no pivot, as most nodes: 144
 * bytes.
 */
struct TransformNode::Shape {
    static void* operator new(std::size_t nBytes, std::nothrow_t const&) noexcept {
        return AllocateMemory(nBytes);
    }
    static void operator delete(void* pMemory, std::nothrow_t const&) noexcept { FreeMemory(pMemory); }
    static void operator delete(void* pMemory) noexcept { FreeMemory(pMemory); }

    // The values that were taken over.
    Vector3T<RealFloat> m_rotation;
    Vector3T<RealFloat> m_pivot;
    Vector3T<RealFloat> m_scale{1, 1, 1};
    Vector3T<RealFloat> m_stretch{1, 1, 1};
    // The first three columns of matrices, four elements each.
    RealFloat m_rotationColumns[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}; ///< of m_rotation
    RealFloat m_localColumns[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};    ///< node space to parent space
};

// What updating a node does in most frames, for the sources that do it: a timeline's walk has it compiled
// into its loop. The rest is in TransformUpdate.cpp.

/** Has the memory fetched that updating a node will read, as far as it is in the node. */
inline void TransformNode::FetchForUpdating(Node const* pNode) {
    char const* const pBytes = reinterpret_cast<char const*>(pNode);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // as in FetchForDrawing
    constexpr std::size_t Last = offsetof(TransformNode, m_masks);
    __builtin_prefetch(pBytes);
    __builtin_prefetch(pBytes + CacheLine);
    __builtin_prefetch(pBytes + Last - 2 * CacheLine);
    __builtin_prefetch(pBytes + Last - CacheLine);
    __builtin_prefetch(pBytes + Last);
#pragma GCC diagnostic pop
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
    return GetSpace() || m_nParentVersion != NoParent ? ParentMoved : 0u;
}

/** To be called when what the children take over has changed: their timeline tells them at its next update.
 */
inline void TransformNode::NoteForChildren() {
    if (__builtin_expect(!m_children.IsEmpty(), 0)) {
        Awaken();
        m_nMarks |= TellMark;
    }
}

/** Whether the opacity has changed, or is not a number. */
inline bool TransformNode::UpdateOpacity() {
    if (__builtin_expect((m_nMarks & OpacityMark) != 0, 0)) {
        TakeOpacity();
    }
    RealFloat opacity = m_rOwnOpacity;
    if (__builtin_expect(m_pParentTransform != nullptr, 1)) {
        opacity *= m_pParentTransform->m_rEffectiveOpacity;
    } else if (Node const* const pSpace = GetSpace()) {
        opacity *= pSpace->GetOpacity();
    }
    if (opacity == m_rEffectiveOpacity) {
        return false;
    }
    m_rEffectiveOpacity = opacity;
    NoteForChildren();
    return true;
}

/** Where node space's origin is in the parent's. */
inline Vector4T<RealFloat> TransformNode::GetOrigin() const {
    return m_takenPosition + m_pivotOffset;
}

inline void TransformNode::CountTransform() {
    if (__builtin_expect(++m_nTransformVersion == NoParent, 0)) {
        m_nTransformVersion = 1;
    }
    NoteForChildren();
}

/** The world matrix's origin, for a node whose parent's matrix only moves: the sum that the product is. */
inline void TransformNode::AddParentOrigin(Vector4T<RealFloat> const& origin) {
    RealFloat const* const parent = m_pParentTransform->m_worldMatrix.m;
    RealFloat const local[4] = {origin.x, origin.y, origin.z, origin.w};
    RealFloat const ones[4] = {0, 0, 0, 1};
    for (int nRow = 0; nRow < 4; ++nRow) {
        m_worldMatrix.m[12 + nRow] = local[nRow] + parent[12 + nRow] - ones[nRow];
    }
}

/** For a node below one with a transform: only the origin has moved, the other columns stay. */
inline void TransformNode::MoveOrigin() {
    Vector4T<RealFloat> origin = GetOrigin();
    if (m_nMarks & ParentMovesMark) {
        AddParentOrigin(origin);
    } else {
        Matrix4Vector4Multiply(m_pParentTransform->m_worldMatrix, origin, origin);
        std::memcpy(m_worldMatrix.m + 12, &origin, sizeof(origin));
    }
    CountTransform();
}

/**
 * InternalUpdate, not forced, of a node that has no other one and no other CalculateTransform. Whether there
 * was nothing to do, and will be nothing until the node is woken.
 */
inline __attribute__((always_inline)) bool TransformNode::UpdatePlain(Arguments const& arguments) {
    m_properties.Update(arguments, *arguments.m_pFrame);
    unsigned int const nChanges = m_nChanges | TakeTransform() | FindParentChange();
    if (__builtin_expect(nChanges == Moved && m_pParentTransform, 1)) {
        MoveOrigin();
    } else if (nChanges != 0) {
        m_nChanges = static_cast<unsigned char>(nChanges);
        CalculateAnyTransform();
    }
    bool const fFaded = UpdateOpacity();
    if (__builtin_expect(!m_effects.IsEmpty(), 0)) {
        UpdateEffects(arguments);
        return false;
    }
    return nChanges == 0 && !fFaded && CanRest();
}

/**
 * Whether everything that an update looks at tells when it changes: no controllers, no bound property, no
 * effects, and a parent in the tree that tells its children.
 */
inline bool TransformNode::CanRest() const {
    return (m_nMarks & (TransformMarks | OpacityMark | TellMark)) == 0 && !m_properties.HasAnimated() &&
           m_pParentTransform && m_pParentTransform == m_pParent && m_pParentTransform->m_fPlainUpdate;
}

} // namespace trevik::kelvo
