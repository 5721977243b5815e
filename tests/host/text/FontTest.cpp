#include "kelvo_test/TestFonts.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <utility>

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
    for (unsigned int nCodePoint : {98u, 0x10ffffu, 97u, 0x20u, 0x100u, 0x4e00u, 0xffu, 0u, 0x4e01u}) {
        ASSERT_TRUE(font.AddGlyph(MakeGlyph(nCodePoint)));
    }
    std::vector<unsigned int> const ordered = {0, 0x20, 97, 98, 0xff, 0x100, 0x4e00, 0x4e01, 0x10ffff};
    EXPECT_EQ(CodePointsOf(font), ordered);
    for (unsigned int n = 0; n < ordered.size(); ++n) {
        EXPECT_EQ(font.GetGlyph(ordered[n]), font.GetGlyphAt(n));
    }
    for (unsigned int nCodePoint : {1u, 99u, 0xfeu, 0x101u, 0x4dffu, 0x4e02u, 0x110000u, 0xffffffffu}) {
        EXPECT_EQ(font.GetGlyph(nCodePoint), nullptr) << nCodePoint;
    }
}

TEST(FontGlyphs, AreFoundHoweverManyThereAreAndMemoryFailsInBetween) {
    TestFont font;
    for (unsigned int n = 0; n < 2000; ++n) {
        Glyph const glyph = MakeGlyph(n * 7919 % 2000 * 300); // in no order, close together and far apart
        Allocation::FailAfter(n % 3);
        bool const fAdded = font.AddGlyph(glyph);
        Allocation::FailNever();
        Glyph const* const pGlyph = font.GetGlyph(glyph.m_nCodePoint);
        ASSERT_EQ(pGlyph != nullptr, fAdded) << n;
        if (!fAdded) {
            ASSERT_TRUE(font.AddGlyph(glyph)) << n;
        }
    }
    ASSERT_EQ(font.GetGlyphCount(), 2000u);
    for (unsigned int n = 0; n < 2000; ++n) {
        ASSERT_EQ(font.GetGlyph(n * 300), font.GetGlyphAt(n));
        ASSERT_EQ(font.GetGlyph(n * 300 + 1), nullptr);
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

TEST(Font, WhatNoDocumentCouldHoldIsRefusedAndWithoutMemoryAll) {
    TestFont font;
    TestOutlines outlines;
    Glyph glyphs[] = {MakeGlyph(0x110000), MakeGlyph('A'), MakeGlyph('A'), MakeGlyph('A')};
    glyphs[1].m_textureRectangle[3] = NaN;
    glyphs[2].m_rDivisorY = Infinity;
    glyphs[3].m_origin.x = -Infinity;
    for (Glyph const& glyph : glyphs) {
        EXPECT_FALSE(font.AddGlyph(glyph));
    }
    EXPECT_FALSE(font.SetKerning(0x110000, 'A', 1));
    EXPECT_FALSE(font.SetKerning('A', 0x110000, 1));
    EXPECT_FALSE(font.SetKerning('A', 'A', NaN));
    GlyphMesh* const pFarAway = MakeMesh(3, {0, 1, 2});
    pFarAway->m_positions.GetWritableValue()[1].y = Infinity;
    for (GlyphMesh* pMesh : {MakeMesh(3, {0, 1, 3}), MakeMesh(3, {0, 1}), MakeMesh(0, {0, 0, 0}), pFarAway,
                             static_cast<GlyphMesh*>(nullptr)}) {
        EXPECT_EQ(outlines.AddMesh(pMesh), -1);
    }
    Allocation::FailAfter(0);
    EXPECT_FALSE(font.AddGlyph(MakeGlyph('A')));
    EXPECT_FALSE(font.SetKerning('A', 'B', 1));
    EXPECT_EQ(outlines.AddMesh(new GlyphMesh), -1);
    Allocation::FailNever();
    EXPECT_EQ(font.GetGlyphCount() + outlines.GetMeshCount() + font.GetRevision(), 0u);
    EXPECT_EQ(font.GetKerning('A', 'B'), 0);
    EXPECT_EQ(outlines.AddMesh(MakeMesh(3, {0, 1, 2})), 0);
    EXPECT_EQ(outlines.GetMesh(0)->m_indices.GetValue().GetCount(), 3u);
}

TEST(FontKerning, IsThatOfTheTwoInTheirOrder) {
    TestFont font;
    std::vector<RealFloat> const distances = {-2, -3, RealFloat(-1.5), 0, 0};
    auto const get = [&font] {
        return std::vector<RealFloat>{font.GetKerning('A', 'V'), font.GetKerning('V', 'A'),
                                      font.GetKerning('A', 'T'), font.GetKerning('A', 'U'),
                                      font.GetKerning('T', 'A')};
    };
    EXPECT_TRUE(font.SetKerning('V', 'A', -3));
    EXPECT_TRUE(font.SetKerning('A', 'V', 4));
    EXPECT_TRUE(font.SetKerning('A', 'T', RealFloat(-1.5)));
    EXPECT_TRUE(font.SetKerning(0x10ffff, 0, 1));
    EXPECT_EQ(font.GetKerning(0x10ffff, 0), 1);
    unsigned int const nRevision = font.GetRevision();
    EXPECT_TRUE(font.SetKerning('A', 'V', -2));
    EXPECT_EQ(font.GetRevision(), nRevision + 1);
    EXPECT_EQ(get(), distances);
    EXPECT_TRUE(font.SetKerning('A', 'V', 0));
    EXPECT_EQ(get(), (std::vector<RealFloat>{0, -3, RealFloat(-1.5), 0, 0})) << "its neighbours stay";
}

TEST(FontKerning, IsFoundWhateverPairsComeAndGoAndMemoryFailsInBetween) {
    TestFont font;
    std::map<std::pair<unsigned int, unsigned int>, RealFloat> expected;
    std::minstd_rand random(5);
    for (unsigned int nStep = 0; nStep < 3000; ++nStep) {
        unsigned int const nFirst = random() % 30 * 1000, nSecond = random() % 30;
        // More come than go at first, then all go.
        RealFloat const rDistance = nStep < 1500 ? static_cast<RealFloat>(random() % 4) : RealFloat(0);
        Allocation::FailAfter(nStep % 3);
        bool const fSet = font.SetKerning(nFirst, nSecond, rDistance);
        Allocation::FailNever();
        if (fSet) {
            expected[{nFirst, nSecond}] = rDistance;
        }
        for (unsigned int n = 0; nStep % 100 == 99 && n < 900; ++n) {
            std::pair<unsigned int, unsigned int> const pair(n / 30 * 1000, n % 30);
            ASSERT_EQ(font.GetKerning(pair.first, pair.second), expected[pair]) << nStep << " " << n;
        }
    }
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
    font.SetKerning('A', 'C', 1);
    font.SetKerning('A', 'C', 0); // none any more
    Animate<RealFloat>(font.GetUnderlineThicknessProperty(), 0, {1});
    font.AddMesh(MakeMesh(4, {0, 1, 2, 0, 2, 3}));
    MemoryTracer ofPage;
    ofPage.EmitObject(pPage.Get());
    MemoryTracer tracer;
    tracer.EmitObject(&font);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), ofPage.GetBytes(MemoryType::Texture));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Object), ofPage.GetBytes(MemoryType::Object) + sizeof(Font));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Property), sizeof(SampleController<RealFloat>) + sizeof(RealFloat));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Geometry), 4 * sizeof(Vector3) + 6 * sizeof(unsigned short));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Font), 2 * (sizeof(Glyph*) + sizeof(Glyph)) + sizeof(KerningPair) +
                                                     16 * sizeof(int) + // the table that finds it
                                                     sizeof(GlyphMesh*) + sizeof(GlyphMesh));
}

TEST(DocumentFont, APageThatCannotBeEnteredFailsTheDocument) {
    /** Runs out of memory for as long as it enters its page. */
    class Short : public TestFont {
    public:
        bool Save(Serializer& serializer) override {
            Ref<Texture> const pPage = MakePage(1);
            Allocation::FailAfter(0);
            EXPECT_EQ(serializer.GetTextureIndex(pPage.Get()), -1);
            Allocation::FailNever();
            return TestFont::Save(serializer);
        }
    };
    Serializer serializer;
    serializer.GetFontIndex(new Short);
    EXPECT_FALSE(serializer.Finish());
}

TEST(DocumentFont, ThatCouldNotBeLoadedIsNotSaved) {
    TraceLog traces;
    Glyph image = MakeGlyph('A');
    image.m_fImage = true;
    TestFont fonts[4];
    fonts[0].AddGlyph(image);
    fonts[1].AddGlyph(MakeGlyph('A', nullptr, 0));
    fonts[2].AddGlyph(MakeGlyph('A', nullptr, -2));
    fonts[3].SetMetrics(FontMetrics{1, 1, 1, 1, 1, 1, NaN});
    for (TestFont& font : fonts) {
        EXPECT_FALSE(SaveToNode(font));
    }
    std::string const sMesh = "[kelvo] Glyph U+0041 cannot be saved: its mesh is none of the font's";
    EXPECT_EQ(traces.Messages(),
              (std::vector<std::string>{
                  "[kelvo] Glyph U+0041 cannot be saved: it is an image and has no texture", sMesh, sMesh,
                  "[kelvo] A font's metrics cannot be saved: they are not finite"}));
}

TEST(DocumentFont, TablesNeedNoOrderAndOfEqualEntriesTheLastOneCounts) {
    Ref<DocumentNode> const pTurned(new DocumentNode(0, 0));
    std::vector<unsigned char> table;
    Glyph glyphs[] = {MakeGlyph('B'), MakeGlyph('A'), MakeGlyph('B')};
    glyphs[2].m_nAdvance = 77;
    for (Glyph const& glyph : glyphs) {
        TestFont source;
        source.AddGlyph(glyph);
        std::vector<unsigned char> const saved = GetBytes(*SaveToNode(source), HashName("Glyphs"));
        table.insert(table.end(), saved.begin(), saved.end());
    }
    AddBytes(*pTurned, HashName("Glyphs"), table);
    AddBytes(*pTurned, HashName("Metrics"), BytesOf(FontMetrics()));
    AddBytes(*pTurned, HashName("Kerning"),
             BytesOf(0x42, 0x41, RealFloat(2), 0x41, 0x42, RealFloat(1), 0x42, 0x41, RealFloat(3), 0x43, 0x41,
                     RealFloat(4), 0x43, 0x41, RealFloat(0)));
    TestFont font;
    ASSERT_TRUE(LoadFrom(pTurned, font));
    EXPECT_EQ(CodePointsOf(font), (std::vector<unsigned int>{'A', 'B'}));
    EXPECT_EQ(font.GetGlyph('B')->m_nAdvance, 77);
    EXPECT_EQ(GetBytes(*SaveToNode(font), HashName("Kerning")),
              BytesOf(0x41, 0x42, RealFloat(1), 0x42, 0x41, RealFloat(3)))
        << "a distance of 0 takes its pair out";
}

TEST(DocumentFont, LoadingReplacesWhatTheFontHad) {
    TestOutlines source;
    source.AddGlyph(MakeGlyph('B'));
    source.AddGlyph(MakeGlyph(0x3042));
    TestOutlines font;
    font.AddGlyph(MakeGlyph('A'));
    font.AddGlyph(MakeGlyph('B'));
    font.SetKerning('A', 'B', 1);
    font.AddMesh(new GlyphMesh);
    unsigned int const nRevision = font.GetRevision();
    ASSERT_TRUE(LoadFrom(SaveToNode(source), font));
    EXPECT_EQ(CodePointsOf(font), (std::vector<unsigned int>{'B', 0x3042}));
    EXPECT_TRUE(!font.GetGlyph('A') && font.GetGlyph('B') == font.GetGlyphAt(0));
    EXPECT_EQ(font.GetKerning('A', 'B'), 0);
    EXPECT_EQ(font.GetMeshCount(), 0u);
    EXPECT_NE(font.GetRevision(), nRevision);
}

TEST(Font, IdsAreUnique) {
    TestFont one;
    TestFont two;
    EXPECT_TRUE(one.Initialize() && two.Initialize());
    unsigned int const nID = one.GetID();
    EXPECT_TRUE(nID != 0 && nID != two.GetID());
    one.Initialize();
    EXPECT_EQ(one.GetID(), nID) << "kept";
    one.GenerateID();
    EXPECT_NE(one.GetID(), nID);
}

} // namespace
} // namespace trevik::kelvo::test
