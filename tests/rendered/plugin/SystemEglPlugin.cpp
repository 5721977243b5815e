// A plug-in as the back end is one: linked against the system's EGL and GLES, loaded into a program at run
// time, and handed a window.

#include <EGL/egl.h>
#include <GLES2/gl2.h>

extern "C" {

/** The address that the plug-in's own call of eglCreateWindowSurface goes to. */
void* AddressOfCreateWindowSurface() {
    return reinterpret_cast<void*>(&eglCreateWindowSurface);
}

/** Draws one frame of plain orange on `window`; answers the first EGL error, or EGL_SUCCESS. */
EGLint DrawOrangeFrame(void* window) {
    EGLDisplay const display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EGLint const attributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_RED_SIZE, 8, EGL_NONE};
    EGLint const version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint nCount = 0;
    if (!eglInitialize(display, nullptr, nullptr) ||
        !eglChooseConfig(display, attributes, &config, 1, &nCount)) {
        return eglGetError();
    }
    EGLSurface const surface =
        eglCreateWindowSurface(display, config, reinterpret_cast<EGLNativeWindowType>(window), nullptr);
    if (surface == EGL_NO_SURFACE) {
        return eglGetError();
    }
    EGLContext const context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    if (!eglMakeCurrent(display, surface, surface, context)) {
        return eglGetError();
    }
    glClearColor(1, 0.4f, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    EGLint const nError = eglSwapBuffers(display, surface) ? EGL_SUCCESS : eglGetError();
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(display, surface);
    eglDestroyContext(display, context);
    eglTerminate(display);
    return nError;
}
}
