// Plays a scene once in a window of the X server.

#include "EntryPoints.h"
#include "kelvo_desktop/Display.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Window.h"

// After the others, since it has macros such as None. Nor are the project's namespaces opened: there are two
// Fonts.
#include <X11/Xlib.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

namespace kelvo = trevik::kelvo;
using NativeWindow = kelvo::WindowT<ANativeWindow>;

static bool Play(kelvo::Scene& scene, NativeWindow& window) {
    std::unique_ptr<kelvo::GraphicsDevice> const device(CreateDevice());
    kelvo::SceneSettings const& settings = scene.GetSettings();
    if (!device->Initialize(&window, settings.m_format, settings.m_size)) {
        return false;
    }
    device->SetViewport(0, 0, settings.m_size.width, settings.m_size.height);
    auto const start = std::chrono::steady_clock::now();
    for (int frame = settings.m_nFirstFrame; frame <= settings.m_nLastFrame; ++frame) {
        float const played = static_cast<float>(frame - settings.m_nFirstFrame);
        std::this_thread::sleep_until(start + std::chrono::duration<double>(played / settings.m_rFrameRate));
        scene.Update(*device, static_cast<float>(frame));
        scene.RenderFrame(*device);
    }
    scene.SetRoot(nullptr); // what a scene has goes before its device
    return true;
}

int main(int argc, char** argv) {
    trevik::ClassRegistry registry;
    kelvo::Scene scene;
    kelvo::Fault fault;
    if (argc < 2 || !Initialize(&registry) || !scene.LoadFromFile(argv[1], registry, fault)) {
        std::fprintf(stderr, "%s\n", argc < 2 ? "usage: x11 FILE.kelvo" : fault.GetText().c_str());
        return 1;
    }
    Display* const display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "there is no X server\n");
        return 1;
    }
    int const width = scene.GetSettings().m_size.width;
    int const height = scene.GetSettings().m_size.height;
    ::Window const x11 =
        XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                            static_cast<unsigned>(height), 0, 0, 0);
    XMapWindow(display, x11);
    XSync(display, False); // EGL has a connection of its own, which is to see the window

    kelvokit::desktop::SelectPlatform("x11");
    trevik::Ref<NativeWindow> const window(new NativeWindow);
    kelvokit::desktop::InitialiseX11(*window, x11, width, height);
    bool const played = Play(scene, *window);
    std::printf("%lu frames\n", window->frameCount);
    Shutdown();
    XDestroyWindow(display, x11);
    XCloseDisplay(display);
    return played ? 0 : 1;
}
