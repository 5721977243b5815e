// The programs of antialiased edges by themselves: coverage from four distances, each of its own.

#include "Stage.h"

#include "ShaderProgramGL2.h"
#include "TextureGL2.h"

#include <GLES2/gl2.h>

#include <algorithm>

namespace kelvo::test {
namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr int PictureWidth = 64;
constexpr int PictureHeight = 48;
constexpr int TableSize = 64;

/**
 * Distance a x + b y + c, y down. Each is the smaller one of its pair somewhere; the first is negative at the
 * left.
 */
constexpr float Edges[4][3] = {
    {1 / 64.f, 0, -0.1f}, {0, 1 / 48.f, 0}, {-1 / 128.f, 0, 0.7f}, {1 / 200.f, -1 / 96.f, 0.9f}};

double Distance(int edge, double x, double y) {
    return double(Edges[edge][0]) * x + double(Edges[edge][1]) * y + double(Edges[edge][2]);
}

/** A table of entries from 0 to 1, between which GL mixes. */
double Coverage(double distance) {
    return std::clamp((TableSize * distance - 0.5) / (TableSize - 1), 0.0, 1.0);
}

class DrawnEdgePrograms : public Stage, public testing::WithParamInterface<int> {
protected:
    DrawnEdgePrograms() { Open(DeviceFormat::RGBA8888, PictureWidth, PictureHeight); }

    static Ref<TextureGL2> MakeGLTexture(int width, TextureFormat::Enum format, void const* pData) {
        return Ref<TextureGL2>(
            static_cast<TextureGL2*>(Texture::CreateTexture(width, 1, format, pData, 0).Get()));
    }

    void DrawScene() override {
        unsigned char table[TableSize];
        for (int i = 0; i < TableSize; ++i) {
            table[i] = static_cast<unsigned char>((i * 255 + (TableSize - 1) / 2) / (TableSize - 1));
        }
        unsigned char const paint[4] = {255, 128, 64, 255};
        ShaderProgramGL2* const pProgram = Device().GetShader(GetParam());
        Device().SetActiveShader(pProgram);
        pProgram->SetSampler(String16(u"sDistribution"),
                             MakeGLTexture(TableSize, TextureFormat::Alpha8, table).Get(), 0);
        pProgram->SetParameter(ShaderType::Fragment, String16(u"fVPHeight"), float(PictureHeight));
        if (GetParam() == -10) {
            pProgram->SetSampler(String16(u"sTexture"),
                                 MakeGLTexture(1, TextureFormat::RGBA8888, paint).Get(), 0);
        } else {
            pProgram->SetParameter(ShaderType::Fragment, String16(u"vColor"),
                                   Vector4T<float>(1, 128 / 255.f, 64 / 255.f, 1));
        }
        float const corners[] = {-1, -1, -1, 1, 1, -1, 1, 1};
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, corners);
        glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, corners);
        float equations[4][4][3];
        for (unsigned int edge = 0; edge < 4; ++edge) {
            for (unsigned int corner = 0; corner < 4; ++corner) {
                std::copy(Edges[edge], Edges[edge] + 3, equations[edge][corner]);
            }
            glVertexAttribPointer(4 + edge, 3, GL_FLOAT, GL_FALSE, 0, equations[edge]);
        }
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        Device().SetActiveShader(nullptr);
    }
};

TEST_P(DrawnEdgePrograms, CoverByTheNearerEdgeOfEachPair) {
    Image const drawn = DrawFrame();
    Canvas expected(PictureWidth, PictureHeight, {0, 0, 0, 1});
    for (int y = 0; y < PictureHeight; ++y) {
        for (int x = 0; x < PictureWidth; ++x) {
            double const atX = x + 0.5;
            double const atY = PictureHeight - y - 0.5; // y is that of the canvas, up
            double const across = std::min(Distance(0, atX, atY), Distance(2, atX, atY));
            double const along = std::min(Distance(1, atX, atY), Distance(3, atX, atY));
            expected.Blend(x, y, 1, 1, {1, 128 / 255.0, 64 / 255.0, Coverage(across) * Coverage(along)});
        }
    }
    EXPECT_TRUE(CompareImages(drawn, expected.Picture(), {4, 1, "drivers mix table entries in 8 bits"}));
}

INSTANTIATE_TEST_SUITE_P(Both, DrawnEdgePrograms, testing::Values(-10, -11));

} // namespace
} // namespace kelvo::test
