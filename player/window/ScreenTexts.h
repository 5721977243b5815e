#pragma once

#include "window/Overlay.h"
#include "window/PlayClock.h"

#include <deque>
#include <string>

namespace kelvokit::player {

/** Figures of the frame that is shown. */
struct SceneFigures {
    unsigned int nNodes;       ///< of the scene
    unsigned long long nDraws; ///< of the scene in this frame
};

/** A speed as it stands behind something else; empty for the scene's own. */
std::string GetSpeedText(double rSpeed);

/**
 * What is to be read in the window when: what a person has asked to see stays, what is told by the way goes
 * after a while. Times are those of the clock.
 */
class ScreenTexts {
public:
    using Time = PlayClock::Time;

    void ToggleFigures() { m_fFigures = !m_fFigures; }
    void ToggleHelp() { m_fHelp = !m_fHelp; }
    /** Stays until it is empty. `at`: what it is about, in pixels of the window, y down. */
    void SetPicked(std::string const& text, trevik::Vector2T<int> const& at) {
        m_sPicked = text;
        m_pickedAt = at;
    }
    bool HasPicked() const { return !m_sPicked.empty(); }
    /** Stays until it is empty. */
    void SetFault(std::string const& text) { m_sFault = text; }
    std::string const& GetFault() const { return m_sFault; }
    /** Is shown for a moment. */
    void SetNotice(std::string const& text, Time now);
    /** The bar is shown for a moment. */
    void ShowBar(Time now);

    /** Counts a frame that is shown. */
    void NoteFrame(Time now);
    /** What there is to be read. */
    OverlayTexts Get(PlayClock const& clock, FrameRange const& frames, SceneFigures const& figures,
                     Time now) const;
    /** When some of it is to go; Time::max() for never. */
    Time GetNextTime(Time now) const;

private:
    std::string GetFigures(PlayClock const& clock, SceneFigures const& figures) const;

    bool m_fFigures = false;
    bool m_fHelp = false;
    std::string m_sPicked;
    trevik::Vector2T<int> m_pickedAt = {0, 0};
    std::string m_sFault;
    std::string m_sNotice;
    Time m_noticeEnd{};
    Time m_barEnd{};
    std::deque<Time> m_shown; ///< when the frames of the last second were shown
};

} // namespace kelvokit::player
