#include "ui/GraphicBuffer.h"

#include "buffers/BufferContents.h"
#include "display/Layer.h"
#include "pixelflinger/pixelflinger.h"

#include <cstdint>
#include <new>

namespace android {

namespace {

/** Rows begin where a GPU likes them to. */
constexpr std::uint32_t RowAlignment = 16;

} // namespace

std::size_t bytesPerPixel(PixelFormat format) {
    switch (format) {
    case PIXEL_FORMAT_RGBA_8888:
    case PIXEL_FORMAT_RGBX_8888:
    case PIXEL_FORMAT_BGRA_8888:
        return 4;
    case PIXEL_FORMAT_RGB_888:
        return 3;
    case PIXEL_FORMAT_RGB_565:
    case PIXEL_FORMAT_RGBA_5551:
    case PIXEL_FORMAT_RGBA_4444:
        return 2;
    case PIXEL_FORMAT_A_8:
        return 1;
    default:
        return 0;
    }
}

GraphicBuffer::GraphicBuffer(std::uint32_t w, std::uint32_t h, PixelFormat f, std::uint32_t u) noexcept {
    using kelvokit::desktop::BufferContents;
    width = static_cast<std::int32_t>(w);
    height = static_cast<std::int32_t>(h);
    format = f;
    usage = static_cast<std::int32_t>(u);
    magic = LivingMagic;
    if (width < 1 || height < 1 || width > INT32_MAX - static_cast<std::int32_t>(RowAlignment) ||
        bytesPerPixel(f) == 0) {
        return;
    }
    stride = static_cast<std::int32_t>((w + RowAlignment - 1) / RowAlignment * RowAlignment);
    std::unique_ptr<BufferContents> pContents(new (std::nothrow) BufferContents);
    if (!pContents) {
        return;
    }
    // Two positive 32-bit sides of 4 bytes a pixel at most: the product fits 64 bits, and size_t perhaps not.
    std::uint64_t const nSize = static_cast<std::uint64_t>(stride) * h * bytesPerPixel(f);
    if (nSize > PTRDIFF_MAX) {
        return;
    }
    pContents->pixels.reset(static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(nSize), 1)));
    if (pContents->pixels && kelvokit::desktop::Layer::Get().AddBuffer(this)) {
        contents = pContents.release();
    }
}

GraphicBuffer::~GraphicBuffer() {
    if (contents) {
        kelvokit::desktop::Layer::Get().RemoveBuffer(this);
        delete contents;
    }
    magic = 0;
}

status_t GraphicBuffer::initCheck() const {
    if (stride == 0) {
        return BAD_VALUE;
    }
    return contents ? NO_ERROR : NO_MEMORY;
}

status_t GraphicBuffer::lock(GGLSurface* surface, std::uint32_t) {
    if (!surface) {
        return BAD_VALUE;
    }
    *surface = {};
    if (!contents) {
        return NO_INIT;
    }
    std::lock_guard<std::mutex> const guard(contents->mutex);
    if (contents->locked) {
        return INVALID_OPERATION;
    }
    contents->locked = true;
    surface->version = sizeof(GGLSurface);
    surface->width = getWidth();
    surface->height = getHeight();
    surface->stride = stride;
    surface->data = contents->pixels.get();
    surface->format = static_cast<std::uint8_t>(format);
    return NO_ERROR;
}

status_t GraphicBuffer::unlock() {
    if (!contents) {
        return NO_INIT;
    }
    return kelvokit::desktop::Layer::Get().Unlock(*this);
}

ANativeWindowBuffer* GraphicBuffer::getNativeBuffer() const {
    return const_cast<GraphicBuffer*>(this);
}

} // namespace android
