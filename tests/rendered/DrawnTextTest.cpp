// Texts as a person sees them.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/Text.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::ColorT;
using trevik::SizeT;

constexpr int TextWidth = 149;
constexpr int TextHeight = 83;

class DrawnText : public Stage {
protected:
    void SetUp() override { Open(DeviceFormat::RGBA8888, TextWidth, TextHeight); }

    static void SetColor(ColorProperty& property, Shade const& shade) {
        property.SetValue(ColorT<RealFloat>(RealFloat(shade.r), RealFloat(shade.g), RealFloat(shade.b),
                                            RealFloat(shade.a)));
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
    Ref<Text> const pText = Make<Text>("Text");
    pText->SetFont(pFont.Get());
    pText->GetTextProperty().SetValue(u"a*a");
    pText->GetVerticalAlignmentProperty().SetValue(VerticalAlignment::Baseline);
    pText->GetPositionProperty().SetValue(Vector(13, 30, 0));
    Root().Attach(pText.Get());
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

} // namespace
} // namespace kelvokit::test
