// A pool in the rain: a thread of its own paints the water into the texture of a scene while the scene plays,
// and the frames are written as pictures.
//
//     kelvo-live examples/live/scene.json --out frames --frames 90

#include "EntryPoints.h"
#include "Handover.h"
#include "Water.h"
#include "image/PngWriter.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneReader.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/SurfaceInfo.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace live = kelvokit::live;

using namespace trevik;
using namespace trevik::kelvo;

namespace {

using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;

struct Options {
    std::string scene;
    std::string out = "live.png";
    int nFrames = 90;
};

bool Fail(std::string const& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return false;
}

bool EndsWith(std::string const& text, std::string const& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool ReadOptions(int nArguments, char** ppArguments, Options& options) {
    for (int n = 1; n < nArguments; ++n) {
        std::string const argument = ppArguments[n];
        bool const fValue = n + 1 < nArguments;
        if (argument == "--out" && fValue) {
            options.out = ppArguments[++n];
        } else if (argument == "--frames" && fValue) {
            options.nFrames = std::atoi(ppArguments[++n]);
        } else if (argument[0] != '-' && options.scene.empty()) {
            options.scene = argument;
        } else {
            return false;
        }
    }
    return !options.scene.empty() && options.nFrames > 0;
}

/** The texture of the sprite named "water"; null when the scene has none of four bytes a pixel. */
Ref<Texture> FindWater(Scene const& scene) {
    Node* const pNode = scene.GetRoot() ? scene.GetRoot()->FindNode(String16(u"water")) : nullptr;
    Ref<Texture> const pTexture(
        pNode && pNode->IsKindOf(Sprite::ClassID) ? static_cast<Sprite*>(pNode)->GetTexture() : nullptr);
    return pTexture && pTexture->GetFormat() == TextureFormat::RGBA8888 ? pTexture : nullptr;
}

/** The producer: runs on a thread of its own, and writes frame after frame for as long as they are taken. */
void Produce(Texture& texture, live::Water& water, live::Handover& handover) {
    for (int nFrame = 0; handover.WaitUntilFree(); ++nFrame) {
        SurfaceInfo surface = {};
        void* const pPixels = texture.Lock();
        bool const fLocked = pPixels && texture.GetSurfaceInfo(&surface);
        if (fLocked) {
            // Rows lie a stride apart, which is often more than what their pixels take.
            water.Paint(nFrame, static_cast<unsigned char*>(pPixels), surface.m_nStride);
        }
        texture.Unlock(); // also without pixels: the surface counts as locked
        if (!fLocked) {
            handover.GiveUp();
            return;
        }
        handover.SetWritten();
    }
}

bool WriteFrame(Window const& window, Options const& options, int nFrame) {
    std::string path = options.out;
    if (!EndsWith(path, ".png")) {
        char name[40];
        std::snprintf(name, sizeof name, "/frame_%05d.png", nFrame);
        path += name;
    } else if (nFrame != options.nFrames - 1) {
        return true; // one picture: the last one
    }
    kelvokit::desktop::FinishedFrame const& frame = window.LastFrame();
    assets::PngPicture picture;
    picture.pixels = frame.pixels.data();
    picture.width = frame.width;
    picture.height = frame.height;
    Fault fault;
    return assets::SavePng(path, picture, fault) || Fail(fault.GetText());
}

/** The renderer: takes a written surface over, and draws it while the producer writes the other one. */
bool Render(Scene& scene, GraphicsDevice& device, Window& window, Texture& texture, live::Handover& handover,
            Options const& options) {
    for (int nFrame = 0; nFrame < options.nFrames; ++nFrame) {
        if (!handover.WaitUntilWritten()) {
            return Fail("the water cannot be written");
        }
        texture.Swap();
        handover.SetFree();
        scene.Update(device, static_cast<RealFloat>(nFrame));
        scene.RenderFrame(device);
        if (!WriteFrame(window, options, nFrame)) {
            return false;
        }
    }
    return true;
}

bool Play(Scene& scene, GraphicsDevice& device, Window& window, Options const& options) {
    Ref<Texture> const pTexture = FindWater(scene);
    if (!pTexture) {
        return Fail("the scene has no sprite \"water\" with a texture of the format \"rgba8888\"");
    }
    // The picture that the texture was read from is the pool's floor.
    live::Water water(pTexture->GetWidth(), pTexture->GetHeight(),
                      pTexture->GetPixelData().GetBuffer().GetData());
    Fault fault;
    if (!scene.PromoteTextures(fault) || pTexture->Count() != 2) {
        return Fail("the water needs a texture with \"surfaces\": \"double\", and a driver with EGL images");
    }
    live::Handover handover;
    std::thread producer([&] { Produce(*pTexture, water, handover); });
    bool const fRendered = Render(scene, device, window, *pTexture, handover, options);
    handover.GiveUp();
    producer.join();
    return fRendered;
}

bool Run(Options const& options, ClassRegistry& registry, GraphicsDevice& device) {
    Scene scene;
    Fault fault;
    if (!assets::ReadScene(options.scene, registry, scene, fault)) {
        return Fail(fault.GetText());
    }
    std::error_code code;
    if (!EndsWith(options.out, ".png") && (std::filesystem::create_directories(options.out, code), code)) {
        return Fail(options.out + ": " + code.message());
    }
    SizeT<int> const size = scene.GetSettings().m_size;
    Ref<Window> const pWindow(new Window(size.width, size.height));
    pWindow->SetCapture(true);
    if (!device.Initialize(static_cast<WindowT<ANativeWindow>*>(pWindow.Get()), scene.GetSettings().m_format,
                           size)) {
        return Fail("no graphics device can be had");
    }
    device.SetViewport(0, 0, size.width, size.height);
    return Play(scene, device, *pWindow, options);
}

} // namespace

int main(int nArguments, char** ppArguments) {
    Options options;
    if (!ReadOptions(nArguments, ppArguments, options)) {
        std::fprintf(stderr,
                     "usage: %s SCENE.json [--out FOLDER|PICTURE.png] [--frames N]\n"
                     "Plays N frames (90) and writes each into the folder, or the last one as the picture\n"
                     "(live.png).\n",
                     ppArguments[0]);
        return 2;
    }
    ClassRegistry registry;
    Initialize(&registry);
    // The scene is gone before the device is, which takes its context with it.
    std::unique_ptr<GraphicsDevice> pDevice(CreateDevice());
    bool const fDone = Run(options, registry, *pDevice);
    pDevice.reset();
    Shutdown();
    if (fDone && EndsWith(options.out, ".png")) {
        std::printf("The last picture is %s\n", options.out.c_str());
    } else if (fDone) {
        std::printf("%d pictures are in %s\n", options.nFrames, options.out.c_str());
    }
    return fDone ? 0 : 1;
}
