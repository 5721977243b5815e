#include "Answers.h"
#include "NullDriver.h"

#include <cstring>

namespace recording = kelvokit::recording;

// What the null driver answers where zero would not do: enough for a device to come up, and no more. Nothing
// here allocates, and nothing that is called for each draw is here.

namespace {

GLuint s_nNextName = 1;
GLint s_nNextLocation = 0;
unsigned int s_nUploads = 0;

void Generate(GLsizei n, GLuint* names) {
    for (GLsizei i = 0; i < n; ++i) {
        names[i] = s_nNextName++;
    }
}

void* Handle(unsigned long value) {
    return reinterpret_cast<void*>(value);
}

EGLImageKHR CreateImage(EGLDisplay, EGLContext, EGLenum, EGLClientBuffer, EGLint const*) {
    return Handle(5);
}

EGLBoolean DestroyImage(EGLDisplay, EGLImageKHR) {
    return EGL_TRUE;
}

void ImageTargetTexture(GLenum, GLeglImageOES) {}

GLint Answer(GLenum name) {
    for (recording::Limit const& limit : recording::DefaultLimits) {
        if (limit.name == name) {
            return limit.value;
        }
    }
    GLint const otherwise = name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT ? 4 : 0;
    return recording::BitsAttribute(recording::Config(), name).value_or(otherwise);
}

GLint const Viewport[4] = {0, 0, recording::DefaultWindowSize[0], recording::DefaultWindowSize[1]};

} // namespace

extern "C" {

// ---- EGL: one display with the first config of the recording driver

EGLDisplay eglGetDisplay(EGLNativeDisplayType) {
    return Handle(1);
}
EGLDisplay eglGetPlatformDisplay(EGLenum, void*, EGLAttrib const*) {
    return Handle(1);
}
EGLDisplay eglGetCurrentDisplay(void) {
    return Handle(1);
}
EGLContext eglGetCurrentContext(void) {
    return Handle(4);
}
EGLint eglGetError(void) {
    return EGL_SUCCESS;
}
EGLBoolean eglInitialize(EGLDisplay, EGLint* major, EGLint* minor) {
    if (major) {
        *major = 1;
    }
    if (minor) {
        *minor = 4;
    }
    return EGL_TRUE;
}
EGLBoolean eglTerminate(EGLDisplay) {
    return EGL_TRUE;
}
EGLBoolean eglBindAPI(EGLenum) {
    return EGL_TRUE;
}
EGLBoolean eglChooseConfig(EGLDisplay, EGLint const*, EGLConfig* configs, EGLint size, EGLint* count) {
    if (configs && size > 0) {
        configs[0] = Handle(2);
    }
    *count = 1;
    return EGL_TRUE;
}
EGLBoolean eglGetConfigAttrib(EGLDisplay, EGLConfig, EGLint attribute, EGLint* value) {
    *value = recording::ConfigAttribute(recording::Config(), attribute).value_or(0);
    return EGL_TRUE;
}
EGLSurface eglCreateWindowSurface(EGLDisplay, EGLConfig, EGLNativeWindowType, EGLint const*) {
    return Handle(3);
}
EGLSurface eglCreatePbufferSurface(EGLDisplay, EGLConfig, EGLint const*) {
    return Handle(3);
}
EGLContext eglCreateContext(EGLDisplay, EGLConfig, EGLContext, EGLint const*) {
    return Handle(4);
}
EGLBoolean eglMakeCurrent(EGLDisplay, EGLSurface, EGLSurface, EGLContext) {
    return EGL_TRUE;
}
EGLBoolean eglDestroySurface(EGLDisplay, EGLSurface) {
    return EGL_TRUE;
}
EGLBoolean eglDestroyContext(EGLDisplay, EGLContext) {
    return EGL_TRUE;
}
EGLBoolean eglSwapBuffers(EGLDisplay, EGLSurface) {
    return EGL_TRUE;
}
EGLBoolean eglSwapInterval(EGLDisplay, EGLint) {
    return EGL_TRUE;
}
EGLBoolean eglQuerySurface(EGLDisplay, EGLSurface, EGLint attribute, EGLint* value) {
    *value = attribute == EGL_WIDTH ? Viewport[2] : attribute == EGL_HEIGHT ? Viewport[3] : 0;
    return EGL_TRUE;
}
char const* eglQueryString(EGLDisplay, EGLint) {
    return "";
}
__eglMustCastToProperFunctionPointerType eglGetProcAddress(char const* name) {
    if (std::strcmp(name, "eglCreateImageKHR") == 0) {
        return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(CreateImage);
    }
    if (std::strcmp(name, "eglDestroyImageKHR") == 0) {
        return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(DestroyImage);
    }
    if (std::strcmp(name, "glEGLImageTargetTexture2DOES") == 0) {
        return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(ImageTargetTexture);
    }
    return nullptr;
}

// ---- GL: names and locations that count up, and everything succeeds

void glGenTextures(GLsizei n, GLuint* names) {
    Generate(n, names);
}
void glGenBuffers(GLsizei n, GLuint* names) {
    Generate(n, names);
}
void glGenFramebuffers(GLsizei n, GLuint* names) {
    Generate(n, names);
}
void glGenRenderbuffers(GLsizei n, GLuint* names) {
    Generate(n, names);
}
GLuint glCreateProgram(void) {
    return s_nNextName++;
}
GLuint glCreateShader(GLenum) {
    return s_nNextName++;
}
GLint glGetUniformLocation(GLuint, GLchar const*) {
    return s_nNextLocation++;
}
GLint glGetAttribLocation(GLuint, GLchar const*) {
    return s_nNextLocation++;
}
void glGetProgramiv(GLuint, GLenum name, GLint* value) {
    *value = name == GL_LINK_STATUS || name == GL_VALIDATE_STATUS ? GL_TRUE : 0;
}
void glGetShaderiv(GLuint, GLenum name, GLint* value) {
    *value = name == GL_COMPILE_STATUS ? GL_TRUE : 0;
}
void glGetProgramInfoLog(GLuint, GLsizei size, GLsizei* length, GLchar* log) {
    if (size > 0) {
        log[0] = '\0';
    }
    if (length) {
        *length = 0;
    }
}
void glGetShaderInfoLog(GLuint, GLsizei size, GLsizei* length, GLchar* log) {
    glGetProgramInfoLog(0, size, length, log);
}
void glTexImage2D(GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, void const*) {
    ++s_nUploads;
}
void glTexSubImage2D(GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, void const*) {
    ++s_nUploads;
}
void glCompressedTexImage2D(GLenum, GLint, GLenum, GLsizei, GLsizei, GLint, GLsizei, void const*) {
    ++s_nUploads;
}
GLenum glCheckFramebufferStatus(GLenum) {
    return GL_FRAMEBUFFER_COMPLETE;
}
GLubyte const* glGetString(GLenum) {
    return reinterpret_cast<GLubyte const*>("");
}
void glGetIntegerv(GLenum name, GLint* values) {
    if (name == GL_VIEWPORT) {
        std::memcpy(values, Viewport, sizeof Viewport);
    } else {
        *values = Answer(name);
    }
}
void glGetFloatv(GLenum name, GLfloat* values) {
    if (name == GL_VIEWPORT) {
        for (int i = 0; i < 4; ++i) {
            values[i] = static_cast<GLfloat>(Viewport[i]);
        }
    } else {
        *values = static_cast<GLfloat>(Answer(name));
    }
}
void glGetBooleanv(GLenum name, GLboolean* values) {
    *values = Answer(name) != 0 ? GL_TRUE : GL_FALSE;
}

NullDriverCounts GetNullDriverCounts(void) {
    return {s_nNextName - 1, static_cast<unsigned int>(s_nNextLocation), s_nUploads};
}

} // extern "C"
