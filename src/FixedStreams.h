#pragma once

#include "GlState.h"
#include "ShaderProgramGL2.h"
#include "SpriteGL2.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

/** The texture of a sprite that an effect can draw; null when it has none or no corners yet (before Load). */
inline TextureGL2* GetDrawableTexture(SpriteGL2& sprite) {
    return sprite.GetVertices().GetCount() < 4 ? nullptr : static_cast<TextureGL2*>(sprite.GetTexture());
}

/**
 * Sets a sprite's corners and texture coordinates as the streams of the next draw. They are declared as
 * GL_FIXED though they are floats: intended (fixed-point-streams). GL takes the bits of each float for a
 * fixed-point number of 16 integer bits. Calls glVertexAttribPointer for 0 and 1; the coordinates must live
 * until the draw.
 */
inline void SetFixedStreams(SpriteGL2& sprite, Vector2T<RealFloat> (&textureCoords)[4]) {
    sprite.GetTextureCoords(textureCoords);
    GlState::SetFixedPointVertexArray(VertexAttributeIndex::Position, sprite.GetVertices().GetData());
    GlState::SetFixedPointVertexArray(VertexAttributeIndex::Texture, textureCoords);
}

/** The same, as the floats that they are. */
inline void SetFloatStreams(SpriteGL2& sprite, Vector2T<RealFloat> (&textureCoords)[4]) {
    sprite.GetTextureCoords(textureCoords);
    GlState::SetVertexArray(VertexAttributeIndex::Position, sprite.GetVertices().GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Texture, textureCoords);
}

} // namespace trevik::kelvo
