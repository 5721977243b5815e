#pragma once

#include "ShaderCatalogue.h"
#include "trevik/kelvo/TextureFormat.h"

namespace trevik::kelvo {

/** The built-in program that draws a texture of this format. Sprites and nine-patches both choose by it. */
inline ShaderId::Enum ChooseTexturedProgram(bool fAlphaTest, TextureFormat::Enum format) {
    if (format == TextureFormat::ETC1_RGBA) {
        return fAlphaTest ? ShaderId::SeparateAlphaTested : ShaderId::SeparateAlpha;
    }
    return fAlphaTest ? ShaderId::AlphaTested : ShaderId::Textured;
}

} // namespace trevik::kelvo
