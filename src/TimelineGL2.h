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

    void PreRenderChildren(GraphicsDevice& device) override;
    /**
     * Effects are asked in the same order as before the children, and the depth test is not restored: both
     * intended (effects-same-order, depth-test-not-restored).
     */
    void PostRenderChildren(GraphicsDevice& device) override;
};

} // namespace trevik::kelvo
