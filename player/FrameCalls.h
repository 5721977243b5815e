#pragma once

#include "trevik/Size.h"

#include <string>

namespace kelvokit::player {

/** What the EGL and GL calls of frames go to. */
class FrameCalls {
public:
    virtual ~FrameCalls() = default;
    /** Before the device comes up on a surface of this size. */
    virtual void Prepare(trevik::SizeT<int> const& size) = 0;
    virtual void BeginFrame(int nFrame) = 0;
    /** False with one line in `error` when the calls cannot be written. */
    virtual bool EndFrame(std::string& error) = 0;
};

} // namespace kelvokit::player
