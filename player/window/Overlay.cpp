#include "window/Overlay.h"

#include "scene/SceneReader.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Timeline.h"

#include <algorithm>
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

constexpr int Padding = 8;  ///< of a text on its ground
constexpr int Distance = 8; ///< of panels from the window's edges

/** Families that one or the other system has, in the order in which they are liked. */
char const* const Families[] = {"DejaVu Sans", "Noto Sans", "Liberation Sans", "Lato", "FreeSans"};

/** In the order of PanelIndex. */
char const* const PanelNames[] = {"figures", "picked", "help", "message", "bar"};
constexpr int TabWidths[] = {90, 40, 150, 40, 40};

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

/** Shows a text in a panel and measures it; no text hides the panel. */
void Overlay::SetText(PanelIndex panel, std::string const& text, int nWidest) {
    Panel& shown = m_panels[static_cast<std::size_t>(panel)];
    SetVisible(*shown.pNode, !text.empty());
    if (text.empty() || text == shown.sText) {
        return;
    }
    shown.sText = text;
    shown.pText->GetTextProperty().SetValue(String16(String8(text.c_str())));
    // What is too wide is broken into lines of that width.
    shown.pText->GetBoxProperty().SetValue({0, 0});
    shown.pText->UpdateLayout();
    RectangleT<RealFloat> bounds;
    shown.pText->GetTextRenderRect(bounds);
    if (bounds.GetWidth() > static_cast<RealFloat>(nWidest)) {
        shown.pText->GetBoxProperty().SetValue({static_cast<RealFloat>(std::max(nWidest, 1)), 0});
        shown.pText->UpdateLayout();
        shown.pText->GetTextRenderRect(bounds);
    }
    RealFloat const pad = Padding;
    shown.bounds = RectangleT<RealFloat>(std::floor(bounds.left) - pad, std::floor(bounds.top) - pad,
                                         std::ceil(bounds.right) + pad, std::ceil(bounds.bottom) + pad);
    SetBox(*shown.pGround, shown.bounds.left, shown.bounds.top, shown.bounds.GetWidth(),
           shown.bounds.GetHeight());
}

/** Puts a panel's lower left corner there. */
void Overlay::Place(PanelIndex panel, RealFloat x, RealFloat y) {
    Panel& placed = m_panels[static_cast<std::size_t>(panel)];
    if (!placed.pNode->GetVisibleProperty().GetValue()) {
        return;
    }
    placed.pNode->GetPositionProperty().SetValue(
        Vector3T<RealFloat>(std::floor(x) - placed.bounds.left, std::floor(y) - placed.bounds.top, 0));
}

void Overlay::PlaceBar(SizeT<int> const& window, PlayBar const& bar) {
    SetText(BarText, bar.text, window.width);
    Panel& panel = m_panels[BarText];
    RectangleT<RealFloat> const& bounds = panel.bounds;
    RealFloat const height = BarHeight;
    Place(BarText, 0, (height - bounds.GetHeight()) / 2);
    SetBox(*panel.pGround, bounds.left, std::floor((bounds.top + bounds.bottom - height) / 2),
           static_cast<RealFloat>(window.width), height);
    // It does not move with every digit.
    m_nTrackLeft = std::max(m_nTrackLeft, static_cast<int>(bounds.GetWidth()) + Padding);
    auto const length = static_cast<RealFloat>(std::max(window.width - Padding - m_nTrackLeft, 1));
    auto const left = static_cast<RealFloat>(m_nTrackLeft);
    SetBox(*m_pTrack, left, height / 2 - 3, length, 6);
    SetBox(*m_pPlayed, left, height / 2 - 3,
           std::max<RealFloat>(1, std::round(length * static_cast<RealFloat>(bar.rPlayed))), 6);
}

double Overlay::GetPlace(int x, SizeT<int> const& window) const {
    int const nLength = std::max(window.width - Padding - m_nTrackLeft, 1);
    return std::clamp(static_cast<double>(x - m_nTrackLeft) / nLength, 0.0, 1.0);
}

/** Has a unit be a pixel of the window, from the lower left corner on. */
void Overlay::SetView(SizeT<int> const& window) {
    if (m_viewSize.width == window.width && m_viewSize.height == window.height) {
        return;
    }
    m_viewSize = window;
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
    int const nWidest = window.width - 2 * (Distance + Padding);
    auto const width = static_cast<RealFloat>(window.width);
    auto const height = static_cast<RealFloat>(window.height);
    RealFloat const distance = Distance;
    auto const bounds = [this](PanelIndex panel) { return m_panels[static_cast<std::size_t>(panel)].bounds; };
    SetText(Figures, texts.figures, nWidest);
    Place(Figures, distance, height - distance - bounds(Figures).GetHeight());
    SetText(Picked, texts.picked, nWidest);
    Place(Picked, width - distance - bounds(Picked).GetWidth(),
          height - distance - bounds(Picked).GetHeight());
    SetText(Help, texts.help, nWidest);
    Place(Help, (width - bounds(Help).GetWidth()) / 2, (height - bounds(Help).GetHeight()) / 2);
    SetText(Message, texts.message, nWidest);
    Place(Message, distance, distance + BarHeight);
    SetVisible(*m_pTracks, texts.bar.has_value());
    if (texts.bar) {
        PlaceBar(window, *texts.bar);
    } else {
        SetText(BarText, "", nWidest);
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
