#pragma once

#include "trevik/Encoding.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/Size.h"
#include "trevik/StringEncoded.h"
#include "trevik/Types.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/NodeUserdata.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/Reflection.h"

#include <new>

namespace trevik::kelvo {

class Deserializer;
class Effect;
class GraphicsDevice;
class Mask;
class NodeVisitor;
class Serializer;
class TransformNode;

/**
 * A node of the scene. A node has at most one parent, which holds a reference to it; children are kept,
 * updated and drawn in attachment order. The scene is changed, updated and drawn on one thread, the render
 * thread.
 *
 * The order of the virtual operations is part of the contract between host and back ends.
 */
class TREVIK_API Node : public Referenced, public ITraceable {
public:
    /**
     * The most levels that a tree has, all of them counted: from the topmost node down over children, and
     * over a timeline's camera or a text's background that has no parent. Operations that would make a deeper
     * tree are refused, since drawing, saving, copying and visiting a tree recurse.
     */
    static constexpr unsigned int MaximumDepth = 1020;

    static constexpr unsigned int ClassID = HashName("Node"); ///< id that all nodes answer IsKindOf with
    /** Whether the id is this class's or a base's. */
    static bool IsOwnOrBaseID(unsigned int nClassID) { return nClassID == ClassID; }

    Node();
    /**
     * Copies what belongs to the node itself: name, property values and controllers; no parent, children,
     * user data.
     */
    Node(Node const& other);
    ~Node() override;
    Node& operator=(Node const&) = delete;

    // Reflection, implemented by each concrete class through TREVIK_NODE_REFLECTION.

    /**
     * A new object of the same concrete class, without children, owned by the caller; null when there is not
     * the memory for all of it.
     */
    virtual Node* Clone() const = 0;
    /** Id of the concrete class's own name. */
    virtual unsigned int GetClassID() const = 0;
    /** Bytes of the concrete object. */
    virtual unsigned int GetClassSize() const = 0;
    /** The concrete class's own name. */
    virtual StringEncoded<UTF16Encoding> GetClassName() const = 0;
    /** Calls the visitor's operation for this kind of node, then the children's Accept in order. */
    virtual void Accept(NodeVisitor& visitor, void* pArgument) = 0;
    /** Clone() with copies of all descendants attached; null when out of memory. */
    virtual Node* CloneTree() const = 0;
    /** Whether the id is that of the concrete class or of one on its base chain. */
    virtual bool IsKindOf(unsigned int nClassID) const = 0;
    /** Id of the class name under which the node's factory is registered. */
    virtual unsigned int GetFactoryClassID() const = 0;

    // Scene operations.

    /** Returns the node and its descendants to their state before playback. */
    virtual void Reset();
    /**
     * Keeps something of the application's with the node, by reference; null for nothing. Without memory
     * nothing is kept, as GetUserData tells.
     */
    virtual void SetUserData(Ref<NodeUserdata> const& pUserdata);
    /** What SetUserData was given last, borrowed; null at first. */
    virtual NodeUserdata* GetUserData();
    /** What SetUserData was given last, borrowed; null at first. */
    virtual NodeUserdata const* GetUserData() const;
    /**
     * Appends a child. A child of another parent is moved. Refused (traced), with nothing changed, are null,
     * the node itself, ancestors and other nodes that keep this one alive, a child that would make the tree
     * deeper than MaximumDepth, and any child when memory is short.
     */
    virtual void Attach(Node* pChild);
    /** Inserts `pChild` before `pSibling`, a child of this node; appends when it is none. */
    virtual void AttachBefore(Node* pChild, Node* pSibling);
    /** Inserts `pChild` after `pSibling`, a child of this node; appends when it is none. */
    virtual void AttachAfter(Node* pChild, Node* pSibling);
    /** Removes a child and drops its reference; a node that is no child of this one is ignored. */
    virtual void Detach(Node* pChild);
    /** Node space to world space, as of the last update. Identity for nodes without a transform. */
    virtual Matrix4T<RealFloat> GetWorldMatrix() const = 0;
    /** Product of the opacities from the root down to this node, 0 to 1, as of the last update. */
    virtual RealFloat GetOpacity() const = 0;
    /** Updates the subtree to `frame` with no time passing. */
    virtual void Update(GraphicsDevice& device, RealFloat const& frame);
    /**
     * Updates the node, then its children: properties at `frame` (in the frames of the enclosing timeline),
     * transforms and opacity. `delta` is the time passed since the last update, in seconds; timelines advance
     * by it. With `fForce` everything derived is recomputed even where no input changed. Allocates nothing
     * unless the tree has changed.
     */
    virtual void Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce);
    /** Draws the subtree, or, in selection mode, enters the nodes hit into the device's selection list. */
    virtual void Render(GraphicsDevice& device) = 0;
    /**
     * Writes the subtree into the current document node: attribute "NodeName" (UTF-16 units), what
     * InternalSave writes, and a child "Node" for each child, of the type that its factory is registered
     * under. False, traced with the node's path, when something cannot be saved.
     */
    virtual bool Save(Serializer& serializer);
    /**
     * Reads the subtree from the current document node; children are created through the deserializer's
     * registry. False, traced with path and reason, when a type is unknown or something does not fit; no
     * child that failed to load stays attached then, but the node may have changed and is to be dropped.
     */
    virtual bool Load(Deserializer& deserializer);
    /** Called once after a whole tree has been loaded, parents first. */
    virtual void Reload();
    void Emit(MemoryTracer* pTracer) override = 0;
    /** Appends this node's ancestors, nearest first, up to and including `pRoot` (null: up to the top). */
    virtual void GetParents(Node* pRoot, List<Ref<Node>>& parents);
    /**
     * Enters the class's properties in the property list. The host calls it once per object, before first
     * use.
     */
    virtual void RegisterProperties() = 0;
    /** Updates this node alone; see Update. */
    virtual void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                bool fForce) = 0;
    /** Draws this node alone. The base draws nothing. */
    virtual void InternalRender(GraphicsDevice& device);
    /**
     * Enters this node into the device's selection list when the selection point hits it. The base does
     * nothing.
     */
    virtual void InternalSelect(GraphicsDevice& device);
    /** Writes what belongs to this node alone. */
    virtual bool InternalSave(Serializer& serializer) = 0;
    /** Reads what belongs to this node alone. */
    virtual bool InternalLoad(Deserializer& deserializer) = 0;
    /** Attaches a mask (a reference is held). */
    virtual void AddMask(Mask* pMask) = 0;
    /** Attaches an effect (a reference is held). */
    virtual void AddEffect(Effect* pEffect) = 0;
    /** Recomputes local and world matrix from the property values and the parent's world matrix. */
    virtual void CalculateTransform() = 0;
    /**
     * Whether the pick ray through the device's selection point hits the rectangle (0, 0) to `size` in node
     * space; `position` receives where, as fractions of width and height, `distance` how far along the ray.
     */
    virtual bool IsSelect(GraphicsDevice& device, SizeT<int> const& size, Vector2T<RealFloat>& position,
                          RealFloat& distance) = 0;

    // What follows is not virtual.

    /** The node's name, for look-ups and messages; empty until set. */
    StringEncoded<UTF16Encoding> const& GetName() const { return m_sName; }
    /** Gives the node another name. */
    void SetName(StringEncoded<UTF16Encoding> const& sName) { m_sName = sName; }
    /** First node of the subtree, in drawing order, with the name; null when there is none. */
    Node* FindNode(StringEncoded<UTF16Encoding> const& sName);
    /**
     * The names from the topmost ancestor down to this node, for messages; a node without one shows its
     * index.
     */
    StringEncoded<UTF16Encoding> GetPath() const;

    /** The parent, borrowed; null for a node that stands alone. */
    Node* GetParent() const { return m_pParent; }
    /** The number of children. */
    unsigned int GetChildCount() const { return m_children.GetCount(); }
    /** Child `nChild` (0 .. GetChildCount() - 1) in attachment order, borrowed. */
    Node* GetChild(unsigned int nChild) const { return m_children[nChild]; }
    List<Node*> const& GetChildren() const { return m_children; }
    /** This node, when it has a transform; null for others. */
    TransformNode* GetTransformNode() const;

    /** The node's animated properties; registers them on first use. */
    PropertyList& GetProperties() {
        EnsureRegistered();
        return m_properties;
    }

protected:
    static constexpr unsigned long CacheLine = 64; ///< bytes

    /** Calls RegisterProperties, the first time. */
    void EnsureRegistered() {
        if (__builtin_expect(!m_fRegistered, 0)) {
            m_fRegistered = true;
            RegisterProperties();
        }
    }
    /**
     * Registers a new copy's properties, so that none of their changes is missed, and returns it; deletes it
     * and returns null when memory was short for any part of it. Null stays null.
     */
    static Node* RegisterCopy(Node* pCopy) {
        if (pCopy) {
            pCopy->EnsureRegistered();
            if (!pCopy->m_properties.IsWhole()) {
                delete pCopy;
                return nullptr;
            }
        }
        return pCopy;
    }
    /** Accept of each child, in order. */
    void AcceptChildren(NodeVisitor& visitor, void* pArgument) {
        for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
            m_children[nChild]->Accept(visitor, pArgument);
        }
    }
    /**
     * Attaches CloneTree() of each child to `pCopy` and returns it; deletes it and returns null when one
     * fails.
     */
    Node* CloneChildrenInto(Node* pCopy) const;
    /**
     * What speaks against this node holding another one besides its children, as a timeline its camera: "...
     * keeps it alive", "would lie too deep" or "finds no memory". Null when nothing does, and NoteHeld can be
     * called.
     */
    char16_t const* PrepareHold(Node& node);
    /**
     * Is told of the one node that this one holds besides its children, by those who take and drop that
     * reference, after PrepareHold; null when it holds none.
     */
    void NoteHeld(Node* pNode);

    // Every frame reads the members up to the first words of m_properties: 64 bytes.
    List<Node*> m_children;     ///< in attachment order, one reference each
    bool m_fRegistered = false; ///< whether RegisterProperties has been called
    /**
     * Set by classes that update their subtree in an Update of their own; other nodes are only asked for
     * InternalUpdate when a timeline updates its flattened tree.
     */
    bool m_fUpdatesSubtree = false;
    /**
     * Nodes below were attached or detached since the tree was last flattened. Set in all nodes from the
     * place of the change up to the nearest one that updates its own subtree.
     */
    bool m_fSubtreeChanged = true;
    mutable bool m_fSeen : 1;          ///< by IsKeptBy, while it looks around
    bool m_fPlainUpdate : 1;           ///< see HasPlainUpdate; as of the last flattening
    bool m_fPlainEntry : 1;            ///< and it does not update its subtree
    bool m_fFlattensSubtree : 1;       ///< it is a timeline
    bool m_fHasTransform : 1;          ///< it is a TransformNode; set by that
    unsigned int m_nParentVersion = 0; ///< the parent's transform version when last derived from; 0 = never
    /** The animated properties; see GetProperties. */
    PropertyList m_properties;
    Node* m_pParent = nullptr; ///< see GetParent

private:
    friend class Timeline; // flattens its subtree
    friend class TransformNode;

    bool CanAttach(Node const* pChild) const;
    void SetParent(Node* pParent);
    void InsertChild(unsigned int nIndex, Node* pChild);
    void MoveChild(unsigned int nFrom, unsigned int nTo);
    void RemoveChild(unsigned int nIndex);
    void ReleaseChildren();
    void MarkSubtreeChanged();
    bool IsKeptBy(Node const& node) const;
    bool HasRoomBelow(Node const& node) const;
    unsigned int CountLevelsAbove() const;
    unsigned int CountLevelsBelow() const;

    /** What few nodes have. */
    struct Extras;

    bool NeedExtras();
    Node* GetHeld() const;
    Node* GetFirstHolder() const;
    Node* GetSharedSpace() const;
    void SetSharedSpace(Node* pSpace);

    StringEncoded<UTF16Encoding> m_sName;
    Extras* m_pExtras = nullptr; ///< made when there is something for it
};

} // namespace trevik::kelvo
