#pragma once

#include "kelvo_assets/image/Image.h"

namespace trevik::kelvo::assets {

/** A picture to be written: rows top first, `channels` bytes a pixel (3: R, G, B; 4: R, G, B, straight A). */
struct PngPicture {
    std::uint8_t const* pixels = nullptr; ///< the top row first, borrowed
    int width = 0;                        ///< pixels
    int height = 0;                       ///< pixels
    int channels = 4;                     ///< bytes a pixel
    std::size_t stride = 0; /**< bytes from row to row; 0 means that rows follow each other without gaps */
};

/** Encodes to memory. Fails, leaving `out` alone, for a picture without pixels or with other channels. */
bool EncodePng(PngPicture const& picture, std::string const& name, std::vector<std::uint8_t>& out,
               Fault& fault);

/**
 * Writes a PNG file. A program that reads the path meanwhile finds the earlier file or the complete new one,
 * never a part; on failure the earlier file is untouched.
 */
bool SavePng(std::string const& path, PngPicture const& picture, Fault& fault);

} // namespace trevik::kelvo::assets
