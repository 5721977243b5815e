#pragma once

namespace kelvo::player {

/** Prints what the current context draws with: driver, renderer, surface, and what the back end would use but
 * lacks. */
void ReportDriver();

/** Prints the host's counters and what each profiled scope has cost, in all and per frame. */
void ReportFigures(unsigned int nFrames);

} // namespace kelvo::player
