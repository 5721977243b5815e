#include "kelvo_host/Scene.h"

#include "NodeStorage.h"
#include "kelvo_host/DocumentFile.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Texture.h"

#include <cmath>
#include <string>

namespace trevik::kelvo {

namespace {

constexpr unsigned int SizeID = HashName("SurfaceSize");
constexpr unsigned int FormatID = HashName("SurfaceFormat");
constexpr unsigned int FrameRateID = HashName("FrameRate");
constexpr unsigned int FirstFrameID = HashName("FirstFrame");
constexpr unsigned int LastFrameID = HashName("LastFrame");
constexpr unsigned int ClearColorID = HashName("ClearColor");
constexpr unsigned int ExactEffectsID = HashName("ExactEffects");

bool SaveSettings(Serializer& serializer, SceneSettings const& settings) {
    return serializer.WriteValue(SizeID, settings.m_size) &&
           serializer.WriteValue(FormatID, static_cast<int>(settings.m_format)) &&
           serializer.WriteValue(FrameRateID, settings.m_rFrameRate) &&
           serializer.WriteValue(FirstFrameID, settings.m_nFirstFrame) &&
           serializer.WriteValue(LastFrameID, settings.m_nLastFrame) &&
           serializer.WriteValue(ClearColorID, settings.m_clearColor) &&
           (!settings.m_fExactEffects || serializer.WriteValue(ExactEffectsID, 1));
}

bool LoadSettings(Deserializer& deserializer, SceneSettings& settings) {
    int nFormat = -1;
    if (!deserializer.ReadValue(SizeID, settings.m_size) || !deserializer.ReadValue(FormatID, nFormat) ||
        !deserializer.ReadValue(FrameRateID, settings.m_rFrameRate) ||
        !deserializer.ReadValue(FirstFrameID, settings.m_nFirstFrame) ||
        !deserializer.ReadValue(LastFrameID, settings.m_nLastFrame) ||
        !deserializer.ReadValue(ClearColorID, settings.m_clearColor)) {
        return deserializer.Fail(u"the document holds no scene");
    }
    settings.m_format = static_cast<DeviceFormat::Enum>(nFormat);
    unsigned char const* pExact = nullptr; // absent in files of scenes that do not ask for it
    unsigned long nBytes = 0;
    int nExact = 0;
    if (deserializer.FindAttribute(ExactEffectsID, pExact, nBytes) &&
        (!deserializer.ReadValue(ExactEffectsID, nExact) || nExact < 0 || nExact > 1)) {
        return deserializer.Fail(u"whether effects are exact is neither 0 nor 1");
    }
    settings.m_fExactEffects = nExact == 1;
    char16_t const* const pFault = settings.FindFault();
    return !pFault || deserializer.Fail(u"%s", pFault);
}

/** The first texture at or below a node that cannot have the surfaces it wants; null when all have them. */
Texture* PromoteBelow(Node& node) {
    if (node.IsKindOf(Sprite::ClassID)) {
        Texture* const pTexture = static_cast<Sprite&>(node).GetTexture();
        int const nWanted = pTexture ? pTexture->GetWantedSurfaces() : 0;
        if (nWanted > 0 && pTexture->Count() == 0 && !pTexture->PromoteWithImage(nWanted > 1)) {
            return pTexture;
        }
    } else if (node.IsKindOf(Text::ClassID)) {
        Sprite* const pBackground = static_cast<Text&>(node).GetBackground();
        Texture* const pFailed = pBackground ? PromoteBelow(*pBackground) : nullptr;
        if (pFailed) {
            return pFailed;
        }
    }
    for (Node* pChild : node.GetChildren()) {
        if (Texture* const pFailed = PromoteBelow(*pChild)) {
            return pFailed;
        }
    }
    return nullptr;
}

/** The root of a scene; null, noted, when there is none. */
Ref<Timeline> LoadRoot(Deserializer& deserializer) {
    Ref<Node> pNode;
    if (!LoadOptionalNode(deserializer, NodeID::Node, pNode)) {
        return nullptr;
    }
    if (!pNode || !pNode->IsKindOf(Timeline::ClassID)) {
        deserializer.Fail(u"the scene has no timeline at its root");
        return nullptr;
    }
    return Ref(static_cast<Timeline*>(pNode.Get()));
}

} // namespace

char16_t const* SceneSettings::FindFault() const {
    if (m_size.width < 1 || m_size.height < 1 || m_size.width > MaximumSide || m_size.height > MaximumSide) {
        return u"the surface's sides are not 1 to 16384 pixels";
    }
    if (m_format < DeviceFormat::RGB565 || m_format > DeviceFormat::RGBA8888) {
        return u"there is no such surface format";
    }
    if (!(m_rFrameRate > 0) || !std::isfinite(m_rFrameRate)) {
        return u"the frame rate is not above 0";
    }
    if (m_nLastFrame < m_nFirstFrame) {
        return u"the last frame comes before the first one";
    }
    if (m_nFirstFrame < -MaximumFrame || m_nLastFrame > MaximumFrame) {
        return u"the frames are not -10000000 to 10000000";
    }
    bool const fColor = std::isfinite(m_clearColor.r) && std::isfinite(m_clearColor.g) &&
                        std::isfinite(m_clearColor.b) && std::isfinite(m_clearColor.a);
    return fColor ? nullptr : u"the clear colour is no number";
}

Scene::Scene() = default;

Scene::~Scene() = default;

void Scene::SetRoot(Ref<Timeline> const& pRoot) {
    m_watches.Clear();
    m_pRoot = pRoot;
    m_fShown = false;
}

bool Scene::SetBuiltRoot(Ref<Timeline> const& pRoot, ClassRegistry& registry, Fault& fault) {
    if (!pRoot) {
        fault = Fault(std::string(), "the scene has no timeline at its root");
        return false;
    }
    Deserializer nothing(nullptr, registry);
    if (Node const* const pFailed = CompleteTree(*pRoot, nothing)) {
        String8 const sWhy(pFailed->GetPath() +
                           u": its class asks for more than can be set, or memory is short");
        fault =
            Fault(std::string(), "the scene cannot be built", std::string(sWhy.GetData(), sWhy.GetLength()));
        return false;
    }
    pRoot->Reload();
    SetRoot(pRoot);
    return true;
}

/** Why the scene as it stands could not be loaded again; null when it could. */
char16_t const* Scene::FindFault() const {
    return m_pRoot ? m_settings.FindFault() : u"it has no timeline at its root";
}

bool Scene::Save(Serializer& serializer) const {
    if (char16_t const* const pFault = FindFault()) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] The scene cannot be saved: %s", pFault);
        return false;
    }
    return SaveSettings(serializer, m_settings) && SaveNode(serializer, NodeID::Node, *m_pRoot);
}

bool Scene::Load(Deserializer& deserializer) {
    SceneSettings settings;
    if (!LoadSettings(deserializer, settings)) {
        return false;
    }
    Ref<Timeline> const pRoot = LoadRoot(deserializer);
    if (!pRoot) {
        return false;
    }
    pRoot->Reload();
    m_settings = settings;
    SetRoot(pRoot);
    return true;
}

bool Scene::SaveToFile(char const* pPath, Fault& fault) const {
    Serializer serializer;
    Ref<DocumentNode> const pDocument = Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
    if (!pDocument) {
        char16_t const* const pFault = FindFault();
        fault = Fault(String16::Format(u"%hs", pPath), "the scene cannot be saved",
                      String16(pFault ? pFault : u""));
        return false;
    }
    return SaveDocument(pPath, *pDocument, fault);
}

bool Scene::LoadFromFile(char const* pPath, ClassRegistry& registry, Fault& fault) {
    Ref<DocumentNode> const pDocument = LoadDocument(pPath, fault);
    if (!pDocument) {
        return false;
    }
    Deserializer deserializer(pDocument, registry);
    if (!Load(deserializer)) {
        fault = Fault(String16::Format(u"%hs", pPath), deserializer.GetError());
        return false;
    }
    return true;
}

bool Scene::PromoteTextures(Fault& fault) const {
    Texture* const pFailed = m_pRoot ? PromoteBelow(*m_pRoot) : nullptr;
    if (pFailed) {
        fault = Fault(String8(), String16::Format(u"texture \"%s\" cannot have surfaces for others to write",
                                                  pFailed->GetName().GetData()));
    }
    return !pFailed;
}

void Scene::Update(GraphicsDevice& device, RealFloat const& frame) {
    if (!m_pRoot) {
        return;
    }
    bool const fBack = m_fShown && frame < m_rShownFrame;
    if (fBack) {
        m_pRoot->Reset();
    }
    RealFloat const start =
        m_fShown && !fBack ? m_rShownFrame : static_cast<RealFloat>(m_settings.m_nFirstFrame);
    RealFloat const delta = frame > start ? (frame - start) / m_settings.m_rFrameRate : RealFloat(0);
    m_pRoot->Stop(); // the scene sets its frame
    m_pRoot->SetFrame(frame);
    m_pRoot->Update(device, frame, delta, false);
    m_rShownFrame = frame;
    m_fShown = true;
    m_watches.Tell();
}

/** Whether a node is the root, or lies below it. */
bool Scene::Contains(Node const& node) const {
    Node const* pTop = &node;
    while (pTop->GetParent()) {
        pTop = pTop->GetParent();
    }
    return pTop == m_pRoot.Get();
}

bool Scene::OnEnd(Timeline& timeline, TimelineWatches::Handler const& handler) {
    return Contains(timeline) && m_watches.AddEnd(timeline, handler);
}

bool Scene::OnFrame(Timeline& timeline, RealFloat frame, TimelineWatches::Handler const& handler) {
    return Contains(timeline) && m_watches.AddFrame(timeline, frame, handler);
}

void Scene::RenderFrame(GraphicsDevice& device) {
    DrawFrame(device);
    device.Present();
    device.Process();
}

void Scene::DrawFrame(GraphicsDevice& device) {
    SizeT<int> const size = device.GetSize();
    if (device.GetViewport() != RectangleT<int>(0, 0, size.width, size.height)) {
        device.SetViewport(0, 0, size.width, size.height);
    }
    if (device.GetClearColor() != m_settings.m_clearColor) {
        device.SetClearColor(m_settings.m_clearColor);
    }
    device.Clear();
    if (m_pRoot) {
        m_pRoot->Render(device);
    }
}

List<SelectionPoint> Scene::Pick(GraphicsDevice& device, Vector2T<RealFloat> const& point) {
    List<SelectionPoint> selected;
    if (m_pRoot) {
        device.SetSelectionMode(point, &selected);
        m_pRoot->Render(device);
        device.SetRenderMode();
    }
    return selected;
}

} // namespace trevik::kelvo
