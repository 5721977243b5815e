#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <iterator>

namespace trevik::kelvo::assets {

namespace {

/** The stencil has bits for so many masked nodes inside each other. */
constexpr int DeepestMasks = 15;

struct ModeName {
    char const* pName;
    int nMode;
};
constexpr ModeName ModeNames[] = {
    {"normal", BlendMode::Normal}, {"additive", BlendMode::Additive},     {"multiply", BlendMode::Multiply},
    {"screen", BlendMode::Screen}, {"colorDodge", BlendMode::ColorDodge}, {"invert", BlendMode::Invert},
};

bool IsAnyOf(int nMode, std::initializer_list<int> modes) {
    return std::find(modes.begin(), modes.end(), nMode) != modes.end();
}

std::string DescribeMode(int nMode) {
    for (ModeName const& mode : ModeNames) {
        if (mode.nMode == nMode) {
            return std::string("\"") + mode.pName + "\"";
        }
    }
    return std::to_string(nMode);
}

std::string Join(std::vector<std::string> const& parts) {
    std::string text;
    for (std::size_t n = 0; n < parts.size(); ++n) {
        text += (n == 0 ? "" : n + 1 == parts.size() ? " and " : ", ") + parts[n];
    }
    return text;
}

/** "a Text", "an AlphaTestGroup". */
std::string DescribeClass(SceneStep const& step) {
    std::string const name = GetWrittenClass(step);
    return (name[0] == 'A' ? "an " : "a ") + name;
}

/** Masks, effects and blend modes, and cameras and sprites that nothing is seen of. */
class DrawingCheck : public SceneCheck {
public:
    DrawingCheck(bool fExact, SceneNotes& notes) : SceneCheck(notes), m_fExact(fExact) {}

    void Enter(SceneStep const& step) override {
        TransformNode* const pNode = step.node.GetTransformNode();
        if (!pNode) {
            return;
        }
        bool const fSprite = pNode->IsKindOf(Sprite::ClassID);
        CheckMasks(step, *pNode, fSprite);
        std::optional<unsigned int> const drawnBy = CheckEffects(step, *pNode, fSprite);
        if (fSprite) {
            Sprite& sprite = static_cast<Sprite&>(*pNode);
            if (drawnBy) {
                CheckDrawnByEffect(step, sprite, *pNode->GetEffects()[*drawnBy]);
            } else {
                CheckDrawnBySelf(step, sprite);
            }
            CheckContent(step, sprite);
        }
        if (pNode->IsKindOf(Camera::ClassID) && step.role == SceneRole::Child) {
            Warn(step, "", WarningId::CameraInTree,
                 "a camera among the nodes is only kept; give it to a timeline as its \"camera\"");
        }
    }

    void Leave(SceneStep const& step) override {
        TransformNode* const pNode = step.node.GetTransformNode();
        if (pNode && !pNode->GetMasks().IsEmpty() && pNode->IsKindOf(Timeline::ClassID)) {
            --m_nMasked;
        }
    }

private:
    static char const* FindMasks(SceneStep const& step) {
        return step.place.Find("masks") || !step.place.Find("clip") ? "masks" : "clip";
    }

    void CheckMasks(SceneStep const& step, TransformNode& node, bool fSprite) {
        if (node.GetMasks().IsEmpty()) {
            return;
        }
        bool const fTimeline = node.IsKindOf(Timeline::ClassID);
        if (!fSprite && !fTimeline) {
            Warn(step, FindMasks(step), WarningId::MasksNotDrawn,
                 DescribeClass(step) + " draws no masks; only sprites and timelines do");
            return;
        }
        // Those of a sprite are taken out again before what is below it is drawn.
        m_nMasked += fTimeline ? 1 : 0;
        int const nDepth = m_nMasked + (fTimeline ? 0 : 1);
        if (nDepth > DeepestMasks) {
            Warn(step, FindMasks(step), WarningId::MasksTooDeep,
                 "masks lie inside " + std::to_string(nDepth - 1) + " others; 15 levels can be drawn");
        }
    }

    /** The index of the effect that draws the sprite, if one does. */
    std::optional<unsigned int> CheckEffects(SceneStep const& step, TransformNode& node, bool fSprite) {
        std::optional<unsigned int> drawnBy;
        for (unsigned int n = 0; n < node.GetEffects().GetCount(); ++n) {
            Effect const& effect = *node.GetEffects()[n];
            bool const fTimelineEffect =
                IsEffect(effect, "GaussianBlurEffect") || IsEffect(effect, "GroupOpacityEffect");
            bool const fSpriteEffect =
                IsEffect(effect, "DirectionalBlurEffect") || IsEffect(effect, "BlendModeEffect");
            bool const fBackdrop = IsEffect(effect, "BackdropBlurEffect");
            if (!fTimelineEffect && !fSpriteEffect && !fBackdrop) {
                continue; // an application's own
            }
            std::string const key = "effects/" + std::to_string(n);
            if (fTimelineEffect ? !node.IsKindOf(Timeline::ClassID) : !fSprite) {
                Warn(step, key, WarningId::EffectNotDrawn,
                     "it does not change " + DescribeClass(step) + ", only " +
                         (fTimelineEffect ? "timelines"
                          : fBackdrop     ? "sprites"
                                          : "sprites with a texture"));
            } else if (fSpriteEffect && !static_cast<Sprite&>(node).GetTexture()) {
                Warn(step, key, WarningId::EffectWithoutTexture,
                     "it draws a sprite's texture, and this one has none");
            } else if ((fSpriteEffect || fBackdrop) && drawnBy) {
                Warn(step, key, WarningId::EffectNotFirst, "the effect before it draws the sprite already");
            } else if (fSpriteEffect) {
                drawnBy = n;
            } else if (fBackdrop) {
                CheckBackdrop(step, key, static_cast<Sprite&>(node), *node.GetEffects()[n]);
            }
        }
        return drawnBy;
    }

    void CheckBackdrop(SceneStep const& step, std::string const& key, Sprite& sprite, Effect& effect) {
        BaseProperty<RealFloat>* const pRadius = FindProperty<RealFloat>(effect.GetProperties(), "Radius");
        if (!pRadius || !EverExceeds(*pRadius, 0)) {
            Warn(step, key, WarningId::BlurWithoutAmount, "without a \"Radius\" above 0 nothing is blurred");
        } else if (HasBands(sprite)) {
            Warn(step, key, WarningId::EffectNotDrawn, "it does not change a sprite that stretches in bands");
        }
    }

    void CheckDrawnBySelf(SceneStep const& step, Sprite& sprite) {
        TakesValue(sprite.GetBlendModeProperty(), [&](int nMode) {
            if (nMode != BlendMode::Normal) {
                Warn(step, "BlendMode", WarningId::BlendModeNotDrawn,
                     "the sprite is not drawn in the mode " + DescribeMode(nMode) +
                         " without an effect that does, and a texture");
            }
            return nMode != BlendMode::Normal;
        });
    }

    void CheckDrawnByEffect(SceneStep const& step, Sprite& sprite, Effect const& effect) {
        bool const fModes = IsEffect(effect, "BlendModeEffect");
        SizeT<int> const size = sprite.GetSizeProperty().GetValue();
        if (!m_fExact && step.role == SceneRole::Child && (size.width != 1 || size.height != 1)) {
            Warn(step, FindGiven(step.place, "Size"), WarningId::EffectSize,
                 "the effect puts the corners of a sprite in the right places only with the size 1 by 1");
        }
        CheckLeftOut(step, sprite);
        CheckModes(step, sprite, fModes);
        if (fModes && !m_fExact) {
            CheckCamera(step);
        }
    }

    void CheckLeftOut(SceneStep const& step, Sprite& sprite) {
        std::vector<std::string> missing;
        if (HasBands(sprite)) {
            missing.push_back("bands");
        }
        if (TakesValue(sprite.GetAntialiasProperty(), [](bool fOn) { return fOn; })) {
            missing.push_back("smooth edges");
        }
        if (!missing.empty()) {
            Warn(step, "effects", WarningId::EffectDrawsPlainly,
                 "the effect draws the sprite without its " + Join(missing));
        }
        if (HasEtc1Alpha(*sprite.GetTexture())) {
            Warn(step, "texture", WarningId::Etc1Alpha, "the effect draws an ETC1 picture without its alpha");
        }
    }

    static bool IsFaded(TransformNode& node) {
        return TakesValue(node.GetOpacityProperty(), [](RealFloat opacity) { return opacity < 1; });
    }

    void CheckModes(SceneStep const& step, Sprite& sprite, bool fModes) {
        bool const fFadedItself = IsFaded(sprite);
        bool fFaded = fFadedItself;
        for (SceneStep const* pAbove = step.pAbove; pAbove && !fFaded; pAbove = pAbove->pAbove) {
            TransformNode* const pNode = pAbove->node.GetTransformNode();
            fFaded = pNode && IsFaded(*pNode);
        }
        TakesValue(sprite.GetBlendModeProperty(), [&](int nMode) {
            bool const fNeedsModes = IsAnyOf(
                nMode, {BlendMode::Multiply, BlendMode::Screen, BlendMode::ColorDodge, BlendMode::Invert});
            bool const fDrawn =
                nMode == BlendMode::Normal || nMode == BlendMode::Additive || (fNeedsModes && fModes);
            bool const fFades =
                m_fExact || !IsAnyOf(nMode, {BlendMode::Multiply, BlendMode::ColorDodge, BlendMode::Invert});
            if (!fDrawn) {
                Warn(step, "BlendMode", WarningId::BlendModeIgnored,
                     "the effect draws the mode " + DescribeMode(nMode) + " as \"normal\"");
            } else if (fFaded && !fFades) {
                Warn(step, fFadedItself ? "Opacity" : "BlendMode", WarningId::BlendModeOpacity,
                     "the mode " + DescribeMode(nMode) + " does not know opacity" +
                         (fFadedItself ? "" : ", which a node above has") + "; fade the texture");
            }
            return !fDrawn || (fFaded && !fFades);
        });
    }

    /** The program leaves the projection out, so that only a camera without one fits. */
    void CheckCamera(SceneStep const& step) {
        if (step.place.Find("CameraDepth")) {
            return;
        }
        for (SceneStep const* pStep = step.pAbove; pStep; pStep = pStep->pAbove) {
            Camera* const pCamera = pStep->node.IsKindOf(Timeline::ClassID)
                                        ? static_cast<Timeline&>(pStep->node).GetCamera()
                                        : nullptr;
            if (!pCamera && pStep->pAbove) {
                continue;
            }
            if (!pCamera || GetFixed(pCamera->GetOrthographicProperty()) == false) {
                Warn(step, "", WarningId::BlendModeCamera,
                     "a BlendModeEffect draws without projection; put the sprite below a timeline with the "
                     "camera {\"Orthographic\": true}");
            }
            return;
        }
    }

    void CheckContent(SceneStep const& step, Sprite& sprite) {
        SizeT<int> const size = sprite.GetSizeProperty().GetValue();
        if (step.role == SceneRole::Child && GetFixed(sprite.GetSizeProperty()) &&
            (size.width == 0 || size.height == 0)) {
            std::string const given = FindGiven(step.place, "Size");
            Warn(step, given, WarningId::SpriteWithoutContent,
                 !given.empty() ? "a side of 0 leaves nothing to draw"
                                : "without \"texture\" and \"Size\" there is nothing to draw");
        }
    }

    bool const m_fExact; ///< effects draw sprites in their places and know opacity
    int m_nMasked = 0;   ///< timelines with masks around the node
};

} // namespace

std::unique_ptr<SceneVisitor> MakeDrawingCheck(BuiltScene const& built, SceneNotes& notes) {
    return std::make_unique<DrawingCheck>(built.scene.GetSettings().m_fExactEffects, notes);
}

} // namespace trevik::kelvo::assets
