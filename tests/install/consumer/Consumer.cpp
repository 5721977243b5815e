// An application outside the tree: it draws through the back end into an off-screen window, and uses a class
// of each of the installed libraries.

#include "EntryPoints.h"
#include "GraphicsDeviceGL2.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Window.h"

#include <cstdio>

#if __has_include("ui/GraphicBuffer.h") || __has_include("SkBitmap.h")
#error "what stands in for Android's headers is on an application's include path"
#endif

using namespace trevik;
using namespace trevik::kelvo;

int main() {
    ClassRegistry registry;
    if (!Initialize(&registry)) {
        return 1;
    }
    using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;
    Ref<Window> const pWindow(new Window(5, 3));
    pWindow->SetCapture(true);
    {
        GraphicsDeviceGL2 device;
        if (!device.Initialize(static_cast<WindowT<ANativeWindow>*>(pWindow.Get()), DeviceFormat::RGBA8888,
                               SizeT<int>(5, 3))) {
            return 1;
        }
        device.SetClearColor(ColorT<RealFloat>(0.2f, 0.4f, 0.6f, 1));
        device.Clear();
        device.Present();
    }
    Shutdown();
    kelvokit::desktop::FinishedFrame const& frame = pWindow->LastFrame();
    if (frame.width != 5 || frame.height != 3) {
        return 1;
    }
    std::printf("%d.%d.%d %d %d %d\n", GetTrevikVersionMajor(), GetTrevikVersionMinor(),
                GetTrevikVersionBuild(), frame.pixels[0], frame.pixels[1], frame.pixels[2]);
    return 0;
}
