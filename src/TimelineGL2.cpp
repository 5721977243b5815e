#include "TimelineGL2.h"

#include "GraphicsDeviceGL2.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/Effect.h"

namespace trevik::kelvo {

TimelineGL2::TimelineGL2() = default;

TimelineGL2::TimelineGL2(TimelineGL2 const& other) = default;

TimelineGL2::~TimelineGL2() = default;

// Not inline: most timelines have no effects and need no registers for them.

TREVIK_NOINLINE void TimelineGL2::BeginEffects(GraphicsDevice& device) {
    CallEach(m_effects, [&device](Effect& effect) {
        effect.PreRender(device);
        return false;
    });
}

TREVIK_NOINLINE void TimelineGL2::EndEffects(GraphicsDevice& device) {
    CallEach(m_effects, [&device](Effect& effect) {
        effect.PostRender(device);
        return false;
    });
}

void TimelineGL2::PreRenderChildren(GraphicsDevice& device) {
    ScopeCounter const counter(ScopeCounter::TimelinePreChildren, true);
    if (m_pCamera) {
        device.PushCamera(m_pCamera.Get());
    }
    if (Camera* const pCamera = device.GetActiveCamera(); pCamera != m_pActiveCamera) {
        m_pActiveCamera = Ref(pCamera);
    }
    bool const fDepth = m_depth.GetValue();
    device.PushCameraDepth(fDepth);
    device.SetCameraDepth(fDepth);
    if (__builtin_expect(!m_effects.IsEmpty(), false)) {
        BeginEffects(device);
    }
    // The answer is not used; devices that override the operation get the call.
    static_cast<void>(device.IsDepthTestEnabled());
    int const nDepthTest = m_depthTest.GetValue();
    if (nDepthTest != -1) {
        device.SetDepthTestEnabled(nDepthTest == 1);
    }
    if (!m_masks.IsEmpty()) {
        static_cast<GraphicsDeviceGL2&>(device).LoadModelView(m_worldMatrix);
        device.PushMasks(m_masks);
    }
}

void TimelineGL2::PostRenderChildren(GraphicsDevice& device) {
    ScopeCounter const counter(ScopeCounter::TimelinePostChildren, true);
    if (!m_masks.IsEmpty()) {
        // Through the camera of what was drawn last: intended (timeline-masks-last-camera).
        static_cast<GraphicsDeviceGL2&>(device).LoadModelView(m_worldMatrix);
        device.PopMasks(m_masks);
    }
    // Applies what the device records now, not what was in force before the children: intended
    // (depth-test-not-restored).
    device.SetDepthTestEnabled(device.IsDepthTestEnabled());
    if (__builtin_expect(!m_effects.IsEmpty(), false)) {
        EndEffects(device);
    }
    device.PopCameraDepth(m_depth.GetValue());
    if (m_pCamera) {
        device.PopCamera();
    }
}

} // namespace trevik::kelvo
