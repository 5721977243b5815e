#include "image/PixelPacking.h"

#include "image/Etc1.h"
#include "image/MipLevels.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** A channel of 8 bits to the nearest of `max` + 1 steps, and back. */
unsigned Narrow(unsigned value, unsigned max) {
    return (value * max + 127) / 255;
}
std::uint8_t Widen(unsigned value, unsigned max) {
    return std::uint8_t((value * 255 + max / 2) / max);
}

std::uint16_t PackWord(std::uint8_t const* pixel, TextureFormat::Enum format) {
    if (format == TextureFormat::RGB565) {
        return std::uint16_t(Narrow(pixel[0], 31) << 11 | Narrow(pixel[1], 63) << 5 | Narrow(pixel[2], 31));
    }
    if (format == TextureFormat::RGBA5551) {
        return std::uint16_t(Narrow(pixel[0], 31) << 11 | Narrow(pixel[1], 31) << 6 |
                             Narrow(pixel[2], 31) << 1 | Narrow(pixel[3], 1));
    }
    return std::uint16_t(Narrow(pixel[0], 15) << 12 | Narrow(pixel[1], 15) << 8 | Narrow(pixel[2], 15) << 4 |
                         Narrow(pixel[3], 15));
}

void UnpackWord(unsigned word, TextureFormat::Enum format, std::uint8_t* pixel) {
    if (format == TextureFormat::RGB565) {
        pixel[0] = Widen(word >> 11, 31);
        pixel[1] = Widen(word >> 5 & 63, 63);
        pixel[2] = Widen(word & 31, 31);
    } else if (format == TextureFormat::RGBA5551) {
        pixel[0] = Widen(word >> 11, 31);
        pixel[1] = Widen(word >> 6 & 31, 31);
        pixel[2] = Widen(word >> 1 & 31, 31);
        pixel[3] = Widen(word & 1, 1);
    } else {
        pixel[0] = Widen(word >> 12, 15);
        pixel[1] = Widen(word >> 8 & 15, 15);
        pixel[2] = Widen(word >> 4 & 15, 15);
        pixel[3] = Widen(word & 15, 15);
    }
}

void PackRow(std::uint8_t const* in, int width, TextureFormat::Enum format, std::uint8_t* out) {
    for (std::size_t x = 0; x < std::size_t(width); ++x, in += 4) {
        switch (format) {
        case TextureFormat::RGB888:
            std::memcpy(out + x * 3, in, 3);
            break;
        case TextureFormat::RGBX8888:
            std::memcpy(out + x * 4, in, 3);
            out[x * 4 + 3] = 255;
            break;
        case TextureFormat::RGBA8888:
            std::memcpy(out + x * 4, in, 4);
            break;
        case TextureFormat::Alpha8:
            out[x] = in[3];
            break;
        default: {
            std::uint16_t const word = PackWord(in, format);
            std::memcpy(out + x * 2, &word, 2);
            break;
        }
        }
    }
}

void UnpackRow(std::uint8_t const* in, int width, TextureFormat::Enum format, std::uint8_t* out) {
    std::memset(out, 255, std::size_t(width) * 4);
    for (std::size_t x = 0; x < std::size_t(width); ++x, out += 4) {
        switch (format) {
        case TextureFormat::RGB888:
            std::memcpy(out, in + x * 3, 3);
            break;
        case TextureFormat::RGBX8888:
            std::memcpy(out, in + x * 4, 3);
            break;
        case TextureFormat::RGBA8888:
            std::memcpy(out, in + x * 4, 4);
            break;
        case TextureFormat::Alpha8:
            out[3] = in[x];
            break;
        default: {
            std::uint16_t word = 0;
            std::memcpy(&word, in + x * 2, 2);
            UnpackWord(word, format, out);
            break;
        }
        }
    }
}

/**
 * Cuts a picture down, or fills what is new by repeating the last column and row, so that filtering finds no
 * seam.
 */
RgbaPicture Resize(RgbaPicture const& picture, int width, int height) {
    RgbaPicture resized{width, height,
                        std::vector<std::uint8_t>(std::size_t(width) * std::size_t(height) * 4)};
    int const common = std::min(width, picture.width);
    for (int y = 0; y < height; ++y) {
        int const source = std::min(y, picture.height - 1);
        std::memcpy(resized.At(0, y), picture.At(0, source), std::size_t(common) * 4);
        for (int x = common; x < width; ++x) {
            std::memcpy(resized.At(x, y), picture.At(picture.width - 1, source), 4);
        }
    }
    return resized;
}

void FlipRows(RgbaPicture& picture) {
    std::size_t const row = std::size_t(picture.width) * 4;
    for (int y = 0; y < picture.height / 2; ++y) {
        std::swap_ranges(picture.At(0, y), picture.At(0, y) + row, picture.At(0, picture.height - 1 - y));
    }
}

void SetAlphaFromBrightness(RgbaPicture& picture) {
    for (std::size_t i = 0; i < picture.bytes.size(); i += 4) {
        std::uint8_t* pixel = picture.bytes.data() + i;
        pixel[3] = std::uint8_t((299u * pixel[0] + 587u * pixel[1] + 114u * pixel[2] + 500u) / 1000u);
    }
}

/** What the target drops must not weigh on the colours of smaller levels either. */
void SetOpaque(RgbaPicture& picture) {
    for (std::size_t i = 3; i < picture.bytes.size(); i += 4) {
        picture.bytes[i] = 255;
    }
}

TextureFormat::Enum ChooseFormat(ImageOptions const& options, bool fHasAlpha) {
    if (options.format) {
        return *options.format;
    }
    if (options.encodeEtc1) {
        return fHasAlpha ? TextureFormat::ETC1_RGBA : TextureFormat::ETC1_RGB;
    }
    return fHasAlpha ? TextureFormat::RGBA8888 : TextureFormat::RGB888;
}

long long AllocatedExtent(long long used, TextureFormat::Enum format, bool fPowerOfTwo) {
    long long extent = IsEtc1(format) ? (used + 3) / 4 * 4 : used;
    if (fPowerOfTwo) {
        long long power = IsEtc1(format) ? 4 : 1;
        while (power < extent) {
            power *= 2;
        }
        extent = power;
    }
    return extent;
}

} // namespace

void PackPixels(RgbaPicture const& picture, TextureFormat::Enum format, std::uint8_t* out) {
    if (IsEtc1(format)) {
        EncodeEtc1Plane(picture, Etc1Plane::Colour, out);
        if (format == TextureFormat::ETC1_RGBA) {
            EncodeEtc1Plane(picture, Etc1Plane::Alpha,
                            out + PlaneBytes(format, picture.width, picture.height));
        }
        return;
    }
    std::size_t const stride = RowBytes(format, picture.width);
    for (int y = 0; y < picture.height; ++y) {
        PackRow(picture.At(0, y), picture.width, format, out + std::size_t(y) * stride);
    }
}

RgbaPicture UnpackPixels(std::uint8_t const* in, TextureFormat::Enum format, int width, int height) {
    RgbaPicture picture{width, height, {}};
    picture.bytes.assign(std::size_t(width) * std::size_t(height) * 4, 255);
    if (IsEtc1(format)) {
        DecodeEtc1Plane(in, Etc1Plane::Colour, picture);
        if (format == TextureFormat::ETC1_RGBA) {
            DecodeEtc1Plane(in + PlaneBytes(format, width, height), Etc1Plane::Alpha, picture);
        }
        return picture;
    }
    std::size_t const stride = RowBytes(format, width);
    for (int y = 0; y < height; ++y) {
        UnpackRow(in + std::size_t(y) * stride, width, format, picture.At(0, y));
    }
    return picture;
}

RgbaPicture UnpackLevel(ImageData const& image, std::size_t level) {
    MipLevel const& record = image.levels[level];
    RgbaPicture picture =
        UnpackPixels(image.pixels.data() + record.m_nOffset, image.format, record.m_nWidth, record.m_nHeight);
    // The used part shrinks with the level; what is used of a texel in part is used.
    auto const used = [](int whole, int part, int allocated) {
        return int((static_cast<long long>(whole) * part + allocated - 1) / allocated);
    };
    int const width = used(record.m_nWidth, image.width, image.allocatedWidth);
    int const height = used(record.m_nHeight, image.height, image.allocatedHeight);
    return width == record.m_nWidth && height == record.m_nHeight ? picture : Resize(picture, width, height);
}

bool BuildImage(RgbaPicture picture, bool fHasAlpha, ImageOptions const& options, std::string const& name,
                ImageData& image, Fault& fault) {
    ImageData built;
    built.format = ChooseFormat(options, fHasAlpha);
    if (!IsSupported(built.format)) {
        return Fail(fault, name,
                    "cannot be made an image of texture format " + std::to_string(int(built.format)));
    }
    built.width = picture.width;
    built.height = picture.height;
    long long const width = AllocatedExtent(picture.width, built.format, options.padToPowerOfTwo);
    long long const height = AllocatedExtent(picture.height, built.format, options.padToPowerOfTwo);
    if (options.mipLevels && !CanHaveMipLevels(built.format, name, fault)) {
        return false;
    }
    bool const fPad = width != picture.width || height != picture.height;
    if (fPad && !CheckSize(name + ": padded", width, height, options.limits, fault)) {
        return false;
    }
    built.allocatedWidth = int(width);
    built.allocatedHeight = int(height);

    if (built.format == TextureFormat::Alpha8 && !fHasAlpha) {
        SetAlphaFromBrightness(picture);
    } else if (fHasAlpha && !HasAlpha(built.format)) {
        SetOpaque(picture);
    }
    if (options.flipRows) {
        FlipRows(picture);
    }
    if (fPad) {
        picture = Resize(picture, built.allocatedWidth, built.allocatedHeight);
    }
    if (!AppendLevels(std::move(picture), options.mipLevels, name, built, fault)) {
        return false;
    }
    image = std::move(built);
    return true;
}

} // namespace trevik::kelvo::assets
