# What the libraries may need of an Android device, library by library, as the linker knows it: no more than Android
# 4.0 has.
set(SYMBOLS_EGL
    eglChooseConfig eglCreateContext eglCreateWindowSurface eglDestroyContext eglDestroySurface eglGetConfigAttrib
    eglGetCurrentContext eglGetCurrentDisplay eglGetDisplay eglGetError eglGetProcAddress eglInitialize eglMakeCurrent
    eglSwapBuffers eglTerminate)
set(SYMBOLS_GLESv2
    glActiveTexture glAttachShader glBindAttribLocation glBindFramebuffer glBindRenderbuffer glBindTexture glBlendColor
    glBlendEquationSeparate glBlendFuncSeparate glCheckFramebufferStatus glClear glClearColor glClearStencil glColorMask
    glCompileShader glCompressedTexImage2D glCopyTexSubImage2D glCreateProgram glCreateShader glDeleteFramebuffers
    glDeleteProgram glDeleteRenderbuffers glDeleteShader glDeleteTextures glDepthMask glDisable glDisableVertexAttribArray
    glDrawArrays glDrawElements glEnable glEnableVertexAttribArray glFramebufferRenderbuffer glFramebufferTexture2D
    glFrontFace glGenFramebuffers glGenRenderbuffers glGenTextures glGetBooleanv glGetError glGetFloatv glGetIntegerv
    glGetProgramInfoLog glGetProgramiv glGetShaderInfoLog glGetShaderiv glGetString glGetUniformLocation glLineWidth
    glLinkProgram glPixelStorei glReadPixels glRenderbufferStorage glShaderSource glStencilFunc glStencilOp glTexImage2D
    glTexParameteri glUniform1f glUniform1i glUniform2f glUniform4f glUniformMatrix4fv glUseProgram glVertexAttribPointer
    glViewport)
# android::GraphicBuffer: constructor, destructor, getNativeBuffer, lock and unlock; android::bytesPerPixel.
set(SYMBOLS_ui
    _ZN7android13GraphicBufferC1Ejjij _ZN7android13GraphicBufferD1Ev _ZNK7android13GraphicBuffer15getNativeBufferEv
    _ZN7android13GraphicBuffer4lockEP10GGLSurfacej _ZN7android13GraphicBuffer6unlockEv _ZN7android13bytesPerPixelEi)
# SkBitmap: destructor, setConfig and setPixelRef; SkPixelRef: constructor and destructor; SkFlattenable::flatten;
# SkRefCnt: destructor and table.
set(SYMBOLS_skia
    _ZN8SkBitmapD1Ev _ZN8SkBitmap9setConfigENS_6ConfigEiii _ZN8SkBitmap11setPixelRefEP10SkPixelRef${SIZE_T}
    _ZN10SkPixelRefC2EP7SkMutex _ZN10SkPixelRefD2Ev _ZN13SkFlattenable7flattenER24SkFlattenableWriteBuffer
    _ZN8SkRefCntD2Ev _ZTV8SkRefCnt)
# GraphicsJNI::createBitmap, with the platform's jni.h and with a JDK's.
set(SYMBOLS_android_runtime _ZN11GraphicsJNI12createBitmapEP7_JNIEnvP8SkBitmapbP11_jbyteArrayi
    _ZN11GraphicsJNI12createBitmapEP7JNIEnv_P8SkBitmapbP11_jbyteArrayi)
set(SYMBOLS_log __android_log_write)

# The C library and its maths, whichever functions the compiler makes calls to.
set(SYMBOLS_c
    atan calloc clock_gettime close cosf exp2f expf fchmod fchown floorf fmod fprintf free fstat fsync getpid malloc memchr memcmp memcpy memmove
    memset open read readlink realloc rename sinf snprintf sqrt stat strchr strcmp strerror strlen strstr tan unlink write
    pthread_cond_broadcast pthread_cond_destroy pthread_cond_init pthread_cond_signal pthread_cond_timedwait
    pthread_cond_wait pthread_condattr_destroy pthread_condattr_init pthread_condattr_setclock pthread_equal
    pthread_mutex_destroy pthread_mutex_init pthread_mutex_lock pthread_mutex_unlock pthread_mutexattr_destroy
    pthread_mutexattr_init pthread_mutexattr_settype pthread_self
    __errno_location __stack_chk_fail) # these two under other names there
# The C++ library: memory, start and end of libraries, abstract functions; no type information and no exceptions.
set(PATTERN_runtime
    "_Zn[wa].*|_Zd[la].*|_ZS.*|_ZNS.*|_ZNKS.*|__cxa_(atexit|finalize|pure_virtual|guard_.*)|_ITM_.*|__gmon_start__")
