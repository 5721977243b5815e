#include "Image.h"

#include <utility>

namespace trevik::kelvo::assets {

namespace {

std::size_t BytesPerPixel(PixelFormat format) {
    switch (format) {
    case PixelFormat::Rgb565:
    case PixelFormat::Rgba5551:
    case PixelFormat::Rgba4444:
        return 2;
    case PixelFormat::Rgb888:
        return 3;
    case PixelFormat::Rgbx8888:
    case PixelFormat::Rgba8888:
        return 4;
    case PixelFormat::Alpha8:
        return 1;
    case PixelFormat::Etc1:
    case PixelFormat::Etc1Alpha:
        break;
    }
    return 0;
}

} // namespace

bool IsEtc1(PixelFormat format) { return format == PixelFormat::Etc1 || format == PixelFormat::Etc1Alpha; }

bool HasAlpha(PixelFormat format) {
    return format == PixelFormat::Rgba5551 || format == PixelFormat::Rgba4444 ||
           format == PixelFormat::Rgba8888 || format == PixelFormat::Etc1Alpha || format == PixelFormat::Alpha8;
}

std::size_t RowBytes(PixelFormat format, int width) {
    return (std::size_t(width) * BytesPerPixel(format) + 3) / 4 * 4;
}

std::size_t PlaneBytes(PixelFormat format, int width, int height) {
    if (IsEtc1(format))
        return (std::size_t(width) + 3) / 4 * ((std::size_t(height) + 3) / 4) * 8;
    return RowBytes(format, width) * std::size_t(height);
}

std::size_t LevelBytes(PixelFormat format, int width, int height) {
    return PlaneBytes(format, width, height) * (format == PixelFormat::Etc1Alpha ? 2 : 1);
}

bool CheckSize(const std::string& name, long long width, long long height, const ImageLimits& limits,
               std::string& error) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width < 1 || height < 1)
        return Fail(error, name + ": a size of " + size + " pixels holds no picture");
    if (width > limits.maxWidth || height > limits.maxHeight)
        return Fail(error, name + ": " + size + " pixels are more than the " + std::to_string(limits.maxWidth) +
                               " x " + std::to_string(limits.maxHeight) + " allowed");
    // Both factors fit 31 bits here, so the product fits 64.
    const unsigned long long bytes = 4ull * static_cast<unsigned long long>(width * height);
    if (bytes > limits.maxBytes)
        return Fail(error, name + ": " + size + " pixels need " + std::to_string(bytes) + " bytes, more than the " +
                               std::to_string(limits.maxBytes) + " allowed");
    return true;
}

bool Fail(std::string& error, std::string message) {
    error = std::move(message);
    return false;
}

} // namespace trevik::kelvo::assets
