#include "image/ImageReader.h"

#include "file/FileBytes.h"
#include "image/Pkm.h"
#include "image/PngReader.h"

#include <cstring>

namespace trevik::kelvo::assets {

bool LoadImage(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, options.limits.maxFileBytes, bytes, fault)) {
        return false;
    }
    if (bytes.size() >= 4 && std::memcmp(bytes.data(), "\x89PNG", 4) == 0) {
        return LoadPng({bytes.data(), bytes.size()}, path, options, image, fault);
    }
    if (bytes.size() >= 4 && std::memcmp(bytes.data(), "PKM ", 4) == 0) {
        return LoadPkm(path, options, image, fault);
    }
    return Fail(fault, path, "is neither a PNG nor a PKM file (at byte 0)");
}

} // namespace trevik::kelvo::assets
