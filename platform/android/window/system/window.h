#pragma once

#include <cstdint>

namespace kelvokit::desktop {
struct BufferContents;
struct FinishedFrame;
} // namespace kelvokit::desktop

/**
 * The desktop's native window: what Android calls by the same name and passes to eglCreateWindowSurface as
 * its EGLNativeWindowType. A window is either off-screen, and then its finished frames can be had as pixels,
 * or it stands for an X11 window or a Wayland surface that was made elsewhere.
 *
 * Derive from it or hold one, and prepare it with kelvokit::desktop::InitialiseOffscreen, InitialiseX11 or
 * InitialiseWayland (kelvo_desktop/OffscreenWindow.h); EGL refuses a window that was not prepared with
 * EGL_BAD_NATIVE_WINDOW. The fields may be read and written directly, on the thread that swaps, except those
 * marked as the layer's own.
 */
struct ANativeWindow {
    /** Called inside eglSwapBuffers, on its thread, after a captured frame is complete and the GL state is
       back to what it was. `frame` is the window's own storage: copy what has to outlive the next swap. It
       may destroy the window. An exception ends here: eglSwapBuffers then fails with EGL_BAD_NATIVE_WINDOW,
       or EGL_BAD_ALLOC for std::bad_alloc, although the frame is finished and counted. */
    using FrameHandler = void (*)(ANativeWindow* window, kelvokit::desktop::FinishedFrame const& frame);

    /** Value of `magic` in a prepared window (the letters "_wnd", as on Android). */
    static constexpr std::uint32_t PreparedMagic = 0x5f776e64;

    ANativeWindow() = default;
    ANativeWindow(ANativeWindow const&) = delete;
    ANativeWindow& operator=(ANativeWindow const&) = delete;

    /**
     * A surface that still exists for the window stays valid to destroy; swapping it is
     * EGL_BAD_NATIVE_WINDOW. A swap that is under way on another thread, its handler included, ends first.
     */
    ~ANativeWindow() {
        if (release) {
            release(this);
        }
    }

    /** PreparedMagic once prepared, 0 before. The layer's own. */
    std::uint32_t magic = 0;
    /**
     * Size in pixels, at least 1 each. A surface takes it over when it is created; changing it later affects
     * the next surface only. Of an X11 window's own size the X server decides.
     */
    std::int32_t width = 0;
    /** As `width`. */
    std::int32_t height = 0;
    /** X11 window id; 0 for an off-screen window. */
    std::uint64_t x11Window = 0;
    /** The wl_egl_window of a Wayland surface; null for others. The layer's own. */
    void* waylandWindow = nullptr;
    /** Whether eglSwapBuffers reads the frame back. Off costs nothing; on costs one read-back a frame. */
    bool capture = false;
    /** Free for the application. */
    void* user = nullptr;
    /** Told of each captured frame; null for none. */
    FrameHandler frameFinished = nullptr;
    /** Frames finished since the window was prepared, captured or not. The layer counts. */
    unsigned long frameCount = 0;
    /** The last captured frame. The layer's own; read it through kelvokit::desktop::LastFrame. */
    kelvokit::desktop::FinishedFrame* frame = nullptr;
    /** Gives the layer's part of the window back. The layer's own. */
    void (*release)(ANativeWindow*) = nullptr;
};

/**
 * The part of a graphic buffer (ui/GraphicBuffer.h) that EGL is handed: its address, as an EGLClientBuffer,
 * makes an image of target EGL_NATIVE_BUFFER_ANDROID.
 */
struct ANativeWindowBuffer {
    /** Value of `magic` in a buffer that lives (the letters "_bfr", as on Android). */
    static constexpr std::uint32_t LivingMagic = 0x5f626672;

    /** LivingMagic while the buffer lives. The layer's own. */
    std::uint32_t magic = 0;
    std::int32_t width = 0;  ///< pixels
    std::int32_t height = 0; ///< pixels
    std::int32_t stride = 0; ///< from row to row, pixels
    std::int32_t format = 0; ///< an android::PixelFormat
    std::int32_t usage = 0;  ///< of GRALLOC_USAGE_*
    /** Memory and images; null without memory. The layer's own. */
    kelvokit::desktop::BufferContents* contents = nullptr;
};
