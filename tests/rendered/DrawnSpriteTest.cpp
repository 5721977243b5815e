// Sprites as a person sees them: where they are, which way up, and how they blend.

#include "Stage.h"

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::ColorT;
using trevik::List;

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

TEST_F(DrawnSprite, ASmallerSpriteShowsASmallerLevel) {
    Pixel const colours[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}, {255, 255, 255}};
    List<MipLevel> levels;
    std::vector<Pixel> pixels;
    for (int i = 0; i < 5; ++i) { // down to one texel, or the texture is not complete
        MipLevel level;
        level.m_nWidth = 16 >> i;
        level.m_nHeight = std::max(8 >> i, 1);
        level.m_nOffset = static_cast<int>(4 * pixels.size());
        level.m_nSize = 4 * level.m_nWidth * level.m_nHeight;
        levels.Append(level);
        pixels.insert(pixels.end(), std::size_t(level.m_nSize / 4), colours[i]);
    }
    Open();
    Ref<Texture> const pTexture = Make<Texture>("Texture");
    ASSERT_TRUE(pTexture->SetImage(16, 8, 16, 8, TextureFormat::RGBA8888, levels,
                                   reinterpret_cast<std::uint8_t const*>(pixels.data()),
                                   static_cast<unsigned int>(4 * pixels.size()), false));
    Canvas canvas(Width, Height);
    for (int i = 0; i < 4; ++i) {
        Ref<Sprite> const pSprite = AddSprite(Root(), 2 + 16 * i, 3, pTexture);
        pSprite->GetScaleProperty().SetValue(Vector(1.0f / float(1 << i), 1.0f / float(1 << i), 1));
        canvas.Blend(2 + 16 * i, 3, Image(16 >> i, 8 >> i, colours[i]));
    }
    EXPECT_TRUE(Shows(canvas, {8, 0.5, "drivers approximate the logarithm that blends two levels"}));
}

} // namespace
} // namespace kelvo::test
