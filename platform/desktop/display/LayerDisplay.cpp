#include "display/LayerDisplay.h"

#include "buffers/BufferContents.h"
#include "buffers/ImageAlias.h"
#include "buffers/PixelUpload.h"
#include "display/ImageCheck.h"
#include "egl/GlFunctions.h"

#include <algorithm>
#include <new>

namespace kelvokit::desktop {

WindowSurface const* LayerDisplay::FindSurface(EGLSurface surface) const {
    auto const found = std::find_if(m_surfaces.begin(), m_surfaces.end(),
                                    [&](WindowSurface const& each) { return each.surface == surface; });
    return surface != EGL_NO_SURFACE && found != m_surfaces.end() ? &*found : nullptr;
}

bool LayerDisplay::HasSurfaceOf(ANativeWindow const* window) const {
    return std::any_of(m_surfaces.begin(), m_surfaces.end(),
                       [&](WindowSurface const& each) { return each.window == window; });
}

void LayerDisplay::EndSurface(ANativeWindow const* window, EGLSurface surface) {
    for (WindowSurface& each : m_surfaces) {
        if (each.window == window) {
            each.surface = surface;
        }
    }
    if (surface == EGL_NO_SURFACE) {
        m_surfaces.erase(
            std::remove_if(m_surfaces.begin(), m_surfaces.end(),
                           [window](WindowSurface const& each) { return each.window == window; }),
            m_surfaces.end());
    }
}

void LayerDisplay::ForgetWindow(ANativeWindow const* window, bool fWhileMade) {
    for (WindowSurface& each : m_surfaces) {
        if (each.window == window && (fWhileMade || each.surface != EGL_NO_SURFACE)) {
            each.window = nullptr;
        }
    }
}

void LayerDisplay::RemoveSurface(EGLSurface surface) {
    m_surfaces.erase(std::remove_if(m_surfaces.begin(), m_surfaces.end(),
                                    [surface](WindowSurface const& each) { return each.surface == surface; }),
                     m_surfaces.end());
}

Outcome LayerDisplay::CreateImage(ANativeWindowBuffer const& buffer, EGLImage& image) {
    if (Outcome const started = m_context.Start(); !started) {
        return started;
    }
    if (!m_context.HasImages()) {
        return Outcome::Failed(EGL_BAD_PARAMETER);
    }
    if (std::max(buffer.width, buffer.height) > m_context.MaxTextureSide()) {
        return Outcome::Failed(EGL_BAD_ALLOC);
    }
    if (Outcome const prepared = PrepareUpload(buffer, m_context.HasRowLength()); !prepared) {
        return prepared;
    }
    m_images.reserve(m_images.size() + 1); // so that what has been made is not lost
    Image made = {EGL_NO_IMAGE, 0, &buffer};
    if (Outcome const filled = FillImage(made); !filled) {
        return filled;
    }
    m_images.push_back(made);
    image = made.image;
    return Outcome::Done();
}

/** Makes texture and image of `image.buffer` and fills them. */
Outcome LayerDisplay::FillImage(Image& image) {
    ANativeWindowBuffer const& buffer = *image.buffer;
    auto const fill = [&](OwnedTexture const& texture) {
        // The thread that has the buffer locked uploads the pixels when it unlocks it.
        std::lock_guard<std::mutex> const guard(buffer.contents->mutex);
        return buffer.contents->locked ? Outcome::Done()
                                       : UploadPixels(buffer, texture.Name(), m_context.HasRowLength());
    };
    Outcome made = Outcome::Failed(EGL_BAD_ALLOC);
    Outcome const ran = m_context.Run([&] {
        OwnedTexture texture = CreateTextureFor(buffer);
        if (!texture || !(made = fill(texture))) {
            return;
        }
        image.image = m_context.CreateImage(texture.Name());
        if (image.image == EGL_NO_IMAGE) {
            made = Outcome::DriverFailed();
            return;
        }
        image.texture = texture.Release();
    });
    if (ran) {
        return made;
    }
    if (image.image != EGL_NO_IMAGE) {
        DestroyImage(image, nullptr);
    }
    return ran;
}

EGLBoolean LayerDisplay::DestroyImage(Image const& image, CurrentGroup const& pCurrent) {
    RemoveAlias(image, pCurrent);
    EGLBoolean const fDestroyed = m_context.DestroyImage(image.image);
    // The driver keeps the memory for as long as textures of the program are made of it.
    KeptError const error;
    // Where the context cannot be bound, the texture goes with it.
    static_cast<void>(m_context.Run([&] { Gl().glDeleteTextures(1, &image.texture); }));
    return fDestroyed;
}

bool LayerDisplay::DestroyImage(EGLImage image, CurrentGroup const& pCurrent, EGLBoolean& fDestroyed) {
    auto const entry = std::find_if(m_images.begin(), m_images.end(),
                                    [&](Image const& each) { return each.image == image; });
    if (entry == m_images.end()) {
        return false;
    }
    Image const gone = *entry;
    m_images.erase(entry);
    UseDriverError();
    fDestroyed = DestroyImage(gone, pCurrent);
    return true;
}

Outcome LayerDisplay::Upload(ANativeWindowBuffer const& buffer, NotedGroup const& pNoted) {
    Outcome uploaded = Outcome::Done();
    for (Image& image : m_images) {
        if (image.buffer != &buffer || UploadHere(image, pNoted)) {
            continue;
        }
        KeptError const error;
        Outcome filled = Outcome::Done();
        Outcome const ran =
            m_context.Run([&] { filled = UploadPixels(buffer, image.texture, m_context.HasRowLength()); });
        for (Outcome const step : {filled, ran}) {
            uploaded = uploaded ? step : uploaded;
        }
    }
    return uploaded;
}

/** In the calling thread's own context; false, with nothing done, where that cannot be. */
bool LayerDisplay::UploadHere(Image& image, NotedGroup const& pNoted) {
    std::shared_ptr<ShareGroup> const pAliasGroup = image.pAliasGroup.lock();
    if (!pNoted || (pAliasGroup && pAliasGroup != pNoted)) {
        return false;
    }
    // No other context, whoever has made it current, knows a texture of that name and kind, but for those
    // that share it. To ask EGL which one is current takes as long as half of a small upload.
    if (pAliasGroup && CanFindAlias() && UploadToAlias(*image.buffer, image.alias)) {
        return true;
    }
    if (!IsCurrent(GetThreadContext()) || !CanUseAliases() || (!pAliasGroup && !MakeAlias(image, pNoted))) {
        return false;
    }
    if (!UploadToAlias(*image.buffer, image.alias)) {
        image.pAliasGroup.reset();
        return false;
    }
    return true;
}

/** Makes a texture of the image in the current context; false where there is to be none. */
bool LayerDisplay::MakeAlias(Image& image, CurrentGroup const& pCurrent) {
    // What is written once or twice does not make up for what it takes to have an alias.
    constexpr int UploadsElsewhere = 2;
    if (image.nUploadsElsewhere < UploadsElsewhere) {
        ++image.nUploadsElsewhere;
        return false;
    }
    image.nUploadsElsewhere = 0;
    if (!CanUploadToAlias(image.buffer->format)) {
        return false;
    }
    try { // room for what RemoveAlias enters
        pCurrent->unusedTextures.reserve(pCurrent->unusedTextures.size() + m_images.size());
    } catch (std::bad_alloc const&) {
        return false;
    }
    image.alias = CreateAlias(image.image, image.buffer->width, image.buffer->height);
    if (image.alias != 0) {
        image.pAliasGroup = pCurrent;
    }
    return image.alias != 0;
}

bool LayerDisplay::CanUploadToAlias(android::PixelFormat format) {
    Tried& tried = m_aliases[static_cast<std::size_t>(format)];
    if (tried == Tried::Not) {
        KeptError const error;
        tried = desktop::CanUploadToAlias(m_context, format) ? Tried::Good : Tried::Bad;
    }
    return tried == Tried::Good;
}

void LayerDisplay::RemoveAlias(Image const& image, CurrentGroup const& pCurrent) {
    std::shared_ptr<ShareGroup> const pGroup = image.pAliasGroup.lock();
    if (!pGroup) {
        return;
    }
    pGroup->unusedTextures.push_back(image.alias);
    if (pCurrent == pGroup) {
        DeleteUnusedTextures(*pGroup);
    }
}

void LayerDisplay::ForgetBuffer(ANativeWindowBuffer const* buffer) {
    for (Image& image : m_images) {
        if (image.buffer == buffer) {
            image.buffer = nullptr;
        }
    }
}

void LayerDisplay::ForgetImages() {
    m_images.clear();
    m_context.Forget();
}

} // namespace kelvokit::desktop
