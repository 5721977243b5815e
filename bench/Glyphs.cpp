// Varies: what a text is drawn as: glyphs of a bitmap font, as a shadow, highlighted, underlined, or glyph
// images. Constant: 10 000 glyphs of 96 kinds in one batch, a driver whose functions are empty. Prints the
// time per glyph to fill the vertex streams and draw them, beside that of a plain loop which writes as many
// bytes, from the same glyphs to the same place, in turn with it.

#include "BenchScene.h"
#include "BitmapFontGL2.h"
#include "TextGL2.h"
#include "Timing.h"

#include <GLES2/gl2.h>

#include <cstdio>
#include <random>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

constexpr unsigned int AttributeCount = 8;
float* g_streams[AttributeCount]; ///< where the last draw's attributes come from

} // namespace

// In the null driver's place: it tells where the streams are.
extern "C" void glVertexAttribPointer(GLuint nIndex, GLint, GLenum, GLboolean, GLsizei,
                                      void const* pPointer) {
    g_streams[nIndex] = static_cast<float*>(const_cast<void*>(pPointer));
}

namespace {

using namespace trevik;
using namespace trevik::kelvo;

using Color = ColorT<RealFloat>;
using Vector = Vector3T<RealFloat>;

constexpr unsigned int GlyphCount = 10000;
constexpr unsigned int GlyphKinds = 96;
constexpr unsigned int Runs = 1000;
constexpr unsigned int WarmUpRuns = 20;

/** A text's glyphs, as its layout gives them. */
class Glyphs {
public:
    Glyphs() : m_glyphs(GlyphKinds) {
        std::mt19937 random(12345);
        std::uniform_real_distribution<RealFloat> unit(0, 1);
        Ref<Texture> const pTexture = Texture::CreateTexture(256, 256, TextureFormat::Alpha8, nullptr, 0);
        for (Glyph& glyph : m_glyphs) {
            glyph.m_nWidth = static_cast<unsigned short>(4 + random() % 16);
            glyph.m_nHeight = static_cast<unsigned short>(4 + random() % 16);
            glyph.m_nAdvance = glyph.m_nWidth + 2;
            glyph.m_pTexture = pTexture;
            for (RealFloat& rEdge : glyph.m_textureRectangle) {
                rEdge = unit(random);
            }
        }
        m_instances.Reserve(GlyphCount);
        for (unsigned int i = 0; i < GlyphCount; ++i) {
            GlyphInstance instance;
            instance.m_pGlyph = &m_glyphs[random() % GlyphKinds];
            instance.m_rX = static_cast<RealFloat>(i % 100) * 12;
            unsigned int const nRow = i / 100;
            instance.m_rY = static_cast<RealFloat>(nRow) * 20;
            Color const lower(unit(random), unit(random), unit(random), 1);
            Color const upper(unit(random), unit(random), unit(random), 1);
            instance.m_colors[0] = instance.m_colors[2] = lower;
            instance.m_colors[1] = instance.m_colors[3] = upper;
            m_instances.Append(instance);
        }
    }

    List<GlyphInstance> const& GetInstances() const { return m_instances; }

private:
    std::vector<Glyph> m_glyphs;
    List<GlyphInstance> m_instances;
};

/** Writes so many floats of a glyph, from so many that it has, over and over. Unrolled, as fast as it gets.
 */
template <unsigned int nFloats, unsigned int nSource>
inline void WritePlain(float*& pOut, float const (&source)[nSource]) {
#pragma GCC unroll 32
    for (unsigned int i = 0; i < nFloats; ++i) {
        pOut[i] = source[i % nSource];
    }
    pOut += nFloats;
}

/** Per glyph 18 floats of positions, so many of texture coordinates, and so many of colours or fades. */
template <unsigned int nCoords, unsigned int nColors>
void RunPlain(List<GlyphInstance> const& instances) {
    float* pPositions = g_streams[0];
    float* pCoords = g_streams[1];
    float* pColors = g_streams[4];
    for (GlyphInstance const& instance : instances) {
        Glyph const& glyph = *instance.m_pGlyph;
        float const box[] = {instance.m_rX, instance.m_rY, static_cast<float>(glyph.m_nWidth),
                             static_cast<float>(glyph.m_nHeight)};
        WritePlain<18>(pPositions, box);
        if (nCoords != 0) {
            WritePlain<nCoords>(pCoords, glyph.m_textureRectangle);
        }
        Color const* const c = instance.m_colors;
        float const colors[] = {c[0].r, c[0].g, c[0].b, c[0].a, c[1].r, c[1].g, c[1].b, c[1].a,
                                c[2].r, c[2].g, c[2].b, c[2].a, c[3].r, c[3].g, c[3].b, c[3].a};
        WritePlain<nColors>(pColors, colors);
    }
}

template <class Drawn, class Plain>
void MeasureCase(char const* pName, Drawn draw, Plain plain) {
    std::vector<double> times;
    std::vector<double> plainTimes;
    for (unsigned int nRun = 0; nRun < WarmUpRuns + Runs; ++nRun) {
        double const start = bench::ThreadNanoseconds();
        draw();
        double const middle = bench::ThreadNanoseconds();
        plain();
        double const end = bench::ThreadNanoseconds();
        if (nRun >= WarmUpRuns) {
            times.push_back((middle - start) / GlyphCount);
            plainTimes.push_back((end - middle) / GlyphCount);
        }
    }
    bench::Spread const spread = bench::SpreadOf(times);
    bench::Spread const plainSpread = bench::SpreadOf(plainTimes);
    std::printf("%-24s %12.1f %8.1f %8.1f %12.1f %8.2f\n", pName, spread.m_median, spread.m_p95, spread.m_p99,
                plainSpread.m_median, spread.m_median / plainSpread.m_median);
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        return 1;
    }
    GraphicsDevice& device = backend.GetDevice();
    Glyphs const glyphs;
    List<GlyphInstance> const& instances = glyphs.GetInstances();
    GlyphBatch const batch{0, GlyphCount};
    Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
    Ref<TextGL2> const pText(new TextGL2);
    pFont->GetUnderlineThicknessProperty().SetValue(1);
    Color const color(1, 1, 1, 0.5f);
    auto const drawBatch = [&](bool fShadow) {
        pFont->RenderGlyphBatch(device, instances, batch, Vector(), color, fShadow, Vector(2, -2, 0),
                                Color(0, 0, 0, 0.5f));
    };
    auto const plainBatch = [&] { RunPlain<12, 24>(instances); };

    std::printf("%-24s %12s %8s %8s %12s %8s\n", "10 000 glyphs", "ns per glyph", "p95", "p99", "plain loop",
                "ratio");
    MeasureCase("bitmap batch", [&] { drawBatch(false); }, plainBatch);
    MeasureCase("bitmap batch, shadow", [&] { drawBatch(true); }, plainBatch);
    device.SetHighlight(true, Color(1, 0, 0, 0.5f));
    MeasureCase("bitmap batch, highlight", [&] { drawBatch(false); }, plainBatch);
    MeasureCase("the highlight's shadow", [&] { drawBatch(true); }, plainBatch);
    device.SetHighlight(false, Color());
    pFont->GetUnderlineProperty().SetValue(true);
    MeasureCase(
        "bitmap batch, underline", [&] { drawBatch(false); },
        [&] {
            RunPlain<12, 24>(instances);
            RunPlain<0, 24>(instances);
        });
    MeasureCase(
        "image batch", [&] { pText->RenderImageBatch(device, instances, batch, color); },
        [&] { RunPlain<12, 6>(instances); });
    return 0;
}
