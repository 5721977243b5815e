#pragma once

#include "kelvo_assets/image/Image.h"

namespace trevik::kelvo::assets {

/**
 * Reads a PNG, JPEG, WebP or PKM file; its first bytes say which, not its name. What each can do and how it
 * fails is said with `LoadPng`, `LoadJpeg`, `LoadWebp` and `LoadPkm`.
 */
bool LoadImage(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault);

} // namespace trevik::kelvo::assets
