#include "scene/ScenePlacement.h"

#include "scene/SceneKeys.h"
#include "scene/SceneValues.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/PropertyList.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

using Vector3 = Vector3T<RealFloat>;

constexpr RealFloat Middle = RealFloat(0.5);

template <class T>
BaseProperty<T>& GetProperty(TransformNode& node, char const* pName) {
    return static_cast<BaseProperty<T>&>(*node.GetProperties().Find(HashName(pName))->m_pProperty);
}

/** The share of its size, from the lower left corner, that lies at a node's place; nothing where none is
 * said. */
std::optional<Vector2T<RealFloat>> ReadShare(JsonCursor const& place, bool fYDown) {
    std::optional<JsonCursor> const anchor = place.Find("anchor");
    if (!anchor) {
        return fYDown ? std::optional<Vector2T<RealFloat>>({0, 1}) : std::nullopt;
    }
    if (anchor->Is(JsonValue::Kind::String)) {
        // Three rows from the top, each from the left.
        int const nAnchor = static_cast<int>(anchor->ReadWord("anchor", WordsOf(AnchorWords)));
        int const nColumn = nAnchor % 3;
        int const nRow = nAnchor / 3;
        return Vector2T<RealFloat>(Middle * static_cast<RealFloat>(nColumn),
                                   1 - Middle * static_cast<RealFloat>(nRow));
    }
    anchor->ReadCount("a corner, an edge or \"center\", or 2 numbers from 0 to 1", 2);
    RealFloat const x = static_cast<RealFloat>(anchor->GetItem(0).ReadNumber(Shares));
    RealFloat const y = static_cast<RealFloat>(anchor->GetItem(1).ReadNumber(Shares));
    return Vector2T<RealFloat>(x, fYDown ? 1 - y : y);
}

/** Throws where a node has both an anchor and what that becomes; false where it has only the latter. */
bool IsFree(JsonCursor const& place, char const* pProperty) {
    if (FindGiven(place, pProperty).empty()) {
        return true;
    }
    if (std::optional<JsonCursor> const anchor = place.Find("anchor")) {
        anchor->Fail(std::string("a node has either an anchor or \"") + pProperty + "\"");
    }
    return false;
}

/** Throws where a size that something is placed by is animated. */
template <class T>
void CheckStays(JsonCursor const& place, BaseProperty<T> const& property, char const* pName) {
    if (BaseProperty<T>::IsAnimated(&property)) {
        std::optional<JsonCursor> const given = place.Find(pName);
        (given ? *given : place)
            .Fail(std::string("the \"") + pName +
                  "\" of what has an anchor or \"stretchTo\", or lies in a scene whose y points down, cannot "
                  "be "
                  "animated");
    }
}

/** The share of the size comes to lie at the node's place; a Pivot that is given stays, counted from there.
 */
void SetPivot(JsonCursor const& place, TransformNode& node, Vector2T<RealFloat> const& share,
              SizeT<RealFloat> const& size) {
    BaseProperty<Vector3>& pivot = GetProperty<Vector3>(node, "Pivot");
    if (!IsFree(place, "Pivot") && BaseProperty<Vector3>::IsAnimated(&pivot) && size.height > 0) {
        place.Require(FindGiven(place, "Pivot"))
            .Fail("where y points down, the \"Pivot\" of what has a height cannot be animated");
    }
    Vector3 const given = pivot.GetValue(); // 0 unless y points down
    pivot.SetValue(Vector3(given.x - share.x * size.width, given.y - share.y * size.height, given.z));
}

/** The text is aligned at the point or line that it has in place of a box. */
void Align(JsonCursor const& place, Text& text, char const* pProperty, RealFloat share, bool fFromTop) {
    std::optional<JsonCursor> const anchor = place.Find("anchor");
    if (!anchor || !IsFree(place, pProperty)) {
        return; // without an anchor, texts hang from the point to the right and downward
    }
    if (share != 0 && share != Middle && share != 1) {
        anchor->Fail("a text without a box is aligned at edges and its middle: 0, 0.5 and 1");
    }
    int const nAlignment = static_cast<int>(2 * (fFromTop ? 1 - share : share));
    GetProperty<int>(text, pProperty).SetValue(nAlignment);
}

/** Throws unless both sides are above 0. */
Vector3 GetScale(JsonCursor const& place, Vector2T<RealFloat> const& wanted, SizeT<int> const& size) {
    constexpr RealFloat Least = static_cast<RealFloat>(StretchedSides.least);
    if (!(wanted.x >= Least && wanted.y >= Least)) {
        place.FailExpected("a width and a height from 0.001 on");
    }
    return Vector3(wanted.x / static_cast<RealFloat>(size.width),
                   wanted.y / static_cast<RealFloat>(size.height), 1);
}

/** An animation's first value counts where the node is placed. */
void GiveScale(JsonCursor const& place, Samples<Vector3> const& scales, TransformNode& node) {
    BaseProperty<Vector3>& property = GetProperty<Vector3>(node, "Scale");
    property.SetValue(scales.values[0]);
    if (IsAnimation(place)) {
        Give(place, scales, property);
    }
}

/** A Pivot that is given counts in units of what the node is stretched to, not of its picture. */
void StretchPivot(JsonCursor const& place, Sprite& sprite, Vector3 const& scale, bool fYDown) {
    std::string const given = FindGiven(place, "Pivot");
    if (given.empty()) {
        return; // an anchor's is a share of the picture already
    }
    BaseProperty<Vector3>& pivot = GetProperty<Vector3>(sprite, "Pivot");
    if (BaseProperty<Vector3>::IsAnimated(&pivot)) {
        place.Require(given).Fail("the \"Pivot\" of what has \"stretchTo\" cannot be animated");
    }
    RealFloat const corner = fYDown ? -GetHeight(sprite) : 0;
    Vector3 const value = pivot.GetValue();
    pivot.SetValue(Vector3(value.x / scale.x, (value.y - corner) / scale.y + corner, value.z));
}

Vector3 Invert(Vector3 const& scale) {
    return Vector3(1 / scale.x, 1 / scale.y, 1);
}

} // namespace

RealFloat GetHeight(Node& node) {
    if (node.IsKindOf(Sprite::ClassID)) {
        return static_cast<RealFloat>(static_cast<Sprite&>(node).GetSizeProperty().GetValue().height);
    }
    return node.IsKindOf(Text::ClassID) ? static_cast<Text&>(node).GetBoxProperty().GetValue().height : 0;
}

void ReadAnchor(JsonCursor const& place, Sprite& sprite, bool fYDown) {
    if (std::optional<Vector2T<RealFloat>> const share = ReadShare(place, fYDown)) {
        CheckStays(place, sprite.GetSizeProperty(), "Size");
        SizeT<int> const size = sprite.GetSizeProperty().GetValue();
        SetPivot(place, sprite, *share,
                 SizeT<RealFloat>(static_cast<RealFloat>(size.width), static_cast<RealFloat>(size.height)));
    }
}

void ReadAnchor(JsonCursor const& place, Text& text, bool fYDown) {
    std::optional<Vector2T<RealFloat>> const share = ReadShare(place, fYDown);
    if (!share) {
        return;
    }
    CheckStays(place, text.GetBoxProperty(), "Box");
    SizeT<RealFloat> const box = text.GetBoxProperty().GetValue();
    if (box.width > 0 || box.height > 0) {
        SetPivot(place, text, *share, box);
    }
    if (!(box.width > 0)) {
        Align(place, text, "HorizontalAlignment", share->x, false);
    }
    if (!(box.height > 0)) {
        Align(place, text, "VerticalAlignment", share->y, true);
    }
}

bool HasStretchedChildren(JsonCursor const& place) {
    std::optional<JsonCursor> const children = place.Find("children");
    return children && !children->GetValue().GetItems().empty() && place.Find("stretchTo");
}

SceneStretch ReadStretch(JsonCursor const& place, Sprite& sprite, AnimationReader const& animations,
                         bool fYDown) {
    std::optional<JsonCursor> const stretch = place.Find("stretchTo");
    if (!stretch) {
        return SceneStretch();
    }
    CheckStays(place, sprite.GetSizeProperty(), "Size");
    SizeT<int> const size = sprite.GetSizeProperty().GetValue();
    if (size.width <= 0 || size.height <= 0) {
        if (place.Find("texture") && !place.Find("Size")) {
            return SceneStretch(); // of a picture that could not be read, which has been told
        }
        stretch->Fail("what is stretched needs a \"texture\" or a \"Size\"");
    }
    if (!FindGiven(place, "Scale").empty()) {
        stretch->Fail("a node has either \"stretchTo\" or \"Scale\"");
    }
    Ref<TransformNode> pBelow;
    if (HasStretchedChildren(place)) {
        pBelow = Ref<TransformNode>(new TransformNode);
        GetProperty<Vector3>(*pBelow, "Position").SetValue(Vector3(0, fYDown ? GetHeight(sprite) : 0, 0));
    }
    Samples<Vector2T<RealFloat>> const wanted =
        animations.ReadSteady<Vector2T<RealFloat>>(*stretch, "stretchTo");
    Samples<Vector3> scales;
    Samples<Vector3> inverses;
    scales.nStart = inverses.nStart = wanted.nStart;
    for (Vector2T<RealFloat> const& each : wanted.values) {
        scales.Append(*stretch, GetScale(*stretch, each, size));
        inverses.Append(*stretch, Invert(scales.values[scales.values.GetCount() - 1]));
    }
    GiveScale(*stretch, scales, sprite);
    if (pBelow) {
        GiveScale(*stretch, inverses, *pBelow);
    }
    StretchPivot(place, sprite, scales.values[0], fYDown);
    return {pBelow, scales.values[0]};
}

} // namespace trevik::kelvo::assets
