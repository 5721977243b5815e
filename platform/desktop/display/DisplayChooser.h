#pragma once

#include <EGL/egl.h>

#include <mutex>

namespace kelvokit::desktop {

/** The display for EGL_DEFAULT_DISPLAY, by the rules of SelectPlatform; EGL_NO_DISPLAY when there is none. It
   is left as uninitialised as it was. */
EGLDisplay ChooseDefaultDisplay();

/**
 * No display is being tried while the result lives, nor initialised or terminated by the program: its
 * eglInitialize and eglTerminate hold it.
 */
std::unique_lock<std::mutex> HoldDisplays();

} // namespace kelvokit::desktop
