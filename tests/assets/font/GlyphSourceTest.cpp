#include "TestFonts.h"
#include "kelvo_test/Diagnostics.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <set>
#include <sstream>

namespace trevik::kelvo::assets::testing {
namespace {

using kelvokit::test::Diagnostics;

constexpr char const* FurtherText = "ÄW€ΩЖ\u0301x\u2002";

/** The characters that fonts are made with at first. */
std::vector<std::uint32_t> const FirstCharacters = {' ', 'A', 'V', 'o', '?'};

std::vector<std::uint32_t> CharactersOf(String16 const& sText) {
    std::vector<std::uint32_t> characters;
    for (int nUnit = 0, nLength = int(sText.GetLength()); nUnit < nLength;) {
        characters.push_back(std::uint32_t(UTF16Encoding::GetNextChar(sText.GetData(), nUnit, nLength)));
    }
    return characters;
}

FontOptions OptionsWith(String16 const& sText, int nPixelsPerEm = 32) {
    std::vector<std::uint32_t> characters = FirstCharacters;
    for (std::uint32_t const nCharacter : CharactersOf(sText)) {
        characters.push_back(nCharacter);
    }
    return OptionsFor(characters, nPixelsPerEm);
}

/** Everything of a glyph but the place of its picture. */
void DescribeGlyph(std::ostream& out, Glyph const& glyph) {
    out << std::hex << "U+" << glyph.m_nCodePoint << std::dec << ": " << glyph.m_nWidth << " x "
        << glyph.m_nHeight << " at " << glyph.m_nOffsetX << ", " << glyph.m_nOffsetY << ", advance "
        << glyph.m_nAdvance << ", divisors " << glyph.m_rDivisorX << ", " << glyph.m_rDivisorY << "\n";
    if (!glyph.m_pTexture) {
        return;
    }
    Texture& page = *glyph.m_pTexture;
    int const side = page.GetWidth();
    EXPECT_EQ(page.GetFormat(), TextureFormat::Alpha8);
    auto const edge = [&](int n) { return int(std::lround(glyph.m_textureRectangle[n] * float(side))); };
    EXPECT_EQ(edge(2) - edge(0), glyph.m_nHeight);
    EXPECT_EQ(edge(3) - edge(1), glyph.m_nWidth);
    for (int y = edge(0) - 1; y <= edge(2); ++y) { // with the empty pixels around it
        for (int x = edge(1) - 1; x <= edge(3); ++x) {
            out << int(page.GetPixelData().GetBuffer().GetData()[y * side + x]) << " ";
        }
        out << "\n";
    }
}

void DescribeMesh(std::ostream& out, GlyphMesh const& mesh) {
    for (Vector3T<RealFloat> const& position : mesh.m_positions.GetValue()) {
        out << position.x << " " << position.y << " " << position.z << "\n";
    }
    for (unsigned short const nIndex : mesh.m_indices.GetValue()) {
        out << nIndex << " ";
    }
}

/** A font's glyphs with their pictures or meshes, and the kerning of all of them. */
std::string Describe(Font const& font) {
    std::ostringstream out;
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        Glyph const& glyph = *font.GetGlyphAt(n);
        DescribeGlyph(out, glyph);
        if (glyph.m_nMesh >= 0) {
            DescribeMesh(out, *static_cast<PolygonalFont const&>(font).GetMesh(unsigned(glyph.m_nMesh)));
        }
        for (unsigned int nOther = 0; nOther < font.GetGlyphCount(); ++nOther) {
            out << font.GetKerning(glyph.m_nCodePoint, font.GetGlyphAt(nOther)->m_nCodePoint) << " ";
        }
        out << "\n";
    }
    return out.str();
}

/** A kind of font, made of a file. Pages are created through the default registry. */
struct Kind {
    bool fOutlines;
    bool fHinting;

    Ref<Font> Read(FontOptions options, std::string const& path = SansPath) const {
        static FontRegistry s_registry;
        ClassRegistry::SetDefault(&s_registry);
        options.hinting = fHinting;
        Fault fault;
        Ref<Font> pFont;
        if (fOutlines) {
            pFont = ReadPolygonalFont(path, options, s_registry, fault);
        } else {
            pFont = ReadBitmapFont(path, options, s_registry, fault);
        }
        EXPECT_TRUE(pFont) << fault.GetText();
        return pFont;
    }
};

constexpr Kind Pictures{false, true};
constexpr Kind Kinds[] = {Pictures, {false, false}, {true, false}};

TEST(FontGlyphSource, MakesTheSameGlyphsAsReadingWithThem) {
    String16 const sText{String8(FurtherText)};
    for (Kind const& kind : Kinds) {
        Ref<Font> const pFont = kind.Read(OptionsWith(u""));
        Ref<GlyphSource> const pSource = GlyphSource::Find(*pFont);
        ASSERT_TRUE(pSource);
        EXPECT_TRUE(pSource->Complete(u"ÄW€"));
        EXPECT_TRUE(pSource->Complete(sText));
        EXPECT_EQ(Describe(*pFont), Describe(*kind.Read(OptionsWith(sText))));
    }
}

TEST(FontGlyphSource, FontsFromMemoryOrWithoutMemoryForGlyphsHaveNone) {
    FontOptions options = OptionsWith(u"");
    options.glyphMemory = 0;
    EXPECT_EQ(GlyphSource::Find(*Pictures.Read(options)), nullptr);
    Bytes const bytes = ReadData(SansPath);
    Fault fault;
    Ref<BitmapFont> const pFont = ReadBitmapFont(Span(bytes), "x", OptionsWith(u""), FontRegistry(), fault);
    ASSERT_TRUE(pFont);
    EXPECT_EQ(GlyphSource::Find(*pFont), nullptr);
}

TEST(FontGlyphSource, FullPagesAreFollowedByFurtherOnesWithinTheLimit) {
    std::vector<std::uint32_t> characters = Range(0x391, 0x3a1);
    String16 sText;
    for (std::uint32_t const nCharacter : characters) {
        sText.Append(String16::Format(u"%c", nCharacter));
    }
    FontOptions options = OptionsWith(u"");
    options.maximumPageSize = 64;            // 3 by 2 letters
    options.glyphMemory = 64 * 64 + 40 * 40; // so that the second page has 32 pixels a side: 1 letter
    Ref<Font> const pFont = Pictures.Read(options);
    Ref<GlyphSource> const pSource = GlyphSource::Find(*pFont);
    Diagnostics log;
    EXPECT_FALSE(pSource->Complete(sText));
    EXPECT_EQ(pSource->GetMemoryUsed(), 64u * 64 + 32 * 32);
    std::size_t const nMissing = log.Messages().size();
    EXPECT_EQ(pFont->GetGlyphCount() + nMissing, FirstCharacters.size() + characters.size());
    EXPECT_TRUE(nMissing > 5 && nMissing < 15) << nMissing;
    EXPECT_EQ(log.Messages().back(),
              "[kelvo] font DejaVuSans.ttf has no room for the glyph of U+03A1: 5120 of 5696 "
              "bytes are used");
    pSource->SetMemoryLimit(1 << 20);
    for (std::uint32_t const nCharacter : characters) { // one by one
        EXPECT_TRUE(pSource->Complete(String16::Format(u"%c", nCharacter)));
    }
    std::set<Texture*> pages;
    for (std::uint32_t const nCharacter : characters) {
        pages.insert(pFont->GetGlyph(nCharacter)->m_pTexture.Get());
    }
    EXPECT_GE(pages.size(), 3u);
    EXPECT_EQ(Describe(*pFont), Describe(*Pictures.Read(OptionsWith(sText))));
}

TEST(FontGlyphSource, MeshesCountWithinTheLimit) {
    FontOptions options = OptionsWith(u"");
    options.glyphMemory = 400;
    Ref<Font> const pFont = Kinds[2].Read(options);
    Ref<GlyphSource> const pSource = GlyphSource::Find(*pFont);
    Diagnostics log;
    EXPECT_FALSE(pSource->Complete(u"L@T")); // 6 or 8 vertices of 12 bytes, and 4 or 6 triangles of 6
    EXPECT_EQ(pSource->GetMemoryUsed(), (6u + 8) * 12 + (4u + 6) * 6);
    EXPECT_EQ(log.Only(),
              "[kelvo] font DejaVuSans.ttf has no room for the glyph of U+0040: 228 of 400 bytes are used");
}

TEST(FontGlyphSource, TellsWhatTheFileLacksAndThatItHasChanged) {
    TemporaryFolder const folder;
    Bytes const bytes = ReadData(SansPath);
    for (Kind const& kind : Kinds) {
        folder.Write("font.ttf", bytes);
        Ref<Font> const pFont = kind.Read(OptionsWith(u"\u4e2d"), folder.Path("font.ttf"));
        Ref<GlyphSource> const pSource = GlyphSource::Find(*pFont);
        Diagnostics log;
        EXPECT_FALSE(pSource->Complete(u"W\u4e2d\u56fd"));
        EXPECT_TRUE(pFont->GetGlyph('W'));
        Bytes changed = bytes;
        changed.back() ^= 1;
        folder.Write("font.ttf", changed);
        EXPECT_FALSE(pSource->Complete(u"XY"));
        std::filesystem::remove(folder.Path("font.ttf"));
        EXPECT_FALSE(pSource->Complete(u"XYZ"));
        std::string const path = folder.Path("font.ttf");
        std::vector<std::string> const& lines = log.Messages();
        ASSERT_EQ(lines.size(), 5u);
        EXPECT_EQ(lines[0], "[kelvo] font font.ttf has no glyph for U+4E2D");
        EXPECT_EQ(lines[1], "[kelvo] font font.ttf has no glyph for U+56FD");
        EXPECT_EQ(lines[2], "[kelvo] font font.ttf cannot make the glyph of U+0058: " + path +
                                ": has changed since the font was made of it");
        EXPECT_TRUE(
            IsMessage(lines[4], "[kelvo] font font.ttf cannot make the glyph of U+005A: " + path + ": *"));
        folder.Write("font.ttf", bytes);
        EXPECT_TRUE(pSource->Complete(u"XYZ"));
    }
}

TEST(FontGlyphSource, WithoutMemoryAGlyphIsMadeWholeOrNotAtAll) {
    String16 const sText(u"WÄ");
    for (Kind const& kind : Kinds) {
        std::string const expected = Describe(*kind.Read(OptionsWith(sText)));
        for (bool fHost : {true, false}) { // the host's lists, and all else
            bool fEnough = false;
            for (unsigned int nAllocations = 0; !fEnough; ++nAllocations) {
                Ref<Font> const pFont = kind.Read(OptionsWith(u""));
                Ref<GlyphSource> const pSource = GlyphSource::Find(*pFont);
                TraceSink const sink = Debug::SetSink([](void*, TraceLevel::Enum, String16 const&) {});
                fHost ? Allocation::FailAfter(nAllocations) : FailNewAfter(nAllocations);
                fEnough = pSource->Complete(sText);
                fHost ? Allocation::FailNever() : FailNewNever();
                Debug::SetSink(sink);
                EXPECT_TRUE(fEnough || nAllocations < 1000);
                EXPECT_TRUE(nAllocations > 4 || !fEnough) << nAllocations;
                EXPECT_TRUE(pSource->Complete(sText)) << nAllocations;
                ASSERT_EQ(Describe(*pFont), expected) << nAllocations;
            }
        }
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
