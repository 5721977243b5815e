#include "command/Processes.h"

#include "command/Interrupt.h"
#include "command/Options.h"
#include "command/Output.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>
#include <vector>

namespace kelvokit::player {

namespace {

/** In the new process; does not return. */
[[noreturn]] void Work(pid_t parent, int nNumber, std::function<int(int)> const& work) {
    // Ctrl-C on a terminal goes to the first process alone, which passes it on: a second one would not wait
    // for a picture to be whole.
    setpgid(0, 0);
    std::signal(SIGTTOU, SIG_IGN); // a terminal may stop the processes of other groups when they complain
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) { // it has ended before that
        _exit(ExitSignal + SIGTERM);
    }
    int nExitCode = ExitBadFile;
    try {
        nExitCode = work(nNumber);
    } catch (std::exception const& fault) {
        Complain(nExitCode, fault.what());
    }
    _exit(nExitCode);
}

void SendAll(std::vector<pid_t> const& processes, int nSignal) {
    for (pid_t const process : processes) {
        if (process > 0) {
            kill(process, nSignal);
        }
    }
}

/** Waits for a process, and passes a signal on to all of them meanwhile. */
int Wait(pid_t process, std::vector<pid_t> const& processes, bool& fPassedOn) {
    int nStatus = 0;
    pid_t nEnded = 0;
    while ((nEnded = waitpid(process, &nStatus, WNOHANG)) == 0) {
        if (!fPassedOn && GetInterrupt() != 0) {
            SendAll(processes, GetInterrupt());
            fPassedOn = true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (nEnded < 0) {
        return ExitBadFile;
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : ExitSignal + WTERMSIG(nStatus);
}

} // namespace

int RunInProcesses(int nProcesses, std::function<int(int)> const& work) {
    std::signal(SIGCHLD, SIG_DFL); // where it is ignored nothing is known of how a process has ended
    std::fflush(stdout);           // what is left would come from each of them
    std::vector<pid_t> processes;
    bool fPassedOn = false;
    int nError = 0;
    pid_t const self = getpid();
    while (nError == 0 && static_cast<int>(processes.size()) < nProcesses) {
        pid_t const process = fork();
        if (process == 0) {
            Work(self, static_cast<int>(processes.size()), work);
        } else if (process < 0) {
            nError = errno;
            SendAll(processes, SIGTERM);
            fPassedOn = true;
        } else {
            processes.push_back(process);
        }
    }
    int nExitCode = ExitSuccess;
    for (pid_t& process : processes) {
        int const nEnded = Wait(process, processes, fPassedOn);
        process = 0; // its number may be another's from now on
        nExitCode = nExitCode == ExitSuccess ? nEnded : nExitCode;
    }
    errno = nError;
    return nError == 0 ? nExitCode : -1;
}

} // namespace kelvokit::player
