#include "scene/SceneProperty.h"

#include "scene/SceneValues.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Timeline.h"

#include <climits>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

/** Far from where single precision ends, so that what is computed from numbers stays finite, too. */
constexpr double LargestNumber = 1e9;
constexpr int MaximumFrame = 1000000;
constexpr std::size_t MaximumPairs = 1000;

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

std::vector<std::string> GetValueNames(std::string const& property) {
    std::vector<std::string> names;
    for (NamedValue const& value : NamedValues) {
        if (property == value.pProperty) {
            names.push_back(value.pName);
        }
    }
    return names;
}

/** Vectors of red, green and blue are known by their names alone. */
bool IsColorName(std::string const& name) {
    static std::string const s_sColor = "Color";
    return name.size() >= s_sColor.size() &&
           name.compare(name.size() - s_sColor.size(), s_sColor.size(), s_sColor) == 0;
}

int ReadHexDigit(char unit) {
    return unit >= '0' && unit <= '9'   ? unit - '0'
           : unit >= 'a' && unit <= 'f' ? unit - 'a' + 10
           : unit >= 'A' && unit <= 'F' ? unit - 'A' + 10
                                        : -1;
}

/** Component `nIndex` of "#rrggbb[aa]", 0 to 1; negative when it is no pair of hexadecimal digits. */
RealFloat ReadHexComponent(std::string const& text, std::size_t nIndex) {
    int const nHigh = ReadHexDigit(text[1 + 2 * nIndex]);
    int const nLow = ReadHexDigit(text[2 + 2 * nIndex]);
    return nHigh < 0 || nLow < 0 ? RealFloat(-1) : static_cast<RealFloat>(nHigh * 16 + nLow) / 255;
}

RealFloat ReadReal(JsonCursor const& place) {
    return static_cast<RealFloat>(place.ReadNumber(-LargestNumber, LargestNumber));
}

/** The numbers of an array of so many. */
template <std::size_t N>
void ReadReals(JsonCursor const& place, std::string const& what, RealFloat (&numbers)[N]) {
    place.ReadCount(what, N);
    for (std::size_t n = 0; n < N; ++n) {
        numbers[n] = ReadReal(place.GetItem(n));
    }
}

// One Read for each type of value; `name` is the property's.

void Read(JsonCursor const& place, std::string const&, bool& value) {
    value = place.ReadBool();
}

void Read(JsonCursor const& place, std::string const& name, int& value) {
    std::vector<std::string> const names = GetValueNames(name);
    if (names.empty() || place.Is(JsonValue::Kind::Number)) {
        value = place.ReadInteger(INT_MIN, INT_MAX);
        return;
    }
    std::string const& word = names[place.ReadWord("value", names)];
    for (NamedValue const& named : NamedValues) {
        if (name == named.pProperty && word == named.pName) {
            value = named.nValue;
        }
    }
}

void Read(JsonCursor const& place, std::string const&, RealFloat& value) {
    value = ReadReal(place);
}

void Read(JsonCursor const& place, std::string const& name, Vector2T<RealFloat>& value) {
    RealFloat numbers[2];
    ReadReals(place, DescribeValue(name, PropertyType::Vector2), numbers);
    value = Vector2T<RealFloat>(numbers[0], numbers[1]);
}

void Read(JsonCursor const& place, std::string const& name, Vector3T<RealFloat>& value) {
    if (IsColorName(name)) {
        ColorT<RealFloat> const color = ReadColor(place, false);
        value = Vector3T<RealFloat>(color.r, color.g, color.b);
        return;
    }
    value = ReadVector3(place);
}

void Read(JsonCursor const& place, std::string const& name, RectangleT<RealFloat>& value) {
    RealFloat numbers[4];
    ReadReals(place, DescribeValue(name, PropertyType::Rectangle), numbers);
    value = RectangleT<RealFloat>(numbers[0], numbers[1], numbers[2], numbers[3]);
}

void Read(JsonCursor const& place, std::string const&, ColorT<RealFloat>& value) {
    value = ReadColor(place, true);
}

void Read(JsonCursor const& place, std::string const& name, SizeT<int>& value) {
    place.ReadCount(DescribeValue(name, PropertyType::SizeInt), 2);
    value = SizeT<int>(place.GetItem(0).ReadInteger(0, INT_MAX), place.GetItem(1).ReadInteger(0, INT_MAX));
}

void Read(JsonCursor const& place, std::string const& name, SizeT<RealFloat>& value) {
    place.ReadCount(DescribeValue(name, PropertyType::SizeReal), 2);
    value = SizeT<RealFloat>(static_cast<RealFloat>(place.GetItem(0).ReadNumber(0, LargestNumber)),
                             static_cast<RealFloat>(place.GetItem(1).ReadNumber(0, LargestNumber)));
}

void Read(JsonCursor const& place, std::string const& name, StringEncoded<UTF16Encoding>& value) {
    if (!place.Is(JsonValue::Kind::String) && !place.Is(JsonValue::Kind::Array)) {
        place.FailExpected(DescribeValue(name, PropertyType::String));
    }
    value = ToUtf16(ReadLines(place));
}

void Read(JsonCursor const& place, std::string const& name, List<Vector2T<int>>& value) {
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
            Vector2T<int>(pair.GetItem(0).ReadInteger(0, INT_MAX), pair.GetItem(1).ReadInteger(0, INT_MAX)));
    }
    value = std::move(pairs);
}

/** Takes the `nAdded` latest frames of an animation of `nFrames` out of the budget. */
void Spend(JsonCursor const& place, std::size_t nFrames, std::size_t nAdded, SampleBudget& budget) {
    if (nFrames > MaximumSamples) {
        place.Fail("expected at most " + std::to_string(MaximumSamples) + " frames, found " +
                   std::to_string(nFrames));
    }
    if (nAdded > budget.nSamples) {
        place.FailFinally("the scene's animations have more frames together than a scene may have");
    }
    budget.nSamples -= nAdded;
}

/** What an animation comes to: one value per frame. */
template <class T>
struct Samples {
    int nStart = 0;
    List<T> values;

    void Append(JsonCursor const& place, T const& value) {
        if (!values.Append(value)) {
            place.FailFinally("there is not enough memory");
        }
    }
};

template <class T>
void ReadSamples(JsonCursor const& place, std::string const& name, SampleBudget& budget,
                 Samples<T>& samples) {
    place.CheckNames({"samples", "start"});
    JsonCursor const list = place.Require("samples");
    std::size_t const nCount = list.ReadCount("an array of one value per frame");
    if (nCount == 0) {
        list.FailExpected("at least one value");
    }
    Spend(list, nCount, nCount, budget);
    if (std::optional<JsonCursor> const start = place.Find("start")) {
        samples.nStart = start->ReadInteger(-MaximumFrame, MaximumFrame);
    }
    for (std::size_t n = 0; n < nCount; ++n) {
        T value{};
        Read(list.GetItem(n), name, value);
        samples.Append(list, value);
    }
}

template <class T>
struct Key {
    int nFrame;
    T value;
    Interpolate::Function pfnEase;
};

template <class T>
Key<T> ReadKey(JsonCursor const& place, std::string const& name) {
    place.ReadObject("a key: an object with \"frame\" and \"value\"");
    place.CheckNames({"frame", "value", "ease"});
    Key<T> key{place.Require("frame").ReadInteger(-MaximumFrame, MaximumFrame), T{}, &Interpolate::Linear};
    Read(place.Require("value"), name, key.value);
    if (std::optional<JsonCursor> const ease = place.Find("ease")) {
        key.pfnEase = ReadEasing(*ease);
    }
    return key;
}

/** Appends the frames behind one key up to and with the next. */
template <class T>
void AppendFrames(JsonCursor const& place, Key<T> const& from, Key<T> const& to, Samples<T>& samples) {
    int const nFrames = to.nFrame - from.nFrame;
    for (int nFrame = 1; nFrame < nFrames; ++nFrame) {
        RealFloat const t = static_cast<RealFloat>(nFrame) / static_cast<RealFloat>(nFrames);
        T value{};
        PropertyTraits<T>::Interpolate(reinterpret_cast<unsigned char const*>(&from.value),
                                       reinterpret_cast<unsigned char const*>(&to.value), from.pfnEase(t),
                                       value);
        samples.Append(place, value);
    }
    samples.Append(place, to.value);
}

template <class T>
void ReadKeys(JsonCursor const& place, std::string const& name, SampleBudget& budget, Samples<T>& samples) {
    place.CheckNames({"keys"});
    JsonCursor const list = place.Require("keys");
    std::size_t const nCount = list.ReadCount("an array of keys");
    if (nCount == 0) {
        list.FailExpected("at least one key");
    }
    Key<T> key = ReadKey<T>(list.GetItem(0), name);
    samples.nStart = key.nFrame;
    Spend(list, 1, 1, budget);
    samples.Append(list, key.value);
    for (std::size_t n = 1; n < nCount; ++n) {
        JsonCursor const item = list.GetItem(n);
        Key<T> const next = ReadKey<T>(item, name);
        if (next.nFrame <= key.nFrame) {
            item.Require("frame").FailExpected("a frame after " + std::to_string(key.nFrame) +
                                               ", the key's before");
        }
        Spend(item, static_cast<std::size_t>(next.nFrame - samples.nStart) + 1,
              static_cast<std::size_t>(next.nFrame - key.nFrame), budget);
        AppendFrames(item, key, next, samples);
        key = next;
    }
}

template <class T>
void Animate(JsonCursor const& place, std::string const& name, BaseProperty<T>& property,
             SampleBudget& budget) {
    if constexpr (PropertyTraits<T>::Sampled) {
        Samples<T> samples;
        if (place.Find("keys")) {
            ReadKeys(place, name, budget, samples);
        } else {
            ReadSamples(place, name, budget, samples);
        }
        Ref<Controller<T>> const pController(
            SampleController<T>::Create(samples.nStart, samples.values.GetData(), samples.values.GetCount()));
        if (!property.AddController(pController)) {
            place.FailFinally("there is not enough memory");
        }
    } else {
        static_cast<void>(property);
        static_cast<void>(budget);
        place.Fail("\"" + name + "\" cannot be animated; expected " +
                   DescribeValue(name, PropertyTypeOf<T>::value));
    }
}

template <class T>
void ReadTyped(JsonCursor const& place, std::string const& name, Property* pProperty, SampleBudget& budget) {
    BaseProperty<T>& property = static_cast<BaseProperty<T>&>(*pProperty);
    if (IsAnimation(place)) {
        Animate(place, name, property, budget);
        return;
    }
    T value{};
    Read(place, name, value);
    property.SetValue(value);
}

} // namespace

bool IsAnimation(JsonCursor const& place) {
    return place.Is(JsonValue::Kind::Object);
}

ColorT<RealFloat> ReadColor(JsonCursor const& place, bool fAlpha) {
    std::string const what = DescribeValue("Color", fAlpha ? PropertyType::Color : PropertyType::Vector3);
    RealFloat components[4] = {0, 0, 0, 1};
    std::size_t nCount = 0;
    if (place.Is(JsonValue::Kind::String)) {
        std::string const& text = place.GetValue().GetText();
        nCount = text.empty() || text[0] != '#' || text.size() % 2 == 0 ? 0 : (text.size() - 1) / 2;
        for (std::size_t n = 0; n < nCount && n < 4; ++n) {
            components[n] = ReadHexComponent(text, n);
            nCount = components[n] < 0 ? 0 : nCount;
        }
    } else if (place.Is(JsonValue::Kind::Array)) {
        nCount = place.GetValue().GetItems().size();
        for (std::size_t n = 0; n < nCount && n < 4; ++n) {
            components[n] = static_cast<RealFloat>(place.GetItem(n).ReadNumber(0, 1));
        }
    }
    if (nCount != 3 && !(fAlpha && nCount == 4)) {
        place.FailExpected(what);
    }
    return ColorT<RealFloat>(components[0], components[1], components[2], components[3]);
}

Vector3T<RealFloat> ReadVector3(JsonCursor const& place) {
    RealFloat numbers[3];
    ReadReals(place, "3 numbers", numbers);
    return Vector3T<RealFloat>(numbers[0], numbers[1], numbers[2]);
}

Interpolate::Function ReadEasing(JsonCursor const& place) {
    std::vector<std::string> names;
    for (unsigned int n = 0; char const* const pName = Interpolate::GetName(n); ++n) {
        names.push_back(pName);
    }
    return Interpolate::Find(names[place.ReadWord("easing", names)].c_str());
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
        return IsColorName(name) ? "a colour: 3 numbers from 0 to 1 or \"#rrggbb\"" : "3 numbers";
    case PropertyType::Rectangle:
        return "4 numbers: left, top, right, bottom";
    case PropertyType::Color:
        return "a colour: 3 or 4 numbers from 0 to 1, \"#rrggbb\" or \"#rrggbbaa\"";
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

void ReadProperty(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                  SampleBudget& budget) {
    switch (entry.m_pDescriptor->m_type) {
    case PropertyType::Bool:
        return ReadTyped<bool>(place, name, entry.m_pProperty, budget);
    case PropertyType::Int:
        return ReadTyped<int>(place, name, entry.m_pProperty, budget);
    case PropertyType::Real:
        return ReadTyped<RealFloat>(place, name, entry.m_pProperty, budget);
    case PropertyType::Vector2:
        return ReadTyped<Vector2T<RealFloat>>(place, name, entry.m_pProperty, budget);
    case PropertyType::Vector3:
        return ReadTyped<Vector3T<RealFloat>>(place, name, entry.m_pProperty, budget);
    case PropertyType::Rectangle:
        return ReadTyped<RectangleT<RealFloat>>(place, name, entry.m_pProperty, budget);
    case PropertyType::Color:
        return ReadTyped<ColorT<RealFloat>>(place, name, entry.m_pProperty, budget);
    case PropertyType::SizeInt:
        return ReadTyped<SizeT<int>>(place, name, entry.m_pProperty, budget);
    case PropertyType::SizeReal:
        return ReadTyped<SizeT<RealFloat>>(place, name, entry.m_pProperty, budget);
    case PropertyType::String:
        return ReadTyped<StringEncoded<UTF16Encoding>>(place, name, entry.m_pProperty, budget);
    case PropertyType::PairList:
        return ReadTyped<List<Vector2T<int>>>(place, name, entry.m_pProperty, budget);
    case PropertyType::Unknown:
    case PropertyType::Other:
        break;
    }
    place.Fail("\"" + name + "\" cannot be set from a scene file");
}

} // namespace trevik::kelvo::assets
