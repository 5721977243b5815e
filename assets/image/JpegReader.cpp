#include "image/JpegReader.h"

#include "image/PixelPacking.h"

#include <turbojpeg.h>

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

struct Destroy {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using Decoder = std::unique_ptr<std::remove_pointer_t<tjhandle>, Destroy>;

bool FailToDecode(tjhandle decoder, std::string const& name, Fault& fault) {
    return Fail(fault, name, "is a damaged JPEG picture", tjGetErrorStr2(decoder));
}

bool Decode(ByteSpan bytes, std::string const& name, ImageLimits const& limits, RgbaPicture& picture,
            Fault& fault) {
    Decoder const decoder(tjInitDecompress());
    if (!decoder) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
    int nWidth = 0;
    int nHeight = 0;
    int nSampling = 0;
    int nColors = 0;
    unsigned long const nBytes = static_cast<unsigned long>(bytes.size);
    if (tjDecompressHeader3(decoder.get(), bytes.data, nBytes, &nWidth, &nHeight, &nSampling, &nColors) !=
        0) {
        return FailToDecode(decoder.get(), name, fault);
    }
    if (nWidth <= 0 || nHeight <= 0) {
        return Fail(fault, name, "is a damaged JPEG picture", "it ends before it says its size");
    }
    if (nColors == TJCS_CMYK || nColors == TJCS_YCCK) {
        return Fail(fault, name, "has the four colours of inks; red, green and blue, or grey, are read");
    }
    if (!CheckSize(name, static_cast<std::uint32_t>(nWidth), static_cast<std::uint32_t>(nHeight), limits,
                   fault)) {
        return false;
    }
    picture = {nWidth, nHeight, {}};
    picture.bytes.resize(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) * 4);
    // What the library only warns of is damage, too.
    if (tjDecompress2(decoder.get(), bytes.data, nBytes, picture.bytes.data(), nWidth, 0, nHeight, TJPF_RGBA,
                      TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS) != 0) {
        return FailToDecode(decoder.get(), name, fault);
    }
    return true;
}

} // namespace

bool LoadJpeg(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
              Fault& fault) {
    try {
        RgbaPicture picture;
        return Decode(bytes, name, options.limits, picture, fault) &&
               BuildImage(std::move(picture), false, options, name, image, fault);
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
}

} // namespace trevik::kelvo::assets
