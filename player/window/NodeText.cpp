#include "window/NodeText.h"

#include "scene/NodeDescription.h"
#include "scene/SceneFaults.h"
#include "trevik/ClassContainer.h"
#include "trevik/Ref.h"

#include <cstdio>
#include <initializer_list>

namespace kelvokit::player {

using trevik::ColorT;
using trevik::RealFloat;
using trevik::RectangleT;
using trevik::Ref;
using trevik::SizeT;
using trevik::String16;
using trevik::String8;
using trevik::Vector2T;
using trevik::Vector3T;
using namespace trevik::kelvo;

namespace {

std::string ToText(String16 const& text) {
    String8 const utf8(text);
    return assets::ToOneLine(std::string(utf8.GetData(), utf8.GetLength()));
}

template <class Number>
std::string Join(char const* pFormat, std::initializer_list<Number> numbers) {
    std::string text;
    for (Number const number : numbers) {
        char part[48];
        std::snprintf(part, sizeof part, pFormat, number);
        text += (text.empty() ? "" : ", ") + std::string(part);
    }
    return text;
}

std::string JoinReal(std::initializer_list<RealFloat> numbers) {
    std::string text;
    for (RealFloat const number : numbers) {
        text += (text.empty() ? "" : ", ") + Join("%g", {static_cast<double>(number)});
    }
    return text;
}

template <class T>
T const& GetValue(Property const& property) {
    return static_cast<BaseProperty<T> const&>(property).GetValue();
}

std::string GetPairs(trevik::List<Vector2T<int>> const& pairs) {
    std::string text;
    for (Vector2T<int> const& pair : pairs) {
        text += (text.empty() ? "[" : ", [") + Join("%d", {pair.x, pair.y}) + "]";
    }
    return text;
}

/** The value now; empty for types that only their owners read. */
std::string GetValueText(PropertyType::Enum type, Property const& property) {
    switch (type) {
    case PropertyType::Bool:
        return GetValue<bool>(property) ? "true" : "false";
    case PropertyType::Int:
        return Join("%d", {GetValue<int>(property)});
    case PropertyType::Real:
        return JoinReal({GetValue<RealFloat>(property)});
    case PropertyType::Vector2: {
        auto const& v = GetValue<Vector2T<RealFloat>>(property);
        return JoinReal({v.x, v.y});
    }
    case PropertyType::Vector3: {
        auto const& v = GetValue<Vector3T<RealFloat>>(property);
        return JoinReal({v.x, v.y, v.z});
    }
    case PropertyType::Rectangle: {
        auto const& r = GetValue<RectangleT<RealFloat>>(property);
        return JoinReal({r.left, r.top, r.right, r.bottom});
    }
    case PropertyType::Color: {
        auto const& c = GetValue<ColorT<RealFloat>>(property);
        return JoinReal({c.r, c.g, c.b, c.a});
    }
    case PropertyType::SizeInt: {
        auto const& s = GetValue<SizeT<int>>(property);
        return Join("%d", {s.width, s.height});
    }
    case PropertyType::SizeReal: {
        auto const& s = GetValue<SizeT<RealFloat>>(property);
        return JoinReal({s.width, s.height});
    }
    case PropertyType::String:
        return "\"" + ToText(GetValue<String16>(property)) + "\"";
    case PropertyType::PairList:
        return GetPairs(GetValue<trevik::List<Vector2T<int>>>(property));
    default:
        return "";
    }
}

} // namespace

std::string GetNodeText(Node& node, assets::SceneNotes const& notes, trevik::ClassRegistry const& registry) {
    std::string text = assets::DescribeNode(node, notes);
    Ref<Node> const pNew(
        static_cast<Node*>(registry.Create(node.GetFactoryClassID(), trevik::ObjectKind::Node)));
    PropertyList const& properties = node.GetProperties();
    for (unsigned int nEntry = 0; nEntry < properties.GetCount(); ++nEntry) {
        PropertyList::Entry const entry = properties.GetEntry(nEntry);
        PropertyDescriptor const& descriptor = *entry.m_pDescriptor;
        PropertyList::Found const pInitial = pNew ? pNew->GetProperties().Find(descriptor.m_nID) : nullptr;
        std::string const value = GetValueText(descriptor.m_type, *entry.m_pProperty);
        bool const fInitial = pInitial && value == GetValueText(descriptor.m_type, *pInitial->m_pProperty);
        if (descriptor.m_pName && !value.empty() && !fInitial) {
            text += "\n    " + ToText(String16(descriptor.m_pName)) + ": " + value;
        }
    }
    return text;
}

} // namespace kelvokit::player
