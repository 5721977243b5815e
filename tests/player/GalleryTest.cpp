// The scenes of the README's gallery: they play, move and look as its pictures say.

#include "Picture.h"
#include "ProcessRunner.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace kelvo::player::testing {
namespace {

using trevik::kelvo::assets::testing::TemporaryFolder;

struct GalleryScene {
    std::string name;
    int nFrame; ///< of the README's picture
    int nTimes; ///< that the picture is enlarged
    double rMean;
};

// Another driver rounds otherwise and moves edges by a part of a pixel; another version of FreeType moves
// those of letters.
GalleryScene const Scenes[] = {{"masks", 20, 1, 0.5},   {"panels", 72, 1, 0.5}, {"edges", 25, 4, 0.5},
                               {"text", 89, 1, 2},      {"blend", 20, 1, 0.5},  {"blur", 70, 1, 0.5},
                               {"showcase", 62, 1, 0.5}};

std::string PathOf(std::string const& scene) {
    return KELVO_EXAMPLES "/" + scene + "/scene.json";
}

TEST(Gallery, ShowsWhatThePlayerDraws) {
    for (GalleryScene const& scene : Scenes) {
        Picture const shown = ReadPicture(KELVO_EXAMPLES "/../docs/images/" + scene.name + ".png");
        EXPECT_LT(MeanDifference(DrawFrame(PathOf(scene.name), scene.nFrame), shown, scene.nTimes),
                  scene.rMean)
            << scene.name << ": scripts/make-example-assets makes its picture anew";
    }
}

TEST(Gallery, MovesWhereItShouldAndNowhereElse) {
    struct {
        char const* pScene;
        int nFrom, nTo;
        int nMovingX, nMovingY, nMovingWidth, nMovingHeight;
        int nStillX, nStillY, nStillWidth, nStillHeight;
    } const cases[] = {
        {"masks", 10, 60, 285, 175, 60, 65, 0, 0, 80, 290},    // the bowl; the wall left of the window
        {"panels", 0, 30, 40, 20, 280, 300, 0, 0, 20, 360},    // the frame; the wall beside it
        {"edges", 0, 20, 8, 2, 68, 70, 0, 70, 24, 20},         // the left mill's sails; the field
        {"blend", 0, 20, 60, 80, 100, 60, 0, 350, 640, 10},    // panes before the bay; below the lowest label
        {"blur", 10, 50, 20, 125, 110, 170, 40, 18, 90, 2},    // a card that blurs; the rim of the pane
        {"text", 30, 60, 384, 230, 276, 120, 60, 150, 280, 9}, // the words in the panel; above the columns
    };
    for (auto const& part : cases) {
        SCOPED_TRACE(part.pScene);
        Picture const from = DrawFrame(PathOf(part.pScene), part.nFrom);
        Picture const to = DrawFrame(PathOf(part.pScene), part.nTo);
        int nMoved = 0;
        for (int y = 0; y < from.nHeight; ++y) {
            for (int x = 0; x < from.nWidth; ++x) {
                bool const fSame = from.At(x, y) == to.At(x, y);
                auto const isIn = [x, y](int nLeft, int nTop, int nWidth, int nHeight) {
                    return x >= nLeft && x < nLeft + nWidth && y >= nTop && y < nTop + nHeight;
                };
                nMoved += !fSame && isIn(part.nMovingX, part.nMovingY, part.nMovingWidth, part.nMovingHeight);
                if (isIn(part.nStillX, part.nStillY, part.nStillWidth, part.nStillHeight)) {
                    ASSERT_TRUE(fSame) << x << ", " << y;
                }
            }
        }
        EXPECT_GT(nMoved, part.nMovingWidth * part.nMovingHeight / 20);
    }
}

TEST(Gallery, BlendsInsideItsPanesOnly) {
    Picture const drawn = DrawFrame(PathOf("blend"), 20);
    // Frame and corner of each bay are the bay's own; the middle is another colour in every mode.
    for (int n = 0; n < 6; ++n) {
        int const nX = 16 + 208 * (n % 3);
        int const nY = n < 3 ? 24 : 198;
        for (int nColumn : {10, 30, 150, 185}) {
            EXPECT_EQ(drawn.At(nX + nColumn, nY + 8), drawn.At(16 + nColumn, 24 + 8)) << n << ", " << nColumn;
        }
        for (int nBefore = 0; nBefore < n; ++nBefore) {
            int const nOtherX = 16 + 208 * (nBefore % 3);
            int const nOtherY = nBefore < 3 ? 24 : 198;
            EXPECT_FALSE(drawn.At(nX + 60, nY + 40) == drawn.At(nOtherX + 60, nOtherY + 40))
                << n << ", " << nBefore;
        }
    }
}

TEST(Gallery, BlursWhatLiesBehindTheCard) {
    // How much neighbours differ along a row, on the pattern of a card behind and on the card in front.
    auto const roughness = [](Picture const& picture, int nLeft, int nRight, int nRow) {
        int nSum = 0;
        for (int x = nLeft; x < nRight; ++x) {
            nSum += std::abs(picture.At(x, nRow).g - picture.At(x + 1, nRow).g);
        }
        return nSum;
    };
    Picture const sharp = DrawFrame(PathOf("blur"), 10);
    Picture const blurred = DrawFrame(PathOf("blur"), 70);
    EXPECT_GT(roughness(sharp, 180, 240, 200), 4 * roughness(blurred, 180, 240, 200));
    EXPECT_GT(roughness(blurred, 270, 380, 190), 4 * roughness(blurred, 180, 240, 200));
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
