#include "trevik/kelvo/Timeline.h"

#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo {

Timeline::Timeline() : m_depthTest(-1) {
    m_fUpdatesSubtree = true;
    m_fFlattensSubtree = true;
    GetOwnOverriders(*this);
}

Timeline::Timeline(Timeline const& other)
    : TransformNode(other), m_firstFrame(other.m_firstFrame), m_lastFrame(other.m_lastFrame),
      m_playbackMode(other.m_playbackMode), m_depthTest(other.m_depthTest), m_rFrame(other.m_rFrame),
      m_rFrameDelay(other.m_rFrameDelay), m_pfnTimeMap(other.m_pfnTimeMap), m_fPlaying(other.m_fPlaying),
      m_fAutoPlay(other.m_fAutoPlay), m_fBackwards(other.m_fBackwards) {
    m_fUpdatesSubtree = true;
    m_fFlattensSubtree = true;
    if (Camera* const pCamera = other.m_pCamera.Get()) {
        Ref<Camera> const pTaken(pCamera->GetParent() ? pCamera : static_cast<Camera*>(pCamera->CloneTree()));
        bool const fShort = !pTaken || PrepareHold(*pTaken);
        TakeCamera(fShort ? nullptr : pTaken.Get());
        m_properties.NoteShortage(fShort);
    }
}

Timeline::~Timeline() {
    m_fFlattensSubtree = false; // there is no list any more in which children could be woken
    TakeCamera(nullptr);
}

void Timeline::Reset() {
    Rewind();
    if (m_pCamera && !m_pCamera->GetParent()) {
        m_pCamera->Reset();
    }
    TransformNode::Reset();
}

bool Timeline::Load(Deserializer& deserializer) {
    if (!TransformNode::Load(deserializer)) {
        return false;
    }
    // The nodes below this one are loaded by now. A camera elsewhere in the tree is looked for in Reload.
    bool const fBelow = !m_cameraWay.IsEmpty() && m_cameraWay[0] == 0;
    return !fBelow || TakeCameraOnWay() || deserializer.Fail(u"its camera is not where it was attached");
}

void Timeline::Reload() {
    Rewind();
    if (!m_cameraWay.IsEmpty() && !TakeCameraOnWay()) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: its camera is not where it was attached",
                           GetPath().GetData());
    }
    if (m_pCamera && !m_pCamera->GetParent()) {
        m_pCamera->Reload();
    }
    TransformNode::Reload();
}

void Timeline::Emit(MemoryTracer* pTracer) {
    TransformNode::Emit(pTracer);
    pTracer->EmitObject(m_pCamera.Get());
}

void Timeline::RegisterProperties() {
    TransformNode::RegisterProperties();
    m_properties.Register(u"FirstFrame", &m_firstFrame);
    m_properties.Register(u"LastFrame", &m_lastFrame);
    m_properties.Register(u"PlaybackMode", &m_playbackMode);
    m_properties.Register(u"DepthTest", &m_depthTest);
}

void Timeline::Render(GraphicsDevice& device) {
    if (IsHidden()) {
        return;
    }
    if (device.IsSelectionMode()) {
        InternalSelect(device);
    } else {
        InternalRender(device);
    }
}

void Timeline::InternalRender(GraphicsDevice& device) {
    PreRenderChildren(device);
    RenderChildren(device);
    PostRenderChildren(device);
    // Nodes below the camera may hold this timeline: timeline and camera would keep each other alive.
    if (m_pActiveCamera && m_pActiveCamera->GetChildCount() != 0) {
        m_pActiveCamera.Reset();
    }
}

/** The cameras and masks of InternalRender without its effects and depth test: nothing is drawn. */
void Timeline::InternalSelect(GraphicsDevice& device) {
    Ref<Camera> const pCamera = m_pCamera;
    bool const fDepth = m_depth.GetValue();
    if (pCamera) {
        device.PushCamera(pCamera.Get());
    }
    device.PushCameraDepth(fDepth);
    device.SetCameraDepth(fDepth);
    if (IsSelectedInMasks(device)) {
        RenderChildren(device);
    }
    device.PopCameraDepth(fDepth);
    if (pCamera) {
        device.PopCamera();
    }
}

bool Timeline::InternalSave(Serializer& serializer) {
    return TransformNode::InternalSave(serializer) && SavePlayback(serializer) && SaveCamera(serializer);
}

bool Timeline::InternalLoad(Deserializer& deserializer) {
    if (!TransformNode::InternalLoad(deserializer) || !LoadPlayback(deserializer) ||
        !LoadCamera(deserializer) || !LoadCameraWay(deserializer)) {
        return false;
    }
    Rewind();
    return true;
}

} // namespace trevik::kelvo
