#include "image/Image.h"

#include <algorithm>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

std::size_t BytesPerPixel(TextureFormat::Enum format) {
    switch (format) {
    case TextureFormat::RGB565:
    case TextureFormat::RGBA5551:
    case TextureFormat::RGBA4444:
        return 2;
    case TextureFormat::RGB888:
        return 3;
    case TextureFormat::RGBX8888:
    case TextureFormat::RGBA8888:
        return 4;
    case TextureFormat::Alpha8:
        return 1;
    default:
        return 0;
    }
}

} // namespace

bool IsSupported(TextureFormat::Enum format) {
    return IsEtc1(format) || BytesPerPixel(format) != 0;
}

bool IsEtc1(TextureFormat::Enum format) {
    return format == TextureFormat::ETC1_RGB || format == TextureFormat::ETC1_RGBA;
}

bool HasAlpha(TextureFormat::Enum format) {
    return format == TextureFormat::RGBA5551 || format == TextureFormat::RGBA4444 ||
           format == TextureFormat::RGBA8888 || format == TextureFormat::ETC1_RGBA ||
           format == TextureFormat::Alpha8;
}

std::size_t RowBytes(TextureFormat::Enum format, int width) {
    return std::size_t(width) * BytesPerPixel(format);
}

std::size_t PlaneBytes(TextureFormat::Enum format, int width, int height) {
    if (IsEtc1(format)) {
        return (std::size_t(width) + 3) / 4 * ((std::size_t(height) + 3) / 4) * 8;
    }
    return RowBytes(format, width) * std::size_t(height);
}

std::size_t LevelBytes(TextureFormat::Enum format, int width, int height) {
    return PlaneBytes(format, width, height) * (format == TextureFormat::ETC1_RGBA ? 2 : 1);
}

bool CheckSize(std::string const& name, long long width, long long height, ImageLimits const& limits,
               Fault& fault) {
    std::string const size = std::to_string(width) + " x " + std::to_string(height);
    if (width < 1 || height < 1) {
        return Fail(fault, name, "a size of " + size + " pixels holds no picture");
    }
    int const maxWidth = std::min(limits.maxWidth, Texture::MaximumSide);
    int const maxHeight = std::min(limits.maxHeight, Texture::MaximumSide);
    if (width > maxWidth || height > maxHeight) {
        return Fail(fault, name,
                    size + " pixels are more than the " + std::to_string(maxWidth) + " x " +
                        std::to_string(maxHeight) + " allowed");
    }
    unsigned long long const bytes = 4ull * static_cast<unsigned long long>(width * height);
    if (bytes > limits.maxBytes) {
        return Fail(fault, name,
                    size + " pixels need " + std::to_string(bytes) + " bytes, more than the " +
                        std::to_string(limits.maxBytes) + " allowed");
    }
    return true;
}

} // namespace trevik::kelvo::assets
