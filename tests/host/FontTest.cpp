#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "PropertyTestSupport.h"
#include "TestFonts.h"
#include "trevik/Allocation.h"

namespace trevik::kelvo::test {
namespace {

constexpr RealFloat NaN = std::numeric_limits<RealFloat>::quiet_NaN();
constexpr RealFloat Infinity = std::numeric_limits<RealFloat>::infinity();

std::vector<unsigned int> CodePointsOf(Font const& font) {
    std::vector<unsigned int> codePoints;
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        codePoints.push_back(font.GetGlyphAt(n)->m_nCodePoint);
    }
    return codePoints;
}

TEST(FontGlyphs, AreFoundByCodePointInWhateverOrderTheyCame) {
    TestFont font;
    std::vector<unsigned int> const codePoints = {'b', 0x10ffff, 'a', 0x20, 0x100, 0x4e00, 0xff, 0, 0x4e01};
    for (unsigned int nCodePoint : codePoints) {
        ASSERT_TRUE(font.AddGlyph(MakeGlyph(nCodePoint)));
    }
    EXPECT_EQ(CodePointsOf(font),
              (std::vector<unsigned int>{0, 0x20, 'a', 'b', 0xff, 0x100, 0x4e00, 0x4e01, 0x10ffff}));
    for (unsigned int nCodePoint : codePoints) {
        ASSERT_NE(font.GetGlyph(nCodePoint), nullptr) << nCodePoint;
        EXPECT_EQ(font.GetGlyph(nCodePoint)->m_nCodePoint, nCodePoint);
    }
    for (unsigned int nCodePoint : {1u, 0x61u + 2, 0xfeu, 0x101u, 0x4dffu, 0x4e02u, 0x110000u, 0xffffffffu}) {
        EXPECT_EQ(font.GetGlyph(nCodePoint), nullptr) << nCodePoint;
    }
}

TEST(FontGlyphs, OneOfTheSameCodePointIsReplacedWhereItIs) {
    TestFont font;
    for (unsigned int nCodePoint : {unsigned('A'), 0x3042u}) {
        font.AddGlyph(MakeGlyph(nCodePoint));
        Glyph const* const pGlyph = font.GetGlyph(nCodePoint);
        Glyph other = MakeGlyph(nCodePoint);
        other.m_nAdvance = 99;
        unsigned int const nRevision = font.GetRevision();
        EXPECT_TRUE(font.AddGlyph(other));
        EXPECT_EQ(font.GetGlyph(nCodePoint), pGlyph);
        EXPECT_EQ(pGlyph->m_nAdvance, 99);
        EXPECT_NE(font.GetRevision(), nRevision) << "texts are out of date";
    }
    EXPECT_EQ(font.GetGlyphCount(), 2u);
}

TEST(FontGlyphs, ThatNoDocumentCouldHoldAreRefused) {
    TestFont font;
    Glyph beyond = MakeGlyph(0x110000);
    Glyph rectangle = MakeGlyph('A');
    rectangle.m_textureRectangle[3] = NaN;
    Glyph divisor = MakeGlyph('A');
    divisor.m_rDivisorY = Infinity;
    Glyph origin = MakeGlyph('A');
    origin.m_origin.x = -Infinity;
    for (Glyph const* pGlyph : {&beyond, &rectangle, &divisor, &origin}) {
        EXPECT_FALSE(font.AddGlyph(*pGlyph));
    }
    EXPECT_EQ(font.GetGlyphCount(), 0u);
    EXPECT_EQ(font.GetRevision(), 0u);
}

TEST(FontKerning, IsThatOfTheTwoInTheirOrder) {
    TestFont font;
    EXPECT_TRUE(font.SetKerning('V', 'A', -3));
    EXPECT_TRUE(font.SetKerning('A', 'V', -2));
    EXPECT_TRUE(font.SetKerning('A', 'T', RealFloat(-1.5)));
    EXPECT_TRUE(font.SetKerning(0x10ffff, 0, 1));
    EXPECT_EQ(font.GetKerning('A', 'V'), -2);
    EXPECT_EQ(font.GetKerning('V', 'A'), -3);
    EXPECT_EQ(font.GetKerning('A', 'T'), RealFloat(-1.5));
    EXPECT_EQ(font.GetKerning(0x10ffff, 0), 1);
    EXPECT_EQ(font.GetKerning('A', 'U'), 0);
    EXPECT_EQ(font.GetKerning('T', 'A'), 0);
    unsigned int const nRevision = font.GetRevision();
    EXPECT_TRUE(font.SetKerning('A', 'V', 4));
    EXPECT_NE(font.GetRevision(), nRevision);
    EXPECT_EQ(font.GetKerning('A', 'V'), 4);
    EXPECT_TRUE(font.SetKerning('A', 'V', 0));
    EXPECT_EQ(font.GetKerning('A', 'V'), 0);
    EXPECT_EQ(font.GetKerning('A', 'T'), RealFloat(-1.5)) << "its neighbours stay";
    EXPECT_EQ(font.GetKerning('V', 'A'), -3);
}

TEST(FontKerning, OfNoCodePointsOrDistanceIsRefused) {
    TestFont font;
    EXPECT_FALSE(font.SetKerning(0x110000, 'A', 1));
    EXPECT_FALSE(font.SetKerning('A', 0x110000, 1));
    EXPECT_FALSE(font.SetKerning('A', 'A', NaN));
    EXPECT_EQ(font.GetRevision(), 0u);
}

TEST(Font, WithoutMemoryNothingIsAdded) {
    TestFont font;
    TestOutlines outlines;
    Allocation::FailAfter(0);
    EXPECT_FALSE(font.AddGlyph(MakeGlyph('A')));
    EXPECT_FALSE(font.SetKerning('A', 'B', 1));
    EXPECT_EQ(outlines.AddMesh(new GlyphMesh), -1);
    Allocation::FailNever();
    EXPECT_EQ(font.GetGlyph('A'), nullptr);
    EXPECT_EQ(font.GetKerning('A', 'B'), 0);
    EXPECT_EQ(font.GetRevision(), 0u);
    EXPECT_EQ(outlines.GetMeshCount(), 0u);
}

TEST(FontMeshes, ThatAreNoTrianglesBetweenTheirPositionsAreRefused) {
    TestOutlines font;
    EXPECT_EQ(font.AddMesh(MakeMesh(3, {0, 1, 3})), -1) << "beyond the positions";
    EXPECT_EQ(font.AddMesh(MakeMesh(3, {0, 1})), -1) << "no whole triangle";
    EXPECT_EQ(font.AddMesh(MakeMesh(0, {0, 0, 0})), -1) << "no positions";
    GlyphMesh* const pFarAway = MakeMesh(3, {0, 1, 2});
    pFarAway->m_positions.GetWritableValue()[1].y = Infinity;
    EXPECT_EQ(font.AddMesh(pFarAway), -1);
    EXPECT_EQ(font.AddMesh(nullptr), -1);
    EXPECT_EQ(font.AddMesh(MakeMesh(3, {0, 1, 2})), 0);
    EXPECT_EQ(font.GetMesh(0)->m_indices.GetValue().GetCount(), 3u);
}

TEST(FontMeshes, AreAsManyAsAGlyphsIndexCanTell) {
    TestOutlines font;
    for (short nMesh = 0; nMesh < 32767; ++nMesh) {
        ASSERT_EQ(font.AddMesh(new GlyphMesh), nMesh);
    }
    EXPECT_EQ(font.AddMesh(new GlyphMesh), -1);
}

TEST(FontMemory, ReportsGlyphsKerningMeshesAndPagesOnce) {
    TestOutlines font;
    Ref<Texture> const pPage = MakePage(1);
    font.AddGlyph(MakeGlyph('A', pPage));
    font.AddGlyph(MakeGlyph('B', pPage, 0));
    font.SetKerning('A', 'B', 1);
    font.AddMesh(MakeMesh(4, {0, 1, 2, 0, 2, 3}));
    MemoryTracer ofPage;
    ofPage.EmitObject(pPage.Get());
    MemoryTracer tracer;
    tracer.EmitObject(&font);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), ofPage.GetBytes(MemoryType::Texture));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Geometry), 4 * sizeof(Vector3) + 6 * sizeof(unsigned short));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Font), 2 * (sizeof(Glyph*) + sizeof(Glyph)) + sizeof(KerningPair) +
                                                     sizeof(GlyphMesh*) + sizeof(GlyphMesh));
}

/** A document with the given fonts. */
Ref<DocumentNode> SaveFonts(std::vector<Font*> const& fonts) {
    Serializer serializer;
    for (Font* pFont : fonts) {
        serializer.GetFontIndex(pFont);
    }
    return serializer.Finish();
}

TEST(DocumentFont, APageThatCannotBeEnteredFailsTheDocument) {
    /** Runs out of memory for as long as it enters its page. */
    class Short : public TestFont {
    public:
        bool Save(Serializer& serializer) override {
            Ref<Texture> const pPage = MakePage(1);
            Allocation::FailAfter(0);
            serializer.GetTextureIndex(pPage.Get());
            Allocation::FailNever();
            return TestFont::Save(serializer);
        }
    };
    EXPECT_FALSE(SaveFonts({Ref<Font>(new Short).Get()}));
}

TEST(DocumentFont, ThatCouldNotBeLoadedIsNotSaved) {
    TraceLog traces;
    Glyph image = MakeGlyph('A');
    image.m_fImage = true;
    Glyph const glyphs[] = {image, MakeGlyph('A', nullptr, 0), MakeGlyph('A', nullptr, -2)};
    for (Glyph const& glyph : glyphs) {
        Ref<TestFont> const pFont(new TestFont);
        pFont->AddGlyph(glyph);
        EXPECT_FALSE(SaveFonts({pFont.Get()}));
    }
    Ref<TestFont> const pFont(new TestFont);
    FontMetrics metrics;
    metrics.m_rLeading = NaN;
    pFont->SetMetrics(metrics);
    EXPECT_FALSE(SaveFonts({pFont.Get()}));
    ASSERT_EQ(traces.Messages().size(), 8u) << "what is wrong, and with which font";
    EXPECT_EQ(traces.Messages()[0],
              "[kelvo] Glyph U+0041 cannot be saved: it is an image and has no texture");
    EXPECT_EQ(traces.Messages()[1], "[kelvo] Font 0 cannot be saved, nor can the document that uses it");
    EXPECT_EQ(traces.Messages()[2], "[kelvo] Glyph U+0041 cannot be saved: its mesh is none of the font's");
}

/** A font with two glyphs and kerning. */
template <class T>
void FillPlainly(T& font) {
    font.AddGlyph(MakeGlyph('A'));
    font.AddGlyph(MakeGlyph('B'));
    font.SetKerning('A', 'B', 1);
}

TEST(DocumentFont, TablesNeedNoOrderAndOfEqualEntriesTheLastOneCounts) {
    TestFont source;
    FillPlainly(source);
    source.SetKerning('B', 'A', 2);
    Ref<DocumentNode> const pSaved = SaveToNode(source);
    std::size_t const nSize = 60; // of a saved glyph
    std::vector<unsigned char> const glyphs = GetBytes(*pSaved, HashName("Glyphs"));
    auto const at = [&](std::size_t n) { return glyphs.begin() + static_cast<std::ptrdiff_t>(n); };
    std::vector<unsigned char> turned(at(nSize), glyphs.end());
    turned.insert(turned.end(), glyphs.begin(), at(nSize));
    turned.insert(turned.end(), at(nSize), glyphs.end());
    std::vector<unsigned char> const advance = BytesOf(77);
    std::copy(advance.begin(), advance.end(), turned.end() - (nSize - 16));
    Ref<DocumentNode> const pTurned(new DocumentNode(0, 0));
    AddBytes(*pTurned, HashName("Metrics"), GetBytes(*pSaved, HashName("Metrics")));
    AddBytes(*pTurned, HashName("Glyphs"), turned);
    AddBytes(*pTurned, HashName("Kerning"),
             BytesOf(0x42, 0x41, RealFloat(2), 0x41, 0x42, RealFloat(1), 0x42, 0x41, RealFloat(3), 0x43, 0x41,
                     RealFloat(4), 0x43, 0x41, RealFloat(0)));
    TestFont font;
    ASSERT_TRUE(LoadFrom(pTurned, font));
    EXPECT_EQ(CodePointsOf(font), (std::vector<unsigned int>{'A', 'B'}));
    EXPECT_EQ(font.GetGlyph('B')->m_nAdvance, 77);
    EXPECT_EQ(font.GetKerning('A', 'B'), 1);
    EXPECT_EQ(font.GetKerning('B', 'A'), 3);
    EXPECT_EQ(GetBytes(*SaveToNode(font), HashName("Kerning")),
              BytesOf(0x41, 0x42, RealFloat(1), 0x42, 0x41, RealFloat(3)))
        << "a distance of 0 takes its pair out";
}

TEST(DocumentFont, LoadingReplacesWhatTheFontHad) {
    TestOutlines source;
    source.AddGlyph(MakeGlyph('B'));
    source.AddGlyph(MakeGlyph(0x3042));
    TestOutlines font;
    FillPlainly(font);
    font.AddMesh(new GlyphMesh);
    unsigned int const nRevision = font.GetRevision();
    ASSERT_TRUE(LoadFrom(SaveToNode(source), font));
    EXPECT_EQ(CodePointsOf(font), (std::vector<unsigned int>{'B', 0x3042}));
    EXPECT_EQ(font.GetGlyph('A'), nullptr);
    EXPECT_EQ(font.GetGlyph('B'), font.GetGlyphAt(0));
    EXPECT_EQ(font.GetKerning('A', 'B'), 0);
    EXPECT_EQ(font.GetMeshCount(), 0u);
    EXPECT_NE(font.GetRevision(), nRevision);
}

} // namespace
} // namespace trevik::kelvo::test
