#include "command/Output.h"
#include "command/Program.h"
#include "play/Authoring.h"
#include "play/Player.h"
#include "watch/WatchedPlay.h"

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [&](Options const& options) {
        if (options.fSchema) {
            return PrintSchema(options);
        }
        if (!options.formatScene.empty()) {
            return PrintFormattedScene(options);
        }
#if defined(KELVO_HAS_WINDOW)
        if (options.fWindow) {
            return BecomeProgram("-window", ppArguments);
        }
#else
        if (options.fWindow) {
            return Complain(ExitDevice, "--window: it was built without SDL2, and so without a window");
        }
#endif
        // What notes or counts calls has to be there before the system's driver when a program starts.
        if (!options.calls.empty()) {
            return BecomeProgram("-calls", ppArguments);
        }
        if (options.fStats || !options.trace.empty() || options.Explains()) {
            return BecomeProgram("-counted", ppArguments);
        }
        return PlayWatched(options, [&](std::vector<std::string>& files) {
            Player player(options);
            int const nExitCode = player.Run();
            if (!options.fWatch) {
                player.EndUndrawn(nExitCode);
            }
            files = player.GetFiles();
            return nExitCode;
        });
    });
}
