#include "play/Stage.h"

#include "kelvo_effects/BackdropBlurEffect.h"
#include "kelvo_effects/GroupOpacityEffect.h"
#include "play/HeldTraces.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/BlendModeEffect.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Timeline.h"

#include <kelvo_desktop/Display.h>

#include <algorithm>
#include <iterator>

namespace kelvokit::player {

using trevik::RectangleT;
using trevik::ScopeCounter;
using trevik::kelvo::BlendModeEffect;
using trevik::kelvo::DirectionalBlurEffect;
using trevik::kelvo::Effect;
using trevik::kelvo::Fault;
using trevik::kelvo::GaussianBlurEffect;
using trevik::kelvo::Node;
using trevik::kelvo::Scene;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::Timeline;
using trevik::kelvo::TransformNode;
using trevik::kelvo::effects::BackdropBlurEffect;
using trevik::kelvo::effects::GroupOpacityEffect;

namespace {

/** Why there is no display to draw with, behind a colon; empty when there is one. */
std::string GetDisplayProblem() {
    std::string const display = desktop::DescribeDisplay();
    std::string const none = "none: ";
    return display.compare(0, none.size(), none) == 0 ? ": " + display.substr(none.size()) : "";
}

/** What effects of a class draw with, which a device may not have. */
struct EffectNeed {
    unsigned int nClassID;
    char const* pName;
    char const* pNeed;
};

EffectNeed const EffectNeeds[] = {
    {GaussianBlurEffect::ClassID, "GaussianBlurEffect", "targets of half the surface's size"},
    {DirectionalBlurEffect::ClassID, "DirectionalBlurEffect", "programs of its own"},
    {BlendModeEffect::ClassID, "BlendModeEffect", "programs of its own"},
    {GroupOpacityEffect::ClassID, "GroupOpacityEffect",
     "targets of the surface's size with 8 bits a channel, depth and stencil"},
    {BackdropBlurEffect::ClassID, "BackdropBlurEffect",
     "copies of the surface and targets with 8 bits a channel"},
};

bool IsBlur(Effect const* pEffect) {
    return pEffect->IsKindOf(GaussianBlurEffect::ClassID);
}

/** Adds the effects of a node and of those below it, but for blurs of other nodes than timelines. */
void FindEffects(Node& node, std::vector<Effect const*>& effects) {
    if (TransformNode* const pTransform = node.GetTransformNode()) {
        bool const fTimeline = node.IsKindOf(Timeline::ClassID);
        trevik::List<Effect*> const& own = pTransform->GetEffects();
        std::copy_if(own.begin(), own.end(), std::back_inserter(effects),
                     [&](Effect const* pEffect) { return fTimeline || !IsBlur(pEffect); });
    }
    for (Node* const pChild : node.GetChildren()) {
        FindEffects(*pChild, effects);
    }
}

bool Fail(Fault& fault, std::string const& what) {
    fault = Fault(std::string(), what);
    return false;
}

} // namespace

bool Stage::Start(NativeWindow& window, SceneSettings const& settings, Fault& fault) {
    ScopeCounter::SetProfiling(m_options.fStats || !m_options.trace.empty());
    m_pDevice = m_backend.CreateDevice();
    HeldTraces traces;
    bool const fStarted = m_pDevice && m_pDevice->Initialize(&window, settings.m_format, settings.m_size);
    traces.Release(!fStarted || m_options.fVerbose);
    return fStarted || Fail(fault, "no graphics device can be had for a surface of " +
                                       std::to_string(settings.m_size.width) + "x" +
                                       std::to_string(settings.m_size.height) + " pixels, " +
                                       GetFormatName(settings.m_format) + GetDisplayProblem());
}

bool Stage::Prepare(Scene& scene, Fault& fault) {
    trevik::SizeT<int> const size = m_pDevice->GetSize();
    m_pDevice->SetViewport(0, 0, size.width, size.height);
    bool const fExact = scene.GetSettings().m_fExactEffects;
    if (!m_backend.SetExactEffects(*m_pDevice, fExact) && fExact) {
        return Fail(fault, "the scene asks for exact effects, which the back end does not have");
    }
    m_effects.clear();
    FindEffects(*scene.GetRoot(), m_effects);
    // Targets that are there serve the next scene, too: they are as large as the surface.
    bool const fTargets = m_options.fPost || std::any_of(m_effects.begin(), m_effects.end(), IsBlur);
    if (fTargets && !m_fTargets && !m_backend.InitializeTargetBuffers(*m_pDevice)) {
        return Fail(fault, std::string(m_options.fPost ? "--post" : "the scene's GaussianBlurEffect") +
                               " needs frame targets, which the device cannot make");
    }
    m_fTargets = m_fTargets || fTargets;
    return scene.PromoteTextures(fault);
}

template <class Drawing>
void Stage::DrawWith(Drawing draw) {
    if (m_options.fPost) {
        m_backend.BeginPostProcess(*m_pDevice);
    }
    draw();
    if (m_options.fPost) {
        m_backend.EndPostProcess(*m_pDevice);
    }
}

void Stage::Draw(Scene& scene) {
    DrawWith([&] { scene.DrawFrame(*m_pDevice); });
}

void Stage::DrawScaled(Scene& scene, RectangleT<int> const& viewport) {
    // A target has a viewport of its own while it is drawn into, and gives this one back.
    m_pDevice->SetViewport(viewport.left, viewport.top, viewport.GetWidth(), viewport.GetHeight());
    DrawWith([&] {
        m_pDevice->SetClearColor(scene.GetSettings().m_clearColor);
        m_pDevice->Clear();
        scene.GetRoot()->Render(*m_pDevice);
    });
}

bool Stage::HasDrawn(int nFrame, Fault& fault) const {
    for (Effect const* const pEffect : m_effects) {
        for (EffectNeed const& need : EffectNeeds) {
            if (pEffect->HasFailed() && pEffect->IsKindOf(need.nClassID)) {
                return Fail(fault, "frame " + std::to_string(nFrame) + ": the scene's " + need.pName +
                                       " needs " + need.pNeed + ", which the device cannot make");
            }
        }
    }
    return true;
}

} // namespace kelvokit::player
