#pragma once

namespace kelvokit::player {

/**
 * Prints what the current context draws with: driver, renderer, surface, and what the back end would use but
 * lacks.
 */
void ReportDriver();

/** Prints counters and what each profiled scope has cost; `nPictures` of the frames were written. */
void ReportFigures(unsigned int nFrames, unsigned int nPictures);

} // namespace kelvokit::player
