#include "scene/SceneAnimation.h"

#include <cmath>
#include <locale>
#include <sstream>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

/** The second one is CSS's own. */
constexpr char const* CurveNames[] = {"cubicBezier(", "cubic-bezier("};
constexpr char const* CurveForm = "cubicBezier(x1, y1, x2, y2)";

/** A coordinate of the curve from 0 to 1 with two control points. */
double GetCurve(double t, double a, double b) {
    return ((1 - t) * 3 * a + t * 3 * b) * (1 - t) * t + t * t * t;
}

bool IsCurve(std::string const& text) {
    return text.rfind(CurveNames[0], 0) == 0 || text.rfind(CurveNames[1], 0) == 0;
}

/** The numbers of CurveForm; false when something else is in the parentheses. */
bool ReadCurve(std::string const& text, double (&numbers)[4]) {
    std::istringstream stream(text.substr(text.find('(') + 1));
    stream.imbue(std::locale::classic());
    for (int n = 0; n < 4; ++n) {
        char behind = 0;
        if (!(stream >> numbers[n] >> behind) || behind != (n < 3 ? ',' : ')')) {
            return false;
        }
    }
    char more = 0;
    return !(stream >> more) && numbers[0] >= 0 && numbers[0] <= 1 && numbers[2] >= 0 && numbers[2] <= 1 &&
           std::abs(numbers[1]) <= 100 && std::abs(numbers[3]) <= 100;
}

std::vector<std::string> GetEasingNames() {
    std::vector<std::string> names;
    for (unsigned int n = 0; char const* const pName = Interpolate::GetName(n); ++n) {
        names.push_back(pName);
    }
    return names;
}

} // namespace

RealFloat Easing::At(RealFloat t) const {
    if (m_pfnFunction) {
        return m_pfnFunction(t);
    }
    // x grows with the curve's parameter, which halving finds; 40 times are finer than a float.
    double low = 0;
    double high = 1;
    for (int n = 0; n < 40; ++n) {
        double const middle = (low + high) / 2;
        (GetCurve(middle, m_curve[0], m_curve[2]) < static_cast<double>(t) ? low : high) = middle;
    }
    return static_cast<RealFloat>(GetCurve((low + high) / 2, m_curve[1], m_curve[3]));
}

Interpolate::Function ReadTimeMap(JsonCursor const& place) {
    static std::vector<std::string> const s_names = GetEasingNames();
    return Interpolate::Find(s_names[place.ReadWord("easing", s_names)].c_str());
}

Easing ReadEasing(JsonCursor const& place) {
    std::string const& text = place.ReadText();
    if (!IsCurve(text)) {
        static std::vector<std::string> const s_names = GetEasingNames();
        std::vector<std::string> known = s_names;
        known.push_back(CurveForm);
        return Easing(Interpolate::Find(s_names[place.ReadWord("easing", known)].c_str()));
    }
    double numbers[4] = {};
    if (!ReadCurve(text, numbers)) {
        place.FailExpected(std::string(CurveForm) + " with x1 and x2 from 0 to 1");
    }
    return Easing(numbers[0], numbers[1], numbers[2], numbers[3]);
}

bool IsAnimation(JsonCursor const& place) {
    return place.Is(JsonValue::Kind::Object);
}

RealFloat AnimationReader::Turn(std::string const& name, std::size_t nComponent, RealFloat value) const {
    if (!m_frames.fYDown) {
        return value;
    }
    if (nComponent == 1 && name == "Position") {
        return m_frames.top - value;
    }
    // Turned over, a rotation about y goes on as it was, and those about x and z go the other way.
    bool const fOpposite = nComponent == 1 ? name == "Pivot" || name == "ShadowOffset" : name == "Rotation";
    return fOpposite ? 0 - value : value;
}

void AnimationReader::Spend(JsonCursor const& place, std::size_t nFrames, std::size_t nAdded) const {
    if (nFrames > MaximumSamples) {
        place.Fail("expected at most " + std::to_string(MaximumSamples) + " frames, found " +
                   std::to_string(nFrames));
    }
    if (nAdded > m_budget.nSamples) {
        place.FailFinally("the scene's animations have more frames together than a scene may have");
    }
    m_budget.nSamples -= nAdded;
}

bool AnimationReader::IsInSeconds(JsonCursor const& place) {
    std::optional<JsonCursor> const keys = place.Find("keys");
    return keys && keys->Is(JsonValue::Kind::Array) && !keys->GetValue().GetItems().empty() &&
           keys->GetItem(0).Is(JsonValue::Kind::Object) && keys->GetItem(0).Find("time");
}

int AnimationReader::ReadFrame(JsonCursor const& place) const {
    std::optional<JsonCursor> const time = place.Find("time");
    if (!time) {
        return place.Require("frame").ReadInteger(KeyFrames);
    }
    if (place.Find("frame")) {
        time->Fail("a key has either \"frame\" or \"time\"");
    }
    return ReadSeconds(*time);
}

int AnimationReader::ReadSeconds(JsonCursor const& place) const {
    // A tenth of a second is a limit that can be told in few digits.
    double const limit = std::floor(KeyFrames.largest * static_cast<double>(m_frames.delay) * 10) / 10;
    return static_cast<int>(
        std::lround(place.ReadNumber(-limit, limit) / static_cast<double>(m_frames.delay)));
}

int AnimationReader::ReadStart(JsonCursor const& place) const {
    std::optional<JsonCursor> const start = place.Find("start");
    int const nStart = start ? start->ReadInteger(KeyFrames) : 0;
    std::optional<JsonCursor> const delay = place.Find("delay");
    if (!delay) {
        return nStart;
    }
    return nStart + (IsInSeconds(place) ? ReadSeconds(*delay) : delay->ReadInteger(KeyFrames));
}

} // namespace trevik::kelvo::assets
