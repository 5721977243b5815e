#include "font/FontFile.h"

#include "TestFonts.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

namespace trevik::kelvo::assets::testing {
namespace {

/** Where on its page a glyph lies, in pixels. */
struct Area {
    int left, top, right, bottom;
};

Area AreaOf(Glyph const& glyph) {
    float edges[4];
    for (int i = 0; i < 4; ++i) {
        edges[i] = glyph.m_textureRectangle[i] * static_cast<float>(glyph.m_pTexture->GetWidth());
        EXPECT_EQ(edges[i], std::floor(edges[i])) << "not on the edge of a pixel";
    }
    return {int(edges[1]), int(edges[0]), int(edges[3]), int(edges[2])};
}

std::uint8_t PixelOf(Texture& page, int x, int y) {
    return page.GetPixelData().GetBuffer().GetData()[y * page.GetWidth() + x];
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
        for (int x = 0; x < glyph.m_nWidth; ++x) {
            ASSERT_EQ(PixelOf(*glyph.m_pTexture, area.left + x, area.top + y),
                      picture.buffer[y * picture.pitch + x])
                << x << ", " << y;
        }
    }
}

/** No glyph touches another or the page's edge, and there is nothing else on the page. */
void ExpectApart(Font const& font, Texture& page) {
    int const side = page.GetWidth();
    std::vector<bool> covered(std::size_t(side * side));
    for (Glyph const* pGlyph : GlyphsOf(font)) {
        if (pGlyph->m_pTexture.Get() != &page) {
            continue;
        }
        Area const area = AreaOf(*pGlyph);
        ASSERT_TRUE(area.left >= 1 && area.top >= 1 && area.right < side && area.bottom < side);
        for (int y = area.top - 1; y <= area.bottom; ++y) {
            for (int x = area.left - 1; x <= area.right; ++x) {
                EXPECT_FALSE(covered[std::size_t(y * side + x)]) << pGlyph->m_nCodePoint;
            }
        }
        for (int y = area.top; y < area.bottom; ++y) {
            std::fill_n(covered.begin() + y * side + area.left, pGlyph->m_nWidth, true);
        }
    }
    for (int n = 0; n < side * side; ++n) {
        EXPECT_TRUE(covered[std::size_t(n)] || PixelOf(page, n % side, n / side) == 0);
    }
}

TEST(BitmapFontFile, GlyphsAreWhatFreeTypeDrawsAndLieApart) {
    struct {
        int nPixelsPerEm;
        bool fHinting;
        int nLargestPage;
        bool fOnePage;
    } const cases[] = {
        {32, true, 1024, true}, {13, false, 1024, true}, {61, true, 128, false}, {32, false, 64, false}};
    for (auto const& test : cases) {
        FontOptions options = OptionsFor(Range(0x20, 0x24F), test.nPixelsPerEm);
        options.hinting = test.fHinting;
        options.maximumPageSize = test.nLargestPage;
        Ref<BitmapFont> const pFont = ReadSans(options);
        ASSERT_TRUE(pFont);
        std::set<Texture*> const pages = PagesOf(*pFont);
        EXPECT_EQ(pages.size() == 1, test.fOnePage);
        ReferenceFace const face(test.nPixelsPerEm);
        FT_Int32 const nFlags = FT_LOAD_RENDER | (test.fHinting ? FT_LOAD_DEFAULT : FT_LOAD_NO_HINTING);
        for (Glyph const* pGlyph : GlyphsOf(*pFont)) {
            SCOPED_TRACE(pGlyph->m_nCodePoint);
            ExpectDrawn(*pGlyph, face.Load(pGlyph->m_nCodePoint, nFlags));
        }
        for (Texture* pPage : pages) {
            ExpectApart(*pFont, *pPage);
        }
    }
}

TEST(FontFile, KerningIsThatOfTheFontsTable) {
    std::string const letters = "AVTo.WaLY-f"; // the first of them, "-", is kerned on both sides
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
    ReferenceFace const face(32);
    std::vector<std::uint32_t> characters;
    for (std::uint32_t n = 0x20; characters.size() < 1000; ++n) {
        if (face.GetIndex(n) != 0) {
            characters.push_back(n);
        }
    }
    std::uint32_t const nNext = 0x201C;
    characters.push_back(nNext);
    Ref<BitmapFont> const pFont = ReadSans(OptionsFor(characters));
    ASSERT_TRUE(pFont);
    ASSERT_EQ(pFont->GetGlyphCount(), 1001u);
    float before = 0, behind = 0;
    for (std::uint32_t const n : characters) {
        before += std::abs(face.GetKerning(n, nNext, FT_KERNING_DEFAULT));
        behind += std::abs(face.GetKerning(nNext, n, FT_KERNING_DEFAULT));
        EXPECT_EQ(pFont->GetKerning(n, nNext), 0);
        EXPECT_EQ(pFont->GetKerning(nNext, n), 0);
    }
    EXPECT_TRUE(before > 0 && behind > 0);
    EXPECT_NE(pFont->GetKerning('A', 'V'), 0);
}

/** A font file with other bytes from a place of one of its tables on. */
Bytes WithTable(std::string const& tag, std::ptrdiff_t nOffset, Bytes const& bytes) {
    Bytes file = ReadData(SansPath);
    auto const entry = std::search(file.begin(), file.end(), tag.begin(), tag.end());
    std::ptrdiff_t nAt = nOffset;
    for (int n = 0; n < 4; ++n) {
        nAt += std::ptrdiff_t(entry[8 + n]) << (24 - 8 * n);
    }
    std::copy(bytes.begin(), bytes.end(), file.begin() + nAt);
    return file;
}

TEST(FontFile, MeasuresAreThoseOfTheSizeAndUnderlinesLieOnWholePixels) {
    for (int const nPixelsPerEm : {1, 5, 12, 32, 45, 200, 512}) {
        SCOPED_TRACE(nPixelsPerEm);
        FontOptions options = OptionsFor({'A'}, nPixelsPerEm);
        options.underline = nPixelsPerEm != 12;
        ReferenceFace const face(nPixelsPerEm);
        float const pixelsPerUnit = float(nPixelsPerEm) / float(face->units_per_EM);
        Ref<BitmapFont> const pBitmaps = ReadSans(options);
        Ref<PolygonalFont> const pOutlines = ReadSansOutlines(options);
        ASSERT_TRUE(pBitmaps && pOutlines);
        for (Font* pFont : {static_cast<Font*>(pBitmaps.Get()), static_cast<Font*>(pOutlines.Get())}) {
            EXPECT_EQ(pFont->GetXPixelsPerEm(), nPixelsPerEm);
            EXPECT_EQ(pFont->GetYPixelsPerEm(), nPixelsPerEm);
            EXPECT_EQ(pFont->GetScaleFactorX(), 1);
            EXPECT_EQ(pFont->GetScaleFactorY(), 1);
            EXPECT_EQ(pFont->GetAscent(), std::lround(double(face->size->metrics.ascender) / 64));
            EXPECT_EQ(pFont->GetDescent(), std::lround(double(-face->size->metrics.descender) / 64));
            EXPECT_EQ(pFont->GetLeading(), 0); // as the file says
            float const thickness = pFont->GetUnderlineThicknessProperty().GetValue();
            float const position = pFont->GetUnderlinePositionProperty().GetValue();
            EXPECT_EQ(pFont->GetUnderlineProperty().GetValue(), options.underline);
            EXPECT_EQ(pFont->GetUnderlineScaleProperty().GetValue(), 1);
            EXPECT_EQ(thickness, std::max(1.0f, std::round(face->underline_thickness * pixelsPerUnit)));
            EXPECT_EQ(position, std::floor(position));
            EXPECT_NEAR(position + thickness / 2, -face->underline_position * pixelsPerUnit, 0.55f);
        }
    }
    Fault fault;
    Bytes const spaced = WithTable("hhea", 8, {410 / 256, 410 % 256}); // 410 of 2048 units: 6.4 pixels
    Ref<BitmapFont> const pSpaced =
        ReadBitmapFont(Span(spaced), "x", OptionsFor({'A'}), FontRegistry(), fault);
    ASSERT_TRUE(pSpaced) << fault.GetText();
    EXPECT_EQ(pSpaced->GetLeading(), 6);
}

TEST(BitmapFontFile, ReadsFontsOfPicturesAtTheirOwnSize) {
    Bytes const file = ReadData("font/data/pictures.bdf");
    Fault fault;
    Ref<BitmapFont> const pFont =
        ReadBitmapFont(Span(file), "x.bdf", OptionsFor({'A', 'B'}, 8), FontRegistry(), fault);
    ASSERT_TRUE(pFont) << fault.GetText();
    ASSERT_EQ(pFont->GetGlyphCount(), 1u);
    Glyph const& glyph = *pFont->GetGlyphAt(0);
    EXPECT_EQ(glyph.m_nAdvance, 5);
    EXPECT_EQ(glyph.m_nOffsetX, 1);
    EXPECT_EQ(glyph.m_nOffsetY, 1);
    ASSERT_TRUE(glyph.m_nWidth == 3 && glyph.m_nHeight == 4);
    Area const area = AreaOf(glyph);
    std::string drawn;
    for (int n = 0; n < 12; ++n) {
        std::uint8_t const nPixel = PixelOf(*glyph.m_pTexture, area.left + n % 3, area.top + n / 3);
        drawn += nPixel == 0 ? '.' : nPixel == 255 ? '#' : '?';
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

/** The sides of a font's pages, and how many glyphs it has. */
std::string DescribePages(Font const& font) {
    std::multiset<int> sides;
    for (Texture* pPage : PagesOf(font)) {
        EXPECT_EQ(pPage->GetFormat(), TextureFormat::Alpha8);
        EXPECT_EQ(pPage->GetHeight(), pPage->GetWidth());
        EXPECT_EQ(pPage->GetAllocatedWidth(), pPage->GetWidth());
        sides.insert(pPage->GetWidth());
    }
    std::string text = std::to_string(font.GetGlyphCount()) + " glyphs on pages of";
    for (int const side : sides) {
        text += " " + std::to_string(side);
    }
    return text;
}

// Readers, a file of a kind and options; what is made, or what is said behind the file's name.
TEST(FontFile, BecomesWhatTheOptionsSay) {
    Bytes const sans = ReadData(SansPath);
    Bytes const pictures = ReadData("font/data/pictures.bdf");
    std::string shades(pictures.begin(), pictures.end());
    shades.replace(shades.find("75 75 1\n"), 7, "75 75 4"); // bits a pixel
    std::map<std::string, Bytes> const files = {
        {"nothing", {}},
        {"letters", Bytes(1000, 'x')},
        {"half", Bytes(sans.begin(), sans.begin() + std::ptrdiff_t(sans.size() / 2))},
        {"damaged", WithTable("glyf", 0, Bytes(400000, 0x7F))},
        {"sans", sans},
        {"collection", ReadData("../fuzz/corpus/font/collection.ttc")},
        {"pictures", pictures},
        {"shades", Bytes(shades.begin(), shades.end())},
    };
    FontRegistry const registry;
    ClassRegistry const nothing;
    for (TextCase const& test : ReadCases("font/data/options.txt")) {
        std::istringstream words(test.text);
        std::string readers, file, option;
        words >> readers >> file;
        FontOptions options = OptionsFor({});
        ClassRegistry const* pRegistry = &registry;
        for (int nValue = 0; words >> option >> nValue;) {
            if (option == "letter") {
                options.codePoints.push_back(std::uint32_t(nValue));
            } else if (option == "classes") {
                pRegistry = &nothing;
            } else {
                (option == "size"   ? options.pixelsPerEm
                 : option == "face" ? options.faceIndex
                                    : options.maximumPageSize) = nValue;
            }
        }
        ByteSpan const bytes = Span(files.at(file));
        Fault bitmap, polygonal;
        if (readers != "polygonal") {
            Ref<BitmapFont> const pFont = ReadBitmapFont(bytes, "x", options, *pRegistry, bitmap);
            EXPECT_EQ(pFont ? DescribePages(*pFont) : bitmap.GetText(), test.expected) << test.text;
        }
        if (readers != "bitmap") {
            EXPECT_FALSE(ReadPolygonalFont(bytes, "x", options, *pRegistry, polygonal));
            EXPECT_EQ(polygonal.GetText(), test.expected) << test.text;
        }
    }
}

TEST(FontFile, RefusesFilesThatCannotBeReadOrAreTooLarge) {
    TemporaryFolder const folder;
    folder.Write("large.ttf", {});
    std::filesystem::resize_file(folder.Path("large.ttf"), (64u << 20) + 1);
    std::string const paths[] = {folder.Path("none.ttf"), folder.Path(""), folder.Path("large.ttf")};
    for (std::string const& path : paths) {
        Fault bitmap, polygonal;
        EXPECT_FALSE(ReadBitmapFont(path, OptionsFor({'A'}), FontRegistry(), bitmap));
        EXPECT_FALSE(ReadPolygonalFont(path, OptionsFor({'A'}), FontRegistry(), polygonal));
        EXPECT_TRUE(IsMessage(bitmap.GetText(), path + ": *"));
        EXPECT_EQ(bitmap.GetText(), polygonal.GetText());
    }
}

TEST(FindFontFile, TakesTheFileOfAFamilyAndStyleAndNoOther) {
    struct {
        char const* family;
        char const* style;
        char const* expected; ///< the file, or the message
    } const cases[] = {
        {"DejaVu Sans", "", "DejaVuSans.ttf 0"},
        {"DejaVu Sans", "Bold", "DejaVuSans-Bold.ttf 0"},
        {"dejavu sans mono", "bold", "DejaVuSansMono-Bold.ttf 0"},
        {"No Such Family", "", "font \"No Such Family\": the system does not have it; the nearest is \"*"},
        {"", "", "font \"\": the system does not have it; the nearest is \"*"},
        {"DejaVu Sans", "Chunky", "font \"DejaVu Sans\": has no style \"Chunky\"; the nearest is \"*"},
    };
    for (auto const& test : cases) {
        std::string path = "before";
        Fault fault;
        int nFace = 7;
        bool const fFound = FindFontFile(test.family, test.style, path, nFace, fault);
        std::string const file =
            std::filesystem::path(path).filename().string() + " " + std::to_string(nFace);
        EXPECT_TRUE(IsMessage(fFound ? file : fault.GetText(), test.expected));
        EXPECT_TRUE(fFound || file == "before 7");
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
