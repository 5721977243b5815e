// The scenes of the README's gallery: they play, move and look as its pictures say.

#include "ProcessRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace kelvo::player::testing {
namespace {

struct GalleryScene {
    std::string name;
    int nFrame; ///< of the README's picture
    int nTimes; ///< that the picture is enlarged
    double rMean;
};

// Another driver rounds otherwise and moves edges by a part of a pixel; another version of FreeType moves
// those of letters.
GalleryScene const Scenes[] = {{"masks", 20, 1, 0.4},   {"panels", 72, 1, 0.4}, {"edges", 25, 4, 0.4},
                               {"text", 89, 1, 1.5},    {"blend", 20, 1, 0.4},  {"blur", 70, 1, 0.4},
                               {"showcase", 62, 1, 0.4}};

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
    struct {
        char const* pScene;
        int nFrom, nTo;
        int moving[4], still[4]; ///< left, top, width and height
    } const cases[] = {
        {"masks", 10, 60, {285, 175, 60, 65}, {0, 0, 80, 290}}, // the bowl; the wall left of the window
        {"panels", 0, 30, {40, 20, 280, 300}, {0, 0, 20, 360}}, // the frame; the wall beside it
        {"edges", 0, 20, {8, 2, 68, 70}, {0, 70, 24, 20}},      // the left mill's sails; the field
        {"blend",
         0,
         20,
         {60, 80, 100, 60},
         {0, 350, 640, 10}}, // panes before the bay; below the lowest label
        {"blur", 10, 50, {20, 125, 110, 170}, {40, 18, 90, 2}}, // a card that blurs; the rim of the pane
        {"text",
         30,
         60,
         {384, 230, 276, 120},
         {60, 150, 280, 9}}, // the words in the panel; above the columns
    };
    for (auto const& part : cases) {
        SCOPED_TRACE(part.pScene);
        Image const from = DrawFrame(PathOf(part.pScene), part.nFrom);
        Image const to = DrawFrame(PathOf(part.pScene), part.nTo);
        auto const cut = [](Image const& picture, int const(&box)[4]) {
            return picture.Cut(box[0], box[1], box[2], box[3]);
        };
        EXPECT_TRUE(cut(from, part.still) == cut(to, part.still));
        EXPECT_FALSE(cut(from, part.moving) == cut(to, part.moving));
    }
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
} // namespace kelvo::player::testing
