#include "Interrupt.h"

#include <csignal>

namespace kelvokit::player {

namespace {

std::sig_atomic_t volatile g_fInterrupted = 0;

extern "C" void NoteInterrupt(int) {
    g_fInterrupted = 1;
}

} // namespace

void NoteInterrupts() {
    struct sigaction action = {};
    action.sa_handler = NoteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool IsInterrupted() {
    return g_fInterrupted != 0;
}

} // namespace kelvokit::player
