#include "kelvo_host/TimelineWatches.h"

#include "trevik/kelvo/Timeline.h"

#include <new>

namespace trevik::kelvo {

/** What is waited for, and how it stood when it was last looked at. */
struct TimelineWatches::Watch : Referenced {
    Watch(Timeline& timeline, Handler const& handler, bool fEnd, RealFloat frame)
        : m_pTimeline(&timeline), m_handler(handler), m_fEnd(fEnd), m_rFrame(frame),
          m_rSeen(timeline.GetFrame()), m_fEnded(HasEnded()) {}

    bool HasEnded() const {
        RealFloat const last = m_pTimeline->GetLastFrameProperty().GetValue();
        return !m_pTimeline->IsPlaying() && last > m_pTimeline->GetFirstFrameProperty().GetValue() &&
               m_pTimeline->GetFrame() >= last;
    }

    /** Whether it has come true since the last look. */
    bool Look() {
        bool const fEnded = m_fEnded;
        RealFloat const seen = m_rSeen;
        m_fEnded = HasEnded();
        m_rSeen = m_pTimeline->GetFrame();
        if (m_fEnd) {
            return m_fEnded && !fEnded;
        }
        bool const fNextRound =
            m_rSeen < seen && m_pTimeline->GetPlaybackModeProperty().GetValue() == PlaybackMode::Loop;
        return m_rSeen >= m_rFrame && (seen < m_rFrame || fNextRound);
    }

    Ref<Timeline> const m_pTimeline;
    Handler const m_handler;
    bool const m_fEnd;        ///< or else a frame
    RealFloat const m_rFrame; ///< unless it is the end
    RealFloat m_rSeen;
    bool m_fEnded;
};

TimelineWatches::TimelineWatches() = default;

TimelineWatches::~TimelineWatches() = default;

bool TimelineWatches::AddEnd(Timeline& timeline, Handler const& handler) {
    return Add(Ref<Watch>(new (std::nothrow) Watch(timeline, handler, true, 0)));
}

bool TimelineWatches::AddFrame(Timeline& timeline, RealFloat frame, Handler const& handler) {
    return Add(Ref<Watch>(new (std::nothrow) Watch(timeline, handler, false, frame)));
}

bool TimelineWatches::Add(Ref<Watch> const& pWatch) {
    return pWatch && pWatch->m_handler && m_watches.Append(pWatch);
}

void TimelineWatches::Remove(Timeline const& timeline) {
    for (unsigned int n = m_watches.GetCount(); n-- > 0;) {
        if (m_watches[n]->m_pTimeline.Get() == &timeline) {
            m_watches.RemoveAt(n);
        }
    }
}

void TimelineWatches::Clear() {
    m_watches.Clear();
}

void TimelineWatches::Tell() {
    // A handler may add and remove: one that moves into a place that was passed is told by the next call.
    for (unsigned int n = 0; n < m_watches.GetCount(); ++n) {
        Ref<Watch> const pWatch = m_watches[n];
        if (pWatch->Look()) {
            pWatch->m_handler(*pWatch->m_pTimeline);
        }
    }
}

} // namespace trevik::kelvo
