// The examples play, and show what their comments say.

#include "ProcessRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kelvo::player::testing {
namespace {

/** All scenes of the examples but those that need a program of their own, in order. */
std::vector<std::string> ListExamples() {
    std::vector<std::string> names;
    for (auto const& file : std::filesystem::directory_iterator(KELVO_EXAMPLES "/format")) {
        if (file.path().extension() == ".json") {
            names.push_back("format/" + file.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    EXPECT_GE(names.size(), 12u);
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
        Outcome const saved = Play(
            {KELVO_EXAMPLES "/" + name, "--frames", "7", "--save", binary, "--out", folder.Path("text.png")});
        ASSERT_EQ(saved.nExitCode, 0) << saved.errors;
        EXPECT_EQ(saved.errors, "");
        Outcome const played = Play({binary, "--frames", "7", "--out", folder.Path("binary.png")});
        ASSERT_EQ(played.nExitCode, 0) << played.errors;
        EXPECT_EQ(played.errors, "");
        Image const picture = ReadPicture(folder.Path("text.png"));
        EXPECT_TRUE(CompareImages(ReadPicture(folder.Path("binary.png")), picture));
        EXPECT_FALSE(picture == Image(picture.Width(), picture.Height(), picture.At(0, 0)))
            << "nothing is drawn";
    }
}

TEST(Examples, ShowWhatTheySay) {
    // Columns and rows from the upper left corner.
    struct {
        char const* pExample;
        int nFrame, nX, nY;
        Pixel colour;
        char const* pWhat;
    } const cases[] = {
        {"alpha-test-group", 0, 30, 45, {0x18, 0x24, 0x30, 255}, "clear texels hide what lies behind"},
        {"alpha-test-group", 0, 190, 45, {0xb2, 0x3a, 0x48, 255}, "in the group they do not"},
        {"masks", 0, 20, 20, {0x22, 0x22, 0x3b, 255}, "outside of the timeline's mask"},
        {"masks", 0, 85, 150, {0x17, 0x43, 0x56, 255}, "inside of it: the sea of the card"},
        {"masks", 0, 330, 100, {0xe7, 0x6f, 0x51, 255}, "inside of the outermost of three masks"},
        {"masks", 0, 375, 100, {0x8e, 0xca, 0xe6, 255}, "inside of all three"},
        {"masks", 0, 375, 144, {0x22, 0x22, 0x3b, 255}, "outside of the innermost only"},
        {"sprite", 0, 50, 45, {0x2a, 0x9d, 0x8f, 255}, "a sprite in one colour"},
        {"sprite", 0, 243, 140, {0x1d, 0x2b, 0x40, 255}, "the clear corner of a star that is seen through"},
        {"sprite", 0, 264, 161, {0x77, 0x80, 0x8c, 255}, "a child fades with its parent: 0.4 of white"},
        {"transform-node", 0, 160, 5, {0x24, 0x17, 0x34, 255}, "what is not visible is not drawn"},
        {"animation", 4, 160, 10, {0xff, 0xb7, 0x03, 255}, "the first sample before the start"},
        {"animation", 7, 160, 10, {0xe7, 0x6f, 0x51, 255}, "the third sample two frames after the start"},
        {"animation", 30, 160, 10, {0xa4, 0x13, 0x3c, 255}, "the last sample after the end"},
        {"animation", 29, 15, 27, {0x8e, 0xca, 0xe6, 255}, "a step stays"},
        {"animation", 15, 160, 40, {0x8e, 0xca, 0xe6, 255}, "linear: half-way after half the time"},
        {"animation",
         15,
         87,
         53,
         {0x8e, 0xca, 0xe6, 255},
         "easeIn: a quarter of the way after half the time"},
        {"nine-patch-image", 0, 45, 72, {0, 0, 0, 255}, "marks of an image that is read as it is"},
        {"nine-patch-image", 0, 45, 19, {0x31, 0x31, 0x5a, 255}, "which a nine-patch image does not show"},
        {"nine-patch-image", 0, 92, 60, {0xff, 0xf3, 0xdc, 255}, "an edge keeps its width"},
        {"nine-patch-image",
         0,
         208,
         60,
         {0x6b, 0x33, 0x69, 255},
         "but not where the node's bands stretch it"},
        {"nine-patch-image", 0, 200, 144, {0xff, 0xf3, 0xdc, 255}, "a background reaches above its text"},
        {"nine-patch-image", 0, 200, 139, {0x31, 0x31, 0x5a, 255}, "but by no more than its upper margin"},
        {"nine-patch-image", 0, 40, 170, {0x6b, 0x33, 0x69, 255}, "and further below it"},
        {"effects", 0, 23, 90, {255, 0xf2, 0xdb, 255}, "without an amount the blurred timeline is sharp"},
        {"effects", 29, 23, 90, {160, 133, 121, 255}, "then its edges fade"},
        {"effects", 29, 144, 90, {255, 0xf2, 0xdb, 255}, "but not those of what comes after it"},
        {"effects", 0, 125, 150, {0x35, 0x4a, 0x6b, 255}, "beside the bar"},
        {"effects", 29, 125, 150, {221, 182, 100, 255}, "which grows"},
        {"effects", 29, 340, 150, {214, 176, 96, 255}, "on both sides"},
        {"effects", 0, 200, 30, {73, 127, 119, 255}, "inverted light"},
        {"effects", 0, 300, 50, {213, 119, 109, 255}, "inverted dark"},
        {"fonts", 0, 340, 165, {0x0f, 0x5c, 0x6e, 255}, "an outline"},
        {"fonts", 0, 46, 147, {0xcb, 0x61, 0x60, 255}, "a picture among letters keeps its colours"},
        {"fonts", 0, 80, 121, {0x0f, 0x5c, 0x6e, 255}, "an underline"},
        {"textures", 0, 86, 30, {255, 0xf3, 0xdc, 255}, "565 keeps the star's bright middle"},
        {"textures", 0, 64, 12, {255, 0xc9, 0x5f, 255}, "and has no alpha in its corner"},
        {"textures", 0, 12, 12, {0x4a, 0x5d, 0x62, 255}, "as the picture has"},
        {"surfaces", 0, 52, 90, {0xf9, 0xe1, 0xae, 255}, "565 in a surface: the sun's sky is on top"},
        {"textures", 0, 190, 88, {0, 0, 0, 255}, "alpha alone draws black"},
    };
    std::map<std::pair<std::string, int>, Image> pictures;
    for (auto const& shown : cases) {
        std::pair<std::string, int> const key(shown.pExample, shown.nFrame);
        if (pictures.count(key) == 0) {
            pictures[key] =
                DrawFrame(KELVO_EXAMPLES "/format/" + std::string(shown.pExample) + ".json", shown.nFrame);
        }
        Pixel const found = pictures[key].At(shown.nX, shown.nY);
        EXPECT_TRUE(test::IsNear(found, shown.colour, 12))
            << shown.pExample << ": " << shown.pWhat << ": found " << int(found.r) << ", " << int(found.g)
            << ", " << int(found.b);
    }
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
        {KELVO_EXAMPLE_ASSETS, KELVO_EXAMPLES "/", {"masks", "panels", "edges", "text", "blend", "live"}, 24},
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
                std::ifstream shown(committed, std::ios::binary);
                EXPECT_EQ(folder.ReadText(name), std::string(std::istreambuf_iterator<char>(shown), {}))
                    << committed;
            } else if (file.is_regular_file() && path.find(".alpha.") == std::string::npos) {
                // The last bit may be another C library's.
                EXPECT_TRUE(CompareImages(ReadPicture(path), ReadPicture(committed), {2, 2})) << committed;
            }
        }
        EXPECT_GE(nFiles, made.nFiles);
    }
}

} // namespace
} // namespace kelvo::player::testing
