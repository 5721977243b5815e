#include "FontFile.h"

#include "TestFiles.h"
#include "TestFonts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

namespace trevik::kelvo::assets::testing {
namespace {

/** Where on its page a glyph lies, in pixels. */
struct Area {
    int left, top, right, bottom;

    bool Overlaps(Area const& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
};

int SideOf(Glyph const& glyph) {
    return glyph.m_pTexture->GetWidth();
}

Area AreaOf(Glyph const& glyph) {
    auto const side = static_cast<float>(SideOf(glyph));
    float edges[4];
    for (int i = 0; i < 4; ++i) {
        edges[i] = glyph.m_textureRectangle[i] * side;
        EXPECT_EQ(edges[i], std::floor(edges[i])) << "not on the edge of a pixel";
    }
    return {int(edges[1]), int(edges[0]), int(edges[3]), int(edges[2])};
}

std::uint8_t const* PixelsOf(Texture& texture) {
    return texture.GetPixelData().GetBuffer().GetData();
}

std::vector<Glyph const*> GlyphsOf(Font const& font) {
    std::vector<Glyph const*> glyphs;
    for (unsigned int i = 0; i < font.GetGlyphCount(); ++i) {
        glyphs.push_back(font.GetGlyphAt(i));
    }
    return glyphs;
}

std::set<Texture*> PagesOf(Font const& font) {
    std::set<Texture*> pages;
    for (Glyph const* pGlyph : GlyphsOf(font)) {
        if (pGlyph->m_pTexture) {
            pages.insert(pGlyph->m_pTexture.Get());
        }
    }
    return pages;
}

/** Compares a glyph's measures and pixels with the picture that FreeType draws. */
void ExpectDrawn(Glyph const& glyph, FT_GlyphSlot pSlot) {
    FT_Bitmap const& picture = pSlot->bitmap;
    ASSERT_EQ(glyph.m_nWidth, picture.width);
    ASSERT_EQ(glyph.m_nHeight, picture.rows);
    EXPECT_EQ(glyph.m_nAdvance, std::lround(static_cast<double>(pSlot->advance.x) / 64));
    ASSERT_EQ(static_cast<bool>(glyph.m_pTexture), picture.rows > 0);
    if (!glyph.m_pTexture) {
        return;
    }
    EXPECT_EQ(glyph.m_nOffsetX, pSlot->bitmap_left);
    EXPECT_EQ(glyph.m_nHeight - glyph.m_nOffsetY, pSlot->bitmap_top); // the top edge above the baseline
    Area const area = AreaOf(glyph);
    ASSERT_EQ(area.right - area.left, glyph.m_nWidth);
    ASSERT_EQ(area.bottom - area.top, glyph.m_nHeight);
    for (int y = 0; y < glyph.m_nHeight; ++y) {
        std::uint8_t const* const pRow =
            PixelsOf(*glyph.m_pTexture) + (area.top + y) * SideOf(glyph) + area.left;
        ASSERT_TRUE(std::equal(pRow, pRow + glyph.m_nWidth, picture.buffer + y * picture.pitch))
            << "row " << y;
    }
}

TEST(BitmapFontFile, GlyphsAreWhatFreeTypeDraws) {
    struct {
        int nPixelsPerEm;
        bool fHinting;
        int nLargestPage;
        bool fOnePage;
    } const cases[] = {
        {32, true, 1024, true}, {13, false, 1024, true}, {61, true, 128, false}, {32, false, 64, false}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.nPixelsPerEm);
        FontOptions options = OptionsFor(Range(0x20, 0x24F), c.nPixelsPerEm);
        options.hinting = c.fHinting;
        options.maximumPageSize = c.nLargestPage;
        Ref<BitmapFont> const pFont = ReadSans(options);
        ASSERT_TRUE(pFont);
        EXPECT_EQ(PagesOf(*pFont).size() == 1, c.fOnePage);
        ReferenceFace const face(c.nPixelsPerEm);
        for (Glyph const* pGlyph : GlyphsOf(*pFont)) {
            SCOPED_TRACE(pGlyph->m_nCodePoint);
            ExpectDrawn(*pGlyph,
                        face.Load(pGlyph->m_nCodePoint,
                                  FT_LOAD_RENDER | (c.fHinting ? FT_LOAD_DEFAULT : FT_LOAD_NO_HINTING)));
        }
    }
}

TEST(BitmapFontFile, GlyphsLieApartOnPagesThatAreEmptyElsewhere) {
    FontOptions options = OptionsFor(Range(0x20, 0x17F), 24);
    options.maximumPageSize = 128;
    Ref<BitmapFont> const pFont = ReadSans(options);
    ASSERT_TRUE(pFont);
    for (Texture* pPage : PagesOf(*pFont)) {
        int const side = pPage->GetWidth();
        std::vector<Area> areas;
        std::vector<std::uint8_t> rest(PixelsOf(*pPage), PixelsOf(*pPage) + side * side);
        for (Glyph const* pGlyph : GlyphsOf(*pFont)) {
            if (pGlyph->m_pTexture.Get() != pPage) {
                continue;
            }
            Area const area = AreaOf(*pGlyph);
            EXPECT_TRUE(area.left >= 1 && area.top >= 1 && area.right < side && area.bottom < side);
            Area const withBorder = {area.left - 1, area.top - 1, area.right + 1, area.bottom + 1};
            for (Area const& other : areas) {
                EXPECT_FALSE(withBorder.Overlaps(other)) << pGlyph->m_nCodePoint;
            }
            areas.push_back(area);
            for (int y = area.top; y < area.bottom; ++y) {
                std::fill_n(rest.begin() + y * side + area.left, pGlyph->m_nWidth, std::uint8_t(0));
            }
        }
        EXPECT_EQ(std::count(rest.begin(), rest.end(), 0), side * side);
    }
}

TEST(BitmapFontFile, PagesAreAsSmallAsTheyCanBe) {
    struct {
        std::vector<std::uint32_t> codePoints;
        int nLargestPage;
        std::multiset<int> sides;
    } const cases[] = {
        {{'A'}, 1024, {32}},                                 // 22 x 23 pixels
        {{'A', 'B'}, 1024, {64}},                            // no room beside or below
        {{'A', 'B'}, 32, {32, 32}},                          // one on each
        {{'A', 'B'}, 63, {32, 32}},                          // not a power of two: the next smaller one
        {{'A', 'B', '.'}, 32, {32, 32}},                     // the third goes below or beside one of them
        {{'A', 'B', 'C', 'D', 'E', 'F', '.'}, 64, {64, 32}}, // the last page is smaller
        {{' '}, 1024, {}},
    };
    for (auto const& c : cases) {
        FontOptions options = OptionsFor(c.codePoints);
        options.maximumPageSize = c.nLargestPage;
        Ref<BitmapFont> const pFont = ReadSans(options);
        ASSERT_TRUE(pFont);
        std::multiset<int> sides;
        for (Texture* pPage : PagesOf(*pFont)) {
            EXPECT_EQ(pPage->GetFormat(), TextureFormat::Alpha8);
            EXPECT_EQ(pPage->GetHeight(), pPage->GetWidth());
            EXPECT_EQ(pPage->GetAllocatedWidth(), pPage->GetWidth());
            sides.insert(pPage->GetWidth());
        }
        EXPECT_EQ(sides, c.sides) << c.codePoints.size() << " on " << c.nLargestPage;
    }
}

TEST(BitmapFontFile, LeavesOutWhatTheFontLacksAndWhatIsNoCodePoint) {
    Ref<BitmapFont> const pFont =
        ReadSans(OptionsFor({'B', 0xE000, 'A', 0xD800, 'B', 0x10FFFF, 0x110000, 0xFFFFFFFF, 0}));
    ASSERT_TRUE(pFont);
    ASSERT_EQ(pFont->GetGlyphCount(), 2u);
    EXPECT_TRUE(pFont->GetGlyph('A') && pFont->GetGlyph('B'));
}

TEST(FontFile, KerningIsThatOfTheFontsTable) {
    std::string const letters = "AVTo.WaLY,f";
    FontOptions options = OptionsFor({letters.begin(), letters.end()});
    Ref<BitmapFont> const pFitted = ReadSans(options);
    Ref<PolygonalFont> const pOutlines = ReadSansOutlines(options);
    options.hinting = false;
    Ref<BitmapFont> const pUnfitted = ReadSans(options);
    ASSERT_TRUE(pFitted && pUnfitted && pOutlines);
    ReferenceFace const face(32);
    int nPairs = 0;
    for (char const first : letters) {
        for (char const second : letters) {
            float const distance = face.GetKerning(first, second, FT_KERNING_UNFITTED);
            EXPECT_EQ(pFitted->GetKerning(first, second), face.GetKerning(first, second, FT_KERNING_DEFAULT));
            EXPECT_EQ(pUnfitted->GetKerning(first, second), distance);
            EXPECT_EQ(pOutlines->GetKerning(first, second), distance);
            nPairs += distance != 0;
        }
    }
    EXPECT_GT(nPairs, 20);
}

TEST(FontFile, OnlyTheFirstThousandGlyphsArePaired) {
    std::vector<std::uint32_t> const pair = {0x201C, 0xA740};
    std::vector<std::uint32_t> all = Range(0x20, 0x600);
    all.insert(all.end(), pair.begin(), pair.end());
    Ref<BitmapFont> const pSmall = ReadSans(OptionsFor(pair));
    Ref<BitmapFont> const pLarge = ReadSans(OptionsFor(all));
    ASSERT_TRUE(pSmall && pLarge && pLarge->GetGlyphCount() > 1001);
    EXPECT_EQ(pSmall->GetKerning(pair[0], pair[1]), -1);
    EXPECT_EQ(pLarge->GetKerning(pair[0], pair[1]), 0);
    EXPECT_NE(pLarge->GetKerning('A', 'V'), 0);
}

TEST(FontFile, MeasuresAreThoseOfTheSize) {
    for (int const nPixelsPerEm : {1, 7, 32, 100, 512}) {
        SCOPED_TRACE(nPixelsPerEm);
        FontOptions const options = OptionsFor({'A'}, nPixelsPerEm);
        ReferenceFace const face(nPixelsPerEm);
        FT_Size_Metrics const& size = face->size->metrics;
        Ref<BitmapFont> const pBitmaps = ReadSans(options);
        Ref<PolygonalFont> const pOutlines = ReadSansOutlines(options);
        ASSERT_TRUE(pBitmaps && pOutlines);
        for (Font* pFont : {static_cast<Font*>(pBitmaps.Get()), static_cast<Font*>(pOutlines.Get())}) {
            EXPECT_EQ(pFont->GetXPixelsPerEm(), nPixelsPerEm);
            EXPECT_EQ(pFont->GetYPixelsPerEm(), nPixelsPerEm);
            EXPECT_EQ(pFont->GetScaleFactorX(), 1);
            EXPECT_EQ(pFont->GetScaleFactorY(), 1);
            EXPECT_EQ(pFont->GetAscent(), std::lround(double(size.ascender) / 64));
            EXPECT_EQ(pFont->GetDescent(), std::lround(double(-size.descender) / 64));
            EXPECT_EQ(pFont->GetLeading(), std::max(0.0f, float(std::lround(double(size.height) / 64)) -
                                                              pFont->GetAscent() - pFont->GetDescent()));
        }
    }
}

TEST(FontFile, UnderlinesLieOnWholePixelsNearWhereTheFontWantsThem) {
    for (int const nPixelsPerEm : {5, 12, 32, 45, 200}) {
        SCOPED_TRACE(nPixelsPerEm);
        FontOptions options = OptionsFor({'A'}, nPixelsPerEm);
        options.underline = nPixelsPerEm != 12;
        Ref<BitmapFont> const pFont = ReadSans(options);
        ASSERT_TRUE(pFont);
        float const thickness = pFont->GetUnderlineThicknessProperty().GetValue();
        float const position = pFont->GetUnderlinePositionProperty().GetValue();
        ReferenceFace const face(nPixelsPerEm);
        float const pixelsPerUnit = float(nPixelsPerEm) / float(face->units_per_EM);
        EXPECT_EQ(pFont->GetUnderlineProperty().GetValue(), options.underline);
        EXPECT_EQ(pFont->GetUnderlineScaleProperty().GetValue(), 1);
        EXPECT_EQ(thickness, std::max(1.0f, std::round(face->underline_thickness * pixelsPerUnit)));
        EXPECT_EQ(position, std::floor(position));
        EXPECT_NEAR(position + thickness / 2, -face->underline_position * pixelsPerUnit, 0.55f);
    }
}

TEST(BitmapFontFile, ReadsFontsOfPicturesAtTheirOwnSize) {
    Bytes const file = ReadData("fonts/pictures.bdf");
    std::string error;
    Ref<BitmapFont> const pFont =
        ReadBitmapFont(Span(file), "x.bdf", OptionsFor({'A', 'B'}, 8), FontRegistry(), error);
    ASSERT_TRUE(pFont) << error;
    ASSERT_EQ(pFont->GetGlyphCount(), 1u);
    Glyph const& glyph = *pFont->GetGlyphAt(0);
    EXPECT_EQ(glyph.m_nAdvance, 5);
    EXPECT_EQ(glyph.m_nOffsetX, 1);
    EXPECT_EQ(glyph.m_nOffsetY, 1);
    ASSERT_TRUE(glyph.m_nWidth == 3 && glyph.m_nHeight == 4);
    Area const area = AreaOf(glyph);
    std::string drawn;
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            std::uint8_t const nPixel = PixelsOf(*glyph.m_pTexture)[y * SideOf(glyph) + x];
            drawn += nPixel == 0 ? '.' : nPixel == 255 ? '#' : '?';
        }
    }
    EXPECT_EQ(drawn, ".#."
                     "#.#"
                     "###"
                     "#.#");
    EXPECT_EQ(pFont->GetAscent(), 6);
    EXPECT_EQ(pFont->GetDescent(), 2);
    // Such a font says nothing about underlines.
    EXPECT_EQ(pFont->GetUnderlineThicknessProperty().GetValue(), 1);
    EXPECT_EQ(pFont->GetUnderlinePositionProperty().GetValue(), 1);
}

TEST(FontFile, ReadsAnyFaceOfACollection) {
    Bytes const file = ReadData("../fuzz/corpus/font/collection.ttc");
    std::string error;
    FontOptions options = OptionsFor({'A'});
    for (options.faceIndex = 0; options.faceIndex < 2; ++options.faceIndex) {
        EXPECT_TRUE(ReadBitmapFont(Span(file), "x.ttc", options, FontRegistry(), error)) << error;
    }
    EXPECT_FALSE(ReadBitmapFont(Span(file), "x.ttc", options, FontRegistry(), error));
    EXPECT_EQ(error, "x.ttc: has no face 2, only 2, the first one being 0");
}

/** The outlines' table is there, but makes no sense. */
Bytes WithDamagedGlyphs() {
    Bytes file = ReadSansFile();
    std::string const tag = "glyf";
    auto const entry = std::search(file.begin(), file.end(), tag.begin(), tag.end());
    auto const number = [&](std::ptrdiff_t nAt) {
        return std::ptrdiff_t(entry[nAt]) << 24 | entry[nAt + 1] << 16 | entry[nAt + 2] << 8 | entry[nAt + 3];
    };
    std::fill_n(file.begin() + number(8), number(12), std::uint8_t(0x7F));
    return file;
}

FontOptions Changed(void (*change)(FontOptions&)) {
    FontOptions options = OptionsFor({'A', 'W'});
    change(options);
    return options;
}

enum Readers { Bitmap = 1, Polygonal = 2, Both = 3 };

void ExpectError(Readers readers, Bytes const& file, FontOptions const& options,
                 ClassRegistry const& registry, std::string const& expected) {
    std::string bitmap = "x.ttf: " + expected, polygonal = bitmap;
    EXPECT_FALSE(readers & Bitmap && ReadBitmapFont(Span(file), "x.ttf", options, registry, bitmap));
    EXPECT_FALSE(readers & Polygonal && ReadPolygonalFont(Span(file), "x.ttf", options, registry, polygonal));
    EXPECT_EQ(bitmap, "x.ttf: " + expected);
    EXPECT_EQ(polygonal, "x.ttf: " + expected);
}

TEST(FontFile, SaysInOneLineWhatIsWrong) {
    Bytes const sans = ReadSansFile();
    Bytes const pictures = ReadData("fonts/pictures.bdf");
    std::string shades(pictures.begin(), pictures.end());
    shades.replace(shades.find("75 75 1\n"), 7, "75 75 4"); // bits a pixel
    Bytes const half(sans.begin(), sans.begin() + static_cast<std::ptrdiff_t>(sans.size() / 2));
    struct {
        Readers readers;
        Bytes file;
        void (*change)(FontOptions&);
        char const* expected;
    } const cases[] = {
        {Both, {}, [](FontOptions&) {}, "is empty"},
        {Both, Bytes(1000, 'x'), [](FontOptions&) {}, "is not a font that can be read: unknown file format"},
        {Both, half, [](FontOptions&) {}, "is not a font that can be read: unknown file format"},
        {Both, WithDamagedGlyphs(), [](FontOptions&) {},
         "the glyph of U+0041 cannot be loaded: invalid outline"},
        {Both, sans, [](FontOptions& o) { o.pixelsPerEm = 0; },
         "cannot be read at 0 pixels per em, only at 1 to 512"},
        {Both, sans, [](FontOptions& o) { o.pixelsPerEm = 513; },
         "cannot be read at 513 pixels per em, only at 1 to 512"},
        {Both, sans, [](FontOptions& o) { o.faceIndex = -1; }, "has no face -1"},
        {Both, sans, [](FontOptions& o) { o.faceIndex = 1; }, "has no face 1, only 1, the first one being 0"},
        {Bitmap, sans, [](FontOptions& o) { o.maximumPageSize = 3; },
         "cannot be put on pages of at most 3 pixels, only of 4 to 8192"},
        {Bitmap, sans, [](FontOptions& o) { o.maximumPageSize = 8193; },
         "cannot be put on pages of at most 8193 pixels, only of 4 to 8192"},
        {Bitmap, sans, [](FontOptions& o) { o.maximumPageSize = 31; },
         "the glyph of U+0041 has 22 x 23 pixels, too many for a page of 16 x 16"},
        {Bitmap, sans, [](FontOptions& o) { o.codePoints = {'g'}, o.maximumPageSize = 16; },
         "the glyph of U+0067 has 17 x 25 pixels, too many for a page of 16 x 16"},
        {Bitmap, pictures, [](FontOptions& o) { o.pixelsPerEm = 9; },
         "has no glyphs at 9 pixels per em, only at 8"},
        {Bitmap, Bytes(shades.begin(), shades.end()), [](FontOptions& o) { o.pixelsPerEm = 8; },
         "the glyph of U+0041 is a picture of an unsupported kind"},
        {Polygonal, pictures, [](FontOptions& o) { o.pixelsPerEm = 8; },
         "has pictures of its glyphs, but no outlines"},
    };
    for (auto const& c : cases) {
        ExpectError(c.readers, c.file, Changed(c.change), FontRegistry(), c.expected);
    }
    ExpectError(Bitmap, sans, OptionsFor({'A'}), ClassRegistry(), "no class \"Font\" to make a font of it");
    ExpectError(Polygonal, sans, OptionsFor({'A'}), ClassRegistry(),
                "no class \"PolygonalFont\" to make a font of it");
}

TEST(FontFile, RefusesFilesThatCannotBeReadOrAreTooLarge) {
    TemporaryFolder const folder;
    folder.Write("large.ttf", {});
    std::filesystem::resize_file(folder.Path("large.ttf"), (64u << 20) + 1);
    std::string const paths[] = {folder.Path("none.ttf"), folder.Path(""), folder.Path("large.ttf")};
    for (std::string const& path : paths) {
        std::string bitmap, polygonal;
        EXPECT_FALSE(ReadBitmapFont(path, OptionsFor({'A'}), FontRegistry(), bitmap));
        EXPECT_FALSE(ReadPolygonalFont(path, OptionsFor({'A'}), FontRegistry(), polygonal));
        EXPECT_TRUE(IsMessage(bitmap, path + ": *"));
        EXPECT_EQ(bitmap, polygonal);
    }
}

TEST(FindFontFile, TakesTheFileOfAFamilyAndStyleAndNoOther) {
    struct {
        char const* family;
        char const* style;
        char const* pFile;
        char const* pError;
    } const cases[] = {
        {"DejaVu Sans", "", "DejaVuSans.ttf", ""},
        {"DejaVu Sans", "Bold", "DejaVuSans-Bold.ttf", ""},
        {"dejavu sans mono", "bold", "DejaVuSansMono-Bold.ttf", ""},
        {"No Such Family", "", "before",
         "font \"No Such Family\": the system does not have it; the nearest is \"*"},
        {"", "", "before", "font \"\": the system does not have it; the nearest is \"*"},
        {"DejaVu Sans", "Chunky", "before",
         "font \"DejaVu Sans\": has no style \"Chunky\"; the nearest is \"*"},
    };
    for (auto const& c : cases) {
        std::string path = "before";
        std::string error;
        int nFace = 7;
        EXPECT_EQ(FindFontFile(c.family, c.style, path, nFace, error), *c.pError == 0);
        EXPECT_TRUE(IsMessage(error, c.pError));
        EXPECT_EQ(std::filesystem::path(path).filename(), c.pFile);
        EXPECT_EQ(nFace, *c.pError == 0 ? 0 : 7);
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
