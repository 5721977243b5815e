// Nine-patches as a person sees them: borders keep their texels, the middle takes up the rest.

#include "Stage.h"

#include "NinePatchSpriteGL2.h"

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::List;
using trevik::Vector2T;

using Bands = std::vector<Vector2T<int>>;  ///< start and length of stretchable runs of texels
using Map = std::vector<Vector2T<double>>; ///< pixels of the stretched sprite, and the texels that are there

double TexelAt(double pixel, Map const& map) {
    std::size_t n = 1;
    while (map[n].x < pixel)
        ++n;
    Vector2T<double> const a = map[n - 1], b = map[n];
    return a.y + (pixel - a.x) * (b.y - a.y) / (b.x - a.x);
}

/** Linear filtering along one axis, clamped to the edge. */
template <class Value>
double Between(double place, int count, Value const& value) {
    int const first = static_cast<int>(std::floor(place - 0.5));
    double const weight = place - 0.5 - first;
    return (value(std::clamp(first, 0, count - 1)) * (1 - weight) +
            value(std::clamp(first + 1, 0, count - 1)) * weight) /
           255;
}

List<Vector2T<int>> ToList(Bands const& bands) {
    List<Vector2T<int>> list;
    for (Vector2T<int> const& band : bands)
        list.Append(band);
    return list;
}

using DrawnNinePatch = Stage;

TEST_F(DrawnNinePatch, BordersKeepTheirTexelsAtOnceWhenTheScaleChanges) {
    // Bands share what is left over by the rest in proportion to their lengths. Those in y are counted from
    // the picture's lower edge, as the node's y is.
    struct {
        RealFloat scaleX, scaleY;
        Bands x, y;
        Map mapX, mapY;
    } const cases[] = {
        {3, 1, {{4, 3}}, {{2, 5}}, {{0, 0}, {4, 4}, {31, 7}, {36, 12}}, {{0, 0}, {10, 10}}},
        {2, 3, {{3, 2}}, {}, {{0, 0}, {3, 3}, {17, 5}, {24, 12}}, {{0, 0}, {30, 10}}},
        {3.5f,
         3,
         {{1, 4}, {8, 1}},
         {{2, 1}, {4, 4}},
         {{0, 0}, {1, 1}, {29, 5}, {32, 8}, {39, 9}, {42, 12}},
         {{0, 0}, {2, 2}, {7, 3}, {8, 4}, {28, 8}, {30, 10}}},
        {4,
         3.5f,
         {{0, 2}, {4, 3}, {11, 1}},
         {{0, 1}, {5, 5}},
         {{0, 0}, {14, 2}, {16, 4}, {37, 7}, {41, 11}, {48, 12}},
         {{0, 0}, {31 / 6.0, 1}, {55 / 6.0, 5}, {35, 10}}},
    };
    Open();
    // Each channel depends on one coordinate alone, and by steps that tell texels apart.
    Image const picture = MakeImage(12, 10, [](int x, int y) {
        return Pixel{std::uint8_t(x * x * 2), std::uint8_t(y * y * 3), std::uint8_t(x * 20)};
    });
    for (auto const& test : cases) {
        SCOPED_TRACE(test.scaleX);
        Ref<Sprite> const pPatch = MakeSprite(12, 10, "NinePatchSprite");
        auto& patch = static_cast<NinePatchSpriteGL2&>(*pPatch);
        patch.SetTexture(MakeTexture(picture).Get());
        patch.GetPositionProperty().SetValue(Vector(3, 2, 0));
        patch.GetHorizontalBandsProperty().SetValue(ToList(test.x));
        patch.GetVerticalBandsProperty().SetValue(ToList(test.y));
        Root().Attach(&patch);
        DrawFrame();
        patch.GetScaleProperty().SetValue(Vector(test.scaleX, test.scaleY, 1));
        Canvas canvas(Width, Height);
        int const width = static_cast<int>(12 * test.scaleX), height = static_cast<int>(10 * test.scaleY);
        for (int n = 0; n < width * height; ++n) {
            double const x = TexelAt(n % width + 0.5, test.mapX);
            double const y = 10 - TexelAt(n / width + 0.5, test.mapY);
            Shade const shade = {Between(x, 12, [](int i) { return i * i * 2; }),
                                 Between(y, 10, [](int i) { return i * i * 3; }),
                                 Between(x, 12, [](int i) { return i * 20; })};
            canvas.Blend(3 + n % width, 2 + n / width, 1, 1, shade);
        }
        EXPECT_TRUE(Shows(canvas, {4, 1, "filter weights of 8 bits"}));
        Root().Detach(&patch);
    }
}

} // namespace
} // namespace kelvo::test
