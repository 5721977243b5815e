#pragma once

#include "Export.h"
#include "trevik/kelvo/Timeline.h"

namespace trevik::kelvo {

/**
 * A timeline that sets the device up around its children: camera, camera depth, effects, depth test, masks.
 */
class KELVO_EXPORT TimelineGL2 : public Timeline {
public:
    TREVIK_NODE_REFLECTION(TimelineGL2, Timeline, "Timeline", VisitTimeline)

    TimelineGL2();
    TimelineGL2(TimelineGL2 const& other);
    ~TimelineGL2() override;

    /**
     * Sets up camera, camera depth, effects, depth test and masks, in this order. Calls what
     * GraphicsDeviceGL2::SetDepthTestEnabled and GraphicsDeviceGL2::PushMasks call, before them what the
     * effects do. Render thread.
     */
    void PreRenderChildren(GraphicsDevice& device) override;
    /**
     * Undoes masks, then effects, camera depth and camera. Effects are asked in the same order as before the
     * children, and the depth test is not restored: both intended (effects-same-order,
     * depth-test-not-restored). Calls what GraphicsDeviceGL2::PopMasks calls, then what the effects do.
     * Render thread.
     */
    void PostRenderChildren(GraphicsDevice& device) override;

private:
    void BeginEffects(GraphicsDevice& device);
    void EndEffects(GraphicsDevice& device);
};

} // namespace trevik::kelvo
