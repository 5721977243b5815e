#pragma once

#include "kelvo_host/Fault.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Plugin.h"

#include <memory>
#include <string>

namespace kelvokit::player {

/**
 * A back end, loaded as a plug-in through its three entry points. It stays loaded until the process ends:
 * what it has registered (names of properties, factories) is referred to by the host for as long.
 */
class Backend {
public:
    Backend() = default;
    ~Backend();
    Backend(Backend const&) = delete;
    Backend& operator=(Backend const&) = delete;

    /**
     * Loads the library at `path`, or libkelvoGLES20 from beside the program or libkelvo or from where
     * libraries are, and lets it register its classes. False with one line in `fault` when there is none, or
     * it is no back end.
     */
    bool Load(std::string const& path, trevik::kelvo::Fault& fault);

    trevik::ClassRegistry& GetRegistry() { return m_registry; }
    /** A new device of the back end, not yet initialised; null when it makes none. */
    std::unique_ptr<trevik::kelvo::GraphicsDevice> CreateDevice() const;

    // What only this project's own device can do; nothing, and false, when `device` is of another back end or
    // version.

    /** Makes the frame targets that blurs and post-processing draw through, after the viewport has been set.
     */
    bool InitializeTargetBuffers(trevik::kelvo::GraphicsDevice& device) const;
    /** Binds a frame target: the frame that is drawn now is post-processed. */
    void BeginPostProcess(trevik::kelvo::GraphicsDevice& device) const;
    /**
     * Draws what has been drawn since on the window, through the post-process program. Nothing when drawing
     * has moved on to the window by itself, as it does with a blur, which is on it then.
     */
    void EndPostProcess(trevik::kelvo::GraphicsDevice& device) const;
    /** Whether blend modes and directional blurs draw exactly. */
    bool SetExactEffects(trevik::kelvo::GraphicsDevice& device, bool fExact) const;
    bool IsAlphaTestEnabled(trevik::kelvo::GraphicsDevice const& device) const;
    void SetAlphaTestEnabled(trevik::kelvo::GraphicsDevice& device, bool fEnabled) const;

private:
    void LoadEffects(void* pInBackend);
    bool IsOwnDevice(trevik::kelvo::GraphicsDevice const& device) const;
    void SwapTargetBuffers(trevik::kelvo::GraphicsDevice& device, bool fToScreen) const;

    void* m_pLibrary = nullptr;
    trevik::ClassRegistry m_registry;
    trevik::kelvo::Plugin::CreateDeviceFunction m_pfnCreateDevice = nullptr;
    trevik::kelvo::Plugin::ShutdownFunction m_pfnShutdown = nullptr;
    bool m_fOwnVersion = false;
};

} // namespace kelvokit::player
