#include "command/Program.h"
#include "play/Player.h"

#include <cstdio>

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [&](Options const& options) {
#if defined(KELVO_HAS_WINDOW)
        if (options.fWindow) {
            return BecomeProgram("-window", ppArguments);
        }
#else
        if (options.fWindow) {
            std::fprintf(stderr, "kelvo-player: --window: it was built without SDL2, and so without a window\n");
            return static_cast<int>(ExitDevice);
        }
#endif
        // A driver that notes calls has to be there before the system's when a program starts.
        return options.calls.empty() ? Player(options).Run() : BecomeProgram("-calls", ppArguments);
    });
}
