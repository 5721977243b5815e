#include "trevik/kelvo/Timeline.h"

#include "kelvo/storage/NodeStorage.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

constexpr unsigned int CameraWayID = HashName("CameraWay");

} // namespace

// The camera that a timeline's children are seen through: held, copied, saved and found again.

void Timeline::SetCamera(Camera* pCamera) {
    char16_t const* const pFault = pCamera ? PrepareHold(*pCamera) : nullptr;
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
 * To be called once the children of `original` have been copied: where its camera is one of the nodes below
 * it, takes that node's copy. False when memory is short.
 */
bool Timeline::TakeCopiedCamera(Timeline const& original) {
    Node const* pAbove = original.m_pCamera.Get();
    while (pAbove && pAbove != &original) {
        pAbove = pAbove->GetParent();
    }
    return !pAbove || (FindWay(original, *original.m_pCamera, m_cameraWay) && TakeCameraOnWay());
}

/** Takes the camera that m_cameraWay leads to, and clears the way; false when there is no such camera. */
bool Timeline::TakeCameraOnWay() {
    Node* const pNode = FollowWay(*this, m_cameraWay);
    m_cameraWay.Release();
    Camera* const pCamera = pNode && pNode->IsKindOf(Camera::ClassID) ? static_cast<Camera*>(pNode) : nullptr;
    if (!pCamera || PrepareHold(*pCamera)) {
        return false;
    }
    TakeCamera(pCamera);
    return true;
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

bool Timeline::LoadCamera(Deserializer& deserializer) {
    Ref<Node> pNode;
    if (!LoadOptionalNode(deserializer, NodeID::Camera, pNode)) {
        return false;
    }
    if (pNode && !pNode->IsKindOf(Camera::ClassID)) {
        return deserializer.Fail(u"its camera is no camera");
    }
    if (char16_t const* const pFault = pNode ? PrepareHold(*pNode) : nullptr) {
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
