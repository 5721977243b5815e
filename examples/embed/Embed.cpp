// Draws one spinning, fading sprite off screen and writes the last frame: the library from C++, without a
// scene file.

#include "EntryPoints.h"
#include "image/PngWriter.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Timeline.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>
#include <new>
#include <string>

using namespace trevik;
using namespace trevik::kelvo;

namespace {

using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;

constexpr int Width = 640;
constexpr int Height = 360;
constexpr int FrameCount = 30;

template <class T>
Ref<T> Create(ClassRegistry& registry, char const* pName) {
    return Ref<T>(static_cast<T*>(registry.Create(HashName(pName))));
}

/** A chequered texture, 64 by 64. */
Ref<Texture> MakeTexture() {
    unsigned char pixels[64 * 64 * 4];
    for (int i = 0; i < 64 * 64; ++i) {
        bool const fLight = ((i % 64) / 16 + i / 64 / 16) % 2 == 0;
        unsigned char const nRed = fLight ? 250 : 40;
        unsigned char const texel[4] = {nRed, static_cast<unsigned char>(i / 64 * 4), 90, 255};
        for (int nChannel = 0; nChannel < 4; ++nChannel) {
            pixels[i * 4 + nChannel] = texel[nChannel];
        }
    }
    return Texture::CreateTexture(64, 64, TextureFormat::RGBA8888, pixels, 64 * 4);
}

/**
 * A sprite builds its corners when it is loaded, so one that is made by hand goes through a document once.
 */
Ref<Sprite> MakeSprite(ClassRegistry& registry, int nWidth, int nHeight, Texture* pTexture) {
    Ref<Sprite> const pPattern = Create<Sprite>(registry, "Sprite");
    pPattern->GetSizeProperty().SetValue(SizeT<int>(nWidth, nHeight));
    Serializer serializer;
    pPattern->Save(serializer);
    Ref<Sprite> pSprite = Create<Sprite>(registry, "Sprite");
    Deserializer deserializer(serializer.Finish(), registry);
    if (!pSprite->Load(deserializer)) {
        return nullptr;
    }
    pSprite->SetTexture(pTexture);
    return pSprite;
}

/** One value per frame from the first to the last, in equal steps. */
template <class T>
Ref<Controller<T>> Ramp(T const& from, T const& to) {
    T samples[FrameCount];
    for (int i = 0; i < FrameCount; ++i) {
        samples[i] = from + (to - from) * (static_cast<RealFloat>(i) / (FrameCount - 1));
    }
    return Ref<Controller<T>>(SampleController<T>::Create(0, samples, FrameCount).Get());
}

bool Play(ClassRegistry& registry, GraphicsDevice& device) {
    Ref<Timeline> const pRoot = Create<Timeline>(registry, "Timeline");
    Ref<Sprite> const pSprite = MakeSprite(registry, 240, 160, MakeTexture().Get());
    if (!pRoot || !pSprite) {
        return false;
    }
    pSprite->GetPositionProperty().SetValue(Vector3T<RealFloat>(100, 100, 0));
    pSprite->GetRotationProperty().AddController(
        Ramp(Vector3T<RealFloat>(0, 360, 0), Vector3T<RealFloat>(0, 50, 0)));
    pSprite->GetOpacityProperty().AddController(Ramp<RealFloat>(0.25f, 1));
    pRoot->Attach(pSprite.Get());

    device.SetClearColor(ColorT<RealFloat>(0.05f, 0.1f, 0.2f, 1));
    for (int nFrame = 0; nFrame < FrameCount; ++nFrame) {
        pRoot->SetFrame(static_cast<RealFloat>(nFrame));
        pRoot->Update(device, static_cast<RealFloat>(nFrame));
        device.Clear();
        pRoot->Render(device);
        device.Present();
        device.Process();
    }
    // The sprite's lower left corner, where it stands: window positions count downward.
    Vector2T<RealFloat> const corner =
        device.ProjectCoordinate(pSprite->GetWorldMatrix(), Vector4T<RealFloat>(0, 0, 0, 1));
    std::printf("the sprite's corner projects to %.0f, %.0f\n", static_cast<double>(corner.x),
                static_cast<double>(corner.y));
    return true;
}

bool WriteLastFrame(Window const& window, char const* pPath) {
    kelvokit::desktop::FinishedFrame const& frame = window.LastFrame();
    Fault fault;
    assets::PngPicture picture;
    picture.pixels = frame.pixels.data();
    picture.width = frame.width;
    picture.height = frame.height;
    picture.channels = 4;
    picture.stride = static_cast<std::size_t>(frame.width) * 4;
    if (!assets::SavePng(pPath, picture, fault)) {
        std::fprintf(stderr, "%s\n", fault.GetText().c_str());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    char const* const pPath = argc > 1 ? argv[1] : "embed.png";
    ClassRegistry registry;
    Initialize(&registry);
    Ref<Window> const pWindow(new Window(Width, Height));
    pWindow->SetCapture(true);
    GraphicsDevice* const pDevice = CreateDevice();
    bool fDone = pDevice->Initialize(static_cast<WindowT<ANativeWindow>*>(pWindow.Get()),
                                     DeviceFormat::RGBA8888, SizeT<int>(Width, Height));
    if (fDone) {
        pDevice->SetViewport(0, 0, Width, Height);
        fDone = Play(registry, *pDevice) && WriteLastFrame(*pWindow, pPath);
    }
    // Scene objects are gone by now; the device takes its context with it.
    delete pDevice;
    Shutdown();
    return fDone ? 0 : 1;
}
