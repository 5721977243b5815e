// The examples play, and show what their comments say.

#include "ProcessRunner.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using trevik::kelvo::assets::testing::ReadDataAsText;

/** All scenes of the examples but those that need a program of their own, in order. */
std::vector<std::string> ListExamples() {
    std::vector<std::string> names;
    for (char const* pFolder : {"format/", "first/"}) {
        for (auto const& file :
             std::filesystem::directory_iterator(KELVO_EXAMPLES "/" + std::string(pFolder))) {
            if (file.path().extension() == ".json") {
                names.push_back(pFolder + file.path().filename().string());
            }
        }
    }
    std::sort(names.begin(), names.end());
    EXPECT_GE(names.size(), 16u);
    for (char const* pName : {"showcase", "masks", "panels", "edges", "text", "blend", "blur"}) {
        names.push_back(std::string(pName) + "/scene.json");
    }
    return names;
}

TEST(Examples, PlayWithoutComplaintAndTheSameFromTheirBinaryFiles) {
    for (std::string const& name : ListExamples()) {
        SCOPED_TRACE(name);
        TemporaryFolder const folder; // where none of the scene's files are
        std::string const binary = folder.Path("scene.kelvo");
        // Some have fewer frames, which is no complaint here.
        std::vector<std::string> const quiet = {"--frames", "7", "--quiet", "--log-level", "error"};
        auto const play = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.end(), quiet.begin(), quiet.end());
            return Play(arguments);
        };
        Outcome const saved =
            play({KELVO_EXAMPLES "/" + name, "--save", binary, "--out", folder.Path("text.png")});
        ASSERT_EQ(saved.nExitCode, 0) << saved.errors;
        EXPECT_EQ(saved.errors, "");
        Outcome const played =
            play({binary, "--save", folder.Path("again.kelvo"), "--out", folder.Path("binary.png")});
        ASSERT_EQ(played.nExitCode, 0) << played.errors;
        EXPECT_EQ(played.errors, "");
        EXPECT_TRUE(folder.ReadText("again.kelvo") == folder.ReadText("scene.kelvo"))
            << "what was loaded is not what was read";
        Image const picture = ReadPicture(folder.Path("text.png"));
        EXPECT_TRUE(CompareImages(ReadPicture(folder.Path("binary.png")), picture));
        EXPECT_FALSE(picture == Image(picture.Width(), picture.Height(), picture.At(0, 0)))
            << "nothing is drawn";
    }
}

TEST(Examples, GiveNoWarnings) {
    std::vector<std::string> names = ListExamples();
    names.insert(names.end(), {"live/scene.json", "java/scene.json", "application/scene.json"});
    for (std::string const& name : names) {
        Outcome const checked = Play({KELVO_EXAMPLES "/" + name, "--check", "--strict"});
        EXPECT_EQ(checked.nExitCode, 0) << name;
        EXPECT_EQ(checked.errors, "") << name;
    }
}

TEST(Examples, TheFirstScenesStandOnTheirPage) {
    std::string const page = ReadDataAsText(KELVO_EXAMPLES "/../docs/first-scene.md");
    for (char const* pStep : {"1", "2", "3", "4"}) {
        std::string const scene =
            ReadDataAsText(KELVO_EXAMPLES "/first/step-" + std::string(pStep) + ".json");
        EXPECT_NE(page.find("```json\n" + scene + "```\n"), std::string::npos) << pStep;
    }
}

TEST(Examples, TheQuickStartsStandOnTheirPage) {
    std::string const page = ReadDataAsText(KELVO_EXAMPLES "/../docs/embedding.md");
    for (char const* pFile :
         {"quickstart/CMakeLists.txt", "quickstart/Offscreen.cpp", "quickstart/X11.cpp",
          "quickstart/Sdl2.cpp", "application/CMakeLists.txt", "application/Application.cpp"}) {
        std::string const file = ReadDataAsText(KELVO_EXAMPLES "/" + std::string(pFile));
        EXPECT_NE(page.find("\n" + file + "```\n"), std::string::npos) << pFile;
    }
}

TEST(Examples, ShowWhatTheySay) {
    std::map<std::pair<std::string, int>, Image> pictures;
    std::istringstream lines(ReadDataAsText("examples.txt"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string example;
        int nFrame = 0, nX = 0, nY = 0;
        unsigned int nColour = 0;
        if (!(words >> example >> nFrame >> nX >> nY >> std::hex >> nColour)) {
            continue; // a remark
        }
        auto const [shown, fNew] = pictures.try_emplace({example, nFrame});
        if (fNew) {
            shown->second = DrawFrame(KELVO_EXAMPLES "/format/" + example + ".json", nFrame);
        }
        auto const part = [nColour](int nShift) { return static_cast<std::uint8_t>(nColour >> nShift); };
        Pixel const found = shown->second.At(nX, nY);
        EXPECT_TRUE(test::IsNear(found, {part(16), part(8), part(0), 255}, 12))
            << line << ": found " << int(found.r) << ", " << int(found.g) << ", " << int(found.b);
    }
    EXPECT_GE(pictures.size(), 10u);
}

TEST(Examples, FilesAreUpToDate) {
    struct {
        char const* pProgram;
        std::string examples;
        std::vector<std::string> folders; ///< that have to be there
        int nFiles;
    } const cases[] = {
        {KELVO_SHOWCASE_ASSETS, KELVO_EXAMPLES "/showcase/", {}, 15},
        {KELVO_FORMAT_ASSETS, KELVO_EXAMPLES "/format/", {}, 4},
        {KELVO_EXAMPLE_ASSETS,
         KELVO_EXAMPLES "/",
         {"masks", "panels", "edges", "text", "blend", "live", "settings"},
         37},
    };
    for (auto const& made : cases) {
        SCOPED_TRACE(made.examples);
        TemporaryFolder const folder;
        for (std::string const& name : made.folders) {
            std::filesystem::create_directory(folder.Path(name));
        }
        ASSERT_EQ(RunProgram(made.pProgram, {folder.Path("")}).nExitCode, 0);
        int nFiles = 0;
        for (auto const& file : std::filesystem::recursive_directory_iterator(folder.Path(""))) {
            std::string const path = file.path().string();
            std::string const name = path.substr(folder.Path("").size());
            std::string const committed = made.examples + name;
            nFiles += file.is_regular_file();
            if (file.path().extension() == ".fnt") {
                EXPECT_EQ(folder.ReadText(name), ReadDataAsText(committed)) << committed;
            } else if (file.is_regular_file() && path.find(".alpha.") == std::string::npos) {
                // The last bit may be another C library's.
                EXPECT_TRUE(CompareImages(ReadPicture(path), ReadPicture(committed), {2, 2})) << committed;
            }
        }
        EXPECT_GE(nFiles, made.nFiles);
    }
}

} // namespace
} // namespace kelvokit::player::testing
