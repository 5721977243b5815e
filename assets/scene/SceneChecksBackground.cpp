#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"

namespace trevik::kelvo::assets {

namespace {

/** What the text sets anew at every draw. */
constexpr char const* TakenProperties[] = {"Position", "Rotation", "Pivot",       "Scale",      "Stretch",
                                           "Opacity",  "Visible",  "CameraDepth", "Selectable", "Size"};

bool Differs(BaseProperty<Vector3T<RealFloat>> const& property, RealFloat initial) {
    return TakesValue(property, [initial](Vector3T<RealFloat> const& value) {
        return value.x != initial || value.y != initial;
    });
}

/** Sprites behind texts, which are fitted to these. */
class BackgroundCheck : public SceneCheck {
public:
    using SceneCheck::SceneCheck;

    void Enter(SceneStep const& step) override {
        if (step.role != SceneRole::Background) {
            return;
        }
        CheckProperties(step);
        Texture const& texture = *static_cast<Sprite&>(step.node).GetTexture();
        if (texture.GetWidth() != texture.GetHeight() && !HasBands(step.node)) {
            Warn(step, "texture", WarningId::BackgroundSlanted,
                 "a background of " + std::to_string(texture.GetWidth()) + " by " +
                     std::to_string(texture.GetHeight()) +
                     " pixels without bands is drawn slanted; only square ones are not");
        }
        TransformNode& text = static_cast<TransformNode&>(step.pAbove->node);
        if (Differs(text.GetPivotProperty(), 0) &&
            (Differs(text.GetScaleProperty(), 1) || Differs(text.GetStretchProperty(), 1))) {
            Warn(step, "", WarningId::BackgroundDisplaced,
                 "the background of a text with both a pivot and a scale is displaced");
        }
    }

private:
    void CheckProperties(SceneStep const& step) {
        for (char const* pKey : TakenProperties) {
            std::string const given = FindGiven(step.place, pKey);
            if (!given.empty()) {
                Warn(step, given, WarningId::BackgroundProperties,
                     "a background takes its " + std::string(pKey) + " from its text");
                return;
            }
        }
        PropertyList& properties = step.node.GetProperties();
        for (unsigned int n = 0; n < properties.GetCount(); ++n) {
            PropertyList::Entry const entry = properties.GetEntry(n);
            if (entry.m_pDescriptor->m_pfnIsAnimated(entry.m_pProperty)) {
                Warn(step, FindGiven(step.place, GetEntryName(entry)), WarningId::BackgroundProperties,
                     "a background stays at frame 0");
                return;
            }
        }
    }
};

} // namespace

std::unique_ptr<SceneVisitor> MakeBackgroundCheck(BuiltScene const&, SceneNotes& notes) {
    return std::make_unique<BackgroundCheck>(notes);
}

} // namespace trevik::kelvo::assets
