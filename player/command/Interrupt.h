#pragma once

namespace kelvokit::player {

/**
 * From now on an interrupt (Ctrl-C), a request to end or the loss of the terminal, unless that is ignored, is
 * noted; a second one of its kind ends the process at once.
 */
void NoteInterrupts();

/** The number of the signal that has come; 0 when none has. */
int GetInterrupt();

} // namespace kelvokit::player
