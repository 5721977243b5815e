#pragma once

#include "display/LayerContext.h"

#include <ui/PixelFormat.h>

namespace kelvokit::desktop {

/**
 * Whether the driver lets pixels of a format into an image of the layer's context by way of another context,
 * whole, and without an error: tried with an image of a few pixels, since drivers do not tell. It takes two
 * contexts and some milliseconds. The layer's context has images.
 */
bool CanUploadToAlias(LayerContext& context, android::PixelFormat format);

} // namespace kelvokit::desktop
