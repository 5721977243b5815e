#pragma once

#include "kelvo_host/Fault.h"
#include "pictures/FramePixels.h"

#include <string>

namespace kelvokit::player {

/** Where the frames' pictures go. Operations are false with one line in `fault` when they fail. */
class FrameSink {
public:
    virtual ~FrameSink() = default;
    /** Before anything is drawn. */
    virtual bool Prepare(trevik::kelvo::Fault& /*fault*/) { return true; }
    /** Whether the frame is to become a picture; `fLast`: it is the last one. */
    virtual bool Wants(bool /*fLast*/) const { return true; }
    /** Takes the next frame; all have the same size and channels. */
    virtual bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) = 0;
    /** After the last frame: what is made of all of them takes its place now. */
    virtual bool Finish(trevik::kelvo::Fault& /*fault*/) { return true; }
};

} // namespace kelvokit::player
