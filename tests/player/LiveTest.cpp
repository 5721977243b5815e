// The pool that a thread paints while its scene plays: the pictures show, in each frame, what was painted for
// it.

#include "Picture.h"
#include "ProcessRunner.h"
#include "TestImages.h"
#include "Water.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace kelvo::player::testing {
namespace {

using trevik::kelvo::assets::testing::TemporaryFolder;

// Where the scene puts the water, and a part of it that neither leaves nor the rim's shadow cover.
constexpr int WaterLeft = 20;
constexpr int WaterTop = 20;
constexpr int OpenLeft = 180;
constexpr int OpenTop = 60;
constexpr int OpenRight = 480;
constexpr int OpenBottom = 330;

Outcome PlayLive(std::vector<std::string> const& arguments) {
    return RunProgram(KELVO_LIVE, arguments);
}

std::string FrameOf(TemporaryFolder const& folder, int nFrame) {
    char name[40];
    std::snprintf(name, sizeof name, "out/frame_%05d.png", nFrame);
    return folder.Path(name);
}

/** What the formula paints, its top row first. */
class Painted {
public:
    explicit Painted(Picture const& floor)
        : m_nWidth(floor.nWidth), m_nHeight(floor.nHeight),
          m_water(floor.nWidth, floor.nHeight, floor.pixels.data()), m_pixels(floor.pixels.size()) {}

    void Paint(int nFrame) { m_water.Paint(nFrame, m_pixels.data(), 4 * m_nWidth); }

    Colour At(int nX, int nY) const {
        unsigned char const* const p = m_pixels.data() + ((m_nHeight - 1 - nY) * m_nWidth + nX) * 4;
        return {p[0], p[1], p[2], p[3]};
    }

private:
    int m_nWidth;
    int m_nHeight;
    live::Water m_water;
    std::vector<unsigned char> m_pixels;
};

/** The largest difference of a channel, where the water is open. */
int LargestDifference(Picture const& frame, Painted const& painted) {
    int nLargest = 0;
    for (int y = OpenTop; y < OpenBottom; ++y) {
        for (int x = OpenLeft; x < OpenRight; ++x) {
            Colour const a = frame.At(x, y);
            Colour const b = painted.At(x - WaterLeft, y - WaterTop);
            nLargest = std::max({nLargest, std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
        }
    }
    return nLargest;
}

TEST(Live, EachFrameShowsUprightAndWholeWhatWasPaintedForIt) {
    TemporaryFolder const folder;
    constexpr int nFrames = 24;
    Outcome const outcome = PlayLive({KELVO_EXAMPLES "/live/scene.json", "--out", folder.Path("out"),
                                      "--frames", std::to_string(nFrames)});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    Painted painted(ReadPicture(KELVO_EXAMPLES "/live/floor.png"));
    painted.Paint(nFrames);
    for (int nFrame = nFrames; nFrame-- > 0;) {
        Picture const frame = ReadPicture(FrameOf(folder, nFrame));
        EXPECT_GT(LargestDifference(frame, painted), 20) << nFrame << ": the next frame's";
        painted.Paint(nFrame);
        EXPECT_LE(LargestDifference(frame, painted), 1) << nFrame << ": rounded otherwise at most";
    }
    EXPECT_FALSE(std::filesystem::exists(FrameOf(folder, nFrames)));
}

TEST(Live, OnePictureIsTheLastFrame) {
    TemporaryFolder const folder;
    Outcome const outcome =
        PlayLive({KELVO_EXAMPLES "/live/scene.json", "--frames", "76", "--out", folder.Path("p.png")});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    // The README's picture. Another driver moves the leaves' edges by a part of a pixel.
    Picture const drawn = ReadPicture(folder.Path("p.png"));
    Picture const shown = ReadPicture(KELVO_EXAMPLES "/../docs/images/live.png");
    EXPECT_LT(MeanDifference(drawn, shown), 0.5) << "scripts/make-example-assets makes the picture anew";
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
    for (auto const& each : cases) {
        Outcome const outcome = PlayLive(each.arguments);
        EXPECT_EQ(outcome.nExitCode, each.nExitCode) << each.pError;
        EXPECT_NE(outcome.errors.find(each.pError), std::string::npos) << outcome.errors;
    }
}

} // namespace
} // namespace kelvo::player::testing
