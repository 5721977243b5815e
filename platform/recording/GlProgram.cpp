#include "Driver.h"
#include "ShaderSource.h"

#include <algorithm>
#include <cstring>

// Shaders, programs and uniforms.
namespace kelvokit::recording {

namespace {

GLuint FreeName(ShareGroup const& objects) {
    GLuint name = 1;
    while (objects.shaders.count(name) != 0 || objects.programs.count(name) != 0) {
        ++name;
    }
    return name;
}

/** The object of that name, or null after raising: a name of the other sort is an invalid operation. */
template <class T, class Other>
T* Require(Invocation& call, std::map<GLuint, T>& objects, std::map<GLuint, Other> const& others,
           GLuint name) {
    auto const found = objects.find(name);
    if (found != objects.end()) {
        return &found->second;
    }
    call.Raise(others.count(name) != 0 ? GL_INVALID_OPERATION : GL_INVALID_VALUE);
    return nullptr;
}

Program* RequireProgram(Invocation& call, GLuint name) {
    return Require(call, call.Objects().programs, call.Objects().shaders, name);
}

Shader* RequireShader(Invocation& call, GLuint name) {
    return Require(call, call.Objects().shaders, call.Objects().programs, name);
}

void ReleaseShader(ShareGroup& objects, GLuint name) {
    auto const found = objects.shaders.find(name);
    if (found != objects.shaders.end() && --found->second.attachments == 0 && found->second.deleted) {
        objects.shaders.erase(found);
    }
}

/** Frees a program that is flagged for deletion and in use nowhere. */
void FreeProgram(Session& session, ShareGroup& objects, GLuint name) {
    auto const found = objects.programs.find(name);
    if (found == objects.programs.end() || !found->second.deleted ||
        session.contextless->state.program == name) {
        return;
    }
    for (auto const& context : session.contexts) {
        if (context.second->objects.get() == &objects && context.second->state.program == name) {
            return;
        }
    }
    for (GLuint const shader : found->second.shaders) {
        ReleaseShader(objects, shader);
    }
    objects.programs.erase(found);
}

GLint LogLength(Invocation& call, std::string const& log) {
    return log.empty() ? call.GetSession().emptyLogLength : static_cast<GLint>(log.size() + 1);
}

/** Copies text as the glGet*InfoLog functions do: cut to the buffer, always terminated. */
void CopyText(std::string const& text, GLsizei bufSize, GLsizei* length, GLchar* buffer) {
    std::size_t const nCopied =
        bufSize > 0 ? std::min(text.size(), static_cast<std::size_t>(bufSize) - 1) : 0;
    if (bufSize > 0) {
        std::memcpy(buffer, text.data(), nCopied);
        buffer[nCopied] = '\0';
    }
    if (length) {
        *length = static_cast<GLsizei>(nCopied);
    }
}

// ---- Linking

/** What keeps the program from being linked; empty when nothing does. */
std::optional<std::string> LinkError(Invocation& call, Program const& program) {
    Session const& session = call.GetSession();
    if (session.linkFailure || call.IsFailing()) {
        return session.linkFailure.value_or("error: told to fail");
    }
    bool fVertex = false;
    bool fFragment = false;
    for (GLuint const name : program.shaders) {
        Shader const& shader = call.Objects().shaders.at(name);
        if (!shader.compiled) {
            return std::string("error: linking with uncompiled shader");
        }
        (shader.type == GL_VERTEX_SHADER ? fVertex : fFragment) = true;
    }
    if (!fVertex || !fFragment) {
        return std::string("error: program lacks a ") + (fVertex ? "fragment" : "vertex") + " shader";
    }
    return std::nullopt;
}

void AddUniform(Program& program, Declaration const& declaration) {
    if (program.Find(declaration.name)) {
        return;
    }
    Uniform uniform;
    uniform.name = declaration.name;
    uniform.type = declaration.type;
    uniform.size = declaration.size;
    uniform.values.assign(ComponentCount(declaration.type) * static_cast<std::size_t>(declaration.size),
                          0.0f);
    program.uniforms.push_back(uniform);
}

/** Bound attributes get what was asked for, the others the lowest locations that are left. */
void AssignAttributes(Program& program, std::vector<std::string> const& names) {
    std::vector<bool> taken(VertexAttributes, false);
    for (std::string const& name : names) {
        auto const bound = program.bindings.find(name);
        if (bound == program.bindings.end()) {
            continue;
        }
        program.attributes[name] = static_cast<GLint>(bound->second);
        taken[bound->second] = true;
    }
    for (std::string const& name : names) {
        if (program.attributes.count(name) != 0) {
            continue;
        }
        auto const free = std::find(taken.begin(), taken.end(), false);
        program.attributes[name] = static_cast<GLint>(free - taken.begin());
        if (free != taken.end()) {
            *free = true;
        }
    }
}

/**
 * Takes the active uniforms and attributes from the sources. Locations begin at 0 for the first program
 * linked and at another number for each later one, so that a location carried from one program to another is
 * found out.
 */
void Link(Invocation& call, Program& program) {
    std::vector<std::string> attributes;
    program.uniforms.clear();
    program.attributes.clear();
    for (GLuint const name : program.shaders) {
        for (Declaration const& declaration : ParseDeclarations(call.Objects().shaders.at(name).source)) {
            if (!declaration.isUsed) {
                continue;
            }
            if (declaration.isAttribute) {
                attributes.push_back(declaration.name);
            } else {
                AddUniform(program, declaration);
            }
        }
    }
    AssignAttributes(program, attributes);
    GLint nLocation = 64 * call.GetSession().links++;
    for (Uniform& uniform : program.uniforms) {
        uniform.location = nLocation;
        nLocation += uniform.size;
    }
}

// ---- Uniform values

bool IsIntegerType(GLenum type) {
    return type == GL_INT || (type >= GL_INT_VEC2 && type <= GL_INT_VEC4);
}

bool IsBooleanType(GLenum type) {
    return type == GL_BOOL || (type >= GL_BOOL_VEC2 && type <= GL_BOOL_VEC4);
}

bool IsSampler(GLenum type) {
    return type == GL_SAMPLER_2D || type == GL_SAMPLER_CUBE;
}

bool IsMatrix(GLenum type) {
    return type == GL_FLOAT_MAT2 || type == GL_FLOAT_MAT3 || type == GL_FLOAT_MAT4;
}

/** Whether a uniform of `type` may be set with `components` floats or integers for each element. */
bool Accepts(GLenum type, std::size_t components, bool fIntegers, bool fMatrix) {
    if (components != ComponentCount(type) || fMatrix != IsMatrix(type)) {
        return false;
    }
    if (IsBooleanType(type)) {
        return true;
    }
    return fIntegers ? IsIntegerType(type) || IsSampler(type) : !IsIntegerType(type) && !IsSampler(type);
}

Uniform* FindLocation(Program& program, GLint location) {
    for (Uniform& uniform : program.uniforms) {
        if (location >= uniform.location && location < uniform.location + uniform.size) {
            return &uniform;
        }
    }
    return nullptr;
}

/** What all glUniform* functions do. */
template <class T>
void SetUniform(Invocation& call, GLint location, GLsizei count, std::size_t components, T const* values,
                bool fMatrix = false) {
    auto const program = call.Objects().programs.find(call.GetState().program);
    if (program == call.Objects().programs.end()) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    if (count < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if (location == -1) {
        return;
    }
    Uniform* pUniform = FindLocation(program->second, location);
    if (!pUniform || !Accepts(pUniform->type, components, std::is_integral_v<T>, fMatrix) ||
        (count > 1 && pUniform->size == 1)) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    if (IsSampler(pUniform->type) &&
        (values[0] < 0 ||
         static_cast<double>(values[0]) >= call.GetSession().limits[GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS])) {
        return call.Raise(GL_INVALID_VALUE);
    }
    std::size_t const nFirst = static_cast<std::size_t>(location - pUniform->location) * components;
    std::size_t const nLast =
        std::min(nFirst + static_cast<std::size_t>(count) * components, pUniform->values.size());
    for (std::size_t i = nFirst; i < nLast; ++i) {
        pUniform->values[i] = static_cast<float>(values[i - nFirst]);
    }
}

void SetMatrix(Invocation& call, GLint location, GLsizei count, GLboolean transpose, std::size_t components,
               GLfloat const* values) {
    if (transpose != GL_FALSE) {
        return call.Raise(GL_INVALID_VALUE);
    }
    SetUniform(call, location, count, components, values, true);
}

} // namespace

namespace answer {

// ---- Shaders

GLuint glCreateShader(Invocation& call, GLenum type) {
    if (type != GL_VERTEX_SHADER && type != GL_FRAGMENT_SHADER) {
        call.Raise(GL_INVALID_ENUM);
        return 0;
    }
    GLuint const name = FreeName(call.Objects());
    call.Objects().shaders[name].type = type;
    call.GetSession().Created(Object::Shader);
    return name;
}

void glDeleteShader(Invocation& call, GLuint shader) {
    if (shader == 0) {
        return;
    }
    Shader* pObject = RequireShader(call, shader);
    if (!pObject || pObject->deleted) {
        return;
    }
    call.GetSession().Deleted(Object::Shader);
    pObject->deleted = true;
    if (pObject->attachments == 0) {
        call.Objects().shaders.erase(shader);
    }
}

GLboolean glIsShader(Invocation& call, GLuint shader) {
    return call.Objects().shaders.count(shader) != 0 ? GL_TRUE : GL_FALSE;
}

void glShaderSource(Invocation& call, GLuint shader, GLsizei count, GLchar const* const* string,
                    GLint const* length) {
    Shader* pObject = RequireShader(call, shader);
    if (!pObject) {
        return;
    }
    if (count < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    pObject->source.clear();
    for (GLsizei i = 0; i < count; ++i) {
        pObject->source += length && length[i] >= 0
                               ? std::string(string[i], static_cast<std::size_t>(length[i]))
                               : std::string(string[i]);
    }
}

void glCompileShader(Invocation& call, GLuint shader) {
    Shader* pObject = RequireShader(call, shader);
    if (!pObject) {
        return;
    }
    if (call.GetSession().limits[GL_SHADER_COMPILER] == GL_FALSE) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    auto const failure = call.GetSession().compileFailures.find(pObject->type);
    bool const fTold = failure != call.GetSession().compileFailures.end() || call.IsFailing();
    pObject->compiled = !fTold && HasMain(pObject->source);
    pObject->log.clear();
    if (failure != call.GetSession().compileFailures.end()) {
        pObject->log = failure->second;
    } else if (!pObject->compiled) {
        pObject->log = fTold ? "0:1: error: told to fail" : "0:1: error: no function main";
    }
}

void glGetShaderiv(Invocation& call, GLuint shader, GLenum pname, GLint* params) {
    Shader const* pObject = RequireShader(call, shader);
    if (!pObject) {
        return;
    }
    switch (pname) {
    case GL_COMPILE_STATUS:
        *params = pObject->compiled ? GL_TRUE : GL_FALSE;
        break;
    case GL_INFO_LOG_LENGTH:
        *params = LogLength(call, pObject->log);
        break;
    default:
        call.Raise(GL_INVALID_ENUM);
    }
}

void glGetShaderInfoLog(Invocation& call, GLuint shader, GLsizei bufSize, GLsizei* length, GLchar* infoLog) {
    if (Shader const* pObject = RequireShader(call, shader)) {
        CopyText(pObject->log, bufSize, length, infoLog);
    }
}

// ---- Programs

GLuint glCreateProgram(Invocation& call) {
    GLuint const name = FreeName(call.Objects());
    call.Objects().programs[name] = Program();
    call.GetSession().Created(Object::Program);
    return name;
}

void glDeleteProgram(Invocation& call, GLuint program) {
    if (program == 0) {
        return;
    }
    Program* pObject = RequireProgram(call, program);
    if (!pObject || pObject->deleted) {
        return;
    }
    call.GetSession().Deleted(Object::Program);
    pObject->deleted = true;
    FreeProgram(call.GetSession(), call.Objects(), program);
}

GLboolean glIsProgram(Invocation& call, GLuint program) {
    return call.Objects().programs.count(program) != 0 ? GL_TRUE : GL_FALSE;
}

void glAttachShader(Invocation& call, GLuint program, GLuint shader) {
    Program* pObject = RequireProgram(call, program);
    Shader* pAttached = pObject ? RequireShader(call, shader) : nullptr;
    if (!pAttached) {
        return;
    }
    for (GLuint const name : pObject->shaders) {
        if (call.Objects().shaders.at(name).type == pAttached->type) {
            return call.Raise(GL_INVALID_OPERATION);
        }
    }
    pObject->shaders.push_back(shader);
    ++pAttached->attachments;
}

void glBindAttribLocation(Invocation& call, GLuint program, GLuint index, GLchar const* name) {
    Program* pObject = RequireProgram(call, program);
    if (!pObject) {
        return;
    }
    if (index >= VertexAttributes) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if (std::strncmp(name, "gl_", 3) == 0) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    pObject->bindings[name] = index;
}

void glLinkProgram(Invocation& call, GLuint program) {
    Program* pObject = RequireProgram(call, program);
    if (!pObject) {
        return;
    }
    std::optional<std::string> const error = LinkError(call, *pObject);
    pObject->linked = !error;
    pObject->log = error.value_or("");
    if (pObject->linked) {
        Link(call, *pObject);
    }
}

void glUseProgram(Invocation& call, GLuint program) {
    GLuint const before = call.GetState().program;
    if (program != 0) {
        Program const* pObject = RequireProgram(call, program);
        if (!pObject) {
            return;
        }
        if (!pObject->linked) {
            return call.Raise(GL_INVALID_OPERATION);
        }
    }
    call.GetState().program = program;
    if (before != program) {
        FreeProgram(call.GetSession(), call.Objects(), before);
    }
}

void glGetProgramiv(Invocation& call, GLuint program, GLenum pname, GLint* params) {
    Program const* pObject = RequireProgram(call, program);
    if (!pObject) {
        return;
    }
    switch (pname) {
    case GL_LINK_STATUS:
        *params = pObject->linked ? GL_TRUE : GL_FALSE;
        break;
    case GL_INFO_LOG_LENGTH:
        *params = LogLength(call, pObject->log);
        break;
    default:
        call.Raise(GL_INVALID_ENUM);
    }
}

void glGetProgramInfoLog(Invocation& call, GLuint program, GLsizei bufSize, GLsizei* length,
                         GLchar* infoLog) {
    if (Program const* pObject = RequireProgram(call, program)) {
        CopyText(pObject->log, bufSize, length, infoLog);
    }
}

GLint glGetAttribLocation(Invocation& call, GLuint program, GLchar const* name) {
    Program const* pObject = call.IsFailing() ? nullptr : RequireProgram(call, program);
    if (!pObject) {
        return -1;
    }
    if (!pObject->linked) {
        call.Raise(GL_INVALID_OPERATION);
    }
    auto const found = pObject->attributes.find(name);
    return pObject->linked && found != pObject->attributes.end() ? found->second : -1;
}

GLint glGetUniformLocation(Invocation& call, GLuint program, GLchar const* name) {
    Program const* pObject = call.IsFailing() ? nullptr : RequireProgram(call, program);
    if (!pObject) {
        return -1;
    }
    if (!pObject->linked) {
        call.Raise(GL_INVALID_OPERATION);
        return -1;
    }
    char const* bracket = std::strchr(name, '[');
    int const nElement = bracket ? std::atoi(bracket + 1) : 0;
    std::string const plain = bracket ? std::string(name, bracket) : std::string(name);
    Uniform const* pUniform = pObject->Find(plain);
    return pUniform && nElement < pUniform->size ? pUniform->location + nElement : -1;
}

// ---- Uniforms

void glUniform1f(Invocation& call, GLint location, GLfloat v0) {
    SetUniform(call, location, 1, 1, &v0);
}
void glUniform2f(Invocation& call, GLint location, GLfloat v0, GLfloat v1) {
    GLfloat const values[] = {v0, v1};
    SetUniform(call, location, 1, 2, values);
}
void glUniform3f(Invocation& call, GLint location, GLfloat v0, GLfloat v1, GLfloat v2) {
    GLfloat const values[] = {v0, v1, v2};
    SetUniform(call, location, 1, 3, values);
}
void glUniform4f(Invocation& call, GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3) {
    GLfloat const values[] = {v0, v1, v2, v3};
    SetUniform(call, location, 1, 4, values);
}
void glUniform1i(Invocation& call, GLint location, GLint v0) {
    SetUniform(call, location, 1, 1, &v0);
}
void glUniformMatrix4fv(Invocation& call, GLint location, GLsizei count, GLboolean transpose,
                        GLfloat const* value) {
    SetMatrix(call, location, count, transpose, 16, value);
}

} // namespace answer

} // namespace kelvokit::recording
