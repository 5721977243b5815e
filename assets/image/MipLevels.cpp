#include "image/MipLevels.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** The up to three pixels of the larger level that one pixel of the smaller level covers along one axis. */
struct Coverage {
    int first = 0;
    int count = 0;
    unsigned weights[3] = {};
};

/**
 * Measured in steps of 1 / target of a source pixel, all shares are whole numbers; each pixel's sum up to
 * `source`.
 */
std::vector<Coverage> CoverAxis(int source, int target) {
    std::vector<Coverage> axis(static_cast<std::size_t>(target));
    for (int i = 0; i < target; ++i) {
        Coverage& coverage = axis[std::size_t(i)];
        long long const begin = static_cast<long long>(i) * source;
        long long const end = begin + source;
        coverage.first = int(begin / target);
        for (long long pixel = coverage.first; pixel * target < end; ++pixel) {
            coverage.weights[coverage.count++] =
                unsigned(std::min(end, (pixel + 1) * target) - std::max(begin, pixel * target));
        }
    }
    return axis;
}

void AveragePixel(RgbaPicture const& picture, Coverage const& across, Coverage const& down,
                  std::uint8_t* out) {
    std::uint64_t weight = 0;
    std::uint64_t alpha = 0;
    std::uint64_t plain[3] = {};
    std::uint64_t weighted[3] = {};
    for (int y = 0; y < down.count; ++y) {
        std::uint8_t const* pixel = picture.At(across.first, down.first + y);
        for (int x = 0; x < across.count; ++x, pixel += 4) {
            std::uint64_t const share = std::uint64_t(across.weights[x]) * down.weights[y];
            weight += share;
            alpha += share * pixel[3];
            for (int c = 0; c < 3; ++c) {
                plain[c] += share * pixel[c];
                weighted[c] += share * pixel[3] * pixel[c];
            }
        }
    }
    for (int c = 0; c < 3; ++c) {
        out[c] = std::uint8_t(alpha ? (weighted[c] + alpha / 2) / alpha : (plain[c] + weight / 2) / weight);
    }
    out[3] = std::uint8_t((alpha + weight / 2) / weight);
}

bool AppendLevel(RgbaPicture const& picture, std::string const& name, ImageData& image, Fault& fault) {
    std::size_t const offset = image.pixels.size();
    std::size_t const bytes = LevelBytes(image.format, picture.width, picture.height);
    if (bytes > std::size_t(INT_MAX) - offset) {
        return Fail(fault, name, "its levels need more than the 2147483647 bytes that a texture can address");
    }
    image.pixels.resize(offset + bytes);
    PackPixels(picture, image.format, image.pixels.data() + offset);
    image.levels.push_back({picture.width, picture.height, int(offset),
                            int(PlaneBytes(image.format, picture.width, picture.height))});
    return true;
}

bool AppendSmallerLevels(RgbaPicture picture, std::string const& name, ImageData& image, Fault& fault) {
    while (picture.width > 1 || picture.height > 1) {
        picture = HalvePicture(picture);
        if (!AppendLevel(picture, name, image, fault)) {
            return false;
        }
    }
    return true;
}

} // namespace

RgbaPicture HalvePicture(RgbaPicture const& picture) {
    RgbaPicture half{std::max(1, picture.width / 2), std::max(1, picture.height / 2), {}};
    half.bytes.resize(std::size_t(half.width) * std::size_t(half.height) * 4);
    std::vector<Coverage> const across = CoverAxis(picture.width, half.width);
    std::vector<Coverage> const down = CoverAxis(picture.height, half.height);
    std::uint8_t* out = half.bytes.data();
    for (Coverage const& row : down) {
        for (Coverage const& column : across) {
            AveragePixel(picture, column, row, out);
            out += 4;
        }
    }
    return half;
}

bool CanHaveMipLevels(TextureFormat::Enum format, std::string const& name, Fault& fault) {
    if (format != TextureFormat::ETC1_RGBA) {
        return true;
    }
    return Fail(fault, name,
                "ETC1 with alpha cannot have mip levels, its levels below 4 x 4 pixels have no room "
                "for the alpha plane; load it without levels or in another format");
}

bool AppendLevels(RgbaPicture picture, bool fMipLevels, std::string const& name, ImageData& image,
                  Fault& fault) {
    // By far the most frequent case needs no second copy of the pixels.
    std::size_t const bytes = picture.bytes.size();
    if (image.format == TextureFormat::RGBA8888 && image.pixels.empty() && !fMipLevels && bytes <= INT_MAX) {
        image.levels.push_back({picture.width, picture.height, 0, int(bytes)});
        image.pixels = std::move(picture.bytes);
        return true;
    }
    return AppendLevel(picture, name, image, fault) &&
           (!fMipLevels || AppendSmallerLevels(std::move(picture), name, image, fault));
}

bool GenerateMipLevels(ImageData& image, std::string const& name, Fault& fault) {
    if (image.levels.empty()) {
        return Fail(fault, name, "there is no level to make smaller ones from");
    }
    if (!CanHaveMipLevels(image.format, name, fault)) {
        return false;
    }
    try {
        MipLevel const& base = image.levels[0];
        ImageData built;
        built.format = image.format;
        built.pixels.assign(image.pixels.begin() + base.m_nOffset,
                            image.pixels.begin() + base.m_nOffset + base.m_nSize);
        built.levels.push_back({base.m_nWidth, base.m_nHeight, 0, base.m_nSize});
        RgbaPicture picture = UnpackPixels(built.pixels.data(), image.format, base.m_nWidth, base.m_nHeight);
        if (!AppendSmallerLevels(std::move(picture), name, built, fault)) {
            return false;
        }
        image.pixels = std::move(built.pixels);
        image.levels = std::move(built.levels);
        return true;
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its mip levels");
    }
}

} // namespace trevik::kelvo::assets
