#pragma once

#include "report/FrameFigures.h"
#include "trevik/kelvo/ITraceable.h"

namespace kelvokit::player {

/** What frames have cost. */
struct Report {
    FrameFigures const& figures;
    bool fCounted;          ///< what has been drawn is known
    unsigned int nPictures; ///< frames that have become pictures, or were compared with some
    trevik::kelvo::ITraceable* pScene;
};

/** Prints frames, counters, memory and what each profiled scope has cost. */
void PrintFigures(Report const& report);

/** Prints all of this, and what was drawn with, as one JSON object. */
void PrintJson(Report const& report);

} // namespace kelvokit::player
