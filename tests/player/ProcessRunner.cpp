#include "ProcessRunner.h"

#include "image/ImageReader.h"
#include "image/PixelPacking.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace kelvokit::player::testing {

namespace {

// A hundred are a second. A program that does not end at its signal after so many is killed.
constexpr int SignalRounds = 6000;

void Redirect(int nDescriptor, std::string const& path) {
    int const nFile = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(nFile, nDescriptor);
    close(nFile);
}

int Wait(pid_t process, std::function<bool()> const& watch, int nSignal) {
    int nStatus = 0;
    int nRounds = 0; // since the signal
    while (waitpid(process, &nStatus, watch ? WNOHANG : 0) == 0) {
        if (nRounds > 0 || watch()) {
            if (nRounds == 0 || nRounds == SignalRounds) {
                kill(process, nRounds == 0 ? nSignal : SIGKILL);
            }
            ++nRounds;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
}

Outcome Run(std::vector<std::string> words, std::vector<std::string> const& variables,
            std::function<bool()> const& watch, int nSignal) {
    TemporaryFolder const folder;
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    pid_t const process = fork();
    if (process == 0) {
        Redirect(STDOUT_FILENO, folder.Path("output"));
        Redirect(STDERR_FILENO, folder.Path("errors"));
        for (std::string const& variable : variables) {
            putenv(const_cast<char*>(variable.c_str()));
        }
        execvp(pointers[0], pointers.data());
        _exit(127);
    }
    Outcome outcome;
    outcome.nExitCode = Wait(process, watch, nSignal);
    outcome.output = folder.ReadText("output");
    outcome.errors = folder.ReadText("errors");
    return outcome;
}

} // namespace

Outcome RunProgram(std::string const& program, std::vector<std::string> const& arguments,
                   std::vector<std::string> const& variables, std::function<bool()> const& watch,
                   int nSignal) {
    std::vector<std::string> words{KELVO_EMULATOR program}; // another processor's programs run in an emulator
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Run(words, variables, watch, nSignal);
}

Outcome RunShell(std::string const& command) {
    std::string player;
    for (std::string const& word : std::vector<std::string>{KELVO_EMULATOR KELVO_PLAYER}) {
        player += "'" + word + "' ";
    }
    return Run({"/bin/sh", "-c", "player() { " + player + "\"$@\"; }; " + command}, {}, nullptr, 0);
}

Outcome Play(std::vector<std::string> const& arguments, std::vector<std::string> const& variables) {
    return RunProgram(KELVO_PLAYER, arguments, variables);
}

Image ReadPicture(std::string const& path) {
    Image picture(1, 1);
    trevik::kelvo::assets::ImageData other;
    trevik::kelvo::Fault fault;
    if (!picture.Load(path) && LoadImage(path, {}, other, fault)) { // a compressed texture
        trevik::kelvo::assets::RgbaPicture const pixels = UnpackLevel(other, 0);
        return Image(pixels.width, pixels.height, pixels.bytes.data());
    }
    EXPECT_STREQ(fault.GetText().c_str(), "");
    return picture;
}

Image DrawFrame(std::string const& scene, int nFrame) {
    TemporaryFolder const folder;
    Outcome const outcome = Play({scene, "--frames", std::to_string(nFrame), "--out", folder.Path("p.png")});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "") << scene;
    return ReadPicture(folder.Path("p.png"));
}

} // namespace kelvokit::player::testing
