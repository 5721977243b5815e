// Scenes in their one form say what they have said before, and stay as they are when they get it again.

#include "scene/SceneFormatter.h"

#include "TestScenes.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace trevik::kelvo::assets::testing {
namespace {

using kelvokit::test::ReadText;

std::string Format(std::string const& text, Fault& fault) {
    ClassRegistry registry;
    RegisterBackend(registry);
    std::string formatted;
    FormatScene({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, "scene.json", registry,
                formatted, fault);
    return formatted;
}

/** The bytes of the scene's binary file. */
std::string SaveBytes(std::string const& text, std::string const& folder) {
    Scene scene;
    Fault fault;
    EXPECT_TRUE(ReadScene(text, folder, scene, fault)) << fault.GetText();
    kelvokit::test::TemporaryFolder const temporary;
    std::string const path = temporary.Path("scene.kelvo");
    EXPECT_TRUE(scene.SaveToFile(path.c_str(), fault)) << fault.GetText();
    return ReadText(path);
}

TEST(SceneFormatter, WritesScenesInOneForm) {
    Fault fault;
    EXPECT_EQ(
        Format(R"({"nodes":[{"children":[{"use":"b","x":1}],"Position.x":-0.0,"Opacity":1e0,"class":"Sprite",
        "Position":[1.50,2e3],"texture":"\u0061\"","effects":[],"name":"n","Color":{"keys":[{"value":"red","frame":0}],
        "repeat":1}}],"frames":[0,9],"textures":{"z":{"format":"rgb565","file":"a"},"a":"a"},"$schema":"s","comment":"c"})",
               fault),
        R"({
  "$schema": "s",
  "comment": "c",
  "frames": [0, 9],
  "textures": {"z": {"file": "a", "format": "rgb565"}, "a": "a"},
  "nodes": [
    {
      "class": "Sprite",
      "name": "n",
      "texture": "a\"",
      "Position": [1.5, 2000],
      "Position.x": -0.0,
      "Opacity": 1,
      "Color": {"keys": [{"frame": 0, "value": "red"}], "repeat": 1},
      "effects": [],
      "children": [
        {"use": "b", "x": 1}
      ]
    }
  ]
}
)");
}

TEST(SceneFormatter, WritesWhatReadsToTheSameBytes) {
    int nScenes = 0;
    for (char const* pFolder : {KELVO_EXAMPLES, KELVO_TEST_ASSETS "/scene/data"}) {
        for (auto const& file : std::filesystem::recursive_directory_iterator(pFolder)) {
            std::filesystem::path const path = file.path();
            std::string const text = path.extension() == ".json" ? ReadText(path.string()) : "";
            if (text.find("\"nodes\"") == text.npos || text.find("AlphaTestGroup") != text.npos) {
                continue; // a class of the player's
            }
            SCOPED_TRACE(path);
            Fault fault;
            std::string const formatted = Format(text, fault);
            if (formatted.empty()) {
                EXPECT_NE(fault.GetText().find(": there is a comment, which would be lost"),
                          std::string::npos);
                continue;
            }
            EXPECT_EQ(Format(formatted, fault), formatted);
            std::string const folder = path.parent_path().string() + "/";
            EXPECT_TRUE(SaveBytes(formatted, folder) == SaveBytes(text, folder));
            ++nScenes;
        }
    }
    EXPECT_GT(nScenes, 40);
}

TEST(SceneFormatter, RefusesWhatItWouldLose) {
    for (auto const& [text, message] :
         {std::pair("{\n\"nodes\": [] // none\n}",
                    "scene.json:2: there is a comment, which would be lost: a \"comment\" key stays"),
          std::pair("{\"a\": 1, \"a\": 2}",
                    "scene.json:1: \"a\" stands twice in the same object, first on line 1"),
          std::pair("{", "scene.json:1:2: ")}) {
        Fault fault;
        EXPECT_EQ(Format(text, fault), "");
        EXPECT_EQ(fault.GetText().rfind(message, 0), 0u) << fault.GetText();
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
