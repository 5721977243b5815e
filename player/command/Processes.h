#pragma once

#include <functional>

namespace kelvokit::player {

/**
 * Runs `work`, which gets a number from 0 on, in so many copies of this process at once, which must have one
 * thread and no graphics device. A noted signal (NoteInterrupts) is passed on to them once; should this
 * process end, they are asked to. Returns the exit code of the first in order that did not succeed, 128 + the
 * signal's number where one has ended it, else 0. -1 with the reason in errno when there can be no process.
 */
int RunInProcesses(int nProcesses, std::function<int(int)> const& work);

} // namespace kelvokit::player
