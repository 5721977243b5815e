#include "display/Layer.h"

#include "buffers/BufferContents.h"
#include "buffers/PixelUpload.h"

#include <algorithm>
#include <new>

namespace kelvokit::desktop {

Layer& Layer::Get() {
    // Not destroyed at exit: windows and buffers with static storage may be destroyed later than this would
    // be, and EGL may be called by destructors of static objects.
    static Layer* const s_pLayer = new Layer;
    return *s_pLayer;
}

// Displays

LayerDisplay* Layer::Find(EGLDisplay display) const {
    auto const found = std::find_if(m_displays.begin(), m_displays.end(),
                                    [&](auto const& pDisplay) { return pDisplay->Handle() == display; });
    return found != m_displays.end() ? found->get() : nullptr;
}

/** Finds the display, or makes it known. Throws std::bad_alloc. */
LayerDisplay& Layer::Enter(EGLDisplay display) {
    if (LayerDisplay* const pKnown = Find(display)) {
        return *pKnown;
    }
    auto pDisplay = std::make_unique<LayerDisplay>(display);
    std::lock_guard<std::mutex> const tables(m_tables);
    m_displays.push_back(std::move(pDisplay));
    return *m_displays.back();
}

void Layer::SetKind(EGLDisplay display, DisplayKind kind) {
    std::lock_guard<std::mutex> const work(m_work);
    LayerDisplay& entered = Enter(display);
    std::lock_guard<std::mutex> const tables(m_tables);
    entered.SetKind(kind);
}

DisplayKind Layer::KindOf(EGLDisplay display) const {
    std::lock_guard<std::mutex> const tables(m_tables);
    LayerDisplay const* const pDisplay = Find(display);
    return pDisplay ? pDisplay->Kind() : DisplayKind::Foreign;
}

EGLBoolean Layer::Terminate(EGLDisplay display) {
    std::lock_guard<std::mutex> const work(m_work);
    if (!Forward(Driver().eglTerminate, display)) {
        return EGL_FALSE;
    }
    if (LayerDisplay* const pDisplay = Find(display)) {
        pDisplay->ForgetImages();
        std::lock_guard<std::mutex> const tables(m_tables);
        pDisplay->RemoveSurfaces();
        m_contexts.RemoveAll(display);
    }
    return EGL_TRUE;
}

char const* Layer::Extensions(EGLDisplay display, char const* extensions) {
    std::lock_guard<std::mutex> const work(m_work);
    KeptError const error;
    LayerContext& context = Enter(display).Context();
    bool const fImages = context.Start() && context.HasImages();
    return fImages ? context.AddExtension(extensions) : extensions;
}

bool Layer::CanDraw(EGLDisplay display, EGLint width, EGLint height) {
    std::lock_guard<std::mutex> const work(m_work);
    LayerContext& context = Enter(display).Context();
    return !context.Start() || (width <= context.MaxDrawnWidth() && height <= context.MaxDrawnHeight());
}

std::unique_lock<std::mutex> Layer::HoldStill(bool* pAny) {
    std::unique_lock<std::mutex> work(m_work);
    if (pAny) {
        *pAny = std::any_of(m_displays.begin(), m_displays.end(),
                            [](auto const& pDisplay) { return pDisplay->HasImages(); });
    }
    return work;
}

// Contexts of the program

EGLContext Layer::CreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                                EGLint const* attributes) {
    EGLContext const context = Forward(Driver().eglCreateContext, display, config, share, attributes);
    if (context != EGL_NO_CONTEXT && ProgramContexts::Takes(attributes)) {
        std::lock_guard<std::mutex> const tables(m_tables);
        try {
            m_contexts.Add(display, context, share);
        } catch (std::bad_alloc const&) {} // uploads leave it then, which takes longer
    }
    return context;
}

EGLBoolean Layer::DestroyContext(EGLDisplay display, EGLContext context) {
    // What is current on a thread lives until it is released. So no thread may have the layer's context
    // current in its place now.
    auto const still = HoldStill();
    {
        // First: once the context is destroyed, the driver may give its handle to another thread's.
        std::lock_guard<std::mutex> const tables(m_tables);
        m_contexts.Remove(display, context);
    }
    return Forward(Driver().eglDestroyContext, display, context);
}

EGLBoolean Layer::MakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
    GetThreadContext() = {}; // after a failure too: a driver may have changed what is current
    EGLBoolean const fCurrent = Forward(Driver().eglMakeCurrent, display, draw, read, context);
    if (fCurrent) {
        std::lock_guard<std::mutex> const tables(m_tables);
        auto const pGroup = m_contexts.Find(display, context);
        GetThreadContext() = {display, context, pGroup ? pGroup->nNumber : 0};
    }
    return fCurrent;
}

EGLBoolean Layer::ReleaseThread() {
    GetThreadContext() = {};
    return Forward(Driver().eglReleaseThread);
}

LayerDisplay::NotedGroup Layer::NotedGroup(EGLDisplay display) const {
    ThreadContext const& context = GetThreadContext();
    if (context.display != display || context.nGroup == 0) {
        return nullptr;
    }
    std::lock_guard<std::mutex> const tables(m_tables);
    return m_contexts.Find(context.nGroup);
}

LayerDisplay::CurrentGroup Layer::CurrentGroup(EGLDisplay display) const {
    auto pGroup = NotedGroup(display);
    return pGroup && IsCurrent(GetThreadContext()) ? pGroup : nullptr;
}

void Layer::CleanContext(EGLDisplay display) const {
    if (auto const pGroup = CurrentGroup(display)) {
        DeleteUnusedTextures(*pGroup);
    }
}

// Graphic buffers and their images

bool Layer::AddBuffer(ANativeWindowBuffer* buffer) noexcept {
    std::lock_guard<std::mutex> const work(m_work);
    try {
        m_buffers.push_back(buffer);
    } catch (std::bad_alloc const&) {
        return false;
    }
    return true;
}

void Layer::RemoveBuffer(ANativeWindowBuffer* buffer) {
    std::lock_guard<std::mutex> const work(m_work);
    m_buffers.erase(std::remove(m_buffers.begin(), m_buffers.end(), buffer), m_buffers.end());
    for (auto const& pDisplay : m_displays) {
        pDisplay->ForgetBuffer(buffer);
    }
}

bool Layer::IsKnown(ANativeWindowBuffer const* buffer) const {
    return std::find(m_buffers.begin(), m_buffers.end(), buffer) != m_buffers.end() &&
           buffer->magic == ANativeWindowBuffer::LivingMagic;
}

android::status_t Layer::Unlock(ANativeWindowBuffer const& buffer) {
    // Held until the buffer is unlocked: an image that is made before that would find the buffer locked, and
    // stay empty.
    std::lock_guard<std::mutex> const work(m_work);
    BufferContents& contents = *buffer.contents;
    {
        std::lock_guard<std::mutex> const guard(contents.mutex);
        if (!contents.locked) {
            return android::INVALID_OPERATION;
        }
    }
    bool fUploaded = true;
    for (auto const& pDisplay : m_displays) {
        fUploaded = pDisplay->Upload(buffer, NotedGroup(pDisplay->Handle())) && fUploaded;
    }
    std::lock_guard<std::mutex> const guard(contents.mutex);
    contents.locked = false;
    return fUploaded ? android::NO_ERROR : android::UNKNOWN_ERROR;
}

EGLImage Layer::CreateImage(EGLDisplay display, EGLContext context, EGLClientBuffer buffer,
                            bool fAttributes) {
    // Every display answers this query: so the driver tells whether `display` is one.
    if (!Forward(Driver().eglQueryString, display, EGL_VENDOR)) {
        return EGL_NO_IMAGE;
    }
    if (context != EGL_NO_CONTEXT) {
        return Fail<EGLImage>(EGL_BAD_CONTEXT);
    }
    std::lock_guard<std::mutex> const work(m_work);
    auto const* const pBuffer = static_cast<ANativeWindowBuffer const*>(buffer);
    if (!fAttributes || !IsKnown(pBuffer) || !IsUploadable(*pBuffer)) {
        return Fail<EGLImage>(EGL_BAD_PARAMETER);
    }
    EGLImage image = EGL_NO_IMAGE;
    if (Outcome const made = Enter(display).CreateImage(*pBuffer, image); !made) {
        return Fail<EGLImage>(made);
    }
    Succeed();
    return image;
}

bool Layer::DestroyImage(EGLDisplay display, EGLImage image, EGLBoolean& fDestroyed) {
    std::lock_guard<std::mutex> const work(m_work);
    LayerDisplay* const pDisplay = Find(display);
    return pDisplay && pDisplay->DestroyImage(image, CurrentGroup(display), fDestroyed);
}

// Windows and their surfaces

void Layer::AddWindow(ANativeWindow* window) {
    std::lock_guard<std::mutex> const tables(m_tables);
    if (!IsKnown(window)) {
        m_windows.push_back(window);
    }
}

void Layer::RemoveWindow(ANativeWindow* window) {
    std::unique_lock<std::mutex> tables(m_tables);
    auto const forget = [&](bool fWhileMade) {
        for (auto const& pDisplay : m_displays) {
            pDisplay->ForgetWindow(window, fWhileMade);
        }
    };
    // First, so that no other thread takes the window any more. One that is making a surface for it still
    // finds the entry, by the window's address, when it ends that.
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
    forget(false);
    m_unpinned.wait(tables, [&] { return !IsPinnedElsewhere(window); });
    forget(true);
}

bool Layer::IsKnown(ANativeWindow const* window) const {
    return std::find(m_windows.begin(), m_windows.end(), window) != m_windows.end();
}

bool Layer::IsWindowSurface(EGLDisplay display, EGLSurface surface) const {
    std::lock_guard<std::mutex> const tables(m_tables);
    LayerDisplay const* const pDisplay = Find(display);
    return pDisplay && pDisplay->FindSurface(surface);
}

void Layer::RemoveSurface(EGLDisplay display, EGLSurface surface) {
    std::lock_guard<std::mutex> const tables(m_tables);
    if (LayerDisplay* const pDisplay = Find(display)) {
        pDisplay->RemoveSurface(surface);
    }
}

bool Layer::IsPinnedElsewhere(ANativeWindow const* window) const {
    return std::any_of(m_pinned.begin(), m_pinned.end(), [&](Pinned const& pinned) {
        return pinned.window == window && pinned.thread != std::this_thread::get_id();
    });
}

void Layer::Unpin(ANativeWindow const* window) {
    auto const pinned = std::find_if(m_pinned.begin(), m_pinned.end(), [&](Pinned const& each) {
        return each.window == window && each.thread == std::this_thread::get_id();
    });
    if (pinned == m_pinned.end()) {
        return;
    }
    m_pinned.erase(pinned);
    m_unpinned.notify_all();
}

} // namespace kelvokit::desktop
