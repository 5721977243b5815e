// Varies: the text. Constant: all of its characters are others in each frame, one bitmap font with kerning, a
// driver whose functions are empty. Prints the time per character of a whole frame (the new string, its
// layout, render walk, back end, present), and what all measured frames together allocated: nothing, or the
// run fails.

#include "Allocations.h"
#include "BenchScene.h"
#include "BitmapFontGL2.h"
#include "TextGL2.h"
#include "Timing.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr unsigned int WarmUpFrames = 40;
constexpr unsigned int TextsInTurn = 16;
constexpr unsigned int KerningPairs = 500;
constexpr unsigned int FirstIdeograph = 0x4e00;

/** What characters a text is made of. */
struct Script {
    unsigned int m_nFirst; ///< code point
    unsigned int m_nCount;
    unsigned int m_nWord; ///< length of its words; 0: there are no spaces
};

constexpr Script Latin{'!', 94, 6};
constexpr Script Digits{'0', 10, 0};
constexpr Script Chinese{FirstIdeograph, 500, 0};

void AddGlyphs(Font& font, Ref<Texture> const& pTexture, unsigned int nFirst, unsigned int nCount,
               std::mt19937& random) {
    for (unsigned int i = 0; i < nCount; ++i) {
        Glyph glyph;
        glyph.m_nCodePoint = nFirst + i;
        glyph.m_nWidth = glyph.m_nCodePoint == ' ' ? 0 : static_cast<unsigned short>(4 + random() % 16);
        glyph.m_nHeight = static_cast<unsigned short>(4 + random() % 16);
        glyph.m_nAdvance = glyph.m_nWidth + 2;
        glyph.m_pTexture = pTexture;
        font.AddGlyph(glyph);
    }
}

Ref<BitmapFontGL2> MakeFont() {
    std::mt19937 random(12345);
    Ref<BitmapFontGL2> pFont(new BitmapFontGL2);
    Ref<Texture> const pTexture = Texture::CreateTexture(256, 256, TextureFormat::Alpha8, nullptr, 0);
    AddGlyphs(*pFont, pTexture, ' ', 95, random);
    AddGlyphs(*pFont, pTexture, Chinese.m_nFirst, Chinese.m_nCount, random);
    for (unsigned int i = 0; i < KerningPairs; ++i) {
        pFont->SetKerning('A' + random() % 58, 'A' + random() % 58, -1);
    }
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = 20;
    metrics.m_rAscent = 16;
    metrics.m_rDescent = 4;
    pFont->SetMetrics(metrics);
    pFont->Initialize();
    return pFont;
}

/** Texts of one length, no two of them alike. */
std::vector<std::u16string> MakeTexts(Script const& script, unsigned int nLength) {
    std::mt19937 random(12345);
    std::vector<std::u16string> texts(TextsInTurn);
    for (std::u16string& text : texts) {
        for (unsigned int i = 0; i < nLength; ++i) {
            bool const fSpace = script.m_nWord != 0 && i % script.m_nWord == script.m_nWord - 1;
            text += fSpace ? u' ' : static_cast<char16_t>(script.m_nFirst + random() % script.m_nCount);
        }
    }
    return texts;
}

/** Measures a text of one script and length; whether its frames allocated nothing. */
bool MeasureText(bench::Backend& backend, Font& font, char const* pName, Script const& script,
                 unsigned int nLength) {
    std::vector<std::u16string> const texts = MakeTexts(script, nLength);
    Ref<TextGL2> const pText(new TextGL2);
    pText->SetFont(&font);
    pText->GetBoxProperty().SetValue(SizeT<RealFloat>(600, 300));
    GraphicsDevice& device = backend.GetDevice();
    auto const runFrame = [&](unsigned int nFrame) {
        std::u16string const& text = texts[nFrame % texts.size()];
        pText->SetText(text.data(), nLength);
        pText->Update(device, 0);
        device.Clear();
        pText->Render(device);
        device.Present();
        device.Process();
    };
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        runFrame(nFrame);
    }
    unsigned long const nBefore = bench::GetAllocationCount();
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        runFrame(nFrame);
    }
    unsigned long const nAllocations = bench::GetAllocationCount() - nBefore;
    unsigned int const nFrames = std::clamp(10000000u / nLength, 1000u, 100000u);
    bench::Spread const spread = bench::Measure(nFrames, nLength, runFrame);
    std::printf("%-24s %10u %17.1f %8.1f %8.1f %14lu\n", pName, nLength, spread.m_median, spread.m_p95,
                spread.m_p99, nAllocations);
    return nAllocations == 0;
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        return 1;
    }
    Ref<BitmapFontGL2> const pFont = MakeFont();
    std::printf("%-24s %10s %17s %8s %8s %14s\n", "text", "characters", "ns per character", "p95", "p99",
                "allocations");
    bool fSteady = MeasureText(backend, *pFont, "counter", Digits, 8);
    fSteady = MeasureText(backend, *pFont, "line", Latin, 60) && fSteady;
    fSteady = MeasureText(backend, *pFont, "page", Latin, 1000) && fSteady;
    fSteady = MeasureText(backend, *pFont, "page of ideographs", Chinese, 1000) && fSteady;
    if (!fSteady) {
        std::fprintf(stderr, "a frame with another text allocates\n");
    }
    return fSteady ? 0 : 1;
}
