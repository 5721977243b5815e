#pragma once

#include "command/Options.h"
#include "kelvo_host/Fault.h"
#include "pictures/FramePixels.h"
#include "play/Backend.h"
#include "play/SceneFile.h"
#include "play/Stage.h"
#include "trevik/List.h"
#include "trevik/kelvo/SelectionPoint.h"
#include "window/ScreenWindow.h"

#include <functional>
#include <memory>
#include <utility>

namespace kelvokit::player {

/**
 * A scene in a window. The surface that the scene is drawn for has the window's size, or one of its own; as
 * long as the two differ, the picture is scaled to fit the window, in the middle of it. Operations that are
 * false have one line in `fault`. Render thread.
 */
class SceneView {
public:
    /** `releaseOthers`: lets go of what others than the scene have on the device, before it ends. */
    SceneView(Backend& backend, Options const& options, ScreenWindow& window,
              std::function<void()> releaseOthers)
        : m_backend(backend), m_options(options), m_window(window),
          m_releaseOthers(std::move(releaseOthers)) {}
    ~SceneView();
    SceneView(SceneView const&) = delete;
    SceneView& operator=(SceneView const&) = delete;

    /** Whether a new device is to be made for a scene, since its surface is another one. */
    bool NeedsDevice(LoadedScene const& scene, trevik::SizeT<int> const& surface) const;
    /**
     * Shows a scene in place of the one before, which stays when its device cannot show the new one. With a
     * new device it is gone: when that one cannot show the scene, there is an empty one on a device as
     * before.
     */
    bool Show(std::unique_ptr<LoadedScene> pScene, trevik::SizeT<int> const& surface,
              trevik::kelvo::Fault& fault);
    /** Whether there is an empty scene in place of one that could not be shown. */
    bool IsEmpty() const { return m_fEmpty; }
    /** Whether there is a device, which is lost when none can be made any more. */
    bool HasDevice() const { return m_pStage != nullptr; }
    trevik::kelvo::GraphicsDevice& GetDevice() { return m_pStage->GetDevice(); }
    LoadedScene& GetScene() { return *m_pScene; }
    trevik::SizeT<int> const& GetSurface() const { return m_surface; }

    /** Brings the scene to a frame in steps of one, as it comes there when it is played off screen. */
    void BringTo(int nFrame);
    /**
     * Draws the frame and shows it; `drawAbove` draws what lies above the scene. False when a part of the
     * scene cannot be drawn, and is left out.
     */
    bool Draw(int nFrame, std::function<void()> const& drawAbove, trevik::kelvo::Fault& fault);
    /** Draws that the scene has taken in the last frame. */
    unsigned long long GetDraws() const { return m_nDraws; }
    /** Draws the scene alone, and gives what the window shows of it. */
    bool TakePicture(FramePixels& pixels, trevik::kelvo::Fault& fault);
    /** The nodes at a point of the window (pixels, y down), nearest first. */
    trevik::List<trevik::kelvo::SelectionPoint> Pick(trevik::Vector2T<int> const& point);

private:
    bool IsScaled() const;
    trevik::RectangleT<int> GetArea() const;
    void DrawScene();
    bool Restart(std::unique_ptr<LoadedScene> pScene, trevik::SizeT<int> const& surface,
                 trevik::kelvo::Fault& fault);
    void ShowEmpty(trevik::kelvo::SceneSettings const& settings);
    trevik::kelvo::DeviceFormat::Enum GetFormat(LoadedScene const& scene) const;

    Backend& m_backend;
    Options const& m_options;
    ScreenWindow& m_window;
    std::function<void()> const m_releaseOthers;
    trevik::SizeT<int> m_surface;
    std::unique_ptr<Stage> m_pStage;
    std::unique_ptr<LoadedScene> m_pScene;
    bool m_fEmpty = false;
    bool m_fUpdated = false; ///< the scene has been brought to a frame
    int m_nUpdated = 0;      ///< and to this one
    unsigned long long m_nDraws = 0;
};

} // namespace kelvokit::player
