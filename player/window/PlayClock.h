#pragma once

#include "command/Options.h"

#include <chrono>

namespace kelvokit::player {

/**
 * Tells which frame of a range is to be seen at which time. It reads no clock itself: times are those of any
 * clock that does not go back, counted from any moment.
 */
class PlayClock {
public:
    using Time = std::chrono::nanoseconds;

    /** What follows the last frame. */
    enum class AtEnd { Loop, Stop };

    /** Speeds are powers of 2; the least is 2 to the power of -HalvingCount, the greatest of HalvingCount. */
    static constexpr int HalvingCount = 4;

    /** Begins with the first frame at `now`. */
    PlayClock(FrameRange const& frames, double rFrameRate, AtEnd atEnd, Time now);

    /** From now on the frames are others; the one that is shown stays as far as there is such a frame. */
    void SetFrames(FrameRange const& frames, double rFrameRate, Time now);

    /** Brings the clock to `now`, and counts the frames that were due since the last call and not shown. */
    void Advance(Time now);
    int GetFrame() const { return m_nFrame; }
    /** When another frame than GetFrame is due, or the end; Time::max() for never. */
    Time GetNextTime() const;

    bool IsPaused() const { return m_fPaused; }
    void SetPaused(bool fPaused, Time now);
    /** Goes to a frame, or the nearest that there is; playing goes on from there. */
    void Seek(int nFrame, Time now);
    /** Goes so many frames on, or back; over the ends where the frames loop. Pauses. */
    void Step(int nFrames, Time now);

    /** Doubles the speed, or halves it for negative numbers, so many times. */
    void ChangeSpeed(int nDoublings, Time now);
    /** 1 for the scene's own. */
    double GetSpeed() const;

    /** The last frame has had its time, and none follows. */
    bool HasEnded() const { return m_fEnded; }
    /** Frames that were due and came too late to be shown, since the beginning. */
    unsigned long GetLateFrames() const { return m_nLate; }

private:
    long long GetCount() const;
    Time GetTimeOf(long long nStep) const;
    void StartFrom(int nFrame, Time now);

    FrameRange m_frames;
    double m_rFrameRate;
    AtEnd m_atEnd;
    int m_nFrame;         ///< that is to be seen
    int m_nDoublings = 0; ///< of the speed
    bool m_fPaused = false;
    bool m_fEnded = false;
    unsigned long m_nLate = 0;
    int m_nStart; ///< the frame that was to be seen at m_startTime
    Time m_startTime;
    long long m_nSteps = 0; ///< frames since then
};

} // namespace kelvokit::player
