#pragma once

#include "display/LayerDisplay.h"

#include <system/window.h>
#include <utils/Errors.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kelvokit::desktop {

/**
 * All that the layer remembers from call to call: the displays, each with what was made on it, and the
 * windows and graphic buffers of this process. That a window or buffer is known here, and not what its memory
 * says, decides whether a pointer from the program is one: it may be anything, an X11 id included. Any
 * thread.
 *
 * The lock has two halves, since a window should not wait for pixels. A thread that needs both takes them in
 * this order:
 * - the work, held while the driver works for the layer, which may take milliseconds: of each display its
 *   context and its images, and the graphic buffers;
 * - the tables, held for moments and never during a call to the driver: of each display its kind and its
 *   surfaces, the windows with their pins, and the program's contexts.
 * A display is added with both held and never removed, so that either is enough to look one up.
 */
class Layer {
public:
    static Layer& Get();

    // Displays

    /** Enters a display that the layer gives out, or changes its kind. Throws std::bad_alloc. */
    void SetKind(EGLDisplay display, DisplayKind kind);
    /** Foreign for everything that was never given out. */
    DisplayKind KindOf(EGLDisplay display) const;
    /**
     * eglTerminate: with the display go its surfaces and its images. None of the layer's own work on it is
     * under way then.
     */
    EGLBoolean Terminate(EGLDisplay display);
    /** What eglQueryString answers for EGL_EXTENSIONS where the driver answers `extensions`. */
    char const* Extensions(EGLDisplay display, char const* extensions);
    /** Whether GL on the display can draw into a surface of this size; true where it cannot be asked. */
    bool CanDraw(EGLDisplay display, EGLint width, EGLint height);
    /**
     * No image changes while the result lives, and no thread has the layer's context in the place of its own:
     * for a frame that is being finished, which is to show images whole, and for what destroys contexts and
     * surfaces, which live on only where they are current. `pAny` tells whether there are images.
     */
    std::unique_lock<std::mutex> HoldStill(bool* pAny = nullptr);

    // Contexts of the program

    // The EGL functions of these names, which tell the layer in which contexts it may upload.
    EGLContext CreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                             EGLint const* attributes);
    EGLBoolean DestroyContext(EGLDisplay display, EGLContext context);
    EGLBoolean MakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context);
    EGLBoolean ReleaseThread();
    /** While all is held still: deletes what the layer no longer needs in the thread's context. */
    void CleanContext(EGLDisplay display) const;

    // Graphic buffers and their images

    /** Makes a buffer known, so that images can be made of it; false without memory. */
    bool AddBuffer(ANativeWindowBuffer* buffer) noexcept;
    /** Forgets a buffer; its images stay as they are. */
    void RemoveBuffer(ANativeWindowBuffer* buffer);
    /**
     * Unlocks a buffer and brings its pixels into its images. INVALID_OPERATION unless it is locked;
     * UNKNOWN_ERROR when the driver cannot, and the buffer is unlocked then, too.
     */
    android::status_t Unlock(ANativeWindowBuffer const& buffer);
    /**
     * eglCreateImage of a pointer that may be anything. `fAttributes`: the attribute list is one that such
     * images have. Throws std::bad_alloc.
     */
    EGLImage CreateImage(EGLDisplay display, EGLContext context, EGLClientBuffer buffer, bool fAttributes);
    /** eglDestroyImage of an image of these; false for all others, which are the driver's business. */
    bool DestroyImage(EGLDisplay display, EGLImage image, EGLBoolean& fDestroyed);

    // Windows and their surfaces

    /** Makes `window` known; a no-op for a known one. Throws std::bad_alloc. */
    void AddWindow(ANativeWindow* window);
    /**
     * Forgets `window`, once no other thread is in a swap of it or makes a surface for it; its surfaces stay,
     * without a window.
     */
    void RemoveWindow(ANativeWindow* window);
    /** Whether `surface` is a window surface of `display`. */
    bool IsWindowSurface(EGLDisplay display, EGLSurface surface) const;
    void RemoveSurface(EGLDisplay display, EGLSurface surface);

private:
    friend class ClaimedWindow;
    friend class PinnedSurface;

    struct Pinned {
        ANativeWindow const* window;
        std::thread::id thread;
    };

    // With either half of the lock.
    LayerDisplay* Find(EGLDisplay display) const;

    // With the work.
    LayerDisplay::NotedGroup NotedGroup(EGLDisplay display) const;
    LayerDisplay::CurrentGroup CurrentGroup(EGLDisplay display) const;
    LayerDisplay& Enter(EGLDisplay display);
    bool IsKnown(ANativeWindowBuffer const* buffer) const;

    // With the tables.
    bool IsKnown(ANativeWindow const* window) const;
    bool IsPinnedElsewhere(ANativeWindow const* window) const;
    void Pin(ANativeWindow const* window) { m_pinned.push_back({window, std::this_thread::get_id()}); }
    void Unpin(ANativeWindow const* window);

    std::mutex m_work;
    mutable std::mutex m_tables;
    std::condition_variable m_unpinned;
    // A handful of entries each: a linear search beats a map.
    std::vector<std::unique_ptr<LayerDisplay>> m_displays;
    std::vector<ANativeWindowBuffer*> m_buffers;
    std::vector<ANativeWindow*> m_windows;
    std::vector<Pinned> m_pinned;
    ProgramContexts m_contexts;
};

} // namespace kelvokit::desktop
