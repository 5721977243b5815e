#pragma once

#include <GLES2/gl2.h>

#include <string>
#include <vector>

namespace kelvokit::recording {

/** One uniform or attribute that a shader declares. */
struct Declaration {
    std::string name;
    GLenum type = GL_FLOAT;
    GLint size = 1;
    bool isAttribute = false;
    bool isUsed = false; // named outside of its declaration too
};

/**
 * The global uniforms and attributes of a GLSL ES 1.00 source, in the order of their declaration.
 *
 * Comments and preprocessor lines are skipped, so of conditional code all branches count. Declarations of
 * structures are left out; an array size that is not a plain number counts as 1.
 */
std::vector<Declaration> ParseDeclarations(std::string const& source);

/** Whether the source defines a function main. */
bool HasMain(std::string const& source);

/** How many floats a value of a uniform's type takes; 1 for samplers. */
std::size_t ComponentCount(GLenum type);

} // namespace kelvokit::recording
