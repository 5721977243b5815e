#pragma once

#include "trevik/Export.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Font.h"

namespace trevik::kelvo {

/** A font whose glyphs are rectangles of textures. */
class TREVIK_API BitmapFont : public Font {
public:
    /** Id that saved fonts of this kind have. */
    static constexpr unsigned int FactoryClassID = HashName("Font");

    BitmapFont();
    ~BitmapFont() override;
};

} // namespace trevik::kelvo
