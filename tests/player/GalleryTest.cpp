// The scenes of the README's gallery: they play, move and look as its pictures say.

#include "ProcessRunner.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace kelvokit::player::testing {
namespace {

struct GalleryScene {
    std::string name;
    int nFrame; ///< of the README's picture
    int nTimes; ///< that the picture is enlarged
    double rMean;
};

// Another driver rounds otherwise and moves edges by a part of a pixel; another version of FreeType moves
// those of letters.
GalleryScene const Scenes[] = {{"masks", 20, 1, 0.4},    {"panels", 72, 1, 0.4},   {"edges", 25, 4, 0.4},
                               {"text", 89, 1, 1.5},     {"blend", 20, 1, 0.4},    {"blur", 70, 1, 0.4},
                               {"showcase", 62, 1, 0.4}, {"exact", 40, 1, 0.4},    {"group", 20, 1, 1.5},
                               {"glass", 30, 1, 1.5},    {"settings", 100, 1, 1.5}};

std::string PathOf(std::string const& scene) {
    return KELVO_EXAMPLES "/" + scene + "/scene.json";
}

TEST(Gallery, ShowsWhatThePlayerDraws) {
    for (GalleryScene const& scene : Scenes) {
        Image const drawn = DrawFrame(PathOf(scene.name), scene.nFrame);
        Image const enlarged =
            test::MakeImage(scene.nTimes * drawn.Width(), scene.nTimes * drawn.Height(),
                            [&](int x, int y) { return drawn.At(x / scene.nTimes, y / scene.nTimes); });
        EXPECT_TRUE(CompareImages(enlarged,
                                  ReadPicture(KELVO_EXAMPLES "/../docs/images/" + scene.name + ".png"),
                                  {255, scene.rMean, "another driver moves edges"}))
            << scene.name << ": scripts/make-example-assets makes its picture anew";
    }
}

TEST(Gallery, MovesWhereItShouldAndNowhereElse) {
    std::istringstream lines(trevik::kelvo::assets::testing::ReadDataAsText("gallery.txt"));
    int nScenes = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string scene;
        int nFrom = 0, nTo = 0;
        if (!(words >> scene >> nFrom >> nTo)) {
            continue; // a remark
        }
        Image const from = DrawFrame(PathOf(scene), nFrom);
        Image const to = DrawFrame(PathOf(scene), nTo);
        for (bool const fMoves : {true, false}) {
            int left = 0, top = 0, width = 0, height = 0;
            words >> left >> top >> width >> height;
            EXPECT_EQ(from.Cut(left, top, width, height) == to.Cut(left, top, width, height), !fMoves)
                << line;
        }
        ++nScenes;
    }
    EXPECT_EQ(nScenes, 10);
}

TEST(Gallery, ThePainterSaysWhatItCannotDo) {
    TemporaryFolder const folder;
    EXPECT_EQ(RunProgram(KELVO_EXAMPLE_ASSETS, {}).nExitCode, 2);
    Outcome const missing = RunProgram(KELVO_EXAMPLE_ASSETS, {folder.Path("nowhere")});
    EXPECT_EQ(missing.nExitCode, 1);
    EXPECT_NE(missing.errors.find("nowhere"), std::string::npos) << missing.errors;
    Outcome const enlarged =
        RunProgram(KELVO_EXAMPLE_ASSETS, {"--enlarge", "4", folder.Path("none.png"), folder.Path("out.png")});
    EXPECT_EQ(enlarged.nExitCode, 1);
    EXPECT_NE(enlarged.errors.find("none.png"), std::string::npos) << enlarged.errors;
}

} // namespace
} // namespace kelvokit::player::testing
