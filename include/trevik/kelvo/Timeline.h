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
        Once = 0,     ///< stops on the last frame
        Loop = 1,     ///< starts again at the first frame
        PingPong = 2  ///< turns round at both ends
    };
};

/**
 * A node whose children live in frames of its own. While it plays it advances by the time passed divided by the frame
 * delay; a time map bends the way from the first to the last frame. Children may be seen through its own camera.
 */
class TREVIK_API Timeline : public TransformNode {
public:
    static constexpr unsigned int ClassID = HashName("Timeline");
    static bool IsOwnOrBaseID(unsigned int nClassID) {
        return nClassID == ClassID || TransformNode::IsOwnOrBaseID(nClassID);
    }

    Timeline();
    Timeline(Timeline const& other);
    ~Timeline() override;

    void Reset() override;
    void Attach(Node* pChild) override;
    void AttachBefore(Node* pChild, Node* pSibling) override;
    void AttachAfter(Node* pChild, Node* pSibling) override;
    void Detach(Node* pChild) override;
    /** Shows the subtree as it is when the enclosing timeline stands at `frame`; no time passes. */
    void Update(GraphicsDevice& device, RealFloat const& frame) override;
    void Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) override;
    void Render(GraphicsDevice& device) override;
    bool Load(Deserializer& deserializer) override;
    void Reload() override;
    void RegisterProperties() override;
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) override;
    void InternalRender(GraphicsDevice& device) override;
    void InternalSelect(GraphicsDevice& device) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;

    /** Starts or resumes playing at the current frame. */
    virtual void Play();
    /** Stops; the current frame stays. */
    virtual void Stop();
    /** The frame shown, before the time map. */
    virtual RealFloat GetFrame() const;
    /** Seeks; takes effect at the next update. Clamped to the frame range. */
    virtual void SetFrame(RealFloat const& frame);
    /** Seconds per frame; values that are not above 0 are ignored (traced). */
    virtual void SetFrameDelay(RealFloat const& delay);
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
    /** Updates the flattened tree: entries in drawing order, each subtree behind its root. */
    virtual void UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice& device, RealFloat const& frame,
                            RealFloat const& delta, bool fForce);
    /** Flattens the subtree for UpdateTree; done again after the tree has changed. */
    virtual void BuildUpdateTree();

    bool IsPlaying() const { return m_fPlaying; }
    RealFloat GetFrameDelay() const { return m_rFrameDelay; }
    /** The frame that children see: GetFrame() through the time map. */
    RealFloat GetMappedFrame() const;

    /** The camera through which children are seen; null leaves the enclosing one. Held by reference, not a child. */
    Camera* GetCamera() const { return m_pCamera.Get(); }
    void SetCamera(Camera* pCamera) { m_pCamera = pCamera; }
    /** The camera that was active when the children were last drawn. */
    Camera* GetActiveCamera() const { return m_pActiveCamera.Get(); }

    RealProperty& GetFirstFrameProperty() { return m_firstFrame; }
    RealProperty& GetLastFrameProperty() { return m_lastFrame; }
    IntProperty& GetPlaybackModeProperty() { return m_playbackMode; }
    IntProperty& GetDepthTestProperty() { return m_depthTest; }

protected:
    RealProperty m_firstFrame;   ///< "FirstFrame", 0
    RealProperty m_lastFrame;    ///< "LastFrame", 0: with first = last the range has no end
    IntProperty m_playbackMode;  ///< "PlaybackMode", PlaybackMode::Once
    IntProperty m_depthTest;     ///< "DepthTest": -1 leaves the device's depth test, 1 enables, others disable it, -1

    Ref<Camera> m_pCamera;
    Ref<Camera> m_pActiveCamera; ///< written by PreRenderChildren

private:
    void MarkTreeChanged();

    RealFloat m_rFrame = 0;
    RealFloat m_rFrameDelay = RealFloat(1) / 30;
    Interpolate::Function m_pfnTimeMap = nullptr;
    bool m_fPlaying = false;
    bool m_fBackwards = false; ///< on the way back in PingPong
    bool m_fTreeChanged = true;
};

} // namespace trevik::kelvo
