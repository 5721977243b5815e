#pragma once

#include "ShaderCatalogue.h"
#include "trevik/kelvo/TextureFormat.h"

namespace trevik::kelvo {

/** The built-in program that draws a texture of this format. Sprites and nine-patches both choose by it. */
inline ShaderId::Enum ChooseTexturedProgram(bool fAlphaTest, TextureFormat::Enum format) {
    if (__builtin_expect(format == TextureFormat::ETC1_RGBA, false)) {
        return fAlphaTest ? ShaderId::SeparateAlphaTested : ShaderId::SeparateAlpha;
    }
    return __builtin_expect(fAlphaTest, false) ? ShaderId::AlphaTested : ShaderId::Textured;
}

} // namespace trevik::kelvo
