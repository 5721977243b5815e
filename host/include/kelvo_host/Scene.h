#pragma once

#include "kelvo_host/Fault.h"
#include "kelvo_host/TimelineWatches.h"
#include "trevik/Color.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Size.h"
#include "trevik/kelvo/DeviceFormat.h"
#include "trevik/kelvo/SelectionPoint.h"
#include "trevik/kelvo/Timeline.h"

namespace trevik {
class ClassRegistry;
}

namespace trevik::kelvo {

class Deserializer;
class GraphicsDevice;
class Serializer;

/** How a scene wants to be shown. */
struct TREVIK_API SceneSettings {
    /** The largest width and height of a scene, pixels. */
    static constexpr int MaximumSide = 16384;
    static constexpr int MaximumFrame = 10000000; ///< also, below 0, the least one

    SizeT<int> m_size{800, 480};                        ///< surface, pixels; each side 1 to MaximumSide
    DeviceFormat::Enum m_format = DeviceFormat::RGB888; ///< of the surface
    RealFloat m_rFrameRate = 30;                        ///< frames per second, above 0
    int m_nFirstFrame = 0;                              ///< -MaximumFrame to MaximumFrame
    int m_nLastFrame = 0;                               ///< not below the first one, up to MaximumFrame
    /** What Clear fills the frame with; opaque black. */
    ColorT<RealFloat> m_clearColor = ColorT<RealFloat>::Black;
    /** Whether the device's effects are to draw exactly, which its application switches on for the scene. */
    bool m_fExactEffects = false;

    /** Null when all values are in range, else a static text that says which one is not. */
    char16_t const* FindFault() const;
};

/** A whole scene: a tree of nodes under one timeline, and how to show it. Render thread. */
class TREVIK_API Scene {
public:
    Scene();
    ~Scene();
    Scene(Scene const&) = delete;
    Scene& operator=(Scene const&) = delete;

    /** Null in a new scene. */
    Timeline* GetRoot() const { return m_pRoot.Get(); }
    /**
     * Shows `pRoot`, a timeline without a parent, from the first frame on. Handlers of OnEnd and OnFrame go.
     */
    void SetRoot(Ref<Timeline> const& pRoot);
    /**
     * Shows a tree that has been built node by node and not loaded, as SetRoot does one that has been loaded.
     * Classes make what they draw with in Load, as sprites make their corners from their size: so each node
     * is loaded from a document without contents, which changes nothing that was set, those below it first,
     * and all of them are reloaded then. A class whose Load asks for attributes of its own cannot be had in
     * this way. False, with the reason in one line and the scene as it was, when a node is of such a class,
     * memory is short, or `pRoot` is null; timelines of the tree may stand at their first frame then.
     */
    bool SetBuiltRoot(Ref<Timeline> const& pRoot, ClassRegistry& registry, Fault& fault);
    /**
     * How the scene wants to be shown. What is written there is saved with the scene and not checked before.
     */
    SceneSettings& GetSettings() { return m_settings; }
    /** How the scene wants to be shown. */
    SceneSettings const& GetSettings() const { return m_settings; }

    /**
     * Writes the scene into the current document node. False, traced, when something cannot be saved, or
     * could not be loaded again: settings out of range, or no root.
     */
    bool Save(Serializer& serializer) const;
    /**
     * Reads the scene from the current document node and has its nodes reloaded. False, noted (see
     * Deserializer::Fail) and with the scene as it was, when something does not fit.
     */
    bool Load(Deserializer& deserializer);

    /** Writes the scene to a file (path in UTF-8). False, with the reason in one line, when that fails. */
    bool SaveToFile(char const* pPath, Fault& fault) const;
    /**
     * Reads a file; objects are created through `registry`. On false, with the reason in one line, nothing
     * has changed.
     */
    bool LoadFromFile(char const* pPath, ClassRegistry& registry, Fault& fault);

    /**
     * Gives the textures of the scene's sprites, those behind texts included, the surfaces that they want
     * (Texture::SetWantedSurfaces), so that producers can write them from now on; until they do, the textures
     * show their images. To be called once the device is initialised, before anything is drawn. False, with
     * the reason in one line, when a texture cannot have them; those before it have theirs.
     */
    bool PromoteTextures(Fault& fault) const;

    /**
     * Brings the scene to `frame`: the root seeks to it, and nested timelines that play advance by the time
     * between the frames. Going back starts them over, so that the picture depends on the frame alone.
     */
    void Update(GraphicsDevice& device, RealFloat const& frame);

    /**
     * Calls `handler` at the end of each Update that finds `timeline` at its last frame and not playing while
     * the one before did not: when a timeline that plays once has ended, and the root when its last frame is
     * shown. Timelines that loop or turn round do not end. False, with nothing changed, for a timeline that
     * is not of this scene, for an empty handler, and without memory. Telling allocates nothing.
     */
    bool OnEnd(Timeline& timeline, TimelineWatches::Handler const& handler);
    /**
     * The same for each Update that finds `timeline` at `frame` or past it while the one before found it
     * earlier, or, in Loop, later in the round before. For the frame of a property's last key it tells that
     * the property's animation has ended.
     */
    bool OnFrame(Timeline& timeline, RealFloat frame, TimelineWatches::Handler const& handler);
    /** Calls none of the handlers of this timeline any more. */
    void Forget(Timeline const& timeline) { m_watches.Remove(timeline); }

    /** Draws one frame over the whole surface and shows it: DrawFrame, present, then queued work. */
    void RenderFrame(GraphicsDevice& device);
    /** Draws one frame over the whole target in use, of the surface's size, without showing it. */
    void DrawFrame(GraphicsDevice& device);
    /** The visible nodes under `point` (window pixels, y down) as of the last update, nearest first. */
    List<SelectionPoint> Pick(GraphicsDevice& device, Vector2T<RealFloat> const& point);

private:
    char16_t const* FindFault() const;
    bool Contains(Node const& node) const;

    Ref<Timeline> m_pRoot;
    TimelineWatches m_watches;
    SceneSettings m_settings;
    RealFloat m_rShownFrame = 0; ///< of the last update
    bool m_fShown = false;       ///< there has been an update
};

} // namespace trevik::kelvo
