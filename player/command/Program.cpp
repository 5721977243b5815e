#include "command/Program.h"

#include "command/Output.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>

namespace kelvokit::player {

int RunProgram(int nArguments, char** ppArguments, std::function<int(Options const&)> const& run) {
    GuardStreams();
    Options options;
    if (std::optional<int> const exitCode = ParseOptions(nArguments, ppArguments, options)) {
        return FinishOutput(*exitCode);
    }
    try {
        return FinishOutput(run(options));
    } catch (std::exception const& fault) {
        return Complain(ExitBadFile, fault.what());
    }
}

int BecomeProgram(std::string const& ending, char** ppArguments) {
    char program[PATH_MAX] = "";
    ssize_t const nLength = readlink("/proc/self/exe", program, sizeof program);
    std::string const path =
        std::string(program, nLength > 0 ? static_cast<std::size_t>(nLength) : 0) + ending;
    execv(path.c_str(), ppArguments);
    return Complain(ExitDevice, path + ": cannot be started: " + std::strerror(errno));
}

} // namespace kelvokit::player
