// Varies: sprite size (1 and 16 pixels). Constant: 10 000 textured sprites that all move, eight textures in
// turn, the system's driver. Library and floor alternate frame by frame in one process; the floor issues the
// same GL calls with the same data from a flat array. All frames end with glFinish. A second floor leaves out
// the two calls that take a unit's texture out before the next one comes in, which this library has to make.

#include "BenchScene.h"
#include "GraphicsDeviceGL2.h"
#include "ShaderCatalogue.h"
#include "ShaderProgramGL2.h"
#include "SpriteGL2.h"
#include "SystemDriver.h"
#include "TextureGL2.h"
#include "Timing.h"

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr unsigned int SpriteCount = 10000;
constexpr unsigned int WarmUpFrames = 5;
constexpr unsigned int MeasuredFrames = 40;

/** Everything that one sprite's calls need. */
struct FlatSprite {
    GLfloat m_vertices[12];
    GLfloat m_textureCoords[8];
    GLfloat m_matrix[16];
    GLuint m_nTexture;
};

class Floor {
public:
    Floor(GraphicsDeviceGL2& device, bench::BenchScene& scene) : m_device(device), m_scene(scene) {
        device.SetActiveShader(device.GetShader(ShaderId::Textured));
        GLint nProgram = 0;
        glGetIntegerv(GL_CURRENT_PROGRAM, &nProgram);
        device.SetActiveShader(nullptr);
        m_nProgram = static_cast<GLuint>(nProgram);
        m_nSampler = glGetUniformLocation(m_nProgram, "sTexture");
        m_nColor = glGetUniformLocation(m_nProgram, "vColor");
        m_nMatrix = glGetUniformLocation(m_nProgram, "mWorldToView");
        m_sprites.resize(scene.GetSprites().size());
    }

    /** Takes over what the scene would draw now. Not part of the measured time. */
    void Capture() {
        for (std::size_t i = 0; i < m_sprites.size(); ++i) {
            SpriteGL2& sprite = *static_cast<SpriteGL2*>(m_scene.GetSprites()[i]);
            FlatSprite& flat = m_sprites[i];
            std::memcpy(flat.m_vertices, sprite.GetVertices().GetData(), sizeof(flat.m_vertices));
            Vector2T<RealFloat> coords[4];
            sprite.GetTextureCoords(coords);
            std::memcpy(flat.m_textureCoords, coords, sizeof(flat.m_textureCoords));
            m_device.SetCameraDepth(true);
            Matrix4T<RealFloat> const matrix =
                sprite.GetWorldMatrix() * m_device.GetViewMatrix() * m_device.GetProjectionMatrix();
            std::memcpy(flat.m_matrix, matrix.m, sizeof(flat.m_matrix));
            flat.m_nTexture = static_cast<TextureGL2*>(sprite.GetTexture())->GetGLTexture();
        }
    }

    /** With `fTakeOut`, the calls of the library, one for one. */
    void RunFrame(bool fTakeOut) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        glUseProgram(m_nProgram);
        glEnableVertexAttribArray(0);
        glEnableVertexAttribArray(1);
        for (FlatSprite const& sprite : m_sprites) {
            glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, sprite.m_vertices);
            glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, sprite.m_textureCoords);
            if (fTakeOut) {
                glActiveTexture(GL_TEXTURE0);
                glBindTexture(GL_TEXTURE_2D, 0);
            }
            glUniform1i(m_nSampler, 0);
            glActiveTexture(GL_TEXTURE0);
            glBindTexture(GL_TEXTURE_2D, sprite.m_nTexture);
            glUniform4f(m_nColor, 1, 1, 1, 1);
            glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
            glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
            glUniformMatrix4fv(m_nMatrix, 1, GL_FALSE, sprite.m_matrix);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        glDisableVertexAttribArray(0);
        glDisableVertexAttribArray(1);
        glUseProgram(0);
        eglSwapBuffers(eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW));
    }

private:
    GraphicsDeviceGL2& m_device;
    bench::BenchScene& m_scene;
    GLuint m_nProgram = 0;
    GLint m_nSampler = -1;
    GLint m_nColor = -1;
    GLint m_nMatrix = -1;
    std::vector<FlatSprite> m_sprites;
};

template <class Run>
double Time(Run run) {
    double const start = bench::ProcessNanoseconds();
    run();
    glFinish();
    return bench::ProcessNanoseconds() - start;
}

void Measure(bench::Backend& backend, int nSpriteSize) {
    bench::SceneOptions options;
    options.m_nNodes = SpriteCount;
    options.m_nSpriteSize = nSpriteSize;
    bench::BenchScene scene(backend, options);
    GraphicsDeviceGL2& device = static_cast<GraphicsDeviceGL2&>(backend.GetDevice());
    scene.RunFrame(0);
    Floor floor(device, scene);
    std::vector<double> library;
    std::vector<double> ratios;
    std::vector<double> shortRatios;
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames + MeasuredFrames; ++nFrame) {
        double const rLibrary = Time([&] { scene.RunFrame(nFrame); });
        floor.Capture();
        double const rBare = Time([&] { floor.RunFrame(true); });
        double const rShort = Time([&] { floor.RunFrame(false); });
        if (nFrame >= WarmUpFrames) {
            library.push_back(rLibrary / SpriteCount);
            ratios.push_back(rLibrary / rBare);
            shortRatios.push_back(rLibrary / rShort);
        }
    }
    bench::Spread const ratio = bench::SpreadOf(ratios);
    bench::Spread const shortRatio = bench::SpreadOf(shortRatios);
    std::printf("%6dx%-6d %12.0f %8.3f %8.3f %8.3f %16.3f\n", nSpriteSize, nSpriteSize,
                bench::SpreadOf(library).m_median, ratio.m_median, ratio.m_p95, ratio.m_p99,
                shortRatio.m_median);
}

} // namespace

int main() {
    bench::SystemDriver driver;
    if (!driver.Initialize(640, 360)) {
        return 1;
    }
    std::printf("%13s %12s %8s %8s %8s %16s\n", "sprite", "ns/sprite", "ratio", "p95", "p99",
                "to short floor");
    Measure(driver.GetBackend(), 1);
    Measure(driver.GetBackend(), 16);
    return 0;
}
