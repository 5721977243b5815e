// kelvo-player-counted: the player with what counts draws ahead of the driver, which kelvo-player --stats and
// --trace become.

#include "command/Program.h"
#include "play/Player.h"
#include "watch/WatchedPlay.h"

#include <kelvo_counting/Counting.h>

namespace {

kelvokit::player::DrawnCounts GetDrawn() {
    kelvokit::counting::Counts const& counts = kelvokit::counting::GetCounts();
    return {counts.nCalls,          counts.nDraws,          counts.nTriangles,
            counts.nProgramChanges, counts.nTextureChanges, counts.nBlendChanges};
}

} // namespace

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [](Options const& options) {
        return PlayWatched(options, [&](std::vector<std::string>& files) {
            Player player(options, nullptr, GetDrawn);
            int const nExitCode = player.Run();
            files = player.GetFiles();
            return nExitCode;
        });
    });
}
