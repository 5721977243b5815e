#include "command/Output.h"

#include "command/Options.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kelvokit::player {

void GuardStreams() {
    for (int const nStream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(nStream, F_GETFD) < 0) {
            // Opened the wrong way round; the number is the lowest one that is free.
            static_cast<void>(open("/dev/null", nStream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
    // As a rule all is written at once, at the end, so that the reason is known when it cannot be.
    static char s_buffer[1 << 16];
    if (isatty(STDOUT_FILENO) != 1) {
        static_cast<void>(std::setvbuf(stdout, s_buffer, _IOFBF, sizeof s_buffer));
    }
}

int FinishOutput(int nExitCode) {
    bool const fFailedBefore = std::ferror(stdout) != 0;
    errno = 0;
    bool const fFailed = std::fflush(stdout) != 0;
    if ((!fFailed && !fFailedBefore) || nExitCode != ExitSuccess) {
        return nExitCode;
    }
    if (errno == 0) { // it has failed before; another byte fails for the same reason
        static_cast<void>(write(STDOUT_FILENO, "\n", 1));
    }
    std::string const reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
    return Complain(ExitBadFile, "standard output: cannot be written" + reason);
}

int Complain(int nExitCode, std::string const& what) {
    std::fprintf(stderr, "kelvo-player: %s\n", what.c_str());
    return nExitCode;
}

} // namespace kelvokit::player
