// Programs by themselves, each drawn over the whole window without blending: every pixel is what its source
// says.

#include "ShaderCatalogue.h"
#include "TextureGL2.h"
#include "kelvo_test/Stage.h"
#include "trevik/kelvo/Effect.h"

#include <GLES2/gl2.h>

#include <algorithm>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;

constexpr int W = 61;
constexpr int H = 37;
constexpr int TableSize = 64;

// Each is the smaller one of its pair somewhere; the first is negative at the left.
constexpr float Edges[4][4] = {
    {1 / 64.f, 0, -0.1f}, {0, 1 / 37.f, 0}, {-1 / 128.f, 0, 0.7f}, {1 / 200.f, -1 / 75.f, 0.9f}};
constexpr Shade Colour = {0.9, 0.7, 0.4, 0.6};
constexpr double Fade = 0.8;
constexpr double Factor = 0.3;

Shade operator*(Shade const& a, Shade const& b) {
    return {a.r * b.r, a.g * b.g, a.b * b.b, a.a * b.a};
}
Shade operator*(double factor, Shade const& shade) {
    return Shade{factor, factor, factor, factor} * shade;
}
Shade operator+(Shade const& a, Shade const& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}

/** A texel of the noise that a sampler reads, clamped to the edge; all of it from the lower left corner. */
Pixel Noise(int sampler, int x, int y) {
    std::uint32_t bits = std::uint32_t((sampler * H + std::clamp(y, 0, H - 1)) * W + std::clamp(x, 0, W - 1));
    bits = (bits ^ bits >> 7) * 0x9E3779B1u;
    bits = (bits ^ bits >> 15) * 0x85EBCA77u;
    return {std::uint8_t(bits), std::uint8_t(bits >> 8), std::uint8_t(bits >> 16), std::uint8_t(bits >> 24)};
}

enum Sampler { Texture0, TextureA, ScreenColour, Depth, Blurred, Sharp, SamplerCount };
constexpr char const* SamplerNames[] = {"sTexture", "sTextureA", "sColor", "sDepth", "sBlur", "sSharp"};

Shade Texel(Sampler sampler, int x, int y) {
    Pixel const pixel = Noise(sampler, x, y);
    return {pixel.r / 255.0, pixel.g / 255.0, pixel.b / 255.0, pixel.a / 255.0};
}

/** What the corners' colours are between them. */
Shade Corner(double u, double v) {
    return {u, v, 0.8 - 0.5 * u, 0.3 + 0.6 * v};
}
Shade CornerAt(int x, int y) {
    return Corner((x + 0.5) / W, (y + 0.5) / H);
}

Shade Tested(int x, int y, Shade const& shade) {
    return Texel(Texture0, x, y).a < 0.1 ? Shade{0, 0, 0} : shade;
}

Shade Separate(int x, int y) {
    Shade const colour = Texel(Texture0, x, y);
    return Shade{colour.r, colour.g, colour.b, Texel(TextureA, x, y).r} * Colour;
}

/** By the nearer edge of each pair, from a table of entries from 0 to 1, between which GL mixes. */
Shade Coverage(int x, int y) {
    auto const distance = [&](int n) {
        return double(Edges[n][0]) * (x + 0.5) + double(Edges[n][1]) * (H - y - 0.5) + double(Edges[n][2]);
    };
    auto const coverage = [](double nearer) {
        return std::clamp((TableSize * nearer - 0.5) / (TableSize - 1), 0.0, 1.0);
    };
    return {1, 1, 1,
            coverage(std::min(distance(0), distance(2))) * coverage(std::min(distance(1), distance(3)))};
}

constexpr double Weights[] = {0.16, 0.15, 0.12, 0.09, 0.06};
constexpr int Offsets[5][2] = {{0, 0}, {1, 2}, {-3, 1}, {2, -5}, {4, 3}}; ///< of the blur's taps, in texels

Shade Blur(int x, int y) {
    Shade sum = Weights[0] * Texel(ScreenColour, x, y);
    for (int n = 1; n < 5; ++n) {
        sum = sum + Weights[n] * (Texel(ScreenColour, x + Offsets[n][0], y + Offsets[n][1]) +
                                  Texel(ScreenColour, x - Offsets[n][0], y - Offsets[n][1]));
    }
    return sum;
}

/** Taps (1, 2) apart, 3 to the right and 1 down of them and on the other side; all moved by (2, 1). */
Shade Smear(int x, int y) {
    Shade sum = {0, 0, 0, 0};
    for (int n = -4; n <= 4; ++n) {
        sum = sum + Weights[std::abs(n)] * (Texel(Texture0, x + 2 + n + 3, y + 1 + 2 * n - 1) +
                                            Texel(Texture0, x + 2 + n - 3, y + 1 + 2 * n + 1));
    }
    return 0.5 * sum * Colour;
}

struct Program {
    int id;             ///< in the catalogue, or 0
    char const* marker; ///< a uniform that only this program of an effect has
    Shade (*expected)(int x, int y);
};

Shade Text(int x, int y) {
    return Shade{1, 1, 1, Texel(Texture0, x, y).a * Fade} * CornerAt(x, y);
}
Shade TextImage(int x, int y) {
    return Shade{1, 1, 1, Colour.a * CornerAt(x, y).r} * Texel(Texture0, x, y);
}
Shade Mix(int x, int y) {
    return (1 - Factor) * Texel(Sharp, x, y) + Factor * Texel(Blurred, x, y);
}

constexpr Program Programs[] = {
    {ShaderId::Textured, "", [](int x, int y) { return Texel(Texture0, x, y) * Colour; }},
    {ShaderId::Solid, "", [](int, int) { return Colour; }},
    {ShaderId::PostProcess, "", [](int x, int y) { return Texel(ScreenColour, x, y); }},
    {ShaderId::AlphaTested, "", [](int x, int y) { return Tested(x, y, Texel(Texture0, x, y) * Colour); }},
    {ShaderId::Text, "", Text},
    {ShaderId::TextUnderline, "", [](int x, int y) { return Shade{1, 1, 1, Fade} * CornerAt(x, y); }},
    {ShaderId::TextImage, "", TextImage},
    {ShaderId::SeparateAlpha, "", Separate},
    {ShaderId::SeparateAlphaTested, "", [](int x, int y) { return Tested(x, y, Separate(x, y)); }},
    {ShaderId::TexturedEdges, "", [](int x, int y) { return Texel(Texture0, x, y) * Coverage(x, y); }},
    {ShaderId::SolidEdges, "", [](int x, int y) { return Colour * Coverage(x, y); }},
    {0, "vOffset1", Blur},
    {0, "blendFactor", Mix},
    {0, "mTextureScale", Smear},
};

class DrawnPrograms : public Stage {
protected:
    void DrawScene() override {
        GLuint const program = Find();
        glUseProgram(program);
        bool const fMatrices = SetUniforms(program);
        float vertices[4][8];
        for (int n = 0; n < 4; ++n) {
            float const u = float(n / 2), v = float(n % 2);
            // Where there are matrices, they take corners from (0, 0) to (4, 4) to those of clip space.
            float const x = fMatrices ? 4 * u : 2 * u - 1, y = fMatrices ? 4 * v : 2 * v - 1;
            Shade const c = Corner(double(u), double(v));
            float const vertex[] = {x, y, u, v, float(c.r), float(c.g), float(c.b), float(c.a)};
            std::copy(vertex, vertex + 8, vertices[n]);
            glVertexAttrib4fv(GLuint(4 + n), Edges[n]);
        }
        GLuint const nArrays = m_pProgram->id <= ShaderId::TexturedEdges ? 2 : 3;
        for (GLuint n = 0; n < nArrays; ++n) {
            glVertexAttribPointer(n == 2 ? 4 : n, n == 2 ? 4 : 2, GL_FLOAT, GL_FALSE, sizeof vertices[0],
                                  vertices[0] + 2 * n);
            glEnableVertexAttribArray(n == 2 ? 4 : n);
        }
        glDisable(GL_BLEND);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        for (GLuint const n : {0u, 1u, 4u}) {
            glDisableVertexAttribArray(n);
        }
        glUseProgram(0);
    }

    GLuint Find() {
        GLint program = 0;
        if (m_pProgram->id) {
            Device().SetActiveShader(Device().GetShader(m_pProgram->id));
            glGetIntegerv(GL_CURRENT_PROGRAM, &program);
            Device().SetActiveShader(nullptr);
            return GLuint(program);
        }
        GLuint found = 1;
        while (found < 100 && !(glIsProgram(found) && glGetUniformLocation(found, m_pProgram->marker) >= 0)) {
            ++found;
        }
        return found;
    }

    /** Sets those that the program has; whether there are matrices for positions. */
    bool SetUniforms(GLuint program) {
        struct {
            char const* name;
            std::vector<float> values;
        } const uniforms[] = {
            {"vColor", {float(Colour.r), float(Colour.g), float(Colour.b), float(Colour.a)}},
            {"fFade", {float(Fade)}},
            {"blendFactor", {float(Factor)}},
            {"fVPHeight", {float(H)}},
            {"vOffset1", Offset(1)},
            {"vOffset2", Offset(2)},
            {"vOffset3", Offset(3)},
            {"vOffset4", Offset(4)},
            {"vOffset", {4.0f / W, 8.0f / H}},
            {"vTextureScale", {3.0f / W, -1.0f / H}},
            // The third column counts for nothing.
            {"mTextureScale", {1, 0, 0, 0, 0, 1, 0, 0, 5.0f / W, 7.0f / H, 1, 0, 2.0f / W, 1.0f / H, 0, 1}},
        };
        for (auto const& uniform : uniforms) {
            Set(glGetUniformLocation(program, uniform.name), uniform.values);
        }
        GLint const world = glGetUniformLocation(program, "mWorldToView");
        GLint const view = glGetUniformLocation(program, "mViewToViewport");
        float const offset = view >= 0 ? -2 : -1; // half the size, and either before or after that
        float const scale = view >= 0 ? 1 : 0.5f;
        Set(world, {scale, 0, 0, 0, 0, scale, 0, 0, 0, 0, 1, 0, offset, offset, 0, 1});
        Set(view, {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
        for (unsigned int n = 0; n <= SamplerCount; ++n) {
            glActiveTexture(GL_TEXTURE0 + n);
            glBindTexture(GL_TEXTURE_2D, static_cast<TextureGL2&>(*m_textures[n]).GetGLTexture());
            char const* const name = n < SamplerCount ? SamplerNames[n] : "sDistribution";
            glUniform1i(glGetUniformLocation(program, name), GLint(n));
        }
        return world >= 0;
    }
    static std::vector<float> Offset(int n) { return {float(Offsets[n][0]) / W, float(Offsets[n][1]) / H}; }
    static void Set(GLint location, std::vector<float> const& values) {
        switch (values.size()) {
        case 1:
            return glUniform1fv(location, 1, values.data());
        case 2:
            return glUniform2fv(location, 1, values.data());
        case 4:
            return glUniform4fv(location, 1, values.data());
        default:
            return glUniformMatrix4fv(location, 1, GL_FALSE, values.data());
        }
    }

    Program const* m_pProgram = nullptr;
    std::vector<Ref<Texture>> m_textures;
};

TEST_F(DrawnPrograms, GiveEachPixelWhatTheirSourcesSay) {
    Open();
    for (char const* effect : {"GaussianBlurEffect", "DirectionalBlurEffect"}) {
        Device().GetEffectResource(Make<Effect>(effect)->GetResourceClassID());
    }
    for (int n = 0; n < SamplerCount; ++n) {
        m_textures.push_back(MakeTexture(MakeImage(W, H, [n](int x, int y) { return Noise(n, x, y); })));
    }
    unsigned char table[TableSize];
    for (int i = 0; i < TableSize; ++i) {
        table[i] = static_cast<unsigned char>((i * 255 + (TableSize - 1) / 2) / (TableSize - 1));
    }
    m_textures.push_back(Texture::CreateTexture(TableSize, 1, TextureFormat::Alpha8, table, 0));
    for (Program const& program : Programs) {
        m_pProgram = &program;
        std::string const name = program.id ? std::to_string(program.id) : program.marker;
        SCOPED_TRACE(name);
        Image const picture = MakeImage(W, H, [&](int x, int y) {
            Canvas pixel(1, 1, program.expected(x, H - 1 - y));
            return pixel.Picture().At(0, 0);
        });
        EXPECT_TRUE(CompareImages(DrawFrame(), picture, {4, 1, "drivers filter in 8 bits"}, name));
    }
    m_textures.clear();
}

} // namespace
} // namespace kelvokit::test
