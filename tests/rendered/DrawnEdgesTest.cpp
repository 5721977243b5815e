// Antialiased edges of turned sprites: a ramp where there is a step without, as wide as the angle allows.

#include "Stage.h"

#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

// Even, since the edge pass computes with whole halves of the viewport.
constexpr int StageSize = 96;
constexpr double Middle = StageSize / 2;
constexpr int SpriteWidth = 44;
constexpr int SpriteHeight = 30;
// The coverage table has 32 entries; where it is steepest, neighbours differ by 13, and the lower one is
// taken.
constexpr int CoverageTolerance = 16;

/** Where a pixel's centre lies in a sprite that is turned about the middle of the picture. */
struct Place {
    Place(int x, int y, double degrees) {
        double const angle = degrees * M_PI / 180;
        double const dx = x + 0.5 - Middle;
        double const dy = StageSize - y - 0.5 - Middle;
        along = dx * std::cos(angle) + dy * std::sin(angle);
        across = dy * std::cos(angle) - dx * std::sin(angle);
    }
    /** From the upper edge, positive outside. */
    double Above() const { return across - SpriteHeight / 2.0; }
    /** Whether the nearest edge is the upper one by far. */
    bool IsNearUpperEdge() const {
        return std::fabs(along) < SpriteWidth / 2.0 - 5 && std::fabs(Above()) < 4;
    }

    double along, across;
};

/**
 * Coverage at a distance from an edge: a raised cosine over two pixels for an upright edge. A turned one's
 * distances are taken too large, by the root of the cosine of twice its angle.
 */
double Coverage(double distance, double degrees) {
    double const reach = 2 * std::sqrt(std::cos(2 * degrees * M_PI / 180));
    return std::fabs(distance) < reach ? (1 + std::cos(M_PI * distance / reach)) / 2 : 0;
}

bool IsBetween(Pixel const& pixel) {
    return pixel.r > 0 && pixel.r < 255;
}

class DrawnEdges : public Stage {
protected:
    void SetUp() override { Open(DeviceFormat::RGBA8888, StageSize, StageSize); }

    void Turn(Sprite& sprite, double degrees) {
        sprite.GetPivotProperty().SetValue(Vector(-SpriteWidth / 2, -SpriteHeight / 2, 0));
        sprite.GetPositionProperty().SetValue(Vector(float(Middle), float(Middle), 0));
        sprite.GetRotationProperty().SetValue(Vector(0, 0, float(degrees)));
    }
};

TEST_F(DrawnEdges, HaveCoverageByDistanceWhereThereIsAStepWithout) {
    Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, SpriteWidth, SpriteHeight, {1, 1, 1});
    for (double degrees : {0.0, 4.0, 11.0, 20.0, 31.0, -17.0, 38.0}) {
        SCOPED_TRACE(degrees);
        Turn(*pSprite, degrees);
        pSprite->GetAntialiasProperty().SetValue(false);
        Image const plain = DrawFrame();
        pSprite->GetAntialiasProperty().SetValue(true);
        Image const smooth = DrawFrame();
        int nBetween = 0;
        for (int y = 0; y < StageSize; ++y) {
            for (int x = 0; x < StageSize; ++x) {
                Place const place(x, y, degrees);
                ASSERT_FALSE(IsBetween(plain.At(x, y))) << x << ", " << y;
                if (std::fabs(place.Above()) < 0.01 || !place.IsNearUpperEdge())
                    continue;
                double const expected = place.Above() < 0 ? 1 : Coverage(place.Above(), degrees);
                ASSERT_NEAR(smooth.At(x, y).r, 255 * expected, CoverageTolerance)
                    << x << ", " << y << ", " << place.Above() << " above the edge";
                nBetween += IsBetween(smooth.At(x, y));
            }
        }
        EXPECT_GT(nBetween, 10) << "nothing is smoothed";
    }
}

TEST_F(DrawnEdges, OfAPictureHaveTheColoursOfItsRim) {
    Image picture(SpriteWidth, SpriteHeight, Pixel{255, 0, 0, 255});
    picture.Fill(SpriteWidth / 2, 0, SpriteWidth / 2, SpriteHeight, Pixel{0, 0, 255, 255});
    picture.Fill(4, 4, SpriteWidth - 8, SpriteHeight - 8, Pixel{0, 255, 0, 255});
    Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, MakeTexture(picture));
    pSprite->GetAntialiasProperty().SetValue(true);
    Turn(*pSprite, 13);
    Image const frame = DrawFrame();
    int nCompared = 0;
    for (int y = 0; y < StageSize; ++y) {
        for (int x = 0; x < StageSize; ++x) {
            Place const place(x, y, 13);
            if (!place.IsNearUpperEdge() || place.Above() < 0.01 || std::fabs(place.along) < 2)
                continue;
            double const expected = 255 * Coverage(place.Above(), 13);
            Pixel const& pixel = frame.At(x, y);
            ASSERT_NEAR(place.along < 0 ? pixel.r : pixel.b, expected, CoverageTolerance) << x << ", " << y;
            ASSERT_EQ(place.along < 0 ? pixel.b : pixel.r, 0) << x << ", " << y;
            ASSERT_EQ(pixel.g, 0) << x << ", " << y;
            nCompared += expected > 20;
        }
    }
    EXPECT_GT(nCompared, 30);
}

TEST_F(DrawnEdges, OfATranslucentSpriteCountTwiceInsideIt) {
    Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, SpriteWidth, SpriteHeight, {1, 1, 1, 0.5});
    pSprite->GetAntialiasProperty().SetValue(true);
    Turn(*pSprite, 9);
    Image const frame = DrawFrame();
    int nCompared = 0;
    for (int y = 0; y < StageSize; ++y) {
        for (int x = 0; x < StageSize; ++x) {
            Place const place(x, y, 9);
            if (!place.IsNearUpperEdge() || std::fabs(place.Above()) < 0.01)
                continue;
            double const outline = 0.5 * Coverage(place.Above(), 9);
            double const expected = place.Above() < 0 ? 0.5 + outline * 0.5 : outline;
            ASSERT_NEAR(frame.At(x, y).r, 255 * expected, CoverageTolerance / 2) << x << ", " << y;
            ++nCompared;
        }
    }
    EXPECT_GT(nCompared, 100);
}

} // namespace
} // namespace kelvo::test
