// Plays a scene in a window of SDL's, over and over, until it is closed.

#include "EntryPoints.h"
#include "kelvo_desktop/Display.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Window.h"

#include <SDL.h>
#include <SDL_syswm.h>

#include <cmath>
#include <cstdio>
#include <memory>

namespace kelvo = trevik::kelvo;
using NativeWindow = kelvo::WindowT<ANativeWindow>;

static bool IsClosed() {
    SDL_Event event;
    bool closed = false;
    while (SDL_PollEvent(&event)) {
        closed = closed || event.type == SDL_QUIT;
    }
    return closed;
}

static bool Play(kelvo::Scene& scene, NativeWindow& window) {
    std::unique_ptr<kelvo::GraphicsDevice> const device(CreateDevice());
    kelvo::SceneSettings const& settings = scene.GetSettings();
    if (!device->Initialize(&window, settings.m_format, settings.m_size)) {
        return false;
    }
    device->SetViewport(0, 0, settings.m_size.width, settings.m_size.height);
    int const frames = settings.m_nLastFrame - settings.m_nFirstFrame + 1;
    while (!IsClosed()) {
        double const played =
            std::fmod(double(SDL_GetTicks64()) / 1000 * double(settings.m_rFrameRate), frames);
        scene.Update(*device, static_cast<float>(settings.m_nFirstFrame + played));
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
        std::fprintf(stderr, "%s\n", argc < 2 ? "usage: sdl2 FILE.kelvo" : fault.GetText().c_str());
        return 1;
    }
    int const width = scene.GetSettings().m_size.width;
    int const height = scene.GetSettings().m_size.height;
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11"); // under Wayland by XWayland
    SDL_Window* sdl = nullptr;
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version)
    if (SDL_Init(SDL_INIT_VIDEO) != 0 ||
        !(sdl =
              SDL_CreateWindow("Kelvo", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width, height, 0)) ||
        !SDL_GetWindowWMInfo(sdl, &info)) {
        std::fprintf(stderr, "%s\n", SDL_GetError());
        return 1;
    }

    kelvokit::desktop::SelectPlatform("x11");
    trevik::Ref<NativeWindow> const window(new NativeWindow);
    kelvokit::desktop::InitialiseX11(*window, info.info.x11.window, width, height);
    bool const played = Play(scene, *window);
    Shutdown();
    SDL_DestroyWindow(sdl);
    SDL_Quit();
    return played ? 0 : 1;
}
