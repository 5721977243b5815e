#include "scene/SceneProperty.h"

#include "scene/PropertyDispatch.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/NodeVisitor.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

template <class T>
void ReadTyped(JsonCursor const& place, std::string const& name, Property* pProperty,
               AnimationReader const& animations) {
    BaseProperty<T>& property = static_cast<BaseProperty<T>&>(*pProperty);
    if (!IsAnimation(place)) {
        property.SetValue(animations.ReadOne<T>(place, name));
    } else if constexpr (PropertyTraits<T>::Sampled) {
        Give(place, animations.Read<T>(place, name), property);
    } else {
        place.Fail("\"" + name + "\" cannot be animated; expected " +
                   DescribeValue(name, PropertyTypeOf<T>::value));
    }
}

/** Some components of a property, with the places of those that are given. */
struct GivenComponents {
    std::vector<std::optional<JsonCursor>> places;
    std::size_t nGiven = 0;
    bool fAnimated = false;
};

GivenComponents FindComponents(JsonCursor const& place, std::string const& name, PropertyType::Enum type) {
    GivenComponents given;
    for (std::string const& component : GetComponentNames(name, type)) {
        std::string member = name + ".";
        member += component;
        given.places.push_back(place.Find(member));
        given.nGiven += given.places.back() ? 1 : 0;
        given.fAnimated = given.fAnimated || (given.places.back() && IsAnimation(*given.places.back()));
    }
    return given;
}

/** What a component of a property may be, as in a whole value. */
struct Range {
    double minimum;
    double maximum;
};

Range GetRange(std::string const& name, PropertyType::Enum type) {
    if (type == PropertyType::Color || (type == PropertyType::Vector3 && IsColorName(name))) {
        return {0, 1};
    }
    return {type == PropertyType::SizeReal ? 0 : -LargestNumber, LargestNumber};
}

void CheckRange(JsonCursor const& place, Samples<RealFloat> const& samples, Range const& range) {
    auto const fits = [&](RealFloat value) {
        return static_cast<double>(value) >= range.minimum && static_cast<double>(value) <= range.maximum;
    };
    // Between two keys an easing may go beyond both, as it may for a whole value.
    if (!fits(samples.values[0]) || !fits(samples.values[samples.values.GetCount() - 1])) {
        place.Fail("expected numbers from " + FormatNumber(range.minimum) + " to " +
                   FormatNumber(range.maximum));
    }
}

template <class T>
void SetComponent(T& value, std::size_t nComponent, RealFloat component) {
    static_assert(sizeof(T) % sizeof(RealFloat) == 0, "nothing but its components");
    std::memcpy(reinterpret_cast<unsigned char*>(&value) + nComponent * sizeof component, &component,
                sizeof component);
}

template <class T>
void ReadComponentsOf(JsonCursor const& place, std::string const& name, Property* pProperty,
                      AnimationReader const& animations) {
    BaseProperty<T>& property = static_cast<BaseProperty<T>&>(*pProperty);
    GivenComponents const given = FindComponents(place, name, PropertyTypeOf<T>::value);
    if (given.nGiven == 0) {
        return;
    }
    T value = property.GetValue();
    std::vector<Samples<RealFloat>> curves(given.places.size());
    int nStart = INT_MAX;
    int nEnd = INT_MIN;
    for (std::size_t n = 0; n < curves.size(); ++n) {
        if (!given.places[n]) {
            continue;
        }
        if (IsAnimation(*given.places[n])) {
            curves[n] = animations.Read<RealFloat>(*given.places[n], name);
            CheckRange(*given.places[n], curves[n], GetRange(name, PropertyTypeOf<T>::value));
            nStart = std::min(nStart, curves[n].nStart);
            nEnd = std::max(nEnd, curves[n].GetEnd());
        } else {
            Range const range = GetRange(name, PropertyTypeOf<T>::value);
            static_cast<void>(given.places[n]->ReadNumber(range.minimum, range.maximum));
            RealFloat const component = animations.ReadOne<RealFloat>(*given.places[n], name);
            SetComponent(value, n, animations.Turn(name, n, component));
        }
    }
    if (!given.fAnimated) {
        property.SetValue(value);
        return;
    }
    Samples<T> samples;
    samples.nStart = nStart;
    // Beyond what each of them has taken, since they need not lie at the same frames.
    animations.Spend(place, static_cast<std::size_t>(nEnd - nStart) + 1,
                     static_cast<std::size_t>(nEnd - nStart) + 1);
    for (int nFrame = nStart; nFrame <= nEnd; ++nFrame) {
        for (std::size_t n = 0; n < curves.size(); ++n) {
            if (!curves[n].values.IsEmpty()) {
                SetComponent(value, n, animations.Turn(name, n, curves[n].At(nFrame)));
            }
        }
        samples.Append(place, value);
    }
    Give(place, samples, property);
}

} // namespace

std::vector<std::string> GetComponentNames(std::string const& name, PropertyType::Enum type) {
    switch (type) {
    case PropertyType::Vector2:
        return {"x", "y"};
    case PropertyType::Vector3:
        return IsColorName(name) ? std::vector<std::string>{"r", "g", "b"}
                                 : std::vector<std::string>{"x", "y", "z"};
    case PropertyType::Color:
        return {"r", "g", "b", "a"};
    case PropertyType::Rectangle:
        return {"left", "top", "right", "bottom"};
    case PropertyType::SizeReal:
        return {"width", "height"};
    default:
        return {};
    }
}

void ReadComponents(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                    AnimationReader const& animations) {
    switch (entry.m_pDescriptor->m_type) {
    case PropertyType::Vector2:
        return ReadComponentsOf<Vector2T<RealFloat>>(place, name, entry.m_pProperty, animations);
    case PropertyType::Vector3:
        return ReadComponentsOf<Vector3T<RealFloat>>(place, name, entry.m_pProperty, animations);
    case PropertyType::Color:
        return ReadComponentsOf<ColorT<RealFloat>>(place, name, entry.m_pProperty, animations);
    case PropertyType::Rectangle:
        return ReadComponentsOf<RectangleT<RealFloat>>(place, name, entry.m_pProperty, animations);
    case PropertyType::SizeReal:
        return ReadComponentsOf<SizeT<RealFloat>>(place, name, entry.m_pProperty, animations);
    default:
        break;
    }
}

void ReadProperty(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                  AnimationReader const& animations) {
    bool const fKnown = DispatchType(entry.m_pDescriptor->m_type, [&](auto tag) {
        ReadTyped<typename decltype(tag)::Type>(place, name, entry.m_pProperty, animations);
    });
    if (!fKnown) {
        place.Fail("\"" + name + "\" cannot be set from a scene file");
    }
}

} // namespace trevik::kelvo::assets
