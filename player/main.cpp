#include "command/Program.h"
#include "play/Player.h"

int main(int nArguments, char** ppArguments) {
    using namespace kelvokit::player;
    return RunProgram(nArguments, ppArguments, [&](Options const& options) {
        // A driver that notes calls has to be there before the system's when a program starts.
        return options.calls.empty() ? Player(options).Run() : BecomeProgram("-calls", ppArguments);
    });
}
