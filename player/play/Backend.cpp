#include "play/Backend.h"

#include "GraphicsDeviceGL2.h"
#include "file/Failure.h"
#include "kelvo_effects/Effects.h"
#include "trevik/Assert.h"

#include <GLES2/gl2.h>
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <typeinfo>

namespace kelvokit::player {

using trevik::kelvo::Fault;
using trevik::kelvo::FramebufferGL2;
using trevik::kelvo::GraphicsDevice;
using trevik::kelvo::GraphicsDeviceGL2;
using trevik::kelvo::Plugin;
using trevik::kelvo::assets::Fail;

namespace {

constexpr char const* DefaultName = "libkelvoGLES20.so.1";
constexpr char const* EffectsName = "libkelvo_effects.so.1";

/** The back end in the folder of another file; empty when there is none. */
std::string FindBeside(std::string const& path) {
    std::string const beside = path.substr(0, path.rfind('/') + 1) + DefaultName;
    return path.find('/') != std::string::npos && access(beside.c_str(), R_OK) == 0 ? beside : "";
}

/** The library beside the program or beside the host's, else its bare name, which the loader looks for. */
std::string FindDefault() {
    char program[PATH_MAX] = "";
    ssize_t const nLength = readlink("/proc/self/exe", program, sizeof program);
    std::string found = FindBeside(std::string(program, nLength > 0 ? static_cast<std::size_t>(nLength) : 0));
    Dl_info host = {};
    if (found.empty() && dladdr(reinterpret_cast<void const*>(&trevik::AssertFail), &host) &&
        host.dli_fname) {
        found = FindBeside(host.dli_fname);
    }
    return found.empty() ? DefaultName : found;
}

#define KELVO_DEVICE "_ZN6trevik5kelvo17GraphicsDeviceGL2"

template <class Function>
Function Find(void* pLibrary, char const* pName) {
    return reinterpret_cast<Function>(dlsym(pLibrary, pName));
}

} // namespace

Backend::~Backend() {
    if (m_pfnShutdown) {
        m_pfnShutdown();
    }
}

bool Backend::Load(std::string const& path, Fault& fault) {
    // A path without a slash means a file here, not one from where libraries are.
    std::string const library = path.empty()                          ? FindDefault()
                                : path.find('/') == std::string::npos ? "./" + path
                                                                      : path;
    m_pLibrary = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_pLibrary) {
        return Fail(fault, "", "the back end cannot be loaded", dlerror());
    }
    auto const pfnInitialize = Find<Plugin::InitializeFunction>(m_pLibrary, "Initialize");
    m_pfnCreateDevice = Find<Plugin::CreateDeviceFunction>(m_pLibrary, "CreateDevice");
    m_pfnShutdown = Find<Plugin::ShutdownFunction>(m_pLibrary, "Shutdown");
    if (!pfnInitialize || !m_pfnCreateDevice || !m_pfnShutdown) {
        m_pfnShutdown = nullptr;
        return Fail(fault, library, "is no back end",
                    "it does not export Initialize, CreateDevice and Shutdown");
    }
    if (!pfnInitialize(&m_registry)) {
        return Fail(fault, library, "the back end does not register its classes");
    }
    auto const pfnVersion = Find<int (*)()>(m_pLibrary, "GetTrevikVersionStamp");
    m_fOwnVersion = pfnVersion && pfnVersion() == KELVO_BACKEND_STAMP;
    if (m_fOwnVersion) {
        LoadEffects(reinterpret_cast<void*>(pfnInitialize));
    }
    return true;
}

/**
 * Registers what libkelvo_effects has, from beside the back end, of which `pInBackend` is a function, or from
 * where libraries are. It finds the back end that is loaded by its name. Without it scenes cannot name its
 * classes.
 */
void Backend::LoadEffects(void* pInBackend) {
    Dl_info backend = {};
    std::string const path = dladdr(pInBackend, &backend) && backend.dli_fname ? backend.dli_fname : "";
    std::string const beside = path.substr(0, path.rfind('/') + 1) + EffectsName;
    bool const fBeside = path.find('/') != std::string::npos && access(beside.c_str(), R_OK) == 0;
    if (void* const pLibrary = dlopen(fBeside ? beside.c_str() : EffectsName, RTLD_NOW | RTLD_LOCAL)) {
        auto const pfnRegister = Find<decltype(&KelvoRegisterEffects)>(pLibrary, "KelvoRegisterEffects");
        if (pfnRegister) {
            pfnRegister(&m_registry);
        }
    }
}

std::unique_ptr<GraphicsDevice> Backend::CreateDevice() const {
    return std::unique_ptr<GraphicsDevice>(m_pfnCreateDevice());
}

/** The library is not linked, so a cast cannot tell: its version and the name of the device's class do. */
bool Backend::IsOwnDevice(GraphicsDevice const& device) const {
    return m_fOwnVersion && std::strcmp(typeid(device).name(), "N6trevik5kelvo17GraphicsDeviceGL2E") == 0;
}

bool Backend::InitializeTargetBuffers(GraphicsDevice& device) const {
    // A member function is called as a plain one that takes the object first.
    auto const pfnInitialize =
        Find<bool (*)(GraphicsDeviceGL2*)>(m_pLibrary, KELVO_DEVICE "23InitializeTargetBuffersEv");
    return pfnInitialize && IsOwnDevice(device) && pfnInitialize(static_cast<GraphicsDeviceGL2*>(&device));
}

/** As the device's own; nothing when the back end has no such function. */
void Backend::SwapTargetBuffers(GraphicsDevice& device, bool fToScreen) const {
    auto const pfnSwap =
        Find<void (*)(GraphicsDeviceGL2*, bool)>(m_pLibrary, KELVO_DEVICE "17SwapTargetBuffersEb");
    if (pfnSwap && IsOwnDevice(device)) {
        pfnSwap(static_cast<GraphicsDeviceGL2*>(&device), fToScreen);
    }
}

void Backend::BeginPostProcess(GraphicsDevice& device) const {
    SwapTargetBuffers(device, false);
}

void Backend::EndPostProcess(GraphicsDevice& device) const {
    using Front = FramebufferGL2* (*)(GraphicsDeviceGL2*);
    auto const pfnFront = Find<Front>(m_pLibrary, KELVO_DEVICE "20GetFrontTargetBufferEv");
    auto const pfnRender =
        Find<void (*)(GraphicsDeviceGL2*)>(m_pLibrary, KELVO_DEVICE "20RenderForPostProcessEv");
    if (!pfnFront || !pfnRender || !IsOwnDevice(device) ||
        !pfnFront(static_cast<GraphicsDeviceGL2*>(&device))) {
        return;
    }
    SwapTargetBuffers(device, true);
    // The pass is drawn in the state that the frame ends in: a depth test that is still on has to find the
    // window's depths of this frame, and the last sprite's blend mode must not mix the two.
    device.Clear();
    glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ONE, GL_ZERO);
    pfnRender(static_cast<GraphicsDeviceGL2*>(&device));
}

bool Backend::SetExactEffects(GraphicsDevice& device, bool fExact) const {
    auto const pfnSet =
        Find<void (*)(GraphicsDeviceGL2*, bool)>(m_pLibrary, KELVO_DEVICE "15SetExactEffectsEb");
    bool const fCan = pfnSet && IsOwnDevice(device);
    if (fCan) {
        pfnSet(static_cast<GraphicsDeviceGL2*>(&device), fExact);
    }
    return fCan;
}

bool Backend::IsAlphaTestEnabled(GraphicsDevice const& device) const {
    return IsOwnDevice(device) && static_cast<GraphicsDeviceGL2 const&>(device).IsAlphaTestEnabled();
}

void Backend::SetAlphaTestEnabled(GraphicsDevice& device, bool fEnabled) const {
    if (IsOwnDevice(device)) {
        static_cast<GraphicsDeviceGL2&>(device).SetAlphaTestEnabled(fEnabled);
    }
}

} // namespace kelvokit::player
