#include "window/Overlay.h"

#include "scene/SceneReader.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Timeline.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>

namespace kelvokit::player {

using trevik::RealFloat;
using trevik::RectangleT;
using trevik::SizeT;
using trevik::String16;
using trevik::String8;
using trevik::Vector3T;
using trevik::kelvo::Fault;
using trevik::kelvo::GraphicsDevice;
using trevik::kelvo::Text;
using trevik::kelvo::TransformNode;

namespace {

// In a small window there is little room for it.
constexpr int SmallHeight = 240;
constexpr int Room = 8; ///< around texts and panels
constexpr int SmallRoom = 3;
constexpr int MessageHeight = 60; ///< of a few lines, for which there is to be room

/** Families that one or the other system has, in the order in which they are liked. */
char const* const Families[] = {"DejaVu Sans", "Noto Sans", "Liberation Sans", "Lato", "FreeSans"};

/** In the order of PanelIndex. */
char const* const PanelNames[] = {"figures", "picked", "help", "short help", "message", "bar"};
constexpr int TabWidths[] = {90, 40, 150, 40, 40, 40};

std::string GetPanelScene(std::string const& name, int nTabWidth) {
    return R"({"class": "TransformNode", "name": ")" + name + R"(", "Visible": false, "children": [
        {"class": "Sprite", "name": ")" +
           name + R"( ground", "Size": [1, 1], "Color": "#10151c", "Opacity": 0.8},
        {"class": "Text", "name": ")" +
           name + R"( text", "font": "font", "Text": " ", "TabWidth": )" + std::to_string(nTabWidth) + "}]}";
}

std::string GetSceneText(std::string const& family) {
    std::string nodes;
    for (std::size_t n = 0; n < std::size(PanelNames); ++n) {
        nodes += GetPanelScene(PanelNames[n], TabWidths[n]) + ",";
    }
    return R"({"camera": {"Orthographic": true, "Position": [0, 0, 10], "Near": 1, "Far": 100},
        "fonts": {"font": {"family": ")" +
           family + R"(", "size": 13}},
        "nodes": [)" +
           nodes + R"(
            {"class": "TransformNode", "name": "tracks", "Visible": false, "children": [
                {"class": "Sprite", "name": "track", "Size": [1, 1], "Color": "#5b6b7a"},
                {"class": "Sprite", "name": "played", "Size": [1, 1], "Color": "#ff9d2e"}]}]})";
}

void SetVisible(TransformNode& node, bool fVisible) {
    if (node.GetVisibleProperty().GetValue() != fVisible) {
        node.GetVisibleProperty().SetValue(fVisible);
    }
}

void SetBox(TransformNode& node, RealFloat left, RealFloat bottom, RealFloat width, RealFloat height) {
    node.GetPositionProperty().SetValue(Vector3T<RealFloat>(left, bottom, 0));
    node.GetScaleProperty().SetValue(Vector3T<RealFloat>(width, height, 1));
}

} // namespace

bool Overlay::Make(trevik::ClassRegistry& registry, Fault& fault) {
    if (m_pScene) {
        return true;
    }
    if (m_fFontMissed) {
        return false;
    }
    bool const fMade = std::any_of(std::begin(Families), std::end(Families),
                                   [&](char const* pFamily) { return Build(registry, pFamily, fault); });
    if (!fMade) {
        m_pScene = nullptr;
        m_fFontMissed = true;
        fault =
            Fault(std::string("--window"), "no font is installed to show texts with", "such as DejaVu Sans");
    }
    return fMade;
}

bool Overlay::Build(trevik::ClassRegistry& registry, std::string const& family, Fault& fault) {
    std::string const text = GetSceneText(family);
    m_pScene = std::make_unique<trevik::kelvo::Scene>();
    if (!trevik::kelvo::assets::ReadSceneText(
            {reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, "", "", registry, *m_pScene,
            fault)) {
        return false;
    }
    for (std::size_t n = 0; n < PanelCount; ++n) {
        std::string const name = PanelNames[n];
        m_panels[n].pNode = Find(name);
        m_panels[n].pGround = Find(name + " ground");
        m_panels[n].pText = static_cast<Text*>(Find(name + " text"));
        m_panels[n].sText.clear();
    }
    m_pTracks = Find("tracks");
    m_pTrack = Find("track");
    m_pPlayed = Find("played");
    m_viewSize = SizeT<int>(0, 0);
    return true;
}

void Overlay::Release() {
    m_pScene = nullptr;
}

TransformNode* Overlay::Find(std::string const& name) const {
    return m_pScene->GetRoot()->FindNode(String16(String8(name.c_str())))->GetTransformNode();
}

/**
 * Shows a text in a panel and measures it; no text hides the panel. What is too wide is broken into lines,
 * and of too many lines the last ones are left out.
 */
void Overlay::SetText(PanelIndex panel, std::string const& text, SizeT<int> const& most) {
    Panel& shown = GetPanel(panel);
    SetVisible(*shown.pNode, !text.empty());
    if (text.empty() || text == shown.sText) {
        return;
    }
    shown.sText = text;
    bool const fPrinted = panel == Message || panel == Picked;
    std::string const more = fPrinted ? "\n... more in the terminal" : "\n...";
    Measure(shown, text, most.width);
    std::size_t nEnd = text.size();
    while (shown.bounds.GetHeight() > static_cast<RealFloat>(most.height) &&
           (nEnd = text.rfind('\n', nEnd - 1)) != std::string::npos && nEnd > 0) {
        Measure(shown, text.substr(0, nEnd) + more, most.width);
    }
    RectangleT<RealFloat> const& bounds = shown.bounds;
    SetBox(*shown.pGround, bounds.left, bounds.top, bounds.GetWidth(), bounds.GetHeight());
}

/** Writes a text into a panel no wider than that, if a word is not. */
void Overlay::Measure(Panel& panel, std::string const& text, int nWidest) {
    panel.pText->GetTextProperty().SetValue(String16(String8(text.c_str())));
    panel.pText->GetBoxProperty().SetValue({0, 0});
    panel.pText->UpdateLayout();
    RectangleT<RealFloat> bounds;
    panel.pText->GetTextRenderRect(bounds);
    int const nWidestText = std::max(nWidest - 2 * m_nRoom, 1);
    if (bounds.GetWidth() > static_cast<RealFloat>(nWidestText)) {
        panel.pText->GetBoxProperty().SetValue({static_cast<RealFloat>(nWidestText), 0});
        panel.pText->UpdateLayout();
        panel.pText->GetTextRenderRect(bounds);
    }
    auto const pad = static_cast<RealFloat>(m_nRoom);
    panel.bounds = RectangleT<RealFloat>(std::floor(bounds.left) - pad, std::floor(bounds.top) - pad,
                                         std::ceil(bounds.right) + pad, std::ceil(bounds.bottom) + pad);
}

/** Puts a panel's lower left corner there. */
void Overlay::MoveTo(PanelIndex panel, RealFloat x, RealFloat y) {
    Panel& moved = GetPanel(panel);
    moved.pNode->GetPositionProperty().SetValue(
        Vector3T<RealFloat>(std::floor(x) - moved.bounds.left, std::floor(y) - moved.bounds.top, 0));
}

/** Puts a panel that has a text where there is room for it; hides it where there is none. */
void Overlay::Place(PanelIndex panel, PanelLayout& layout, std::vector<PanelPlace> const& places) {
    Panel& placed = GetPanel(panel);
    if (!placed.pNode->GetVisibleProperty().GetValue()) {
        return;
    }
    SizeT<int> const size(static_cast<int>(placed.bounds.GetWidth()),
                          static_cast<int>(placed.bounds.GetHeight()));
    std::optional<RectangleT<int>> const box = layout.Place(size, places);
    SetVisible(*placed.pNode, box.has_value());
    if (box) {
        MoveTo(panel, static_cast<RealFloat>(box->left),
               static_cast<RealFloat>(m_viewSize.height - box->bottom));
    }
}

/** Those first that matter most: they keep the room that there is. */
void Overlay::PlacePanels(OverlayTexts const& texts) {
    int const nEdge = m_nRoom;
    RectangleT<int> const area(nEdge, nEdge, m_viewSize.width - nEdge, m_viewSize.height - nEdge - BarHeight);
    SizeT<int> const most(area.GetWidth(), area.GetHeight());
    PanelLayout layout(area);
    SetText(Help, texts.help, SizeT<int>(most.width, INT_MAX));
    RectangleT<RealFloat> const& help = GetPanel(Help).bounds;
    bool const fHelpFits = help.GetHeight() <= static_cast<RealFloat>(most.height);
    SetText(ShortHelp, fHelpFits ? "" : texts.shortHelp, most);
    SetVisible(*GetPanel(Help).pNode, fHelpFits && !texts.help.empty());
    Place(Help, layout, {PanelPlace::Middle});
    Place(ShortHelp, layout, {PanelPlace::Middle});
    // The scene is to be seen beside what is wrong with another one, which is told in full elsewhere.
    SetText(Message, texts.message, SizeT<int>(most.width, std::max(most.height / 2, MessageHeight)));
    Place(Message, layout, {PanelPlace::LowerLeft, PanelPlace::UpperLeft});
    layout.KeepVisible(texts.pickedAt);
    SetText(Picked, texts.picked, most);
    Place(Picked, layout,
          {PanelPlace::UpperRight, PanelPlace::LowerRight, PanelPlace::UpperLeft, PanelPlace::LowerLeft});
    SetText(Figures, texts.figures, most);
    Place(Figures, layout,
          {PanelPlace::UpperLeft, PanelPlace::UpperRight, PanelPlace::LowerLeft, PanelPlace::LowerRight});
}

void Overlay::PlaceBar(SizeT<int> const& window, PlayBar const& bar) {
    SetText(BarText, bar.text, window);
    Panel& panel = GetPanel(BarText);
    RectangleT<RealFloat> const& bounds = panel.bounds;
    RealFloat const height = BarHeight;
    MoveTo(BarText, 0, (height - bounds.GetHeight()) / 2);
    SetBox(*panel.pGround, bounds.left, std::floor((bounds.top + bounds.bottom - height) / 2),
           static_cast<RealFloat>(window.width), height);
    // It does not move with every digit.
    m_nTrackLeft = std::max(m_nTrackLeft, static_cast<int>(bounds.GetWidth()) + m_nRoom);
    auto const length = static_cast<RealFloat>(std::max(window.width - m_nRoom - m_nTrackLeft, 1));
    auto const left = static_cast<RealFloat>(m_nTrackLeft);
    SetBox(*m_pTrack, left, height / 2 - 3, length, 6);
    SetBox(*m_pPlayed, left, height / 2 - 3,
           std::max<RealFloat>(1, std::round(length * static_cast<RealFloat>(bar.rPlayed))), 6);
}

double Overlay::GetPlace(int x, SizeT<int> const& window) const {
    int const nLength = std::max(window.width - m_nRoom - m_nTrackLeft, 1);
    return std::clamp(static_cast<double>(x - m_nTrackLeft) / nLength, 0.0, 1.0);
}

/** Has a unit be a pixel of the window, from the lower left corner on. */
void Overlay::SetView(SizeT<int> const& window) {
    if (m_viewSize.width == window.width && m_viewSize.height == window.height) {
        return;
    }
    m_viewSize = window;
    m_nRoom = window.height < SmallHeight ? SmallRoom : Room;
    m_nTrackLeft = 0;
    for (Panel& panel : m_panels) {
        panel.sText.clear(); // what is too wide has changed
    }
    m_pScene->GetRoot()->GetCamera()->GetViewRectangleProperty().SetValue(RectangleT<RealFloat>(
        0, static_cast<RealFloat>(window.height), static_cast<RealFloat>(window.width), 0));
}

void Overlay::Draw(GraphicsDevice& device, SizeT<int> const& window, OverlayTexts const& texts) {
    bool const fTexts = !texts.figures.empty() || !texts.picked.empty() || !texts.help.empty() ||
                        !texts.message.empty() || texts.bar.has_value();
    if (!m_pScene || !fTexts) {
        return;
    }
    SetView(window);
    PlacePanels(texts);
    SetVisible(*m_pTracks, texts.bar.has_value());
    if (texts.bar) {
        PlaceBar(window, *texts.bar);
    } else {
        SetText(BarText, "", window);
    }
    device.SetViewport(0, 0, window.width, window.height);
    // The scene may count on it from one frame to the next.
    bool const fDepthTest = device.IsDepthTestEnabled();
    device.SetDepthTestEnabled(false);
    m_pScene->Update(device, 0);
    m_pScene->GetRoot()->Render(device);
    device.SetDepthTestEnabled(fDepthTest);
}

} // namespace kelvokit::player
