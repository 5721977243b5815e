#include "trevik/kelvo/BitmapFont.h"

namespace trevik::kelvo {

BitmapFont::BitmapFont() = default;

BitmapFont::~BitmapFont() = default;

} // namespace trevik::kelvo
