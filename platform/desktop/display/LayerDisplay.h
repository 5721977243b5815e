#pragma once

#include "display/LayerContext.h"
#include "display/ProgramContexts.h"
#include "egl/EglError.h"

#include <system/window.h>
#include <ui/PixelFormat.h>

#include <array>
#include <memory>
#include <vector>

namespace kelvokit::desktop {

/** How windows reach a display. */
enum class DisplayKind {
    /** None of this layer's: the program got it from the driver by its own means. */
    Foreign,
    /** No window system: a window surface is a pixel buffer. */
    Offscreen,
    /** An X server: X11 windows are windows, all others pixel buffers. */
    X11,
    /** A Wayland compositor: Wayland surfaces are windows, and there are no others. */
    Wayland,
};

/** A window surface that the layer made and did not yet take back. */
struct WindowSurface {
    /** EGL_NO_SURFACE while it is being made. */
    EGLSurface surface;
    /** Null once the window was destroyed. */
    ANativeWindow* window;
};

/**
 * What the layer keeps of one EGLDisplay: the surfaces of its windows, the images of graphic buffers, and the
 * context that fills these. An image is a texture of that context, shared by the driver, that gets a buffer's
 * pixels whenever the buffer is unlocked. It locks nothing: its user, Layer, holds the lock that each part
 * names.
 */
class LayerDisplay {
public:
    explicit LayerDisplay(EGLDisplay handle) : m_handle(handle), m_context(handle) {}

    EGLDisplay Handle() const { return m_handle; }

    // While the layer's tables are held.

    DisplayKind Kind() const { return m_kind; }
    void SetKind(DisplayKind kind) { m_kind = kind; }
    /** Null when `surface` is no window surface of this display. */
    WindowSurface const* FindSurface(EGLSurface surface) const;
    bool HasSurfaceOf(ANativeWindow const* window) const;
    /** Enters a surface for `window` that is about to be made. Throws std::bad_alloc. */
    void BeginSurface(ANativeWindow* window) { m_surfaces.push_back({EGL_NO_SURFACE, window}); }
    /** Enters the surface that was made, or forgets that there was to be one if it is EGL_NO_SURFACE. */
    void EndSurface(ANativeWindow const* window, EGLSurface surface);
    /** Its surfaces stay, without a window; `fWhileMade`: also one that is being made. */
    void ForgetWindow(ANativeWindow const* window, bool fWhileMade);
    void RemoveSurface(EGLSurface surface);
    void RemoveSurfaces() { m_surfaces.clear(); }

    // While the layer's work is held.

    /** The group of the thread's context; null unless it is of this display and the layer may work there. */
    using CurrentGroup = std::shared_ptr<ShareGroup>;
    /** The same as the layer has noted it: another library may have made another context current. */
    using NotedGroup = std::shared_ptr<ShareGroup>;

    LayerContext& Context() { return m_context; }
    bool HasImages() const { return !m_images.empty(); }
    /** Makes an image of `buffer`, which is one, and fills it. Throws std::bad_alloc. */
    Outcome CreateImage(ANativeWindowBuffer const& buffer, EGLImage& image);
    /** eglDestroyImage of an image of these; false for all others, which are the driver's business. */
    bool DestroyImage(EGLImage image, CurrentGroup const& pCurrent, EGLBoolean& fDestroyed);
    /**
     * Brings the pixels of `buffer` into its images here: in the calling thread's own context where that is
     * known to do as well, otherwise in the layer's.
     */
    Outcome Upload(ANativeWindowBuffer const& buffer, NotedGroup const& pNoted);
    /** The buffer is gone: its images stay as they are. */
    void ForgetBuffer(ANativeWindowBuffer const* buffer);
    /** The driver has terminated the display, and with it images and context. */
    void ForgetImages();

private:
    struct Image {
        EGLImage image;
        GLuint texture;
        ANativeWindowBuffer const* buffer; ///< null once it is gone
        /** A texture of it in contexts of the program (ImageAlias.h). */
        GLuint alias = 0;
        std::weak_ptr<ShareGroup> pAliasGroup = {};
        /** How many uploads from contexts of the program had to leave them. */
        int nUploadsElsewhere = 0;
    };

    enum class Tried : unsigned char { Not, Good, Bad };

    Outcome FillImage(Image& image);
    bool UploadHere(Image& image, NotedGroup const& pNoted);
    bool MakeAlias(Image& image, CurrentGroup const& pCurrent);
    bool CanUploadToAlias(android::PixelFormat format);
    static void RemoveAlias(Image const& image, CurrentGroup const& pCurrent);
    EGLBoolean DestroyImage(Image const& image, CurrentGroup const& pCurrent);

    EGLDisplay m_handle;
    DisplayKind m_kind = DisplayKind::Foreign;
    LayerContext m_context;
    // A handful of entries each: a linear search beats a map.
    std::vector<WindowSurface> m_surfaces;
    std::vector<Image> m_images;
    /** By pixel format: whether aliases were tried with it, and serve. */
    std::array<Tried, android::PIXEL_FORMAT_A_8 + 1> m_aliases = {};
};

} // namespace kelvokit::desktop
