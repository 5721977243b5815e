#pragma once

#include "Export.h"

namespace trevik::kelvo {

class ShaderProgramGL2;

/** Ids of the built-in programs, which the device compiles when it starts. */
struct ShaderId {
    enum Enum {
        Textured = -1,            ///< texture times vColor
        Solid = -2,               ///< vColor alone
        PostProcess = -3,         ///< a full-screen quad in clip space
        AlphaTested = -4,         ///< as Textured, without fragments of alpha below 0.1
        Text = -5,                ///< glyph batches: colour per vertex, alpha from the texture
        TextUnderline = -6,       ///< colour per vertex
        TextImage = -7,           ///< texture with a fade per vertex
        SeparateAlpha = -8,       ///< colour from one texture, alpha from the red of another
        SeparateAlphaTested = -9, ///< the same with the alpha test on the colour texture
        TexturedEdges = -10,      ///< antialiased outline of a textured sprite
        SolidEdges = -11          ///< antialiased outline of a sprite without texture
    };
};

// Each names one program's attributes at their locations, with SetVertexAttributeIndex, before it is
// compiled.
KELVO_EXPORT void VertexAttribSetup_Default(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_DefaultNoTex(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_DefaultPost(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_DefaultAlphaTest(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_Text(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_TextUnderline(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_TextImage(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_Default_RGBA_ETC1(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_DefaultAlphaTest_RGBA_ETC1(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_AALine(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_AALine_Solid(ShaderProgramGL2* pProgram);

} // namespace trevik::kelvo
