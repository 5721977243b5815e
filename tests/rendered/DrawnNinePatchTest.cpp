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

/** A stretchable run of texels. */
struct Band {
    int start, length;
};
using Bands = std::vector<Band>;

/**
 * Where along the texture a pixel of the stretched sprite samples, in texels: bands, in their order, share
 * what is left over by the rest in proportion to their lengths.
 */
double TexelAt(double pixel, int texture, double scale, Bands const& bands) {
    int flexible = 0;
    for (Band const& band : bands)
        flexible += band.length;
    if (flexible == 0)
        return pixel / scale;
    double const stretch = (texture * scale - (texture - flexible)) / flexible;
    double shift = 0; // of what follows the bands so far
    for (Band const& band : bands) {
        double const start = band.start + shift;
        if (pixel < start)
            break;
        if (pixel < start + band.length * stretch)
            return band.start + (pixel - start) / stretch;
        shift += band.length * (stretch - 1);
    }
    return pixel - shift;
}

/** Linear filtering, clamped to the edge; (0, 0) is the picture's upper left corner. */
Shade Sample(Image const& picture, double x, double y) {
    double const left = std::floor(x - 0.5), top = std::floor(y - 0.5);
    double const right = x - 0.5 - left, below = y - 0.5 - top;
    Shade result = {0, 0, 0, 1};
    for (int i = 0; i < 4; ++i) {
        int const column = std::clamp(static_cast<int>(left) + i % 2, 0, picture.Width() - 1);
        int const row = std::clamp(static_cast<int>(top) + i / 2, 0, picture.Height() - 1);
        double const weight = (i % 2 ? right : 1 - right) * (i / 2 ? below : 1 - below) / 255;
        Pixel const& pixel = picture.At(column, row);
        result.r += weight * pixel.r;
        result.g += weight * pixel.g;
        result.b += weight * pixel.b;
    }
    return result;
}

class DrawnNinePatch : public Stage {
protected:
    Ref<NinePatchSpriteGL2> AddPatch(int x, int y, Image const& picture, Bands const& bandsX,
                                     Bands const& bandsY) {
        Ref<Sprite> const pSprite = MakeSprite(picture.Width(), picture.Height(), "NinePatchSprite");
        Ref<NinePatchSpriteGL2> const pPatch(static_cast<NinePatchSpriteGL2*>(pSprite.Get()));
        pPatch->SetTexture(MakeTexture(picture).Get());
        pPatch->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
        SetBands(pPatch->GetHorizontalBandsProperty(), bandsX);
        SetBands(pPatch->GetVerticalBandsProperty(), bandsY);
        Root().Attach(pPatch.Get());
        return pPatch;
    }

private:
    static void SetBands(ListProperty<Vector2T<int>>& property, Bands const& bands) {
        List<Vector2T<int>> list;
        for (Band const& band : bands)
            list.Append(Vector2T<int>(band.start, band.length));
        property.SetValue(list);
    }
};

TEST_F(DrawnNinePatch, BordersKeepTheirTexelsAtOnceWhenTheScaleChanges) {
    struct Case {
        char const* name;
        RealFloat scaleX, scaleY;
        Bands x, y;
    };
    // Bands in y are counted from the picture's lower edge, as the node's y is.
    Case const cases[] = {
        {"as it is", 1, 1, {{4, 3}}, {{2, 5}}},
        {"wide", 3, 1, {{4, 3}}, {{2, 5}}},
        {"tall", 1, 3, {{4, 3}}, {{2, 5}}},
        {"both", 4, 2.5f, {{4, 3}}, {{2, 5}}},
        {"from the edges", 3, 3, {{0, 5}}, {{6, 4}}},
        {"one axis", 2, 3, {{3, 2}}, {}},
        {"two bands", 4, 3, {{2, 2}, {7, 2}}, {{1, 3}, {6, 2}}},
        {"bands of different lengths", 3.5f, 3, {{1, 4}, {8, 1}}, {{2, 1}, {4, 4}}},
        {"three bands, to the edges", 4, 3.5f, {{0, 2}, {4, 3}, {11, 1}}, {{0, 1}, {5, 5}}},
    };
    Open();
    Image const picture = MakePicture(12, 10);
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Ref<NinePatchSpriteGL2> const pPatch = AddPatch(3, 2, picture, test.x, test.y);
        DrawFrame();
        pPatch->GetScaleProperty().SetValue(Vector(test.scaleX, test.scaleY, 1));
        Canvas canvas(Width, Height, {0, 0, 0, 1});
        int const width = static_cast<int>(12 * test.scaleX), height = static_cast<int>(10 * test.scaleY);
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                double const x = TexelAt(column + 0.5, 12, test.scaleX, test.x);
                double const y = TexelAt(row + 0.5, 10, test.scaleY, test.y);
                canvas.Blend(3 + column, 2 + row, 1, 1, Sample(picture, x, 10 - y));
            }
        }
        EXPECT_TRUE(
            CompareImages(DrawFrame(), canvas.Picture(), {4, 1, "filter weights of 8 bits"}, test.name));
        Root().Detach(pPatch.Get());
    }
}

} // namespace
} // namespace kelvo::test
