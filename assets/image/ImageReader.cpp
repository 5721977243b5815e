#include "image/ImageReader.h"

#include "file/FileBytes.h"
#include "image/JpegReader.h"
#include "image/Pkm.h"
#include "image/PngReader.h"
#include "image/WebpReader.h"

#include <cstring>

namespace trevik::kelvo::assets {

namespace {

/** Whether a file has these bytes at a place. */
bool BeginsWith(ByteSpan bytes, char const* pStart, std::size_t nAt) {
    std::size_t const nLength = std::strlen(pStart);
    return bytes.size >= nAt + nLength && std::memcmp(bytes.data + nAt, pStart, nLength) == 0;
}

} // namespace

bool LoadImage(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, options.limits.maxFileBytes, bytes, fault)) {
        return false;
    }
    ByteSpan const span{bytes.data(), bytes.size()};
    if (BeginsWith(span, "\x89PNG", 0)) {
        return LoadPng(span, path, options, image, fault);
    }
    if (BeginsWith(span, "PKM ", 0)) {
        return LoadPkm(path, options, image, fault);
    }
    if (BeginsWith(span, "\xFF\xD8\xFF", 0)) {
        return LoadJpeg(span, path, options, image, fault);
    }
    if (BeginsWith(span, "RIFF", 0) && BeginsWith(span, "WEBP", 8)) {
        return LoadWebp(span, path, options, image, fault);
    }
    return Fail(fault, path, "is no PNG, JPEG, WebP or PKM file (at byte 0)");
}

} // namespace trevik::kelvo::assets
