#pragma once

#include <SDL_keycode.h>

#include <string>
#include <vector>

namespace kelvokit::player {

/** What a key asks the window for. */
enum class Command {
    Pause,
    StepBack,
    StepOn,
    First,
    Last,
    Slower,
    Faster,
    FullScreen,
    Overlay,
    Reload,
    SavePicture,
    Help,
    End
};

struct KeyCommand {
    Command command;
    std::vector<SDL_Keycode> keys;
    SDL_Keycode keyWithAlt; ///< pressed together with Alt; SDLK_UNKNOWN for none
    char const* pKeys;      ///< how a person calls them
    char const* pMeaning;
};

/** All that the keyboard does: the window obeys it, F1 shows it and the documentation repeats it. */
std::vector<KeyCommand> const& GetKeyCommands();

/** The command of a key; null for one that has none. `nModifiers`: of SDL_Keymod. */
KeyCommand const* FindKeyCommand(SDL_Keycode key, int nModifiers);

/** What F1 shows: all keys, and what the mouse does. */
std::string GetHelpText();

/** The same for a window that has no room for it: the keys alone, in a few words. */
std::string GetShortHelpText();

} // namespace kelvokit::player
