#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/TransformNode.h"
#include "trevik/kelvo/TreeNode.h"

namespace trevik::kelvo {

/** What a timeline does when it reaches the end of its frame range. */
struct PlaybackMode {
    enum Enum {
        Once = 0,    ///< stops on the last frame
        Loop = 1,    ///< starts again at the first frame
        PingPong = 2 ///< turns round at both ends
    };
};

/**
 * A node whose children live in frames of its own. Its own properties are animated in the frames of the
 * timeline around it; a root's in the frames that its Update is given.
 *
 * While it plays it advances, at each update, by the time passed divided by the frame delay, within the range
 * FirstFrame to LastFrame: at the last frame playback stops, starts again, or turns round, as PlaybackMode
 * says. With LastFrame not above FirstFrame the range has no end. The time map bends the way through the
 * range: children see the mapped frame. A timeline in a timeline keeps its own time: it advances by the same
 * time passed, not by the outer frame.
 *
 * Updating walks a flattened list of the nodes below, up to and including nested timelines, which walk their
 * own. Nodes in which nothing can have changed are left out: those whose properties have neither been written
 * nor have controllers or bindings, without effects, below nodes that stand still as well. A class with an
 * InternalUpdate or a CalculateTransform of its own has its nodes, and their children, updated every time.
 */
class TREVIK_API Timeline : public TransformNode {
public:
    static constexpr unsigned int ClassID = HashName("Timeline"); ///< id of this class
    /** Whether the id is this class's or a base's. */
    static bool IsOwnOrBaseID(unsigned int nClassID) {
        return nClassID == ClassID || TransformNode::IsOwnOrBaseID(nClassID);
    }

    Timeline();
    Timeline(Timeline const& other);
    ~Timeline() override;

    /**
     * Back to the first frame, playing if it plays from the start; then the camera, unless it is attached
     * somewhere, and the children.
     */
    void Reset() override;
    /**
     * Shows the subtree as it is when the enclosing timeline stands at `frame`; no time passes. A timeline
     * without a parent seeks to `frame` itself.
     */
    void Update(GraphicsDevice& device, RealFloat const& frame) override;
    /**
     * Own properties at `frame`, then the advance by `delta`, then camera and children at the mapped frame.
     */
    void Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) override;
    /**
     * Draws the children between PreRenderChildren and PostRenderChildren; selects among them with the same
     * camera, within the masks.
     */
    void Render(GraphicsDevice& device) override;
    bool Load(Deserializer& deserializer) override;
    /** Rewinds as Reset does, now that the frame range is known. */
    void Reload() override;
    void Emit(MemoryTracer* pTracer) override;
    void RegisterProperties() override;
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override;
    void InternalRender(GraphicsDevice& device) override;
    void InternalSelect(GraphicsDevice& device) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;

    /** Starts or resumes playing at the current frame; playing once from the last frame on ends at once. */
    virtual void Play();
    /** Stops; the current frame stays. */
    virtual void Stop();
    /** The frame shown, before the time map. */
    virtual RealFloat GetFrame() const;
    /**
     * Seeks, forwards from there in PingPong; takes effect at the next update. Clamped to the frame range.
     */
    virtual void SetFrame(RealFloat const& frame);
    /** Seconds per frame; values that are not above 0 are ignored (traced). */
    virtual void SetFrameDelay(RealFloat const& delay);
    /** See SetTimeMapFunction. */
    virtual Interpolate::Function GetTimeMapFunction() const;
    /** Map from the fraction of the frame range played to the fraction shown; null is the identity. */
    virtual void SetTimeMapFunction(Interpolate::Function pfnFunction);
    /** Seeks to `frame` and updates the subtree at once. */
    virtual void UpdateSynchronous(GraphicsDevice& device, RealFloat const& frame);
    /** Sets camera, camera depth, effects, depth test and masks up for the children. */
    virtual void PreRenderChildren(GraphicsDevice& device) = 0;
    /** Undoes PreRenderChildren. */
    virtual void PostRenderChildren(GraphicsDevice& device) = 0;
    /** Brings a played frame that left the range (first, last) back into it as the playback mode says. */
    virtual void ProcessPlaybackMode(RealFloat const& frame, RealFloat const& first, RealFloat const& last);
    /**
     * Updates the flattened tree: entries in drawing order, each subtree behind its root. Leaves none out. It
     * is called by classes that override it, by forced updates and while there is an UpdateObserver.
     */
    virtual void UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice& device, RealFloat const& frame,
                            RealFloat const& delta, bool fForce);
    /** Flattens the subtree for UpdateTree; done again after the tree has changed. */
    virtual void BuildUpdateTree();

    /** Whether time passes: after Play, until Stop or the end. */
    bool IsPlaying() const { return m_fPlaying; }
    /**
     * Whether the timeline plays from the start, that is after Reload and Reset; saved with it, false at
     * first.
     */
    bool IsAutoPlay() const { return m_fAutoPlay; }
    /** Sets what IsAutoPlay answers. */
    void SetAutoPlay(bool fAutoPlay) { m_fAutoPlay = fAutoPlay; }
    /** Seconds per frame. */
    RealFloat GetFrameDelay() const { return m_rFrameDelay; }
    /** The frame that children see: GetFrame() through the time map. */
    RealFloat GetMappedFrame() const;

    /**
     * The camera through which children are seen; null leaves the enclosing one. Held by reference, not a
     * child: unless it is attached somewhere, it is updated with the timeline, at the frame that children
     * see, and stands in world space; it is copied and saved with the timeline.
     *
     * Attached below the timeline, it is found again below a copy of the tree; attached elsewhere, it is the
     * copy's camera too. A tree that is saved and loaded has it where it was attached. One that keeps the
     * timeline alive, such as an ancestor, is refused (traced), and so is one that would lie too deep
     * (Node::MaximumDepth).
     */
    Camera* GetCamera() const { return m_pCamera.Get(); }
    /** Draws the children with this camera from now on, null for that of the timelines above. */
    void SetCamera(Camera* pCamera);
    /** The camera that was active when the children were last drawn; null when that camera has children. */
    Camera* GetActiveCamera() const { return m_pActiveCamera.Get(); }

    RealProperty& GetFirstFrameProperty() { return m_firstFrame; }
    RealProperty& GetLastFrameProperty() { return m_lastFrame; }
    IntProperty& GetPlaybackModeProperty() { return m_playbackMode; }
    IntProperty& GetDepthTestProperty() { return m_depthTest; }

protected:
    RealProperty m_firstFrame;  ///< "FirstFrame", 0
    RealProperty m_lastFrame;   ///< "LastFrame", 0: a range that does not end above its start has no end
    IntProperty m_playbackMode; ///< "PlaybackMode", PlaybackMode::Once
    IntProperty
        m_depthTest; ///< "DepthTest": -1 leaves the device's depth test, 1 enables, others disable it, -1

    Ref<Camera> m_pCamera;       ///< to be read only: SetCamera keeps account of it
    Ref<Camera> m_pActiveCamera; ///< written by PreRenderChildren

private:
    friend class Node;          // copies trees
    friend class TransformNode; // wakes nodes

    typedef unsigned long AwakeWord; ///< as wide as the processor's registers
    static constexpr unsigned int AwakeWordBits = 8 * sizeof(AwakeWord);

    bool HasEnd() const { return m_lastFrame.GetValue() > m_firstFrame.GetValue(); }
    void Rewind();
    void Advance(RealFloat const& delta);
    void UpdateChildren(GraphicsDevice& device, RealFloat const& delta, bool fForce);
    void UpdateAwake(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta);
    inline unsigned int FindAwake(unsigned int nEntry) const;
    void UpdateFrom(unsigned int nEntry, TransformNode::Arguments const& arguments);
    inline void UpdateEntry(unsigned int nEntry, TransformNode::Arguments const& arguments);
    void WakeAll();
    void WakeChildren(unsigned int nEntry, unsigned int nEnd);
    inline void WakeEntry(unsigned int nEntry);
    void WakeNode(TransformNode const& node);
    bool IsEntry(unsigned int nEntry, Node const& node) const {
        return nEntry < m_treeNodes.GetCount() && m_treeNodes[nEntry].m_value == &node;
    }
    struct Overriders;
    static Overriders const& GetOwnOverriders(Timeline const& timeline);
    void TakeOverriders();
    static bool HasPlainUpdate(Node const& node);
    unsigned int ResumeAfter(Node const* pNode);
    bool FlattenTree();
    static bool AppendChildren(Node& node, unsigned int nDepth, List<TreeNode<Node*>>& pending);
    void CountSubtrees();
    void TakeCamera(Camera* pCamera);
    bool TakeCopiedCamera(Timeline const& original);
    bool TakeCameraOnWay();
    bool SavePlayback(Serializer& serializer) const;
    bool SaveTimeMap(Serializer& serializer) const;
    bool SaveCamera(Serializer& serializer) const;
    bool LoadPlayback(Deserializer& deserializer);
    bool LoadFrameDelay(Deserializer& deserializer);
    bool LoadAutoPlay(Deserializer& deserializer);
    bool LoadTimeMap(Deserializer& deserializer);
    bool LoadCamera(Deserializer& deserializer);
    bool LoadCameraWay(Deserializer& deserializer);

    RealFloat m_rFrame = 0;
    RealFloat m_rEnclosingFrame = 0; ///< the frame that the last update was given
    RealFloat m_rFrameDelay = RealFloat(1) / 30;
    Interpolate::Function m_pfnTimeMap = nullptr;
    bool m_fPlaying = false;
    bool m_fAutoPlay = false;
    bool m_fBackwards = false;      ///< on the way back in PingPong
    List<unsigned int> m_cameraWay; ///< to an attached camera, while the tree is loaded
    List<TreeNode<Node*>> m_treeNodes;
    List<TreeNode<Node*>*> m_tree; ///< m_treeNodes, in order
    /** The entries of m_treeNodes that are to be updated, a bit each; the bits of other nodes are asleep. */
    List<AwakeWord> m_awake;
    unsigned int m_nGeneration = 0;  ///< BasePropertyGeneration when all were woken for it last
    bool m_fOwnUpdateTree = true;    ///< the class overrides UpdateTree, as far as is known
    bool m_fOverridersTaken = false; ///< it is known
};

} // namespace trevik::kelvo
