#pragma once

#include <kelvo_desktop/Export.h>

namespace kelvokit::desktop {

/**
 * Says which platform the next eglGetDisplay(EGL_DEFAULT_DISPLAY) takes:
 * - "surfaceless": no window system, the driver chooses the device (Mesa);
 * - "device": the first device that works, hardware before software; "device:N": exactly the device of index
 * N;
 * - "x11": the X server named by DISPLAY, for real windows;
 * - null or "": what the environment variable KELVO_EGL_PLATFORM says, in the same words; and if that is not
 * set, the first hardware device that works, else surfaceless, else a software device. Displays handed out
 * before stay what they are. Answers false, and changes nothing, for other words. Any thread.
 */
KELVO_DESKTOP_API bool SelectPlatform(char const* platform);

/**
 * The same for a Wayland compositor: the next eglGetDisplay(EGL_DEFAULT_DISPLAY) takes the one that
 * `connection`, a wl_display, leads to. It is the connection that the windows' surfaces belong to, and
 * outlives the display. SelectPlatform ends it. Such a display makes no off-screen windows. Any thread.
 */
KELVO_DESKTOP_API void SelectWayland(void* connection);

/**
 * Platform, vendor and version of the display that eglGetDisplay(EGL_DEFAULT_DISPLAY) chose last, such as
 * "surfaceless: Mesa Project, EGL 1.5"; "none: ..." with the reason when it found none or has not been called
 * yet. The text is valid until the next such call. Any thread.
 */
KELVO_DESKTOP_API char const* DescribeDisplay();

/**
 * Loads the driver, and initialises the display that eglGetDisplay(EGL_DEFAULT_DISPLAY) takes now: for a
 * program that has other work to do first, and does it on another thread meanwhile. Returns the display,
 * which is to be terminated as after eglInitialize; null where there is none, and eglGetDisplay and
 * eglInitialize say then why. Any thread.
 */
KELVO_DESKTOP_API void* StartDisplay();

} // namespace kelvokit::desktop
