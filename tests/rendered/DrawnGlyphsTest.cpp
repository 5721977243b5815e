// Glyphs that are made of a font's file while texts are on the screen.

#include "font/FontFile.h"
#include "kelvo_test/Stage.h"
#include "trevik/kelvo/Text.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;

constexpr char const* SansPath = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

class DrawnGlyphs : public Stage {
protected:
    void SetUp() override { Open(DeviceFormat::RGBA8888, 149, 83); }

    /** A text at the baseline in a new font with these characters and a blank one. */
    Ref<Text> AddText(bool fOutlines, char16_t const* pCharacters) {
        assets::FontOptions options;
        options.pixelsPerEm = 40;
        options.codePoints = {' '};
        for (; *pCharacters; ++pCharacters) {
            options.codePoints.push_back(*pCharacters);
        }
        trevik::kelvo::Fault fault;
        Ref<Font> pFont;
        if (fOutlines) {
            pFont = assets::ReadPolygonalFont(SansPath, options, m_registry, fault);
        } else {
            pFont = assets::ReadBitmapFont(SansPath, options, m_registry, fault);
        }
        EXPECT_TRUE(pFont) << fault.GetText();
        Ref<Text> const pText = Make<Text>("Text");
        pText->SetFont(pFont.Get());
        pText->GetVerticalAlignmentProperty().SetValue(VerticalAlignment::Baseline);
        pText->GetPositionProperty().SetValue(Vector(7, 20, 0));
        Root().Attach(pText.Get());
        return pText;
    }
};

TEST_F(DrawnGlyphs, LookAsIfTheyHadBeenThereFromTheStart) {
    for (bool const fOutlines : {false, true}) {
        Ref<Text> const pWhole = AddText(fOutlines, u"ÄWЖé");
        std::vector<Image> expected;
        for (char16_t const* pText : {u"Ä", u"ÄWЖ", u"éWÄ"}) { // a new page, more on it, more again
            pWhole->GetTextProperty().SetValue(pText);
            expected.push_back(DrawFrame());
        }
        Root().Detach(pWhole.Get());
        Ref<Text> const pGrowing = AddText(fOutlines, u"x");
        pGrowing->GetTextProperty().SetValue(u"x");
        Image const first = DrawFrame();
        std::size_t n = 0;
        for (char16_t const* pText : {u"Ä", u"ÄWЖ", u"éWÄ"}) {
            pGrowing->GetTextProperty().SetValue(pText);
            Image const drawn = DrawFrame();
            EXPECT_TRUE(CompareImages(drawn, expected[n], Tolerance{0, 0, "the same calls"},
                                      "glyphs-" + std::to_string(fOutlines) + std::to_string(n)));
            EXPECT_FALSE(drawn == first);
            ++n;
        }
        Root().Detach(pGrowing.Get());
    }
}

} // namespace
} // namespace kelvokit::test
