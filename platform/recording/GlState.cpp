#include "Driver.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

// Fixed-function state: capabilities, blending, stencil, depth, masks, viewport, and what glGet answers.
namespace kelvokit::recording {

namespace {

GLenum const Capabilities[] = {GL_BLEND,
                               GL_CULL_FACE,
                               GL_DITHER,
                               GL_DEPTH_TEST,
                               GL_STENCIL_TEST,
                               GL_SCISSOR_TEST,
                               GL_POLYGON_OFFSET_FILL,
                               GL_SAMPLE_ALPHA_TO_COVERAGE,
                               GL_SAMPLE_COVERAGE};

/**
 * The capability's bit in State::enabled; 0 for an enumerant that is no capability, GL_TEXTURE_2D among them.
 */
std::uint32_t CapabilityBit(GLenum capability) {
    auto const found = std::find(std::begin(Capabilities), std::end(Capabilities), capability);
    return found == std::end(Capabilities) ? 0 : 1u << std::distance(std::begin(Capabilities), found);
}

bool OneOf(GLenum value, std::initializer_list<GLenum> allowed) {
    return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
}

bool IsComparison(GLenum func) {
    return func >= GL_NEVER && func <= GL_ALWAYS;
}

bool IsStencilOp(GLenum op) {
    return OneOf(op, {GL_KEEP, GL_ZERO, GL_REPLACE, GL_INCR, GL_DECR, GL_INVERT, GL_INCR_WRAP, GL_DECR_WRAP});
}

bool IsTargetFactor(GLenum factor) {
    return OneOf(factor, {GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_ONE_MINUS_SRC_COLOR, GL_DST_COLOR,
                          GL_ONE_MINUS_DST_COLOR, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_DST_ALPHA,
                          GL_ONE_MINUS_DST_ALPHA, GL_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR,
                          GL_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA});
}

bool IsSourceFactor(GLenum factor) {
    return IsTargetFactor(factor) || factor == GL_SRC_ALPHA_SATURATE;
}

bool IsEquation(GLenum mode) {
    return OneOf(mode, {GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT});
}

/** What glGet answers, of what is asked for here: GL_INVALID_ENUM for everything else. */
template <class T, class Convert>
void Query(Invocation& call, GLenum name, T* to, Convert convert) {
    auto const limit = call.GetSession().limits.find(name);
    if (limit != call.GetSession().limits.end()) {
        *to = convert(limit->second);
        return;
    }
    if (name == GL_VIEWPORT) {
        std::transform(call.GetState().viewport.begin(), call.GetState().viewport.end(), to, convert);
        return;
    }
    if (name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT) {
        *to = convert(name == GL_PACK_ALIGNMENT ? call.GetState().packAlignment
                                                : call.GetState().unpackAlignment);
        return;
    }
    if (name == GL_FRAMEBUFFER_BINDING || name == GL_STENCIL_REF || name == GL_STENCIL_TEST) {
        State const& state = call.GetState();
        *to = convert(name == GL_FRAMEBUFFER_BINDING ? static_cast<GLint>(state.framebuffer)
                      : name == GL_STENCIL_REF       ? state.stencilFront.ref
                                                     : GLint(state.IsEnabled(GL_STENCIL_TEST)));
        return;
    }
    if (std::optional<GLint> const bits = BitsAttribute(DrawBits(call.Context()), name)) {
        *to = convert(*bits);
        return;
    }
    call.Raise(GL_INVALID_ENUM);
}

} // namespace

bool State::IsEnabled(GLenum capability) const {
    return (enabled & CapabilityBit(capability)) != 0;
}

namespace answer {

// ---- Capabilities and simple state

void glEnable(Invocation& call, GLenum cap) {
    if (CapabilityBit(cap) == 0) {
        return call.Raise(GL_INVALID_ENUM);
    }
    call.GetState().enabled |= CapabilityBit(cap);
}

void glDisable(Invocation& call, GLenum cap) {
    if (CapabilityBit(cap) == 0) {
        return call.Raise(GL_INVALID_ENUM);
    }
    call.GetState().enabled &= ~CapabilityBit(cap);
}

void glViewport(Invocation& call, GLint x, GLint y, GLsizei width, GLsizei height) {
    if (width < 0 || height < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    call.GetState().viewport = {x, y, width, height};
}

void glFrontFace(Invocation& call, GLenum mode) {
    if (!OneOf(mode, {GL_CW, GL_CCW})) {
        return call.Raise(GL_INVALID_ENUM);
    }
    call.GetState().frontFace = mode;
}

void glLineWidth(Invocation& call, GLfloat width) {
    if (!(width > 0)) {
        return call.Raise(GL_INVALID_VALUE);
    }
    call.GetState().lineWidth = width;
}

void glFinish(Invocation&) {}
void glFlush(Invocation&) {}

// ---- Clearing and masks

void glClear(Invocation& call, GLbitfield mask) {
    if ((mask &
         ~static_cast<GLbitfield>(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT)) != 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if (FramebufferStatus(call.Context(), call.GetSession()) != GL_FRAMEBUFFER_COMPLETE) {
        call.Raise(GL_INVALID_FRAMEBUFFER_OPERATION);
    }
}

void glClearColor(Invocation& call, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
    call.GetState().clearColor = {red, green, blue, alpha};
}

void glClearStencil(Invocation& call, GLint s) {
    call.GetState().clearStencil = s;
}

void glColorMask(Invocation& call, GLboolean red, GLboolean green, GLboolean blue, GLboolean alpha) {
    call.GetState().colorMask = {red != GL_FALSE, green != GL_FALSE, blue != GL_FALSE, alpha != GL_FALSE};
}

// ---- Depth and stencil

void glDepthMask(Invocation& call, GLboolean flag) {
    call.GetState().depthMask = flag != GL_FALSE;
}

void glStencilFunc(Invocation& call, GLenum func, GLint ref, GLuint mask) {
    if (!IsComparison(func)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    for (StencilFace* pFace : {&call.GetState().stencilFront, &call.GetState().stencilBack}) {
        pFace->func = func;
        pFace->ref = ref;
        pFace->mask = mask;
    }
}

void glStencilOp(Invocation& call, GLenum fail, GLenum zfail, GLenum zpass) {
    if (!IsStencilOp(fail) || !IsStencilOp(zfail) || !IsStencilOp(zpass)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    for (StencilFace* pFace : {&call.GetState().stencilFront, &call.GetState().stencilBack}) {
        pFace->fail = fail;
        pFace->depthFail = zfail;
        pFace->depthPass = zpass;
    }
}

// ---- Blending

void glBlendEquationSeparate(Invocation& call, GLenum modeRGB, GLenum modeAlpha) {
    if (!IsEquation(modeRGB) || !IsEquation(modeAlpha)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    call.GetState().blendEquationRGB = modeRGB;
    call.GetState().blendEquationAlpha = modeAlpha;
}

void glBlendFuncSeparate(Invocation& call, GLenum sfactorRGB, GLenum dfactorRGB, GLenum sfactorAlpha,
                         GLenum dfactorAlpha) {
    if (!IsSourceFactor(sfactorRGB) || !IsTargetFactor(dfactorRGB) || !IsSourceFactor(sfactorAlpha) ||
        !IsTargetFactor(dfactorAlpha)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    State& state = call.GetState();
    state.blendSourceRGB = sfactorRGB;
    state.blendTargetRGB = dfactorRGB;
    state.blendSourceAlpha = sfactorAlpha;
    state.blendTargetAlpha = dfactorAlpha;
}

void glBlendColor(Invocation&, GLfloat, GLfloat, GLfloat, GLfloat) {}

// ---- Queries

/** Of the names that it may ask for, the extensions are those that this driver has. */
GLubyte const* glGetString(Invocation& call, GLenum name) {
    if (call.IsFailing() || name != GL_EXTENSIONS) {
        call.Raise(static_cast<unsigned>(call.FailureError(GL_INVALID_ENUM)));
        return nullptr;
    }
    return reinterpret_cast<GLubyte const*>(
        "GL_OES_EGL_image GL_OES_compressed_ETC1_RGB8_texture GL_OES_packed_depth_stencil");
}

GLenum glGetError(Invocation& call) {
    if (call.IsFailing()) {
        return static_cast<GLenum>(call.FailureError(GL_OUT_OF_MEMORY));
    }
    GLenum const error = call.Context().error;
    call.Context().error = GL_NO_ERROR;
    return error;
}

void glGetBooleanv(Invocation& call, GLenum pname, GLboolean* data) {
    Query(call, pname, data, [](GLint value) { return static_cast<GLboolean>(value != 0); });
}

void glGetFloatv(Invocation& call, GLenum pname, GLfloat* data) {
    Query(call, pname, data, [](GLint value) { return static_cast<GLfloat>(value); });
}

void glGetIntegerv(Invocation& call, GLenum pname, GLint* data) {
    Query(call, pname, data, [](GLint value) { return value; });
}

} // namespace answer

} // namespace kelvokit::recording
