#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace trevik::kelvo::assets {

namespace {

/** Whether the node's own properties let it be seen in all frames. */
bool IsAlwaysVisible(Node& node) {
    TransformNode* const pNode = node.GetTransformNode();
    return pNode && GetFixed(pNode->GetVisibleProperty()) == true &&
           GetFixed(pNode->GetOpacityProperty()).value_or(RealFloat(0)) > 0;
}

/** From the first to the last one; all unless something else is known. */
struct Frames {
    int nFirst = std::numeric_limits<int>::min();
    int nLast = std::numeric_limits<int>::max();

    bool IsEmpty() const { return nFirst > nLast; }
};

Frames Overlap(Frames const& one, Frames const& other) {
    return {std::max(one.nFirst, other.nFirst), std::min(one.nLast, other.nLast)};
}

/** Between two frames a value may be on its way: whether the ones beside count, too. */
enum class Beside { Left, Taken };

/** Between which frames a property may have a value that `fits`. */
template <class T, class Fits>
Frames FindFrames(BaseProperty<T> const& property, Beside beside, Fits fits) {
    SampleController<T> const* const pSamples = GetSamples(property);
    Frames frames;
    if (!pSamples) {
        return property.GetControllerCount() > 0 || fits(property.GetValue()) ? frames : Frames{1, 0};
    }
    unsigned int nFirst = 0;
    unsigned int nEnd = pSamples->GetSampleCount();
    while (nFirst < nEnd && !fits(pSamples->GetSample(nFirst))) {
        ++nFirst;
    }
    while (nEnd > nFirst && !fits(pSamples->GetSample(nEnd - 1))) {
        --nEnd;
    }
    if (nFirst == nEnd) {
        return {1, 0};
    }
    // The end values hold before and behind.
    int const nStart = pSamples->GetStartFrame();
    int const nBeside = beside == Beside::Taken ? 1 : 0;
    frames.nFirst = nFirst == 0 ? frames.nFirst : nStart + static_cast<int>(nFirst) - nBeside;
    frames.nLast =
        nEnd == pSamples->GetSampleCount() ? frames.nLast : nStart + static_cast<int>(nEnd) - 1 + nBeside;
    return frames;
}

Frames FindVisibleFrames(Node& node, Beside beside) {
    TransformNode* const pNode = node.GetTransformNode();
    return pNode ? Overlap(FindFrames(pNode->GetVisibleProperty(), beside,
                                      [](bool fVisible) { return fVisible; }),
                           FindFrames(pNode->GetOpacityProperty(), beside,
                                      [](RealFloat opacity) { return opacity > 0; }))
                 : Frames();
}

bool IsFadingGroup(Effect& effect) {
    BaseProperty<RealFloat>* const pOpacity = IsEffect(effect, "GroupOpacityEffect")
                                                  ? FindProperty<RealFloat>(effect.GetProperties(), "Opacity")
                                                  : nullptr;
    return pOpacity && TakesValue(*pOpacity, [](RealFloat opacity) { return opacity < 1; });
}

/** In another mode than "normal" a sprite is not drawn without an effect. */
bool IsAlwaysDrawn(Node& node) {
    if (!node.IsKindOf(Sprite::ClassID)) {
        return true;
    }
    Sprite& sprite = static_cast<Sprite&>(node);
    return GetFixed(sprite.GetBlendModeProperty()) == BlendMode::Normal || IsDrawnByEffect(sprite);
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
        m_steps.push_back(Look(step));
        if (m_steps.back().frames.IsEmpty()) {
            return;
        }
        if (step.node.IsKindOf(Timeline::ClassID)) {
            EnterTimeline(step);
        } else if (DrawsSomething(step.node)) {
            NoteDrawn(step);
            NoteMode(step);
        }
    }

    void Leave(SceneStep const& step) override {
        if (step.role == SceneRole::Camera) {
            return;
        }
        if (m_steps.back().blurred) {
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
        bool fScene = true;   ///< it moves in the scene's frames, not in those of another timeline
        bool fVisible = true; ///< in all frames
        Frames frames;        ///< in which it may be seen
        Frames seen;          ///< in which it is seen, as far as the scene's frames say so
        bool fSure = true;    ///< these say all about it
        bool fGroup = false;  ///< it, or a timeline above, fades as a group
        std::optional<Frames> blurred;
    };
    /** What has been drawn, and when; a node of the scene that is always there has all frames. */
    struct Drawn {
        JsonCursor place;
        bool fAlways;
        Frames frames;
    };

    Above Look(SceneStep const& step) const {
        Above here = m_steps.empty() ? Above() : m_steps.back();
        here.blurred.reset();
        SceneStep const* const pAbove = step.pAbove;
        bool const fOwnFrames =
            pAbove && pAbove->role != SceneRole::Root && pAbove->node.IsKindOf(Timeline::ClassID);
        here.fScene = here.fScene && !fOwnFrames && step.role != SceneRole::Background;
        if (IsAlwaysVisible(step.node)) {
            return here;
        }
        here.fVisible = false;
        here.fSure = here.fSure && here.fScene;
        here.frames = Overlap(here.frames, FindVisibleFrames(step.node, Beside::Taken));
        if (here.fScene) {
            here.seen = Overlap(here.seen, FindVisibleFrames(step.node, Beside::Left));
        }
        return here;
    }

    void NoteDrawn(SceneStep const& step) {
        Above const& here = m_steps.back();
        bool const fHidesAll = !m_drawn.empty() && m_drawn.back().fAlways;
        if (!fHidesAll && here.fSure && !here.seen.IsEmpty() && IsAlwaysDrawn(step.node)) {
            m_drawn.push_back({step.place, here.fVisible, here.seen});
        }
    }

    /** What has been drawn while the timeline blurs, of which only the clear colour remains; or null. */
    Drawn const* FindCovered(BaseProperty<RealFloat> const& amount) const {
        Above const& here = m_steps.back();
        Frames const blurred =
            Overlap(here.seen, FindFrames(amount, Beside::Left, [](RealFloat value) { return value > 0; }));
        auto const found = std::find_if(m_drawn.begin(), m_drawn.end(), [&](Drawn const& drawn) {
            return drawn.fAlways || (here.fScene && !Overlap(drawn.frames, blurred).IsEmpty());
        });
        return found == m_drawn.end() ? nullptr : &*found;
    }

    /** An animated mode counts as plain, as it may be when the layer is drawn. */
    void NoteMode(SceneStep const& step) {
        bool const fPlain =
            !step.node.IsKindOf(Sprite::ClassID) ||
            GetFixed(static_cast<Sprite&>(step.node).GetBlendModeProperty()).value_or(BlendMode::Normal) ==
                BlendMode::Normal;
        if (fPlain || IsDrawnByEffect(static_cast<Sprite&>(step.node))) {
            m_fLastPlain = fPlain;
        }
    }

    void EnterTimeline(SceneStep const& step) {
        Timeline& timeline = static_cast<Timeline&>(step.node);
        int const nTest = GetFixed(timeline.GetDepthTestProperty()).value_or(-1);
        m_fDepthTest = nTest == -1 ? m_fDepthTest : nTest == 1;
        for (Effect* const pEffect : timeline.GetEffects()) {
            m_steps.back().fGroup = m_steps.back().fGroup || IsFadingGroup(*pEffect);
        }
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
        if (!pAmount || !EverExceeds(*pAmount, 0)) {
            Warn(step, key, WarningId::BlurWithoutAmount,
                 "without a \"BlurAmount\" above 0 nothing is blurred");
            return;
        }
        Frames const frames =
            Overlap(m_steps.back().frames,
                    FindFrames(*pAmount, Beside::Taken, [](RealFloat amount) { return amount > 0; }));
        if (std::any_of(m_steps.begin(), m_steps.end(), [&frames](Above const& above) {
                return above.blurred && !Overlap(*above.blurred, frames).IsEmpty();
            })) {
            Warn(step, key, WarningId::BlurInBlur,
                 "of a blur inside of another one only the clear colour remains");
        } else if (m_steps.back().fGroup) {
            Warn(step, key, WarningId::BlurInGroup,
                 "the blur goes to the surface, past the group that it is in, and does not fade with it");
        } else if (Drawn const* const pCovered = FindCovered(*pAmount)) {
            Warn(step, key, WarningId::BlurCoversOthers,
                 "the blur covers all that has been drawn before it, such as the node on " +
                     DescribeLine(pCovered->place, step) + "; put that into the blurred timeline");
        }
        m_steps.back().blurred = frames;
    }

    std::vector<Above> m_steps;
    std::vector<Drawn> m_drawn; ///< up to the first one that is always there
    bool m_fLastPlain = true;   ///< what has been drawn last is in the mode "normal"
    bool m_fDepthTest = false;
};

} // namespace

std::unique_ptr<SceneVisitor> MakeBlurCheck(BuiltScene const&, SceneNotes& notes) {
    return std::make_unique<BlurCheck>(notes);
}

} // namespace trevik::kelvo::assets
