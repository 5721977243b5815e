#pragma once

namespace trevik::kelvo {

/**
 * Where in a sprite that begins what drawing reads besides its transform: the texture, then what a back
 * end adds. Bytes; defined where the sprite is, so that its base need not know it.
 */
__attribute__((visibility("hidden"))) extern unsigned long const DrawnSpriteOffset;

} // namespace trevik::kelvo
