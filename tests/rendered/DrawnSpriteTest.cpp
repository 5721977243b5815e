// Sprites as a person sees them: where they are, which way up, and how they blend.

#include "kelvo_test/Stage.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::ColorT;

using DrawnSprite = Stage;

TEST_F(DrawnSprite, OneUnitIsOnePixelFromTheLowerLeftCornerOfWindowsOfAnySizeAndFormat) {
    struct {
        int width, height;
        DeviceFormat::Enum format;
        bool alpha;
        Tolerance tolerance;
    } const cases[] = {
        {1, 1, DeviceFormat::RGBA8888, true, Rounding},
        {7, 53, DeviceFormat::RGB888, false, Rounding},
        {640, 3, DeviceFormat::RGBX8888, false, Rounding},
        {255, 129, DeviceFormat::RGBA8888, true, Rounding},
        {Width, Height, DeviceFormat::RGB565, false, {11, 4, "steps of 8 and 4, rounded either way twice"}},
    };
    for (auto const& test : cases) {
        int const w = test.width, h = test.height;
        SCOPED_TRACE(w);
        Open(test.format, w, h);
        // Straight alpha is blended, coverage adds up, and a child fades with its parent.
        Device().SetClearColor(ColorT<RealFloat>(0, 0.4f, 1, 0.25f));
        Image const picture = MakePicture((w + 1) / 2, (h + 2) / 3);
        Ref<Sprite> const pBack = AddSprite(Root(), w / 4, h / 2, MakeTexture(picture));
        Ref<Sprite> const pFront = AddSprite(Root(), 0, 0, w / 2, h - 1, {1, 1, 0.5, 0.5});
        AddSprite(*pFront, 2, 1, w / 4, h / 2, {0, 1, 0, 0.6});
        Canvas canvas(w, h, {0, 0.4, 1, 0.25});
        canvas.Blend(w / 4, h / 2, picture);
        canvas.Blend(0, 0, w / 2, h - 1, {1, 1, 0.5, 0.5});
        canvas.Blend(2, 1, w / 4, h / 2, {0, 1, 0, 0.3});
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(test.alpha), test.tolerance));
        Root().Detach(pBack.Get());
        Root().Detach(pFront.Get());
    }
}

TEST_F(DrawnSprite, OnlyTheUsedPartOfATextureShowsAndRowsOfOddBytesAreNotSkewed) {
    Open();
    for (int width : {1, 5, 6, 7}) {
        SCOPED_TRACE(width);
        Image const picture = MakePicture(width, 9);
        // Pixels of another colour to the right of the picture and below it.
        int const nAllocated = 2 * width + 1;
        std::vector<std::uint8_t> pixels;
        for (int n = 0; n < nAllocated * 12; ++n) {
            int const x = n % nAllocated, y = n / nAllocated;
            Pixel const pixel = x < width && y < 9 ? picture.At(x, y) : Pixel{255, 0, 255};
            pixels.insert(pixels.end(), {pixel.r, pixel.g, pixel.b});
        }
        Ref<Texture> const pTexture =
            Texture::CreateTexture(nAllocated, 12, TextureFormat::RGB888, pixels.data(), 3 * nAllocated);
        pTexture->SetUsedSize(width, 9);
        Ref<Sprite> const pSprite = AddSprite(Root(), 3, 2, pTexture);
        Canvas canvas(Width, Height);
        canvas.Blend(3, 2, picture);
        EXPECT_TRUE(Shows(canvas));
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSprite, SeparateAlphaTakesColourAndAlphaFromTheirPlanes) {
    // Two blocks of one colour beside each other, five bits a channel, each of which comes out 2 brighter;
    // then those of their alpha, which is the red of its plane. The second's is below the alpha test's tenth,
    // which tests the colour texture, and that has no alpha of its own: nothing is ever dropped.
    std::uint8_t const bytes[] = {
        29 << 3, 12 << 3, 3 << 3, 2, 0, 0, 0, 0, 10 << 3, 29 << 3, 25 << 3, 2, 0, 0, 0, 0,
        20 << 3, 29 << 3, 0,      2, 0, 0, 0, 0, 2 << 3,  29 << 3, 0,       2, 0, 0, 0, 0};
    auto const decoded = [](int value) { return static_cast<std::uint8_t>((value << 3 | value >> 2) + 2); };
    Open();
    Ref<Texture> const pTexture = Texture::CreateTexture(8, 4, TextureFormat::ETC1_RGBA, bytes, 0);
    ASSERT_TRUE(pTexture);
    AddSprite(Root(), 13, 6, pTexture)->GetOpacityProperty().SetValue(0.8f);
    Canvas canvas(Width, Height);
    canvas.Blend(13, 6, Image(4, 4, {decoded(29), decoded(12), decoded(3), decoded(20)}), 0.8);
    canvas.Blend(17, 6, Image(4, 4, {decoded(10), decoded(29), decoded(25), decoded(2)}), 0.8);
    EXPECT_TRUE(Shows(canvas, Rounding, "plain"));
    EXPECT_TRUE(CompareImages(DrawFrame(true), canvas.Picture(), Rounding, "tested"));
}

} // namespace
} // namespace kelvokit::test
