#include "window/PlayClock.h"

#include <algorithm>
#include <cmath>

namespace kelvokit::player {

PlayClock::PlayClock(FrameRange const& frames, double rFrameRate, AtEnd atEnd, Time now)
    : m_frames(frames), m_rFrameRate(rFrameRate), m_atEnd(atEnd), m_nFrame(frames.nFirst),
      m_nStart(frames.nFirst), m_startTime(now) {}

void PlayClock::SetFrames(FrameRange const& frames, double rFrameRate, Time now) {
    m_frames = frames;
    m_rFrameRate = rFrameRate;
    StartFrom(m_nFrame, now);
}

long long PlayClock::GetCount() const {
    return static_cast<long long>(m_frames.nLast) - m_frames.nFirst + 1;
}

/** When the frame is due that comes so many steps after the one of the start. */
PlayClock::Time PlayClock::GetTimeOf(long long nStep) const {
    double const rNanoseconds = static_cast<double>(nStep) * 1e9 / (m_rFrameRate * GetSpeed());
    double const rLimit = static_cast<double>((Time::max() - m_startTime).count());
    // Not the product's last bits: a frame is due a nanosecond early rather than late.
    return rNanoseconds < rLimit ? m_startTime + Time(static_cast<Time::rep>(std::floor(rNanoseconds)))
                                 : Time::max();
}

void PlayClock::StartFrom(int nFrame, Time now) {
    m_nFrame = std::clamp(nFrame, m_frames.nFirst, m_frames.nLast);
    m_nStart = m_nFrame;
    m_startTime = now;
    m_nSteps = 0;
    m_fEnded = false;
}

void PlayClock::Advance(Time now) {
    if (m_fPaused || m_fEnded || now < GetNextTime()) {
        return;
    }
    double const rPassed = static_cast<double>((now - m_startTime).count()) * 1e-9;
    long long nSteps = static_cast<long long>(rPassed * m_rFrameRate * GetSpeed());
    nSteps -= GetTimeOf(nSteps) > now ? 1 : 0;
    nSteps += GetTimeOf(nSteps + 1) <= now ? 1 : 0;
    long long nPlace = static_cast<long long>(m_nStart) - m_frames.nFirst + nSteps;
    if (m_atEnd == AtEnd::Stop && nPlace >= GetCount()) {
        m_fEnded = true;
        nSteps -= nPlace - GetCount() + 1;
        nPlace = GetCount() - 1;
    }
    // Of one frame alone nothing is ever missed.
    m_nLate +=
        GetCount() > 1 && nSteps > m_nSteps + 1 ? static_cast<unsigned long>(nSteps - m_nSteps - 1) : 0;
    m_nSteps = nSteps;
    m_nFrame = m_frames.nFirst + static_cast<int>(nPlace % GetCount());
}

PlayClock::Time PlayClock::GetNextTime() const {
    bool const fStill = m_atEnd == AtEnd::Loop && GetCount() == 1;
    return m_fPaused || m_fEnded || fStill ? Time::max() : GetTimeOf(m_nSteps + 1);
}

void PlayClock::SetPaused(bool fPaused, Time now) {
    m_fPaused = fPaused;
    StartFrom(m_nFrame, now);
}

void PlayClock::Seek(int nFrame, Time now) {
    StartFrom(nFrame, now);
}

void PlayClock::Step(int nFrames, Time now) {
    long long nPlace = static_cast<long long>(m_nFrame) - m_frames.nFirst + nFrames;
    if (m_atEnd == AtEnd::Loop) {
        nPlace = (nPlace % GetCount() + GetCount()) % GetCount();
    }
    m_fPaused = true;
    StartFrom(m_frames.nFirst + static_cast<int>(std::clamp(nPlace, 0ll, GetCount() - 1)), now);
}

void PlayClock::ChangeSpeed(int nDoublings, Time now) {
    m_nDoublings = std::clamp(m_nDoublings + nDoublings, -HalvingCount, +HalvingCount);
    StartFrom(m_nFrame, now);
}

double PlayClock::GetSpeed() const {
    return std::ldexp(1.0, m_nDoublings);
}

} // namespace kelvokit::player
