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

/** Gives a font everything that is saved, in two glyphs on two pages, an image among them. */
void Fill(Font& font) {
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = 32;
    metrics.m_rYPixelsPerEm = 33;
    metrics.m_rScaleFactorX = RealFloat(0.5);
    metrics.m_rScaleFactorY = RealFloat(0.25);
    metrics.m_rAscent = 24;
    metrics.m_rDescent = RealFloat(7.25);
    metrics.m_rLeading = 4;
    font.SetMetrics(metrics);
    font.AddGlyph(MakeGlyph('A', MakePage(1)));
    Glyph image = MakeGlyph(0x1f600, MakePage(2));
    image.m_fImage = true;
    font.AddGlyph(image);
    font.SetKerning('A', 0x1f600, RealFloat(-2.5));
    font.SetKerning('A', 'A', 3);
    font.GetUnderlineProperty().SetValue(true);
    Animate(font.GetUnderlineThicknessProperty(), 0, std::vector<RealFloat>{1, 5});
}

/** Whether two glyphs agree in all but their textures, of which both have one or none. */
void ExpectSame(Glyph const& a, Glyph const& b) {
    EXPECT_EQ(a.m_nCodePoint, b.m_nCodePoint);
    EXPECT_EQ(a.m_nWidth, b.m_nWidth);
    EXPECT_EQ(a.m_nHeight, b.m_nHeight);
    EXPECT_EQ(a.m_nOffsetX, b.m_nOffsetX);
    EXPECT_EQ(a.m_nOffsetY, b.m_nOffsetY);
    EXPECT_EQ(a.m_nAdvance, b.m_nAdvance);
    EXPECT_EQ(bool(a.m_pTexture), bool(b.m_pTexture));
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(a.m_textureRectangle[n], b.m_textureRectangle[n]);
    }
    EXPECT_EQ(a.m_fImage, b.m_fImage);
    EXPECT_EQ(a.m_nMesh, b.m_nMesh);
    EXPECT_EQ(a.m_rDivisorX, b.m_rDivisorX);
    EXPECT_EQ(a.m_rDivisorY, b.m_rDivisorY);
    EXPECT_EQ(a.m_origin.x, b.m_origin.x);
    EXPECT_EQ(a.m_origin.y, b.m_origin.y);
}

void ExpectSame(Font const& a, Font const& b) {
    for (RealFloat (Font::*pfnGet)() const :
         {&Font::GetXPixelsPerEm, &Font::GetYPixelsPerEm, &Font::GetScaleFactorX, &Font::GetScaleFactorY,
          &Font::GetAscent, &Font::GetDescent, &Font::GetLeading}) {
        EXPECT_EQ((a.*pfnGet)(), (b.*pfnGet)());
    }
    ASSERT_EQ(CodePointsOf(a), CodePointsOf(b));
    for (unsigned int nCodePoint : CodePointsOf(a)) {
        ExpectSame(*a.GetGlyph(nCodePoint), *b.GetGlyph(nCodePoint));
    }
    for (unsigned int nFirst : CodePointsOf(a)) {
        for (unsigned int nSecond : CodePointsOf(a)) {
            EXPECT_EQ(a.GetKerning(nFirst, nSecond), b.GetKerning(nFirst, nSecond));
        }
    }
}

TEST(DocumentFont, BothKindsComeBackWithAllTheyHave) {
    TestFontRegistry registry;
    Ref<TestFont> const pBitmaps(new TestFont);
    Ref<TestOutlines> const pOutlines(new TestOutlines);
    Fill(*pBitmaps);
    Fill(*pOutlines);
    pOutlines->AddMesh(MakeMesh(0, {}));
    pOutlines->AddMesh(MakeMesh(4, {0, 1, 2, 3, 2, 1}));
    pOutlines->AddGlyph(MakeGlyph('M', nullptr, 1));
    Deserializer deserializer(SaveFonts({pBitmaps.Get(), pOutlines.Get()}), registry);
    Ref<Font> const pFirst = deserializer.GetFont(0);
    ASSERT_NE(dynamic_cast<TestFont*>(pFirst.Get()), nullptr);
    ExpectSame(*pFirst, *pBitmaps);
    EXPECT_EQ(pFirst->GetGlyph('A')->m_pTexture->GetPixelData().GetBuffer().GetData()[0], 1);
    EXPECT_TRUE(pFirst->GetUnderlineProperty().GetValue());
    pFirst->GetUnderlineThicknessProperty().Update(UpdateContext(), 1);
    EXPECT_EQ(pFirst->GetUnderlineThicknessProperty().GetValue(), 5) << "animated as the saved one";
    EXPECT_NE(pFirst->GetID(), 0u) << "ready for use";

    Ref<Font> const pSecond = deserializer.GetFont(1);
    TestOutlines const* const pLoaded = dynamic_cast<TestOutlines*>(pSecond.Get());
    ASSERT_NE(pLoaded, nullptr);
    ExpectSame(*pLoaded, *pOutlines);
    ASSERT_EQ(pLoaded->GetMeshCount(), 2u);
    EXPECT_TRUE(pLoaded->GetMesh(0)->m_indices.GetValue().IsEmpty());
    EXPECT_EQ(pLoaded->GetMesh(1)->m_positions.GetValue(), pOutlines->GetMesh(1)->m_positions.GetValue());
    EXPECT_EQ(pLoaded->GetMesh(1)->m_indices.GetValue(), pOutlines->GetMesh(1)->m_indices.GetValue());
}

TEST(DocumentFont, OnesSharedAreSavedOnceAndSoAreTheirPages) {
    TestFontRegistry registry;
    Ref<Texture> const pPage = MakePage(1);
    Ref<Font> const fonts[2] = {Ref<Font>(new TestFont), Ref<Font>(new TestOutlines)};
    fonts[0]->AddGlyph(MakeGlyph('A', pPage));
    fonts[0]->AddGlyph(MakeGlyph('B', pPage));
    fonts[1]->AddGlyph(MakeGlyph('A', pPage));
    Serializer serializer;
    serializer.PushTag(HashName("Scene"), 0);
    EXPECT_EQ(serializer.GetFontIndex(fonts[0].Get()), 0);
    EXPECT_EQ(serializer.GetFontIndex(fonts[1].Get()), 1);
    EXPECT_EQ(serializer.GetFontIndex(fonts[0].Get()), 0) << "another text in the same font";
    Ref<DocumentNode> const pDocument = serializer.Finish();
    ASSERT_TRUE(pDocument);
    ASSERT_EQ(pDocument->GetChildCount(), 3u);
    EXPECT_EQ(pDocument->GetChild(0)->GetTagID(), HashName("Textures"));
    EXPECT_EQ(pDocument->GetChild(0)->GetChildCount(), 1u);
    DocumentNode const& table = *pDocument->GetChild(1);
    EXPECT_EQ(table.GetTagID(), HashName("Fonts"));
    ASSERT_EQ(table.GetChildCount(), 2u);
    EXPECT_EQ(table.GetChild(0)->GetTagID(), HashName("Font"));
    EXPECT_EQ(table.GetChild(0)->GetTypeID(), HashName("Font"));
    EXPECT_EQ(table.GetChild(1)->GetTagID(), HashName("Font"));
    EXPECT_EQ(table.GetChild(1)->GetTypeID(), HashName("PolygonalFont"));

    Deserializer deserializer(pDocument, registry);
    Ref<Font> const pFirst = deserializer.GetFont(0);
    Ref<Font> const pSecond = deserializer.GetFont(1);
    ASSERT_TRUE(pFirst && pSecond);
    EXPECT_EQ(deserializer.GetFont(0), pFirst);
    EXPECT_EQ(pFirst->GetGlyph('A')->m_pTexture, pFirst->GetGlyph('B')->m_pTexture);
    EXPECT_EQ(pFirst->GetGlyph('A')->m_pTexture, pSecond->GetGlyph('A')->m_pTexture);
    EXPECT_FALSE(deserializer.GetFont(2));
    EXPECT_TRUE(deserializer.GetError().IsEmpty()) << "no font at all is no fault";
}

TEST(DocumentFont, WithoutMemoryTheDocumentIsWholeOrNone) {
    TestFontRegistry registry;
    TraceLog traces;
    Ref<Font> const pFont(new TestFont);
    Fill(*pFont);
    {
        Serializer serializer;
        Allocation::FailAfter(0);
        EXPECT_EQ(serializer.GetFontIndex(pFont.Get()), -1);
        Allocation::FailNever();
        EXPECT_FALSE(serializer.Finish()) << "its user would lose the font";
    }
    Ref<DocumentNode> pDocument;
    unsigned int nFailures = 0;
    for (; !pDocument && nFailures < 1000; ++nFailures) {
        Serializer serializer;
        serializer.GetFontIndex(pFont.Get());
        Allocation::FailAfter(nFailures);
        pDocument = serializer.Finish();
        Allocation::FailNever();
    }
    EXPECT_GT(nFailures, 10u);
    Deserializer deserializer(pDocument, registry);
    Ref<Font> const pLoaded = deserializer.GetFont(0);
    ASSERT_TRUE(pLoaded);
    ExpectSame(*pLoaded, *pFont);
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

TEST(DocumentFont, EntriesOfOtherClassesAreNotTakenForFonts) {
    TraceLog traces;
    TestFontRegistry registry;
    Ref<DocumentNode> const pDocument(new DocumentNode(0, 0));
    Ref<DocumentNode> const pTable(new DocumentNode(HashName("Fonts"), 0));
    pDocument->AddChild(pTable);
    pTable->AddChild(Ref<DocumentNode>(new DocumentNode(HashName("Font"), HashName("Texture"))));
    pTable->AddChild(Ref<DocumentNode>(new DocumentNode(HashName("Texture"), HashName("Font"))));
    Deserializer deserializer(pDocument, registry);
    EXPECT_FALSE(deserializer.GetFont(0));
    EXPECT_FALSE(deserializer.GetFont(1));
    ClassRegistry empty;
    Deserializer withoutClasses(SaveFonts({Ref<Font>(new TestFont).Get()}), empty);
    EXPECT_FALSE(withoutClasses.GetFont(0));
    EXPECT_EQ(traces.GetLines().size(), 2u) << "one line for each document";
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
    ASSERT_EQ(traces.GetLines().size(), 8u) << "what is wrong, and with which font";
    EXPECT_EQ(traces.GetLines()[0],
              "[kelvo] Glyph U+0041 cannot be saved: it is an image and has no texture");
    EXPECT_EQ(traces.GetLines()[1], "[kelvo] Font 0 cannot be saved, nor can the document that uses it");
    EXPECT_EQ(traces.GetLines()[2], "[kelvo] Glyph U+0041 cannot be saved: its mesh is none of the font's");
}

/** Where a saved glyph's fields lie. */
struct GlyphField {
    enum Enum { CodePoint = 0, Texture = 20, Rectangle = 24, Mesh = 40, Image = 42, Origin = 56, Size = 60 };
};

/** Copies a tree; of one attribute, wherever it is long enough, some bytes are others or missing at the end.
 */
class Damage {
public:
    Damage(char const* pAttribute, std::size_t nOffset, std::vector<unsigned char> const& bytes)
        : m_nAttributeID(HashName(pAttribute)), m_nOffset(nOffset), m_bytes(bytes) {}
    Damage(char const* pAttribute, std::size_t nMissing)
        : m_nAttributeID(HashName(pAttribute)), m_nMissing(nMissing) {}

    Ref<DocumentNode> Apply(DocumentNode const& node) const {
        Ref<DocumentNode> pCopy(new DocumentNode(node.GetTagID(), node.GetTypeID()));
        for (char const* pAttribute : {"Metrics", "Glyphs", "Kerning", "Positions", "Indices", "Name",
                                       "Value", "StartFrame", "Size", "Samples"}) {
            unsigned int const nID = HashName(pAttribute);
            std::vector<unsigned char> bytes = GetBytes(node, nID);
            if (nID == m_nAttributeID && bytes.size() >= m_nMissing % Whole + m_nOffset + m_bytes.size()) {
                bytes.resize(bytes.size() - m_nMissing % Whole);
                std::copy(m_bytes.begin(), m_bytes.end(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(m_nOffset));
            }
            if (HasAttribute(node, nID) && (nID != m_nAttributeID || m_nMissing != Whole)) {
                AddBytes(*pCopy, nID, bytes);
            }
        }
        for (unsigned int nChild = 0; nChild < node.GetChildCount(); ++nChild) {
            pCopy->AddChild(Apply(*node.GetChild(nChild)));
        }
        return pCopy;
    }

    static constexpr std::size_t Whole = 1000000; ///< missing bytes: the attribute is not there

private:
    unsigned int m_nAttributeID;
    std::size_t m_nOffset = 0;
    std::vector<unsigned char> m_bytes;
    std::size_t m_nMissing = 0;
};

/** A font with a glyph, kerning, an underline scale and, if it can have one, a mesh. */
template <class T>
void FillPlainly(T& font) {
    font.AddGlyph(MakeGlyph('A'));
    font.AddGlyph(MakeGlyph('B'));
    font.SetKerning('A', 'B', 1);
    font.GetUnderlineScaleProperty().SetValue(2);
}

TEST(DocumentFont, ADamagedOneIsRefusedAndLeavesTheFontAsItWas) {
    struct Case {
        Damage m_damage;
        char const* m_pReason;
    };
    std::size_t const nSecond = GlyphField::Size;
    Case const cases[] = {
        {Damage("Metrics", Damage::Whole), "a font lacks its metrics"},
        {Damage("Metrics", 8, BytesOf(NaN)), "a font's metrics are not finite"},
        {Damage("Glyphs", Damage::Whole), "a font lacks its glyphs, or memory is short"},
        {Damage("Glyphs", 1), "a font lacks its glyphs, or memory is short"},
        {Damage("Glyphs", nSecond + GlyphField::CodePoint, BytesOf(0x110000)),
         "glyph U+110000: there is no such code point"},
        {Damage("Glyphs", nSecond + GlyphField::Texture, BytesOf(0)),
         "glyph U+0042: the document lacks its texture"},
        {Damage("Glyphs", GlyphField::Texture, BytesOf(-2)), "glyph U+0041: the document lacks its texture"},
        {Damage("Glyphs", GlyphField::Rectangle, BytesOf(Infinity)),
         "glyph U+0041: one of its numbers is not finite"},
        {Damage("Glyphs", GlyphField::Mesh, BytesOf(short(1))),
         "glyph U+0041: its mesh is none of the font's"},
        {Damage("Glyphs", GlyphField::Mesh, BytesOf(short(-2))),
         "glyph U+0041: its mesh is none of the font's"},
        {Damage("Glyphs", GlyphField::Image, BytesOf(short(1))),
         "glyph U+0041: it is an image and has no texture"},
        {Damage("Glyphs", GlyphField::Image, BytesOf(short(2))), "glyph U+0041: it is of an unknown kind"},
        {Damage("Kerning", Damage::Whole), "a font lacks its kerning, or memory is short"},
        {Damage("Kerning", 4), "a font lacks its kerning, or memory is short"},
        {Damage("Kerning", 0, BytesOf(0x110000)),
         "the kerning of U+110000 and U+0042 is no distance of two code points"},
        {Damage("Kerning", 4, BytesOf(0x110000)),
         "the kerning of U+0041 and U+110000 is no distance of two code points"},
        {Damage("Kerning", 8, BytesOf(-Infinity)),
         "the kerning of U+0041 and U+0042 is no distance of two code points"},
        {Damage("Value", 1),
         "property \"Underline\": the document holds no controller or value that fits it"},
        {Damage("Positions", Damage::Whole), "mesh 0 does not consist of triangles between finite positions"},
        {Damage("Positions", 1), "mesh 0 does not consist of triangles between finite positions"},
        {Damage("Positions", 4, BytesOf(NaN)),
         "mesh 0 does not consist of triangles between finite positions"},
        {Damage("Indices", Damage::Whole), "mesh 0 does not consist of triangles between finite positions"},
        {Damage("Indices", 2), "mesh 0 does not consist of triangles between finite positions"},
        {Damage("Indices", 4, BytesOf(short(3))),
         "mesh 0 does not consist of triangles between finite positions"}};
    TestOutlines source;
    FillPlainly(source);
    source.AddMesh(MakeMesh(3, {0, 1, 2}));
    Ref<DocumentNode> const pWhole = SaveToNode(source);
    for (Case const& test : cases) {
        SCOPED_TRACE(test.m_pReason);
        TraceLog traces;
        TestOutlines font;
        font.AddGlyph(MakeGlyph('Z'));
        font.SetKerning('Z', 'Z', 9);
        font.AddMesh(new GlyphMesh);
        font.AddMesh(new GlyphMesh);
        Glyph const* const pGlyph = font.GetGlyph('Z');
        unsigned int const nRevision = font.GetRevision();
        EXPECT_FALSE(LoadFrom(test.m_damage.Apply(*pWhole), font));
        EXPECT_EQ(traces.GetOnly(), std::string("[kelvo] : cannot be loaded: ") + test.m_pReason);
        EXPECT_EQ(CodePointsOf(font), std::vector<unsigned int>{'Z'});
        EXPECT_EQ(font.GetGlyph('Z'), pGlyph);
        EXPECT_EQ(font.GetKerning('Z', 'Z'), 9);
        EXPECT_EQ(font.GetMeshCount(), 2u);
        EXPECT_EQ(font.GetUnderlineScaleProperty().GetValue(), 1);
        EXPECT_EQ(font.GetRevision(), nRevision);
    }
    TestOutlines font;
    EXPECT_TRUE(LoadFrom(Damage("None", 0).Apply(*pWhole), font)) << "undamaged, the copy can be loaded";
}

TEST(DocumentFont, WithoutMemoryItIsRefusedAndLeavesTheFontAsItWas) {
    TestOutlines source;
    FillPlainly(source);
    source.AddMesh(MakeMesh(3, {0, 1, 2}));
    Ref<DocumentNode> const pNode = SaveToNode(source);
    ClassRegistry registry;
    TraceLog traces;
    bool fLoaded = false;
    unsigned int nFailures = 0;
    for (; !fLoaded && nFailures < 1000; ++nFailures) {
        TestOutlines font;
        font.AddGlyph(MakeGlyph('Z'));
        Deserializer deserializer(pNode, registry);
        Allocation::FailAfter(nFailures);
        fLoaded = font.Load(deserializer);
        Allocation::FailNever();
        EXPECT_EQ(font.GetGlyph('Z') == nullptr, fLoaded) << nFailures;
        EXPECT_EQ(font.GetMeshCount(), fLoaded ? 1u : 0u) << nFailures;
        EXPECT_EQ(font.GetUnderlineScaleProperty().GetValue(), fLoaded ? 2 : 1) << nFailures;
    }
    EXPECT_TRUE(fLoaded);
    EXPECT_GT(nFailures, 5u);
}

TEST(DocumentFont, TablesNeedNoOrderAndOfEqualEntriesTheLastOneCounts) {
    TestFont source;
    FillPlainly(source);
    source.SetKerning('B', 'A', 2);
    Ref<DocumentNode> const pSaved = SaveToNode(source);
    std::vector<unsigned char> const glyphs = GetBytes(*pSaved, HashName("Glyphs"));
    auto const at = [&](std::size_t n) { return glyphs.begin() + static_cast<std::ptrdiff_t>(n); };
    std::vector<unsigned char> turned(at(GlyphField::Size), glyphs.end());
    turned.insert(turned.end(), glyphs.begin(), at(GlyphField::Size));
    turned.insert(turned.end(), at(GlyphField::Size), glyphs.end());
    std::vector<unsigned char> const advance = BytesOf(77);
    std::copy(advance.begin(), advance.end(), turned.end() - (GlyphField::Size - 16));
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

TEST(DocumentFont, AFaultNamesTheFontsPlaceInTheDocument) {
    TraceLog traces;
    TestFontRegistry registry;
    Ref<Font> const pWhole(new TestFont);
    Ref<Font> const pBroken(new TestFont);
    pBroken->AddGlyph(MakeGlyph('A'));
    Ref<DocumentNode> const pDocument =
        Damage("Glyphs", GlyphField::Origin, BytesOf(NaN)).Apply(*SaveFonts({pWhole.Get(), pBroken.Get()}));
    Deserializer deserializer(pDocument, registry);
    EXPECT_FALSE(deserializer.GetFont(1));
    EXPECT_FALSE(deserializer.GetFont(1)) << "tried once";
    EXPECT_EQ(traces.GetOnly(),
              "[kelvo] /Fonts/#1: cannot be loaded: glyph U+0041: one of its numbers is not finite");
}

} // namespace
} // namespace trevik::kelvo::test
