#include "Table.h"
#include "TextTestSupport.h"
#include "kelvo_test/TestFonts.h"

#include <gtest/gtest.h>

#include <limits>

namespace trevik::kelvo::test {
namespace {

/** Notes where it draws its meshes. */
class MeshFont : public TestOutlines {
public:
    void RenderGlyph(GraphicsDevice& device, Glyph const* pGlyph, Vector2 const& position,
                     ColorT<RealFloat> const* pColor) override {
        std::string const note =
            "mesh " + std::to_string(pGlyph->m_nMesh) + ToText(" at", Vector3(position.x, position.y, 0)) +
            ToText(" colour", *pColor) +
            ToText(" (1, 2, 0) to", Apply(device.GetTransformMatrix(), Vector3(1, 2, 0)));
        static_cast<TestDevice&>(device).Note(note.c_str());
    }
};

/** Sets what no property of a text does. */
void Set(SquareText& words, Font& font, Setting const& setting) {
    Glyph glyph = SquareFont::MakeSquare(static_cast<unsigned int>(setting.GetFirst()));
    if (setting.m_sName == "measures") { // leading, scale factors
        FontMetrics metrics = font.GetMetrics();
        metrics.m_rLeading = setting.m_values.at(0);
        metrics.m_rScaleFactorX = setting.m_values.at(1);
        metrics.m_rScaleFactorY = setting.m_values.at(2);
        font.SetMetrics(metrics);
    } else if (setting.m_sName == "all-measures") {
        RealFloat const r = setting.GetFirst();
        font.SetMetrics(FontMetrics{r, r, r, r, r, r, r});
    } else if (setting.m_sName == "glyph") { // code point, size, offsets, whether it has a texture
        glyph.m_nWidth = static_cast<unsigned short>(setting.m_values.at(1));
        glyph.m_nHeight = static_cast<unsigned short>(setting.m_values.at(2));
        glyph.m_nOffsetX = static_cast<short>(setting.m_values.at(3));
        glyph.m_nOffsetY = static_cast<short>(setting.m_values.at(4));
        glyph.m_pTexture = setting.m_values.at(5) != 0 ? words.m_pFont->GetPage() : nullptr;
        font.AddGlyph(glyph);
    } else if (setting.m_sName == "sign") {
        words.m_pFont->Add(glyph);
    } else if (setting.m_sName == "underline") {
        font.GetUnderlineProperty().SetValue(true);
    } else if (setting.m_sName == "highlight") {
        words.m_device.SetHighlight(true, ColorT<RealFloat>(1, RealFloat(0.5), 0, RealFloat(0.5)));
    } else {
        EXPECT_TRUE(setting.m_sName == "draw" || setting.m_sName == "meshes") << setting.m_sName;
    }
}

/** Draws a text beneath a transform; what its fonts are told. */
std::string Draw(SquareText& words) {
    std::string drawn;
    Matrix const outer = Matrix4Translation(Vector3(100, 200, 300));
    words.m_device.m_projection = Matrix4Scale(Vector3(RealFloat(0.5), RealFloat(0.25), 1));
    words.m_device.PushTransformMatrix(outer);
    words.m_pText->Update(words.m_device, 0);
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_device.GetTransformMatrix(), outer) << "as it was";
    for (std::string const& call : words.m_device.m_calls) {
        drawn += "  " + call + "\n";
    }
    return drawn;
}

/** Besides ASCII: what East Asian texts need, a mark, kerning, letters on other pages, pictures. */
void Furnish(SquareFont& font) {
    for (char32_t codePoint : U"\u00a0\u202f\u2013\u2014äöα日本語文字ひらがなゃッー、。「」（）！한국어"
                              U"\U00020000\U00020001\U0001F600") {
        if (codePoint != 0) {
            font.Add(SquareFont::MakeSquare(codePoint));
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

/** Each input is "text" name=value ...; it gives the layout that follows from it and, if so told, drawings.
 */
TEST(TextLayout, TextsAreLaidOutAndDrawnAsTheTableSays) {
    CompareTable("text/layouts.txt", [](std::string const& sInput) {
        std::size_t const nEnd = sInput.rfind('"');
        SquareText words(Unescape(sInput.substr(1, nEnd - 1)));
        Furnish(*words.m_pFont);
        Ref<MeshFont> const pMeshes(new MeshFont);
        pMeshes->SetMetrics(words.m_pFont->GetMetrics());
        for (short nMesh = -1; nMesh < 2; ++nMesh) { // the space has none
            Glyph glyph = SquareFont::MakeSquare(static_cast<unsigned int>(" ab"[nMesh + 1]));
            glyph.m_nOffsetX = static_cast<short>(3 * nMesh);
            glyph.m_nMesh = nMesh;
            pMeshes->AddGlyph(glyph);
        }
        bool const fMeshes = sInput.find(" meshes") != std::string::npos;
        if (fMeshes) {
            words.m_pText->SetFont(pMeshes.Get());
        }
        std::istringstream settings(sInput.substr(nEnd + 1));
        for (std::string text; settings >> text;) {
            Setting const setting(text);
            if (!setting.Apply(words.m_pText->GetProperties())) {
                Set(words, *words.m_pText->GetFont(), setting);
            }
        }
        std::string const layout = Describe(words);
        return sInput.find(" draw") == std::string::npos ? layout : layout + Draw(words);
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
        EXPECT_NEAR(text.GetPlaced().at(0).m_rPen, 12 * rWidth, 0.51);
    }
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

} // namespace
} // namespace trevik::kelvo::test
