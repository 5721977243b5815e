// Draws the first frame of a scene without a window system, by EGL alone, and writes it as a PPM picture.

#include "EntryPoints.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>
#include <memory>

using namespace trevik::kelvo;
using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;

static bool Draw(Scene& scene, Window& window) {
    std::unique_ptr<GraphicsDevice> const device(CreateDevice());
    SceneSettings const& settings = scene.GetSettings();
    if (!device->Initialize(static_cast<WindowT<ANativeWindow>*>(&window), settings.m_format,
                            settings.m_size)) {
        return false;
    }
    device->SetViewport(0, 0, settings.m_size.width, settings.m_size.height);
    scene.Update(*device, static_cast<float>(settings.m_nFirstFrame));
    scene.RenderFrame(*device);
    scene.SetRoot(nullptr); // what a scene has goes before its device
    return true;
}

static void Write(kelvokit::desktop::FinishedFrame const& frame) {
    std::printf("P6 %d %d 255\n", frame.width, frame.height);
    for (std::size_t i = 0; i + 3 < frame.pixels.size(); i += 4) {
        std::fwrite(&frame.pixels[i], 1, 3, stdout);
    }
}

int main(int argc, char** argv) {
    trevik::ClassRegistry registry;
    Scene scene;
    Fault fault;
    if (argc < 2 || !Initialize(&registry) || !scene.LoadFromFile(argv[1], registry, fault)) {
        std::fprintf(stderr, "%s\n", argc < 2 ? "usage: offscreen FILE.kelvo" : fault.GetText().c_str());
        return 1;
    }
    trevik::Ref<Window> const window(
        new Window(scene.GetSettings().m_size.width, scene.GetSettings().m_size.height));
    window->SetCapture(true);
    if (!Draw(scene, *window)) {
        return 1; // why was traced
    }
    Write(window->LastFrame());
    Shutdown();
}
