#pragma once

#include "image/Image.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <string>

namespace trevik::kelvo::assets {

/** A new texture with the image's pixels and this name (UTF-8); null without memory or when no class
 * "Texture" is registered. */
Ref<Texture> MakeTexture(ImageData const& image, std::string const& name, ClassRegistry const& registry);

} // namespace trevik::kelvo::assets
