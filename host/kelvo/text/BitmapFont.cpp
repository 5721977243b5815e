#include "trevik/kelvo/BitmapFont.h"

namespace trevik::kelvo {

BitmapFont::BitmapFont() : Font(FactoryClassID) {}

BitmapFont::~BitmapFont() = default;

} // namespace trevik::kelvo
