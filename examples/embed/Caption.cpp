// Gives a text of a scene a string that nobody knew when the scene was made, in letters that its font does
// not have yet.

#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/GlyphSource.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneReader.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>
#include <cstring>

// A host that does not link the back end finds these three with dlsym.
extern "C" {
bool Initialize(trevik::ClassRegistry* pRegistry);
trevik::kelvo::GraphicsDevice* CreateDevice();
void Shutdown();
}

using namespace trevik;
using namespace trevik::kelvo;

namespace {

char const SceneText[] = R"({
    "surface": {"size": [320, 120]},
    "fonts": {"title": {"family": "DejaVu Sans", "size": 40}},
    "nodes": [{"class": "Text", "name": "caption", "font": "title", "Text": "Hello", "Position": [20, 40, 0]}]
})";

void ShowCaptions(Scene& scene, GraphicsDevice& device) {
    Text& caption = *static_cast<Text*>(scene.GetRoot()->FindNode(u"caption"));
    // Nothing has to be done for them: the letters are made when the text is laid out.
    caption.GetTextProperty().SetValue(u"Grüß Gott");
    scene.Update(device, 0);
    scene.RenderFrame(device);
    // Where a frame must not wait for the file: ask ahead, and hear whether the font has all.
    if (Ref<GlyphSource> const pSource = GlyphSource::Find(*caption.GetFont())) {
        pSource->SetMemoryLimit(1 << 20);
        bool const fRussian = pSource->Complete(u"Здравствуйте");
        bool const fChinese = pSource->Complete(u"你好"); // traced
        caption.GetTextProperty().SetValue(fChinese ? u"你好" : fRussian ? u"Здравствуйте" : u"Hello");
    }
    scene.Update(device, 0);
    scene.RenderFrame(device);
    std::printf("the caption says \"%s\"\n", String8(caption.GetTextProperty().GetValue()).GetData());
}

bool Run(ClassRegistry& registry, GraphicsDevice& device) {
    Scene scene;
    Fault fault;
    assets::ByteSpan const text{reinterpret_cast<std::uint8_t const*>(SceneText), std::strlen(SceneText)};
    if (!assets::ReadSceneText(text, "caption", "", registry, scene, fault)) {
        std::fprintf(stderr, "%s\n", fault.GetText().c_str());
        return false;
    }
    ShowCaptions(scene, device);
    return true;
}

} // namespace

int main() {
    using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;
    ClassRegistry registry;
    Initialize(&registry);
    SizeT<int> const size(320, 120);
    Ref<Window> const pWindow(new Window(size.width, size.height));
    GraphicsDevice* const pDevice = CreateDevice();
    bool fDone = pDevice->Initialize(static_cast<WindowT<ANativeWindow>*>(pWindow.Get()),
                                     DeviceFormat::RGBA8888, size);
    if (fDone) {
        pDevice->SetViewport(0, 0, size.width, size.height);
        fDone = Run(registry, *pDevice);
    }
    delete pDevice;
    Shutdown();
    return fDone ? 0 : 1;
}
