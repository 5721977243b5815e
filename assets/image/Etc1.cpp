#include "image/Etc1.h"

#include <ETC1/etc1.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace trevik::kelvo::assets {

namespace {

constexpr int BlockExtent = 4;

void GatherBlock(RgbaPicture const& picture, Etc1Plane plane, int left, int top, etc1_byte* block) {
    for (int y = 0; y < BlockExtent; ++y) {
        for (int x = 0; x < BlockExtent; ++x, block += 3) {
            std::uint8_t const* pixel =
                picture.At(std::min(left + x, picture.width - 1), std::min(top + y, picture.height - 1));
            if (plane == Etc1Plane::Colour) {
                std::memcpy(block, pixel, 3);
            } else {
                std::memset(block, pixel[3], 3);
            }
        }
    }
}

void ScatterBlock(etc1_byte const* block, Etc1Plane plane, int left, int top, RgbaPicture& picture) {
    int const width = std::min(BlockExtent, picture.width - left);
    int const height = std::min(BlockExtent, picture.height - top);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            etc1_byte const* source = block + static_cast<std::ptrdiff_t>(y * BlockExtent + x) * 3;
            std::uint8_t* pixel = picture.At(left + x, top + y);
            // The shader takes the alpha from the red channel.
            if (plane == Etc1Plane::Colour) {
                std::memcpy(pixel, source, 3);
            } else {
                pixel[3] = source[0];
            }
        }
    }
}

} // namespace

void EncodeEtc1Plane(RgbaPicture const& picture, Etc1Plane plane, std::uint8_t* out) {
    constexpr etc1_uint32 AllPixels = 0xFFFF;
    for (int top = 0; top < picture.height; top += BlockExtent) {
        for (int left = 0; left < picture.width; left += BlockExtent, out += ETC1_ENCODED_BLOCK_SIZE) {
            etc1_byte block[ETC1_DECODED_BLOCK_SIZE];
            GatherBlock(picture, plane, left, top, block);
            etc1_encode_block(block, AllPixels, out);
        }
    }
}

void DecodeEtc1Plane(std::uint8_t const* in, Etc1Plane plane, RgbaPicture& picture) {
    for (int top = 0; top < picture.height; top += BlockExtent) {
        for (int left = 0; left < picture.width; left += BlockExtent, in += ETC1_ENCODED_BLOCK_SIZE) {
            etc1_byte block[ETC1_DECODED_BLOCK_SIZE];
            etc1_decode_block(in, block);
            ScatterBlock(block, plane, left, top, picture);
        }
    }
}

bool EncodeEtc1(ImageData const& image, bool fMipLevels, std::string const& name, ImageData& out,
                Fault& fault) {
    if (image.levels.empty()) {
        return Fail(fault, name, "there are no pixels to encode");
    }
    if (IsEtc1(image.format) || !IsSupported(image.format)) {
        return Fail(fault, name,
                    "pixels of texture format " + std::to_string(int(image.format)) + " cannot be encoded");
    }
    try {
        ImageOptions options;
        options.encodeEtc1 = true;
        options.mipLevels = fMipLevels;
        // Padding adds up to three pixels to a size that was within the limits when it was loaded.
        options.limits.maxBytes = SIZE_MAX;
        return BuildImage(UnpackLevel(image, 0), HasAlpha(image.format), options, name, out, fault);
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory to encode it");
    }
}

} // namespace trevik::kelvo::assets
