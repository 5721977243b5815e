#pragma once

#include "kelvo_recording/Recording.h"

#include <optional>

/** What the drivers of this folder answer alike, whether they record or not. */
namespace kelvokit::recording {

struct Limit {
    GLenum name;
    GLint value;
};

/** What glGet answers for limits, until something else is asked for. */
inline constexpr Limit DefaultLimits[] = {
    {GL_MAX_TEXTURE_IMAGE_UNITS, 16},
    {GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS, static_cast<GLint>(TextureUnits)},
    {GL_MAX_VERTEX_TEXTURE_IMAGE_UNITS, 16},
    {GL_MAX_TEXTURE_SIZE, 4096},
    {GL_MAX_CUBE_MAP_TEXTURE_SIZE, 4096},
    {GL_MAX_RENDERBUFFER_SIZE, 4096},
    {GL_MAX_VERTEX_ATTRIBS, static_cast<GLint>(VertexAttributes)},
    {GL_MAX_VERTEX_UNIFORM_VECTORS, 256},
    {GL_MAX_FRAGMENT_UNIFORM_VECTORS, 224},
    {GL_MAX_VARYING_VECTORS, 15},
    {GL_SHADER_COMPILER, GL_TRUE},
    {GL_NUM_SHADER_BINARY_FORMATS, 0},
    {GL_NUM_COMPRESSED_TEXTURE_FORMATS, 3},
    {GL_SUBPIXEL_BITS, 8},
    {GL_SAMPLE_BUFFERS, 0},
    {GL_SAMPLES, 0},
    {GL_IMPLEMENTATION_COLOR_READ_FORMAT, GL_RGB},
    {GL_IMPLEMENTATION_COLOR_READ_TYPE, GL_UNSIGNED_BYTE}};

/** The size of windows until something else is asked for. */
inline constexpr int DefaultWindowSize[2] = {640, 480};

/** What glGet answers for GL_RED_BITS and the like; nothing for another name. */
std::optional<GLint> BitsAttribute(Config const& config, GLenum name);
/** One attribute of a config; nothing for any other attribute. */
std::optional<EGLint> ConfigAttribute(Config const& config, EGLint attribute);

} // namespace kelvokit::recording
