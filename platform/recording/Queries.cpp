#include "Driver.h"

#include <algorithm>
#include <stdexcept>

// The part that tests talk to: what was called, what the driver holds, what it is to answer.
namespace kelvokit::recording {

namespace {

using Lock = std::lock_guard<std::mutex>;

Session& TheSession() {
    return TheDriver().session;
}

bool MatchesGlob(char const* pattern, char const* text) {
    for (; *pattern != '*'; ++pattern, ++text) {
        if (*pattern != *text) {
            return false;
        }
        if (*pattern == '\0') {
            return true;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    if (*pattern == '\0') {
        return true;
    }
    for (; *text != '\0'; ++text) {
        if (MatchesGlob(pattern, text)) {
            return true;
        }
    }
    return false;
}

template <class T>
std::optional<T> CopyOf(std::shared_ptr<T> const& object) {
    return object ? std::optional<T>(*object) : std::nullopt;
}

template <class T>
std::optional<T> CopyOf(std::map<GLuint, T> const& objects, GLuint name) {
    auto const found = objects.find(name);
    return found == objects.end() ? std::nullopt : std::optional<T>(found->second);
}

template <class Key, class T>
std::vector<GLuint> Keys(std::map<Key, T> const& objects) {
    std::vector<GLuint> keys;
    keys.reserve(objects.size());
    for (auto const& entry : objects) {
        keys.push_back(entry.first);
    }
    return keys;
}

/** A misspelt name would make a test prove nothing, so it is refused. */
void RequireEntryPoint(std::string const& name) {
    if (!FindEntryPoint(name.c_str())) {
        throw std::invalid_argument("recording: no EGL or GL function is named " + name);
    }
}

} // namespace

bool Matches(std::string const& pattern, Call const& call) {
    if (pattern.empty()) {
        return true;
    }
    bool const fWholeLine = pattern.find('(') != std::string::npos;
    return MatchesGlob(pattern.c_str(), fWholeLine ? call.line.c_str() : call.name.c_str());
}

std::vector<Call> Calls(std::string const& pattern) {
    Lock const lock(TheDriver().mutex);
    std::vector<Call> calls;
    for (Call const& call : TheSession().calls) {
        if (Matches(pattern, call)) {
            calls.push_back(call);
        }
    }
    return calls;
}

std::vector<std::string> Lines(std::string const& pattern) {
    std::vector<std::string> lines;
    for (Call const& call : Calls(pattern)) {
        lines.push_back(call.line);
    }
    return lines;
}

std::size_t Count(std::string const& pattern) {
    Lock const lock(TheDriver().mutex);
    std::vector<Call> const& calls = TheSession().calls;
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&pattern](Call const& call) { return Matches(pattern, call); }));
}

std::ptrdiff_t IndexOf(std::string const& pattern, std::size_t from) {
    Lock const lock(TheDriver().mutex);
    std::vector<Call> const& calls = TheSession().calls;
    for (std::size_t i = from; i < calls.size(); ++i) {
        if (Matches(pattern, calls[i])) {
            return static_cast<std::ptrdiff_t>(i);
        }
    }
    return -1;
}

Call LastCall(std::string const& pattern) {
    Lock const lock(TheDriver().mutex);
    std::vector<Call> const& calls = TheSession().calls;
    auto const found = std::find_if(calls.rbegin(), calls.rend(),
                                    [&pattern](Call const& call) { return Matches(pattern, call); });
    return found == calls.rend() ? Call() : *found;
}

std::vector<Draw> Draws() {
    Lock const lock(TheDriver().mutex);
    std::vector<Draw> draws;
    for (Call const& call : TheSession().calls) {
        if (call.draw) {
            draws.push_back(*call.draw);
        }
    }
    return draws;
}

std::vector<std::string> Errors() {
    Lock const lock(TheDriver().mutex);
    std::vector<std::string> errors;
    for (Call const& call : TheSession().calls) {
        if (call.error != 0) {
            errors.push_back(
                call.line + " -> " +
                (call.name[0] == 'e' ? EglEnumName(static_cast<EGLint>(call.error)) : EnumName(call.error)));
        }
    }
    return errors;
}

std::vector<std::string> CallsWithoutContext() {
    Lock const lock(TheDriver().mutex);
    std::vector<std::string> lines;
    for (Call const& call : TheSession().calls) {
        if (call.name[0] == 'g' && call.context == EGL_NO_CONTEXT) {
            lines.push_back(call.line);
        }
    }
    return lines;
}

void Clear() {
    Lock const lock(TheDriver().mutex);
    TheSession().calls.clear();
}

void BeginGroup(std::string const& text) {
    Lock const lock(TheDriver().mutex);
    std::shared_ptr<Group const>& group = TheSession().group;
    group = std::make_shared<Group const>(Group{text, group});
}

void EndGroup() {
    Lock const lock(TheDriver().mutex);
    std::shared_ptr<Group const> const group = TheSession().group;
    if (group) {
        TheSession().group = group->parent;
    }
}

void Remark(std::string const& line) {
    Lock const lock(TheDriver().mutex);
    if (!TheSession().noting) {
        return;
    }
    Call remark;
    remark.line = line;
    remark.group = TheSession().group;
    remark.thread = std::this_thread::get_id();
    TheSession().calls.push_back(std::move(remark));
}

Unnoted::Unnoted() {
    Lock const lock(TheDriver().mutex);
    m_fBefore = TheSession().noting;
    TheSession().noting = false;
}

Unnoted::~Unnoted() {
    Lock const lock(TheDriver().mutex);
    TheSession().noting = m_fBefore;
}

std::vector<float> VertexStream::Vertex(std::size_t index) const {
    auto const components = static_cast<std::size_t>(size);
    if ((index + 1) * components > values.size()) {
        return {};
    }
    auto const first = values.begin() + static_cast<std::ptrdiff_t>(index * components);
    return std::vector<float>(first, first + size);
}

std::vector<float> Draw::Values(GLuint attribute) const {
    auto const found = streams.find(attribute);
    return found == streams.end() ? std::vector<float>() : found->second.values;
}

std::vector<float> Draw::Uniform(std::string const& name) const {
    auto const found = uniforms.find(name);
    return found == uniforms.end() ? std::vector<float>() : found->second;
}

GLuint Draw::Texture(std::string const& sampler) const {
    std::vector<float> const unit = Uniform(sampler);
    return unit.empty() ? 0 : state.textures.at(static_cast<std::size_t>(unit[0]));
}

Uniform const* Program::Find(std::string const& uniform) const {
    auto const found = std::find_if(uniforms.begin(), uniforms.end(),
                                    [&uniform](Uniform const& entry) { return entry.name == uniform; });
    return found == uniforms.end() ? nullptr : &*found;
}

State GetState() {
    Lock const lock(TheDriver().mutex);
    return TheDriver().Meant()->state;
}

EglState GetEglState() {
    Lock const lock(TheDriver().mutex);
    ThreadData const& thread = TheDriver().Thread();
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
    Lock const lock(TheDriver().mutex);
    return TheSession().counts[static_cast<std::size_t>(object)];
}

std::vector<GLuint> LiveNames(Object object) {
    Lock const lock(TheDriver().mutex);
    std::shared_ptr<ContextData> const context = TheDriver().Meant();
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
    Lock const lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->textures.Share(name));
}

std::optional<Framebuffer> FindFramebuffer(GLuint name) {
    Lock const lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->framebuffers.Share(name));
}

std::optional<Shader> FindShader(GLuint name) {
    Lock const lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->shaders, name);
}

std::optional<Program> FindProgram(GLuint name) {
    Lock const lock(TheDriver().mutex);
    return CopyOf(TheDriver().Meant()->objects->programs, name);
}

GLint UniformLocation(GLuint program, std::string const& name) {
    std::optional<Program> const found = FindProgram(program);
    Uniform const* pUniform = found ? found->Find(name) : nullptr;
    return pUniform ? pUniform->location : -1;
}

std::vector<float> UniformValue(GLuint program, std::string const& name) {
    std::optional<Program> const found = FindProgram(program);
    Uniform const* pUniform = found ? found->Find(name) : nullptr;
    return pUniform ? pUniform->values : std::vector<float>();
}

void Reset() {
    Driver& driver = TheDriver();
    Lock const lock(driver.mutex);
    driver.session = Session();
    ++driver.generation;
}

void Fail(std::string const& name, int error) {
    FailAt(name, 0, error);
}

void FailAt(std::string const& name, int nth, int error) {
    RequireEntryPoint(name);
    Lock const lock(TheDriver().mutex);
    Plan plan;
    plan.countdown = nth;
    plan.error = error;
    TheSession().plans[name].push_back(plan);
}

void Succeed(std::string const& name) {
    RequireEntryPoint(name);
    Lock const lock(TheDriver().mutex);
    TheSession().plans.erase(name);
}

void FailCompile(GLenum stage, std::string const& log) {
    Lock const lock(TheDriver().mutex);
    TheSession().compileFailures[stage] = log;
}

void FailLink(std::string const& log) {
    Lock const lock(TheDriver().mutex);
    TheSession().linkFailure = log;
}

void SetEmptyLogLength(GLint length) {
    TheSession().emptyLogLength = length;
}

void SetLimit(GLenum name, GLint value) {
    Lock const lock(TheDriver().mutex);
    TheSession().limits[name] = value;
}

void SetShaderCompiler(bool fPresent) {
    SetLimit(GL_SHADER_COMPILER, fPresent ? GL_TRUE : GL_FALSE);
}

void SetError(GLenum error) {
    Lock const lock(TheDriver().mutex);
    TheDriver().Working()->error = error;
}

void SetFramebufferStatus(GLenum status) {
    Lock const lock(TheDriver().mutex);
    TheSession().framebufferStatus = status;
}

void SetConfigs(std::vector<Config> const& configs) {
    Lock const lock(TheDriver().mutex);
    TheSession().configs = configs;
}

EGLConfig ConfigHandle(std::size_t index) {
    return MakeHandle(Handle::Config, index);
}

void SetWindowSize(int width, int height) {
    Lock const lock(TheDriver().mutex);
    TheSession().windowWidth = width;
    TheSession().windowHeight = height;
}

void SetProcAddress(std::string const& name, bool fPresent) {
    RequireEntryPoint(name);
    Lock const lock(TheDriver().mutex);
    if (fPresent) {
        TheSession().hiddenProcedures.erase(name);
    } else {
        TheSession().hiddenProcedures.insert(name);
    }
}

} // namespace kelvokit::recording
