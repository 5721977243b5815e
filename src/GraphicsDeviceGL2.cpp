#include "GraphicsDeviceGL2.h"

#include "BitmapFontGL2.h"
#include "BlendModeEffectGL2.h"
#include "CameraGL2.h"
#include "DirectionalBlurEffectGL2.h"
#include "FramebufferGL2.h"
#include "GaussianBlurEffectGL2.h"
#include "GlState.h"
#include "NinePatchSpriteGL2.h"
#include "PolygonalFontGL2.h"
#include "ShaderCatalogue.h"
#include "SpriteGL2.h"
#include "TextGL2.h"
#include "TextureGL2.h"
#include "TimelineGL2.h"
#include "trevik/ClassContainer.h"
#include "trevik/ClassRegistry.h"
#include "trevik/ScopeCounter.h"

#include <GLES2/gl2.h>

#include <climits>
#include <new>

namespace trevik::kelvo {

pthread_t GraphicsDeviceGL2::m_renderThreadId;
QueueDispatcher GraphicsDeviceGL2::m_dispatcher;
std::atomic<unsigned int> GraphicsDeviceGL2::ms_nContext{0};
int GraphicsDeviceGL2::ms_nMaximumTextureSize = INT_MAX;

namespace {

// The lens of the default camera, in millimetres.
constexpr RealFloat DefaultFocalLength = 50;
constexpr RealFloat DefaultFilmWidth = 60;

} // namespace

GraphicsDeviceGL2::GraphicsDeviceGL2() = default;

GraphicsDeviceGL2::~GraphicsDeviceGL2() {
    if (m_eglDisplay != EGL_NO_DISPLAY && InRenderThread()) {
        m_dispatcher.ExecuteEnqueuedOperations(); // deletions in this context, from other threads
    }
    ReleaseEffectResources();
    SpriteGL2::ReleaseAntialiasFilter();
    m_cameras.ForEach([](Ref<CameraGL2>& pCamera) { pCamera.Reset(); });
    m_cameras.Clear();
    m_pDefaultCamera.Reset();
    if (m_pActiveShader) {
        m_pActiveShader->m_ppActive = nullptr; // a program may live longer than the device
        m_pActiveShader = nullptr;
    }
    if (m_eglDisplay != EGL_NO_DISPLAY) {
        // GL objects go while the context is still current.
        for (ShaderProgramGL2*& pBuiltIn : m_builtIn) {
            pBuiltIn = nullptr;
        }
        m_shaders.ReleaseAll();
        m_pPostProcessShader.Reset();
        m_pTargetBuffers[0].Reset();
        m_pTargetBuffers[1].Reset();
        CloseDisplay();
    } else {
        // Without a display there is no context to delete GL objects in: their references are kept, as
        // m_shaders keeps its own.
        static_cast<void>(m_pPostProcessShader.Detach());
        static_cast<void>(m_pTargetBuffers[0].Detach());
        static_cast<void>(m_pTargetBuffers[1].Detach());
    }
}

bool GraphicsDeviceGL2::Initialize(void* pWindow, DeviceFormat::Enum format, SizeT<int> const& size) {
    m_renderThreadId = pthread_self();
    m_dispatcher.SetExecutingThread();
    if (!GraphicsDevice::Initialize(pWindow, format, size)) {
        return false;
    }
    m_pWindow = pWindow;
    if (!OpenDisplay(format)) {
        return false;
    }
    SetFixedState();
    GLint nMaximumSide = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &nMaximumSide);
    ms_nMaximumTextureSize = nMaximumSide > 0 ? nMaximumSide : INT_MAX;
    if (!CreateDefaultCamera(size) || !InitializeShaders()) {
        return false;
    }
    GlState::SetDepthTest(false);
    SetDepthTestEnabled(false);
    if (ShaderProgramGL2* const pProgram = GetShader(ShaderId::PostProcess)) {
        SetPostProccessShader(pProgram);
    }
    InitializeExtensions();
    // Without the filter, antialiased edges alone are missing; the device works.
    static_cast<void>(SpriteGL2::CreateAntialiasFilter());
    return true;
}

/** The GL state that nothing changes again, or whose initial value others rely on. */
void GraphicsDeviceGL2::SetFixedState() {
    GlState::SetClearStencilToZero();
    GlState::SetStencilTest(false);
    GlState::DisableScissorTest();
    GlState::SetFrontFaceCounterClockwise();
    GlState::SetClearColor(ColorT<RealFloat>::Black);
    GlState::DisableCulling();
    GlState::EnableBlending();
}

bool GraphicsDeviceGL2::CreateDefaultCamera(SizeT<int> const& size) {
    ForgetMatrices();
    m_pDefaultCamera.Reset();
    m_pDefaultCamera = Ref<CameraGL2>(new (std::nothrow) CameraGL2);
    if (!m_pDefaultCamera) {
        return false;
    }
    m_pDefaultCamera->SetupMillimeter(DefaultFocalLength, DefaultFilmWidth,
                                      static_cast<RealFloat>(size.width), static_cast<RealFloat>(size.height),
                                      true);
    // Its matrices are valid before the first frame.
    m_pDefaultCamera->Update(*this, RealFloat(0));
    return true;
}

void GraphicsDeviceGL2::Present() {
    ScopeCounter const counter(ScopeCounter::Present, true);
    eglSwapBuffers(m_eglDisplay, m_eglSurface);
}

void GraphicsDeviceGL2::Process() {
    m_dispatcher.ExecuteEnqueuedOperations();
}

namespace {

template <class T>
void RegisterClass(ClassRegistry& registry, char const* pName) {
    static_cast<void>(registry.AddClassContainer(new (std::nothrow) ClassContainerT<T>(HashName(pName))));
}

} // namespace

} // namespace trevik::kelvo

extern "C" {

/**
 * Registers the classes that this library implements, each under its host name. True; neither EGL nor GL is
 * called.
 */
KELVO_EXPORT bool Initialize(trevik::ClassRegistry* pRegistry) {
    using namespace trevik::kelvo;
    RegisterClass<TimelineGL2>(*pRegistry, "Timeline");
    RegisterClass<CameraGL2>(*pRegistry, "Camera");
    RegisterClass<SpriteGL2>(*pRegistry, "Sprite");
    RegisterClass<TextureGL2>(*pRegistry, "Texture");
    RegisterClass<TextGL2>(*pRegistry, "Text");
    RegisterClass<BitmapFontGL2>(*pRegistry, "Font");
    RegisterClass<PolygonalFontGL2>(*pRegistry, "PolygonalFont");
    RegisterClass<GaussianBlurEffectGL2>(*pRegistry, "GaussianBlurEffect");
    RegisterClass<GaussianBlurResourceGL2>(*pRegistry, "GaussianBlurResource");
    RegisterClass<BlendModeEffectGL2>(*pRegistry, "BlendModeEffect");
    RegisterClass<BlendModeResourceGL2>(*pRegistry, "BlendModeResource");
    RegisterClass<DirectionalBlurEffectGL2>(*pRegistry, "DirectionalBlurEffect");
    RegisterClass<DirectionalBlurResourceGL2>(*pRegistry, "DirectionalBlurResource");
    RegisterClass<NinePatchSpriteGL2>(*pRegistry, "NinePatchSprite");
    return true;
}

/** A new device, owned by the caller; its Initialize brings it up. Null without memory. */
KELVO_EXPORT trevik::kelvo::GraphicsDevice* CreateDevice() {
    return new (std::nothrow) trevik::kelvo::GraphicsDeviceGL2;
}

/** There is nothing to shut down: devices and classes belong to the host. */
KELVO_EXPORT void Shutdown() {}

} // extern "C"
