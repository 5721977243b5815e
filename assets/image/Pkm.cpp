#include "image/Pkm.h"

#include "file/FileBytes.h"
#include "image/MipLevels.h"

#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t HeaderBytes = 16;
constexpr std::size_t ExtendedOffset = 8;
constexpr std::size_t UsedOffset = 12;
constexpr int MostExtent = 0xFFFF / 4 * 4;
std::string const Suffix = ".pkm";
std::string const AlphaSuffix = ".alpha.pkm";

struct PkmHeader {
    int extendedWidth = 0;
    int extendedHeight = 0;
    int width = 0;
    int height = 0;

    bool operator==(PkmHeader const& other) const {
        return extendedWidth == other.extendedWidth && extendedHeight == other.extendedHeight &&
               width == other.width && height == other.height;
    }
    std::string Describe() const {
        return std::to_string(width) + " x " + std::to_string(height) + " in " +
               std::to_string(extendedWidth) + " x " + std::to_string(extendedHeight);
    }
};

bool EndsWith(std::string const& text, std::string const& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

int ReadBig16(std::uint8_t const* bytes) {
    return bytes[0] << 8 | bytes[1];
}

void AppendBig16(std::vector<std::uint8_t>& out, int value) {
    out.push_back(std::uint8_t(value >> 8));
    out.push_back(std::uint8_t(value & 0xFF));
}

bool CheckSignature(ByteSpan bytes, std::string const& name, Fault& fault) {
    if (bytes.size < HeaderBytes) {
        return Fail(fault, name, std::to_string(bytes.size) + " bytes are too few for a PKM header of 16");
    }
    if (std::memcmp(bytes.data, "PKM ", 4) != 0) {
        return Fail(fault, name, "is not a PKM file (at byte 0)");
    }
    if (std::memcmp(bytes.data + 4, "10", 2) != 0) {
        return Fail(fault, name, "is a PKM file of another version than 10 (at byte 4)");
    }
    int const type = ReadBig16(bytes.data + 6);
    if (type != 0) {
        return Fail(fault, name,
                    "is a PKM file of type " + std::to_string(type) + ", not of type 0, ETC1 (at byte 6)");
    }
    return true;
}

/** Everything that the header says is checked against the file before any of it is believed. */
bool ReadHeader(ByteSpan bytes, std::string const& name, ImageLimits const& limits, PkmHeader& header,
                Fault& fault) {
    if (!CheckSignature(bytes, name, fault)) {
        return false;
    }
    header.extendedWidth = ReadBig16(bytes.data + ExtendedOffset);
    header.extendedHeight = ReadBig16(bytes.data + ExtendedOffset + 2);
    header.width = ReadBig16(bytes.data + UsedOffset);
    header.height = ReadBig16(bytes.data + UsedOffset + 2);
    if (header.extendedWidth % 4 != 0 || header.extendedHeight % 4 != 0) {
        return Fail(fault, name,
                    "the extended size of " + header.Describe() + " is no multiple of 4 (at byte 8)");
    }
    if (header.width > header.extendedWidth || header.height > header.extendedHeight) {
        return Fail(fault, name, "a used size of " + header.Describe() + " does not fit (at byte 12)");
    }
    if (!CheckSize(name, header.width, header.height, limits, fault) ||
        !CheckSize(name, header.extendedWidth, header.extendedHeight, limits, fault)) {
        return false;
    }
    std::size_t const expected =
        HeaderBytes + PlaneBytes(TextureFormat::ETC1_RGB, header.extendedWidth, header.extendedHeight);
    if (bytes.size != expected) {
        return Fail(fault, name,
                    header.Describe() + " pixels need " + std::to_string(expected) +
                        " bytes, but the file ends at byte " + std::to_string(bytes.size));
    }
    return true;
}

bool IsPowerOfTwo(int value) {
    return (value & (value - 1)) == 0;
}

bool CheckOptions(PkmHeader const& header, TextureFormat::Enum format, ImageOptions const& options,
                  std::string const& name, Fault& fault) {
    if (options.format && *options.format != format) {
        return Fail(fault, name,
                    "its ETC1 blocks have texture format " + std::to_string(int(format)) +
                        " and cannot become format " + std::to_string(int(*options.format)));
    }
    if (options.flipRows) {
        return Fail(fault, name, "the rows of ETC1 blocks cannot be flipped");
    }
    if (options.padToPowerOfTwo &&
        !(IsPowerOfTwo(header.extendedWidth) && IsPowerOfTwo(header.extendedHeight))) {
        return Fail(fault, name, header.Describe() + " pixels of ETC1 blocks cannot be padded");
    }
    return !options.mipLevels || CanHaveMipLevels(format, name, fault);
}

ImageData Assemble(PkmHeader const& header, TextureFormat::Enum format, ByteSpan colour, ByteSpan alpha) {
    ImageData image;
    image.format = format;
    image.width = header.width;
    image.height = header.height;
    image.allocatedWidth = header.extendedWidth;
    image.allocatedHeight = header.extendedHeight;
    image.pixels.reserve(LevelBytes(format, header.extendedWidth, header.extendedHeight));
    image.pixels.assign(colour.data + HeaderBytes, colour.data + colour.size);
    if (format == TextureFormat::ETC1_RGBA) {
        image.pixels.insert(image.pixels.end(), alpha.data + HeaderBytes, alpha.data + alpha.size);
    }
    image.levels.push_back({header.extendedWidth, header.extendedHeight, 0, int(colour.size - HeaderBytes)});
    return image;
}

/** `image` is known to hold at least the planes of level 0 (see `SavePkm`). */
std::vector<std::uint8_t> FilePlane(ImageData const& image, std::size_t plane) {
    MipLevel const& level = image.levels[0];
    std::vector<std::uint8_t> bytes = {'P', 'K', 'M', ' ', '1', '0', 0, 0};
    for (int extent : {level.m_nWidth, level.m_nHeight, image.width, image.height}) {
        AppendBig16(bytes, extent);
    }
    std::uint8_t const* blocks = image.pixels.data() + level.m_nOffset + plane * std::size_t(level.m_nSize);
    bytes.insert(bytes.end(), blocks, blocks + level.m_nSize);
    return bytes;
}

bool CheckSaveable(std::string const& path, ImageData const& image, Fault& fault) {
    if (!IsEtc1(image.format)) {
        return Fail(fault, path,
                    "only ETC1 images can be written, not texture format " +
                        std::to_string(int(image.format)));
    }
    if (image.levels.size() != 1) {
        return Fail(fault, path, "a PKM file holds one level, not " + std::to_string(image.levels.size()));
    }
    MipLevel const& level = image.levels[0];
    if (level.m_nWidth > MostExtent || level.m_nHeight > MostExtent) {
        return Fail(fault, path,
                    std::to_string(level.m_nWidth) + " x " + std::to_string(level.m_nHeight) +
                        " pixels do not fit a PKM header");
    }
    return true;
}

} // namespace

std::string PkmAlphaPath(std::string const& path) {
    if (!EndsWith(path, Suffix) || EndsWith(path, AlphaSuffix)) {
        return {};
    }
    return path.substr(0, path.size() - Suffix.size()) + AlphaSuffix;
}

bool LoadPkm(ByteSpan colour, ByteSpan alpha, std::string const& name, ImageOptions const& options,
             ImageData& image, Fault& fault) {
    try {
        bool const fAlpha = alpha.data != nullptr;
        TextureFormat::Enum const format = fAlpha ? TextureFormat::ETC1_RGBA : TextureFormat::ETC1_RGB;
        std::string const alphaPath = PkmAlphaPath(name);
        std::string const alphaName = alphaPath.empty() ? name + " (alpha)" : alphaPath;
        PkmHeader header;
        PkmHeader alphaHeader;
        if (!ReadHeader(colour, name, options.limits, header, fault)) {
            return false;
        }
        if (fAlpha && !ReadHeader(alpha, alphaName, options.limits, alphaHeader, fault)) {
            return false;
        }
        if (fAlpha && !(alphaHeader == header)) {
            return Fail(fault, alphaName,
                        "has " + alphaHeader.Describe() + " pixels, but " + name + " has " +
                            header.Describe());
        }
        if (!CheckOptions(header, format, options, name, fault)) {
            return false;
        }
        ImageData loaded = Assemble(header, format, colour, alpha);
        if (options.mipLevels && !GenerateMipLevels(loaded, name, fault)) {
            return false;
        }
        image = std::move(loaded);
        return true;
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
}

bool LoadPkm(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault) {
    std::vector<std::uint8_t> colour;
    if (!ReadFile(path, options.limits.maxFileBytes, colour, fault)) {
        return false;
    }
    std::vector<std::uint8_t> alpha;
    std::string const alphaPath = PkmAlphaPath(path);
    bool const fAlpha = !alphaPath.empty() && FileExists(alphaPath);
    if (fAlpha && !ReadFile(alphaPath, options.limits.maxFileBytes, alpha, fault)) {
        return false;
    }
    if (fAlpha && alpha.empty()) {
        return Fail(fault, alphaPath, "is empty");
    }
    return LoadPkm({colour.data(), colour.size()}, {alpha.data(), alpha.size()}, path, options, image, fault);
}

bool SavePkm(std::string const& path, ImageData const& image, Fault& fault) {
    if (!CheckSaveable(path, image, fault)) {
        return false;
    }
    try {
        std::string const alphaPath = PkmAlphaPath(path);
        std::vector<std::uint8_t> const colour = FilePlane(image, 0);
        if (image.format == TextureFormat::ETC1_RGB) {
            if (!alphaPath.empty() && FileExists(alphaPath)) {
                return Fail(fault, alphaPath,
                            "lies beside an image without alpha and would be taken for its alpha");
            }
            return WriteFiles({{path, {colour.data(), colour.size()}}}, fault);
        }
        if (alphaPath.empty()) {
            return Fail(fault, path,
                        "an image with alpha needs a path that ends in .pkm and not in .alpha.pkm");
        }
        std::vector<std::uint8_t> const alpha = FilePlane(image, 1);
        return WriteFiles({{path, {colour.data(), colour.size()}}, {alphaPath, {alpha.data(), alpha.size()}}},
                          fault);
    } catch (std::bad_alloc const&) {
        return Fail(fault, path, "not enough memory to write it");
    }
}

} // namespace trevik::kelvo::assets
