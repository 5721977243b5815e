#include "TestFonts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>

namespace trevik::kelvo::assets::testing {
namespace {

constexpr char const* LiberationPath = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf";
constexpr char const* GaramondPath = "/usr/share/fonts/opentype/ebgaramond/EBGaramond12-Regular.otf";

std::u32string const Characters = U" !\"',-./0147:;?ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  U"ÄÅÖÜäéöü–—‘’“”„ΑΓΛΤαγτАГРТУагуу";

std::string Utf8(char32_t nCharacter) {
    unsigned int const n = nCharacter;
    return n < 0x80 ? std::string{char(n)}
           : n < 0x800
               ? std::string{char(0xC0 | n >> 6), char(0x80 | (n & 0x3F))}
               : std::string{char(0xE0 | n >> 12), char(0x80 | (n >> 6 & 0x3F)), char(0x80 | (n & 0x3F))};
}

/**
 * How far from the start the second glyph of each pair stands, in units of the em: first characters in turn,
 * with each of them all second ones.
 */
std::vector<int> ShapePairs(std::string const& font, TemporaryFolder const& folder, bool fKerning) {
    std::string lines;
    for (char32_t const first : Characters) {
        for (char32_t const second : Characters) {
            lines += Utf8(first) + Utf8(second) + "\n";
        }
    }
    folder.Write("pairs.txt", Bytes(lines.begin(), lines.end()));
    std::string const command =
        "LC_ALL=C.UTF-8 hb-shape --no-clusters --no-glyph-names --direction=ltr --features='" +
        std::string(fKerning ? "kern" : "-kern") +
        ",-liga,-clig,-calt,-ccmp,-locl,-rlig,-rclt' --text-file='" + folder.Path("pairs.txt") + "' '" +
        font + "'";
    std::unique_ptr<FILE, int (*)(FILE*)> const pPipe(popen(command.c_str(), "r"), pclose);
    std::vector<int> places;
    char line[200];
    while (pPipe && std::fgets(line, sizeof(line), pPipe.get())) {
        // "[36+1401|57+1401]", or with an offset "[36+1401|57@-3,0+1401]"
        int nAdvance = 0, nOffset = 0;
        bool const fSecond = std::sscanf(line, "[%*d+%d|%*d@%d", &nAdvance, &nOffset) >= 1;
        EXPECT_TRUE(fSecond) << line;
        places.push_back(nAdvance + nOffset);
    }
    EXPECT_EQ(places.size(), Characters.size() * Characters.size()) << command;
    return places;
}

// The second of these has a "GPOS" table only, the last one a "kern" table only, and the others both.
TEST(FontKerning, PairsStandWhereAShaperPutsThem) {
    TemporaryFolder const folder;
    Bytes withoutGpos = ReadData(SansPath);
    std::string const tag = "GPOS";
    *(std::search(withoutGpos.begin(), withoutGpos.end(), tag.begin(), tag.end()) + 3) = 'X';
    folder.Write("kern.ttf", withoutGpos);
    struct {
        std::string path;
        int nUnitsPerEm;
        int nLeastPairs;
    } const cases[] = {{SansPath, 2048, 400},
                       {GaramondPath, 1000, 300},
                       {LiberationPath, 2048, 100},
                       {folder.Path("kern.ttf"), 2048, 200}};
    for (auto const& test : cases) {
        SCOPED_TRACE(test.path);
        // At this size every unit makes a difference.
        FontOptions const options = OptionsFor({Characters.begin(), Characters.end()}, 512);
        Fault fault;
        Ref<PolygonalFont> const pFont = ReadPolygonalFont(test.path, options, FontRegistry(), fault);
        ASSERT_TRUE(pFont) << fault.GetText();
        std::vector<int> const kerned = ShapePairs(test.path, folder, true);
        std::vector<int> const plain = ShapePairs(test.path, folder, false);
        ASSERT_EQ(kerned.size(), plain.size());
        std::size_t n = 0;
        int nPairs = 0;
        for (char32_t const first : Characters) {
            for (char32_t const second : Characters) {
                float const units = pFont->GetKerning(first, second) * float(test.nUnitsPerEm) / 512;
                ASSERT_EQ(std::lround(units), kerned[n] - plain[n]) << Utf8(first) << Utf8(second);
                nPairs += units != 0;
                ++n;
            }
        }
        EXPECT_GT(nPairs, test.nLeastPairs);
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
