// Texts as a person sees them: glyphs of font files against FreeType's own pictures, and glyphs of hand-made
// fonts.

#include "Stage.h"

#include "FontFile.h"
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
using trevik::SizeT;

constexpr Shade White = {1, 1, 1, 1};
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

class DrawnText : public Stage {
protected:
    void SetUp() override { Open(DeviceFormat::RGBA8888, TextWidth, TextHeight); }

    /** A text with its first baseline's start at (x, y), attached. */
    Ref<Text> AddText(Font* pFont, std::u16string const& string, int x, int y) {
        Ref<Text> const pText = Make<Text>("Text");
        pText->SetFont(pFont);
        pText->GetTextProperty().SetValue(string.c_str());
        pText->GetVerticalAlignmentProperty().SetValue(VerticalAlignment::Baseline);
        pText->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
        pText->GetKerningProperty().SetValue(false);
        Root().Attach(pText.Get());
        return pText;
    }

    static void SetColor(ColorProperty& property, Shade const& shade) {
        property.SetValue(ColorT<RealFloat>(RealFloat(shade.r), RealFloat(shade.g), RealFloat(shade.b),
                                            RealFloat(shade.a)));
    }

    /** The mean of what is drawn of a text at places a quarter of a pixel apart, which is its coverage. */
    Image DrawSupersampled(Text& text, int x, int y) {
        constexpr int Steps = 4;
        std::vector<int> sums(std::size_t(TextWidth * TextHeight));
        for (int i = 0; i < Steps * Steps; ++i) {
            text.GetPositionProperty().SetValue(Vector(RealFloat(x) + (RealFloat(i % Steps) - 1.5f) / Steps,
                                                       RealFloat(y) + (RealFloat(i / Steps) - 1.5f) / Steps,
                                                       0));
            Image const frame = DrawFrame();
            for (std::size_t n = 0; n < sums.size(); ++n)
                sums[n] += frame.At(int(n) % TextWidth, int(n) / TextWidth).r;
        }
        return MakeImage(TextWidth, TextHeight, [&](int column, int row) {
            auto const value = std::uint8_t(sums[std::size_t(row * TextWidth + column)] / (Steps * Steps));
            return Pixel{value, value, value};
        });
    }

    /** A glyph that fills a texture of its own. */
    static Glyph MakeGlyph(char16_t character, Image const& coverage, int nOffsetX, int nOffsetY,
                           int nAdvance, bool fPicture) {
        Glyph glyph;
        glyph.m_nCodePoint = character;
        glyph.m_nWidth = static_cast<unsigned short>(coverage.Width());
        glyph.m_nHeight = static_cast<unsigned short>(coverage.Height());
        glyph.m_nOffsetX = nOffsetX;
        glyph.m_nOffsetY = nOffsetY;
        glyph.m_nAdvance = nAdvance;
        glyph.m_textureRectangle[2] = glyph.m_textureRectangle[3] = 1;
        glyph.m_fImage = fPicture;
        glyph.m_pTexture = MakeTexture(coverage);
        return glyph;
    }
};

/** FreeType's picture of a glyph in one colour. */
Image PictureOf(FT_Bitmap const& bitmap, Shade const& shade) {
    auto const byte = [](double value) { return static_cast<std::uint8_t>(std::lround(255 * value)); };
    return MakeImage(int(bitmap.width), int(bitmap.rows), [&](int x, int y) {
        return Pixel{byte(shade.r), byte(shade.g), byte(shade.b), bitmap.buffer[y * bitmap.pitch + x]};
    });
}

TEST_F(DrawnText, GlyphsAreThePixelsThatFreeTypeMakes) {
    struct {
        int size;
        bool fHinting;
        std::u32string text;
        Shade colour;
        double opacity;
    } const cases[] = {
        {12, true, U"Quick: jagged, 0123 & more", White, 1},
        {23, false, U"\u00c5gQ|j&", {0.25, 1, 0.5, 0.7}, 0.6},
        {31, true, U"\u03a9\u0416\u10d0\u0531_", White, 0.5},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.size);
        FontSource const source(test.size);
        std::string error;
        Ref<BitmapFont> const pFont = assets::ReadBitmapFont(
            source.m_sPath, source.Options(test.text, test.fHinting), m_registry, error);
        ASSERT_TRUE(pFont) << error;
        Ref<Text> const pText = AddText(pFont.Get(), {test.text.begin(), test.text.end()}, 3, 21);
        pText->GetOpacityProperty().SetValue(RealFloat(test.opacity));
        SetColor(pText->GetColorProperty(), test.colour);
        Canvas canvas(TextWidth, TextHeight);
        int pen = 3;
        for (char32_t character : test.text) {
            FT_GlyphSlot const pSlot = source.Render(character, test.fHinting);
            canvas.Blend(pen + pSlot->bitmap_left, 21 + pSlot->bitmap_top - int(pSlot->bitmap.rows),
                         PictureOf(pSlot->bitmap, test.colour), test.colour.a * test.opacity);
            pen += static_cast<int>((pSlot->advance.x + 32) >> 6);
        }
        EXPECT_TRUE(Shows(canvas, Rounding, std::to_string(test.size)));
        Root().Detach(pText.Get());
    }
}

TEST_F(DrawnText, LettersAndPicturesStandWhereTheFontSaysOverShadowsAndAnUnderline) {
    Image const picture = MakePicture(17, 11), letter(6, 9, {255, 255, 255, 255});
    Ref<BitmapFont> const pFont = Make<BitmapFont>("Font");
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = 16;
    metrics.m_rAscent = 12;
    metrics.m_rDescent = 4;
    pFont->SetMetrics(metrics);
    ASSERT_TRUE(pFont->AddGlyph(MakeGlyph(u'a', letter, 2, -3, 8, false)));
    ASSERT_TRUE(pFont->AddGlyph(MakeGlyph(u'*', picture, 1, 4, 20, true)));
    pFont->GetUnderlineProperty().SetValue(true);
    pFont->GetUnderlinePositionProperty().SetValue(2);
    pFont->GetUnderlineThicknessProperty().SetValue(3);
    Ref<Text> const pText = AddText(pFont.Get(), u"a*a", 13, 30);
    SetColor(pText->GetColorProperty(), {1, 0, 0, 0.75});
    pText->GetOpacityProperty().SetValue(0.5f);
    pText->GetShadowProperty().SetValue(true);
    pText->GetShadowOffsetProperty().SetValue(Vector(1, 25, 0));
    SetColor(pText->GetShadowColorProperty(), {0, 1, 0, 1});
    Canvas canvas(TextWidth, TextHeight);
    canvas.Blend(13 + 8 + 1, 30 - 4, picture,
                 0.375); // keeps its colours, without shadow and underline
    for (int x : {15, 43}) {
        canvas.Blend(x, 33, 6, 9, {1, 0, 0, 0.375});
        canvas.Blend(x + 1, 58, 6, 9, {0, 1, 0, 0.375});
        canvas.Blend(x - 2, 25, 8, 3, {1, 0, 0, 0.375});
        canvas.Blend(x - 1, 50, 8, 3, {0, 1, 0, 0.375});
    }
    EXPECT_TRUE(Shows(canvas));
}

TEST_F(DrawnText, OutlinesCoverWhatTheirPicturesCover) {
    for (char32_t character : {U'g', U'&', U'\u10d0'}) {
        SCOPED_TRACE(std::uint32_t(character));
        FontSource const source(64);
        std::string error;
        Ref<PolygonalFont> const pFont =
            assets::ReadPolygonalFont(source.m_sPath, source.Options({character}, false), m_registry, error);
        ASSERT_TRUE(pFont) << error;
        Ref<Text> const pText = AddText(pFont.Get(), {char16_t(character)}, 40, 20);
        FT_GlyphSlot const pSlot = source.Render(character, false);
        Canvas canvas(TextWidth, TextHeight);
        canvas.Blend(40 + pSlot->bitmap_left, 20 + pSlot->bitmap_top - int(pSlot->bitmap.rows),
                     PictureOf(pSlot->bitmap, White));
        EXPECT_TRUE(CompareImages(DrawSupersampled(*pText, 40, 20), canvas.Picture(),
                                  {64, 1, "16 samples a pixel, lines a tenth of a pixel off the curve"},
                                  std::to_string(std::uint32_t(character))));
        Root().Detach(pText.Get());
    }
}

} // namespace
} // namespace kelvo::test
