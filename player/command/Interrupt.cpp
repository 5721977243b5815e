#include "command/Interrupt.h"

#include <csignal>

namespace kelvokit::player {

namespace {

std::sig_atomic_t volatile g_nInterrupt = 0;

extern "C" void NoteInterrupt(int nSignal) {
    g_nInterrupt = nSignal;
}

} // namespace

void NoteInterrupts() {
    struct sigaction action = {};
    action.sa_handler = NoteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    struct sigaction old = {};
    sigaction(SIGHUP, nullptr, &old);
    if (old.sa_handler != SIG_IGN) { // which is how nohup lets a program play on
        sigaction(SIGHUP, &action, nullptr);
    }
}

int GetInterrupt() {
    return g_nInterrupt;
}

} // namespace kelvokit::player
