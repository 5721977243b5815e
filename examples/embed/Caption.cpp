// Gives a text of a scene a string that nobody knew when the scene was made, in letters that its font does
// not have yet.

#include "EntryPoints.h"
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

using namespace trevik;
using namespace trevik::kelvo;

namespace {

char const SceneText[] = R"({
    "surface": {"size": [320, 120]},
    "fonts": {"title": {"family": "DejaVu Sans", "size": 40}},
    "nodes": [{"class": "Text", "name": "caption", "font": "title", "Text": "Hello", "Position": [20, 40, 0]}]
})";

/** Has a text say what its font can show, with glyphs that are made now, and not in the next frame. */
bool Say(Text& text, String16 const& sWords) {
    Ref<GlyphSource> const pSource = GlyphSource::Find(*text.GetFont());
    if (pSource && !pSource->Complete(sWords)) {
        return false; // the trace says what is missing
    }
    text.GetTextProperty().SetValue(sWords);
    return true;
}

void ShowCaptions(Scene& scene, GraphicsDevice& device) {
    Text& caption = *static_cast<Text*>(scene.GetRoot()->FindNode(u"caption"));
    // Nothing has to be done for them: the letters are made when the text is laid out.
    caption.GetTextProperty().SetValue(u"Grüß Gott");
    scene.Update(device, 0);
    scene.RenderFrame(device);
    bool const fSaid = Say(caption, u"你好") || Say(caption, u"Здравствуйте");
    scene.Update(device, 0);
    scene.RenderFrame(device);
    std::printf("the caption says \"%s\"\n",
                fSaid ? String8(caption.GetTextProperty().GetValue()).GetData() : "nothing new");
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
