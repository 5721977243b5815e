// Varies: the amount of the blur. Constant: a surface of 1280 x 720 pixels, filled by the blurred timeline,
// which also has one sprite for each of the other effects; the system's driver. The library's frames, and the
// same GL calls from a flat list, are issued in turn in one process and end with glFinish; both have to give
// the same picture. Allocations are those of the library: what GL allocates inside of its functions does not
// count, and neither does presenting. A steady frame that allocates fails the run.

#include "BenchScene.h"
#include "GlTape.h"
#include "GraphicsDeviceGL2.h"
#include "Timing.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Window.h"

#include <EGL/egl.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {
thread_local bool t_fCounting = false;
unsigned long g_nAllocations = 0;

void CountAllocation() {
    if (t_fCounting && !bench::GlTape::IsInDriver()) {
        ++g_nAllocations;
    }
}
} // namespace

// Every allocation of the process passes here, whoever makes it.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t nBytes) {
    CountAllocation();
    return __libc_malloc(nBytes);
}

void* calloc(std::size_t nCount, std::size_t nBytes) {
    CountAllocation();
    return __libc_calloc(nCount, nBytes);
}

void* realloc(void* pMemory, std::size_t nBytes) {
    CountAllocation();
    return __libc_realloc(pMemory, nBytes);
}
}

namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr int Width = 1280;
constexpr int Height = 720;
constexpr int SpriteSize = 16;
constexpr unsigned int WarmUpFrames = 5;
constexpr unsigned int MeasuredFrames = 60;

using Window = ::kelvo::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;

/** A blurred timeline of a sprite that fills the surface, after one that is blended and one that is smeared.
 */
class BlurredScene {
public:
    explicit BlurredScene(bench::Backend& backend)
        : m_device(static_cast<GraphicsDeviceGL2&>(backend.GetDevice())), m_scene(backend, GetOptions()) {
        ClassRegistry& registry = backend.GetRegistry();
        m_pBlur = static_cast<GaussianBlurEffect*>(registry.Create(HashName("GaussianBlurEffect")));
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
    unsigned long const nBefore = g_nAllocations;
    t_fCounting = true;
    scene.Draw();
    t_fCounting = false;
    return g_nAllocations - nBefore;
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
    // One rasteriser thread, and a C library that keeps the driver's buffers: otherwise the noise exceeds the
    // difference.
    setenv("LP_NUM_THREADS", "1", 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    Ref<Window> const pWindow(new Window(Width, Height));
    bench::Backend backend;
    if (!backend.Initialize(static_cast<WindowT<ANativeWindow>*>(pWindow.Get()), Width, Height) ||
        !static_cast<GraphicsDeviceGL2&>(backend.GetDevice()).InitializeTargetBuffers()) {
        std::fprintf(stderr, "the device cannot be initialised\n");
        return 1;
    }
    std::printf("driver: %s, %s\n", reinterpret_cast<char const*>(glGetString(GL_VENDOR)),
                reinterpret_cast<char const*>(glGetString(GL_RENDERER)));
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
