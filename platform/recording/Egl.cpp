#include "Driver.h"

#include <algorithm>
#include <cstring>

// EGL: the display, its configs, surfaces, contexts and images.
namespace kelvokit::recording {

namespace {

// Which of Session::handles counts what.
constexpr std::size_t SurfaceCounter = 0;
constexpr std::size_t ContextCounter = 1;
constexpr std::size_t ImageCounter = 2;

/** A handle that was never given before: EGL objects are told apart even after one was destroyed. */
void* NewHandle(Session& session, Handle sort, std::size_t counter) {
    return MakeHandle(sort, ++session.handles[counter]);
}

/** False, with the error raised, when the display is not this driver's or not initialised. */
bool RequireDisplay(Invocation& call, EGLDisplay display) {
    if (display != TheDisplay()) {
        call.Raise(EGL_BAD_DISPLAY);
    } else if (!call.GetSession().initialized) {
        call.Raise(EGL_NOT_INITIALIZED);
    } else {
        return true;
    }
    return false;
}

/** The config's index, or nothing after raising. */
std::optional<std::size_t> RequireConfig(Invocation& call, EGLConfig config) {
    std::uintptr_t const nIndex = HandleIndex(Handle::Config, config);
    if (nIndex < call.GetSession().configs.size()) {
        return nIndex;
    }
    call.Raise(EGL_BAD_CONFIG);
    return std::nullopt;
}

SurfaceData* RequireSurface(Invocation& call, EGLSurface surface) {
    auto const found = call.GetSession().surfaces.find(surface);
    if (found != call.GetSession().surfaces.end() && !found->second.destroyed) {
        return &found->second;
    }
    call.Raise(EGL_BAD_SURFACE);
    return nullptr;
}

ContextData* RequireContext(Invocation& call, EGLContext context) {
    auto const found = call.GetSession().contexts.find(context);
    if (found != call.GetSession().contexts.end() && !found->second->destroyed) {
        return found->second.get();
    }
    call.Raise(EGL_BAD_CONTEXT);
    return nullptr;
}

// ---- Configs

/** Sizes must be at least, and the kinds of contexts must include, what is asked for. */
bool Satisfies(Config const& config, EGLint const* attributes) {
    for (; attributes && *attributes != EGL_NONE; attributes += 2) {
        EGLint const nValue = ConfigAttribute(config, attributes[0]).value_or(0);
        bool const fSatisfied = attributes[0] == EGL_RENDERABLE_TYPE
                                    ? (nValue & attributes[1]) == attributes[1]
                                    : nValue >= attributes[1];
        if (attributes[1] != EGL_DONT_CARE && !fSatisfied) {
            return false;
        }
    }
    return true;
}

/** Writes the configs that satisfy the attributes, at most `size`; without an array it only counts them. */
EGLBoolean ListConfigs(Invocation& call, EGLint const* attributes, EGLConfig* configs, EGLint size,
                       EGLint* count) {
    if (!count) {
        return call.Refuse(EGL_BAD_PARAMETER);
    }
    for (EGLint const* pKey = attributes; pKey && *pKey != EGL_NONE; pKey += 2) {
        if (!ConfigAttribute(Config(), *pKey)) {
            return call.Refuse(EGL_BAD_ATTRIBUTE);
        }
    }
    *count = 0;
    std::vector<Config> const& all = call.GetSession().configs;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!Satisfies(all[i], attributes) || (configs && *count >= size)) {
            continue;
        }
        if (configs) {
            configs[*count] = ConfigHandle(i);
        }
        ++*count;
    }
    return EGL_TRUE;
}

// ---- Surfaces and contexts

EGLSurface MakeSurface(Invocation& call, EGLDisplay display, EGLConfig config, int width, int height) {
    if (!RequireDisplay(call, display)) {
        return EGL_NO_SURFACE;
    }
    std::optional<std::size_t> const index = RequireConfig(call, config);
    if (!index) {
        return EGL_NO_SURFACE;
    }
    Session& session = call.GetSession();
    EGLSurface const surface = NewHandle(session, Handle::Surface, SurfaceCounter);
    session.surfaces[surface] = {width, height, *index, false};
    session.Created(Object::EglSurface);
    return surface;
}

/** What a list of attributes says of one; 0 where it says nothing. */
EGLint ListedAttribute(EGLint const* attributes, EGLint wanted) {
    for (; attributes && *attributes != EGL_NONE; attributes += 2) {
        if (attributes[0] == wanted) {
            return attributes[1];
        }
    }
    return 0;
}

bool IsCurrentSurface(ThreadData const& thread, EGLSurface surface) {
    return thread.draw == surface || thread.read == surface;
}

/** Destroys what was only kept because it was current. */
void ReleaseCurrent(Invocation& call) {
    Session& session = call.GetSession();
    ThreadData& thread = call.Thread();
    session.current.erase(thread.context);
    auto const context = session.contexts.find(thread.context);
    if (context != session.contexts.end() && context->second->destroyed) {
        session.contexts.erase(context);
    }
    for (EGLSurface const surface : {thread.draw, thread.read}) {
        auto const found = session.surfaces.find(surface);
        if (found != session.surfaces.end() && found->second.destroyed) {
            session.surfaces.erase(found);
        }
    }
    thread.display = EGL_NO_DISPLAY;
    thread.draw = thread.read = EGL_NO_SURFACE;
    thread.context = EGL_NO_CONTEXT;
}

/** The first time a context becomes current, its viewport takes the surface's size. */
void FirstCurrent(Invocation& call, ContextData& context, SurfaceData const* surface) {
    if (!surface) {
        return;
    }
    context.config = call.GetSession().configs[surface->config];
    if (context.wasCurrent) {
        return;
    }
    context.wasCurrent = true;
    context.state.viewport = {0, 0, surface->width, surface->height};
}

EGLImage MakeImage(Invocation& call, EGLDisplay display, EGLContext context, EGLClientBuffer buffer) {
    if (!RequireDisplay(call, display)) {
        return EGL_NO_IMAGE_KHR;
    }
    if (context != EGL_NO_CONTEXT && !RequireContext(call, context)) {
        return EGL_NO_IMAGE_KHR;
    }
    if (!buffer) {
        call.Raise(EGL_BAD_PARAMETER);
        return EGL_NO_IMAGE_KHR;
    }
    Session& session = call.GetSession();
    EGLImage const image = NewHandle(session, Handle::Image, ImageCounter);
    session.images.insert(image);
    session.Created(Object::EglImage);
    return image;
}

EGLBoolean FreeImage(Invocation& call, EGLDisplay display, EGLImage image) {
    if (!RequireDisplay(call, display)) {
        return EGL_FALSE;
    }
    if (call.GetSession().images.erase(image) == 0) {
        return call.Refuse(EGL_BAD_PARAMETER);
    }
    call.GetSession().Deleted(Object::EglImage);
    return EGL_TRUE;
}

} // namespace

namespace answer {

// ---- Display

EGLDisplay eglGetDisplay(Invocation&, EGLNativeDisplayType) {
    return TheDisplay();
}

EGLBoolean eglInitialize(Invocation& call, EGLDisplay dpy, EGLint* major, EGLint* minor) {
    if (dpy != TheDisplay()) {
        return call.Refuse(EGL_BAD_DISPLAY);
    }
    call.GetSession().initialized = true;
    if (major) {
        *major = 1;
    }
    if (minor) {
        *minor = 5;
    }
    return EGL_TRUE;
}

/**
 * Destroys contexts and surfaces, except those that are current on some thread: they go when they are
 * released.
 */
EGLBoolean eglTerminate(Invocation& call, EGLDisplay dpy) {
    if (dpy != TheDisplay()) {
        return call.Refuse(EGL_BAD_DISPLAY);
    }
    Session& session = call.GetSession();
    session.initialized = false;
    for (auto context = session.contexts.begin(); context != session.contexts.end();) {
        context->second->destroyed = true;
        context =
            session.current.count(context->first) != 0 ? std::next(context) : session.contexts.erase(context);
    }
    for (auto surface = session.surfaces.begin(); surface != session.surfaces.end();) {
        surface->second.destroyed = true;
        surface = !session.current.empty() ? std::next(surface) : session.surfaces.erase(surface);
    }
    session.images.clear();
    return EGL_TRUE;
}

EGLint eglGetError(Invocation& call) {
    if (call.IsFailing()) {
        return call.FailureError(EGL_BAD_ALLOC);
    }
    EGLint const error = call.Thread().error;
    call.Thread().error = EGL_SUCCESS;
    return error;
}

__eglMustCastToProperFunctionPointerType eglGetProcAddress(Invocation& call, char const* procname) {
    if (call.IsFailing() || call.GetSession().hiddenProcedures.count(procname) != 0) {
        return nullptr;
    }
    return FindEntryPoint(procname);
}

// ---- Configs

EGLBoolean eglChooseConfig(Invocation& call, EGLDisplay dpy, EGLint const* attribList, EGLConfig* configs,
                           EGLint configSize, EGLint* numConfig) {
    if (!RequireDisplay(call, dpy)) {
        return EGL_FALSE;
    }
    return ListConfigs(call, attribList, configs, configSize, numConfig);
}

EGLBoolean eglGetConfigAttrib(Invocation& call, EGLDisplay dpy, EGLConfig config, EGLint attribute,
                              EGLint* value) {
    if (!RequireDisplay(call, dpy)) {
        return EGL_FALSE;
    }
    std::optional<std::size_t> const index = RequireConfig(call, config);
    if (!index) {
        return EGL_FALSE;
    }
    std::optional<EGLint> const answer = ConfigAttribute(call.GetSession().configs[*index], attribute);
    if (!answer) {
        return call.Refuse(EGL_BAD_ATTRIBUTE);
    }
    *value = *answer;
    return EGL_TRUE;
}

// ---- Surfaces

EGLSurface eglCreateWindowSurface(Invocation& call, EGLDisplay dpy, EGLConfig config, EGLNativeWindowType,
                                  EGLint const*) {
    return MakeSurface(call, dpy, config, call.GetSession().windowWidth, call.GetSession().windowHeight);
}

EGLBoolean eglDestroySurface(Invocation& call, EGLDisplay dpy, EGLSurface surface) {
    if (!RequireDisplay(call, dpy)) {
        return EGL_FALSE;
    }
    SurfaceData* pData = RequireSurface(call, surface);
    if (!pData) {
        return EGL_FALSE;
    }
    call.GetSession().Deleted(Object::EglSurface);
    pData->destroyed = true;
    if (!IsCurrentSurface(call.Thread(), surface)) {
        call.GetSession().surfaces.erase(surface);
    }
    return EGL_TRUE;
}

EGLBoolean eglSwapBuffers(Invocation& call, EGLDisplay dpy, EGLSurface surface) {
    if (!RequireDisplay(call, dpy) || !RequireSurface(call, surface)) {
        return EGL_FALSE;
    }
    if (call.Thread().draw != surface) {
        return call.Refuse(EGL_BAD_SURFACE);
    }
    ++call.GetSession().swaps;
    return EGL_TRUE;
}

// ---- Contexts

EGLContext eglCreateContext(Invocation& call, EGLDisplay dpy, EGLConfig config, EGLContext shareContext,
                            EGLint const* attribList) {
    if (!RequireDisplay(call, dpy) || !RequireConfig(call, config)) {
        return EGL_NO_CONTEXT;
    }
    if (ListedAttribute(attribList, EGL_CONTEXT_CLIENT_VERSION) != 2) {
        call.Raise(EGL_BAD_CONFIG);
        return EGL_NO_CONTEXT;
    }
    ContextData const* pShared =
        shareContext != EGL_NO_CONTEXT ? RequireContext(call, shareContext) : nullptr;
    if (shareContext != EGL_NO_CONTEXT && !pShared) {
        return EGL_NO_CONTEXT;
    }
    Session& session = call.GetSession();
    EGLContext const context = NewHandle(session, Handle::Context, ContextCounter);
    session.contexts[context] = std::make_shared<ContextData>();
    if (pShared) {
        session.contexts[context]->objects = pShared->objects;
    }
    session.Created(Object::EglContext);
    return context;
}

EGLBoolean eglDestroyContext(Invocation& call, EGLDisplay dpy, EGLContext ctx) {
    if (!RequireDisplay(call, dpy)) {
        return EGL_FALSE;
    }
    ContextData* pContext = RequireContext(call, ctx);
    if (!pContext) {
        return EGL_FALSE;
    }
    Session& session = call.GetSession();
    session.Deleted(Object::EglContext);
    pContext->destroyed = true;
    if (session.current.count(ctx) == 0) {
        session.contexts.erase(ctx);
    }
    return EGL_TRUE;
}

EGLBoolean eglMakeCurrent(Invocation& call, EGLDisplay dpy, EGLSurface draw, EGLSurface read,
                          EGLContext ctx) {
    Session& session = call.GetSession();
    ThreadData& thread = call.Thread();
    if (ctx == EGL_NO_CONTEXT) {
        if (draw != EGL_NO_SURFACE || read != EGL_NO_SURFACE) {
            return call.Refuse(EGL_BAD_MATCH);
        }
        ReleaseCurrent(call);
        return EGL_TRUE;
    }
    if (!RequireDisplay(call, dpy)) {
        return EGL_FALSE;
    }
    ContextData* pContext = RequireContext(call, ctx);
    if (!pContext) {
        return EGL_FALSE;
    }
    SurfaceData const* pSurface = draw != EGL_NO_SURFACE ? RequireSurface(call, draw) : nullptr;
    if ((draw != EGL_NO_SURFACE && !pSurface) || (read != EGL_NO_SURFACE && !RequireSurface(call, read))) {
        return EGL_FALSE;
    }
    if (thread.context != ctx && session.current.count(ctx) != 0) {
        return call.Refuse(EGL_BAD_ACCESS);
    }
    if (thread.context != ctx || thread.draw != draw || thread.read != read) {
        ReleaseCurrent(call);
    }
    thread.display = dpy;
    thread.draw = draw;
    thread.read = read;
    thread.context = ctx;
    session.current.insert(ctx);
    session.lastUsed = session.contexts[ctx];
    FirstCurrent(call, *pContext, pSurface);
    return EGL_TRUE;
}

EGLDisplay eglGetCurrentDisplay(Invocation& call) {
    return call.Thread().display;
}

// ---- Images

EGLImageKHR eglCreateImageKHR(Invocation& call, EGLDisplay dpy, EGLContext ctx, EGLenum,
                              EGLClientBuffer buffer, EGLint const*) {
    return MakeImage(call, dpy, ctx, buffer);
}

EGLBoolean eglDestroyImageKHR(Invocation& call, EGLDisplay dpy, EGLImageKHR image) {
    return FreeImage(call, dpy, image);
}

} // namespace answer

} // namespace kelvokit::recording
