#pragma once

#include "Answers.h"
#include "EntryPointMacros.h"
#include "kelvo_recording/Recording.h"

#include <initializer_list>
#include <mutex>
#include <set>
#include <type_traits>

/** The inside of the recording driver: its state, and the frame that every entry point runs in. */
namespace kelvokit::recording {

/** Objects of one name space. Names are the smallest free ones, so a deleted name comes back at once. */
template <class T>
class NameTable {
public:
    GLuint Generate() {
        GLuint name = 1;
        for (auto entry = m_entries.begin(); entry != m_entries.end() && entry->first == name; ++entry) {
            ++name;
        }
        m_entries.emplace(name, nullptr);
        return name;
    }
    /** The object, made if the name was only reserved, or never generated: binding does both. */
    T& Make(GLuint name) {
        std::shared_ptr<T>& entry = m_entries[name];
        if (!entry) {
            entry = std::make_shared<T>();
        }
        return *entry;
    }
    T* Find(GLuint name) const { return Share(name).get(); }
    std::shared_ptr<T> Share(GLuint name) const {
        auto const found = m_entries.find(name);
        return found == m_entries.end() ? nullptr : found->second;
    }
    bool Erase(GLuint name) { return m_entries.erase(name) != 0; }
    std::vector<GLuint> Names() const {
        std::vector<GLuint> names;
        for (auto const& entry : m_entries) {
            names.push_back(entry.first);
        }
        return names;
    }

private:
    std::map<GLuint, std::shared_ptr<T>> m_entries;
};

struct Buffer {
    GLenum usage = GL_STATIC_DRAW;
    std::vector<std::uint8_t> bytes;
};

/** The objects that contexts share; shaders and programs draw their names from one space. */
struct ShareGroup {
    NameTable<Texture> textures;
    NameTable<Buffer> buffers;
    NameTable<Renderbuffer> renderbuffers;
    std::map<GLuint, Shader> shaders;
    std::map<GLuint, Program> programs;
};

struct ContextData {
    State state;
    GLenum error = GL_NO_ERROR;
    NameTable<Framebuffer> framebuffers;
    std::shared_ptr<ShareGroup> objects = std::make_shared<ShareGroup>();
    Texture defaultTexture;
    Config config;
    bool wasCurrent = false;
    bool destroyed = false; // asked for while current
};

struct SurfaceData {
    int width = 0;
    int height = 0;
    std::size_t config = 0;
    bool destroyed = false;
};

/** One failure to come. */
struct Plan {
    int countdown = 0; // 0: every call
    int error = 0;
};

/** Everything that Reset() renews. */
struct Session {
    std::vector<Call> calls;
    std::shared_ptr<Group const> group;
    bool noting = true;

    std::map<std::string, std::vector<Plan>, std::less<>> plans;
    std::map<GLenum, std::string> compileFailures;
    std::optional<std::string> linkFailure;
    GLint emptyLogLength = 0;
    std::map<GLenum, GLint> limits;
    GLenum framebufferStatus = 0;
    std::vector<Config> configs = {Config(), {8, 8, 8, 0, 16, 4}, {5, 6, 5, 0, 16, 4}};
    std::set<std::string, std::less<>> hiddenProcedures;
    int windowWidth = DefaultWindowSize[0];
    int windowHeight = DefaultWindowSize[1];

    bool initialized = false;
    int swaps = 0;
    std::map<EGLContext, std::shared_ptr<ContextData>> contexts;
    std::map<EGLSurface, SurfaceData> surfaces;
    std::set<EGLImageKHR> images;
    std::set<EGLContext> current; // on any thread
    std::array<std::uintptr_t, 3> handles = {};
    std::array<ObjectCounts, 9> counts;
    std::shared_ptr<ContextData> contextless = std::make_shared<ContextData>();
    std::shared_ptr<ContextData> lastUsed;
    GLint links = 0;

    Session();
    void Created(Object object) {
        ++counts[static_cast<std::size_t>(object)].created;
        ++counts[static_cast<std::size_t>(object)].live;
    }
    void Deleted(Object object) {
        ++counts[static_cast<std::size_t>(object)].deleted;
        --counts[static_cast<std::size_t>(object)].live;
    }
};

/** What EGL keeps for each thread. */
struct ThreadData {
    int generation = 0;
    EGLint error = EGL_SUCCESS;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface draw = EGL_NO_SURFACE;
    EGLSurface read = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
};

struct Driver {
    std::mutex mutex;
    int generation = 1; // raised by Reset(), so that what other threads keep becomes void
    Session session;

    ThreadData& Thread();
    /** The context that GL calls of this thread work on. */
    std::shared_ptr<ContextData> Working();
    /** The context that queries of this thread mean. */
    std::shared_ptr<ContextData> Meant();
};

/** The one driver. It is never destroyed, because libraries make GL calls while they are unloaded. */
Driver& TheDriver();

// ---- Handles: small numbers in a range of their own for each sort

enum class Handle : std::uintptr_t {
    Display = 0xD1000,
    Config = 0xC1000,
    Surface = 0x51000,
    Context = 0xCE000,
    Image = 0x1A000
};

inline void* MakeHandle(Handle sort, std::uintptr_t index) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(sort) + index);
}
inline std::uintptr_t HandleIndex(Handle sort, void const* handle) {
    return reinterpret_cast<std::uintptr_t>(handle) - static_cast<std::uintptr_t>(sort);
}
inline EGLDisplay TheDisplay() {
    return MakeHandle(Handle::Display, 0);
}

// ---- Calls

template <class T>
Argument MakeArgument(ArgumentKind kind, char const* name, T value) {
    Argument argument;
    argument.kind = kind;
    argument.name = name;
    if constexpr (std::is_pointer_v<T>) {
        argument.pointer = reinterpret_cast<void const*>(value);
    } else {
        argument.integer = static_cast<std::int64_t>(value);
        argument.number = static_cast<double>(value);
        if (kind == ArgumentKind::Native) {
            argument.pointer = reinterpret_cast<void const*>(static_cast<std::uintptr_t>(value));
        }
    }
    return argument;
}

/**
 * One call of an entry point: holds the driver's lock, asks whether the call is to fail, and notes it at its
 * end.
 */
class Invocation {
public:
    Invocation(char const* name, std::initializer_list<Argument> arguments);

    /** Gives the call's answer, or the plain failure that a test asked for, and notes the call. */
    template <class Answer>
    auto Run(Answer&& answer) -> decltype(answer()) {
        using Result = decltype(answer());
        if constexpr (std::is_void_v<Result>) {
            if (!FailsPlainly()) {
                answer();
            }
            Note(0);
        } else {
            Result const result = FailsPlainly() ? Result() : answer();
            if constexpr (std::is_pointer_v<Result>) {
                Note(static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(result)));
            } else {
                Note(static_cast<std::int64_t>(result));
            }
            return result;
        }
    }

    /** Whether a test asked this call to fail; for the answers that fail in a way of their own. */
    bool IsFailing() const { return m_fFailing; }
    int FailureError(int otherwise) const { return m_nFailure != 0 ? m_nFailure : otherwise; }

    /**
     * Raises a GL error (the first one stays) or sets the thread's EGL error, by what kind of call this is.
     */
    void Raise(unsigned error);
    /** Raise and answer false, for EGL. */
    EGLBoolean Refuse(unsigned error) {
        Raise(error);
        return EGL_FALSE;
    }

    Session& GetSession() { return m_driver.session; }
    ThreadData& Thread() { return m_thread; }
    ContextData& Context() { return *m_context; }
    State& GetState() { return m_context->state; }
    ShareGroup& Objects() { return *m_context->objects; }

    bool IsNoting() const { return m_driver.session.noting; }
    void NoteBytes(void const* bytes, std::size_t size);
    void NoteDraw(std::shared_ptr<Draw const> draw) { m_draw = std::move(draw); }

private:
    bool FailsPlainly();
    void Note(std::int64_t result);

    Driver& m_driver;
    std::lock_guard<std::mutex> m_lock;
    ThreadData& m_thread;
    std::shared_ptr<ContextData> m_context;
    char const* m_name;
    std::array<Argument, 9> m_arguments;
    std::size_t m_nArguments = 0;
    bool m_fEgl;
    bool m_fFailing = false;
    int m_nFailure = 0;
    unsigned m_raised = 0;
    EGLContext m_contextHandle;
    std::vector<std::uint8_t> m_bytes;
    std::shared_ptr<Draw const> m_draw;
};

/** What all glGen* functions do; a call that is to fail gives names 0. */
template <class T>
void GenerateNames(Invocation& call, GLsizei n, GLuint* names, NameTable<T>& table, Object object) {
    if (call.IsFailing()) {
        call.Raise(static_cast<unsigned>(call.FailureError(GL_OUT_OF_MEMORY)));
    } else if (n < 0) {
        call.Raise(GL_INVALID_VALUE);
    }
    for (GLsizei i = 0; i < n; ++i) {
        names[i] = call.IsFailing() ? 0 : table.Generate();
        if (names[i] != 0) {
            call.GetSession().Created(object);
        }
    }
}

/** What all glDelete* functions of many names do; `forget` unbinds a name that was in use. */
template <class T, class Forget>
void DeleteNames(Invocation& call, GLsizei n, GLuint const* names, NameTable<T>& table, Object object,
                 Forget&& forget) {
    if (n < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    for (GLsizei i = 0; i < n; ++i) {
        if (names[i] == 0 || !table.Erase(names[i])) {
            continue;
        }
        call.GetSession().Deleted(object);
        forget(names[i]);
    }
}

/** Takes a deleted texture or renderbuffer (`type`) out of the framebuffer that is bound. */
void DetachFromBound(ContextData& context, GLenum type, GLuint name);

/** Reads what the call's client pointers point to, and writes its line. */
void DescribeCall(Call& call, ContextData const& context);

/** The address of an entry point or extension, null when there is none of that name. */
__eglMustCastToProperFunctionPointerType FindEntryPoint(char const* name);

/** The texture bound to the active unit; null for a target that is none. Name 0 means the default texture. */
Texture* BoundTexture(ContextData& context, GLenum target);
/** 0 for a combination of format and type that GL refuses. */
std::size_t BytesPerPixel(GLenum format, GLenum type);
/** The bits of the framebuffer that is bound, the window's or an object's. */
Config DrawBits(ContextData const& context);
GLenum FramebufferStatus(ContextData const& context, Session const& session);

/**
 * What each entry point does. Those that neither the library nor a test calls are declared only: a call of
 * one ends the program with its name.
 */
namespace answer {
#define ANSWER(result, name, ...) __attribute__((weak)) result name(__VA_ARGS__);
#define ENTRY(result, name, ...) ANSWER(result, name, Invocation& call, KELVO_TYPES(__VA_ARGS__))
#define ENTRY0(result, name) ANSWER(result, name, Invocation& call)
#define EXTENSION(result, name, ...) ENTRY(result, name, __VA_ARGS__)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
#undef ANSWER
} // namespace answer

} // namespace kelvokit::recording
