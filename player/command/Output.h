#pragma once

#include <string>

namespace kelvokit::player {

/**
 * To be called before anything opens a file or prints: gives streams that were closed when the program began
 * a place where reading and writing fail, so that no file takes their numbers and what is meant for them.
 */
void GuardStreams();

/**
 * Writes out what is left for standard output. Returns `nExitCode`, but in place of a success, with the
 * reason on stderr, the one for files that cannot be written when some of the output could not be.
 */
int FinishOutput(int nExitCode);

/** Writes a line of its own to stderr, headed by the program's name. Returns `nExitCode`. */
int Complain(int nExitCode, std::string const& what);

} // namespace kelvokit::player
