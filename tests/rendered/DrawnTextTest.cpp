// Texts as a person sees them: glyphs of font files and of hand-made fonts, shadows, underlines, pictures and
// backgrounds, each where the font's measures put it.

#include "Stage.h"

#include "FontFile.h"
#include "NinePatchSpriteGL2.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/Text.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::ColorT;
using trevik::List;
using trevik::RectangleT;
using trevik::SizeT;
using trevik::Vector2T;

constexpr Shade Black = {0, 0, 0, 1};
constexpr Shade White = {1, 1, 1, 1};
constexpr Shade Orange = {1, 0.5, 0.25, 1};
constexpr int TextWidth = 149;
constexpr int TextHeight = 83;

/** A font file as FreeType itself draws it. */
class FontSource {
public:
    explicit FontSource(int nPixelsPerEm) : m_nPixelsPerEm(nPixelsPerEm) {
        std::string error;
        EXPECT_TRUE(assets::FindFontFile("DejaVu Sans", "Book", m_sPath, m_nFace, error)) << error;
        EXPECT_EQ(FT_Init_FreeType(&m_pLibrary), 0);
        EXPECT_EQ(FT_New_Face(m_pLibrary, m_sPath.c_str(), m_nFace, &m_pFace), 0);
        EXPECT_EQ(FT_Set_Pixel_Sizes(m_pFace, 0, FT_UInt(nPixelsPerEm)), 0);
    }
    ~FontSource() {
        FT_Done_Face(m_pFace);
        FT_Done_FreeType(m_pLibrary);
    }
    FontSource(FontSource const&) = delete;
    FontSource& operator=(FontSource const&) = delete;

    FT_GlyphSlot Render(char32_t character, bool fHinting) const {
        FT_Int32 const flags = FT_LOAD_RENDER | FT_LOAD_NO_BITMAP;
        EXPECT_EQ(FT_Load_Char(m_pFace, character, fHinting ? flags : flags | FT_LOAD_NO_HINTING), 0);
        return m_pFace->glyph;
    }

    assets::FontOptions Options(std::u32string const& characters, bool fHinting) const {
        assets::FontOptions options;
        options.pixelsPerEm = m_nPixelsPerEm;
        options.faceIndex = m_nFace;
        options.hinting = fHinting;
        options.codePoints.assign(characters.begin(), characters.end());
        return options;
    }

    std::string m_sPath;

private:
    int m_nPixelsPerEm;
    int m_nFace = 0;
    FT_Library m_pLibrary = nullptr;
    FT_Face m_pFace = nullptr;
};

/** A glyph to be put into a hand-made font: its coverage, or a picture. */
struct HandGlyph {
    char16_t character;
    Image coverage; ///< of which the alpha counts
    int offsetX, offsetY, advance;
    bool fPicture = false;
};

class DrawnText : public Stage {
protected:
    void SetUp() override { Open(DeviceFormat::RGBA8888, TextWidth, TextHeight); }

    /** A text with its first baseline's start at (x, y), attached. */
    Ref<Text> AddText(Font* pFont, std::u16string const& string, int x, int y) {
        Ref<Text> const pText(static_cast<Text*>(m_registry.Create(trevik::HashName("Text"))));
        pText->SetFont(pFont);
        pText->GetTextProperty().SetValue(string.c_str());
        pText->GetVerticalAlignmentProperty().SetValue(VerticalAlignment::Baseline);
        pText->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
        Root().Attach(pText.Get());
        return pText;
    }

    static void SetColor(ColorProperty& property, Shade const& shade) {
        property.SetValue(ColorT<RealFloat>(RealFloat(shade.r), RealFloat(shade.g), RealFloat(shade.b),
                                            RealFloat(shade.a)));
    }

    Image DrawSupersampled(Text& text, int x, int y);

    /** A font of glyphs that each fill a texture of their own. */
    Ref<BitmapFont> MakeFont(std::vector<HandGlyph> const& glyphs) {
        Ref<BitmapFont> const pFont(static_cast<BitmapFont*>(m_registry.Create(trevik::HashName("Font"))));
        FontMetrics metrics;
        metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = 16;
        metrics.m_rAscent = 12;
        metrics.m_rDescent = 4;
        pFont->SetMetrics(metrics);
        for (HandGlyph const& source : glyphs)
            EXPECT_TRUE(pFont->AddGlyph(MakeGlyph(source)));
        return pFont;
    }

private:
    static Glyph MakeGlyph(HandGlyph const& source) {
        Glyph glyph;
        glyph.m_nCodePoint = source.character;
        glyph.m_nWidth = static_cast<unsigned short>(source.coverage.Width());
        glyph.m_nHeight = static_cast<unsigned short>(source.coverage.Height());
        glyph.m_nOffsetX = source.offsetX;
        glyph.m_nOffsetY = source.offsetY;
        glyph.m_nAdvance = source.advance;
        glyph.m_textureRectangle[2] = glyph.m_textureRectangle[3] = 1;
        glyph.m_fImage = source.fPicture;
        if (source.fPicture)
            glyph.m_pTexture = MakePaddedTexture(source.coverage);
        else if (glyph.m_nWidth > 0)
            glyph.m_pTexture = MakeTexture(source.coverage);
        return glyph;
    }
};

Image Solid(int width, int height) {
    return Image(width, height, Pixel{255, 255, 255, 255});
}

/** Coverage in which no two pixels of a row or column are alike. */
Image Slope(int width, int height) {
    Image picture(width, height, Pixel{255, 255, 255, 255});
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture.At(x, y).a = static_cast<std::uint8_t>(255 * (x + 2 * y + 1) / (width + 2 * height));
    }
    return picture;
}

/** A picture's pixels in one colour. */
Image Coloured(Image picture, Shade const& shade) {
    for (int i = 0; i < picture.Width() * picture.Height(); ++i) {
        Pixel& pixel = picture.At(i % picture.Width(), i / picture.Width());
        pixel.r = static_cast<std::uint8_t>(std::lround(255 * shade.r));
        pixel.g = static_cast<std::uint8_t>(std::lround(255 * shade.g));
        pixel.b = static_cast<std::uint8_t>(std::lround(255 * shade.b));
    }
    return picture;
}

/** FreeType's picture of a glyph in one colour. */
Image PictureOf(FT_Bitmap const& bitmap, Shade const& shade) {
    Image picture(int(bitmap.width), int(bitmap.rows));
    for (int y = 0; y < picture.Height(); ++y) {
        for (int x = 0; x < picture.Width(); ++x)
            picture.At(x, y).a = bitmap.buffer[y * bitmap.pitch + x];
    }
    return Coloured(picture, shade);
}

TEST_F(DrawnText, GlyphsAreThePixelsThatFreeTypeMakes) {
    struct Case {
        int size;
        bool fHinting;
        std::u32string text;
        Shade colour;
        double opacity;
    };
    Case const cases[] = {
        {12, true, U"Quick: jagged, 0123 & more", White, 1},
        {23, true, U"\u00c5gQ|j&", Orange, 1},
        {23, false, U"\u00c5gQ|j&", {0.25, 1, 0.5, 0.7}, 0.6},
        {31, true, U"\u03a9\u0416\u10d0\u0531_", White, 0.5},
        {67, false, U"R@", Orange, 1},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.size);
        FontSource const source(test.size);
        std::string error;
        Ref<BitmapFont> const pFont = assets::ReadBitmapFont(
            source.m_sPath, source.Options(test.text, test.fHinting), m_registry, error);
        ASSERT_TRUE(pFont) << error;
        Ref<Text> const pText = AddText(pFont.Get(), {test.text.begin(), test.text.end()}, 3, 21);
        pText->GetKerningProperty().SetValue(false);
        pText->GetOpacityProperty().SetValue(RealFloat(test.opacity));
        SetColor(pText->GetColorProperty(), test.colour);
        Canvas canvas(TextWidth, TextHeight, Black);
        int pen = 3;
        for (char32_t character : test.text) {
            FT_GlyphSlot const pSlot = source.Render(character, test.fHinting);
            canvas.Blend(pen + pSlot->bitmap_left, 21 + pSlot->bitmap_top - int(pSlot->bitmap.rows),
                         PictureOf(pSlot->bitmap, test.colour), test.colour.a * test.opacity);
            pen += static_cast<int>((pSlot->advance.x + 32) >> 6);
        }
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding, std::to_string(test.size)));
        Root().Detach(pText.Get());
    }
}

TEST_F(DrawnText, CornersHaveTheirOwnColours) {
    constexpr int GlyphWidth = 40, GlyphHeight = 30;
    Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(GlyphWidth, GlyphHeight), 0, 0, GlyphWidth}});
    Ref<Text> const pText = AddText(pFont.Get(), u"a", 20, 10);
    SetColor(pText->GetColorProperty(), {1, 0.8, 0.6});
    SetColor(pText->GetBottomLeftColorProperty(), {1, 0, 0});
    SetColor(pText->GetTopLeftColorProperty(), {0, 1, 0});
    SetColor(pText->GetBottomRightColorProperty(), {0, 0, 1});
    SetColor(pText->GetTopRightColorProperty(), {1, 1, 1, 0});
    Image const frame = DrawFrame();
    struct Case {
        int x, y;
        Pixel colour;
    };
    Case const cases[] = {{0, 0, {255, 0, 0, 255}},
                          {0, GlyphHeight - 1, {0, 204, 0, 255}},
                          {GlyphWidth - 1, 0, {0, 0, 153, 255}},
                          {GlyphWidth - 1, GlyphHeight - 1, {0, 0, 0, 255}}};
    // A corner's pixel lies half a pixel inside, both ways.
    int const tolerance = static_cast<int>(255 * (0.5 / GlyphWidth + 0.5 / GlyphHeight)) + 2;
    for (Case const& corner : cases) {
        SCOPED_TRACE(testing::Message() << corner.x << ", " << corner.y);
        Pixel const& pixel = frame.At(20 + corner.x, TextHeight - 1 - 10 - corner.y);
        EXPECT_NEAR(pixel.r, corner.colour.r, tolerance);
        EXPECT_NEAR(pixel.g, corner.colour.g, tolerance);
        EXPECT_NEAR(pixel.b, corner.colour.b, tolerance);
    }
}

TEST_F(DrawnText, ShadowsLieBelowAllGlyphsAtTheirOffset) {
    // Each glyph covers a part of its left neighbour's shadow, and its shadow a part of nothing but the
    // ground.
    Image const glyph = Slope(15, 19);
    Ref<BitmapFont> const pFont = MakeFont({{u'a', glyph, 0, 0, 12}});
    struct Case {
        int x, y;
        Shade shadow;
    };
    for (Case const& test :
         {Case{3, -2, {0, 0, 0, 0.5}}, Case{-4, 6, {1, 0, 0, 1}}, Case{0, 0, {0, 0, 1, 0.75}}}) {
        SCOPED_TRACE(testing::Message() << test.x << ", " << test.y);
        Device().SetClearColor(ColorT<RealFloat>(0.5f, 0.75f, 0.25f, 1));
        Ref<Text> const pText = AddText(pFont.Get(), u"aaa", 30, 20);
        SetColor(pText->GetColorProperty(), {1, 0.5, 0.25, 0.8});
        pText->GetShadowProperty().SetValue(true);
        pText->GetShadowOffsetProperty().SetValue(Vector(RealFloat(test.x), RealFloat(test.y), 0));
        SetColor(pText->GetShadowColorProperty(), test.shadow);
        Canvas canvas(TextWidth, TextHeight, {0.5, 0.75, 0.25, 1});
        for (int i = 0; i < 3; ++i)
            canvas.Blend(30 + 12 * i + test.x, 20 + test.y, Coloured(glyph, test.shadow),
                         test.shadow.a * 0.8);
        for (int i = 0; i < 3; ++i)
            canvas.Blend(30 + 12 * i, 20, Coloured(glyph, Orange), 0.8);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), {3, 0.5, "rounding of four layers"}));
        Root().Detach(pText.Get());
    }
}

TEST_F(DrawnText, ShadowOffsetsAreNodeUnitsAtEverySize) {
    Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(8, 10), 1, 2, 12}});
    Ref<Text> const pText = AddText(pFont.Get(), u"aa", 30, 20);
    pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(32, 48)); // of a font of 16 pixels per em
    pText->GetShadowProperty().SetValue(true);
    pText->GetShadowOffsetProperty().SetValue(Vector(5, -7, 0));
    SetColor(pText->GetShadowColorProperty(), {1, 0, 0, 1});
    Canvas canvas(TextWidth, TextHeight, Black);
    for (int i = 0; i < 2; ++i)
        canvas.Blend(30 + 2 + 24 * i + 5, 20 - 6 - 7, 16, 30, {1, 0, 0});
    for (int i = 0; i < 2; ++i)
        canvas.Blend(30 + 2 + 24 * i, 20 - 6, 16, 30, White);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnText, UnderlinesRunFromPenToPenWhereTheFontSays) {
    struct Case {
        RealFloat position, thickness;
        int scale;
        int top, bottom; ///< below the baseline
    };
    for (Case const& test : {Case{2, 3, 1, 2, 5}, Case{1, 2, 3, 3, 9}, Case{-4, 1, 1, -4, -3}}) {
        SCOPED_TRACE(testing::Message() << test.position << ", " << test.thickness << ", " << test.scale);
        // A space without a picture is underlined, too.
        Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(5, 9), 2, -6, 13}, {u' ', Image(), 0, 0, 7}});
        pFont->GetUnderlineProperty().SetValue(true);
        pFont->GetUnderlinePositionProperty().SetValue(test.position);
        pFont->GetUnderlineThicknessProperty().SetValue(test.thickness);
        pFont->GetUnderlineScaleProperty().SetValue(test.scale);
        Ref<Text> const pText = AddText(pFont.Get(), u"aa a", 20, 40);
        SetColor(pText->GetColorProperty(), {1, 0.5, 0.25, 0.5});
        Canvas canvas(TextWidth, TextHeight, Black);
        Shade const colour = {1, 0.5, 0.25, 0.5};
        for (int pen : {20, 33, 53})
            canvas.Blend(pen + 2, 46, 5, 9, colour);
        canvas.Blend(20, 40 - test.bottom, 46, test.bottom - test.top, colour);
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
        Root().Detach(pText.Get());
    }
}

TEST_F(DrawnText, PicturesKeepTheirColoursAndFadeWithTheText) {
    Image const picture = MakePicture(17, 11);
    Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(6, 9), 0, 0, 8}, {u'*', picture, 1, 4, 20, true}});
    Ref<Text> const pText = AddText(pFont.Get(), u"a*a", 13, 30);
    SetColor(pText->GetColorProperty(), {1, 0, 0, 0.75});
    pText->GetOpacityProperty().SetValue(0.5f);
    pText->GetShadowProperty().SetValue(true);
    pText->GetShadowOffsetProperty().SetValue(Vector(0, 25, 0));
    SetColor(pText->GetShadowColorProperty(), {0, 1, 0, 1});
    Canvas canvas(TextWidth, TextHeight, Black);
    canvas.Blend(13, 30, 6, 9, {1, 0, 0, 0.375});
    canvas.Blend(13 + 8 + 1, 30 - 4, picture, 0.375);
    canvas.Blend(13 + 28, 30, 6, 9, {1, 0, 0, 0.375});
    for (int x : {13, 41}) // pictures cast no shadow
        canvas.Blend(x, 55, 6, 9, {0, 1, 0, 0.375});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

/** The mean of what is drawn of a text at places a quarter of a pixel apart, which is its coverage. */
Image DrawnText::DrawSupersampled(Text& text, int x, int y) {
    constexpr int Steps = 4;
    std::vector<int> sums(std::size_t(TextWidth * TextHeight));
    for (int i = 0; i < Steps * Steps; ++i) {
        text.GetPositionProperty().SetValue(Vector(RealFloat(x) + (RealFloat(i % Steps) - 1.5f) / Steps,
                                                   RealFloat(y) + (RealFloat(i / Steps) - 1.5f) / Steps, 0));
        Image const frame = DrawFrame();
        for (std::size_t n = 0; n < sums.size(); ++n)
            sums[n] += frame.At(int(n) % TextWidth, int(n) / TextWidth).r;
    }
    Image mean(TextWidth, TextHeight);
    for (std::size_t n = 0; n < sums.size(); ++n) {
        auto const value = static_cast<std::uint8_t>(sums[n] / (Steps * Steps));
        mean.At(int(n) % TextWidth, int(n) / TextWidth) = {value, value, value, 255};
    }
    return mean;
}

TEST_F(DrawnText, OutlinesCoverWhatTheirPicturesCover) {
    for (char32_t character : {U'R', U'g', U'&', U'8', U'\u0416', U'\u10d0'}) {
        SCOPED_TRACE(std::uint32_t(character));
        FontSource const source(64);
        std::string error;
        Ref<PolygonalFont> const pFont =
            assets::ReadPolygonalFont(source.m_sPath, source.Options({character}, false), m_registry, error);
        ASSERT_TRUE(pFont) << error;
        Ref<Text> const pText = AddText(pFont.Get(), {char16_t(character)}, 40, 20);
        FT_GlyphSlot const pSlot = source.Render(character, false);
        Canvas canvas(TextWidth, TextHeight, Black);
        canvas.Blend(40 + pSlot->bitmap_left, 20 + pSlot->bitmap_top - int(pSlot->bitmap.rows),
                     PictureOf(pSlot->bitmap, White));
        EXPECT_TRUE(CompareImages(DrawSupersampled(*pText, 40, 20), canvas.Picture(),
                                  {64, 1, "16 samples a pixel, lines a tenth of a pixel off the curve"},
                                  std::to_string(std::uint32_t(character))));
        Root().Detach(pText.Get());
    }
}

TEST_F(DrawnText, OutlinesHaveTheTextsColourAndOpacityAndShadow) {
    FontSource const source(40);
    std::string error;
    Ref<PolygonalFont> const pFont =
        assets::ReadPolygonalFont(source.m_sPath, source.Options(U"l", false), m_registry, error);
    ASSERT_TRUE(pFont) << error;
    AddSprite(Root(), 0, 0, 1, 1, Black); // outlines blend as what was drawn before did
    Ref<Text> const pText = AddText(pFont.Get(), u"l", 40, 30);
    SetColor(pText->GetColorProperty(), {1, 0.5, 0.25, 0.8});
    pText->GetOpacityProperty().SetValue(0.5f);
    pText->GetShadowProperty().SetValue(true);
    pText->GetShadowOffsetProperty().SetValue(Vector(20, -20, 0));
    SetColor(pText->GetShadowColorProperty(), {0, 1, 1, 0.5});
    // An "l" is an upright bar: its middle is well inside.
    Image const frame = DrawFrame();
    FT_GlyphSlot const pSlot = source.Render(U'l', false);
    int const x = 40 + pSlot->bitmap_left + int(pSlot->bitmap.width) / 2;
    int const y = TextHeight - 1 - (30 + int(pSlot->bitmap.rows) / 2);
    Canvas canvas(2, 1, Black);
    canvas.Blend(0, 0, 1, 1, {1, 0.5, 0.25, 0.4});
    canvas.Blend(1, 0, 1, 1, {0, 1, 1, 0.2});
    Image seen(2, 1);
    seen.At(0, 0) = frame.At(x, y);
    seen.At(1, 0) = frame.At(x + 20, y + 20);
    EXPECT_TRUE(CompareImages(seen, canvas.Picture(), Rounding));
}

class DrawnTextBackground : public DrawnText {
protected:
    Ref<NinePatchSpriteGL2> MakeBackground(Image const& picture, RectangleT<RealFloat> const& margins) {
        Ref<Sprite> const pSprite = MakeSprite(picture.Width(), picture.Height(), "NinePatchSprite");
        Ref<NinePatchSpriteGL2> const pPatch(static_cast<NinePatchSpriteGL2*>(pSprite.Get()));
        pPatch->SetTexture(MakeTexture(picture).Get());
        List<Vector2T<int>> bands;
        bands.Append(Vector2T<int>(3, 2));
        pPatch->GetHorizontalBandsProperty().SetValue(bands);
        pPatch->GetVerticalBandsProperty().SetValue(bands);
        Property* const pMargins =
            pPatch->GetProperties().Find(trevik::HashName("ContentMargin"))->m_pProperty;
        static_cast<RectangleProperty*>(pMargins)->SetValue(margins);
        return pPatch;
    }
};

TEST_F(DrawnTextBackground, CoversTheTextAndItsMarginsWhereverItGoes) {
    Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(6, 9), 0, 0, 10}});
    Ref<Text> const pText = AddText(pFont.Get(), u"a", 0, 0);
    pText->SetBackground(MakeBackground(Solid(8, 8), {5, 2, 7, 3}).Get());
    Device().SetClearColor(ColorT<RealFloat>(0, 0, 0.5f, 1));
    SetColor(pText->GetColorProperty(), {1, 0, 0});
    struct Case {
        int x, y;
        char16_t const* text;
        int count;
        RealFloat opacity;
    };
    // 12 above and 4 below the baseline; the margin called top is the lower one.
    for (Case const& test :
         {Case{20, 30, u"aa", 2, 1}, Case{13, 47, u"aaaaaaaa", 8, 1}, Case{61, 11, u"a", 1, 0.5f}}) {
        SCOPED_TRACE(test.count);
        pText->GetTextProperty().SetValue(test.text);
        pText->GetPositionProperty().SetValue(Vector(RealFloat(test.x), RealFloat(test.y), 0));
        pText->GetOpacityProperty().SetValue(test.opacity);
        Canvas canvas(TextWidth, TextHeight, {0, 0, 0.5, 1});
        canvas.Blend(test.x - 5, test.y - 4 - 2, 5 + 10 * test.count + 7, 2 + 16 + 3,
                     {1, 1, 1, test.opacity});
        for (int i = 0; i < test.count; ++i)
            canvas.Blend(test.x + 10 * i, test.y, 6, 9, {1, 0, 0, test.opacity});
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
    }
}

TEST_F(DrawnTextBackground, KeepsItsRimWhileTheTextGrows) {
    // A rim of 2 texels around another colour, which reaches as far as the bands' ends blend.
    Image picture(8, 8, Pixel{255, 0, 0, 255});
    picture.Fill(2, 2, 4, 4, Pixel{0, 255, 0, 255});
    Ref<BitmapFont> const pFont = MakeFont({{u'a', Solid(1, 1), 0, 0, 10}});
    Ref<Text> const pText = AddText(pFont.Get(), u"a", 20, 30);
    pText->SetBackground(MakeBackground(picture, {6, 6, 6, 6}).Get());
    SetColor(pText->GetColorProperty(), {0, 1, 0});
    std::u16string text;
    for (int count : {1, 3, 9}) {
        SCOPED_TRACE(count);
        text.assign(std::size_t(count), u'a');
        pText->GetTextProperty().SetValue(text.c_str());
        Canvas canvas(TextWidth, TextHeight, Black);
        canvas.Blend(14, 20, 10 * count + 12, 28, {1, 0, 0});
        canvas.Blend(16, 22, 10 * count + 8, 24, {0, 1, 0});
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding, std::to_string(count)));
    }
}

} // namespace
} // namespace kelvo::test
