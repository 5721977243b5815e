#pragma once

#include <string>

namespace kelvokit::player {

/** What the driver calls the thing that the current context draws with. */
std::string GetRenderer();

/**
 * Prints what the current context draws with: driver, renderer, surface, and what the back end would use but
 * lacks.
 */
void PrintDriver();

/** Prints counters and what each profiled scope has cost; `nPictures` of the frames were written. */
void PrintFigures(unsigned int nFrames, unsigned int nPictures);

/** Prints all of this as one JSON object. */
void PrintJson(unsigned int nFrames, unsigned int nPictures);

} // namespace kelvokit::player
