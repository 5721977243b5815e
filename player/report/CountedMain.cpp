// kelvo-player-counted: the player with what counts draws ahead of the driver, which kelvo-player --stats,
// --trace, --explain and --overdraw become.

#include "command/Output.h"
#include "command/Program.h"
#include "explain/Explainer.h"
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
    return RunProgram(nArguments, ppArguments, [](Options const& options) -> int {
        if (options.Explains() && !kelvokit::counting::IsInFront()) {
            return Complain(ExitDevice, "--explain and --overdraw: another library takes GL's calls before "
                                        "they are counted, such as a tracer's");
        }
        return PlayWatched(options, [&](std::vector<std::string>& files) {
            Explainer explainer(options);
            Player player(options, nullptr, GetDrawn, options.Explains() ? &explainer : nullptr);
            int const nExitCode = player.Run();
            if (!options.fWatch) {
                player.EndUndrawn(nExitCode);
            }
            files = player.GetFiles();
            return nExitCode;
        });
    });
}
