#pragma once

#include <GLES2/gl2.h>

namespace trevik::kelvo {

/**
 * The blending of every plain draw: straight alpha for the colour, while the target's alpha adds up as
 * coverage. Calls glBlendFuncSeparate and glBlendEquationSeparate; blending itself is on from the device's
 * start. Render thread.
 */
inline void SetPlainBlend() {
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
}

} // namespace trevik::kelvo
