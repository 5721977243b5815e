#include "BufferImages.h"

#include "EglDriver.h"
#include "GlFunctions.h"
#include "PixelUpload.h"

#include <algorithm>
#include <new>

namespace kelvokit::desktop {

BufferImages& BufferImages::Get() {
    // Not destroyed at exit: buffers with static storage may be destroyed later than this would be.
    static BufferImages* const s_pImages = new BufferImages;
    return *s_pImages;
}

bool BufferImages::AddBuffer(ANativeWindowBuffer* buffer) noexcept {
    std::lock_guard<std::mutex> lock(m_mutex);
    try {
        m_buffers.push_back(buffer);
    } catch (std::bad_alloc const&) {
        return false;
    }
    return true;
}

void BufferImages::RemoveBuffer(ANativeWindowBuffer* buffer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_buffers.erase(std::remove(m_buffers.begin(), m_buffers.end(), buffer), m_buffers.end());
    for (Image& image : m_images) {
        if (image.buffer == buffer) {
            image.buffer = nullptr;
        }
    }
}

bool BufferImages::IsKnown(ANativeWindowBuffer const* buffer) const {
    return std::find(m_buffers.begin(), m_buffers.end(), buffer) != m_buffers.end() &&
           buffer->magic == ANativeWindowBuffer::LivingMagic;
}

LayerContext& BufferImages::ContextOf(EGLDisplay display) {
    for (auto const& pContext : m_contexts) {
        if (pContext->Display() == display) {
            return *pContext;
        }
    }
    m_contexts.push_back(std::make_unique<LayerContext>(display));
    return *m_contexts.back();
}

/** Makes texture and image and fills them; an EGL error. */
EGLint BufferImages::CreateImage(LayerContext& context, ANativeWindowBuffer const& buffer, Image& image) {
    auto const fill = [&] {
        // Whoever has the buffer locked uploads the pixels by unlocking it.
        std::lock_guard<std::mutex> lock(buffer.contents->mutex);
        return buffer.contents->locked || UploadPixels(buffer, image.texture, context.HasRowLength());
    };
    EGLint nError = EGL_BAD_ALLOC;
    EGLint const nRun = context.Run([&] {
        image.texture = CreateTextureFor(buffer);
        if (image.texture == 0) {
            return;
        }
        if (fill()) {
            image.image = context.CreateImage(image.texture);
            nError = image.image != EGL_NO_IMAGE ? EGL_SUCCESS : DriverError();
        }
        if (nError != EGL_SUCCESS) {
            Gl().glDeleteTextures(1, &image.texture);
        }
    });
    if (nRun == EGL_SUCCESS) {
        return nError;
    }
    if (image.image != EGL_NO_IMAGE) {
        DestroyImage(context, image);
    }
    return nRun;
}

EGLBoolean BufferImages::DestroyImage(LayerContext& context, Image const& image) {
    EGLBoolean const fDestroyed = context.DestroyImage(image.image);
    // The driver keeps the memory for as long as textures of the program are made of it.
    KeptError const error;
    context.Run([&] { Gl().glDeleteTextures(1, &image.texture); });
    return fDestroyed;
}

EGLImage BufferImages::Create(EGLDisplay display, EGLContext context, EGLClientBuffer buffer,
                              bool fAttributes) {
    // A query that every display answers, and none does not: the driver judges it.
    if (!Forward(Driver().eglQueryString, display, EGL_VENDOR)) {
        return EGL_NO_IMAGE;
    }
    if (context != EGL_NO_CONTEXT) {
        return Fail<EGLImage>(EGL_BAD_CONTEXT);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const* const pBuffer = static_cast<ANativeWindowBuffer const*>(buffer);
    if (!fAttributes || !IsKnown(pBuffer) || !IsUploadable(*pBuffer)) {
        return Fail<EGLImage>(EGL_BAD_PARAMETER);
    }
    LayerContext& layerContext = ContextOf(display);
    EGLint nError = layerContext.Start();
    if (nError != EGL_SUCCESS) {
        return Fail<EGLImage>(nError);
    }
    if (!layerContext.HasImages()) {
        return Fail<EGLImage>(EGL_BAD_PARAMETER);
    }
    if (std::max(pBuffer->width, pBuffer->height) > layerContext.MaxTextureSide() ||
        !PrepareUpload(*pBuffer, layerContext.HasRowLength())) {
        return Fail<EGLImage>(EGL_BAD_ALLOC);
    }
    m_images.push_back({display, EGL_NO_IMAGE, 0, pBuffer});
    nError = CreateImage(layerContext, *pBuffer, m_images.back());
    if (nError != EGL_SUCCESS) {
        m_images.pop_back();
        return Fail<EGLImage>(nError);
    }
    Succeed();
    return m_images.back().image;
}

bool BufferImages::Destroy(EGLDisplay display, EGLImage image, EGLBoolean& fDestroyed) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto const entry = std::find_if(m_images.begin(), m_images.end(), [&](Image const& candidate) {
        return candidate.display == display && candidate.image == image;
    });
    if (entry == m_images.end()) {
        return false;
    }
    Image const gone = *entry;
    m_images.erase(entry);
    UseDriverError();
    fDestroyed = DestroyImage(ContextOf(display), gone);
    return true;
}

EGLBoolean BufferImages::TerminateDisplay(EGLDisplay display) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!Forward(Driver().eglTerminate, display)) {
        return EGL_FALSE;
    }
    m_images.erase(std::remove_if(m_images.begin(), m_images.end(),
                                  [display](Image const& image) { return image.display == display; }),
                   m_images.end());
    for (auto const& pContext : m_contexts) {
        if (pContext->Display() == display) {
            pContext->Forget();
        }
    }
    return EGL_TRUE;
}

char const* BufferImages::Extensions(EGLDisplay display, char const* extensions) {
    std::lock_guard<std::mutex> lock(m_mutex);
    KeptError const error;
    LayerContext& context = ContextOf(display);
    bool const fImages = context.Start() == EGL_SUCCESS && context.HasImages();
    return fImages ? context.AddExtension(extensions) : extensions;
}

bool BufferImages::CanDraw(EGLDisplay display, EGLint width, EGLint height) {
    std::lock_guard<std::mutex> lock(m_mutex);
    LayerContext& context = ContextOf(display);
    return context.Start() != EGL_SUCCESS ||
           (width <= context.MaxDrawnWidth() && height <= context.MaxDrawnHeight());
}

bool BufferImages::Upload(ANativeWindowBuffer const& buffer) {
    bool fUploaded = true;
    for (Image const& image : m_images) {
        if (image.buffer != &buffer) {
            continue;
        }
        KeptError const error;
        LayerContext& context = ContextOf(image.display);
        EGLint const nRun = context.Run(
            [&] { fUploaded = UploadPixels(buffer, image.texture, context.HasRowLength()) && fUploaded; });
        fUploaded = fUploaded && nRun == EGL_SUCCESS;
    }
    return fUploaded;
}

android::status_t BufferImages::Unlock(ANativeWindowBuffer const& buffer) {
    // Held until the buffer is unlocked: an image that is made in between would find it locked, and nobody
    // would fill it.
    std::lock_guard<std::mutex> lock(m_mutex);
    BufferContents& contents = *buffer.contents;
    {
        std::lock_guard<std::mutex> const guard(contents.mutex);
        if (!contents.locked) {
            return android::INVALID_OPERATION;
        }
    }
    bool const fUploaded = Upload(buffer);
    std::lock_guard<std::mutex> const guard(contents.mutex);
    contents.locked = false;
    return fUploaded ? android::NO_ERROR : android::UNKNOWN_ERROR;
}

std::unique_lock<std::mutex> BufferImages::HoldStill(bool* pAny) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (pAny) {
        *pAny = !m_images.empty();
    }
    return lock;
}

} // namespace kelvokit::desktop
