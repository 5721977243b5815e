// Varies: the amount of the blur. Constant: a surface of 1280 x 720 pixels, filled by the blurred timeline,
// which also has one sprite for each of the other effects; the system's driver. The library's frames, and the
// same GL calls from a flat list, are issued in turn in one process and end with glFinish; both have to give
// the same picture. Allocations are those of the library: what GL allocates inside of its functions does not
// count, and neither does presenting. A steady frame that allocates fails the run.

#include "Allocations.h"
#include "GlTape.h"
#include "GraphicsDeviceGL2.h"
#include "SystemDriver.h"
#include "Timing.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"

#include <EGL/egl.h>

#include <cstdio>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr int Width = 1280;
constexpr int Height = 720;
constexpr int SpriteSize = 16;
constexpr unsigned int WarmUpFrames = 5;
constexpr unsigned int MeasuredFrames = 60;

/** A blurred timeline of a sprite that fills the surface, after one that is blended and one that is smeared.
 */
class BlurredScene {
public:
    explicit BlurredScene(bench::Backend& backend)
        : m_device(static_cast<GraphicsDeviceGL2&>(backend.GetDevice())), m_scene(backend, GetOptions()) {
        ClassRegistry& registry = backend.GetRegistry();
        m_pBlur = Ref(static_cast<GaussianBlurEffect*>(registry.Create(HashName("GaussianBlurEffect"))));
        m_scene.GetRoot().AddEffect(m_pBlur.Get());
        std::vector<Sprite*> const& sprites = m_scene.GetSprites();
        sprites[0]->AddEffect(static_cast<Effect*>(registry.Create(HashName("BlendModeEffect"))));
        sprites[0]->GetBlendModeProperty().SetValue(int(BlendMode::Screen));
        sprites[1]->AddEffect(static_cast<Effect*>(registry.Create(HashName("DirectionalBlurEffect"))));
        sprites[2]->GetPositionProperty().SetValue(Vector3T<RealFloat>(0, 0, 0));
        sprites[2]->GetScaleProperty().SetValue(
            Vector3T<RealFloat>(RealFloat(Width) / SpriteSize, RealFloat(Height) / SpriteSize, 1));
    }
    ~BlurredScene() { m_scene.GetRoot().RemoveEffect(m_pBlur.Get()); }

    void SetAmount(RealFloat amount) { m_pBlur->GetAmountProperty().SetValue(amount); }
    /** Everything but showing the frame. */
    void Draw() {
        m_scene.Update(0);
        m_device.Clear();
        m_scene.Render();
    }

private:
    static bench::SceneOptions GetOptions() {
        bench::SceneOptions options;
        options.m_nNodes = 3;
        options.m_nTextures = 3;
        options.m_nSpriteSize = SpriteSize;
        options.m_moving = bench::Moving::None;
        return options;
    }

    GraphicsDeviceGL2& m_device;
    bench::BenchScene m_scene;
    Ref<GaussianBlurEffect> m_pBlur;
};

std::vector<unsigned char> ReadFrame() {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(Width) * Height * 4);
    glReadPixels(0, 0, Width, Height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

void Present() {
    eglSwapBuffers(eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW));
}

template <class Draw>
double TimeFrame(Draw draw) {
    double const start = bench::ProcessNanoseconds();
    draw();
    Present();
    glFinish();
    return bench::ProcessNanoseconds() - start;
}

/** Draws without presenting; what it allocates. */
unsigned long CountAllocations(BlurredScene& scene) {
    unsigned long const nBefore = bench::GetAllocationCount();
    scene.Draw();
    return bench::GetAllocationCount() - nBefore;
}

/** Whether the calls of a frame, issued from a list, give the frame's picture. */
bool RecordFrame(BlurredScene& scene, bench::GlTape& tape) {
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        scene.Draw();
        Present();
    }
    tape.Record([&] { scene.Draw(); });
    std::vector<unsigned char> const drawn = ReadFrame();
    Present();
    glClear(GL_COLOR_BUFFER_BIT);
    tape.Play();
    bool const fSame = ReadFrame() == drawn;
    Present();
    return fSame;
}

/** Whether frames show the same from the list, and allocate nothing. */
bool Measure(BlurredScene& scene, RealFloat amount) {
    scene.SetAmount(amount);
    bench::GlTape tape;
    if (!RecordFrame(scene, tape)) {
        std::fprintf(stderr, "the list does not give the picture that the library gives\n");
        return false;
    }
    std::vector<double> ratios;
    std::vector<double> times;
    unsigned long nAllocations = 0;
    auto const draw = [&] { nAllocations += CountAllocations(scene); };
    auto const play = [&] { tape.Play(); };
    for (unsigned int nFrame = 0; nFrame < MeasuredFrames; ++nFrame) {
        // Each is as often the first as the second one.
        bool const fLibraryFirst = nFrame % 2 == 0;
        double const rFirst = fLibraryFirst ? TimeFrame(draw) : TimeFrame(play);
        double const rSecond = fLibraryFirst ? TimeFrame(play) : TimeFrame(draw);
        double const rLibrary = fLibraryFirst ? rFirst : rSecond;
        times.push_back(rLibrary / 1e6);
        ratios.push_back(rLibrary / (fLibraryFirst ? rSecond : rFirst));
    }
    bench::Spread const ratio = bench::SpreadOf(ratios);
    std::printf("%6.1f %10zu %12.2f %8.3f %8.3f %8.3f %14lu\n", static_cast<double>(amount), tape.GetCount(),
                bench::SpreadOf(times).m_median, ratio.m_median, ratio.m_p95, ratio.m_p99, nAllocations);
    if (nAllocations != 0) {
        std::fprintf(stderr, "a steady frame with effects allocates\n");
    }
    return nAllocations == 0;
}

} // namespace

int main() {
    bench::SystemDriver driver;
    if (!driver.Initialize(Width, Height)) {
        return 1;
    }
    bench::Backend& backend = driver.GetBackend();
    if (!static_cast<GraphicsDeviceGL2&>(backend.GetDevice()).InitializeTargetBuffers()) {
        std::fprintf(stderr, "the frame targets cannot be made\n");
        return 1;
    }
    std::printf("%6s %10s %12s %8s %8s %8s %14s\n", "amount", "GL calls", "ms a frame", "ratio", "p95", "p99",
                "allocations");
    BlurredScene scene(backend);
    if (CountAllocations(scene) == 0) {
        std::fprintf(stderr, "the first frame allocates nothing, so allocations are not counted\n");
        return 1;
    }
    bool fRight = true;
    for (RealFloat const amount : {RealFloat(1), RealFloat(3)}) {
        fRight = Measure(scene, amount) && fRight;
    }
    return fRight ? 0 : 1;
}
