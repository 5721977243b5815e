#pragma once

#include "command/Options.h"

#include <functional>
#include <string>
#include <vector>

namespace kelvokit::player {

/** Plays once: returns the exit code, and gives the paths of all files that were read or could not be. */
using PlayOnce = std::function<int(std::vector<std::string>& files)>;

/**
 * Plays once, or with --watch again whenever a file has changed, until a signal ends it, each time in a
 * process of its own: nothing of one time is left in the next. What makes no sense on the command line, and a
 * device that cannot be had, end it the first time. This process must have one thread and no graphics device.
 * Returns the exit code.
 */
int PlayWatched(Options const& options, PlayOnce const& play);

} // namespace kelvokit::player
