#pragma once

#include "CameraGL2.h"
#include "Export.h"
#include "IdTable.h"
#include "ShaderCatalogue.h"
#include "ShaderProgramGL2.h"
#include "trevik/Dispatcher.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GraphicsDevice.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <pthread.h>

#include <atomic>

namespace trevik::kelvo {

class FramebufferGL2;

/**
 * The graphics device: display, window surface and context, the built-in shader programs, cameras, masks and
 * the state that renderers share. It is brought up by Initialize; from then on everything but GetDispatcher
 * and InRenderThread is called on the thread that called it, the render thread.
 */
class KELVO_EXPORT GraphicsDeviceGL2 : public GraphicsDevice {
public:
    /** No display yet; calls neither EGL nor GL. */
    GraphicsDeviceGL2();
    /**
     * Executes what other threads have queued, then releases resources, programs and cameras, then surface,
     * context and display. Calls what ReleaseEffectResources, ShaderProgramGL2::~ShaderProgramGL2 and
     * FramebufferGL2::~FramebufferGL2 call, then eglMakeCurrent, eglDestroySurface, eglDestroyContext and
     * eglTerminate. Render thread.
     */
    ~GraphicsDeviceGL2() override;

    /**
     * Opens the default display, makes a window surface and a context current, and prepares fixed GL state,
     * the default camera and the built-in programs. `pWindow` is a WindowT<ANativeWindow>, or null for no
     * native window; it has to outlive the surface. `size` is in pixels; the default camera maps one unit to
     * one of them. Calls eglGetDisplay, eglInitialize, what ChooseEGLConfig calls, eglCreateWindowSurface,
     * eglCreateContext, eglMakeCurrent, eglGetError where one of these fails, glClearStencil, glDisable,
     * glFrontFace, glClearColor, glEnable, glGetIntegerv, and what InitializeShaders and InitializeExtensions
     * call. The calling thread becomes the render thread, even when this fails. False, traced, at the first
     * thing that cannot be had. What is there already goes with the device.
     */
    bool Initialize(void* pWindow, DeviceFormat::Enum format, SizeT<int> const& size) override;
    using GraphicsDevice::Reset;
    /**
     * Makes a surface for another window current; context and all GL objects stay. The surface before is not
     * destroyed: intended (reset-keeps-surface). `pWindow` is as in Initialize. Calls eglCreateWindowSurface
     * and eglMakeCurrent, and eglGetError where one of them fails. Render thread. False, traced, when one
     * fails.
     */
    bool Reset(void* pWindow) override;
    /**
     * Sets what Clear fills the colour buffer with: red, green, blue and alpha, 0 to 1, initially opaque
     * black. Calls glClearColor. Render thread.
     */
    void SetClearColor(ColorT<RealFloat> const& color) override;
    /**
     * Clears colour, depth and stencil of the current target; no program is active and no alpha test on
     * afterwards. Calls glClear and what SetActiveShader calls. Render thread.
     */
    void Clear() override;
    /**
     * Sets the viewport from the edges of a rectangle, in window pixels: its bottom edge is the lower side's
     * y. Calls glViewport with the viewport in force before, then as the other form. Both intended
     * (viewport-rectangle). Render thread.
     */
    void SetViewport(RectangleT<int> const& rectangle) override;
    /**
     * Sets the viewport, in window pixels with y up; the viewport matrix maps device coordinates to pixels
     * with y down. Calls glViewport. Render thread.
     */
    void SetViewport(int nX, int nY, int nWidth, int nHeight) override;
    Vector2T<RealFloat> ProjectCoordinate(Matrix4T<RealFloat> const& model,
                                          Vector4T<RealFloat> const& point) override;
    bool HitProjection(Matrix4T<RealFloat> const& model, Vector3T<RealFloat> const& p0,
                       Vector3T<RealFloat> const& p1, Vector3T<RealFloat> const& p2, Vector2T<RealFloat>& uv,
                       RealFloat& distance) override;
    /**
     * The matrices to draw with: the default camera's while the depth flag is set, else those of the camera
     * on top.
     */
    Matrix4T<RealFloat> GetProjectionMatrix() override;
    Matrix4T<RealFloat> GetViewMatrix() override;
    /** Device coordinates to window pixels, y down; the identity before the first SetViewport. */
    Matrix4T<RealFloat> GetViewportMatrix() override;
    /** The camera on top, or the default camera, null before Initialize. Borrowed. */
    Camera* GetActiveCamera() override;
    /**
     * Executes what other threads have queued with the dispatcher, in order, with the calls that this work
     * makes. Render thread.
     */
    void Process() override;
    /** Shows the finished frame in the window. Calls eglSwapBuffers. Render thread. */
    void Present() override;
    /**
     * Reads a rectangle of the current target into a texture: in viewport pixels with y down, while the rows
     * that are read come from the bottom up: intended (read-pixels-bottom-up). `*ppTexture` is a texture to
     * fill, in place of its pixels and its image, or null for a new one, which comes without a reference. It
     * gets RGBA8888 from surfaces of 16 bits of colour, RGB888 from those of 24. Calls glGetIntegerv,
     * glGetError and glReadPixels, twice where the driver refuses GL_RGB, around them glPixelStorei for rows
     * that are no multiple of 8 bytes, and what TextureGL2::ReleaseGLTexture calls. Render thread. False,
     * without a message, for other surfaces, for promoted textures, for rectangles that GL's numbers cannot
     * tell, and when GL refuses, with the texture as it was; without memory for the pixels as well, where the
     * texture is deleted even if it was the caller's, intended (read-pixels-memory), and null afterwards.
     */
    bool ReadPixels(RectangleT<int> const& rectangle, Texture** ppTexture) override;
    /**
     * Turns the depth test on or off, unless that is its state already; off at first. Calls glEnable or
     * glDisable. Render thread.
     */
    void SetDepthTestEnabled(bool fEnabled) override;
    /**
     * The resource that all effects of a class share, made and initialised at the first request. Borrowed.
     * The first request calls at most what GaussianBlurResourceGL2::Init calls, for the classes of this
     * library. Render thread. Null when no such class is registered, without memory, and when Init fails; the
     * next request tries again then.
     */
    EffectResource* GetEffectResource(unsigned int nClassID) override;
    /**
     * Draws the masks, in the space of the model-view matrix, into the stencil buffer, one level above those
     * in force, and lets later draws pass only there. An empty list changes nothing. Nesting beyond the
     * stencil buffer's 15 levels is not told from 15. Calls glEnable, glDisable, glDepthMask, glColorMask,
     * glStencilFunc, glStencilOp, glVertexAttribPointer and glDrawArrays, and what SetActiveShader and
     * ShaderProgramGL2::SetParameter call. Render thread. Always true.
     */
    bool PushMasks(List<Mask*>& masks) override;
    /**
     * Undoes PushMasks with the same list. Calls glDisable, glDepthMask, glColorMask, glStencilFunc,
     * glStencilOp, glVertexAttribPointer and glDrawArrays, and what SetActiveShader and
     * ShaderProgramGL2::SetParameter call. Render thread. Always true.
     */
    bool PopMasks(List<Mask*>& masks) override;
    /**
     * Puts a camera, a CameraGL2, on top and keeps a reference to it; null is ignored. Without memory, the
     * stack stays as it is, and the PopCamera that belongs to this push takes nothing off.
     */
    void PushCamera(Camera* pCamera) override;
    /**
     * Puts a new orthographic camera on top, which stands at the origin and looks along -z: the upper left
     * corner is (0, 0), the lower right one (width - 1, height - 1), y points down, and z from -10 to -1000
     * is visible. Without memory as PushCamera.
     */
    void PushCamera2D(RealFloat const& width, RealFloat const& height) override;
    void PopCamera() override;
    /** Enters a node. Below one without camera depth (`fDepth` false) the depth flag stays off. */
    void PushCameraDepth(bool fDepth) override;
    void PopCameraDepth(bool fDepth) override;
    /**
     * Sets the depth flag: to the argument, but off below a node without camera depth, and on without any
     * camera.
     */
    void SetCameraDepth(bool fDepth) override {
        bool const fFlag = (fDepth && m_nCameraDepth == 0) || m_cameras.IsEmpty();
        if (__builtin_expect(fFlag != m_fCameraDepth, false)) {
            m_fCameraDepth = fFlag;
            ForgetMatrices();
        }
    }

    /**
     * Picks the EGL config for a format, and takes EGL's first choice when none fits exactly. Calls
     * eglChooseConfig, eglGetConfigAttrib, and eglGetError where EGL refuses. Render thread. False, traced:
     * none.
     */
    bool ChooseEGLConfig(DeviceFormat::Enum format);
    /**
     * Looks the EGL image functions up, unless they are known. Calls eglGetProcAddress. Render thread. A
     * missing one is traced and stays null.
     */
    static void InitializeExtensions();
    /**
     * Calls the EGL function eglCreateImageKHR. Any thread. A null image, with nothing called, when there is
     * none.
     */
    static EGLImageKHR eglCreateImageKHR(EGLDisplay display, EGLContext context, EGLenum target,
                                         EGLClientBuffer buffer, EGLint const* pAttributes);
    /**
     * Calls the EGL function eglDestroyImageKHR. Any thread. False, with nothing called, when there is none.
     */
    static EGLBoolean eglDestroyImageKHR(EGLDisplay display, EGLImageKHR image);

    /**
     * Makes, registers and compiles the built-in programs. Calls what ShaderProgramGL2::Compile,
     * SetActiveShader and ShaderProgramGL2::SetParameter call. Render thread. False at the first that does
     * not compile, which is traced, and without memory.
     */
    bool InitializeShaders();
    /**
     * Adds a program to the device's table, which keeps a reference to it, and returns its index there; 0,
     * without an entry, without memory.
     */
    int RegisterShader(ShaderProgramGL2* pProgram, int nId);
    /** The first program registered under an id, borrowed; null when there is none. */
    ShaderProgramGL2* GetShader(int nId) const {
        // Built-in programs also stand in an array, at the place of their negated id.
        unsigned int const nPlace = 0u - static_cast<unsigned int>(nId);
        return nPlace < BuiltInPlaces ? m_builtIn[nPlace] : m_shaders.Find(nId);
    }
    /**
     * Binds a program in place of the active one; null only unbinds. None is active at first, and the active
     * one is not bound again. The device takes no reference: a program that goes while it is the active one
     * unbinds itself, and none is active then. Calls what ShaderProgramGL2::Unbind and ShaderProgramGL2::Bind
     * call. Render thread.
     */
    void SetActiveShader(ShaderProgramGL2* pProgram) {
        if (pProgram != m_pActiveShader) {
            ChangeActiveShader(pProgram);
        }
    }
    /**
     * Makes a program, not null, the one of RenderForPostProcess, and keeps a reference. The spelling is
     * intended (post-proccess-spelling). Calls what ShaderProgramGL2::~ShaderProgramGL2 calls where the
     * program before has no other reference. Render thread.
     */
    void SetPostProccessShader(ShaderProgramGL2* pProgram);

    /** Node space to view space of the node being drawn; renderers set and read it. */
    Matrix4T<RealFloat> const& GetModelViewMatrix() const { return m_modelView; }
    /** Sets what GetModelViewMatrix answers. */
    void SetModelViewMatrix(Matrix4T<RealFloat> const& matrix) { m_modelView = matrix; }
    // The next four use a hidden member of CameraGL2, so only this library can call them.

    /** Sets the model-view matrix of a node: its world matrix, then the view matrix to draw with. */
    void LoadModelView(Matrix4T<RealFloat> const& world) {
        if (__builtin_expect(m_view.IsAxialAt(CameraGL2::GetUpdateNumber()), true)) {
            Matrix4Multiply(world, m_view.m_axial, m_modelView);
        } else {
            LoadModelViewAnew(world);
        }
    }
    /**
     * Node space to clip space of the node being drawn: the model-view matrix, then the projection to draw
     * with.
     */
    void GetModelViewProjection(Matrix4T<RealFloat>& out) {
        if (__builtin_expect(m_projection.IsAxialAt(CameraGL2::GetUpdateNumber()), true)) {
            Matrix4Multiply(m_modelView, m_projection.m_axial, out);
        } else {
            MultiplyProjectionAnew(out);
        }
    }
    /**
     * A copy of GetViewMatrix and GetProjectionMatrix for all renderers, which is valid until Clear, a change
     * of the camera to draw with, or an update of any camera. At the first draw after that the two, and
     * through them those of the camera, are called again.
     */
    Matrix4T<RealFloat> const& ViewMatrix() {
        FetchMatrices();
        return m_view.m_whole;
    }
    /** The projection matrix of that copy; see ViewMatrix. */
    Matrix4T<RealFloat> const& ProjectionMatrix() {
        FetchMatrices();
        return m_projection.m_whole;
    }
    /** Whether textured draws drop fragments of alpha below 0.1; off after each Clear. */
    bool IsAlphaTestEnabled() const { return m_fAlphaTest; }
    /** Sets what IsAlphaTestEnabled answers. */
    void SetAlphaTestEnabled(bool fEnabled) { m_fAlphaTest = fEnabled; }
    /**
     * Whether blend modes and directional blurs draw their sprites where these stand, with all of their
     * texture, alpha and opacity. Off at first: then they hand corners over as fixed-point numbers, and blend
     * modes leave the projection out. Counts from the next draw on. Calls nothing.
     */
    void SetExactEffects(bool fExact);
    /** Whether they do. */
    bool HasExactEffects() const { return m_fExactEffects; }

    /**
     * Makes the two frame targets, of the viewport's size, with RGB565 colour and a depth and stencil
     * texture. The application calls it once, after Initialize and SetViewport and before the first effect or
     * post-process pass; a second call forgets the targets of the first, and they do not follow the viewport:
     * both intended (targets-by-application, target-sizes-fixed). Calls glGetFloatv and what
     * FramebufferGL2::Create calls. Render thread. False, without a message, when one cannot be made.
     */
    bool InitializeTargetBuffers();
    /** The current target while it is bound, else null. Borrowed. */
    FramebufferGL2* GetFrontTargetBuffer();
    /** The other target; null before InitializeTargetBuffers. Borrowed. */
    FramebufferGL2* GetBackTargetBuffer();
    /**
     * Makes the other target the current one and binds it, which clears it; or, `fToScreen`, binds the
     * window's framebuffer, for which a target has to be bound. Calls what FramebufferGL2::Bind and
     * FramebufferGL2::Unbind call. Render thread.
     */
    void SwapTargetBuffers(bool fToScreen);
    /**
     * Draws a quad over the whole target with the bound program: positions in attribute 0, in device
     * coordinates, texture coordinates in attribute 1, from 0 to 1. Calls glVertexAttribPointer and
     * glDrawArrays. Render thread.
     */
    void RenderFullscreenQuad();
    /**
     * Draws the back target over the current one with the post-process program, which samples its colour as
     * sColor and its depth as sDepth. No program is active afterwards. Calls what SetActiveShader,
     * ShaderProgramGL2::SetSampler and RenderFullscreenQuad call. Render thread. Nothing is drawn before
     * InitializeTargetBuffers, nor after an Initialize that failed.
     */
    void RenderForPostProcess();

    /** Whether the calling thread is the render thread. Any thread. */
    static bool InRenderThread() { return pthread_equal(m_renderThreadId, pthread_self()) != 0; }
    /** The longest side of a texture, by the device that was initialised last; no limit before. */
    static int GetMaximumTextureSize() { return ms_nMaximumTextureSize; }
    /** The queue of work for the render thread, one for all devices. Any thread. */
    static Dispatcher* GetDispatcher() { return &m_dispatcher; }
    /**
     * The number of the context whose GL names are valid now. It changes whenever a device makes a context or
     * gives its display up, so that what outlives a context deletes no names of the next one.
     */
    static unsigned int GetContextNumber() { return ms_nContext.load(std::memory_order_relaxed); }

    /**
     * Drops every effect resource; the next request for one makes a new one. Calls what
     * FramebufferGL2::~FramebufferGL2 and ShaderProgramGL2::~ShaderProgramGL2 call for what no effect holds.
     * Render thread.
     */
    void ReleaseEffectResources();

private:
    enum class ReadResult { Read, Refused, OutOfMemory };

    ReadResult ReadInto(RectangleT<int> const& rectangle, TextureGL2& texture);
    bool OpenDisplay(DeviceFormat::Enum format);
    bool CreateSurfaceAndContext();
    static void SetFixedState();
    bool CreateDefaultCamera(SizeT<int> const& size);
    void CloseDisplay();
    bool IsExactConfig(EGLConfig config, int const* pSizes, bool& fExact) const;
    void ChangeActiveShader(ShaderProgramGL2* pProgram);
    void EnterMasks(List<Mask*> const& masks);
    void LeaveMasks(List<Mask*> const& masks);
    void DrawMasks(List<Mask*> const& masks);

    /** A matrix to draw with, and its short form, if it has one. */
    struct DrawingMatrix {
        /** Whether the short form is there, and as new as the cameras. */
        bool IsAxialAt(unsigned int nUpdate) const { return m_nAxialUpdate == nUpdate; }
        void Set(Matrix4T<RealFloat> const& matrix, unsigned int nUpdate) {
            m_whole = matrix;
            m_nAxialUpdate = m_axial.Take(matrix) ? nUpdate : 0;
        }
        /** Writes the matrix that applies another one first and this one second. */
        void Apply(Matrix4T<RealFloat> const& first, Matrix4T<RealFloat>& out) const {
            if (m_nAxialUpdate != 0) {
                Matrix4Multiply(first, m_axial, out);
            } else {
                Matrix4Multiply(first, m_whole, out);
            }
        }

        AxialMatrix4T<RealFloat> m_axial;
        unsigned int m_nAxialUpdate = 0; ///< a CameraGL2::GetUpdateNumber; 0: there is no short form
        Matrix4T<RealFloat> m_whole;
    };

    /** Makes the next ViewMatrix or ProjectionMatrix copy the matrices again. */
    void ForgetMatrices() {
        m_nFetchedUpdate = 0;
        m_view.m_nAxialUpdate = 0;
        m_projection.m_nAxialUpdate = 0;
    }
    void FetchMatrices() {
        if (__builtin_expect(CameraGL2::GetUpdateNumber() != m_nFetchedUpdate, false)) {
            FetchMatricesAnew();
        }
    }
    void FetchMatricesAnew();
    void LoadModelViewAnew(Matrix4T<RealFloat> const& world);
    void MultiplyProjectionAnew(Matrix4T<RealFloat>& out);

    /** The camera whose matrices are drawn with; null means the identity. */
    CameraGL2* GetDrawingCamera() const {
        return m_fCameraDepth        ? m_pDefaultCamera.Get()
               : m_cameras.IsEmpty() ? nullptr
                                     : m_cameras.Top().Get();
    }

    void* m_pWindow = nullptr;
    EGLDisplay m_eglDisplay = EGL_NO_DISPLAY;
    EGLConfig m_eglConfig = nullptr;
    EGLSurface m_eglSurface = EGL_NO_SURFACE;
    EGLContext m_eglContext = EGL_NO_CONTEXT;
    PairedStack<Ref<CameraGL2>> m_cameras;
    unsigned int m_nMaskLevel = 0;
    unsigned int m_nCameraDepth = 0;
    bool m_fCameraDepth = false;
    Ref<CameraGL2> m_pDefaultCamera;
    IdTable<int, ShaderProgramGL2> m_shaders;
    ShaderProgramGL2* m_pActiveShader = nullptr; ///< borrowed
    Matrix4T<RealFloat> m_modelView;
    Matrix4T<RealFloat> m_viewportMatrix;
    Ref<ShaderProgramGL2> m_pPostProcessShader;
    Ref<FramebufferGL2> m_pTargetBuffers[2];
    unsigned int m_nCurrentTarget = 0;
    bool m_fAlphaTest = false;
    bool m_fExactEffects = false;
    IdTable<unsigned int, EffectResource> m_effectResources;
    /** Ids from 0 down to the last built-in one. */
    enum : unsigned int { BuiltInPlaces = 1 - ShaderId::SolidEdges };
    ShaderProgramGL2* m_builtIn[BuiltInPlaces] = {}; ///< of m_shaders, by negated id; borrowed
    unsigned int m_nFetchedUpdate = 0;               ///< a CameraGL2::GetUpdateNumber; 0: not fetched
    DrawingMatrix m_view;                            ///< as of m_nFetchedUpdate
    DrawingMatrix m_projection;                      ///< the same

    static pthread_t m_renderThreadId;
    static QueueDispatcher m_dispatcher;
    static std::atomic<unsigned int> ms_nContext;
    static int ms_nMaximumTextureSize;
    static PFNEGLCREATEIMAGEKHRPROC ms_pfnCreateImageKHR;
    static PFNEGLDESTROYIMAGEKHRPROC ms_pfnDestroyImageKHR;
};

} // namespace trevik::kelvo
