#pragma once

#include <string>

namespace kelvokit::player {

/**
 * Has RenderDoc capture a frame, where the player has been started under it: a player without a window shows
 * it no key. Render thread.
 */
class FrameCapture {
public:
    /** Where the context of the device is current. Does nothing without RenderDoc, or with no wish for it. */
    explicit FrameCapture(bool fWanted);
    /** Ends the capture; only what has been drawn since the beginning is in it. */
    ~FrameCapture();
    FrameCapture(FrameCapture const&) = delete;
    FrameCapture& operator=(FrameCapture const&) = delete;

private:
    bool m_fCapturing = false;
};

} // namespace kelvokit::player
