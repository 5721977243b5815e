#include "font/BMFontReader.h"

#include "image/PngReader.h"
#include "image/TestImages.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"
#include "kelvo_test/TestNodes.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <utility>

namespace trevik::kelvo::assets::testing {
namespace {

std::string const TextFont = ReadDataAsText("font/data/text.fnt");
std::string const XmlFont = ReadDataAsText("font/data/xml.fnt");
Bytes const BinaryFont = ReadData("font/data/binary.fnt");

Bytes ToBytes(std::string const& text) {
    return Bytes(text.begin(), text.end());
}

/** The binary font, changed as numbers say: from where on, how many bytes are replaced, and by which ones. */
Bytes Patched(std::string const& patch) {
    std::istringstream numbers(patch);
    std::ptrdiff_t nOffset = 0, nLength = 0;
    numbers >> nOffset >> nLength >> std::hex;
    Bytes bytes(BinaryFont.begin(), BinaryFont.begin() + nOffset);
    for (unsigned int nByte = 0; numbers >> nByte;) {
        bytes.push_back(std::uint8_t(nByte));
    }
    bytes.insert(bytes.end(), BinaryFont.begin() + nOffset + nLength, BinaryFont.end());
    return bytes;
}

/** The binary font with a block of so many equal records but for their first four bytes, which count up. */
Bytes WithMany(std::uint8_t type, Bytes const& record, std::size_t nCount) {
    std::size_t at = 4;
    while (BinaryFont[at] != type) {
        at += 5 + BinaryFont[at + 1]; // no block of the font has more than 255 bytes
    }
    Bytes bytes(BinaryFont.begin(), BinaryFont.begin() + std::ptrdiff_t(at));
    bytes.push_back(type);
    auto const append = [&bytes](std::size_t number) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(std::uint8_t(number >> shift));
        }
    };
    append((record.size() + 4) * nCount);
    for (std::size_t n = 0; n < nCount; ++n) {
        append(n);
        bytes.insert(bytes.end(), record.begin(), record.end());
    }
    at += 5 + BinaryFont[at + 1];
    bytes.insert(bytes.end(), BinaryFont.begin() + std::ptrdiff_t(at), BinaryFont.end());
    return bytes;
}

std::string Replaced(std::string text, std::string const& from, std::string const& to) {
    std::size_t const at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return at == text.npos ? text : text.replace(at, from.size(), to);
}

/** A picture whose alpha tells its name and place, and whose brightness is something else. */
Bytes PagePng(std::string const& file) {
    Bytes pixels;
    for (int n = 0; n < 64 * 32; ++n) {
        std::uint8_t const grey = std::uint8_t(n * 5);
        pixels.insert(pixels.end(), {grey, grey, grey, std::uint8_t(n * 3 + file[0])});
    }
    return RgbaPng(64, 32, pixels);
}

bool ReadPage(std::string const& file, ImageOptions const& options, ImageData& image, Fault& fault) {
    return LoadPng(Span(PagePng(file)), file, options, image, fault);
}

Ref<BitmapFont> ReadFont(Bytes const& description, Fault& fault,
                         BMFontPageReader const& readPage = ReadPage) {
    return ReadBMFont(Span(description), "test.fnt", readPage, test::TestRegistry(), fault);
}

/** For descriptions that must be read. */
Ref<BitmapFont> MustRead(Bytes const& description) {
    Fault fault;
    Ref<BitmapFont> const pFont = ReadFont(description, fault);
    EXPECT_TRUE(pFont) << fault.GetText();
    EXPECT_EQ(fault.GetText(), "");
    return pFont;
}

std::string ReadFault(Bytes const& description) {
    Fault fault;
    EXPECT_FALSE(ReadFont(description, fault));
    EXPECT_EQ(fault.GetText().find('\n'), std::string::npos) << fault.GetText();
    return fault.GetText();
}

/** A font as text: its measures, glyphs and the kerning between these. */
std::string Describe(BitmapFont& font) {
    std::ostringstream text;
    text << font.GetXPixelsPerEm() << " x " << font.GetYPixelsPerEm() << " pixels per em, scale "
         << font.GetScaleFactorX() << ", ascent " << font.GetAscent() << ", descent " << font.GetDescent()
         << ", leading " << font.GetLeading() << ", underline " << font.GetUnderlineProperty().GetValue()
         << " at " << font.GetUnderlinePositionProperty().GetValue() << " of "
         << font.GetUnderlineThicknessProperty().GetValue() << "\n";
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        Glyph const& glyph = *font.GetGlyphAt(n);
        text << glyph.m_nCodePoint << ": " << glyph.m_nWidth << " x " << glyph.m_nHeight << " at "
             << glyph.m_nOffsetX << ", " << glyph.m_nOffsetY << ", advance " << glyph.m_nAdvance << ", mesh "
             << glyph.m_nMesh << ", image " << glyph.m_fImage;
        if (glyph.m_pTexture) {
            text << ", " << String8(glyph.m_pTexture->GetName()).GetData() << ", format "
                 << glyph.m_pTexture->GetFormat() << ", second pixel "
                 << int(glyph.m_pTexture->GetPixelData().GetBuffer().GetData()[1]) << ", rectangle";
            for (RealFloat const edge : glyph.m_textureRectangle) {
                text << " " << edge;
            }
        }
        for (unsigned int other = 0; other < font.GetGlyphCount(); ++other) {
            unsigned int const nOther = font.GetGlyphAt(other)->m_nCodePoint;
            RealFloat const distance = font.GetKerning(glyph.m_nCodePoint, nOther);
            if (distance != 0) {
                text << ", kerning before " << nOther << ": " << distance;
            }
        }
        text << "\n";
    }
    return text.str();
}

// A description that has been cut is refused, or has lost no glyph.
TEST(BMFontReader, ReadsEachFormAndLosesNoGlyphsUnnoticed) {
    for (Bytes const& whole : {ToBytes(TextFont), ToBytes(XmlFont), BinaryFont}) {
        Ref<BitmapFont> const pWhole = MustRead(whole);
        ASSERT_TRUE(pWhole);
        EXPECT_TRUE(kelvokit::test::IsGolden(KELVO_TEST_ASSETS "/font/data/font.txt", Describe(*pWhole)));
        for (std::ptrdiff_t nLength = 0; nLength < std::ptrdiff_t(whole.size()); ++nLength) {
            Fault fault;
            Ref<BitmapFont> const pFont = ReadFont(Bytes(whole.begin(), whole.begin() + nLength), fault);
            EXPECT_TRUE(pFont ? pFont->GetGlyphCount() == 4 : fault.GetText().rfind("test.fnt:", 0) == 0)
                << fault.GetText();
        }
    }
}

/** What differs between fonts that other tools write. */
std::string Summarize(BitmapFont& font) {
    std::ostringstream text;
    Glyph const* const pReplacement = font.GetGlyph(0xFFFD);
    text << font.GetGlyphCount() << " glyphs of " << font.GetXPixelsPerEm() << ", " << font.GetAscent()
         << " + " << font.GetDescent() << ", underline " << font.GetUnderlinePositionProperty().GetValue()
         << " of " << font.GetUnderlineThicknessProperty().GetValue() << ", kerning "
         << font.GetKerning(65, 103) << ", replacement " << (pReplacement ? pReplacement->m_nAdvance : 0)
         << ", "
         << String8(font.GetGlyph(65) ? font.GetGlyph(65)->m_pTexture->GetName() : String16()).GetData();
    EXPECT_EQ(font.GetGlyph(32)->m_nAdvance, 5);
    EXPECT_FALSE(font.GetGlyph(0xFFFFFFFF));
    return text.str();
}

TEST(BMFontReader, ReadsWhatOtherToolsWriteAsWell) {
    std::vector<std::pair<Bytes, std::string>> cases;
    for (TextCase const& test : ReadCases("font/data/variants.txt")) {
        std::size_t const nEnd = test.text.find('\n');
        std::string const& font = test.text[0] == '<' ? XmlFont : TextFont;
        cases.emplace_back(ToBytes(Replaced(font, test.text.substr(0, nEnd), test.text.substr(nEnd + 1))),
                           test.expected);
    }
    std::string const plain =
        "4 glyphs of 40, 18 + 6, underline 2 of 2, kerning -2, replacement 0, first.png";
    cases.emplace_back(ToBytes(std::regex_replace(TextFont, std::regex("\n"), "\r\n")), plain);
    cases.emplace_back(ToBytes("\xEF\xBB\xBF" + TextFont), plain);
    cases.emplace_back(ToBytes("\xEF\xBB\xBF" + XmlFont), plain);
    cases.emplace_back(ToBytes(TextFont.substr(0, TextFont.size() - 1)), plain);
    cases.emplace_back(ToBytes("\n\t\n" + TextFont), plain);
    cases.emplace_back(Patched("99 4 ff ff ff ff"),
                       "4 glyphs of 40, 18 + 6, underline 2 of 2, kerning -2, replacement 10, ");
    for (auto const& [description, expected] : cases) {
        Ref<BitmapFont> const pFont = MustRead(description);
        EXPECT_EQ(pFont ? Summarize(*pFont) : "no font", expected);
    }
}

TEST(BMFontReader, SaysWhatIsWrongAndWhere) {
    for (auto const& [font, errors] : {std::pair(TextFont, "text"), {XmlFont, "xml"}}) {
        for (TextCase const& test : ReadCases("font/data/" + std::string(errors) + "-errors.txt")) {
            std::size_t const nEnd = test.text.find('\n');
            std::string const changed = Replaced(font, test.text.substr(0, nEnd), test.text.substr(nEnd + 1));
            EXPECT_EQ(ReadFault(ToBytes(changed)), "test.fnt" + test.expected);
        }
    }
    for (TextCase const& test : ReadCases("font/data/binary-errors.txt")) {
        EXPECT_EQ(ReadFault(Patched(test.text)), "test.fnt" + test.expected);
    }
    std::string const sizeless =
        Replaced(Replaced(TextFont, "size=-40", "size=0"), "lineHeight=24", "lineHeight=0");
    EXPECT_EQ(ReadFault(ToBytes(sizeless)), "test.fnt:2: the font has neither a size nor a line height");
    std::string const glyphless = TextFont.substr(0, TextFont.find("chars count"));
    EXPECT_EQ(ReadFault(ToBytes(glyphless)), "test.fnt: there are no characters");
}

// The largest fonts that are allowed, and the smallest ones that are not.
TEST(BMFontReader, KeepsItsLimits) {
    Bytes const glyph = {0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 15};
    Ref<BitmapFont> const pLarge = MustRead(WithMany(4, glyph, 65536));
    ASSERT_TRUE(pLarge);
    EXPECT_EQ(pLarge->GetGlyphCount(), 65536u);
    EXPECT_TRUE(IsMessage(ReadFault(WithMany(4, glyph, 65537)), "*more than 65536 characters*"));

    Bytes const kerning = {65, 0, 0, 0, 7, 0};
    Ref<BitmapFont> const pKerned = MustRead(WithMany(5, kerning, 1 << 20));
    ASSERT_TRUE(pKerned);
    EXPECT_EQ(pKerned->GetKerning(0xFFFFF, 65), 7);
    EXPECT_TRUE(IsMessage(ReadFault(WithMany(5, kerning, (1 << 20) + 1)), "*more than 1048576 kerning*"));
    EXPECT_EQ(ReadFault(Bytes((16 << 20) + 1, '\n')),
              "test.fnt: has 16777217 bytes, more than the 16777216 allowed");
}

TEST(BMFontReader, TakesTheShapesFromAlphaOrBrightness) {
    std::uint8_t const grey = 2 * 5;
    std::uint8_t const alpha = 2 * 3 + 'f';
    Bytes rgb;
    for (int n = 0; n < 64 * 32; ++n) {
        rgb.insert(rgb.end(), 3, std::uint8_t(n * 5));
    }
    struct {
        char const* description;
        bool fAlphaInFile;
        std::uint8_t expected;
    } const cases[] = {
        {"alphaChnl=0", true, alpha}, {"alphaChnl=1", true, alpha}, {"alphaChnl=4", true, grey},
        {"alphaChnl=3", true, grey},  {"alphaChnl=1", false, grey}, {"alphaChnl=4", false, grey},
    };
    for (auto const& test : cases) {
        auto const readPage = [&](std::string const& file, auto const& options, auto& image, auto& fault) {
            Bytes const png = test.fAlphaInFile ? PagePng(file) : RgbPng(64, 32, rgb);
            return LoadPng(Span(png), file, options, image, fault);
        };
        Fault fault;
        Ref<BitmapFont> const pFont =
            ReadFont(ToBytes(Replaced(TextFont, "alphaChnl=0", test.description)), fault, readPage);
        ASSERT_TRUE(pFont) << fault.GetText();
        Texture& texture = *pFont->GetGlyph(65)->m_pTexture;
        EXPECT_EQ(texture.GetFormat(), TextureFormat::Alpha8);
        EXPECT_EQ(texture.GetPixelData().GetBuffer().GetSize(), 64u * 32);
        EXPECT_EQ(texture.GetPixelData().GetBuffer().GetData()[2], test.expected) << test.description;
    }
}

TEST(BMFontReader, ReadsAPictureOfSeveralPagesOnce) {
    int nReads = 0;
    auto const readPage = [&nReads](auto&&... page) { return ++nReads, ReadPage(page...); };
    Fault fault;
    Ref<BitmapFont> const pFont =
        ReadFont(ToBytes(Replaced(TextFont, "second.png", "first.png")), fault, readPage);
    ASSERT_TRUE(pFont) << fault.GetText();
    EXPECT_EQ(nReads, 1);
    EXPECT_EQ(pFont->GetGlyph(65)->m_pTexture.Get(), pFont->GetGlyph(103)->m_pTexture.Get());
}

TEST(BMFontReader, FindsPagesBesideTheDescription) {
    TemporaryFolder const folder;
    folder.Write("test.fnt", ToBytes(TextFont));
    folder.Write("first.png", PagePng("first.png"));
    folder.Write("small.png", RgbPng(1, 2, Bytes(6)));
    test::TestRegistry const registry;
    std::string const path = folder.Path("test.fnt");
    Fault fault;
    EXPECT_FALSE(ReadBMFont(path, registry, fault));
    EXPECT_EQ(fault.GetText(),
              path + ":4: " + folder.Path("second.png") + ": cannot be opened: No such file or directory");

    folder.Write("second.png", RgbPng(63, 32, Bytes(63 * 32 * 3)));
    EXPECT_FALSE(ReadBMFont(path, registry, fault));
    EXPECT_EQ(fault.GetText(),
              path + ":4: second.png has 63 x 32 pixels; the font says its pages have 64 x 32");

    folder.Write("second.png", PagePng("second.png"));
    Ref<BitmapFont> const pFont = ReadBMFont(path, registry, fault);
    ASSERT_TRUE(pFont) << fault.GetText();
    EXPECT_TRUE(kelvokit::test::IsGolden(KELVO_TEST_ASSETS "/font/data/font.txt", Describe(*pFont)));

    EXPECT_FALSE(ReadBMFont(folder.Path("none.fnt"), registry, fault));
    EXPECT_EQ(fault.GetText(), folder.Path("none.fnt") + ": cannot be opened: No such file or directory");
}

TEST(BMFontReader, NeedsTheClassesOfABackEnd) {
    Fault fault;
    ClassRegistry registry;
    EXPECT_FALSE(ReadBMFont(Span(ToBytes(TextFont)), "test.fnt", ReadPage, registry, fault));
    EXPECT_NE(fault.GetText().find("no class \"Font\""), std::string::npos);
    registry.AddClassContainer(new ClassContainerT<test::TestFont>(HashName("Font")));
    EXPECT_FALSE(ReadBMFont(Span(ToBytes(TextFont)), "test.fnt", ReadPage, registry, fault));
    EXPECT_NE(fault.GetText().find("no class \"Texture\""), std::string::npos);
}

} // namespace
} // namespace trevik::kelvo::assets::testing
