#pragma once

#include "trevik/Export.h"
#include "trevik/Matrix.h"
#include "trevik/Rectangle.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/Vector3Property.h"

namespace trevik::kelvo {

struct UpdateOverriders;

/**
 * A node with a place, an opacity, masks and effects. Its local transform takes a point p of node space to
 * position + R · (scale · stretch · (p + pivot)), where R turns about x, then y, then z by the rotation's
 * degrees and the products of vectors are per component. One unit is one pixel under the default camera, y
 * points up.
 */
class TREVIK_API TransformNode : public Node {
public:
    TREVIK_NODE_REFLECTION(TransformNode, Node, "TransformNode", VisitNode)

    TransformNode();
    TransformNode(TransformNode const& other);
    ~TransformNode() override;

    Matrix4T<RealFloat> GetWorldMatrix() const override;
    RealFloat GetOpacity() const override;
    /** Draws this node unless it is invisible or wholly transparent, then its children. */
    void Render(GraphicsDevice& device) override;
    void Emit(MemoryTracer* pTracer) override;
    void RegisterProperties() override;
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;
    void AddMask(Mask* pMask) override;
    void AddEffect(Effect* pEffect) override;
    /**
     * InternalUpdate calls it when a property value or the parent's matrix has changed, or when it is forced.
     */
    void CalculateTransform() override;
    bool IsSelect(GraphicsDevice& device, SizeT<int> const& size, Vector2T<RealFloat>& position,
                  RealFloat& distance) override;

    Vector3Property& GetPositionProperty() { return m_position; }
    Vector3Property& GetRotationProperty() { return m_rotation; }
    Vector3Property& GetPivotProperty() { return m_pivot; }
    Vector3Property& GetScaleProperty() { return m_scale; }
    Vector3Property& GetStretchProperty() { return m_stretch; }
    RealProperty& GetOpacityProperty() { return m_opacity; }
    BoolProperty& GetVisibleProperty() { return m_visible; }
    BoolProperty& GetDepthProperty() { return m_depth; }
    BoolProperty& GetSelectableProperty() { return m_selectable; }

    List<Mask*>& GetMasks() { return m_masks; }
    /** The effects, in order. To be asked for anew to change them: an update looks for effects only then. */
    List<Effect*>& GetEffects() {
        Awaken();
        return m_effects;
    }
    List<Effect*> const& GetEffects() const { return m_effects; }
    /** Drops a mask's or effect's reference; one that is not attached is ignored. */
    void RemoveMask(Mask* pMask);
    /** Drops an effect's reference; one that is not attached is ignored. */
    void RemoveEffect(Effect* pEffect);

    /** Node space to parent space, as of the last update. */
    Matrix4T<RealFloat> GetLocalMatrix() const;
    /** Whether Render and selection leave the node and its children out: invisible, or wholly transparent. */
    bool IsHidden() const { return !(GetDrawState() & Visible) || !(m_rEffectiveOpacity > 0); }

    /**
     * While it lives, `node` is updated in the space of the parent of `sibling`, with that parent's matrix
     * and opacity, or as one without a parent when `sibling` has none, or has one without a transform and
     * there is no memory to keep that in mind. For nodes that belong to another one without being its
     * children. Afterwards a node with a parent of its own is in the space of that one again, from its next
     * update on.
     */
    class TREVIK_API SharedParent {
    public:
        /** Puts `node` into the space of `sibling`'s parent; both are borrowed. */
        SharedParent(TransformNode& node, TransformNode const& sibling);
        ~SharedParent();
        SharedParent(SharedParent const&) = delete;
        SharedParent& operator=(SharedParent const&) = delete;

    private:
        TransformNode& m_node;
    };

protected:
    /** Marks of the properties; derived classes have the bits from FirstDerivedMark on. */
    enum Marks : unsigned short {
        PositionMark = 1,
        RotationMark = 2,
        ScaleMark = 4,
        ShapeMark = 8, ///< pivot, stretch
        TransformMarks = 15,
        OpacityMark = 16,
        DrawMark = 32, ///< visible, depth
        FirstDerivedMark = 64
    };
    /** What drawing asks of the properties. */
    enum DrawState : unsigned int { Visible = 1, CameraDepth = 2 };

    /** The current values of "Visible" and "CameraDepth", as bits. */
    unsigned int GetDrawState() const {
        if (__builtin_expect((m_nMarks & DrawMark) != 0, 0)) {
            TakeDrawState();
        }
        return m_nDrawState;
    }
    /** Current value of "CameraDepth". */
    bool HasCameraDepth() const { return (GetDrawState() & CameraDepth) != 0; }

    /** Renders the children, in order. While one is drawn, what drawing the next ones reads is on its way. */
    void RenderChildren(GraphicsDevice& device);

private:
    /** The values that a transform is made from, as bits of a set of changes. */
    enum Change : unsigned int {
        Moved = 1,       ///< position
        Turned = 2,      ///< rotation
        Shaped = 4,      ///< pivot, scale, stretch
        ParentMoved = 8, ///< the parent's world matrix
        Everything = 15
    };
    /** In the set of the list's properties that the node brings to a frame by itself, see PropertyList. */
    enum OwnProperty : unsigned int { OwnPosition = 1, OwnRotation = 2, OwnScale = 4, OwnOpacity = 8 };
    /** Stands for the transform version of a parent where there is none. */
    static constexpr unsigned int NoParent = 2;

    friend class Node;     // tells of a new parent
    friend class Property; // wakes the node
    friend class Timeline; // leaves out what is asleep

    /** Rotation, pivot, scale and stretch as they were taken over, and what becomes of them. */
    struct Shape;

    Shape* m_pShape = nullptr; ///< made when one of the values is first given, animated or bound

protected:
    // Most of the time that a node takes in a frame is spent on fetching it. So what updates and draws read
    // of every node lies in one piece of three cache lines, up to and including the count of masks; fetching
    // ahead relies on it.

    /** Node space to world space, as of the last update. */
    Matrix4T<RealFloat> m_worldMatrix;

private:
    Vector4T<RealFloat> m_takenPosition;           ///< the position that the matrices were made from; w = 0
    Vector4T<RealFloat> m_pivotOffset{0, 0, 0, 1}; ///< the pivot, scaled and turned; w = 1
    TransformNode* m_pParentTransform = nullptr;   ///< see GetSpace; null when that has no transform

protected:
    /**
     * Set by properties whose values are still to be taken up. While a property is bound its mark stays: a
     * binding changes its value without telling. Derived classes set and clear their own marks only.
     */
    mutable PropertyMarks m_nMarks = 0xffff;
    /**
     * For derived classes, to keep there what they have taken up, since drawing reads this line anyway. A
     * sprite keeps its style there, so classes that derive from it leave it alone.
     */
    mutable unsigned char m_nDerivedState = 0;

private:
    bool m_fSharesSpace = false; ///< see GetSpace
    mutable unsigned char m_nDrawState = 0;
    /** What CalculateTransform has to take up; 0 = it was called from outside. */
    unsigned char m_nChanges = Everything;
    unsigned int m_nTransformVersion = 1;   ///< another odd number after each change of m_worldMatrix
    unsigned int m_nTreeEntry = 0;          ///< the place in the list that the node's timeline flattened last
    RealFloat m_rOwnOpacity = RealFloat(1); ///< the opacity property, within 0 to 1

protected:
    RealFloat m_rEffectiveOpacity = RealFloat(1); ///< own opacity times the parent's, as of the last update

    /**
     * Calls a function with one entry of a list after the other until it returns true; returns whether it
     * did. The function may change the list: entries that it appends get their call too, and an entry that is
     * removed during its own call lives until that returns; none is left out.
     */
    template <class T, class Function>
    static bool CallEach(List<T*>& list, Function call) {
        for (unsigned int nEntry = 0; nEntry < list.GetCount();) {
            Ref<T> const pEntry(list[nEntry]);
            if (call(*pEntry)) {
                return true;
            }
            nEntry += nEntry < list.GetCount() && list[nEntry] == pEntry.Get() ? 1 : 0;
        }
        return false;
    }

    List<Effect*> m_effects;    ///< in attachment order, one reference each
    Vector3Property m_position; ///< "Position", units of the parent's space, (0, 0, 0)
    List<Mask*> m_masks;        ///< one reference each
    Vector3Property m_rotation; ///< "Rotation", degrees about x, y and z, applied in this order, (0, 0, 0)
    Vector3Property m_pivot;    ///< "Pivot", node units, added before scaling and turning, (0, 0, 0)
    Vector3Property m_scale;    ///< "Scale", (1, 1, 1)
    Vector3Property m_stretch;  ///< "Stretch", a second scale, multiplied with the first, (1, 1, 1)
    RealProperty m_opacity;     ///< "Opacity", 0 to 1, 1
    BoolProperty m_visible;     ///< "Visible": the node and its children are drawn and can be selected, true
    BoolProperty m_depth;       ///< "CameraDepth": handed to GraphicsDevice::SetCameraDepth, false
    BoolProperty m_selectable;  ///< "Selectable": selection finds the node, not counting its children, true

    /** IsSelect for any rectangle in the plane z = 0 of node space. */
    bool IsRectangleSelected(GraphicsDevice& device, RectangleT<RealFloat> const& rectangle,
                             Vector2T<RealFloat>& position, RealFloat& distance);
    /** Whether the pick ray passes through one of the node's masks, or the node has none. */
    bool IsSelectedInMasks(GraphicsDevice& device);

private:
    // Marks besides those of properties, and Property::AsleepMark: what an update found so that the next one
    // need not look for it.
    /** The world matrix or the opacity has changed, which the children have not been told. */
    static constexpr PropertyMarks TellMark = 0x40000000u;
    /** The parent's world matrix, as of m_nParentVersion, does nothing but move. */
    static constexpr PropertyMarks ParentMovesMark = 0x20000000u;

    /** What InternalUpdate is given. */
    struct Arguments : UpdateContext {
        Arguments(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce)
            : UpdateContext(device, frame), m_pFrame(&frame), m_pDelta(&delta), m_fForce(fForce) {}
        RealFloat const* const m_pFrame;
        RealFloat const* const m_pDelta;
        bool const m_fForce;
    };

    void SetPropertyMarks();
    Node* GetSpace() const;
    void SetSpace(Node* pNode);
    // Inline only where they are used, which is where they are defined.
    static inline void FetchForDrawing(Node const* pNode);
    static inline void FetchForUpdating(Node const* pNode);
    inline unsigned int UpdatePosition(Arguments const& arguments);
    inline bool SampleOpacity(Arguments const& arguments);
    unsigned int UpdateSeveral(unsigned int nOwn, Arguments const& arguments);
    inline unsigned int UpdateSeveralInline(unsigned int nOwn, Arguments const& arguments);
    unsigned int UpdateRest(unsigned int nDone, unsigned int nChanges, Arguments const& arguments);
    unsigned int UpdateUnfound(Arguments const& arguments);
    inline unsigned int TakePosition();
    inline unsigned int TakeTransform();
    inline unsigned int FindParentChange() const;
    inline bool UpdateOpacity();
    inline void CountTransform();
    inline void NoteForChildren();
    void Awaken() {
        if (__builtin_expect((m_nMarks & Property::AsleepMark) != 0, 0)) {
            Wake();
        }
    }
    void Wake();
    inline bool CanRest();
    bool IsAnimated();
    inline void MoveOrigin();
    inline bool FollowMovedParent();
    inline void AddParentOrigin();
    inline void MoveWithParent(RealFloat const* pLocalColumns);
    void MultiplyWithParent();
    inline bool UpdatePlain(Arguments const& arguments);
    bool UpdatePlainAnimated(unsigned int nOwn, Arguments const& arguments);
    inline bool EndPlainUpdate(unsigned int nChanges, Arguments const& arguments);
    static UpdateOverriders const& GetOwnOverriders(TransformNode const& node);
    unsigned int TakeRotationAndShape();
    void TakeOpacity();
    TREVIK_NOINLINE void TakeDrawState() const {
        m_nDrawState = static_cast<unsigned char>((m_visible.GetValue() ? Visible : 0u) |
                                                  (m_depth.GetValue() ? CameraDepth : 0u));
        if (!m_visible.GetBinding() && !m_depth.GetBinding()) {
            m_nMarks &= ~unsigned(DrawMark);
        }
    }
    void UpdateEffects(Arguments const& arguments);
    void CalculateAnyTransform();
    void DeriveTransform(unsigned int nChanges);
    inline void DeriveTransformInline(unsigned int nChanges);
    inline void TakeShape(unsigned int nChanges);
    bool NeedShape();
    RealFloat const* GetLocalColumns() const;
};

} // namespace trevik::kelvo
