#include "scene/PropertyDispatch.h"
#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"

#include <optional>
#include <string>
#include <unordered_map>

namespace trevik::kelvo::assets {

namespace {

/** An animation's frames, and whether anything happens in them. */
struct Course {
    int nFirst;
    int nLast;
    bool fMoves;
};

template <class T>
std::optional<Course> FindCourse(Property* pProperty) {
    SampleController<T> const* const pSamples = GetSamples(*static_cast<BaseProperty<T>*>(pProperty));
    if (!pSamples || pSamples->GetSampleCount() < 2) {
        return std::nullopt; // a single value is no animation
    }
    T const first = pSamples->GetSample(0);
    unsigned int n = 1;
    while (n < pSamples->GetSampleCount() && pSamples->GetSample(n) == first) {
        ++n;
    }
    int const nFirst = pSamples->GetStartFrame();
    return Course{nFirst, nFirst + static_cast<int>(pSamples->GetSampleCount()) - 1,
                  n < pSamples->GetSampleCount()};
}

std::optional<Course> FindCourse(PropertyList::Entry const& entry) {
    std::optional<Course> course;
    DispatchType(entry.m_pDescriptor->m_type, [&](auto tag) {
        typedef typename decltype(tag)::Type T;
        if constexpr (PropertyTraits<T>::Sampled) {
            course = FindCourse<T>(entry.m_pProperty);
        }
    });
    return course;
}

/** Calls `visit` with the numbers that a file gives a property: the one, samples, or those of keys. */
template <class Visit>
void VisitNumbers(JsonCursor const& property, Visit visit) {
    if (property.Is(JsonValue::Kind::Number)) {
        visit(property.GetValue().GetNumber());
    } else if (property.Is(JsonValue::Kind::Object)) {
        for (char const* pList : {"samples", "keys"}) {
            std::optional<JsonCursor> const list = property.Find(pList);
            for (std::size_t n = 0; list && n < list->GetValue().GetItems().size(); ++n) {
                JsonCursor const item = list->GetItem(n);
                std::optional<JsonCursor> const value =
                    item.Is(JsonValue::Kind::Object) ? item.Find("value") : item;
                if (value && value->Is(JsonValue::Kind::Number)) {
                    visit(value->GetValue().GetNumber());
                }
            }
        }
    }
}

/** Whole numbers that stand for something, from the first to the last one. */
struct KnownNumbers {
    char const* pKey;
    unsigned int nID; ///< the key's hash: they are looked for in every node
    int nFirst;
    int nLast;
    int nInitial; ///< what others are taken for
};
constexpr KnownNumbers Known[] = {{"PlaybackMode", HashName("PlaybackMode"), 0, 2, 0},
                                  {"HorizontalAlignment", HashName("HorizontalAlignment"), 0, 3, 0},
                                  {"VerticalAlignment", HashName("VerticalAlignment"), 0, 3, 0},
                                  {"DepthTest", HashName("DepthTest"), -1, 1, 0}};

/** More than this a BackdropBlurEffect does not blur. */
constexpr double LargestRadius = 290;

/** Frames that are played, and by what. */
struct Played {
    double first;
    double last;
    char const* pBy;
};

/** Animations, the ends of timelines, and values out of their range. */
class TimeCheck : public SceneCheck {
public:
    TimeCheck(SceneSettings const& settings, SceneNotes& notes) : SceneCheck(notes), m_settings(settings) {}

    void Enter(SceneStep const& step) override {
        std::optional<Played> const played = FindPlayed(step);
        if (step.role != SceneRole::Root) {
            CheckAnimations(step, step.place, "", step.node.GetProperties(), played);
            CheckValues(step);
        }
        TransformNode* const pNode = step.node.GetTransformNode();
        if (step.role != SceneRole::Root && pNode && !pNode->GetEffects().IsEmpty()) {
            CheckEffects(step, pNode->GetEffects(), played);
        }
        if (step.node.IsKindOf(Timeline::ClassID) && step.role == SceneRole::Child) {
            CheckEnd(step, static_cast<Timeline&>(step.node));
        }
    }

private:
    /**
     * The frames that a node's animations are played in, where they are known: those of the scene, or of a
     * timeline around the node that comes to an end. Backgrounds have none at all.
     */
    std::optional<Played> FindPlayed(SceneStep const& step) const {
        for (SceneStep const* pStep = &step; pStep; pStep = pStep->pAbove) {
            if (pStep->role == SceneRole::Background) {
                return std::nullopt;
            }
        }
        SceneStep const* pAbove = step.pAbove;
        while (pAbove && !pAbove->node.IsKindOf(Timeline::ClassID)) {
            pAbove = pAbove->pAbove;
        }
        if (!pAbove || pAbove->role == SceneRole::Root) {
            return Played{static_cast<double>(m_settings.m_nFirstFrame),
                          static_cast<double>(m_settings.m_nLastFrame), "the scene"};
        }
        Timeline& timeline = static_cast<Timeline&>(pAbove->node);
        std::optional<RealFloat> const first = GetFixed(timeline.GetFirstFrameProperty());
        std::optional<RealFloat> const last = GetFixed(timeline.GetLastFrameProperty());
        return first && last && *last > *first
                   ? std::optional<Played>(
                         {static_cast<double>(*first), static_cast<double>(*last), "its timeline"})
                   : std::nullopt;
    }

    void CheckEffects(SceneStep const& step, List<Effect*> const& effects,
                      std::optional<Played> const& played) {
        std::optional<JsonCursor> const places = step.place.Find("effects");
        for (unsigned int n = 0; places && n < effects.GetCount(); ++n) {
            std::string const start = "effects/" + std::to_string(n) + "/";
            CheckAnimations(step, places->GetItem(n), start, effects[n]->GetProperties(), played);
            CheckEffectValues(step, places->GetItem(n), start, *effects[n]);
        }
    }

    /** The name of a property; properties of the same kind share it. */
    std::string const& GetName(PropertyList::Entry const& entry) {
        auto const [found, fNew] = m_names.try_emplace(entry.m_pDescriptor);
        if (fNew) {
            found->second = GetEntryName(entry);
        }
        return found->second;
    }

    void CheckAnimations(SceneStep const& step, JsonCursor const& place, std::string const& start,
                         PropertyList& properties, std::optional<Played> const& played) {
        for (unsigned int n = 0; n < properties.GetCount(); ++n) {
            PropertyList::Entry const entry = properties.GetEntry(n);
            if (!entry.m_pDescriptor->m_pfnIsAnimated(entry.m_pProperty)) {
                continue;
            }
            std::string const& name = GetName(entry);
            std::string const given = FindGiven(place, name);
            std::optional<Course> const course = FindCourse(entry);
            if (course && !given.empty()) {
                CheckAnimation(step, start + given, *course, played);
                if (course->fMoves) {
                    CheckComponents(step, place, start, name + ".");
                }
            }
        }
    }

    /** Where some components ("Position.x") move, others may not. */
    void CheckComponents(SceneStep const& step, JsonCursor const& place, std::string const& start,
                         std::string const& beginning) {
        for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
            std::string const& name = place.GetMemberName(n);
            if (name.compare(0, beginning.size(), beginning) != 0) {
                continue;
            }
            std::size_t nNumbers = 0;
            std::optional<double> first;
            bool fMoves = false;
            VisitNumbers(place.GetMember(n), [&](double number) {
                first = first.value_or(number);
                fMoves = fMoves || number != *first;
                ++nNumbers;
            });
            if (nNumbers > 1 && !fMoves) {
                Warn(step, start + name, WarningId::AnimationNeverMoves, "all of its values are equal");
            }
        }
    }

    void CheckAnimation(SceneStep const& step, std::string const& key, Course const& course,
                        std::optional<Played> const& played) {
        if (!course.fMoves) {
            Warn(step, key, WarningId::AnimationNeverMoves, "all of its values are equal");
        } else if (played && (course.nFirst >= played->last || course.nLast <= played->first)) {
            std::string const first = FormatNumber(static_cast<RealFloat>(played->first));
            Warn(step, key, WarningId::AnimationOutsideFrames,
                 "it goes from frame " + std::to_string(course.nFirst) + " to " +
                     std::to_string(course.nLast) + ", and " + played->pBy + " plays " +
                     (played->first == played->last
                          ? "only frame " + first
                          : "frames " + first + " to " + FormatNumber(static_cast<RealFloat>(played->last))));
        }
    }

    void CheckEnd(SceneStep const& step, Timeline& timeline) {
        if (!GetFixed(timeline.GetFirstFrameProperty()) || !GetFixed(timeline.GetLastFrameProperty())) {
            return;
        }
        RealFloat const first = timeline.GetFirstFrameProperty().GetValue();
        RealFloat const last = timeline.GetLastFrameProperty().GetValue();
        if (last > first) {
            return;
        }
        if (step.place.Find("LastFrame") && (last != 0 || first != 0)) {
            Warn(step, "LastFrame", WarningId::TimelineWithoutEnd,
                 "it goes on for ever, as its last frame does not lie behind its first one, " +
                     FormatNumber(first));
            return;
        }
        bool const fTurns =
            GetFixed(timeline.GetPlaybackModeProperty()).value_or(PlaybackMode::Once) != PlaybackMode::Once;
        if (fTurns || step.place.Find("timeMap")) {
            Warn(step, fTurns ? "PlaybackMode" : "timeMap", WarningId::TimelineWithoutEnd,
                 "it means nothing without a \"LastFrame\" behind the first one");
        }
    }

    /** Of a property that goes from 0 to a greatest number. */
    void CheckRange(SceneStep const& step, JsonCursor const& place, std::string const& start,
                    std::string const& key, double greatest) {
        // Of the file's own numbers: the curves between keys may reach beyond on purpose.
        double outside = 0;
        if (std::optional<JsonCursor> const property = place.Find(key)) {
            VisitNumbers(*property, [&](double number) {
                outside = outside == 0 && (number < 0 || number > greatest) ? number : outside;
            });
        }
        if (outside != 0) {
            Warn(step, start + key, WarningId::ValueClamped,
                 FormatNumber(outside) + " counts as " + (outside < 0 ? "0" : FormatNumber(greatest)));
        }
    }

    void CheckEffectValues(SceneStep const& step, JsonCursor const& place, std::string const& start,
                           Effect& effect) {
        if (IsEffect(effect, "GroupOpacityEffect")) {
            CheckRange(step, place, start, "Opacity", 1);
            return;
        }
        BaseProperty<RealFloat>* const pRadius =
            IsEffect(effect, "BackdropBlurEffect") ? FindProperty<RealFloat>(effect.GetProperties(), "Radius")
                                                   : nullptr;
        if (pRadius && EverExceeds(*pRadius, 0)) { // without a radius it is told of already
            CheckRange(step, place, start, "Radius", LargestRadius);
        }
    }

    void CheckValues(SceneStep const& step) {
        CheckRange(step, step.place, "", "Opacity", 1);
        for (KnownNumbers const& known : Known) {
            BaseProperty<int>* const pProperty = FindProperty<int>(step.node.GetProperties(), known.nID);
            if (pProperty) {
                TakesValue(*pProperty, [&](int nNumber) {
                    bool const fUnknown = nNumber < known.nFirst || nNumber > known.nLast;
                    if (fUnknown) {
                        Warn(step, known.pKey, WarningId::ValueUnknown,
                             std::to_string(nNumber) + " stands for nothing and counts as " +
                                 std::to_string(known.nInitial));
                    }
                    return fUnknown;
                });
            }
        }
    }

    SceneSettings const& m_settings;
    std::unordered_map<PropertyDescriptor const*, std::string> m_names;
};

} // namespace

std::unique_ptr<SceneVisitor> MakeTimeCheck(BuiltScene const& built, SceneNotes& notes) {
    return std::make_unique<TimeCheck>(built.scene.GetSettings(), notes);
}

} // namespace trevik::kelvo::assets
