#pragma once

#include "trevik/kelvo/TextureFormat.h"

namespace trevik::kelvo {

/**
 * The id of the catalogue program that draws a texture of this format: -1 or, with a separate alpha texture,
 * -8; with the alpha test -4 and -9. Sprites and nine-patches both choose by it.
 */
inline int ChooseTexturedProgram(bool fAlphaTest, TextureFormat::Enum format) {
    if (format == TextureFormat::ETC1_RGBA) {
        return fAlphaTest ? -9 : -8;
    }
    return fAlphaTest ? -4 : -1;
}

} // namespace trevik::kelvo
