#pragma once

#include "image/Image.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** How a nine-patch image stretches, in texels of its picture. */
struct NinePatchInfo {
    /** Neighbouring columns or rows of texels that stretch. */
    struct Band {
        int first = 0;
        int count = 0;
    };

    std::vector<Band> x; /**< from left to right, counted from the left edge */
    std::vector<Band> y; /**< from bottom to top, counted from the bottom edge, as sprites want them */

    /** From each edge of the picture to the content, or to the bands where the file does not say. */
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

/**
 * Reads a nine-patch image of either form. A PNG file with an `npTc` chunk is a compiled one: the chunk has
 * bands and content, and the picture is used as it is. All others are sources: a border of one pixel, which
 * does not become part of the picture, marks the bands in black at the top and left and the content in black
 * at the bottom and right; optical bounds, in red at the bottom and right, are passed over. Each border
 * pixel that marks nothing is fully transparent or white; corners may be anything. Options apply to the
 * picture without the border, `limits` to the picture with it; flipped rows turn bands and margins with them.
 *
 * Fails, leaving `image` and `info` alone, with one line that names the file, what is wrong and where: all
 * that `LoadPng` fails for, other colours in the border, a direction without a band or with more than ten
 * (sprites use no more), content in several pieces, a picture that is nothing but border, and a chunk that
 * is too short for what it says, or whose bands are out of order or beyond the picture.
 */
bool LoadNinePatch(std::string const& path, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, Fault& fault);

/** The same from memory; `name` stands for the path in messages. */
bool LoadNinePatch(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, Fault& fault);

} // namespace trevik::kelvo::assets
