#pragma once

#include "command/Options.h"

namespace kelvokit::player {

/** Prints the JSON schema of scene files, with the classes that scenes have here. Returns the exit code. */
int PrintSchema(Options const& options);

} // namespace kelvokit::player
