#pragma once

#include "command/Options.h"

namespace kelvokit::player {

// What helps those who write scenes, and plays none. Each returns the exit code.

/** Prints the JSON schema of scene files, with the classes that scenes have here. */
int PrintSchema(Options const& options);

/** Prints a scene file in the one form that scene files have. */
int PrintFormattedScene(Options const& options);

} // namespace kelvokit::player
