// Plays a dialog that is described in JSON: in a window, or without one where there is no screen.

#include "EntryPoints.h"
#include "kelvo_assets/scene/SceneReader.h"
#include "kelvo_desktop/ScreenWindow.h"
#include "kelvo_host/NodeAccess.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>
#include <memory>

using namespace trevik;
using namespace trevik::kelvo;
using Screen = kelvokit::desktop::ScreenWindowT<WindowT<ANativeWindow>>;

static bool Play(Scene& scene, GraphicsDevice& device, Screen& screen, Fault& fault) {
    Timeline* const dialog = FindNode<Timeline>(*scene.GetRoot(), "dialog", fault);
    Sprite* const ok = FindNode<Sprite>(*scene.GetRoot(), "dialog/ok", fault);
    if (!dialog || !ok || !SetProperty(*ok, "Opacity", 0.5f, fault)) {
        return false;
    }
    scene.OnEnd(*dialog, [ok, &fault](Timeline&) {
        SetProperty(*ok, "Opacity", 1.0f, fault);
        std::puts("the dialog has come");
    });
    for (int frame = 0; frame <= scene.GetSettings().m_nLastFrame && screen.IsOpen(); ++frame) {
        scene.Update(device, static_cast<float>(frame));
        scene.RenderFrame(device); // waits for the screen
    }
    for (SelectionPoint const& hit : scene.Pick(device, {160, 110})) {
        std::printf("hit %s\n", String8(hit.m_pNode->GetName()).GetData());
    }
    scene.SetRoot(nullptr); // what a scene has goes before its device
    return fault.IsEmpty();
}

int main(int argc, char** argv) {
    ClassRegistry registry;
    Scene scene;
    Fault fault;
    bool played =
        Initialize(&registry) && assets::ReadScene(argc > 1 ? argv[1] : "scene.json", registry, scene, fault);
    if (played) {
        SceneSettings const& wish = scene.GetSettings();
        Ref<Screen> const screen(new Screen("Dialog", wish.m_size.width, wish.m_size.height));
        std::unique_ptr<GraphicsDevice> const device(CreateDevice());
        played = device->Initialize(screen->GetBase(), wish.m_format, wish.m_size) &&
                 Play(scene, *device, *screen, fault);
        std::printf("%lu frames %s\n", screen->frameCount, screen->IsOnScreen() ? "on screen" : "off screen");
    }
    Shutdown();
    std::fprintf(stderr, "%s\n", played ? "played" : fault.GetText().c_str());
    return played ? 0 : 1;
}
