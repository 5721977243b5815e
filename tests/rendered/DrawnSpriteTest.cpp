// Sprites as a person sees them: where they are, which way up, and how they blend.

#include "Stage.h"

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::ColorT;
using trevik::List;

constexpr Shade Black = {0, 0, 0, 1};
constexpr Shade Orange = {1, 0.5, 0.25, 1};
constexpr Pixel White8 = {255, 255, 255, 255};

class DrawnSprite : public Stage {};

TEST_F(DrawnSprite, OneUnitIsOnePixelFromTheLowerLeftCorner) {
    Open();
    AddSprite(Root(), 0, 0, 5, 3, {1, 0, 0});
    AddSprite(Root(), 20, 11, 7, 9, {0, 1, 0});
    AddSprite(Root(), Width - 2, Height - 4, 2, 4, {0, 0, 1});
    Canvas canvas(Width, Height, Black);
    canvas.Blend(0, 0, 5, 3, {1, 0, 0});
    canvas.Blend(20, 11, 7, 9, {0, 1, 0});
    canvas.Blend(Width - 2, Height - 4, 2, 4, {0, 0, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture()));
}

TEST_F(DrawnSprite, OneUnitIsOnePixelOnWindowsOfAnySize) {
    struct Case {
        int width, height;
    };
    for (Case const& window : {Case{1, 1}, Case{7, 53}, Case{640, 3}, Case{255, 129}}) {
        SCOPED_TRACE(testing::Message() << window.width << " by " << window.height);
        Open(DeviceFormat::RGBA8888, window.width, window.height);
        Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, window.width, (window.height + 1) / 2, Orange);
        Canvas canvas(window.width, window.height, Black);
        canvas.Blend(0, 0, window.width, (window.height + 1) / 2, Orange);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSprite, APictureWithRowsOfOddBytesIsNotSkewed) {
    Open();
    for (int width : {1, 5, 6, 7}) {
        SCOPED_TRACE(width);
        Image const picture = MakePicture(width, 9);
        std::vector<std::uint8_t> pixels;
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < width; ++x) {
                Pixel const& pixel = picture.At(x, y);
                pixels.insert(pixels.end(), {pixel.r, pixel.g, pixel.b});
            }
        }
        Ref<Sprite> const pSprite = AddSprite(
            Root(), 3, 2, Texture::CreateTexture(width, 9, TextureFormat::RGB888, pixels.data(), 3 * width));
        Canvas canvas(Width, Height, Black);
        canvas.Blend(3, 2, picture);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
        Root().Detach(pSprite.Get());
    }
}

TEST_F(DrawnSprite, OnlyTheUsedPartOfATextureShows) {
    Open();
    Image const picture = MakePicture(11, 7);
    AddSprite(Root(), 4, 6, MakePaddedTexture(picture));
    Canvas canvas(Width, Height, Black);
    canvas.Blend(4, 6, picture);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnSprite, BlendsStraightAlphaAndAddsUpCoverage) {
    struct Case {
        Shade clear, lower, upper;
    };
    Case const cases[] = {
        {{0, 0, 0, 0}, {1, 0.5, 0.25, 0.5}, {0.25, 1, 0.5, 0.5}},
        {{0.2, 0.4, 0.6, 0.25}, {1, 0, 0, 0.75}, {0, 1, 0, 0.1}},
        {{1, 1, 1, 1}, {0, 0, 0, 0.2}, {0, 0, 1, 0.9}},
        {{0, 0, 1, 0.5}, {1, 1, 1, 1}, {0, 0, 0, 0}},
    };
    Open();
    for (Case const& test : cases) {
        Device().SetClearColor(ColorT<RealFloat>(RealFloat(test.clear.r), RealFloat(test.clear.g),
                                                 RealFloat(test.clear.b), RealFloat(test.clear.a)));
        Ref<Sprite> const pLower = AddSprite(Root(), 5, 4, 30, 20, test.lower);
        Ref<Sprite> const pUpper = AddSprite(Root(), 20, 14, 33, 17, test.upper);
        Canvas canvas(Width, Height, test.clear);
        canvas.Blend(5, 4, 30, 20, test.lower);
        canvas.Blend(20, 14, 33, 17, test.upper);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
        Root().Detach(pLower.Get());
        Root().Detach(pUpper.Get());
    }
}

TEST_F(DrawnSprite, OpacitiesMultiplyDownTheTree) {
    Open();
    Image picture = MakePicture(9, 5);
    for (int x = 0; x < 9; ++x)
        picture.At(x, 2).a = 128;
    Ref<Sprite> const pParent = AddSprite(Root(), 3, 2, 40, 30, {1, 0, 0, 0.5});
    Ref<Sprite> const pChild = AddSprite(*pParent, 4, 5, 20, 15, {0, 1, 0, 0.6});
    AddSprite(*pChild, 6, 7, MakeTexture(picture))->GetOpacityProperty().SetValue(0.75f);
    Canvas canvas(Width, Height, Black);
    canvas.Blend(3, 2, 40, 30, {1, 0, 0, 0.5});
    canvas.Blend(7, 7, 20, 15, {0, 1, 0, 0.5 * 0.6});
    canvas.Blend(13, 14, picture, 0.5 * 0.6 * 0.75);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnSprite, TheAlphaTestDropsWhatIsBelowATenth) {
    // 25 / 255 is just below 0.1, 26 / 255 just above. The texture's alpha counts, the opacity does not.
    std::uint8_t const alphas[] = {0, 25, 26, 255};
    Image picture(4, 1, White8);
    for (int x = 0; x < 4; ++x)
        picture.At(x, 0).a = alphas[x];
    Open();
    AddSprite(Root(), 10, 7, MakeTexture(picture))->GetOpacityProperty().SetValue(0.5f);
    for (bool const fAlphaTest : {false, true}) {
        SCOPED_TRACE(fAlphaTest);
        Image drawn = picture;
        drawn.At(1, 0).a = fAlphaTest ? 0 : 25;
        Canvas canvas(Width, Height, Black);
        canvas.Blend(10, 7, drawn, 0.5);
        // Below half of what the dropped pixel would add.
        EXPECT_TRUE(
            CompareImages(DrawFrame(fAlphaTest), canvas.Picture(), {2, 0.1, "rounding of the blend"}));
    }
}

/** A block of one colour, five bits a channel, as the format codes it: each pixel comes out 2 brighter. */
void AppendEtc1Block(std::vector<std::uint8_t>& bytes, int r, int g, int b) {
    bytes.insert(bytes.end(),
                 {std::uint8_t(r << 3), std::uint8_t(g << 3), std::uint8_t(b << 3), 2, 0, 0, 0, 0});
}

/** What AppendEtc1Block's channel of five bits comes out as. */
int DecodedEtc1(int value) {
    return std::min((value << 3 | value >> 2) + 2, 255);
}

TEST_F(DrawnSprite, SeparateAlphaTakesColourAndAlphaFromTheirPlanes) {
    struct Block {
        int r, g, b, alpha;
    };
    // Two blocks beside each other; the second's alpha is below the alpha test's tenth, which tests the
    // colour texture, and that has no alpha of its own: nothing is ever dropped.
    Block const blocks[2] = {{31, 12, 3, 20}, {10, 31, 25, 2}};
    std::vector<std::uint8_t> bytes;
    for (Block const& block : blocks)
        AppendEtc1Block(bytes, block.r, block.g, block.b);
    for (Block const& block : blocks)
        AppendEtc1Block(bytes, block.alpha, 31, 0); // the alpha is the red of its plane
    Open();
    Ref<Texture> const pTexture = Texture::CreateTexture(8, 4, TextureFormat::ETC1_RGBA, bytes.data(), 0);
    ASSERT_TRUE(pTexture);
    AddSprite(Root(), 13, 6, pTexture)->GetOpacityProperty().SetValue(0.8f);
    Canvas canvas(Width, Height, Black);
    for (int i = 0; i < 2; ++i) {
        Pixel const colour = {std::uint8_t(DecodedEtc1(blocks[i].r)), std::uint8_t(DecodedEtc1(blocks[i].g)),
                              std::uint8_t(DecodedEtc1(blocks[i].b)),
                              std::uint8_t(DecodedEtc1(blocks[i].alpha))};
        canvas.Blend(13 + 4 * i, 6, Image(4, 4, colour), 0.8);
    }
    EXPECT_TRUE(CompareImages(DrawFrame(false), canvas.Picture(), Rounding, "plain"));
    EXPECT_TRUE(CompareImages(DrawFrame(true), canvas.Picture(), Rounding, "tested"));
}

TEST_F(DrawnSprite, ASmallerSpriteShowsASmallerLevel) {
    Pixel const colours[] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}};
    List<MipLevel> levels;
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 4; ++i) {
        Image const image(16 >> i, 8 >> i, colours[i]);
        MipLevel level;
        level.m_nWidth = image.Width();
        level.m_nHeight = image.Height();
        level.m_nOffset = static_cast<int>(bytes.size());
        level.m_nSize = 4 * image.Width() * image.Height();
        levels.Append(level);
        auto const* const pixels = reinterpret_cast<std::uint8_t const*>(&image.At(0, 0));
        bytes.insert(bytes.end(), pixels, pixels + level.m_nSize);
    }
    // Down to one texel, or the texture is not complete.
    MipLevel last;
    last.m_nWidth = last.m_nHeight = 1;
    last.m_nOffset = 0;
    last.m_nSize = 4;
    levels.Append(last);
    Open();
    Ref<Texture> const pTexture(static_cast<Texture*>(m_registry.Create(trevik::HashName("Texture"))));
    ASSERT_TRUE(pTexture->SetImage(16, 8, 16, 8, TextureFormat::RGBA8888, levels, bytes.data(),
                                   static_cast<unsigned int>(bytes.size()), false));
    Canvas canvas(Width, Height, Black);
    for (int i = 0; i < 4; ++i) {
        Ref<Sprite> const pSprite = AddSprite(Root(), 2 + 16 * i, 3, pTexture);
        pSprite->GetScaleProperty().SetValue(Vector(1.0f / (1 << i), 1.0f / (1 << i), 1));
        canvas.Blend(2 + 16 * i, 3, Image(16 >> i, 8 >> i, colours[i]));
    }
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(),
                              {8, 0.5, "drivers approximate the logarithm that blends two levels"}));
}

TEST_F(DrawnSprite, AMagnifiedTextureIsSmoothAlthoughItHasLevels) {
    // With several levels the magnification filter asked for is refused; the default, linear, remains.
    Image const picture(2, 1, Pixel{0, 0, 0, 255});
    Image coloured = picture;
    coloured.At(1, 0) = White8;
    List<MipLevel> levels;
    for (int i = 0; i < 2; ++i) {
        MipLevel level;
        level.m_nWidth = 2 - i;
        level.m_nHeight = 1;
        level.m_nSize = 4 * level.m_nWidth;
        levels.Append(level);
    }
    Open();
    Ref<Texture> const pTexture(static_cast<Texture*>(m_registry.Create(trevik::HashName("Texture"))));
    ASSERT_TRUE(pTexture->SetImage(2, 1, 2, 1, TextureFormat::RGBA8888, levels,
                                   reinterpret_cast<std::uint8_t const*>(&coloured.At(0, 0)), 8, false));
    AddSprite(Root(), 3, 4, pTexture)->GetScaleProperty().SetValue(Vector(20, 5, 1));
    Canvas canvas(Width, Height, Black);
    for (int x = 0; x < 40; ++x) {
        double const texel = std::clamp((x + 0.5) / 20 - 0.5, 0.0, 1.0);
        canvas.Blend(3 + x, 4, 1, 5, {texel, texel, texel});
    }
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), {3, 0.5, "weights of 8 bits"}));
}

TEST_F(DrawnSprite, AHighlightTakesTheColourOver) {
    Open();
    Device().SetHighlight(true, ColorT<RealFloat>(0.25f, 0.5f, 1, 0.5f));
    AddSprite(Root(), 2, 3, 20, 10, {1, 0, 0, 0.5});
    Image const picture(10, 10, Pixel{200, 100, 50, 128});
    AddSprite(Root(), 30, 5, MakeTexture(picture));
    Canvas canvas(Width, Height, Black);
    canvas.Blend(2, 3, 20, 10, {0.25, 0.5, 1, 0.25});
    // A texture is multiplied by the colour.
    canvas.Blend(30, 5, 10, 10, {200 / 255.0 * 0.25, 100 / 255.0 * 0.5, 50 / 255.0, 128 / 255.0 * 0.5});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnSprite, AntialiasedEdgesFadeOverTwoPixels) {
    // An even size: the pass computes with whole halves of the viewport.
    Open(DeviceFormat::RGBA8888, 64, 40);
    Ref<Sprite> const pSprite = AddSprite(Root(), 16, 10, 30, 20, {1, 1, 1});
    Image const plain = DrawFrame();
    pSprite->GetAntialiasProperty().SetValue(true);
    Image const smooth = DrawFrame();
    // Across the middle of each edge, from outside in. Coverage is a raised cosine of the distance.
    double const coverage[] = {0, (std::cos(0.75 * M_PI) + 1) / 2, (std::cos(0.25 * M_PI) + 1) / 2, 1};
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        int const expected = static_cast<int>(255 * coverage[i]);
        int const tolerance = 5; // the table has 32 entries of 8 bits
        EXPECT_NEAR(smooth.At(16 - 3 + i, 20).r, expected, tolerance) << "left";
        EXPECT_NEAR(smooth.At(46 + 2 - i, 20).r, expected, tolerance) << "right";
        EXPECT_NEAR(smooth.At(31, 10 - 3 + i).r, expected, tolerance) << "top";
        EXPECT_NEAR(smooth.At(31, 30 + 2 - i).r, expected, tolerance) << "bottom";
    }
    // Nothing else changes: neither the inside nor what is further away.
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 64; ++x) {
            bool const fInside = x >= 16 && x < 46 && y >= 10 && y < 30;
            bool const fNear = x >= 13 && x < 49 && y >= 7 && y < 33;
            if (fInside || !fNear) {
                ASSERT_EQ(smooth.At(x, y), plain.At(x, y)) << x << ", " << y;
            }
        }
    }
}

TEST_F(DrawnSprite, EachSurfaceFormatShowsThePicture) {
    struct Case {
        DeviceFormat::Enum format;
        bool alpha;
        Tolerance tolerance;
    };
    Case const cases[] = {
        {DeviceFormat::RGB565, false, {11, 4, "steps of 8 and 4, rounded either way twice"}},
        {DeviceFormat::RGB888, false, Rounding},
        {DeviceFormat::RGBX8888, false, Rounding},
        {DeviceFormat::RGBA8888, true, Rounding},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Open(test.format);
        Image const picture = MakePicture(29, 17);
        Ref<Sprite> const pBack = AddSprite(Root(), 6, 4, MakeTexture(picture));
        Ref<Sprite> const pFront = AddSprite(Root(), 20, 10, 31, 21, {1, 1, 0.5, 0.5});
        Device().SetClearColor(ColorT<RealFloat>(0, 0, 1, 0.25f));
        Canvas canvas(Width, Height, {0, 0, 1, 0.25});
        canvas.Blend(6, 4, picture);
        canvas.Blend(20, 10, 31, 21, {1, 1, 0.5, 0.5});
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(test.alpha), test.tolerance));
        Root().Detach(pBack.Get());
        Root().Detach(pFront.Get());
    }
}

} // namespace
} // namespace kelvo::test
