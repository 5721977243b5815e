#include "play/EarlyDisplay.h"

#include <EGL/egl.h>
#include <kelvo_desktop/Display.h>

#include <system_error>

namespace kelvokit::player {

EarlyDisplay::~EarlyDisplay() {
    if (m_display.valid()) {
        if (void* const pDisplay = m_display.get()) {
            eglTerminate(pDisplay);
        }
    }
}

void EarlyDisplay::Begin() {
    try {
        m_display = std::async(std::launch::async, desktop::StartDisplay);
    } catch (std::system_error const&) {} // of the thread that cannot be had
}

void EarlyDisplay::HandOver() {
    if (m_display.valid()) {
        m_display.get();
    }
}

} // namespace kelvokit::player
