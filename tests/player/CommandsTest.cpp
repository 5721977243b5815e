// The keys of the window: what is said of them is what they do.

#include "window/Commands.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace kelvokit::player::testing {
namespace {

TEST(Commands, AreDocumentedAndShownOneByOne) {
    std::ifstream file(KELVO_PLAYER_DOCS);
    std::stringstream docs;
    docs << file.rdbuf();
    for (KeyCommand const& command : GetKeyCommands()) {
        std::string const keys = command.pKeys;
        EXPECT_NE(docs.str().find("| " + keys + " | " + command.pMeaning + " |\n"), std::string::npos)
            << keys;
        EXPECT_NE(GetHelpText().find(keys + "\t" + command.pMeaning + "\n"), std::string::npos) << keys;
    }
}

TEST(Commands, BelongToKeysAloneOrWithAlt) {
    for (KeyCommand const& command : GetKeyCommands()) {
        for (SDL_Keycode const key : command.keys) {
            EXPECT_EQ(FindKeyCommand(key, KMOD_NUM | KMOD_LSHIFT), &command) << command.pKeys;
            EXPECT_EQ(FindKeyCommand(key, KMOD_LALT), nullptr) << command.pKeys;
            EXPECT_EQ(FindKeyCommand(key, KMOD_RCTRL), nullptr) << command.pKeys;
        }
    }
    EXPECT_EQ(FindKeyCommand(SDLK_x, 0), nullptr);
    EXPECT_EQ(FindKeyCommand(SDLK_RETURN, 0), nullptr);
    ASSERT_NE(FindKeyCommand(SDLK_RETURN, KMOD_RALT), nullptr);
    EXPECT_EQ(FindKeyCommand(SDLK_RETURN, KMOD_RALT)->command, Command::FullScreen);
    EXPECT_EQ(FindKeyCommand(SDLK_UNKNOWN, KMOD_LALT), nullptr);
}

} // namespace
} // namespace kelvokit::player::testing
