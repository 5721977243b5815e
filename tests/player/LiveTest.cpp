// The pool that a thread paints while its scene plays: the pictures show, in each frame, what was painted for
// it.

#include "ProcessRunner.h"
#include "Water.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvokit::player::testing {
namespace {

Outcome PlayLive(std::vector<std::string> const& arguments) {
    return RunProgram(KELVO_LIVE, arguments);
}

TEST(Live, EachFrameShowsUprightAndWholeWhatWasPaintedForIt) {
    TemporaryFolder const folder;
    constexpr int nFrames = 24;
    Outcome const outcome = PlayLive(
        {KELVO_EXAMPLES "/live/scene.json", "--out", folder.Path(""), "--frames", std::to_string(nFrames)});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    Image const floor = ReadPicture(KELVO_EXAMPLES "/live/floor.png");
    live::Water water(floor.Width(), floor.Height(), &floor.At(0, 0).r);
    Image painted = floor;
    Tolerance const rounding = {1, 1, "rounded otherwise at most"};
    std::vector<std::string> const names = folder.List();
    ASSERT_EQ(names.size(), std::size_t(nFrames));
    // The scene puts the water at 20, 20. Neither leaves nor the rim's shadow cover this part of it.
    auto const open = [](Image const& picture, int nOffset) {
        return picture.Cut(180 - nOffset, 60 - nOffset, 300, 270);
    };
    Image last;
    for (int nFrame = 0; nFrame < nFrames; ++nFrame) {
        water.Paint(nFrame, &painted.At(0, 0).r, 4 * floor.Width()); // its first row is the lower one
        Image const upright = test::MakeImage(floor.Width(), floor.Height(), [&](int x, int y) {
            Pixel pixel = painted.At(x, floor.Height() - 1 - y);
            pixel.a = 255;
            return pixel;
        });
        Image const frame = open(ReadPicture(folder.Path(names[std::size_t(nFrame)])), 0);
        EXPECT_TRUE(CompareImages(frame, open(upright, 20), rounding)) << nFrame;
        EXPECT_FALSE(frame == last) << nFrame << ": the water moves";
        last = frame;
    }
}

TEST(Live, OnePictureIsTheLastFrame) {
    TemporaryFolder const folder;
    Outcome const outcome =
        PlayLive({KELVO_EXAMPLES "/live/scene.json", "--frames", "76", "--out", folder.Path("p.png")});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    // The README's picture. Another driver moves the leaves' edges by a part of a pixel.
    Image const drawn = ReadPicture(folder.Path("p.png"));
    Image const shown = ReadPicture(KELVO_EXAMPLES "/../docs/images/live.png");
    EXPECT_TRUE(CompareImages(drawn, shown, {255, 0.4, "another driver moves edges"}))
        << "scripts/make-example-assets makes the picture anew";
}

TEST(Live, SaysWhatIsMissing) {
    TemporaryFolder const folder;
    struct {
        std::vector<std::string> arguments;
        int nExitCode;
        char const* pError;
    } const cases[] = {
        {{}, 2, "usage"},
        {{"--frames"}, 2, "usage"},
        {{"scene.json", "--frames", "0"}, 2, "usage"},
        {{folder.Path("none.json")}, 1, "none.json"},
        {{KELVO_EXAMPLES "/format/sprite.json", "--out", folder.Path("p.png")}, 1, "no sprite \"water\""},
        {{KELVO_EXAMPLES "/live/scene.json", "--frames", "1", "--out", folder.Path("none/p.png")},
         1,
         "none/p.png"},
    };
    for (auto const& test : cases) {
        Outcome const outcome = PlayLive(test.arguments);
        EXPECT_EQ(outcome.nExitCode, test.nExitCode) << test.pError;
        EXPECT_NE(outcome.errors.find(test.pError), std::string::npos) << outcome.errors;
    }
}

} // namespace
} // namespace kelvokit::player::testing
