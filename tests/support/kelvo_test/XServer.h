#pragma once

#include "kelvo_test/Image.h"

#include <string>
#include <vector>

namespace kelvokit::test {

/**
 * The X server that DISPLAY names: windows, what they show, and a person at it. Its libraries are found at
 * run time: the build does not need X11.
 */
class XServer {
public:
    XServer();
    ~XServer();
    XServer(XServer const&) = delete;
    XServer& operator=(XServer const&) = delete;

    /** Whether there is a server. */
    bool IsOpen() const { return m_pDisplay != nullptr; }
    /** Whether keys can be pressed, too. */
    bool HasInput() const;

    /** A new window in the upper left corner. */
    unsigned long MakeWindow(unsigned width, unsigned height) const;
    /** All windows that are children of the root. */
    std::vector<unsigned long> GetWindows() const;
    std::string GetTitle(unsigned long id) const;
    /** What a window of the server shows now; black where it cannot be seen. */
    Image GetShown(unsigned long id, unsigned width, unsigned height) const;
    /** `fAtOnce`: the server has done it on return; else it does so together with what follows. */
    /** Asks a window's program to close it, as window managers do. */
    void AskToClose(unsigned long id) const;
    void Resize(unsigned long id, unsigned width, unsigned height, bool fAtOnce = true) const;

    /** Presses and releases a key while the window has the focus. `name`: such as "Escape". */
    void PressKey(unsigned long id, char const* name) const;
    /** To a point of the screen. */
    void MovePointer(int x, int y) const;
    /** Clicks at a point of a window. */
    void Click(unsigned long id, int x, int y) const;

private:
    void Sync() const;

    void* m_pDisplay;
};

} // namespace kelvokit::test
