#include "Interrupt.h"
#include "Options.h"
#include "Output.h"
#include "Player.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

namespace {

/**
 * Goes on as kelvo-player-calls, which lies beside this program: a driver that notes calls has to be there
 * before the system's when a program starts. Returns only when that fails.
 */
int BecomeCalls(char** ppArguments) {
    char program[PATH_MAX] = "";
    ssize_t const nLength = readlink("/proc/self/exe", program, sizeof program);
    std::string const path =
        std::string(program, nLength > 0 ? static_cast<std::size_t>(nLength) : 0) + "-calls";
    execv(path.c_str(), ppArguments);
    std::fprintf(stderr, "kelvo-player: %s: cannot be started: %s\n", path.c_str(), std::strerror(errno));
    return kelvokit::player::ExitDevice;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    kelvokit::player::GuardStreams();
    kelvokit::player::Options options;
    if (std::optional<int> const exitCode =
            kelvokit::player::ParseOptions(nArguments, ppArguments, options)) {
        return kelvokit::player::FinishOutput(*exitCode);
    }
    if (!options.calls.empty()) {
        return BecomeCalls(ppArguments);
    }
    kelvokit::player::NoteInterrupts();
    try {
        return kelvokit::player::FinishOutput(kelvokit::player::Player(options).Run());
    } catch (std::exception const& fault) {
        std::fprintf(stderr, "kelvo-player: %s\n", fault.what());
        return kelvokit::player::ExitBadFile;
    }
}
