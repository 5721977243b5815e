#include "Driver.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

// Fixed-function state: capabilities, blending, stencil, depth, masks, viewport, and what glGet tells of it
// all.
namespace recording {

namespace {

const GLenum g_capabilities[] = {GL_BLEND,
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
    const auto found = std::find(std::begin(g_capabilities), std::end(g_capabilities), capability);
    return found == std::end(g_capabilities) ? 0 : 1u << std::distance(std::begin(g_capabilities), found);
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

bool IsFace(GLenum face) {
    return OneOf(face, {GL_FRONT, GL_BACK, GL_FRONT_AND_BACK});
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

/** Applies a change to the faces that `face` names. */
template <class Change>
void ForFaces(State& state, GLenum face, Change change) {
    if (face != GL_BACK)
        change(state.stencilFront);
    if (face != GL_FRONT)
        change(state.stencilBack);
}

/** One queried value: up to four numbers. */
struct Values {
    double value[4] = {};
    int count = 0;

    Values() = default;
    Values(std::initializer_list<double> list) : count(static_cast<int>(list.size())) {
        std::copy(list.begin(), list.end(), value);
    }
    template <class T, std::size_t N>
    static Values Of(const std::array<T, N>& array) {
        Values values;
        values.count = static_cast<int>(N);
        for (std::size_t i = 0; i < N; ++i)
            values.value[i] = static_cast<double>(array[i]);
        return values;
    }
};

Values StencilValues(const StencilFace& face, GLenum name) {
    switch (name) {
    case GL_STENCIL_FUNC:
    case GL_STENCIL_BACK_FUNC:
        return {double(face.func)};
    case GL_STENCIL_REF:
    case GL_STENCIL_BACK_REF:
        return {double(face.ref)};
    case GL_STENCIL_VALUE_MASK:
    case GL_STENCIL_BACK_VALUE_MASK:
        return {double(static_cast<GLint>(face.mask))};
    case GL_STENCIL_WRITEMASK:
    case GL_STENCIL_BACK_WRITEMASK:
        return {double(static_cast<GLint>(face.writeMask))};
    case GL_STENCIL_FAIL:
    case GL_STENCIL_BACK_FAIL:
        return {double(face.fail)};
    case GL_STENCIL_PASS_DEPTH_FAIL:
    case GL_STENCIL_BACK_PASS_DEPTH_FAIL:
        return {double(face.depthFail)};
    default:
        return {double(face.depthPass)};
    }
}

Values BindingValues(const State& state, GLenum name) {
    const auto unit = static_cast<std::size_t>(state.activeTexture);
    switch (name) {
    case GL_ACTIVE_TEXTURE:
        return {double(GL_TEXTURE0 + state.activeTexture)};
    case GL_TEXTURE_BINDING_2D:
        return {double(state.textures[unit])};
    case GL_TEXTURE_BINDING_CUBE_MAP:
        return {double(state.cubeTextures[unit])};
    case GL_CURRENT_PROGRAM:
        return {double(state.program)};
    case GL_FRAMEBUFFER_BINDING:
        return {double(state.framebuffer)};
    case GL_RENDERBUFFER_BINDING:
        return {double(state.renderbuffer)};
    case GL_ARRAY_BUFFER_BINDING:
        return {double(state.arrayBuffer)};
    case GL_ELEMENT_ARRAY_BUFFER_BINDING:
        return {double(state.elementBuffer)};
    default:
        return {};
    }
}

Values SurfaceValues(const Config& config, GLenum name) {
    switch (name) {
    case GL_RED_BITS:
        return {double(config.red)};
    case GL_GREEN_BITS:
        return {double(config.green)};
    case GL_BLUE_BITS:
        return {double(config.blue)};
    case GL_ALPHA_BITS:
        return {double(config.alpha)};
    case GL_DEPTH_BITS:
        return {double(config.depth)};
    case GL_STENCIL_BITS:
        return {double(config.stencil)};
    case GL_MAX_VIEWPORT_DIMS:
        return {4096, 4096};
    case GL_ALIASED_LINE_WIDTH_RANGE:
    case GL_ALIASED_POINT_SIZE_RANGE:
        return {1, 16};
    case GL_COMPRESSED_TEXTURE_FORMATS:
        return {GL_ETC1_RGB8_OES, GL_ATC_RGB_AMD, GL_ATC_RGBA_EXPLICIT_ALPHA_AMD};
    case GL_SHADER_BINARY_FORMATS:
        return {};
    default:
        return {};
    }
}

Values BlendValues(const State& state, GLenum name) {
    switch (name) {
    case GL_BLEND_SRC_RGB:
        return {double(state.blendSourceRGB)};
    case GL_BLEND_DST_RGB:
        return {double(state.blendTargetRGB)};
    case GL_BLEND_SRC_ALPHA:
        return {double(state.blendSourceAlpha)};
    case GL_BLEND_DST_ALPHA:
        return {double(state.blendTargetAlpha)};
    case GL_BLEND_EQUATION_RGB:
        return {double(state.blendEquationRGB)};
    case GL_BLEND_EQUATION_ALPHA:
        return {double(state.blendEquationAlpha)};
    case GL_BLEND_COLOR:
        return Values::Of(state.blendColor);
    default:
        return {};
    }
}

Values StateValues(const State& state, GLenum name) {
    switch (name) {
    case GL_VIEWPORT:
        return Values::Of(state.viewport);
    case GL_SCISSOR_BOX:
        return Values::Of(state.scissor);
    case GL_COLOR_CLEAR_VALUE:
        return Values::Of(state.clearColor);
    case GL_DEPTH_CLEAR_VALUE:
        return {state.clearDepth};
    case GL_STENCIL_CLEAR_VALUE:
        return {double(state.clearStencil)};
    case GL_DEPTH_FUNC:
        return {double(state.depthFunc)};
    case GL_DEPTH_WRITEMASK:
        return {double(state.depthMask)};
    case GL_DEPTH_RANGE:
        return Values::Of(state.depthRange);
    case GL_COLOR_WRITEMASK:
        return Values::Of(state.colorMask);
    case GL_FRONT_FACE:
        return {double(state.frontFace)};
    case GL_CULL_FACE_MODE:
        return {double(state.cullFace)};
    case GL_LINE_WIDTH:
        return {state.lineWidth};
    case GL_POLYGON_OFFSET_FACTOR:
        return {state.polygonOffset[0]};
    case GL_POLYGON_OFFSET_UNITS:
        return {state.polygonOffset[1]};
    case GL_SAMPLE_COVERAGE_VALUE:
        return {state.sampleCoverage};
    case GL_SAMPLE_COVERAGE_INVERT:
        return {double(state.sampleCoverageInvert)};
    case GL_GENERATE_MIPMAP_HINT:
        return {double(state.mipmapHint)};
    case GL_PACK_ALIGNMENT:
        return {double(state.packAlignment)};
    case GL_UNPACK_ALIGNMENT:
        return {double(state.unpackAlignment)};
    default:
        return {};
    }
}

/** What glGet answers; empty and the error GL_INVALID_ENUM for a name that ES 2.0 does not know. */
Values Query(Invocation& call, GLenum name) {
    const State& state = call.GetState();
    const auto limit = call.GetSession().limits.find(name);
    if (limit != call.GetSession().limits.end())
        return {double(limit->second)};
    if (CapabilityBit(name) != 0)
        return {double(state.IsEnabled(name))};
    if (OneOf(name, {GL_STENCIL_BACK_FUNC, GL_STENCIL_BACK_REF, GL_STENCIL_BACK_VALUE_MASK,
                     GL_STENCIL_BACK_WRITEMASK, GL_STENCIL_BACK_FAIL, GL_STENCIL_BACK_PASS_DEPTH_FAIL,
                     GL_STENCIL_BACK_PASS_DEPTH_PASS}))
        return StencilValues(state.stencilBack, name);
    if (OneOf(name, {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK, GL_STENCIL_WRITEMASK,
                     GL_STENCIL_FAIL, GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS}))
        return StencilValues(state.stencilFront, name);
    for (const Values& values : {StateValues(state, name), BlendValues(state, name),
                                 BindingValues(state, name), SurfaceValues(DrawBits(call.Context()), name)})
        if (values.count > 0)
            return values;
    if (name != GL_SHADER_BINARY_FORMATS)
        call.Raise(GL_INVALID_ENUM);
    return {};
}

} // namespace

bool State::IsEnabled(GLenum capability) const {
    return (enabled & CapabilityBit(capability)) != 0;
}

namespace answer {

// ---- Capabilities and simple state

void glEnable(Invocation& call, GLenum cap) {
    if (CapabilityBit(cap) == 0)
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().enabled |= CapabilityBit(cap);
}

void glDisable(Invocation& call, GLenum cap) {
    if (CapabilityBit(cap) == 0)
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().enabled &= ~CapabilityBit(cap);
}

GLboolean glIsEnabled(Invocation& call, GLenum cap) {
    if (CapabilityBit(cap) == 0)
        call.Raise(GL_INVALID_ENUM);
    return call.GetState().IsEnabled(cap) ? GL_TRUE : GL_FALSE;
}

void glViewport(Invocation& call, GLint x, GLint y, GLsizei width, GLsizei height) {
    if (width < 0 || height < 0)
        return call.Raise(GL_INVALID_VALUE);
    call.GetState().viewport = {x, y, width, height};
}

void glScissor(Invocation& call, GLint x, GLint y, GLsizei width, GLsizei height) {
    if (width < 0 || height < 0)
        return call.Raise(GL_INVALID_VALUE);
    call.GetState().scissor = {x, y, width, height};
}

void glFrontFace(Invocation& call, GLenum mode) {
    if (!OneOf(mode, {GL_CW, GL_CCW}))
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().frontFace = mode;
}

void glCullFace(Invocation& call, GLenum mode) {
    if (!IsFace(mode))
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().cullFace = mode;
}

void glLineWidth(Invocation& call, GLfloat width) {
    if (!(width > 0))
        return call.Raise(GL_INVALID_VALUE);
    call.GetState().lineWidth = width;
}

void glPolygonOffset(Invocation& call, GLfloat factor, GLfloat units) {
    call.GetState().polygonOffset = {factor, units};
}

void glSampleCoverage(Invocation& call, GLfloat value, GLboolean invert) {
    call.GetState().sampleCoverage = std::min(std::max(value, 0.0f), 1.0f);
    call.GetState().sampleCoverageInvert = invert != GL_FALSE;
}

void glHint(Invocation& call, GLenum target, GLenum mode) {
    if (target != GL_GENERATE_MIPMAP_HINT || !OneOf(mode, {GL_FASTEST, GL_NICEST, GL_DONT_CARE}))
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().mipmapHint = mode;
}

void glFinish(Invocation&) {}
void glFlush(Invocation&) {}

// ---- Clearing and masks

void glClear(Invocation& call, GLbitfield mask) {
    if ((mask &
         ~static_cast<GLbitfield>(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT)) != 0)
        return call.Raise(GL_INVALID_VALUE);
    if (FramebufferStatus(call.Context(), call.GetSession()) != GL_FRAMEBUFFER_COMPLETE)
        call.Raise(GL_INVALID_FRAMEBUFFER_OPERATION);
}

void glClearColor(Invocation& call, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
    call.GetState().clearColor = {red, green, blue, alpha};
}

void glClearDepthf(Invocation& call, GLfloat d) {
    call.GetState().clearDepth = d;
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

void glDepthFunc(Invocation& call, GLenum func) {
    if (!IsComparison(func))
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().depthFunc = func;
}

void glDepthRangef(Invocation& call, GLfloat n, GLfloat f) {
    call.GetState().depthRange = {n, f};
}

void glStencilFunc(Invocation& call, GLenum func, GLint ref, GLuint mask) {
    glStencilFuncSeparate(call, GL_FRONT_AND_BACK, func, ref, mask);
}

void glStencilFuncSeparate(Invocation& call, GLenum face, GLenum func, GLint ref, GLuint mask) {
    if (!IsFace(face) || !IsComparison(func))
        return call.Raise(GL_INVALID_ENUM);
    ForFaces(call.GetState(), face, [=](StencilFace& stencil) {
        stencil.func = func;
        stencil.ref = ref;
        stencil.mask = mask;
    });
}

void glStencilMask(Invocation& call, GLuint mask) {
    glStencilMaskSeparate(call, GL_FRONT_AND_BACK, mask);
}

void glStencilMaskSeparate(Invocation& call, GLenum face, GLuint mask) {
    if (!IsFace(face))
        return call.Raise(GL_INVALID_ENUM);
    ForFaces(call.GetState(), face, [=](StencilFace& stencil) { stencil.writeMask = mask; });
}

void glStencilOp(Invocation& call, GLenum fail, GLenum zfail, GLenum zpass) {
    glStencilOpSeparate(call, GL_FRONT_AND_BACK, fail, zfail, zpass);
}

void glStencilOpSeparate(Invocation& call, GLenum face, GLenum sfail, GLenum dpfail, GLenum dppass) {
    if (!IsFace(face) || !IsStencilOp(sfail) || !IsStencilOp(dpfail) || !IsStencilOp(dppass))
        return call.Raise(GL_INVALID_ENUM);
    ForFaces(call.GetState(), face, [=](StencilFace& stencil) {
        stencil.fail = sfail;
        stencil.depthFail = dpfail;
        stencil.depthPass = dppass;
    });
}

// ---- Blending

void glBlendColor(Invocation& call, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
    call.GetState().blendColor = {red, green, blue, alpha};
}

void glBlendEquation(Invocation& call, GLenum mode) {
    glBlendEquationSeparate(call, mode, mode);
}

void glBlendEquationSeparate(Invocation& call, GLenum modeRGB, GLenum modeAlpha) {
    if (!IsEquation(modeRGB) || !IsEquation(modeAlpha))
        return call.Raise(GL_INVALID_ENUM);
    call.GetState().blendEquationRGB = modeRGB;
    call.GetState().blendEquationAlpha = modeAlpha;
}

void glBlendFunc(Invocation& call, GLenum sfactor, GLenum dfactor) {
    glBlendFuncSeparate(call, sfactor, dfactor, sfactor, dfactor);
}

void glBlendFuncSeparate(Invocation& call, GLenum sfactorRGB, GLenum dfactorRGB, GLenum sfactorAlpha,
                         GLenum dfactorAlpha) {
    if (!IsSourceFactor(sfactorRGB) || !IsTargetFactor(dfactorRGB) || !IsSourceFactor(sfactorAlpha) ||
        !IsTargetFactor(dfactorAlpha))
        return call.Raise(GL_INVALID_ENUM);
    State& state = call.GetState();
    state.blendSourceRGB = sfactorRGB;
    state.blendTargetRGB = dfactorRGB;
    state.blendSourceAlpha = sfactorAlpha;
    state.blendTargetAlpha = dfactorAlpha;
}

// ---- Queries

GLenum glGetError(Invocation& call) {
    if (call.IsFailing())
        return static_cast<GLenum>(call.FailureError(GL_OUT_OF_MEMORY));
    const GLenum error = call.Context().error;
    call.Context().error = GL_NO_ERROR;
    return error;
}

void glGetBooleanv(Invocation& call, GLenum pname, GLboolean* data) {
    const Values values = Query(call, pname);
    for (int i = 0; i < values.count; ++i)
        data[i] = values.value[i] != 0 ? GL_TRUE : GL_FALSE;
}

void glGetFloatv(Invocation& call, GLenum pname, GLfloat* data) {
    const Values values = Query(call, pname);
    for (int i = 0; i < values.count; ++i)
        data[i] = static_cast<GLfloat>(values.value[i]);
}

void glGetIntegerv(Invocation& call, GLenum pname, GLint* data) {
    const Values values = Query(call, pname);
    for (int i = 0; i < values.count; ++i)
        data[i] = static_cast<GLint>(values.value[i]);
}

const GLubyte* glGetString(Invocation& call, GLenum name) {
    const char* text = nullptr;
    switch (name) {
    case GL_VENDOR:
        text = "kelvo";
        break;
    case GL_RENDERER:
        text = "recording driver";
        break;
    case GL_VERSION:
        text = "OpenGL ES 2.0 recording";
        break;
    case GL_SHADING_LANGUAGE_VERSION:
        text = "OpenGL ES GLSL ES 1.00";
        break;
    case GL_EXTENSIONS:
        text = "GL_OES_EGL_image GL_OES_compressed_ETC1_RGB8_texture GL_AMD_compressed_ATC_texture "
               "GL_OES_depth_texture GL_OES_packed_depth_stencil GL_OES_depth24 GL_OES_texture_npot";
        break;
    default:
        call.Raise(GL_INVALID_ENUM);
    }
    return reinterpret_cast<const GLubyte*>(text);
}

} // namespace answer

} // namespace recording
