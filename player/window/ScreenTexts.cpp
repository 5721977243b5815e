#include "window/ScreenTexts.h"

#include "window/Commands.h"

#include <algorithm>
#include <cstdio>

namespace kelvokit::player {

namespace {

using namespace std::chrono_literals;

constexpr auto NoticeTime = 3s;
constexpr auto BarTime = 2500ms;
constexpr auto RateTime = 1s; // that frames per second are counted over

} // namespace

std::string GetSpeedText(double rSpeed) {
    char text[32];
    std::snprintf(text, sizeof text, ", %gx", rSpeed);
    return rSpeed == 1 ? "" : text;
}

void ScreenTexts::SetNotice(std::string const& text, Time now) {
    m_sNotice = text;
    m_noticeEnd = now + NoticeTime;
}

void ScreenTexts::ShowBar(Time now) {
    m_barEnd = now + BarTime;
}

void ScreenTexts::NoteFrame(Time now) {
    m_shown.push_back(now);
    while (m_shown.front() <= now - RateTime) {
        m_shown.pop_front();
    }
}

std::string ScreenTexts::GetFigures(PlayClock const& clock, SceneFigures const& figures) const {
    char text[200];
    std::snprintf(text, sizeof text, "Frame\t%d\nPer second\t%zu\nNodes\t%u\nDraws\t%llu\nLate\t%lu",
                  clock.GetFrame(), m_shown.size(), figures.nNodes, figures.nDraws, clock.GetLateFrames());
    return text;
}

OverlayTexts ScreenTexts::Get(PlayClock const& clock, FrameRange const& frames, SceneFigures const& figures,
                              Time now) const {
    OverlayTexts texts;
    texts.figures = m_fFigures ? GetFigures(clock, figures) : "";
    texts.help = m_fHelp ? GetHelpText() : "";
    texts.shortHelp = m_fHelp ? GetShortHelpText() : "";
    texts.picked = m_sPicked;
    texts.pickedAt = m_pickedAt;
    texts.message = m_sFault;
    if (now < m_noticeEnd) {
        texts.message += (m_sFault.empty() ? "" : "\n") + m_sNotice;
    }
    if (clock.IsPaused() || now < m_barEnd) {
        int const nFrame = std::clamp(clock.GetFrame(), frames.nFirst, frames.nLast);
        double const rLength = std::max(1.0, static_cast<double>(frames.nLast) - frames.nFirst);
        texts.bar = PlayBar{std::to_string(nFrame) + " of " + std::to_string(frames.nFirst) + ".." +
                                std::to_string(frames.nLast) + GetSpeedText(clock.GetSpeed()),
                            (static_cast<double>(nFrame) - frames.nFirst) / rLength};
    }
    return texts;
}

ScreenTexts::Time ScreenTexts::GetNextTime(Time now) const {
    Time next = Time::max();
    for (Time const end : {m_noticeEnd, m_barEnd}) {
        next = end > now ? std::min(next, end) : next;
    }
    return next;
}

} // namespace kelvokit::player
