#include "scene/SceneWalk.h"

#include "scene/ScenePlacement.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>

namespace trevik::kelvo::assets {

namespace {

void Walk(SceneStep const& step, char const* pChildren, SceneVisitor& visitor);

/** Walks on to a node that is no child. */
void WalkHeld(SceneStep const& step, char const* pKey, Node* pNode, SceneRole role, SceneVisitor& visitor) {
    std::optional<JsonCursor> const held = step.place.Find(pKey);
    if (held && pNode) {
        Walk({*held, *pNode, role, &step, pKey, 0}, "children", visitor);
    }
}

void Walk(SceneStep const& step, char const* pChildren, SceneVisitor& visitor) {
    visitor.Enter(step);
    if (step.node.IsKindOf(Timeline::ClassID)) {
        WalkHeld(step, "camera", static_cast<Timeline&>(step.node).GetCamera(), SceneRole::Camera, visitor);
    } else if (step.node.IsKindOf(Text::ClassID)) {
        WalkHeld(step, "background", static_cast<Text&>(step.node).GetBackground(), SceneRole::Background,
                 visitor);
    }
    if (std::optional<JsonCursor> const children = step.place.Find(pChildren)) {
        Node& parent = GetParentOfChildren(step);
        std::size_t const nCount =
            std::min<std::size_t>(children->GetValue().GetItems().size(), parent.GetChildCount());
        for (std::size_t n = 0; n < nCount; ++n) {
            Walk({children->GetItem(n), *parent.GetChild(static_cast<unsigned int>(n)), SceneRole::Child,
                  &step, pChildren, n},
                 "children", visitor);
        }
    }
    visitor.Leave(step);
}

} // namespace

std::string SceneStep::GetWay() const {
    if (!pAbove) {
        return "";
    }
    return pAbove->GetWay() + "/" + pKey + (role == SceneRole::Child ? "/" + std::to_string(nItem) : "");
}

std::string SceneStep::DescribeUse(std::vector<JsonValue const*> outward) const {
    if (!place.HasUses()) {
        return "";
    }
    SceneStep const* pStep = this;
    outward.push_back(&place.GetValue());
    for (; pStep->pAbove && pStep->place.GetValue().GetUse() == 0; pStep = pStep->pAbove) {
        JsonCursor const& above = pStep->pAbove->place;
        if (pStep->role == SceneRole::Child) {
            outward.push_back(above.GetValue().Find(pStep->pKey));
        }
        outward.push_back(&above.GetValue());
    }
    return place.DescribeUse(outward);
}

Node& GetParentOfChildren(SceneStep const& step) {
    bool const fStretched = step.node.GetChildCount() == 1 && HasStretchedChildren(step.place);
    return fStretched ? *step.node.GetChild(0) : step.node;
}

void WalkScene(JsonCursor const& file, Timeline& root, SceneVisitor& visitor) {
    Walk({file, root, SceneRole::Root, nullptr, nullptr, 0}, "nodes", visitor);
}

} // namespace trevik::kelvo::assets
