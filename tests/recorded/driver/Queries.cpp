#include "Driver.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

// The part that tests talk to: what was called, what the driver holds, what it is to answer.
namespace recording {

namespace {

using Lock = std::lock_guard<std::mutex>;

Session& TheSession() {
    return TheDriver().session;
}

bool MatchesGlob(const char* pattern, const char* text) {
    for (; *pattern != '*'; ++pattern, ++text) {
        if (*pattern != *text)
            return false;
        if (*pattern == '\0')
            return true;
    }
    while (*pattern == '*')
        ++pattern;
    if (*pattern == '\0')
        return true;
    for (; *text != '\0'; ++text)
        if (MatchesGlob(pattern, text))
            return true;
    return false;
}

template <class T>
std::optional<T> CopyOf(const std::shared_ptr<T>& object) {
    return object ? std::optional<T>(*object) : std::nullopt;
}

template <class T>
std::optional<T> CopyOf(const std::map<GLuint, T>& objects, GLuint name) {
    const auto found = objects.find(name);
    return found == objects.end() ? std::nullopt : std::optional<T>(found->second);
}

template <class Key, class T>
std::vector<GLuint> Keys(const std::map<Key, T>& objects) {
    std::vector<GLuint> keys;
    for (const auto& entry : objects)
        keys.push_back(entry.first);
    return keys;
}

/** A misspelt name would make a test prove nothing, so it is refused. */
void RequireEntryPoint(const std::string& name) {
    if (FindEntryPoint(name.c_str()) == nullptr)
        throw std::invalid_argument("recording: no EGL or GL function is named " + name);
}

} // namespace

bool Matches(const std::string& pattern, const Call& call) {
    if (pattern.empty())
        return true;
    const bool wholeLine = pattern.find('(') != std::string::npos;
    return MatchesGlob(pattern.c_str(), wholeLine ? call.line.c_str() : call.name.c_str());
}

std::vector<Call> Calls(const std::string& pattern) {
    const Lock lock(TheDriver().mutex);
    std::vector<Call> calls;
    for (const Call& call : TheSession().calls)
        if (Matches(pattern, call))
            calls.push_back(call);
    return calls;
}

std::vector<std::string> Lines(const std::string& pattern) {
    std::vector<std::string> lines;
    for (const Call& call : Calls(pattern))
        lines.push_back(call.line);
    return lines;
}

std::size_t Count(const std::string& pattern) {
    const Lock lock(TheDriver().mutex);
    const std::vector<Call>& calls = TheSession().calls;
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&pattern](const Call& call) { return Matches(pattern, call); }));
}

std::ptrdiff_t IndexOf(const std::string& pattern, std::size_t from) {
    const Lock lock(TheDriver().mutex);
    const std::vector<Call>& calls = TheSession().calls;
    for (std::size_t i = from; i < calls.size(); ++i)
        if (Matches(pattern, calls[i]))
            return static_cast<std::ptrdiff_t>(i);
    return -1;
}

Call LastCall(const std::string& pattern) {
    const Lock lock(TheDriver().mutex);
    const std::vector<Call>& calls = TheSession().calls;
    const auto found = std::find_if(calls.rbegin(), calls.rend(),
                                    [&pattern](const Call& call) { return Matches(pattern, call); });
    return found == calls.rend() ? Call() : *found;
}

std::vector<Draw> Draws() {
    const Lock lock(TheDriver().mutex);
    std::vector<Draw> draws;
    for (const Call& call : TheSession().calls)
        if (call.draw)
            draws.push_back(*call.draw);
    return draws;
}

std::vector<std::string> Errors() {
    const Lock lock(TheDriver().mutex);
    std::vector<std::string> errors;
    for (const Call& call : TheSession().calls)
        if (call.error != 0)
            errors.push_back(
                call.line + " -> " +
                (call.name[0] == 'e' ? EglEnumName(static_cast<EGLint>(call.error)) : EnumName(call.error)));
    return errors;
}

std::vector<std::string> CallsWithoutContext() {
    const Lock lock(TheDriver().mutex);
    std::vector<std::string> lines;
    for (const Call& call : TheSession().calls)
        if (call.name[0] == 'g' && call.context == EGL_NO_CONTEXT)
            lines.push_back(call.line);
    return lines;
}

void Clear() {
    const Lock lock(TheDriver().mutex);
    TheSession().calls.clear();
}

Unnoted::Unnoted() {
    const Lock lock(TheDriver().mutex);
    m_fBefore = TheSession().noting;
    TheSession().noting = false;
}

Unnoted::~Unnoted() {
    const Lock lock(TheDriver().mutex);
    TheSession().noting = m_fBefore;
}

std::vector<float> VertexStream::RawFloats() const {
    if (type != GL_FLOAT && type != GL_FIXED)
        return {};
    std::vector<float> floats(bytes.size() / sizeof(float));
    if (!floats.empty())
        std::memcpy(floats.data(), bytes.data(), floats.size() * sizeof(float));
    return floats;
}

std::vector<float> VertexStream::Vertex(std::size_t index) const {
    const auto components = static_cast<std::size_t>(size);
    if ((index + 1) * components > values.size())
        return {};
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(index * components);
    return std::vector<float>(first, first + size);
}

std::vector<float> Draw::Values(GLuint attribute) const {
    const auto found = streams.find(attribute);
    return found == streams.end() ? std::vector<float>() : found->second.values;
}

std::vector<float> Draw::Uniform(const std::string& name) const {
    const auto found = uniforms.find(name);
    return found == uniforms.end() ? std::vector<float>() : found->second;
}

GLuint Draw::Texture(const std::string& sampler) const {
    const std::vector<float> unit = Uniform(sampler);
    return unit.empty() ? 0 : state.textures.at(static_cast<std::size_t>(unit[0]));
}

const Uniform* Program::Find(const std::string& uniform) const {
    const auto found = std::find_if(uniforms.begin(), uniforms.end(),
                                    [&uniform](const Uniform& entry) { return entry.name == uniform; });
    return found == uniforms.end() ? nullptr : &*found;
}

State GetState() {
    const Lock lock(TheDriver().mutex);
    return TheDriver().Meant()->state;
}

EglState GetEglState() {
    const Lock lock(TheDriver().mutex);
    const ThreadData& thread = TheDriver().Thread();
    EglState state;
    state.initialized = TheSession().initialized;
    state.display = thread.display;
    state.drawSurface = thread.draw;
    state.readSurface = thread.read;
    state.context = thread.context;
    state.swaps = TheSession().swaps;
    return state;
}

ObjectCounts Counts(Object object) {
    const Lock lock(TheDriver().mutex);
    return TheSession().counts[static_cast<std::size_t>(object)];
}

std::vector<GLuint> LiveNames(Object object) {
    const Lock lock(TheDriver().mutex);
    const std::shared_ptr<ContextData> context = TheDriver().Meant();
    switch (object) {
    case Object::Texture:
        return context->objects->textures.Names();
    case Object::Buffer:
        return context->objects->buffers.Names();
    case Object::Framebuffer:
        return context->framebuffers.Names();
    case Object::Renderbuffer:
        return context->objects->renderbuffers.Names();
    case Object::Shader:
        return Keys(context->objects->shaders);
    case Object::Program:
        return Keys(context->objects->programs);
    default:
        return {};
    }
}

std::optional<Texture> FindTexture(GLuint name) {
    const Lock lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->textures.Share(name));
}

std::optional<Framebuffer> FindFramebuffer(GLuint name) {
    const Lock lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->framebuffers.Share(name));
}

std::optional<Shader> FindShader(GLuint name) {
    const Lock lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->shaders, name);
}

std::optional<Program> FindProgram(GLuint name) {
    const Lock lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->programs, name);
}

GLint UniformLocation(GLuint program, const std::string& name) {
    const std::optional<Program> found = FindProgram(program);
    const Uniform* uniform = found ? found->Find(name) : nullptr;
    return uniform != nullptr ? uniform->location : -1;
}

std::vector<float> UniformValue(GLuint program, const std::string& name) {
    const std::optional<Program> found = FindProgram(program);
    const Uniform* uniform = found ? found->Find(name) : nullptr;
    return uniform != nullptr ? uniform->values : std::vector<float>();
}

void Reset() {
    Driver& driver = TheDriver();
    const Lock lock(driver.mutex);
    driver.session = Session();
    ++driver.generation;
}

void Fail(const std::string& name, int error) {
    FailAt(name, 0, error);
}

void FailAt(const std::string& name, int nth, int error) {
    RequireEntryPoint(name);
    const Lock lock(TheDriver().mutex);
    Plan plan;
    plan.countdown = nth;
    plan.error = error;
    TheSession().plans[name].push_back(plan);
}

void Succeed(const std::string& name) {
    RequireEntryPoint(name);
    const Lock lock(TheDriver().mutex);
    TheSession().plans.erase(name);
}

void FailCompile(GLenum stage, const std::string& log) {
    const Lock lock(TheDriver().mutex);
    TheSession().compileFailures[stage] = log;
}

void FailLink(const std::string& log) {
    const Lock lock(TheDriver().mutex);
    TheSession().linkFailure = log;
}

void SetEmptyLogLength(GLint length) {
    TheSession().emptyLogLength = length;
}

void SetLimit(GLenum name, GLint value) {
    const Lock lock(TheDriver().mutex);
    TheSession().limits[name] = value;
}

void SetShaderCompiler(bool present) {
    SetLimit(GL_SHADER_COMPILER, present ? GL_TRUE : GL_FALSE);
}

void SetError(GLenum error) {
    const Lock lock(TheDriver().mutex);
    TheDriver().Working()->error = error;
}

void SetFramebufferStatus(GLenum status) {
    const Lock lock(TheDriver().mutex);
    TheSession().framebufferStatus = status;
}

void SetConfigs(const std::vector<Config>& configs) {
    const Lock lock(TheDriver().mutex);
    TheSession().configs = configs;
}

void FailConfigAttribute(std::size_t config, EGLint attribute) {
    const Lock lock(TheDriver().mutex);
    TheSession().failingConfigAttributes.insert({config, attribute});
}

EGLConfig ConfigHandle(std::size_t index) {
    return MakeHandle(Handle::Config, index);
}

void SetWindowSize(int width, int height) {
    const Lock lock(TheDriver().mutex);
    TheSession().windowWidth = width;
    TheSession().windowHeight = height;
}

void SetProcAddress(const std::string& name, bool present) {
    RequireEntryPoint(name);
    const Lock lock(TheDriver().mutex);
    if (present)
        TheSession().hiddenProcedures.erase(name);
    else
        TheSession().hiddenProcedures.insert(name);
}

} // namespace recording
