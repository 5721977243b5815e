// kelvo-player-calls: the player over the recording driver, which kelvo-player --calls becomes.

#include "calls/CallsFile.h"
#include "command/Program.h"
#include "play/Player.h"
#include "watch/WatchedPlay.h"

#include <cstdio>

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [](Options const& options) -> int {
        if (options.calls.empty()) {
            std::fprintf(stderr, "kelvo-player-calls: draws nothing: it needs --calls\n");
            return ExitUsage;
        }
        return PlayWatched(options, [&](std::vector<std::string>& files) {
            CallsFile calls(options.calls);
            Player player(options, &calls);
            int const nExitCode = player.Run();
            files = player.GetFiles();
            return nExitCode;
        });
    });
}
