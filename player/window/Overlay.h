#pragma once

#include "kelvo_host/Fault.h"
#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Text.h"
#include "window/PanelLayout.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvokit::player {

/** The bar at the lower edge. */
struct PlayBar {
    std::string text;
    double rPlayed; ///< how much of the frames lies before the one that is shown, 0 to 1
};

/** What is to be read above the scene; empty texts are not shown. */
struct OverlayTexts {
    std::string figures; ///< at the upper left, where there is room
    std::string picked;  ///< at the upper right, or where it does not cover what was picked
    trevik::Vector2T<int> pickedAt = {0, 0}; ///< pixels of the window, y down
    std::string help;                        ///< in the middle
    std::string shortHelp;                   ///< in its place where it is too large
    std::string message;                     ///< at the lower edge, above the bar
    std::optional<PlayBar> bar;
};

/**
 * What the window shows above the scene: texts and a bar, which the back end draws as a scene of their own.
 * What is made for a device goes before the device does. Render thread.
 */
class Overlay {
public:
    static constexpr int BarHeight = 26; ///< pixels

    /**
     * Makes it unless it is there; false when there is no font to write with, the first time with one line in
     * `fault`.
     */
    bool Make(trevik::ClassRegistry& registry, trevik::kelvo::Fault& fault);
    void Release();

    /** Draws over what has been drawn in the window, of `window` pixels. */
    void Draw(trevik::kelvo::GraphicsDevice& device, trevik::SizeT<int> const& window,
              OverlayTexts const& texts);

    /** How far along the bar a column of the window lies, 0 to 1. */
    double GetPlace(int x, trevik::SizeT<int> const& window) const;

private:
    /** A text on a ground of its own. */
    struct Panel {
        trevik::kelvo::TransformNode* pNode = nullptr;
        trevik::kelvo::TransformNode* pGround = nullptr;
        trevik::kelvo::Text* pText = nullptr;
        std::string sText;
        trevik::RectangleT<trevik::RealFloat> bounds; ///< of the ground, in the panel
    };
    enum PanelIndex { Figures, Picked, Help, ShortHelp, Message, BarText, PanelCount };

    trevik::kelvo::TransformNode* Find(std::string const& name) const;
    Panel& GetPanel(PanelIndex panel) { return m_panels[static_cast<std::size_t>(panel)]; }
    void SetText(PanelIndex panel, std::string const& text, trevik::SizeT<int> const& most);
    void Measure(Panel& panel, std::string const& text, int nWidest);
    void MoveTo(PanelIndex panel, trevik::RealFloat x, trevik::RealFloat y);
    void Place(PanelIndex panel, PanelLayout& layout, std::vector<PanelPlace> const& places);
    void PlacePanels(OverlayTexts const& texts);
    void PlaceBar(trevik::SizeT<int> const& window, PlayBar const& bar);
    void SetView(trevik::SizeT<int> const& window);
    bool Build(trevik::ClassRegistry& registry, std::string const& family, trevik::kelvo::Fault& fault);

    std::unique_ptr<trevik::kelvo::Scene> m_pScene; ///< null without a font
    std::array<Panel, PanelCount> m_panels;
    trevik::kelvo::TransformNode* m_pTracks = nullptr; ///< the bar, which consists of these two
    trevik::kelvo::TransformNode* m_pTrack = nullptr;
    trevik::kelvo::TransformNode* m_pPlayed = nullptr;
    trevik::SizeT<int> m_viewSize; ///< of the window
    int m_nRoom = 0;               ///< around texts and panels
    int m_nTrackLeft = 0;          ///< column where the bar begins, right of its text
    bool m_fFontMissed = false;    ///< and is not looked for again
};

} // namespace kelvokit::player
