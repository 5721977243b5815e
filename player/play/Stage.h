#pragma once

#include "command/Options.h"
#include "kelvo_host/Scene.h"
#include "play/Backend.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Window.h"

#include <system/window.h>

#include <memory>
#include <string>
#include <vector>

namespace kelvokit::player {

/** What every kind of the player's windows is to a device. */
using NativeWindow = trevik::kelvo::WindowT<ANativeWindow>;

/**
 * A device on a window, and what a scene needs of it before it can be drawn. The scene is let go of before
 * the stage is, since it has things on the device. Operations that are false have one line in `fault`; each
 * of these failures ends with ExitDevice. Render thread.
 */
class Stage {
public:
    Stage(Backend& backend, Options const& options) : m_backend(backend), m_options(options) {}

    /** Brings a device up for frames of these settings. The window outlives the stage. */
    bool Start(NativeWindow& window, trevik::kelvo::SceneSettings const& settings,
               trevik::kelvo::Fault& fault);
    /** Makes the frame targets and surfaces that the scene asks for; the viewport becomes the whole surface.
     */
    bool Prepare(trevik::kelvo::Scene& scene, trevik::kelvo::Fault& fault);
    /** Draws the scene as of its last update: everything up to where the frame could be shown. */
    void Draw(trevik::kelvo::Scene& scene);
    /** The same into a part of the window alone (pixels, y up), which the whole scene is made to fit. */
    void DrawScaled(trevik::kelvo::Scene& scene, trevik::RectangleT<int> const& viewport);
    /** Whether all of a frame has been drawn, no effect left out for want of what it draws with. */
    bool HasDrawn(int nFrame, trevik::kelvo::Fault& fault) const;

    trevik::kelvo::GraphicsDevice& GetDevice() { return *m_pDevice; }

private:
    template <class Drawing>
    void DrawWith(Drawing draw);

    Backend& m_backend;
    Options const& m_options;
    std::unique_ptr<trevik::kelvo::GraphicsDevice> m_pDevice;
    std::vector<trevik::kelvo::Effect const*> m_effects; ///< of the scene's nodes
    bool m_fTargets = false;                             ///< the device has frame targets
};

} // namespace kelvokit::player
