#include "Answers.h"

namespace kelvokit::recording {

namespace {

struct Size {
    GLenum bits;
    EGLint attribute;
    int Config::* member;
};

constexpr Size Sizes[] = {
    {GL_RED_BITS, EGL_RED_SIZE, &Config::red},       {GL_GREEN_BITS, EGL_GREEN_SIZE, &Config::green},
    {GL_BLUE_BITS, EGL_BLUE_SIZE, &Config::blue},    {GL_ALPHA_BITS, EGL_ALPHA_SIZE, &Config::alpha},
    {GL_DEPTH_BITS, EGL_DEPTH_SIZE, &Config::depth}, {GL_STENCIL_BITS, EGL_STENCIL_SIZE, &Config::stencil}};

} // namespace

std::optional<GLint> BitsAttribute(Config const& config, GLenum name) {
    for (Size const& size : Sizes) {
        if (size.bits == name) {
            return config.*size.member;
        }
    }
    return std::nullopt;
}

std::optional<EGLint> ConfigAttribute(Config const& config, EGLint attribute) {
    for (Size const& size : Sizes) {
        if (size.attribute == attribute) {
            return config.*size.member;
        }
    }
    return attribute == EGL_BUFFER_SIZE
               ? std::optional<EGLint>(config.red + config.green + config.blue + config.alpha)
           : attribute == EGL_RENDERABLE_TYPE ? std::optional<EGLint>(EGL_OPENGL_ES2_BIT)
                                              : std::nullopt;
}

} // namespace kelvokit::recording
