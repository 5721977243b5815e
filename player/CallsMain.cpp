// kelvo-player-calls: the player over the recording driver, which kelvo-player --calls becomes.

#include "CallsFile.h"
#include "Interrupt.h"
#include "Options.h"
#include "Output.h"
#include "Player.h"

#include <cstdio>
#include <exception>

int main(int nArguments, char** ppArguments) {
    kelvokit::player::GuardStreams();
    kelvokit::player::Options options;
    if (std::optional<int> const exitCode =
            kelvokit::player::ParseOptions(nArguments, ppArguments, options)) {
        return kelvokit::player::FinishOutput(*exitCode);
    }
    if (options.calls.empty()) {
        std::fprintf(stderr, "kelvo-player-calls: draws nothing: it needs --calls\n");
        return kelvokit::player::ExitUsage;
    }
    kelvokit::player::NoteInterrupts();
    try {
        kelvokit::player::CallsFile calls(options.calls);
        return kelvokit::player::FinishOutput(kelvokit::player::Player(options, &calls).Run());
    } catch (std::exception const& fault) {
        std::fprintf(stderr, "kelvo-player: %s\n", fault.what());
        return kelvokit::player::ExitBadFile;
    }
}
