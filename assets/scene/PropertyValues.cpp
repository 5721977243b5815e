#include "scene/PropertyValues.h"

#include "scene/SceneColors.h"
#include "scene/SceneKeys.h"
#include "scene/SceneValues.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Timeline.h"

#include <string_view>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumPairs = 1000;
constexpr char const* Vector3Form = "2 or 3 numbers";

/** Whole numbers that have names in scene files. */
struct NamedValue {
    char const* pProperty;
    char const* pName;
    int nValue;
};
constexpr NamedValue NamedValues[] = {
    {"BlendMode", "normal", BlendMode::Normal},
    {"BlendMode", "additive", BlendMode::Additive},
    {"BlendMode", "multiply", BlendMode::Multiply},
    {"BlendMode", "screen", BlendMode::Screen},
    {"BlendMode", "colorDodge", BlendMode::ColorDodge},
    {"BlendMode", "invert", BlendMode::Invert},
    {"PlaybackMode", "once", PlaybackMode::Once},
    {"PlaybackMode", "loop", PlaybackMode::Loop},
    {"PlaybackMode", "pingPong", PlaybackMode::PingPong},
    {"HorizontalAlignment", "left", HorizontalAlignment::Left},
    {"HorizontalAlignment", "center", HorizontalAlignment::Center},
    {"HorizontalAlignment", "right", HorizontalAlignment::Right},
    {"HorizontalAlignment", "justify", HorizontalAlignment::Justify},
    {"VerticalAlignment", "top", VerticalAlignment::Top},
    {"VerticalAlignment", "middle", VerticalAlignment::Middle},
    {"VerticalAlignment", "bottom", VerticalAlignment::Bottom},
    {"VerticalAlignment", "baseline", VerticalAlignment::Baseline},
};

RealFloat ReadReal(JsonCursor const& place) {
    return static_cast<RealFloat>(place.ReadNumber(AnyNumber));
}

/** The numbers of an array of so many. */
template <std::size_t N>
void ReadReals(JsonCursor const& place, std::string const& what, RealFloat (&numbers)[N]) {
    place.ReadCount(what, N);
    for (std::size_t n = 0; n < N; ++n) {
        numbers[n] = ReadReal(place.GetItem(n));
    }
}

} // namespace

std::vector<std::string> GetValueNames(std::string const& property) {
    std::vector<std::string> names;
    for (NamedValue const& value : NamedValues) {
        if (property == value.pProperty) {
            names.push_back(value.pName);
        }
    }
    return names;
}

void ReadValue(JsonCursor const& place, std::string const&, bool& value) {
    value = place.ReadBool();
}

void ReadValue(JsonCursor const& place, std::string const& name, int& value) {
    std::vector<std::string> const names = GetValueNames(name);
    if (names.empty() || place.Is(JsonValue::Kind::Number)) {
        value = place.ReadInteger(AnyInteger);
        return;
    }
    std::string const& word = names[place.ReadWord("value", names)];
    for (NamedValue const& named : NamedValues) {
        if (name == named.pProperty && word == named.pName) {
            value = named.nValue;
        }
    }
}

void ReadValue(JsonCursor const& place, std::string const&, RealFloat& value) {
    value = ReadReal(place);
}

void ReadValue(JsonCursor const& place, std::string const& name, Vector2T<RealFloat>& value) {
    RealFloat numbers[2];
    ReadReals(place, DescribeValue(name, PropertyType::Vector2), numbers);
    value = Vector2T<RealFloat>(numbers[0], numbers[1]);
}

void ReadValue(JsonCursor const& place, std::string const& name, Vector3T<RealFloat>& value) {
    if (IsColorName(name)) {
        ColorT<RealFloat> const color = ReadColor(place, false);
        value = Vector3T<RealFloat>(color.r, color.g, color.b);
        return;
    }
    bool const fFactor = name == std::string_view("Scale") || name == std::string_view("Stretch");
    value = ReadVector3(place, fFactor ? RealFloat(1) : RealFloat(0));
}

void ReadValue(JsonCursor const& place, std::string const& name, RectangleT<RealFloat>& value) {
    RealFloat numbers[4];
    ReadReals(place, DescribeValue(name, PropertyType::Rectangle), numbers);
    value = RectangleT<RealFloat>(numbers[0], numbers[1], numbers[2], numbers[3]);
}

void ReadValue(JsonCursor const& place, std::string const&, ColorT<RealFloat>& value) {
    value = ReadColor(place, true);
}

void ReadValue(JsonCursor const& place, std::string const& name, SizeT<int>& value) {
    place.ReadCount(DescribeValue(name, PropertyType::SizeInt), 2);
    value = SizeT<int>(place.GetItem(0).ReadInteger(AnyCount), place.GetItem(1).ReadInteger(AnyCount));
}

void ReadValue(JsonCursor const& place, std::string const& name, SizeT<RealFloat>& value) {
    place.ReadCount(DescribeValue(name, PropertyType::SizeReal), 2);
    value = SizeT<RealFloat>(static_cast<RealFloat>(place.GetItem(0).ReadNumber(AnyLength)),
                             static_cast<RealFloat>(place.GetItem(1).ReadNumber(AnyLength)));
}

void ReadValue(JsonCursor const& place, std::string const& name, StringEncoded<UTF16Encoding>& value) {
    if (!place.Is(JsonValue::Kind::String) && !place.Is(JsonValue::Kind::Array)) {
        place.FailExpected(DescribeValue(name, PropertyType::String));
    }
    value = ToUtf16(ReadLines(place));
}

void ReadValue(JsonCursor const& place, std::string const& name, List<Vector2T<int>>& value) {
    std::string const what = DescribeValue(name, PropertyType::PairList);
    std::size_t const nCount = place.ReadCount(what);
    if (nCount > MaximumPairs) {
        place.FailExpected("at most " + std::to_string(MaximumPairs) + " pairs");
    }
    List<Vector2T<int>> pairs;
    for (std::size_t n = 0; n < nCount; ++n) {
        JsonCursor const pair = place.GetItem(n);
        pair.ReadCount("2 whole numbers", 2);
        pairs.Append(
            Vector2T<int>(pair.GetItem(0).ReadInteger(AnyCount), pair.GetItem(1).ReadInteger(AnyCount)));
    }
    value = std::move(pairs);
}

Vector3T<RealFloat> ReadVector3(JsonCursor const& place, RealFloat z) {
    bool const fTwo = place.Is(JsonValue::Kind::Array) && place.GetValue().GetItems().size() == 2;
    if (!fTwo) {
        place.ReadCount(Vector3Form, 3);
    }
    return Vector3T<RealFloat>(ReadReal(place.GetItem(0)), ReadReal(place.GetItem(1)),
                               fTwo ? z : ReadReal(place.GetItem(2)));
}

std::string DescribeValue(std::string const& name, PropertyType::Enum type) {
    switch (type) {
    case PropertyType::Bool:
        return "true or false";
    case PropertyType::Int:
        return GetValueNames(name).empty() ? "a whole number" : "a whole number or its name";
    case PropertyType::Real:
        return "a number";
    case PropertyType::Vector2:
        return "2 numbers";
    case PropertyType::Vector3:
        return IsColorName(name) ? DescribeColor(false) : Vector3Form;
    case PropertyType::Rectangle:
        return "4 numbers: left, top, right, bottom";
    case PropertyType::Color:
        return DescribeColor(true);
    case PropertyType::SizeInt:
        return "2 whole numbers: width, height";
    case PropertyType::SizeReal:
        return "2 numbers: width, height";
    case PropertyType::String:
        return "a string, or an array of its lines";
    case PropertyType::PairList:
        return "an array of pairs of whole numbers";
    case PropertyType::Unknown:
    case PropertyType::Other:
        break;
    }
    return "nothing that a scene file can say";
}

bool IsColorName(std::string const& name) {
    constexpr std::string_view Ending = "Color";
    return name.size() >= Ending.size() &&
           std::string_view(name).substr(name.size() - Ending.size()) == Ending;
}

} // namespace trevik::kelvo::assets
