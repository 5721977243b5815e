#include "image/WebpReader.h"

#include "image/PixelPacking.h"

#include <webp/decode.h>

#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

bool Decode(ByteSpan bytes, std::string const& name, ImageLimits const& limits, RgbaPicture& picture,
            bool& fHasAlpha, Fault& fault) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(bytes.data, bytes.size, &features) != VP8_STATUS_OK) {
        return Fail(fault, name, "is a damaged WebP picture (in its header)");
    }
    if (features.has_animation) {
        return Fail(fault, name, "is a WebP animation; a single picture is read");
    }
    if (!CheckSize(name, static_cast<std::uint32_t>(features.width),
                   static_cast<std::uint32_t>(features.height), limits, fault)) {
        return false;
    }
    fHasAlpha = features.has_alpha != 0;
    int const nStride = features.width * 4;
    picture = {features.width, features.height, {}};
    picture.bytes.resize(static_cast<std::size_t>(nStride) * static_cast<std::size_t>(features.height));
    if (!WebPDecodeRGBAInto(bytes.data, bytes.size, picture.bytes.data(), picture.bytes.size(), nStride)) {
        return Fail(fault, name, "is a damaged WebP picture (in its pixels)");
    }
    return true;
}

} // namespace

bool LoadWebp(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
              Fault& fault) {
    try {
        RgbaPicture picture;
        bool fHasAlpha = false;
        return Decode(bytes, name, options.limits, picture, fHasAlpha, fault) &&
               BuildImage(std::move(picture), fHasAlpha, options, name, image, fault);
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
}

} // namespace trevik::kelvo::assets
