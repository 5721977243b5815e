#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Text.h"

namespace trevik::kelvo::assets {

namespace {

/** Whether the node's own properties let it be seen in all frames. */
bool IsAlwaysVisible(Node& node) {
    TransformNode* const pNode = node.GetTransformNode();
    return pNode && GetFixed(pNode->GetVisibleProperty()) == true &&
           GetFixed(pNode->GetOpacityProperty()).value_or(RealFloat(0)) > 0;
}

bool DrawsSomething(Node& node) {
    if (node.IsKindOf(Sprite::ClassID)) {
        SizeT<int> const size = static_cast<Sprite&>(node).GetSizeProperty().GetValue();
        return size.width != 0 && size.height != 0;
    }
    return node.IsKindOf(Text::ClassID) && !static_cast<Text&>(node).GetTextProperty().GetValue().IsEmpty();
}

/** Blurs, which cover all that has been drawn, and are drawn as the last thing before them. */
class BlurCheck : public SceneCheck {
public:
    using SceneCheck::SceneCheck;

    void Enter(SceneStep const& step) override {
        if (step.role == SceneRole::Camera) {
            return;
        }
        m_steps.push_back({m_steps.empty() ? IsAlwaysVisible(step.node)
                                           : m_steps.back().fVisible && IsAlwaysVisible(step.node),
                           false});
        if (step.node.IsKindOf(Timeline::ClassID)) {
            EnterTimeline(step);
        } else if (DrawsSomething(step.node)) {
            if (m_sDrawn.empty() && m_steps.back().fVisible) {
                m_sDrawn = "line " + std::to_string(step.place.GetValue().GetLine());
            }
            NoteMode(step);
        }
    }

    void Leave(SceneStep const& step) override {
        if (step.role == SceneRole::Camera) {
            return;
        }
        if (m_steps.back().fBlurred) {
            --m_nBlurs;
            if (!m_fLastPlain || m_fDepthTest) {
                Warn(step, "effects", WarningId::BlurLastDrawn,
                     m_fDepthTest
                         ? "the depth test is on where the blurred layer is drawn, which it may hide"
                         : "the last thing below the timeline is in another mode than \"normal\", and "
                           "the blurred layer is drawn in it, too");
            }
        }
        m_steps.pop_back();
    }

private:
    struct Above {
        bool fVisible; ///< in all frames
        bool fBlurred;
    };

    /** An animated mode counts as plain, as it may be when the layer is drawn. */
    void NoteMode(SceneStep const& step) {
        bool const fPlain =
            !step.node.IsKindOf(Sprite::ClassID) ||
            GetFixed(static_cast<Sprite&>(step.node).GetBlendModeProperty()).value_or(BlendMode::Normal) ==
                BlendMode::Normal;
        // In another mode nothing is drawn without an effect.
        if (fPlain || !step.node.GetTransformNode()->GetEffects().IsEmpty()) {
            m_fLastPlain = fPlain;
        }
    }

    void EnterTimeline(SceneStep const& step) {
        Timeline& timeline = static_cast<Timeline&>(step.node);
        int const nTest = GetFixed(timeline.GetDepthTestProperty()).value_or(-1);
        m_fDepthTest = nTest == -1 ? m_fDepthTest : nTest == 1;
        for (unsigned int n = 0; n < timeline.GetEffects().GetCount(); ++n) {
            if (IsEffect(*timeline.GetEffects()[n], "GaussianBlurEffect")) {
                EnterBlur(step, n, *timeline.GetEffects()[n]);
            }
        }
    }

    void EnterBlur(SceneStep const& step, unsigned int nEffect, Effect& effect) {
        std::string const key = "effects/" + std::to_string(nEffect);
        BaseProperty<RealFloat>* const pAmount =
            FindProperty<RealFloat>(effect.GetProperties(), "BlurAmount");
        if (!pAmount || !TakesValue(*pAmount, [](RealFloat amount) { return amount > 0; })) {
            Warn(step, key, WarningId::BlurWithoutAmount,
                 "without a \"BlurAmount\" above 0 nothing is blurred");
            return;
        }
        if (m_nBlurs > 0) {
            Warn(step, key, WarningId::BlurInBlur,
                 "of a blur inside of another one only the clear colour remains");
        } else if (!m_sDrawn.empty()) {
            Warn(step, key, WarningId::BlurCoversOthers,
                 "the blur covers all that has been drawn before it, such as the node on " + m_sDrawn +
                     "; put that into the blurred timeline");
        }
        if (!m_steps.back().fBlurred) {
            m_steps.back().fBlurred = true;
            ++m_nBlurs;
        }
    }

    std::vector<Above> m_steps;
    int m_nBlurs = 0;         ///< around the node
    std::string m_sDrawn;     ///< where what is always drawn first stands; empty for nothing so far
    bool m_fLastPlain = true; ///< what has been drawn last is in the mode "normal"
    bool m_fDepthTest = false;
};

} // namespace

void CheckBlurs(BuiltScene const& built, SceneNotes& notes) {
    BlurCheck check(notes);
    WalkScene(built.file, *built.scene.GetRoot(), check);
}

} // namespace trevik::kelvo::assets
