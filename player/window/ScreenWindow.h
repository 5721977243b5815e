#pragma once

#include "kelvo_host/Fault.h"
#include "play/Stage.h"
#include "trevik/Ref.h"
#include "trevik/Size.h"

#include <string>

struct SDL_Window;

namespace kelvokit::player {

/** A window on a person's screen that a device can draw into. One at a time; main thread. */
class ScreenWindow {
public:
    ScreenWindow() = default;
    /** What a device has on the window is to be gone by then. */
    ~ScreenWindow();
    ScreenWindow(ScreenWindow const&) = delete;
    ScreenWindow& operator=(ScreenWindow const&) = delete;

    /**
     * Opens the window, and has the next device's display be that of the window system. `size`: pixels to
     * draw into. False with one line in `fault` when there is no window system or it gives no window.
     */
    bool Open(std::string const& title, trevik::SizeT<int> const& size, trevik::kelvo::Fault& fault);

    NativeWindow& GetNative() { return *m_pNative; }
    /** The pixels that there are to draw into. */
    trevik::SizeT<int> const& GetSize() const { return m_size; }
    /** Takes up the size that the window has by now; whether it is another one. */
    bool TakeSize();
    /** Asks for a size; what the window gets, TakeSize tells. */
    void SetSize(trevik::SizeT<int> const& size);
    void SetTitle(std::string const& title);
    void ToggleFullScreen();
    /** Takes it off the screen: it has been closed, and what is left to do may take a while. */
    void Hide();

private:
    bool Start(trevik::kelvo::Fault& fault);
    bool Adopt(trevik::kelvo::Fault& fault);

    SDL_Window* m_pWindow = nullptr;
    bool m_fStarted = false; ///< SDL is to be ended
    trevik::SizeT<int> m_size;
    trevik::Ref<NativeWindow> m_pNative;
};

} // namespace kelvokit::player
