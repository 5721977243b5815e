#pragma once

namespace kelvokit::player {

/** From now on an interrupt (Ctrl-C) or a request to end is noted; a second one ends the process at once. */
void NoteInterrupts();

/** The number of the signal that has come; 0 when none has. */
int GetInterrupt();

} // namespace kelvokit::player
