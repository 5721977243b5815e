#include "trevik/kelvo/Timeline.h"

#include "kelvo/storage/NodeStorage.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

#include <cmath>

namespace trevik::kelvo {

namespace {

constexpr unsigned int FrameDelayID = HashName("FrameDelay");
constexpr unsigned int TimeMapID = HashName("TimeMap");
constexpr unsigned int AutoPlayID = HashName("AutoPlay");
constexpr unsigned int CameraWayID = HashName("CameraWay");

bool IsValidDelay(RealFloat delay) {
    return delay > 0 && std::isfinite(delay);
}

/** Reads an attribute, if it is there; false when it is not of the value's length. */
template <class T>
bool ReadOptional(Deserializer& deserializer, unsigned int nAttributeID, T& value) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return !deserializer.FindAttribute(nAttributeID, pData, nLength) ||
           deserializer.ReadValue(nAttributeID, value);
}

/** The remainder in 0 .. length. */
double Wrap(double value, double length) {
    double const remainder = std::fmod(value, length);
    return remainder < 0 ? remainder + length : remainder;
}

} // namespace

Timeline::Timeline() : m_depthTest(-1) {
    m_fUpdatesSubtree = true;
}

Timeline::Timeline(Timeline const& other)
    : TransformNode(other), m_firstFrame(other.m_firstFrame), m_lastFrame(other.m_lastFrame),
      m_playbackMode(other.m_playbackMode), m_depthTest(other.m_depthTest), m_rFrame(other.m_rFrame),
      m_rFrameDelay(other.m_rFrameDelay), m_pfnTimeMap(other.m_pfnTimeMap), m_fPlaying(other.m_fPlaying),
      m_fAutoPlay(other.m_fAutoPlay), m_fBackwards(other.m_fBackwards) {
    m_fUpdatesSubtree = true;
    Camera* const pCamera = other.m_pCamera.Get();
    if (pCamera) {
        TakeCamera(pCamera->GetParent() ? pCamera : static_cast<Camera*>(pCamera->CloneTree()));
        m_properties.NoteShortage(!m_pCamera);
    }
}

Timeline::~Timeline() {
    TakeCamera(nullptr);
}

void Timeline::Rewind() {
    m_rFrame = m_firstFrame.GetValue();
    m_fBackwards = false;
    m_fPlaying = m_fAutoPlay;
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
    // What hangs from the timeline is there by now; what stands above comes with Reload.
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

void Timeline::Update(GraphicsDevice& device, RealFloat const& frame) {
    if (!m_pParent) {
        SetFrame(frame);
    }
    Update(device, frame, RealFloat(0), false);
}

void Timeline::Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) {
    EnsureRegistered();
    InternalUpdate(device, frame, delta, fForce);
    UpdateChildren(device, delta, fForce);
}

void Timeline::UpdateSynchronous(GraphicsDevice& device, RealFloat const& frame) {
    SetFrame(frame);
    Update(device, m_pParent ? m_rEnclosingFrame : m_rFrame, RealFloat(0), false);
}

void Timeline::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                              bool fForce) {
    TransformNode::InternalUpdate(device, frame, delta, fForce);
    m_rEnclosingFrame = frame;
    Advance(delta);
    if (m_pCamera && !m_pCamera->GetParent()) {
        m_pCamera->Update(device, GetMappedFrame(), delta, fForce);
    }
}

void Timeline::Advance(RealFloat const& delta) {
    RealFloat const step = delta / m_rFrameDelay;
    if (!m_fPlaying || !(step > 0) || !std::isfinite(step)) {
        return;
    }
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const start = m_rFrame < first ? first : m_rFrame;
    // The mode may have changed on the way back.
    m_fBackwards = m_fBackwards && m_playbackMode.GetValue() == PlaybackMode::PingPong;
    RealFloat const frame = m_fBackwards ? start - step : start + step;
    if (HasEnd() && (frame >= m_lastFrame.GetValue() || frame < first)) {
        ProcessPlaybackMode(frame, first, m_lastFrame.GetValue());
    } else {
        m_rFrame = frame;
    }
}

void Timeline::ProcessPlaybackMode(RealFloat const& frame, RealFloat const& first, RealFloat const& last) {
    double const length = double(last) - double(first);
    double const way = double(frame) - double(first);
    double shown = way < 0 ? 0.0 : length;
    switch (m_playbackMode.GetValue()) {
    case PlaybackMode::Loop:
        shown = Wrap(way, length);
        if (shown == 0 && way > 0) {
            shown = length; // the last frame is shown before the first one comes again
        }
        break;
    case PlaybackMode::PingPong: {
        double const unfolded = Wrap(m_fBackwards ? 2 * length - way : way, 2 * length);
        m_fBackwards = unfolded >= length;
        shown = m_fBackwards ? 2 * length - unfolded : unfolded;
        break;
    }
    default:
        m_fPlaying = way < 0;
        break;
    }
    m_rFrame = static_cast<RealFloat>(double(first) + shown);
}

void Timeline::UpdateChildren(GraphicsDevice& device, RealFloat const& delta, bool fForce) {
    RealFloat const frame = GetMappedFrame();
    if (m_fSubtreeChanged) {
        BuildUpdateTree();
    }
    if (!m_fSubtreeChanged) {
        UpdateTree(m_tree, device, frame, delta, fForce);
        return;
    }
    // No memory for the flattened tree: walk the real one.
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        m_children[nChild]->Update(device, frame, delta, fForce);
    }
}

void Timeline::UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice& device, RealFloat const& frame,
                          RealFloat const& delta, bool fForce) {
    for (unsigned int nEntry = 0; nEntry < tree.GetCount(); ++nEntry) {
        Node* const pNode = tree[nEntry]->m_value;
        if (pNode->m_fUpdatesSubtree) {
            pNode->Update(device, frame, delta, fForce);
        } else {
            pNode->InternalUpdate(device, frame, delta, fForce);
        }
        if (__builtin_expect(m_fSubtreeChanged, 0) && &tree == &m_tree) {
            nEntry = ResumeAfter(pNode);
        }
    }
}

/**
 * After a change handler has changed the tree under way: flattens it anew and tells the place of the node
 * just updated, or the last one when it has none; what then remains is updated by the next update.
 */
unsigned int Timeline::ResumeAfter(Node const* pNode) {
    BuildUpdateTree();
    unsigned int const nCount = m_tree.GetCount();
    for (unsigned int nEntry = 0; !m_fSubtreeChanged && nEntry < nCount; ++nEntry) {
        if (m_tree[nEntry]->m_value == pNode) {
            return nEntry;
        }
    }
    return nCount - 1; // of an empty tree, the one before the first
}

void Timeline::BuildUpdateTree() {
    m_fSubtreeChanged = false;
    if (!FlattenTree()) {
        m_tree.Clear();
        m_treeNodes.Clear();
        m_fSubtreeChanged = true;
    }
}

bool Timeline::FlattenTree() {
    m_tree.Clear();
    m_treeNodes.Clear();
    // Nodes still to come, the next one last; not recursive, since trees may be deep.
    List<TreeNode<Node*>> pending;
    if (!AppendChildren(*this, 0, pending)) {
        return false;
    }
    while (!pending.IsEmpty()) {
        TreeNode<Node*> const entry = pending.Last();
        pending.RemoveLast();
        Node& node = *entry.m_value;
        node.GetProperties(); // registered here, once, rather than looked after at each update
        if (!m_treeNodes.Append(entry) ||
            (!node.m_fUpdatesSubtree && !AppendChildren(node, entry.m_nDepth + 1, pending))) {
            return false;
        }
    }
    if (!m_tree.Reserve(m_treeNodes.GetCount())) {
        return false;
    }
    for (TreeNode<Node*>& node : m_treeNodes) {
        m_tree.Append(&node);
    }
    CountSubtrees();
    return true;
}

bool Timeline::AppendChildren(Node& node, unsigned int nDepth, List<TreeNode<Node*>>& pending) {
    node.m_fSubtreeChanged = false;
    TreeNode<Node*> child;
    child.m_nDepth = nDepth;
    for (unsigned int nChild = node.m_children.GetCount(); nChild-- > 0;) {
        child.m_value = node.m_children[nChild];
        if (!pending.Append(child)) {
            return false;
        }
    }
    return true;
}

/** Backwards, so that each subtree's size is known before that of the one around it. */
void Timeline::CountSubtrees() {
    for (unsigned int nEntry = m_tree.GetCount(); nEntry-- > 0;) {
        TreeNode<Node*>& node = *m_tree[nEntry];
        unsigned int nNext = nEntry + 1;
        while (nNext < m_tree.GetCount() && m_tree[nNext]->m_nDepth > node.m_nDepth) {
            nNext += m_tree[nNext]->m_nSubtreeCount;
        }
        node.m_nSubtreeCount = nNext - nEntry;
    }
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
    // What hangs from it may hold this timeline: the two would keep each other alive.
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

void Timeline::Play() {
    m_fPlaying = true;
}

void Timeline::Stop() {
    m_fPlaying = false;
}

RealFloat Timeline::GetFrame() const {
    return m_rFrame;
}

void Timeline::SetFrame(RealFloat const& frame) {
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const last = m_lastFrame.GetValue();
    if (std::isnan(frame)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: no timeline has a frame that is not a number",
                           GetPath().GetData());
        return;
    }
    m_rFrame = frame < first ? first : HasEnd() && frame > last ? last : frame;
    m_fBackwards = false;
}

void Timeline::SetFrameDelay(RealFloat const& delay) {
    if (!IsValidDelay(delay)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: frames cannot last %g seconds",
                           GetPath().GetData(), double(delay));
        return;
    }
    m_rFrameDelay = delay;
}

Interpolate::Function Timeline::GetTimeMapFunction() const {
    return m_pfnTimeMap;
}

void Timeline::SetTimeMapFunction(Interpolate::Function pfnFunction) {
    m_pfnTimeMap = pfnFunction;
}

RealFloat Timeline::GetMappedFrame() const {
    if (!m_pfnTimeMap || !HasEnd()) {
        return m_rFrame;
    }
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const length = m_lastFrame.GetValue() - first;
    RealFloat const played = (m_rFrame - first) / length;
    return first + m_pfnTimeMap(played < 0 ? RealFloat(0) : played > 1 ? RealFloat(1) : played) * length;
}

void Timeline::SetCamera(Camera* pCamera) {
    char16_t const* const pFault = pCamera ? FindHoldFault(*pCamera) : nullptr;
    if (pFault) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: no timeline can look through a camera that %s",
                           GetPath().GetData(), pFault);
        return;
    }
    TakeCamera(pCamera);
}

void Timeline::TakeCamera(Camera* pCamera) {
    Ref<Camera> const pFormer(m_pCamera);
    m_pCamera = Ref(pCamera);
    NoteHeld(pCamera);
}

/**
 * After the children of `original` have been copied: if its camera is among them, the copy is this one's.
 * False when memory is short.
 */
bool Timeline::TakeCopiedCamera(Timeline const& original) {
    Node const* pAbove = original.m_pCamera.Get();
    while (pAbove && pAbove != &original) {
        pAbove = pAbove->GetParent();
    }
    return !pAbove || (FindWay(original, *original.m_pCamera, m_cameraWay) && TakeCameraOnWay());
}

/** Looks through the camera that m_cameraWay leads to; false when there is none. The way is used up. */
bool Timeline::TakeCameraOnWay() {
    Node* const pNode = FollowWay(*this, m_cameraWay);
    m_cameraWay.Release();
    Camera* const pCamera = pNode && pNode->IsKindOf(Camera::ClassID) ? static_cast<Camera*>(pNode) : nullptr;
    if (!pCamera || FindHoldFault(*pCamera)) {
        return false;
    }
    TakeCamera(pCamera);
    return true;
}

bool Timeline::InternalSave(Serializer& serializer) {
    unsigned char const nAutoPlay = m_fAutoPlay ? 1 : 0;
    return TransformNode::InternalSave(serializer) && serializer.WriteValue(FrameDelayID, m_rFrameDelay) &&
           serializer.WriteValue(AutoPlayID, nAutoPlay) && SaveTimeMap(serializer) && SaveCamera(serializer);
}

bool Timeline::SaveCamera(Serializer& serializer) const {
    if (!m_pCamera || !m_pCamera->GetParent()) {
        return !m_pCamera || SaveNode(serializer, NodeID::Camera, *m_pCamera);
    }
    NodeWay way;
    if (!FindWay(*this, *m_pCamera, way)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: the camera %s is attached to another tree",
                           GetPath().GetData(), m_pCamera->GetPath().GetData());
        return false;
    }
    return serializer.WriteAttribute(CameraWayID, reinterpret_cast<unsigned char const*>(way.GetData()),
                                     static_cast<unsigned long>(way.GetCount()) * sizeof(unsigned int));
}

bool Timeline::SaveTimeMap(Serializer& serializer) const {
    if (!m_pfnTimeMap) {
        return true;
    }
    char const* const pName = Interpolate::GetName(m_pfnTimeMap);
    if (!pName) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: the time map is a function without a name",
                           GetPath().GetData());
        return false;
    }
    StringEncoded<UTF8Encoding> const sName(pName);
    return serializer.WriteAttribute(TimeMapID, reinterpret_cast<unsigned char const*>(sName.GetData()),
                                     sName.GetLength());
}

bool Timeline::InternalLoad(Deserializer& deserializer) {
    if (!TransformNode::InternalLoad(deserializer) || !LoadFrameDelay(deserializer) ||
        !LoadAutoPlay(deserializer) || !LoadTimeMap(deserializer) || !LoadCamera(deserializer) ||
        !LoadCameraWay(deserializer)) {
        return false;
    }
    Rewind();
    return true;
}

bool Timeline::LoadAutoPlay(Deserializer& deserializer) {
    unsigned char nAutoPlay = m_fAutoPlay ? 1 : 0;
    if (!ReadOptional(deserializer, AutoPlayID, nAutoPlay)) {
        return deserializer.Fail(u"whether it plays from the start does not take one byte");
    }
    m_fAutoPlay = nAutoPlay != 0;
    return true;
}

bool Timeline::LoadFrameDelay(Deserializer& deserializer) {
    RealFloat delay = m_rFrameDelay;
    if (!ReadOptional(deserializer, FrameDelayID, delay)) {
        return deserializer.Fail(u"its frame delay is no number");
    }
    if (!IsValidDelay(delay)) {
        return deserializer.Fail(u"frames cannot last %g seconds", double(delay));
    }
    m_rFrameDelay = delay;
    return true;
}

bool Timeline::LoadTimeMap(Deserializer& deserializer) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(TimeMapID, pData, nLength)) {
        return true;
    }
    constexpr unsigned long nLongestName = 64;
    StringEncoded<UTF8Encoding> const sName(
        reinterpret_cast<char const*>(pData),
        static_cast<unsigned int>(nLength < nLongestName ? nLength : nLongestName));
    Interpolate::Function const pfnTimeMap = Interpolate::Find(sName.GetData());
    if (!pfnTimeMap) {
        return deserializer.Fail(u"there is no time map \"%hs\"", sName.GetData());
    }
    m_pfnTimeMap = pfnTimeMap;
    return true;
}

bool Timeline::LoadCamera(Deserializer& deserializer) {
    Ref<Node> pNode;
    if (!LoadOptionalNode(deserializer, NodeID::Camera, pNode)) {
        return false;
    }
    if (pNode && !pNode->IsKindOf(Camera::ClassID)) {
        return deserializer.Fail(u"its camera is no camera");
    }
    if (char16_t const* const pFault = pNode ? FindHoldFault(*pNode) : nullptr) {
        return deserializer.Fail(u"its camera %s", pFault);
    }
    if (pNode) {
        TakeCamera(static_cast<Camera*>(pNode.Get()));
    }
    return true;
}

bool Timeline::LoadCameraWay(Deserializer& deserializer) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(CameraWayID, pData, nLength)) {
        return true;
    }
    return (nLength != 0 && detail::ReadElements(m_cameraWay, pData, nLength)) ||
           deserializer.Fail(u"the way to its camera is damaged");
}

} // namespace trevik::kelvo
