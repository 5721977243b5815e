// kelvo-player-window: the player in a window, which kelvo-player --window becomes. A program of its own, so
// that the others start without a window system's libraries.

#include "command/Program.h"
#include "window/WindowPlayer.h"

#include <cstdio>

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [](Options const& options) -> int {
        if (!options.fWindow) {
            std::fprintf(stderr, "kelvo-player-window: shows a window: it needs --window\n");
            return ExitUsage;
        }
        return WindowPlayer(options).Run();
    });
}
