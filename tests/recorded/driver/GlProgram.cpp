#include "Driver.h"
#include "ShaderSource.h"

#include <algorithm>
#include <cstring>

// Shaders, programs and uniforms.
namespace recording {

namespace {

GLuint FreeName(const ShareGroup& objects) {
    GLuint name = 1;
    while (objects.shaders.count(name) != 0 || objects.programs.count(name) != 0)
        ++name;
    return name;
}

/** The object of that name, or null after raising: a name of the other sort is an invalid operation. */
template <class T, class Other>
T* Require(Invocation& call, std::map<GLuint, T>& objects, const std::map<GLuint, Other>& others,
           GLuint name) {
    const auto found = objects.find(name);
    if (found != objects.end())
        return &found->second;
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
    const auto found = objects.shaders.find(name);
    if (found != objects.shaders.end() && --found->second.attachments == 0 && found->second.deleted)
        objects.shaders.erase(found);
}

/** Frees a program that is flagged for deletion and in use nowhere. */
void FreeProgram(Session& session, ShareGroup& objects, GLuint name) {
    const auto found = objects.programs.find(name);
    if (found == objects.programs.end() || !found->second.deleted ||
        session.contextless->state.program == name)
        return;
    for (const auto& context : session.contexts)
        if (context.second->objects.get() == &objects && context.second->state.program == name)
            return;
    for (const GLuint shader : found->second.shaders)
        ReleaseShader(objects, shader);
    objects.programs.erase(found);
}

GLint TextLength(const std::string& text) {
    return text.empty() ? 0 : static_cast<GLint>(text.size() + 1);
}

GLint LogLength(Invocation& call, const std::string& log) {
    return log.empty() ? call.GetSession().emptyLogLength : TextLength(log);
}

/** Copies text as the glGet*InfoLog functions do: cut to the buffer, always terminated. */
void CopyText(const std::string& text, GLsizei bufSize, GLsizei* length, GLchar* buffer) {
    const std::size_t copied = bufSize > 0 ? std::min(text.size(), static_cast<std::size_t>(bufSize) - 1) : 0;
    if (bufSize > 0) {
        std::memcpy(buffer, text.data(), copied);
        buffer[copied] = '\0';
    }
    if (length != nullptr)
        *length = static_cast<GLsizei>(copied);
}

// ---- Linking

/** What keeps the program from being linked; empty when nothing does. */
std::optional<std::string> LinkError(Invocation& call, const Program& program) {
    const Session& session = call.GetSession();
    if (session.linkFailure || call.IsFailing())
        return session.linkFailure.value_or("error: told to fail");
    bool vertex = false;
    bool fragment = false;
    for (const GLuint name : program.shaders) {
        const Shader& shader = call.Objects().shaders.at(name);
        if (!shader.compiled)
            return std::string("error: linking with uncompiled shader");
        (shader.type == GL_VERTEX_SHADER ? vertex : fragment) = true;
    }
    if (!vertex || !fragment)
        return std::string("error: program lacks a ") + (vertex ? "fragment" : "vertex") + " shader";
    return std::nullopt;
}

void AddUniform(Program& program, const Declaration& declaration) {
    if (program.Find(declaration.name) != nullptr)
        return;
    Uniform uniform;
    uniform.name = declaration.name;
    uniform.type = declaration.type;
    uniform.size = declaration.size;
    uniform.values.assign(ComponentCount(declaration.type) * static_cast<std::size_t>(declaration.size),
                          0.0f);
    program.uniforms.push_back(uniform);
}

/** Bound attributes get what was asked for, the others the lowest locations that are left. */
void AssignAttributes(Program& program, const std::vector<std::string>& names) {
    std::vector<bool> taken(kVertexAttributes, false);
    for (const std::string& name : names) {
        const auto bound = program.bindings.find(name);
        if (bound == program.bindings.end())
            continue;
        program.attributes[name] = static_cast<GLint>(bound->second);
        taken[bound->second] = true;
    }
    for (const std::string& name : names) {
        if (program.attributes.count(name) != 0)
            continue;
        const auto free = std::find(taken.begin(), taken.end(), false);
        program.attributes[name] = static_cast<GLint>(free - taken.begin());
        if (free != taken.end())
            *free = true;
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
    for (const GLuint name : program.shaders)
        for (const Declaration& declaration : ParseDeclarations(call.Objects().shaders.at(name).source)) {
            if (!declaration.isUsed)
                continue;
            if (declaration.isAttribute)
                attributes.push_back(declaration.name);
            else
                AddUniform(program, declaration);
        }
    AssignAttributes(program, attributes);
    GLint location = 64 * call.GetSession().links++;
    for (Uniform& uniform : program.uniforms) {
        uniform.location = location;
        location += uniform.size;
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
bool Accepts(GLenum type, std::size_t components, bool integers, bool matrix) {
    if (components != ComponentCount(type) || matrix != IsMatrix(type))
        return false;
    if (IsBooleanType(type))
        return true;
    return integers ? IsIntegerType(type) || IsSampler(type) : !IsIntegerType(type) && !IsSampler(type);
}

Uniform* FindLocation(Program& program, GLint location) {
    for (Uniform& uniform : program.uniforms)
        if (location >= uniform.location && location < uniform.location + uniform.size)
            return &uniform;
    return nullptr;
}

/** What all glUniform* functions do. */
template <class T>
void SetUniform(Invocation& call, GLint location, GLsizei count, std::size_t components, const T* values,
                bool matrix = false) {
    const auto program = call.Objects().programs.find(call.GetState().program);
    if (program == call.Objects().programs.end())
        return call.Raise(GL_INVALID_OPERATION);
    if (count < 0)
        return call.Raise(GL_INVALID_VALUE);
    if (location == -1)
        return;
    Uniform* uniform = FindLocation(program->second, location);
    if (uniform == nullptr || !Accepts(uniform->type, components, std::is_integral_v<T>, matrix) ||
        (count > 1 && uniform->size == 1))
        return call.Raise(GL_INVALID_OPERATION);
    if (IsSampler(uniform->type) &&
        (values[0] < 0 || values[0] >= call.GetSession().limits[GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS]))
        return call.Raise(GL_INVALID_VALUE);
    const std::size_t first = static_cast<std::size_t>(location - uniform->location) * components;
    const std::size_t last =
        std::min(first + static_cast<std::size_t>(count) * components, uniform->values.size());
    for (std::size_t i = first; i < last; ++i)
        uniform->values[i] = static_cast<float>(values[i - first]);
}

void SetMatrix(Invocation& call, GLint location, GLsizei count, GLboolean transpose, std::size_t components,
               const GLfloat* values) {
    if (transpose != GL_FALSE)
        return call.Raise(GL_INVALID_VALUE);
    SetUniform(call, location, count, components, values, true);
}

template <class T>
void GetUniform(Invocation& call, GLuint name, GLint location, T* params) {
    Program* program = RequireProgram(call, name);
    if (program == nullptr)
        return;
    const Uniform* uniform = program->linked ? FindLocation(*program, location) : nullptr;
    if (uniform == nullptr)
        return call.Raise(GL_INVALID_OPERATION);
    const std::size_t components = ComponentCount(uniform->type);
    const std::size_t first = static_cast<std::size_t>(location - uniform->location) * components;
    for (std::size_t i = 0; i < components; ++i)
        params[i] = static_cast<T>(uniform->values[first + i]);
}

} // namespace

namespace answer {

// ---- Shaders

GLuint glCreateShader(Invocation& call, GLenum type) {
    if (type != GL_VERTEX_SHADER && type != GL_FRAGMENT_SHADER) {
        call.Raise(GL_INVALID_ENUM);
        return 0;
    }
    const GLuint name = FreeName(call.Objects());
    call.Objects().shaders[name].type = type;
    call.GetSession().Created(Object::Shader);
    return name;
}

void glDeleteShader(Invocation& call, GLuint shader) {
    if (shader == 0)
        return;
    Shader* object = RequireShader(call, shader);
    if (object == nullptr || object->deleted)
        return;
    call.GetSession().Deleted(Object::Shader);
    object->deleted = true;
    if (object->attachments == 0)
        call.Objects().shaders.erase(shader);
}

GLboolean glIsShader(Invocation& call, GLuint shader) {
    return call.Objects().shaders.count(shader) != 0 ? GL_TRUE : GL_FALSE;
}

void glShaderSource(Invocation& call, GLuint shader, GLsizei count, const GLchar* const* string,
                    const GLint* length) {
    Shader* object = RequireShader(call, shader);
    if (object == nullptr)
        return;
    if (count < 0)
        return call.Raise(GL_INVALID_VALUE);
    object->source.clear();
    for (GLsizei i = 0; i < count; ++i)
        object->source += length != nullptr && length[i] >= 0
                              ? std::string(string[i], static_cast<std::size_t>(length[i]))
                              : std::string(string[i]);
}

void glCompileShader(Invocation& call, GLuint shader) {
    Shader* object = RequireShader(call, shader);
    if (object == nullptr)
        return;
    if (call.GetSession().limits[GL_SHADER_COMPILER] == GL_FALSE)
        return call.Raise(GL_INVALID_OPERATION);
    const auto failure = call.GetSession().compileFailures.find(object->type);
    const bool told = failure != call.GetSession().compileFailures.end() || call.IsFailing();
    object->compiled = !told && HasMain(object->source);
    object->log.clear();
    if (failure != call.GetSession().compileFailures.end())
        object->log = failure->second;
    else if (!object->compiled)
        object->log = told ? "0:1: error: told to fail" : "0:1: error: no function main";
}

void glGetShaderiv(Invocation& call, GLuint shader, GLenum pname, GLint* params) {
    const Shader* object = RequireShader(call, shader);
    if (object == nullptr)
        return;
    switch (pname) {
    case GL_SHADER_TYPE:
        *params = static_cast<GLint>(object->type);
        break;
    case GL_DELETE_STATUS:
        *params = object->deleted ? GL_TRUE : GL_FALSE;
        break;
    case GL_COMPILE_STATUS:
        *params = object->compiled ? GL_TRUE : GL_FALSE;
        break;
    case GL_INFO_LOG_LENGTH:
        *params = LogLength(call, object->log);
        break;
    case GL_SHADER_SOURCE_LENGTH:
        *params = TextLength(object->source);
        break;
    default:
        call.Raise(GL_INVALID_ENUM);
    }
}

void glGetShaderInfoLog(Invocation& call, GLuint shader, GLsizei bufSize, GLsizei* length, GLchar* infoLog) {
    if (const Shader* object = RequireShader(call, shader))
        CopyText(object->log, bufSize, length, infoLog);
}

void glGetShaderSource(Invocation& call, GLuint shader, GLsizei bufSize, GLsizei* length, GLchar* source) {
    if (const Shader* object = RequireShader(call, shader))
        CopyText(object->source, bufSize, length, source);
}

void glGetShaderPrecisionFormat(Invocation& call, GLenum shadertype, GLenum precisiontype, GLint* range,
                                GLint* precision) {
    if ((shadertype != GL_VERTEX_SHADER && shadertype != GL_FRAGMENT_SHADER) ||
        precisiontype < GL_LOW_FLOAT || precisiontype > GL_HIGH_INT)
        return call.Raise(GL_INVALID_ENUM);
    const bool isFloat = precisiontype <= GL_HIGH_FLOAT;
    range[0] = isFloat ? 127 : 31;
    range[1] = isFloat ? 127 : 30;
    *precision = isFloat ? 23 : 0;
}

void glReleaseShaderCompiler(Invocation&) {}

void glShaderBinary(Invocation& call, GLsizei, const GLuint*, GLenum, const void*, GLsizei) {
    call.Raise(GL_INVALID_ENUM);
}

// ---- Programs

GLuint glCreateProgram(Invocation& call) {
    const GLuint name = FreeName(call.Objects());
    call.Objects().programs[name] = Program();
    call.GetSession().Created(Object::Program);
    return name;
}

void glDeleteProgram(Invocation& call, GLuint program) {
    if (program == 0)
        return;
    Program* object = RequireProgram(call, program);
    if (object == nullptr || object->deleted)
        return;
    call.GetSession().Deleted(Object::Program);
    object->deleted = true;
    FreeProgram(call.GetSession(), call.Objects(), program);
}

GLboolean glIsProgram(Invocation& call, GLuint program) {
    return call.Objects().programs.count(program) != 0 ? GL_TRUE : GL_FALSE;
}

void glAttachShader(Invocation& call, GLuint program, GLuint shader) {
    Program* object = RequireProgram(call, program);
    Shader* attached = object != nullptr ? RequireShader(call, shader) : nullptr;
    if (attached == nullptr)
        return;
    for (const GLuint name : object->shaders)
        if (call.Objects().shaders.at(name).type == attached->type)
            return call.Raise(GL_INVALID_OPERATION);
    object->shaders.push_back(shader);
    ++attached->attachments;
}

void glDetachShader(Invocation& call, GLuint program, GLuint shader) {
    Program* object = RequireProgram(call, program);
    if (object == nullptr || RequireShader(call, shader) == nullptr)
        return;
    const auto found = std::find(object->shaders.begin(), object->shaders.end(), shader);
    if (found == object->shaders.end())
        return call.Raise(GL_INVALID_OPERATION);
    object->shaders.erase(found);
    ReleaseShader(call.Objects(), shader);
}

void glGetAttachedShaders(Invocation& call, GLuint program, GLsizei maxCount, GLsizei* count,
                          GLuint* shaders) {
    const Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    if (maxCount < 0)
        return call.Raise(GL_INVALID_VALUE);
    const std::size_t copied = std::min(object->shaders.size(), static_cast<std::size_t>(maxCount));
    std::copy_n(object->shaders.begin(), copied, shaders);
    if (count != nullptr)
        *count = static_cast<GLsizei>(copied);
}

void glBindAttribLocation(Invocation& call, GLuint program, GLuint index, const GLchar* name) {
    Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    if (index >= kVertexAttributes)
        return call.Raise(GL_INVALID_VALUE);
    if (std::strncmp(name, "gl_", 3) == 0)
        return call.Raise(GL_INVALID_OPERATION);
    object->bindings[name] = index;
}

void glLinkProgram(Invocation& call, GLuint program) {
    Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    const std::optional<std::string> error = LinkError(call, *object);
    object->linked = !error;
    object->log = error.value_or("");
    if (object->linked)
        Link(call, *object);
}

void glValidateProgram(Invocation& call, GLuint program) {
    RequireProgram(call, program);
}

void glUseProgram(Invocation& call, GLuint program) {
    const GLuint before = call.GetState().program;
    if (program != 0) {
        const Program* object = RequireProgram(call, program);
        if (object == nullptr)
            return;
        if (!object->linked)
            return call.Raise(GL_INVALID_OPERATION);
    }
    call.GetState().program = program;
    if (before != program)
        FreeProgram(call.GetSession(), call.Objects(), before);
}

void glGetProgramiv(Invocation& call, GLuint program, GLenum pname, GLint* params) {
    const Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    switch (pname) {
    case GL_DELETE_STATUS:
        *params = object->deleted ? GL_TRUE : GL_FALSE;
        break;
    case GL_LINK_STATUS:
    case GL_VALIDATE_STATUS:
        *params = object->linked ? GL_TRUE : GL_FALSE;
        break;
    case GL_INFO_LOG_LENGTH:
        *params = LogLength(call, object->log);
        break;
    case GL_ATTACHED_SHADERS:
        *params = static_cast<GLint>(object->shaders.size());
        break;
    case GL_ACTIVE_UNIFORMS:
        *params = static_cast<GLint>(object->uniforms.size());
        break;
    case GL_ACTIVE_ATTRIBUTES:
        *params = static_cast<GLint>(object->attributes.size());
        break;
    case GL_ACTIVE_UNIFORM_MAX_LENGTH:
    case GL_ACTIVE_ATTRIBUTE_MAX_LENGTH:
        *params = 64;
        break;
    default:
        call.Raise(GL_INVALID_ENUM);
    }
}

void glGetProgramInfoLog(Invocation& call, GLuint program, GLsizei bufSize, GLsizei* length,
                         GLchar* infoLog) {
    if (const Program* object = RequireProgram(call, program))
        CopyText(object->log, bufSize, length, infoLog);
}

void glGetActiveAttrib(Invocation& call, GLuint program, GLuint index, GLsizei bufSize, GLsizei* length,
                       GLint* size, GLenum* type, GLchar* name) {
    const Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    if (index >= object->attributes.size())
        return call.Raise(GL_INVALID_VALUE);
    const std::string& attribute =
        std::next(object->attributes.begin(), static_cast<std::ptrdiff_t>(index))->first;
    CopyText(attribute, bufSize, length, name);
    *size = 1;
    *type = GL_FLOAT;
    for (const GLuint shader : object->shaders)
        for (const Declaration& declaration : ParseDeclarations(call.Objects().shaders.at(shader).source))
            if (declaration.isAttribute && declaration.name == attribute)
                *type = declaration.type;
}

void glGetActiveUniform(Invocation& call, GLuint program, GLuint index, GLsizei bufSize, GLsizei* length,
                        GLint* size, GLenum* type, GLchar* name) {
    const Program* object = RequireProgram(call, program);
    if (object == nullptr)
        return;
    if (index >= object->uniforms.size())
        return call.Raise(GL_INVALID_VALUE);
    const Uniform& uniform = object->uniforms[index];
    CopyText(uniform.size > 1 ? uniform.name + "[0]" : uniform.name, bufSize, length, name);
    *size = uniform.size;
    *type = uniform.type;
}

GLint glGetAttribLocation(Invocation& call, GLuint program, const GLchar* name) {
    const Program* object = call.IsFailing() ? nullptr : RequireProgram(call, program);
    if (object == nullptr)
        return -1;
    if (!object->linked)
        call.Raise(GL_INVALID_OPERATION);
    const auto found = object->attributes.find(name);
    return object->linked && found != object->attributes.end() ? found->second : -1;
}

GLint glGetUniformLocation(Invocation& call, GLuint program, const GLchar* name) {
    const Program* object = call.IsFailing() ? nullptr : RequireProgram(call, program);
    if (object == nullptr)
        return -1;
    if (!object->linked) {
        call.Raise(GL_INVALID_OPERATION);
        return -1;
    }
    const char* bracket = std::strchr(name, '[');
    const int element = bracket != nullptr ? std::atoi(bracket + 1) : 0;
    const std::string plain = bracket != nullptr ? std::string(name, bracket) : std::string(name);
    const Uniform* uniform = object->Find(plain);
    return uniform != nullptr && element < uniform->size ? uniform->location + element : -1;
}

// ---- Uniforms

void glUniform1f(Invocation& call, GLint location, GLfloat v0) {
    SetUniform(call, location, 1, 1, &v0);
}
void glUniform2f(Invocation& call, GLint location, GLfloat v0, GLfloat v1) {
    const GLfloat values[] = {v0, v1};
    SetUniform(call, location, 1, 2, values);
}
void glUniform3f(Invocation& call, GLint location, GLfloat v0, GLfloat v1, GLfloat v2) {
    const GLfloat values[] = {v0, v1, v2};
    SetUniform(call, location, 1, 3, values);
}
void glUniform4f(Invocation& call, GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3) {
    const GLfloat values[] = {v0, v1, v2, v3};
    SetUniform(call, location, 1, 4, values);
}
void glUniform1i(Invocation& call, GLint location, GLint v0) {
    SetUniform(call, location, 1, 1, &v0);
}
void glUniform2i(Invocation& call, GLint location, GLint v0, GLint v1) {
    const GLint values[] = {v0, v1};
    SetUniform(call, location, 1, 2, values);
}
void glUniform3i(Invocation& call, GLint location, GLint v0, GLint v1, GLint v2) {
    const GLint values[] = {v0, v1, v2};
    SetUniform(call, location, 1, 3, values);
}
void glUniform4i(Invocation& call, GLint location, GLint v0, GLint v1, GLint v2, GLint v3) {
    const GLint values[] = {v0, v1, v2, v3};
    SetUniform(call, location, 1, 4, values);
}
void glUniform1fv(Invocation& call, GLint location, GLsizei count, const GLfloat* value) {
    SetUniform(call, location, count, 1, value);
}
void glUniform2fv(Invocation& call, GLint location, GLsizei count, const GLfloat* value) {
    SetUniform(call, location, count, 2, value);
}
void glUniform3fv(Invocation& call, GLint location, GLsizei count, const GLfloat* value) {
    SetUniform(call, location, count, 3, value);
}
void glUniform4fv(Invocation& call, GLint location, GLsizei count, const GLfloat* value) {
    SetUniform(call, location, count, 4, value);
}
void glUniform1iv(Invocation& call, GLint location, GLsizei count, const GLint* value) {
    SetUniform(call, location, count, 1, value);
}
void glUniform2iv(Invocation& call, GLint location, GLsizei count, const GLint* value) {
    SetUniform(call, location, count, 2, value);
}
void glUniform3iv(Invocation& call, GLint location, GLsizei count, const GLint* value) {
    SetUniform(call, location, count, 3, value);
}
void glUniform4iv(Invocation& call, GLint location, GLsizei count, const GLint* value) {
    SetUniform(call, location, count, 4, value);
}
void glUniformMatrix2fv(Invocation& call, GLint location, GLsizei count, GLboolean transpose,
                        const GLfloat* value) {
    SetMatrix(call, location, count, transpose, 4, value);
}
void glUniformMatrix3fv(Invocation& call, GLint location, GLsizei count, GLboolean transpose,
                        const GLfloat* value) {
    SetMatrix(call, location, count, transpose, 9, value);
}
void glUniformMatrix4fv(Invocation& call, GLint location, GLsizei count, GLboolean transpose,
                        const GLfloat* value) {
    SetMatrix(call, location, count, transpose, 16, value);
}

void glGetUniformfv(Invocation& call, GLuint program, GLint location, GLfloat* params) {
    GetUniform(call, program, location, params);
}
void glGetUniformiv(Invocation& call, GLuint program, GLint location, GLint* params) {
    GetUniform(call, program, location, params);
}

} // namespace answer

} // namespace recording
