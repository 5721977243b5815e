#include "BMFontReader.h"

#include "../host/TestNodes.h"
#include "PngReader.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <utility>

namespace trevik::kelvo::assets::testing {
namespace {

constexpr char const* TextFont =
    R"(info face="Sans "7Serif" size=-40 bold=0 italic=0 charset="" unicode=1 aa=1 padding=0,0,0,0 outline=0
common lineHeight=24 base=18 scaleW=64 scaleH=32 pages=2 packed=0 alphaChnl=0 redChnl=4 greenChnl=4 blueChnl=4
page id=0 file="first.png"
page id=1 file="second.png"
chars count=4
char id=32     x=0  y=0  width=0  height=0  xoffset=0  yoffset=18 xadvance=5  page=0 chnl=15
char id=65     x=16 y=4  width=11 height=14 xoffset=-1 yoffset=4  xadvance=10 page=0 chnl=15
char id=103    x=40 y=16 width=9  height=13 xoffset=1  yoffset=9  xadvance=-3 page=1 chnl=15
char id=128512 x=48 y=8  width=16 height=24 xoffset=0  yoffset=-2 xadvance=17 page=1 chnl=15
kernings count=2
kerning first=65 second=103 amount=-2
kerning first=103 second=65 amount=3
)";

constexpr char const* XmlFont = R"(<?xml version="1.0"?>
<font>
  <info face="Sans &quot;7Serif" size="-40" bold="0" italic="0" charset="" unicode="1" aa="1"/>
  <common lineHeight="24" base="18" scaleW="64" scaleH="32" pages="2" packed="0" alphaChnl="0"/>
  <pages>
    <page id="0" file="first.png"/>
    <page id="1" file="second.png"/>
  </pages>
  <chars count="4">
    <char id="32" x="0" y="0" width="0" height="0" xoffset="0" yoffset="18" xadvance="5" page="0" chnl="15"/>
    <char id="65" x="16" y="4" width="11" height="14" xoffset="-1" yoffset="4" xadvance="10" page="0" chnl="15"/>
    <char id="103" x="40" y="16" width="9" height="13" xoffset="1" yoffset="9" xadvance="-3" page="1" chnl="15"/>
    <char id="128512" x="48" y="8" width="16" height="24" xoffset="0" yoffset="-2" xadvance="17" page="1" chnl="15"/>
  </chars>
  <kernings count="2">
    <kerning first="65" second="103" amount="-2"/>
    <kerning first="103" second="65" amount="3"/>
  </kernings>
</font>
)";

Bytes ToBytes(std::string const& text) {
    return Bytes(text.begin(), text.end());
}

/** Numbers of given sizes, little end first. */
Bytes Pack(std::initializer_list<std::pair<int, long long>> numbers) {
    Bytes bytes;
    for (auto const& [size, number] : numbers) {
        for (int n = 0; n < size; ++n) {
            bytes.push_back(std::uint8_t(number >> (8 * n)));
        }
    }
    return bytes;
}

Bytes Join(std::vector<Bytes> const& parts) {
    Bytes bytes;
    for (Bytes const& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

Bytes Block(int type, Bytes const& content) {
    return Join({Pack({{1, type}, {4, static_cast<long long>(content.size())}}), content});
}

Bytes PackChar(long long id, std::initializer_list<int> rectangle, std::initializer_list<int> distances,
               int page, int channels = 15) {
    Bytes bytes = Pack({{4, id}});
    for (int number : rectangle) {
        bytes = Join({bytes, Pack({{2, number}})});
    }
    for (int number : distances) {
        bytes = Join({bytes, Pack({{2, number}})});
    }
    return Join({bytes, Pack({{1, page}, {1, channels}})});
}

/** The blocks of a binary font, by their types; 0 is the beginning of the file. */
std::vector<Bytes> BinaryBlocks() {
    return {
        ToBytes("BMF\3"),
        Block(1, Join({Pack({{2, -40}, {1, 0x40}, {1, 0}, {2, 100}, {1, 1}, {4, 0}, {2, 0x101}, {1, 0}}),
                       ToBytes("Sans"), Bytes{0}})),
        Block(2, Pack({{2, 24}, {2, 18}, {2, 64}, {2, 32}, {2, 2}, {1, 0}, {1, 0}, {1, 4}, {1, 4}, {1, 4}})),
        Block(3, Join({ToBytes("first.png"), Bytes{0}, ToBytes("second.png"), Bytes{0}})),
        Block(4,
              Join({PackChar(32, {0, 0, 0, 0}, {0, 18, 5}, 0), PackChar(65, {16, 4, 11, 14}, {-1, 4, 10}, 0),
                    PackChar(103, {40, 16, 9, 13}, {1, 9, -3}, 1),
                    PackChar(128512, {48, 8, 16, 24}, {0, -2, 17}, 1)})),
        Block(5, Pack({{4, 65}, {4, 103}, {2, -2}, {4, 103}, {4, 65}, {2, 3}})),
    };
}

/** The same with another block in place of one of them. */
Bytes BinaryWith(std::size_t which, Bytes const& block) {
    std::vector<Bytes> blocks = BinaryBlocks();
    blocks[which] = block;
    return Join(blocks);
}

std::string Replaced(std::string text, std::string const& from, std::string const& to) {
    std::size_t const at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return at == text.npos ? text : text.replace(at, from.size(), to);
}

void RegisterClasses(ClassRegistry& registry) {
    registry.AddClassContainer(new ClassContainerT<test::TestFont>(HashName("Font")));
    registry.AddClassContainer(new ClassContainerT<test::TestTexture>(HashName("Texture")));
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

bool ReadPage(std::string const& file, ImageOptions const& options, ImageData& image, std::string& error) {
    return LoadPng(Span(PagePng(file)), file, options, image, error);
}

Ref<BitmapFont> ReadFont(Bytes const& description, std::string& error,
                         BMFontPageReader const& readPage = ReadPage) {
    ClassRegistry registry;
    RegisterClasses(registry);
    return ReadBMFont(Span(description), "test.fnt", readPage, registry, error);
}

/** For descriptions that must be read. */
Ref<BitmapFont> MustRead(Bytes const& description) {
    std::string error;
    Ref<BitmapFont> const pFont = ReadFont(description, error);
    EXPECT_TRUE(pFont) << error;
    EXPECT_EQ(error, "");
    return pFont;
}

std::string ReadFault(Bytes const& description) {
    std::string error;
    EXPECT_FALSE(ReadFont(description, error));
    EXPECT_EQ(error.find('\n'), error.npos) << error;
    return error;
}

struct ExpectedGlyph {
    unsigned int nCodePoint;
    int nWidth, nHeight, nOffsetX, nOffsetY, nAdvance;
    char page; ///< first letter of its file; 0 for none
    RealFloat rectangle[4];
};

void ExpectGlyph(BitmapFont const& font, ExpectedGlyph const& expected) {
    SCOPED_TRACE(expected.nCodePoint);
    Glyph const* const pGlyph = font.GetGlyph(expected.nCodePoint);
    ASSERT_TRUE(pGlyph);
    EXPECT_EQ(pGlyph->m_nWidth, expected.nWidth);
    EXPECT_EQ(pGlyph->m_nHeight, expected.nHeight);
    EXPECT_EQ(pGlyph->m_nOffsetX, expected.nOffsetX);
    EXPECT_EQ(pGlyph->m_nOffsetY, expected.nOffsetY);
    EXPECT_EQ(pGlyph->m_nAdvance, expected.nAdvance);
    EXPECT_EQ(pGlyph->m_nMesh, -1);
    EXPECT_FALSE(pGlyph->m_fImage);
    ASSERT_EQ(static_cast<bool>(pGlyph->m_pTexture), expected.page != 0);
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(pGlyph->m_textureRectangle[n], expected.rectangle[n]) << n;
    }
    if (pGlyph->m_pTexture) {
        EXPECT_EQ(String8(pGlyph->m_pTexture->GetName()).GetData()[0], expected.page);
        EXPECT_EQ(pGlyph->m_pTexture->GetFormat(), TextureFormat::Alpha8);
        EXPECT_EQ(pGlyph->m_pTexture->GetPixelData().GetBuffer().GetData()[1],
                  std::uint8_t(3 + expected.page));
    }
}

class BMFontForm : public ::testing::TestWithParam<char const*> {
protected:
    static Bytes GetFont() {
        std::string const form = GetParam();
        return form == "Text" ? ToBytes(TextFont) : form == "Xml" ? ToBytes(XmlFont) : Join(BinaryBlocks());
    }
};

TEST_P(BMFontForm, GivesGlyphsKerningAndMeasures) {
    Ref<BitmapFont> const pFont = MustRead(GetFont());
    ASSERT_TRUE(pFont);
    EXPECT_EQ(pFont->GetXPixelsPerEm(), 40);
    EXPECT_EQ(pFont->GetYPixelsPerEm(), 40);
    EXPECT_EQ(pFont->GetScaleFactorX(), 1);
    EXPECT_EQ(pFont->GetAscent(), 18);
    EXPECT_EQ(pFont->GetDescent(), 6);
    EXPECT_EQ(pFont->GetLeading(), 0);
    EXPECT_FALSE(pFont->GetUnderlineProperty().GetValue());
    EXPECT_EQ(pFont->GetUnderlinePositionProperty().GetValue(), 2);
    EXPECT_EQ(pFont->GetUnderlineThicknessProperty().GetValue(), 2);

    EXPECT_EQ(pFont->GetGlyphCount(), 4u);
    ExpectGlyph(*pFont, {32, 0, 0, 0, 0, 5, 0, {0, 0, 0, 0}});
    ExpectGlyph(*pFont, {65, 11, 14, -1, 0, 10, 'f', {4 / 32.f, 16 / 64.f, 18 / 32.f, 27 / 64.f}});
    ExpectGlyph(*pFont, {103, 9, 13, 1, 4, -3, 's', {16 / 32.f, 40 / 64.f, 29 / 32.f, 49 / 64.f}});
    ExpectGlyph(*pFont, {128512, 16, 24, 0, 4, 17, 's', {8 / 32.f, 48 / 64.f, 1, 1}});
    EXPECT_EQ(pFont->GetKerning(65, 103), -2);
    EXPECT_EQ(pFont->GetKerning(103, 65), 3);
    EXPECT_EQ(pFont->GetKerning(65, 65), 0);
}

// A description that has been cut is refused, or has lost no glyph.
TEST_P(BMFontForm, LosesNoGlyphsUnnoticed) {
    Bytes const whole = GetFont();
    for (std::size_t nLength = 0; nLength < whole.size(); ++nLength) {
        std::string error;
        Ref<BitmapFont> const pFont =
            ReadFont(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(nLength)), error);
        if (pFont) {
            EXPECT_EQ(pFont->GetGlyphCount(), 4u) << nLength;
        } else {
            EXPECT_EQ(error.rfind("test.fnt:", 0), 0u) << error;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, BMFontForm, ::testing::Values("Text", "Xml", "Binary"),
                         [](auto const& info) { return std::string(info.param); });

TEST(BMFontReader, ReadsWhatOtherToolsWriteAsWell) {
    std::string const text = TextFont;
    std::string const xml = XmlFont;
    std::string dosLines;
    for (char const letter : text) {
        dosLines += letter == '\n' ? "\r\n" : std::string(1, letter);
    }
    std::pair<char const*, std::string> const cases[] = {
        {"line ends of two characters", dosLines},
        {"a byte order mark", "\xEF\xBB\xBF" + text},
        {"a byte order mark and XML", "\xEF\xBB\xBF" + xml},
        {"no last line end", text.substr(0, text.size() - 1)},
        {"empty lines and tabs", "\n\t\n" + Replaced(text, "page id=0", "\tpage\tid=0")},
        {"letters beside the numbers",
         Replaced(text, "page=0 chnl=15\nchar id=65", "chnl=0 letter=\"\"\"\nchar id=65")},
        {"unknown lines", Replaced(text, "chars count", "metrics ascent=12.5\nchars count")},
        {"uncounted kerning", Replaced(text, "kernings count=2", "kernings count=-1")},
        {"nothing counted", Replaced(Replaced(text, "kernings count=2\n", ""), "chars count=4\n", "")},
        {"file names without quotes", Replaced(text, "\"first.png\"", "first.png")},
        {"a kerning pair twice",
         Replaced(text, "kernings count=2\n", "kernings count=3\nkerning first=65 second=103 amount=-2\n")},
        {"comments", Replaced(xml, "<pages>", "<!-- here they come --><pages>")},
    };
    for (auto const& [what, description] : cases) {
        SCOPED_TRACE(what);
        Ref<BitmapFont> const pFont = MustRead(ToBytes(description));
        ASSERT_TRUE(pFont);
        EXPECT_EQ(pFont->GetGlyphCount(), 4u);
        EXPECT_EQ(pFont->GetKerning(65, 103), -2);
        EXPECT_EQ(pFont->GetGlyph(32)->m_nAdvance, 5);
    }
}

TEST(BMFontReader, MeasuresFontsWithoutSizeByTheirLines) {
    std::string const sizeless = Replaced(TextFont, "size=-40", "size=0");
    std::string const headless = std::string(TextFont).substr(std::string(TextFont).find('\n') + 1);
    for (std::string const& description : {sizeless, headless}) {
        Ref<BitmapFont> const pFont = MustRead(ToBytes(description));
        ASSERT_TRUE(pFont);
        EXPECT_EQ(pFont->GetXPixelsPerEm(), 24);
        EXPECT_EQ(pFont->GetUnderlineThicknessProperty().GetValue(), 1);
    }
    // A base line below the line's end leaves no descent.
    Ref<BitmapFont> const pLow = MustRead(ToBytes(Replaced(TextFont, "base=18", "base=30")));
    ASSERT_TRUE(pLow);
    EXPECT_EQ(pLow->GetAscent(), 30);
    EXPECT_EQ(pLow->GetDescent(), 0);
    EXPECT_EQ(pLow->GetUnderlinePositionProperty().GetValue(), 1);
}

TEST(BMFontReader, TakesTheGlyphForMissingCharactersAsReplacementCharacter) {
    Bytes const missing = PackChar(0xFFFFFFFF, {0, 0, 7, 7}, {0, 0, 8}, 0);
    Bytes const own = PackChar(0xFFFD, {0, 0, 3, 3}, {0, 0, 4}, 0);
    std::string const line = " x=0 y=0 width=7 height=7 xoffset=0 yoffset=0 xadvance=8 page=0 chnl=15\n";
    struct {
        Bytes description;
        unsigned int nCount;
        int nAdvance;
    } const cases[] = {
        {BinaryWith(4, Block(4, missing)), 1, 8},
        {BinaryWith(4, Block(4, Join({missing, own}))), 1, 4},
        {ToBytes(Replaced(TextFont, "chars count=4\n", "chars count=5\nchar id=-1" + line)), 5, 8},
        {ToBytes(Replaced(TextFont, "chars count=4\n", "chars count=5\nchar id=4294967295" + line)), 5, 8},
    };
    for (auto const& each : cases) {
        Ref<BitmapFont> const pFont = MustRead(each.description);
        ASSERT_TRUE(pFont && pFont->GetGlyph(0xFFFD));
        EXPECT_EQ(pFont->GetGlyphCount(), each.nCount);
        EXPECT_EQ(pFont->GetGlyph(0xFFFD)->m_nAdvance, each.nAdvance);
        EXPECT_FALSE(pFont->GetGlyph(0xFFFFFFFF));
    }
}

TEST(BMFontReader, SaysWhatIsWrongInAText) {
    struct {
        char const* from;
        char const* to;
        char const* fault;
    } const cases[] = {
        {"info face", "font face", ": is no bitmap font description, neither as text, nor XML, nor binary"},
        {"size=-40", "size=4.5", ":1: \"size\" must be a whole number from -32768 to 32767, not \"4.5\""},
        {"common", "info size=1\ncommon", ":2: there is an \"info\" already"},
        {"common", "ignored", ": there is no \"common\""},
        {"page id=0", "common lineHeight=1 base=1 scaleW=1 scaleH=1 pages=1\npage id=0",
         ":3: there is a \"common\" already"},
        {"base=18 ", "", ":2: \"common\" lacks \"base\""},
        {"base=18", "base=18 base=18", ":2: \"base\" is there twice"},
        {"base=18", "base 18", ":2: expected key=value pairs"},
        {"scaleW=64", "scaleW=0", ":2: pages of 0 x 32 pixels"},
        {"scaleW=64 scaleH=32", "scaleW=65535 scaleH=65535",
         ":2: 2 pages of 65535 x 65535 pixels are more than 256 MiB"},
        {"pages=2", "pages=0", ":2: 0 pages; there may be 1 to 256"},
        {"pages=2", "pages=257", ":2: 257 pages; there may be 1 to 256"},
        {"pages=2", "pages=1", ":4: page 1 of a font with 1"},
        {"pages=2", "pages=3", ":2: page 2 is missing; the font says it has 3"},
        {"packed=0", "packed=1",
         ":2: the font is packed: glyphs that share a page's channels cannot be drawn; export it unpacked"},
        {"alphaChnl=0", "alphaChnl=5", ":2: alpha has content 5, which is none of 0 to 4"},
        {"page id=0", "page id=1", ":4: page 1 is there already"},
        {"page id=0", "page id=-1", ":3: \"id\" must be a whole number from 0 to 65535, not \"-1\""},
        {"\"first.png\"", "\"\"", ":3: page 0 has no usable file name"},
        {"\"first.png\"", "\"first\033.png\"", ":3: page 0 has no usable file name"},
        {"\"first.png\"", "\"first.png", ":3: a quoted value does not end"},
        {"chars count=4", "chars count=5", ":5: chars announces 5, but there are 4"},
        {"chars count=4", "chars count=65537",
         ":5: \"count\" must be a whole number from -1 to 65536, not \"65537\""},
        {"chars count=4", "distanceField fieldType=sdf",
         ":5: the pages hold distances and not glyphs, which cannot be drawn"},
        {"kernings count=2", "chars count=4", ":10: there is a \"chars\" already"},
        {"kernings count=2", "kernings count=1", ":10: kernings announces 1, but there are 2"},
        {"id=65 ", "id=32 ", ":7: character 32 is there already"},
        {"id=128512", "id=1114112", ":9: character 1114112 is beyond U+10FFFF"},
        {"id=65 ", "id=-2 ", ":7: \"id\" must be a whole number from -1 to 4294967295, not \"-2\""},
        {"xadvance=10", "xadvance=32768",
         ":7: \"xadvance\" must be a whole number from -32768 to 32767, not \"32768\""},
        {"yoffset=4 ", "yoffset=-32769 ",
         ":7: \"yoffset\" must be a whole number from -32768 to 32767, not \"-32769\""},
        {"xoffset=-1 ", "xoffset=99999999999999999999 ",
         ":7: \"xoffset\" must be a whole number from -32768 to 32767, not \"99999999999999999999\""},
        {"x=16", "x=54", ":7: character 65 takes 11 x 14 pixels from (54, 4) on, beyond its page of 64 x 32"},
        {"y=4 ", "y=19 ",
         ":7: character 65 takes 11 x 14 pixels from (16, 19) on, beyond its page of 64 x 32"},
        {"page=1", "page=2", ":8: character 103 is on page 2 of a font with 2"},
        {"page=1 chnl=15", "page=1 chnl=8",
         ":8: character 103 is in the channels 8 of its page; only glyphs in all of them (15) can be drawn"},
        {"first=103 second=65", "first=65 second=103",
         ":12: the kerning of 65 and 103 is there already, with another amount"},
        {"second=103", "second=-1", ":11: a kerning pair has a character beyond U+10FFFF"},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(ReadFault(ToBytes(Replaced(TextFont, each.from, each.to))),
                  std::string("test.fnt") + each.fault);
    }
    std::string const sizeless =
        Replaced(Replaced(TextFont, "size=-40", "size=0"), "lineHeight=24", "lineHeight=0");
    EXPECT_EQ(ReadFault(ToBytes(sizeless)), "test.fnt:2: the font has neither a size nor a line height");
    std::string const glyphless = std::string(TextFont).substr(0, std::string(TextFont).find("chars count"));
    EXPECT_EQ(ReadFault(ToBytes(glyphless)), "test.fnt: there are no characters");
}

TEST(BMFontReader, SaysWhatIsWrongInAnXmlDocument) {
    struct {
        char const* from;
        char const* to;
        char const* fault;
    } const cases[] = {
        {"<font>", "<fonts>", ":19: is no XML: Start-end tags mismatch"},
        {"id=\"65\"", "id=\"65", ":11: is no XML: Error parsing start element tag"},
        {"<font>", "<fnt/><font>", ":2: the outermost element is not \"font\""},
        {"x=\"16\"", "x=\"-16\"", ":11: \"x\" must be a whole number from 0 to 65535, not \"-16\""},
        {"width=\"9\"", "width=\"9\" width=\"9\"", ":12: \"width\" is there twice"},
        {"first.png", "first&#10;.png", ":6: page 0 has no usable file name"},
        {"amount=\"3\"", "amount=\"3&#10;\"",
         ":17: \"amount\" must be a whole number from -32768 to 32767, not \"3?\""},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(ReadFault(ToBytes(Replaced(XmlFont, each.from, each.to))),
                  std::string("test.fnt") + each.fault);
    }
}

TEST(BMFontReader, SaysWhatIsWrongInABinaryFont) {
    std::vector<Bytes> const blocks = BinaryBlocks();
    // Where the block of each type begins.
    std::vector<std::size_t> at(1, 0);
    for (Bytes const& block : blocks) {
        at.push_back(at.back() + block.size());
    }
    auto const place = [&at](std::size_t which, std::size_t offset) {
        return " (at byte " + std::to_string(at[which] + offset) + ")";
    };
    auto const common = [](int width, int pages, int bits) {
        return Block(2, Pack({{2, 24}, {2, 18}, {2, width}, {2, 32}, {2, pages}, {1, bits}, {1, 0}, {3, 0}}));
    };
    Bytes const packed = common(64, 2, 0x01);
    Bytes const packedToo = common(64, 2, 0x80);
    Bytes beyond = blocks[4];
    beyond[1] = 0xFF;
    std::pair<Bytes, std::string> const cases[] = {
        {ToBytes("BMF"), "is not in version 3 of the binary form, the only one that is read (at byte 3)"},
        {BinaryWith(0, ToBytes("BMF\2")),
         "is not in version 3 of the binary form, the only one that is read (at byte 3)"},
        {BinaryWith(1, Block(1, Bytes(13))), "block 1 has 13 bytes; expected 14 or more" + place(1, 5)},
        {BinaryWith(1, Block(6, {})), "block 6 is none of 1 to 5" + place(1, 0)},
        {BinaryWith(2, {}), "there is no \"common\""},
        {BinaryWith(2, Block(2, Bytes(14))), "block 2 has 14 bytes; expected 15" + place(2, 5)},
        {BinaryWith(2, packed),
         "the font is packed: glyphs that share a page's channels cannot be drawn; export it unpacked" +
             place(2, 5)},
        {BinaryWith(2, packedToo),
         "the font is packed: glyphs that share a page's channels cannot be drawn; export it unpacked" +
             place(2, 5)},
        {BinaryWith(2, common(63, 2, 0)),
         "character 128512 takes 16 x 24 pixels from (48, 8) on, beyond its page of 63 x 32" +
             place(4, 5 + 60)},
        {BinaryWith(3, {}), "page 0 is missing; the font says it has 2" + place(2, 5)},
        {BinaryWith(3, Block(3, ToBytes("first.png"))), "the name of page 0 does not end" + place(3, 5)},
        {BinaryWith(3, Block(3, Join({ToBytes("a"), Bytes{0, 0}}))),
         "page 1 has no usable file name" + place(3, 7)},
        {BinaryWith(4, Block(4, Bytes(21))),
         "block 4 has 21 bytes; expected 20 for each character" + place(4, 5)},
        {BinaryWith(4, {}), "there are no characters"},
        {BinaryWith(4, Block(4, PackChar(0x110000, {0, 0, 0, 0}, {0, 0, 0}, 0))),
         "character 1114112 is beyond U+10FFFF" + place(4, 5)},
        {BinaryWith(4, Block(4, PackChar(0xFFFFFFFF, {60, 0, 9, 1}, {0, 0, 0}, 0))),
         "the glyph for missing characters takes 9 x 1 pixels from (60, 0) on, beyond its page of 64 x 32" +
             place(4, 5)},
        {BinaryWith(4, beyond), "block 4 says it has 255 bytes, but " + std::to_string(at[6] - at[4] - 5) +
                                    " are left" + place(4, 0)},
        {BinaryWith(5, Block(5, Bytes(9))),
         "block 5 has 9 bytes; expected 10 for each kerning pair" + place(5, 5)},
        {BinaryWith(5, blocks[1]), "there is a block 1 already" + place(5, 0)},
        {BinaryWith(5, {5, 0, 0}), "the file ends inside the header of a block" + place(5, 0)},
    };
    for (auto const& [description, fault] : cases) {
        EXPECT_EQ(ReadFault(description), "test.fnt: " + fault);
    }
}

/** A block of `nCount` records of equal sizes: the given one, with its first four bytes counting up. */
Bytes BlockOfMany(int type, Bytes const& record, std::size_t nCount) {
    Bytes content;
    content.reserve(record.size() * nCount);
    for (std::size_t n = 0; n < nCount; ++n) {
        content.insert(content.end(), record.begin(), record.end());
        for (std::size_t digit = 0; digit < 4; ++digit) {
            content[n * record.size() + digit] = std::uint8_t(n >> (8 * digit));
        }
    }
    return Block(type, content);
}

// The largest fonts that are allowed, and the smallest ones that are not.
TEST(BMFontReader, KeepsItsLimits) {
    Bytes const glyph = PackChar(0, {0, 0, 1, 1}, {0, 0, 1}, 0);
    Ref<BitmapFont> const pLarge = MustRead(BinaryWith(4, BlockOfMany(4, glyph, 65536)));
    ASSERT_TRUE(pLarge);
    EXPECT_EQ(pLarge->GetGlyphCount(), 65536u);
    EXPECT_NE(ReadFault(BinaryWith(4, BlockOfMany(4, glyph, 65537))).find("more than 65536 characters"),
              std::string::npos);

    Bytes const kerning = Pack({{4, 0}, {4, 65}, {2, 7}});
    Ref<BitmapFont> const pKerned = MustRead(BinaryWith(5, BlockOfMany(5, kerning, 1 << 20)));
    ASSERT_TRUE(pKerned);
    EXPECT_EQ(pKerned->GetKerning(0xFFFFF, 65), 7);
    EXPECT_NE(
        ReadFault(BinaryWith(5, BlockOfMany(5, kerning, (1 << 20) + 1))).find("more than 1048576 kerning"),
        std::string::npos);

    Bytes names;
    for (int n = 0; n < 257; ++n) {
        names.insert(names.end(), {'p', 0});
    }
    EXPECT_NE(ReadFault(BinaryWith(3, Block(3, names))).find("more than 256 pages"), std::string::npos);
    EXPECT_EQ(ReadFault(Bytes((16 << 20) + 1, '\n')),
              "test.fnt: has 16777217 bytes, more than the 16777216 allowed");
}

TEST(BMFontReader, TakesTheShapesFromAlphaOrBrightness) {
    std::uint8_t const grey = 2 * 5;
    std::uint8_t const alpha = 2 * 3 + 'f';
    struct {
        char const* description;
        bool fAlphaInFile;
        std::uint8_t expected;
    } const cases[] = {
        {"alphaChnl=0", true, alpha}, {"alphaChnl=1", true, alpha}, {"alphaChnl=4", true, grey},
        {"alphaChnl=3", true, grey},  {"alphaChnl=1", false, grey}, {"alphaChnl=4", false, grey},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.description);
        auto const readPage = [&each](std::string const& file, ImageOptions const& options, ImageData& image,
                                      std::string& error) {
            Bytes rgb;
            for (int n = 0; n < 64 * 32; ++n) {
                rgb.insert(rgb.end(), 3, std::uint8_t(n * 5));
            }
            return LoadPng(Span(each.fAlphaInFile ? PagePng(file) : RgbPng(64, 32, rgb)), file, options,
                           image, error);
        };
        std::string error;
        Ref<BitmapFont> const pFont =
            ReadFont(ToBytes(Replaced(TextFont, "alphaChnl=0", each.description)), error, readPage);
        ASSERT_TRUE(pFont) << error;
        Texture& texture = *pFont->GetGlyph(65)->m_pTexture;
        EXPECT_EQ(texture.GetFormat(), TextureFormat::Alpha8);
        EXPECT_EQ(texture.GetPixelData().GetBuffer().GetSize(), 64u * 32);
        EXPECT_EQ(texture.GetPixelData().GetBuffer().GetData()[2], each.expected);
    }
}

TEST(BMFontReader, ReadsAPictureOfSeveralPagesOnce) {
    int nReads = 0;
    auto const readPage = [&nReads](std::string const& file, ImageOptions const& options, ImageData& image,
                                    std::string& error) {
        ++nReads;
        return ReadPage(file, options, image, error);
    };
    std::string error;
    Ref<BitmapFont> const pFont =
        ReadFont(ToBytes(Replaced(TextFont, "second.png", "first.png")), error, readPage);
    ASSERT_TRUE(pFont) << error;
    EXPECT_EQ(nReads, 1);
    EXPECT_EQ(pFont->GetGlyph(65)->m_pTexture.Get(), pFont->GetGlyph(103)->m_pTexture.Get());
}

TEST(BMFontReader, FindsPagesBesideTheDescription) {
    TemporaryFolder const folder;
    folder.Write("test.fnt", ToBytes(TextFont));
    folder.Write("first.png", PagePng("first.png"));
    folder.Write("small.png", RgbPng(1, 2, Bytes(6)));
    ClassRegistry registry;
    RegisterClasses(registry);
    std::string const path = folder.Path("test.fnt");
    std::string error;
    EXPECT_FALSE(ReadBMFont(path, registry, error));
    EXPECT_EQ(error,
              path + ":4: " + folder.Path("second.png") + ": cannot be opened: No such file or directory");

    folder.Write("second.png", RgbPng(63, 32, Bytes(63 * 32 * 3)));
    EXPECT_FALSE(ReadBMFont(path, registry, error));
    EXPECT_EQ(error, path + ":4: second.png has 63 x 32 pixels; the font says its pages have 64 x 32");

    folder.Write("second.png", PagePng("second.png"));
    Ref<BitmapFont> const pFont = ReadBMFont(path, registry, error);
    ASSERT_TRUE(pFont) << error;
    ExpectGlyph(*pFont, {103, 9, 13, 1, 4, -3, 's', {16 / 32.f, 40 / 64.f, 29 / 32.f, 49 / 64.f}});

    EXPECT_FALSE(ReadBMFont(folder.Path("none.fnt"), registry, error));
    EXPECT_EQ(error, folder.Path("none.fnt") + ": cannot be opened: No such file or directory");
}

TEST(BMFontReader, NeedsTheClassesOfABackEnd) {
    std::string error;
    ClassRegistry registry;
    EXPECT_FALSE(ReadBMFont(Span(ToBytes(TextFont)), "test.fnt", ReadPage, registry, error));
    EXPECT_NE(error.find("no class \"Font\""), error.npos);
    registry.AddClassContainer(new ClassContainerT<test::TestFont>(HashName("Font")));
    EXPECT_FALSE(ReadBMFont(Span(ToBytes(TextFont)), "test.fnt", ReadPage, registry, error));
    EXPECT_NE(error.find("no class \"Texture\""), error.npos);
}

} // namespace
} // namespace trevik::kelvo::assets::testing
