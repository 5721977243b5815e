#pragma once

#include "Image.h"

namespace trevik::kelvo::assets {

/**
 * Reads a PNG or PKM file; its first bytes say which, not its name. What each can do and how it fails is said
 * with `LoadPng` and `LoadPkm`.
 */
bool LoadImage(const std::string& path, const ImageOptions& options, ImageData& image, std::string& error);

} // namespace trevik::kelvo::assets
