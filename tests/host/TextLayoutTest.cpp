#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Table.h"
#include "TextTestSupport.h"

namespace trevik::kelvo::test {
namespace {

/** Sets what a layout depends on by name, as the table of layouts has it. */
void Set(SquareText& words, std::string const& sName, RealFloat r) {
    TestText& text = *words.m_pText;
    SquareFont& font = *words.m_pFont;
    FontMetrics metrics = font.GetMetrics();
    SizeT<RealFloat> box = text.GetBoxProperty().GetValue();
    SizeT<RealFloat> size = text.GetFontSizeProperty().GetValue();
    RealProperty* const reals[] = {&text.GetLineSpacingProperty(), &text.GetLetterSpacingProperty(),
                                   &text.GetTabWidthProperty()};
    RealFloat* const fields[] = {&box.width,
                                 &box.height,
                                 &size.width,
                                 &size.height,
                                 &metrics.m_rLeading,
                                 &metrics.m_rScaleFactorX,
                                 &metrics.m_rScaleFactorY};
    char const* const names[] = {"line",  "letter", "tab",     "width",  "height",
                                 "sizeX", "sizeY",  "leading", "scaleX", "scaleY"};
    for (std::size_t n = 0; n < 10; ++n) {
        if (sName == names[n]) {
            n < 3 ? reals[n]->SetValue(r) : void(*fields[n - 3] = r);
            font.SetMetrics(metrics);
            text.GetBoxProperty().SetValue(box);
            text.GetFontSizeProperty().SetValue(size);
            return;
        }
    }
    Glyph blank = SquareFont::MakeSquare(' ');
    blank.m_nWidth = 0;
    blank.m_nHeight = 0;
    Glyph large = SquareFont::MakeSquare('c');
    large.m_nWidth = 100;
    large.m_nHeight = 50;
    large.m_nOffsetX = -7;
    large.m_nOffsetY = 11;
    sName == "horizontal"  ? text.GetHorizontalAlignmentProperty().SetValue(static_cast<int>(r))
    : sName == "vertical"  ? text.GetVerticalAlignmentProperty().SetValue(static_cast<int>(r))
    : sName == "wrap"      ? text.GetWordWrapProperty().SetValue(r != 0)
    : sName == "kerning"   ? text.GetKerningProperty().SetValue(r != 0)
    : sName == "underline" ? font.GetUnderlineProperty().SetValue(r != 0)
    : sName == "blanks"    ? void(font.AddGlyph(blank))
    : sName == "unseen"    ? void(font.AddGlyph(SquareFont::MakeSquare('-')))
    : sName == "large"     ? font.Add(large)
    : sName == "sign"      ? font.Add(static_cast<unsigned int>(r))
                           : void(ADD_FAILURE() << sName);
}

/** Besides ASCII: what East Asian texts need, a mark, kerning, letters on other pages, pictures. */
void Furnish(SquareFont& font) {
    for (char32_t codePoint : U"\u00a0\u202f\u2013\u2014äöα日本語文字ひらがなゃッー、。「」（）！한국어"
                              U"\U00020000\U00020001\U0001F600") {
        if (codePoint != 0) {
            font.Add(codePoint);
        }
    }
    font.Add(SquareFont::MakeSquare(0x301, 0));
    font.SetKerning('A', 'V', -3);
    font.SetKerning('V', 'A', 2);
    for (char letter : {'x', 'y', 'z', ':', ';'}) {
        Glyph glyph = SquareFont::MakeSquare(static_cast<unsigned int>(letter));
        glyph.m_fImage = letter == ':' || letter == ';';
        font.Add(glyph, letter == ':' ? 0 : letter == 'z' ? 2 : 1);
    }
}

/** Text with "\n", "\t", "\\" and units in hexadecimal: "\x200b". */
String16 Unescape(std::string const& sText) {
    String16 const sSource = String8(sText.c_str());
    String16 sUnescaped;
    for (unsigned int n = 0; n < sSource.GetLength(); ++n) {
        char16_t unit = sSource.GetData()[n];
        if (unit == u'\\') {
            char16_t const kind = sSource.GetData()[++n];
            unit = kind == u'n' ? u'\n' : kind == u't' ? u'\t' : u'\\';
            if (kind == u'x') {
                String8 const sDigits(sSource.GetPart(n + 1, 4));
                unit = static_cast<char16_t>(std::strtoul(sDigits.GetData(), nullptr, 16));
                n += 4;
            }
        }
        sUnescaped.Append(&unit, 1);
    }
    return sUnescaped;
}

void Put(std::ostream& out, char32_t codePoint) {
    char units[4];
    int nLength = 0;
    UTF8Encoding::PutNextChar(units, nLength, 4, static_cast<int>(codePoint));
    out.write(units, nLength);
}

/** What a text is laid out as: its bounds, its lines with their glyphs' pens, and its batches. */
std::string Describe(SquareText& words) {
    std::ostringstream out;
    RectangleT<RealFloat> const bounds = words.GetRectangle();
    out << "  bounds " << bounds.left << " " << bounds.top << " " << bounds.right << " " << bounds.bottom
        << ", lines " << words.m_pText->GetLineCount() << ", batches";
    for (GlyphBatch const& batch : words.m_pText->GetBatches()) {
        out << " " << batch.m_nFirst << "[";
        for (unsigned int n = batch.m_nFirst; n < batch.m_nFirst + batch.m_nCount; ++n) {
            Put(out, words.m_pText->GetInstances()[n].m_pGlyph->m_nCodePoint);
        }
        out << "]";
    }
    RealFloat rBaseline = std::numeric_limits<RealFloat>::infinity();
    for (SquareText::Placed const& glyph : words.GetPlaced()) {
        if (glyph.m_rBaseline != rBaseline) {
            rBaseline = glyph.m_rBaseline;
            out << "\n  at " << rBaseline << ":";
        }
        out << " ";
        Put(out, glyph.m_codePoint);
        out << glyph.m_rPen;
    }
    return out.str() + "\n";
}

/** Each input is "text" name=value ...; it gives the layout that follows from it. */
TEST(TextLayout, TextsAreLaidOutAsTheTableSays) {
    CompareTable("layouts.txt", [](std::string const& sInput) {
        std::size_t const nEnd = sInput.rfind('"');
        SquareText words(Unescape(sInput.substr(1, nEnd - 1)));
        Furnish(*words.m_pFont);
        std::istringstream settings(sInput.substr(nEnd + 1));
        for (std::string setting; settings >> setting;) {
            auto const [sName, r] = SplitSetting(setting);
            Set(words, sName, r);
        }
        return Describe(words);
    });
}

TEST(TextLayout, ABoxAsWideAsTheTextTakesIt) {
    // Font pixels and node units are worlds apart, so that the width is rounded on its way there and back.
    for (int nSize = 1; nSize < 200; ++nSize) {
        RealFloat const rFontSize = static_cast<RealFloat>(nSize) / 7;
        SquareText text(u"words to be measured and then to be laid out now");
        text.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(rFontSize, rFontSize));
        RealFloat const rWidth = text.GetRectangle().GetWidth();
        text.SetBox(rWidth);
        text.m_pText->UpdateLayout();
        EXPECT_EQ(text.m_pText->GetLineCount(), 1u) << rFontSize;
        text.SetBox(rWidth * RealFloat(0.995));
        text.m_pText->UpdateLayout();
        EXPECT_EQ(text.m_pText->GetLineCount(), 2u) << rFontSize;
    }
}

TEST(TextLayout, TabsGoOnHoweverTheirWidthIsRounded) {
    for (int nWidth = 1; nWidth < 200; ++nWidth) {
        RealFloat const rWidth = static_cast<RealFloat>(nWidth) / 7 + 1;
        SquareText text(u"\t\t\t\t\t\t\t\t\t\t\t\ta");
        text.m_pText->GetTabWidthProperty().SetValue(rWidth);
        EXPECT_NEAR(text.GetPens().at(0), 12 * rWidth, 0.51);
    }
    SquareText text(u"a\tb");
    text.m_pText->GetTabWidthProperty().SetValue(RealFloat(1e-40));
    EXPECT_EQ(text.GetPens(), (std::vector<RealFloat>{0, 10}));
}

TEST(TextLayout, HasRoomForAsManyPagesAsThereAreGlyphs) {
    SquareText text;
    String16 sText;
    for (unsigned int n = 0; n < 300; ++n) {
        text.m_pFont->Add(SquareFont::MakeSquare(0x4e00 + n), n);
        char16_t const letter = static_cast<char16_t>(0x4e00 + n);
        sText.Append(&letter, 1);
    }
    String16 const sOnce = sText;
    sText.Append(sOnce.GetData(), sOnce.GetLength());
    text.m_pText->GetTextProperty().SetValue(sText);
    for (int nTime = 0; nTime < 2; ++nTime) {
        text.m_pText->UpdateLayout();
        List<GlyphBatch> const& batches = text.m_pText->GetBatches();
        ASSERT_EQ(batches.GetCount(), 300u);
        for (unsigned int n = 0; n < 300; ++n) {
            EXPECT_EQ(batches[n].m_nCount, 2u);
            EXPECT_EQ(text.m_pText->GetInstances()[batches[n].m_nFirst + 1].m_pGlyph->m_nCodePoint,
                      0x4e00 + n);
        }
        text.m_pText->GetLetterSpacingProperty().SetValue(1);
    }
}

TEST(TextLayout, NumbersThatAreNoneDoNotGetIn) {
    for (RealFloat rBad :
         {std::nanf(""), std::numeric_limits<RealFloat>::infinity(),
          -std::numeric_limits<RealFloat>::infinity(), RealFloat(3e38), RealFloat(-3e38), RealFloat(1e-44)}) {
        SquareText text(u"ab\tcd ef\ngh");
        text.SetBox(rBad, rBad);
        text.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(rBad, rBad));
        text.m_pText->GetLetterSpacingProperty().SetValue(rBad);
        text.m_pText->GetLineSpacingProperty().SetValue(rBad);
        text.m_pText->GetTabWidthProperty().SetValue(rBad);
        FontMetrics metrics;
        metrics.m_rXPixelsPerEm = rBad;
        metrics.m_rAscent = rBad;
        metrics.m_rDescent = rBad;
        metrics.m_rScaleFactorX = rBad;
        for (bool fMetrics : {false, true}) {
            if (fMetrics) {
                text.m_pFont->SetMetrics(metrics);
            }
            for (int nAlignment = 0; nAlignment < 4; ++nAlignment) {
                text.m_pText->GetHorizontalAlignmentProperty().SetValue(nAlignment);
                text.m_pText->GetVerticalAlignmentProperty().SetValue(nAlignment);
                for (SquareText::Placed const& glyph : text.GetPlaced()) {
                    EXPECT_TRUE(std::isfinite(glyph.m_rPen)) << rBad;
                    EXPECT_TRUE(std::isfinite(glyph.m_rBaseline)) << rBad;
                }
            }
        }
    }
}

} // namespace
} // namespace trevik::kelvo::test
