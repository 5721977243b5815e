#pragma once

#include "command/Options.h"

#include <functional>
#include <string>

namespace kelvokit::player {

/**
 * What every program of the player does: guards its streams, reads the command line, calls `run`, and writes
 * out what is left for standard output. Returns the exit code; anything but success has been explained on
 * stderr.
 */
int RunProgram(int nArguments, char** ppArguments, std::function<int(Options const&)> const& run);

/**
 * Goes on as another program that lies beside this one and has its name with an ending, such as "-calls":
 * what has to be there before the system's libraries when a program starts, and what most runs do not need,
 * has a program of its own. Returns, with the exit code, only when that fails.
 */
int BecomeProgram(std::string const& ending, char** ppArguments);

} // namespace kelvokit::player
