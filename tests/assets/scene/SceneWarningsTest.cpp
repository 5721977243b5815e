// Each sort of warning has scenes that give exactly it, and a place on the page that explains them.

#include "TestScenes.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"
#include "scene/SceneWarning.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

namespace trevik::kelvo::assets::testing {
namespace {

std::string const Folder = KELVO_TEST_ASSETS "/scene/data/";

std::set<std::string> ListKinds() {
    std::set<std::string> names;
    for (int n = 0; n < static_cast<int>(WarningId::Count); ++n) {
        names.insert(GetWarningKind(static_cast<WarningId>(n)).pName);
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(WarningId::Count)) << "two have the same name";
    return names;
}

/** A sprite below so many timelines, all with masks. */
std::string NestMasks(int nTimelines) {
    std::string const masks = "\"masks\": [[[0, 0, 0], [1, 0, 0], [0, 1, 0]]]";
    std::string node = "{\"class\": \"Sprite\", \"Size\": [1, 1], " + masks + "}";
    for (int n = 0; n < nTimelines; ++n) {
        node = "{\"class\": \"Timeline\", " + masks + ", \"children\": [" + node + "]}";
    }
    return "{\"nodes\": [" + node + ", " + node + "]}"; // the second one is as deep as the first one
}

std::vector<SceneWarning> WarningsOf(std::string const& text) {
    Scene scene;
    Fault fault;
    SceneNotes notes;
    EXPECT_TRUE(ReadScene(text, Folder, scene, fault, &notes)) << fault.GetText() << "\n" << text;
    return notes.GetWarnings().Get();
}

TEST(SceneWarnings, TellOfEachSceneWhatIsNotDrawnAsItIsWritten) {
    std::set<std::string> untold = ListKinds();
    for (TextCase const& test : ReadCases("scene/data/warnings.txt")) {
        std::string lines;
        for (SceneWarning const& warning : WarningsOf(test.text)) {
            std::string const line = warning.GetText();
            lines += (lines.empty() ? "" : "\n") + line.substr(line.find(':') + 1);
            untold.erase(GetWarningKind(warning.id).pName);
        }
        if (test.expected == "nothing") {
            EXPECT_EQ(lines, "") << test.text;
        } else {
            EXPECT_TRUE(IsMessage(lines, test.expected)) << test.text;
        }
    }
    EXPECT_TRUE(WarningsOf(NestMasks(14)).empty());
    std::vector<SceneWarning> const deep = WarningsOf(NestMasks(15));
    EXPECT_EQ(deep.size(), 2u);
    EXPECT_NE(deep.at(1).GetText().find("warning: masks lie inside 15 others; 15 levels can be drawn"),
              std::string::npos);
    untold.erase("masks-too-deep");
    // The player's own, which depend on how a scene is played.
    EXPECT_EQ(untold, (std::set<std::string>{"blur-opaque", "blur-post-processed", "blur-without-targets",
                                             "frames-outside"}));
}

TEST(SceneWarnings, AreExplainedOnTheirPage) {
    std::set<std::string> explained;
    std::istringstream page(ReadDataAsText(KELVO_WARNINGS));
    for (std::string line; std::getline(page, line);) {
        std::size_t const end = line.find("` |");
        if (line.rfind("| `", 0) == 0 && end != line.npos) {
            EXPECT_TRUE(explained.insert(line.substr(3, end - 3)).second) << line;
        }
    }
    EXPECT_EQ(explained, ListKinds());
}

TEST(SceneWarnings, EndAtALimitAndCountOn) {
    std::string nodes;
    for (int n = 0; n < 120; ++n) {
        nodes += (n == 0 ? "" : ", ") + std::string(R"({"class": "Sprite", "Opacity": 2})");
    }
    Scene scene;
    Fault fault;
    SceneNotes notes;
    EXPECT_TRUE(ReadScene("{\"nodes\": [" + nodes + "]}", "", scene, fault, &notes));
    EXPECT_EQ(notes.GetWarnings().Get().size(), SceneWarnings::Most);
    EXPECT_EQ(notes.GetWarnings().GetCount(), 240u);
    for (SceneWarning const& warning : notes.GetWarnings().Get()) {
        EXPECT_EQ(warning.id, WarningId::SpriteWithoutContent) << "what is drawn is looked at before values";
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
