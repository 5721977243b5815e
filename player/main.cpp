#include "Interrupt.h"
#include "Options.h"
#include "Player.h"

#include <cstdio>
#include <exception>

int main(int nArguments, char** ppArguments) {
    kelvo::player::Options options;
    if (std::optional<int> const exitCode = kelvo::player::ParseOptions(nArguments, ppArguments, options)) {
        return *exitCode;
    }
    kelvo::player::NoteInterrupts();
    try {
        return kelvo::player::Player(options).Run();
    } catch (std::exception const& fault) {
        std::fprintf(stderr, "kelvo-player: %s\n", fault.what());
        return kelvo::player::ExitBadFile;
    }
}
