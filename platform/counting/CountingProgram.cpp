#include "CountingProgram.h"

#include "DriverFunctions.h"

#include <array>
#include <cstring>

namespace kelvokit::counting {

namespace {

/** The place where something may stand first in a shader: behind its version. */
std::size_t FindBegin(std::string const& source) {
    std::size_t const nVersion = source.find("#version");
    std::size_t const nEnd = source.find('\n', nVersion);
    return nVersion == std::string::npos ? 0 : nEnd == std::string::npos ? source.size() : nEnd + 1;
}

/** A fragment shader that discards what the other does, and gives everything else one colour. */
std::string MakeCountingSource(std::string const& source) {
    std::size_t const nBegin = FindBegin(source);
    return source.substr(0, nBegin) + "#define main kelvo_drawn_main\n" + source.substr(nBegin) +
           "\n#undef main\n"
           "void main() { kelvo_drawn_main(); gl_FragColor = vec4(1.0 / 255.0); }\n";
}

void AttachShader(GLuint nProgram, GLenum nType, std::string const& source) {
    GLuint const nShader = Gl().glCreateShader(nType);
    GLchar const* const pSource = source.c_str();
    Gl().glShaderSource(nShader, 1, &pSource, nullptr);
    Gl().glCompileShader(nShader);
    Gl().glAttachShader(nProgram, nShader);
    Gl().glDeleteShader(nShader); // with the program
}

GLint Ask(GLuint nProgram, GLenum nWhat) {
    GLint nAnswer = 0;
    Gl().glGetProgramiv(nProgram, nWhat, &nAnswer);
    return nAnswer;
}

} // namespace

CountingProgram::CountingProgram(GLuint nProgram, ProgramSource const& source)
    : m_nProgram(nProgram), m_nCounting(Gl().glCreateProgram()) {
    AttachShader(m_nCounting, GL_VERTEX_SHADER, source.sVertex);
    AttachShader(m_nCounting, GL_FRAGMENT_SHADER, MakeCountingSource(source.sFragment));
    BindAttributes();
    if (Link()) {
        FindUniforms();
    } else {
        Gl().glDeleteProgram(m_nCounting);
        m_nCounting = 0;
    }
}

CountingProgram::~CountingProgram() {
    Gl().glDeleteProgram(m_nCounting);
}

/** The vertices are to be found where the other program finds them. */
void CountingProgram::BindAttributes() const {
    std::vector<GLchar> name(static_cast<std::size_t>(Ask(m_nProgram, GL_ACTIVE_ATTRIBUTE_MAX_LENGTH)) + 1);
    GLuint const nAttributes = static_cast<GLuint>(Ask(m_nProgram, GL_ACTIVE_ATTRIBUTES));
    for (GLuint nAttribute = 0; nAttribute < nAttributes; ++nAttribute) {
        GLint nSize = 0;
        GLenum nType = 0;
        Gl().glGetActiveAttrib(m_nProgram, nAttribute, static_cast<GLsizei>(name.size()), nullptr, &nSize,
                               &nType, name.data());
        GLint const nLocation = Gl().glGetAttribLocation(m_nProgram, name.data());
        if (nLocation >= 0) {
            Gl().glBindAttribLocation(m_nCounting, static_cast<GLuint>(nLocation), name.data());
        }
    }
}

bool CountingProgram::Link() {
    Gl().glLinkProgram(m_nCounting);
    return Ask(m_nCounting, GL_LINK_STATUS) == GL_TRUE;
}

void CountingProgram::FindUniforms() {
    std::vector<GLchar> name(static_cast<std::size_t>(Ask(m_nCounting, GL_ACTIVE_UNIFORM_MAX_LENGTH)) + 1);
    GLuint const nUniforms = static_cast<GLuint>(Ask(m_nCounting, GL_ACTIVE_UNIFORMS));
    for (GLuint nUniform = 0; nUniform < nUniforms; ++nUniform) {
        GLint nSize = 0;
        Uniform uniform{};
        Gl().glGetActiveUniform(m_nCounting, nUniform, static_cast<GLsizei>(name.size()), nullptr, &nSize,
                                &uniform.nType, name.data());
        std::string const sName(name.data(), std::strcspn(name.data(), "["));
        bool const fList = nSize > 1 || sName != name.data();
        for (GLint nElement = 0; nElement < nSize; ++nElement) {
            std::string const sElement = fList ? sName + "[" + std::to_string(nElement) + "]" : sName;
            uniform.nFrom = Gl().glGetUniformLocation(m_nProgram, sElement.c_str());
            uniform.nTo = Gl().glGetUniformLocation(m_nCounting, sElement.c_str());
            if (uniform.nFrom >= 0 && uniform.nTo >= 0) {
                m_uniforms.push_back(uniform);
            }
        }
    }
}

void CountingProgram::Copy(Uniform const& uniform) const {
    std::array<GLfloat, 16> numbers{};
    std::array<GLint, 4> integers{};
    GLint const nTo = uniform.nTo;
    switch (uniform.nType) {
    case GL_FLOAT:
    case GL_FLOAT_VEC2:
    case GL_FLOAT_VEC3:
    case GL_FLOAT_VEC4:
    case GL_FLOAT_MAT2:
    case GL_FLOAT_MAT3:
    case GL_FLOAT_MAT4:
        Gl().glGetUniformfv(m_nProgram, uniform.nFrom, numbers.data());
        break;
    default:
        Gl().glGetUniformiv(m_nProgram, uniform.nFrom, integers.data());
        break;
    }
    switch (uniform.nType) {
    case GL_FLOAT:
        return Gl().glUniform1fv(nTo, 1, numbers.data());
    case GL_FLOAT_VEC2:
        return Gl().glUniform2fv(nTo, 1, numbers.data());
    case GL_FLOAT_VEC3:
        return Gl().glUniform3fv(nTo, 1, numbers.data());
    case GL_FLOAT_VEC4:
        return Gl().glUniform4fv(nTo, 1, numbers.data());
    case GL_FLOAT_MAT2:
        return Gl().glUniformMatrix2fv(nTo, 1, GL_FALSE, numbers.data());
    case GL_FLOAT_MAT3:
        return Gl().glUniformMatrix3fv(nTo, 1, GL_FALSE, numbers.data());
    case GL_FLOAT_MAT4:
        return Gl().glUniformMatrix4fv(nTo, 1, GL_FALSE, numbers.data());
    case GL_INT_VEC2:
    case GL_BOOL_VEC2:
        return Gl().glUniform2iv(nTo, 1, integers.data());
    case GL_INT_VEC3:
    case GL_BOOL_VEC3:
        return Gl().glUniform3iv(nTo, 1, integers.data());
    case GL_INT_VEC4:
    case GL_BOOL_VEC4:
        return Gl().glUniform4iv(nTo, 1, integers.data());
    default: // numbers, flags, and the units of samplers
        return Gl().glUniform1iv(nTo, 1, integers.data());
    }
}

void CountingProgram::Use() const {
    Gl().glUseProgram(m_nCounting);
    for (Uniform const& uniform : m_uniforms) {
        Copy(uniform);
    }
}

} // namespace kelvokit::counting
