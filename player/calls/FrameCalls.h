#pragma once

#include "kelvo_host/Fault.h"
#include "scene/SceneNotes.h"
#include "trevik/Size.h"

#include <string>

namespace kelvokit::player {

/** What the EGL and GL calls of frames go to. */
class FrameCalls {
public:
    virtual ~FrameCalls() = default;
    /**
     * Before the device comes up on a surface of this size.
     * @param notes of the scene that is drawn; they outlive this.
     */
    virtual void Prepare(trevik::SizeT<int> const& size, trevik::kelvo::assets::SceneNotes const& notes) = 0;
    virtual void BeginFrame(int nFrame) = 0;
    /** False with one line in `fault` when the calls cannot be written. */
    virtual bool EndFrame(trevik::kelvo::Fault& fault) = 0;
    /** After the last frame: a file takes its place now. The same. */
    virtual bool Finish(trevik::kelvo::Fault& fault) = 0;
};

} // namespace kelvokit::player
