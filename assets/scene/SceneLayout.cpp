#include "scene/SceneLayout.h"

#include "scene/PropertyValues.h"
#include "scene/SceneKeys.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>

namespace trevik::kelvo::assets {

namespace {

using Vector3 = Vector3T<RealFloat>;

constexpr RealFloat Largest = static_cast<RealFloat>(LargestNumber);

BaseProperty<Vector3>& GetVector(TransformNode& node, char const* pName) {
    return static_cast<BaseProperty<Vector3>&>(*node.GetProperties().Find(HashName(pName))->m_pProperty);
}

/** Throws where a child says itself where it is. */
void CheckChildren(JsonCursor const& place) {
    std::optional<JsonCursor> const children = place.Find("children");
    std::size_t const nChildren = children ? children->ReadCount("an array of nodes") : 0;
    for (std::size_t n = 0; n < nChildren; ++n) {
        JsonCursor const child = children->GetItem(n);
        for (char const* pName : {"Position", "Position.x", "Position.y", "Position.z"}) {
            if (std::optional<JsonCursor> const position = child.Find(pName)) {
                position->Fail("the layout of the node above says where this one is");
            }
        }
    }
}

} // namespace

void SceneLayout::Box::Cover(Box const& other) {
    if (other.IsEmpty()) {
        return;
    }
    bool const fFirst = IsEmpty();
    left = fFirst ? other.left : std::min(left, other.left);
    bottom = fFirst ? other.bottom : std::min(bottom, other.bottom);
    right = fFirst ? other.right : std::max(right, other.right);
    top = fFirst ? other.top : std::max(top, other.top);
}

void SceneLayout::Add(JsonCursor const& place, Node& parent, std::optional<RealFloat> top) {
    std::optional<JsonCursor> const layout = place.Find("layout");
    if (!layout) {
        return;
    }
    layout->ReadObject("an object with \"row\" or \"column\"");
    CheckKeys(*layout, LayoutKeys);
    std::optional<JsonCursor> const row = layout->Find("row");
    std::optional<JsonCursor> const column = layout->Find("column");
    if (row.has_value() == column.has_value()) {
        layout->FailExpected("either \"row\" or \"column\"");
    }
    JsonCursor const group = row ? *row : *column;
    group.ReadObject("an object with \"gap\" and \"align\"");
    CheckKeys(group, LayoutGroupKeys);
    RealFloat gap = 0;
    if (std::optional<JsonCursor> const given = group.Find("gap")) {
        ReadValue(*given, "gap", gap);
    }
    std::optional<JsonCursor> const align = group.Find("align");
    std::size_t const nAlign = align ? align->ReadWord("alignment", WordsOf(AlignWords)) : 0;
    CheckChildren(place);
    m_groups.push_back({Ref<Node>(&parent), row.has_value(), top, gap, static_cast<Align>(nAlign), place});
}

void SceneLayout::Place() {
    for (Group const& group : m_groups) {
        Place(group);
    }
}

void SceneLayout::Place(Group const& group) {
    std::vector<Box> boxes;
    RealFloat length = 0;
    RealFloat breadth = 0;
    for (Node* const pChild : group.pParent->GetChildren()) {
        Box const box = Measure(*pChild);
        RealFloat const width = box.right - box.left;
        RealFloat const height = box.top - box.bottom;
        length += (group.fRow ? width : height) + (boxes.empty() ? 0 : group.gap);
        breadth = std::max(breadth, group.fRow ? height : width);
        boxes.push_back(box);
    }
    if (!(length <= Largest && breadth <= Largest)) {
        group.place.Fail("what the layout places is larger than a scene may be");
    }
    RealFloat const height = group.fRow ? breadth : length;
    RealFloat const top = group.top.value_or(height);
    RealFloat reached = 0;
    std::size_t nChild = 0;
    for (Node* const pChild : group.pParent->GetChildren()) {
        Box const& box = boxes[nChild++];
        RealFloat const along = group.fRow ? box.right - box.left : box.top - box.bottom;
        RealFloat const across = group.fRow ? box.top - box.bottom : box.right - box.left;
        RealFloat const spare = group.align == Align::Start ? 0
                                : group.align == Align::End ? breadth - across
                                                            : (breadth - across) / 2;
        if (TransformNode* const pTransform = pChild->GetTransformNode()) {
            RealFloat const fromLeft = group.fRow ? reached : spare;
            RealFloat const fromTop = group.fRow ? spare : reached;
            GetVector(*pTransform, "Position")
                .SetValue(Vector3(fromLeft - box.left, top - fromTop - box.top, 0));
        }
        reached += along + group.gap;
    }
    m_placed[group.pParent.Get()] = {0, top - height, group.fRow ? length : breadth, top};
}

SceneLayout::Box SceneLayout::MeasureInside(Node& node) const {
    if (node.IsKindOf(Sprite::ClassID)) {
        SizeT<int> const size = static_cast<Sprite&>(node).GetSizeProperty().GetValue();
        return {0, 0, static_cast<RealFloat>(size.width), static_cast<RealFloat>(size.height)};
    }
    if (node.IsKindOf(Text::ClassID)) {
        RectangleT<RealFloat> rectangle;
        static_cast<Text&>(node).GetTextRenderRect(rectangle);
        return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
    }
    auto const placed = m_placed.find(&node);
    if (placed != m_placed.end()) {
        return placed->second;
    }
    Box box;
    for (Node* const pChild : node.GetChildren()) {
        if (TransformNode* const pTransform = pChild->GetTransformNode()) {
            Vector3 const position = GetVector(*pTransform, "Position").GetValue();
            Box const child = Measure(*pChild);
            box.Cover({child.left + position.x, child.bottom + position.y, child.right + position.x,
                       child.top + position.y});
        }
    }
    return box;
}

SceneLayout::Box SceneLayout::Measure(Node& node) const {
    Box const inside = MeasureInside(node);
    TransformNode* const pTransform = node.GetTransformNode();
    if (!pTransform) {
        return inside;
    }
    Vector3 const pivot = GetVector(*pTransform, "Pivot").GetValue();
    Vector3 const scale = GetVector(*pTransform, "Scale").GetValue();
    Vector3 const stretch = GetVector(*pTransform, "Stretch").GetValue();
    RealFloat const x = scale.x * stretch.x;
    RealFloat const y = scale.y * stretch.y;
    auto const [left, right] = std::minmax({(inside.left + pivot.x) * x, (inside.right + pivot.x) * x});
    auto const [bottom, top] = std::minmax({(inside.bottom + pivot.y) * y, (inside.top + pivot.y) * y});
    return {left, bottom, right, top};
}

} // namespace trevik::kelvo::assets
