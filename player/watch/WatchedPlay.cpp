#include "watch/WatchedPlay.h"

#include "command/Interrupt.h"
#include "command/Output.h"
#include "command/Processes.h"
#include "watch/FileWatch.h"

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

namespace kelvokit::player {

using trevik::kelvo::Fault;

namespace {

/** Signals are looked for as often, in milliseconds. */
constexpr int SignalInterval = 100;

/** Carries names from one process to the other. */
class NameFile {
public:
    bool IsOpen() const { return m_pFile != nullptr; }

    void Write(std::vector<std::string> const& names) const {
        for (std::string const& name : names) {
            std::fwrite(name.c_str(), 1, name.size() + 1, m_pFile.get());
        }
        std::fflush(m_pFile.get());
    }

    std::vector<std::string> Read() const {
        std::vector<std::string> names;
        std::string name;
        std::rewind(m_pFile.get());
        for (int nByte = 0; (nByte = std::fgetc(m_pFile.get())) != EOF;) {
            if (nByte != 0) {
                name.push_back(static_cast<char>(nByte));
            } else {
                names.push_back(name);
                name.clear();
            }
        }
        return names;
    }

private:
    struct Closer {
        void operator()(std::FILE* pFile) const { std::fclose(pFile); }
    };
    std::unique_ptr<std::FILE, Closer> m_pFile{std::tmpfile()};
};

/** Plays in a process of its own; -1, with the reason in errno, when there can be none. */
int PlayApart(PlayOnce const& play, std::vector<std::string>& files) {
    NameFile const names;
    if (!names.IsOpen()) {
        return -1;
    }
    int const nExitCode = RunInProcesses(1, [&](int) {
        std::vector<std::string> read;
        int const nPlayed = play(read);
        names.Write(read);
        return FinishOutput(nPlayed);
    });
    std::vector<std::string> read = names.Read();
    if (!read.empty()) { // of one that was interrupted there are none
        files = std::move(read);
    }
    return nExitCode;
}

/** Waits until files have changed and that is over; false when a signal has come instead. */
bool WaitForChange(FileWatch& watch) {
    while (GetInterrupt() == 0) {
        auto const now = FileWatch::Time::clock::now();
        if (watch.GetDueTime() <= now) {
            watch.Forget();
            return true;
        }
        int nWait = SignalInterval;
        if (watch.GetDueTime() - now < std::chrono::milliseconds(SignalInterval)) {
            nWait = static_cast<int>(
                std::chrono::ceil<std::chrono::milliseconds>(watch.GetDueTime() - now).count());
        }
        pollfd wait = {watch.GetDescriptor(), POLLIN, 0};
        poll(&wait, 1, nWait);
        watch.Take(FileWatch::Time::clock::now());
    }
    return false;
}

void TellOfPlay(Options const& options, int nExitCode) {
    std::string const done = !options.out.empty()       ? "written to " + options.out
                             : !options.compare.empty() ? "as in " + options.compare
                                                        : "played";
    Complain(nExitCode, options.scene + ": " +
                            (nExitCode == ExitSuccess ? done : "ended with " + std::to_string(nExitCode)) +
                            "; played again when it changes");
}

} // namespace

int PlayWatched(Options const& options, PlayOnce const& play) {
    std::vector<std::string> files{options.scene};
    if (!options.fWatch) {
        return play(files);
    }
    NoteInterrupts();
    Fault fault;
    FileWatch watch;
    if (!watch.Open(fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    for (bool fFirst = true;; fFirst = false) {
        auto const since = std::chrono::system_clock::now();
        if (!watch.SetFiles(files, since, fault)) {
            return Complain(ExitDevice, fault.GetText());
        }
        int const nExitCode = PlayApart(play, files);
        if (nExitCode < 0) {
            return Complain(ExitDevice, std::string("--watch: no further process: ") + std::strerror(errno));
        }
        if (int const nSignal = GetInterrupt()) {
            bool const fSaid = nExitCode > ExitSignal; // by the other process, which may have ended before
            return fSaid ? ExitSignal + nSignal : Complain(ExitSignal + nSignal, "interrupted");
        }
        if (fFirst && (nExitCode == ExitUsage || nExitCode == ExitDevice)) {
            return nExitCode;
        }
        if (!watch.SetFiles(files, since, fault)) {
            return Complain(ExitDevice, fault.GetText());
        }
        if (!options.fQuiet) {
            TellOfPlay(options, nExitCode);
        }
        if (!WaitForChange(watch)) {
            return Complain(ExitSignal + GetInterrupt(), "interrupted");
        }
    }
}

} // namespace kelvokit::player
