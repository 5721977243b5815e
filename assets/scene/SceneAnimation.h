#pragma once

#include "scene/JsonCursor.h"
#include "scene/PropertyValues.h"
#include "scene/SceneKeys.h"
#include "trevik/List.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/PropertyTraits.h"

#include <algorithm>
#include <string>
#include <type_traits>

namespace trevik::kelvo::assets {

/** How much a scene may still ask for. */
struct SampleBudget {
    std::size_t nSamples = 1u << 22; ///< of all properties together
};

/** The longest animation of one property, in frames. */
constexpr unsigned int MaximumSamples = 100000;

/** What the place of a node in its scene means for its animations. */
struct AnimationFrames {
    RealFloat delay = RealFloat(1) / 30; ///< seconds from frame to frame
    int nLater = 0;                      ///< frames by which everything there begins later
    bool fYDown = false;                 ///< the scene's y points down, and what is read is turned over
    RealFloat top = 0;                   ///< then: where the upper edge of what the node lies in is
};

/** A way from 0 to 1: a function that has a name, or a curve of CSS. */
class Easing {
public:
    Easing() = default;
    explicit Easing(Interpolate::Function pfnFunction) : m_pfnFunction(pfnFunction) {}
    /** The curve from (0, 0) to (1, 1) with two control points, x1 and x2 from 0 to 1. */
    Easing(double x1, double y1, double x2, double y2) : m_pfnFunction(nullptr), m_curve{x1, y1, x2, y2} {}

    /** The progress at a time from 0 to 1. */
    RealFloat At(RealFloat t) const;

private:
    Interpolate::Function m_pfnFunction = &Interpolate::Linear; ///< null for the curve
    double m_curve[4] = {};
};

/** The name of a function, or "cubicBezier(x1, y1, x2, y2)". Throws a Fault. */
Easing ReadEasing(JsonCursor const& place);

/** A time map: a function by its name. Throws a Fault. */
Interpolate::Function ReadTimeMap(JsonCursor const& place);

/** What an animation comes to: one value per frame. */
template <class T>
struct Samples {
    static constexpr unsigned int FirstCapacity = 64;

    int nStart = 0;
    List<T> values;

    void Append(JsonCursor const& place, T const& value) {
        if (!values.Append(value)) {
            place.FailFinally("there is not enough memory");
        }
    }
    /** Appends so many values, and answers where the first one is to be written. */
    T* Extend(JsonCursor const& place, unsigned int nMore) {
        unsigned int const nCount = values.GetCount();
        unsigned int const nNeeded = nCount + nMore;
        // These lists do not last: most of them never grow.
        bool const fFits =
            nNeeded <= values.GetCapacity() || values.Reserve(std::max({nNeeded, nCount * 2, FirstCapacity}));
        if (!fFits || !values.Resize(nNeeded)) {
            place.FailFinally("there is not enough memory");
        }
        return values.GetData() + nCount;
    }
    /** The value at a frame; before the first and behind the last one these hold. */
    T const& At(int nFrame) const {
        int const nLast = static_cast<int>(values.GetCount()) - 1;
        return values[static_cast<unsigned int>(std::clamp(nFrame - nStart, 0, nLast))];
    }
    int GetEnd() const { return nStart + static_cast<int>(values.GetCount()) - 1; }
};

/** Whether what stands at `place` drives a property frame by frame. */
bool IsAnimation(JsonCursor const& place);

/**
 * Reads animations of properties: an object with one value per frame ("samples") or with key frames ("keys"),
 * which become one value per frame. Throws a Fault.
 */
class AnimationReader {
public:
    AnimationReader(AnimationFrames const& frames, SampleBudget& budget)
        : m_frames(frames), m_budget(budget) {}

    template <class T>
    Samples<T> Read(JsonCursor const& place, std::string const& name) const;
    /** The same of what may be a single value, too, which becomes a single frame. */
    template <class T>
    Samples<T> ReadSteady(JsonCursor const& place, std::string const& name) const;
    /** One value, which is none of an animation's. */
    template <class T>
    T ReadOne(JsonCursor const& place, std::string const& name) const;
    /** A component of a property that a scene file gives, turned over where y points down. */
    RealFloat Turn(std::string const& name, std::size_t nComponent, RealFloat value) const;

    /** Takes the `nAdded` latest frames of an animation of `nFrames` out of the budget. */
    void Spend(JsonCursor const& place, std::size_t nFrames, std::size_t nAdded) const;

private:
    template <class T>
    struct Key {
        int nFrame;
        T value;
        Easing easing;
    };

    template <class T>
    void ReadSamples(JsonCursor const& place, std::string const& name, Samples<T>& samples) const;
    template <class T>
    void ReadKeys(JsonCursor const& place, std::string const& name, Samples<T>& samples) const;
    template <class T>
    Key<T> ReadKey(JsonCursor const& place, std::string const& name) const;
    template <class T>
    static void AppendFrames(JsonCursor const& place, Key<T> const& from, Key<T> const& to,
                             Samples<T>& samples);
    template <class T>
    void Repeat(JsonCursor const& place, Samples<T>& samples) const;
    /** Whether the keys of an animation have their times in seconds. */
    static bool IsInSeconds(JsonCursor const& place);
    /** The frame of a key, which has "frame" or, in seconds, "time". */
    int ReadFrame(JsonCursor const& place) const;
    /** A time in seconds as a frame. */
    int ReadSeconds(JsonCursor const& place) const;
    int ReadStart(JsonCursor const& place) const;

    AnimationFrames const& m_frames;
    SampleBudget& m_budget;
};

template <class T>
Samples<T> AnimationReader::Read(JsonCursor const& place, std::string const& name) const {
    Samples<T> samples;
    if (place.Find("keys")) {
        ReadKeys(place, name, samples);
    } else {
        ReadSamples(place, name, samples);
    }
    Repeat(place, samples);
    samples.nStart += ReadStart(place) + m_frames.nLater;
    return samples;
}

template <class T>
Samples<T> AnimationReader::ReadSteady(JsonCursor const& place, std::string const& name) const {
    if (IsAnimation(place)) {
        return Read<T>(place, name);
    }
    Samples<T> samples;
    samples.Append(place, ReadOne<T>(place, name));
    return samples;
}

template <class T>
T AnimationReader::ReadOne(JsonCursor const& place, std::string const& name) const {
    T value{};
    ReadValue(place, name, value);
    if constexpr (std::is_same_v<T, Vector3T<RealFloat>>) {
        value = Vector3T<RealFloat>(Turn(name, 0, value.x), Turn(name, 1, value.y), Turn(name, 2, value.z));
    }
    return value;
}

template <class T>
void AnimationReader::ReadSamples(JsonCursor const& place, std::string const& name,
                                  Samples<T>& samples) const {
    CheckKeys(place, SamplesKeys);
    JsonCursor const list = place.Require("samples");
    std::size_t const nCount = list.ReadCount("an array of one value per frame");
    if (nCount == 0) {
        list.FailExpected("at least one value");
    }
    Spend(list, nCount, nCount);
    T* const pValues = samples.Extend(list, static_cast<unsigned int>(nCount));
    for (std::size_t n = 0; n < nCount; ++n) {
        pValues[n] = ReadOne<T>(list.GetItem(n), name);
    }
}

template <class T>
AnimationReader::Key<T> AnimationReader::ReadKey(JsonCursor const& place, std::string const& name) const {
    place.ReadObject("a key: an object with \"frame\" and \"value\"");
    CheckKeys(place, KeyKeys);
    Key<T> key{ReadFrame(place), T{}, Easing()};
    key.value = ReadOne<T>(place.Require("value"), name);
    if (std::optional<JsonCursor> const ease = place.Find("ease")) {
        key.easing = ReadEasing(*ease);
    }
    return key;
}

/** Appends the frames behind one key up to and with the next. */
template <class T>
void AnimationReader::AppendFrames(JsonCursor const& place, Key<T> const& from, Key<T> const& to,
                                   Samples<T>& samples) {
    int const nFrames = to.nFrame - from.nFrame;
    T* const pValues = samples.Extend(place, static_cast<unsigned int>(nFrames));
    for (int nFrame = 1; nFrame < nFrames; ++nFrame) {
        RealFloat const t = static_cast<RealFloat>(nFrame) / static_cast<RealFloat>(nFrames);
        PropertyTraits<T>::Interpolate(reinterpret_cast<unsigned char const*>(&from.value),
                                       reinterpret_cast<unsigned char const*>(&to.value), from.easing.At(t),
                                       pValues[nFrame - 1]);
    }
    pValues[nFrames - 1] = to.value;
}

template <class T>
void AnimationReader::ReadKeys(JsonCursor const& place, std::string const& name, Samples<T>& samples) const {
    CheckKeys(place, KeysKeys);
    JsonCursor const list = place.Require("keys");
    std::size_t const nCount = list.ReadCount("an array of keys");
    if (nCount == 0) {
        list.FailExpected("at least one key");
    }
    Key<T> key = ReadKey<T>(list.GetItem(0), name);
    samples.nStart = key.nFrame;
    Spend(list, 1, 1);
    *samples.Extend(list, 1) = key.value;
    for (std::size_t n = 1; n < nCount; ++n) {
        JsonCursor const item = list.GetItem(n);
        Key<T> const next = ReadKey<T>(item, name);
        if (next.nFrame <= key.nFrame) {
            std::optional<JsonCursor> const time = item.Find("time");
            (time ? *time : item.Require("frame"))
                .FailExpected((time ? "a time that comes to a frame after " : "a frame after ") +
                              std::to_string(key.nFrame) + ", the key's before");
        }
        Spend(item, static_cast<std::size_t>(next.nFrame - samples.nStart) + 1,
              static_cast<std::size_t>(next.nFrame - key.nFrame));
        AppendFrames(item, key, next, samples);
        key = next;
    }
}

/** Has the frames come again; each time but the last ends where the next one begins. */
template <class T>
void AnimationReader::Repeat(JsonCursor const& place, Samples<T>& samples) const {
    std::optional<JsonCursor> const repeat = place.Find("repeat");
    int const nTimes = repeat ? repeat->ReadInteger(Repeats) : 1;
    unsigned int const nPeriod = samples.values.GetCount() - 1;
    T const last = samples.values[nPeriod];
    for (int n = 1; n < nTimes && nPeriod > 0; ++n) {
        Spend(*repeat, samples.values.GetCount() + std::size_t(nPeriod), nPeriod);
        samples.values[samples.values.GetCount() - 1] = samples.values[0];
        for (unsigned int nFrame = 1; nFrame < nPeriod; ++nFrame) {
            samples.Append(*repeat, T(samples.values[nFrame]));
        }
        samples.Append(*repeat, last);
    }
}

/** Has samples drive a property, and nothing else; they are held as they would be in a binary file. */
template <class T>
void Give(JsonCursor const& place, Samples<T> const& samples, BaseProperty<T>& property) {
    Ref<SampleController<T>> const pController =
        SampleController<T>::Create(samples.nStart, samples.values.GetData(), samples.values.GetCount());
    if (pController) {
        pController->Compact();
    }
    property.RemoveControllers();
    if (!property.AddController(Ref<Controller<T>>(pController.Get()))) {
        place.FailFinally("there is not enough memory");
    }
}

} // namespace trevik::kelvo::assets
