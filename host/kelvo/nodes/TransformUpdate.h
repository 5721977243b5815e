#pragma once

#include "trevik/Matrix.h"
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

using trevik::detail::Lanes;
using trevik::detail::LoadLanes;
using trevik::detail::StoreLanes;

/**
 * Whether `taken`, which begins with a vector, had another one, which it has no more then. By bits, so that a
 * value that is not a number is equal to itself and does not count as changed for ever.
 */
template <class Taken>
inline bool Take(Vector3T<RealFloat> const& value, Taken& taken) {
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    if (std::memcmp(&value, &taken, sizeof(value)) == 0) {
        return false;
    }
    std::memcpy(static_cast<void*>(&taken), &value, sizeof(value));
    return true;
}

/** Within 0 to 1; 0 for NaN. */
inline RealFloat ClampOpacity(RealFloat opacity) {
    return opacity > 0 ? (opacity < 1 ? opacity : RealFloat(1)) : RealFloat(0);
}

/** Brings the position, which is all that is animated, to the frame; the changes, but for noted ones. */
inline unsigned int TransformNode::UpdatePosition(Arguments const& arguments) {
    Vector3T<RealFloat> const* const pPosition = m_position.Sample(arguments);
    if (__builtin_expect(!pPosition, 0)) {
        return UpdateRest(0, 0, arguments);
    }
    return Take(*pPosition, m_takenPosition) ? Moved : 0u;
}

/** Brings the opacity to the frame where it comes of samples alone; false elsewhere, with nothing done. */
inline bool TransformNode::SampleOpacity(Arguments const& arguments) {
    RealFloat const* const pOpacity = m_opacity.Sample(arguments);
    if (__builtin_expect(!pOpacity, 0)) {
        return false;
    }
    m_rOwnOpacity = ClampOpacity(*pOpacity);
    return true;
}

/** Takes the position over and clears its mark; returns the changes. */
inline unsigned int TransformNode::TakePosition() {
    if (!m_position.GetBinding()) {
        m_nMarks &= ~unsigned(PositionMark);
    }
    return Take(m_position.GetValue(), m_takenPosition) ? Moved : 0u;
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

/** To be called behind TakeTransform: values that are bound may do anything to the tree when asked for. */
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

inline Lanes AddVectors(Vector4T<RealFloat> const& a, Vector4T<RealFloat> const& b) {
    return LoadLanes(&a.x) + LoadLanes(&b.x);
}

inline void TransformNode::CountTransform() {
    m_nTransformVersion += 2; // neither 0 nor NoParent, whatever it comes to
    NoteForChildren();
}

/** The world matrix's origin, for a node whose parent's matrix only moves: the sum that the product is. */
inline void TransformNode::AddParentOrigin() {
    Lanes const origin = AddVectors(m_takenPosition, m_pivotOffset);
    Lanes const parent = LoadLanes(m_pParentTransform->m_worldMatrix.m + 12);
    StoreLanes(m_worldMatrix.m + 12, origin + parent - Lanes{0, 0, 0, 1});
}

/** For a node below one with a transform: only the origin has moved, the other columns stay. */
inline void TransformNode::MoveOrigin() {
    if (m_nMarks & ParentMovesMark) {
        AddParentOrigin();
    } else {
        RealFloat const* const parent = m_pParentTransform->m_worldMatrix.m;
        Lanes const origin = trevik::detail::TransformLanes(LoadLanes(parent), LoadLanes(parent + 4),
                                                            LoadLanes(parent + 8), LoadLanes(parent + 12),
                                                            AddVectors(m_takenPosition, m_pivotOffset));
        StoreLanes(m_worldMatrix.m + 12, origin);
    }
    CountTransform();
}

/** Whether a matrix is a translation or the identity; by bits, so that a -0 makes it something else. */
inline bool OnlyMoves(Matrix4T<RealFloat> const& matrix) {
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    return std::memcmp(matrix.m, Matrix4T<RealFloat>::Identity.m, 12 * sizeof(RealFloat)) == 0 &&
           matrix.m[15] == 1;
}

/**
 * Takes the parent's new matrix over, and the position, where that matrix did nothing but move and still
 * does: the other columns stay then. False elsewhere, with nothing done. Most of what moves by itself has
 * such nodes below it.
 */
inline bool TransformNode::FollowMovedParent() {
    TransformNode const* const pParent = m_pParentTransform;
    if (!(m_nMarks & ParentMovesMark) || !pParent || !pParent->m_fPlainUpdate ||
        !OnlyMoves(pParent->m_worldMatrix)) {
        return false;
    }
    m_nParentVersion = pParent->m_nTransformVersion;
    AddParentOrigin();
    CountTransform();
    return true;
}

/**
 * InternalUpdate, not forced, of a node that has no other one and no other CalculateTransform. Whether there
 * was nothing to do, and will be nothing until the node is woken.
 */
inline __attribute__((always_inline)) bool TransformNode::UpdatePlain(Arguments const& arguments) {
    unsigned int nChanges = 0;
    if (unsigned int const nOwn = m_properties.GetOwn(); nOwn > OwnPosition) {
        if (nOwn != OwnOpacity || !SampleOpacity(arguments)) {
            return UpdatePlainAnimated(nOwn, arguments);
        }
    } else if (nOwn == OwnPosition) {
        nChanges = UpdatePosition(arguments);
    }
    nChanges |= TakeTransform();
    nChanges |= FindParentChange() | m_nChanges;
    if (__builtin_expect(nChanges == Moved && m_pParentTransform, 1)) {
        MoveOrigin();
    } else if (nChanges != 0 && ((nChanges & (Turned | Shaped)) || !FollowMovedParent())) {
        DeriveTransform(nChanges);
    }
    return EndPlainUpdate(nChanges, arguments);
}

/** UpdatePlain behind the matrix, which has made what the changes say of it. */
inline __attribute__((always_inline)) bool TransformNode::EndPlainUpdate(unsigned int nChanges,
                                                                         Arguments const& arguments) {
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
inline bool TransformNode::CanRest() {
    return (m_nMarks & (TransformMarks | OpacityMark | TellMark)) == 0 && m_pParentTransform &&
           m_pParentTransform == m_pParent && m_pParentTransform->m_fPlainUpdate &&
           (m_properties.GetOwn() == 0 || !IsAnimated());
}

} // namespace trevik::kelvo
