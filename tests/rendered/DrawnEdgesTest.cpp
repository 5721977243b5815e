// Antialiased edges of turned sprites: a ramp where there is a step without, as wide as the angle allows.

#include "kelvo_test/Stage.h"

#include <cmath>

namespace kelvokit::test {
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
        return std::fabs(along) < SpriteWidth / 2.0 - 5 && std::fabs(Above()) < 3;
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

Pixel Grey(double value) {
    auto const byte = static_cast<std::uint8_t>(255 * value);
    return {byte, byte, byte, 255};
}

using DrawnEdges = Stage;

TEST_F(DrawnEdges, HaveCoverageByDistanceInTheColoursOfTheRimTwiceInsideTranslucentSprites) {
    // Red and blue halves around a middle that the edges have nothing of.
    Image picture(SpriteWidth, SpriteHeight, Pixel{255, 0, 0, 255});
    picture.Fill(SpriteWidth / 2, 0, SpriteWidth / 2, SpriteHeight, Pixel{0, 0, 255, 255});
    picture.Fill(4, 4, SpriteWidth - 8, SpriteHeight - 8, Pixel{0, 255, 0, 255});
    for (double const opacity : {1.0, 0.5, 0.0}) { // of a plain sprite; 0 for the picture
        Open(DeviceFormat::RGBA8888, StageSize, StageSize);
        Ref<Sprite> const pSprite =
            opacity > 0 ? AddSprite(Root(), 0, 0, SpriteWidth, SpriteHeight, {1, 1, 1, opacity})
                        : AddSprite(Root(), 0, 0, MakeTexture(picture));
        pSprite->GetAntialiasProperty().SetValue(true);
        pSprite->GetPivotProperty().SetValue(Vector(-SpriteWidth / 2, -SpriteHeight / 2, 0));
        pSprite->GetPositionProperty().SetValue(Vector(float(Middle), float(Middle), 0));
        for (double degrees : {0.0, 4.0, 20.0, 31.0, -17.0, 38.0}) {
            SCOPED_TRACE(degrees);
            pSprite->GetRotationProperty().SetValue(Vector(0, 0, float(degrees)));
            Image const frame = DrawFrame();
            int nCompared = 0;
            for (int n = 0; n < StageSize * StageSize; ++n) {
                int const x = n % StageSize, y = n / StageSize;
                Place const place(x, y, degrees);
                if (!place.IsNearUpperEdge() || std::fabs(place.Above()) < 0.01 ||
                    std::fabs(place.along) < 2) {
                    continue;
                }
                double const seen = opacity > 0 ? opacity : 1;
                double const outline = seen * Coverage(place.Above(), degrees);
                Pixel expected = Grey(place.Above() < 0 ? seen + outline * (1 - seen) : outline);
                if (!(opacity > 0)) {
                    expected = place.along < 0 ? Pixel{expected.r, 0, 0} : Pixel{0, 0, expected.b};
                }
                ASSERT_TRUE(IsNear(frame.At(x, y), expected, CoverageTolerance))
                    << x << ", " << y << ", " << place.Above() << " above the edge";
                ++nCompared;
            }
            EXPECT_GT(nCompared, 100);
        }
        Root().Detach(pSprite.Get());
    }
}

} // namespace
} // namespace kelvokit::test
