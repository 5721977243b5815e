#pragma once

#include <future>

namespace kelvokit::player {

/**
 * Has the graphics driver loaded and its display brought up on a thread of its own, since a driver takes as
 * long for that as a scene takes to be read. What becomes of it is told by the device that is initialised
 * later on, as it would be without. With no thread to be had, or no display, nothing happens.
 */
class EarlyDisplay {
public:
    EarlyDisplay() = default;
    EarlyDisplay(EarlyDisplay const&) = delete;
    EarlyDisplay& operator=(EarlyDisplay const&) = delete;
    /** Ends the display, unless it was handed over. */
    ~EarlyDisplay();

    void Begin();
    /** Whether it was begun and not handed over. */
    bool IsBegun() const { return m_display.valid(); }
    /** Waits for it, and leaves the display to a device, which ends it. */
    void HandOver();

private:
    std::future<void*> m_display;
};

} // namespace kelvokit::player
