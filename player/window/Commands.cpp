#include "window/Commands.h"

#include <algorithm>

namespace kelvokit::player {

std::vector<KeyCommand> const& GetKeyCommands() {
    static std::vector<KeyCommand> const s_commands = {
        {Command::Pause, {SDLK_SPACE}, SDLK_UNKNOWN, "Space", "Pauses, and plays on"},
        {Command::StepBack, {SDLK_LEFT}, SDLK_UNKNOWN, "Left", "Pauses one frame back"},
        {Command::StepOn, {SDLK_RIGHT}, SDLK_UNKNOWN, "Right", "Pauses one frame on"},
        {Command::First, {SDLK_HOME}, SDLK_UNKNOWN, "Home", "The first frame"},
        {Command::Last, {SDLK_END}, SDLK_UNKNOWN, "End", "The last frame"},
        {Command::Slower, {SDLK_COMMA}, SDLK_UNKNOWN, "Comma", "Half as fast"},
        {Command::Faster, {SDLK_PERIOD}, SDLK_UNKNOWN, "Period", "Twice as fast"},
        {Command::FullScreen, {SDLK_f, SDLK_F11}, SDLK_RETURN, "F, F11, Alt+Enter", "Full screen, and back"},
        {Command::Overlay, {SDLK_o}, SDLK_UNKNOWN, "O", "Shows figures of the frame, and hides them"},
        {Command::Reload, {SDLK_r}, SDLK_UNKNOWN, "R", "Reads the scene again"},
        {Command::SavePicture, {SDLK_s}, SDLK_UNKNOWN, "S", "Saves the frame as a picture"},
        {Command::Help, {SDLK_F1}, SDLK_UNKNOWN, "F1", "Shows the keys, and hides them"},
        {Command::End, {SDLK_ESCAPE, SDLK_q}, SDLK_UNKNOWN, "Escape, Q", "Ends"},
    };
    return s_commands;
}

KeyCommand const* FindKeyCommand(SDL_Keycode key, int nModifiers) {
    if ((nModifiers & (KMOD_CTRL | KMOD_GUI)) != 0 || key == SDLK_UNKNOWN) {
        return nullptr; // what the system or another program may mean something by
    }
    bool const fAlt = (nModifiers & KMOD_ALT) != 0;
    auto const& commands = GetKeyCommands();
    auto const found = std::find_if(commands.begin(), commands.end(), [&](KeyCommand const& command) {
        return fAlt ? command.keyWithAlt == key
                    : std::count(command.keys.begin(), command.keys.end(), key) != 0;
    });
    return found != commands.end() ? &*found : nullptr;
}

std::string GetHelpText() {
    std::string text;
    for (KeyCommand const& command : GetKeyCommands()) {
        text += std::string(command.pKeys) + "\t" + command.pMeaning + "\n";
    }
    return text + "Click\tTells which node is there; again, hides it\n"
                  "Double click\tFull screen, and back\n"
                  "Lower edge\tA bar to go to any frame with";
}

std::string GetShortHelpText() {
    return "Space pause, Left/Right step, Home/End ends, Comma/Period speed, F full screen, "
           "O figures, R read, S save, F1 keys, Escape end";
}

} // namespace kelvokit::player
