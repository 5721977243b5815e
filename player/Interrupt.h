#pragma once

namespace kelvokit::player {

/** From now on an interrupt (Ctrl-C) or a request to end is noted; a second one ends the process at once. */
void NoteInterrupts();

/** Whether one has come. */
bool IsInterrupted();

} // namespace kelvokit::player
