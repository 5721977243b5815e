#pragma once

#include "trevik/Export.h"
#include "trevik/Function.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/Types.h"

namespace trevik::kelvo {

class Timeline;

/**
 * Tells when timelines get to a frame, or have ended; a scene has one (Scene::OnEnd, Scene::OnFrame).
 * Timelines are held until they are forgotten. Render thread.
 */
class TREVIK_API TimelineWatches {
public:
    typedef function<void(Timeline&)> Handler; ///< called with the timeline that has got there

    TimelineWatches();
    ~TimelineWatches();
    TimelineWatches(TimelineWatches const&) = delete;
    TimelineWatches& operator=(TimelineWatches const&) = delete;

    /** See Scene::OnEnd. False for an empty handler and without memory. */
    bool AddEnd(Timeline& timeline, Handler const& handler);
    /** See Scene::OnFrame. False for an empty handler and without memory. */
    bool AddFrame(Timeline& timeline, RealFloat frame, Handler const& handler);
    /** Calls no handler for this timeline any more. */
    void Remove(Timeline const& timeline);
    /** Calls none at all any more. */
    void Clear();

    /**
     * Calls the handlers of the timelines that have got to where they were not at the last call, in the order
     * in which they were added. A handler may do all that an application may do between frames. Allocates
     * nothing.
     */
    void Tell();

private:
    struct Watch;

    bool Add(Ref<Watch> const& pWatch);

    List<Ref<Watch>> m_watches;
};

} // namespace trevik::kelvo
