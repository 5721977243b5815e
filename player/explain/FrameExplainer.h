#pragma once

#include "kelvo_host/Fault.h"
#include "kelvo_host/Scene.h"
#include "play/Stage.h"
#include "scene/SceneNotes.h"

namespace kelvokit::player {

/** What is told of one frame. Render thread. */
class FrameExplainer {
public:
    virtual ~FrameExplainer() = default;
    /** Measures the frame that has just been drawn, by drawing it again, and leaves it drawn. */
    virtual void Measure(int nFrame, trevik::kelvo::Scene& scene, Stage& stage) = 0;
    /**
     * After the last frame: measures times, which takes the scene to and fro, and writes what is asked for.
     * False with one line in `fault` when it cannot be written, or when a signal has come meanwhile.
     */
    virtual bool Finish(trevik::kelvo::Scene& scene, trevik::kelvo::assets::SceneNotes const& notes,
                        Stage& stage, trevik::kelvo::Fault& fault) = 0;
};

} // namespace kelvokit::player
