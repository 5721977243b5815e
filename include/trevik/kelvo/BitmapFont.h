#pragma once

#include "trevik/kelvo/Font.h"

namespace trevik::kelvo {

/** A font whose glyphs are rectangles of textures. */
class BitmapFont : public Font {
public:
    BitmapFont();
    ~BitmapFont() override;
};

} // namespace trevik::kelvo
