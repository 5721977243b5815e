#include "trevik/kelvo/Interpolate.h"

#include <cmath>
#include <cstring>

namespace trevik::kelvo {

namespace {

constexpr RealFloat Pi = 3.14159265358979f;

/** Time within its range; NaN counts as 0. */
RealFloat Clamp(RealFloat t) {
    return !(t > 0) ? 0 : t < 1 ? t : 1;
}

struct NamedFunction {
    char const* m_pName;
    Interpolate::Function m_pfnFunction;
};

NamedFunction const Functions[] = {
    {"step", Interpolate::Step},           {"linear", Interpolate::Linear},
    {"easeIn", Interpolate::EaseIn},       {"easeOut", Interpolate::EaseOut},
    {"easeInOut", Interpolate::EaseInOut}, {"cubicIn", Interpolate::CubicIn},
    {"cubicOut", Interpolate::CubicOut},   {"cubicInOut", Interpolate::CubicInOut},
    {"sineInOut", Interpolate::SineInOut}, {"backOut", Interpolate::BackOut},
    {"bounceOut", Interpolate::BounceOut}, {"elasticOut", Interpolate::ElasticOut},
};
constexpr unsigned int FunctionCount = sizeof(Functions) / sizeof(Functions[0]);

} // namespace

RealFloat Interpolate::Step(RealFloat const& t) {
    return t >= 1 ? 1 : 0;
}

RealFloat Interpolate::Linear(RealFloat const& t) {
    return Clamp(t);
}

RealFloat Interpolate::EaseIn(RealFloat const& t) {
    RealFloat const u = Clamp(t);
    return u * u;
}

RealFloat Interpolate::EaseOut(RealFloat const& t) {
    return 1 - EaseIn(1 - Clamp(t));
}

RealFloat Interpolate::EaseInOut(RealFloat const& t) {
    RealFloat const u = Clamp(t);
    return u * u * (3 - 2 * u);
}

RealFloat Interpolate::CubicIn(RealFloat const& t) {
    RealFloat const u = Clamp(t);
    return u * u * u;
}

RealFloat Interpolate::CubicOut(RealFloat const& t) {
    return 1 - CubicIn(1 - Clamp(t));
}

RealFloat Interpolate::CubicInOut(RealFloat const& t) {
    RealFloat const u = Clamp(t);
    return u < 0.5f ? CubicIn(2 * u) / 2 : 1 - CubicIn(2 - 2 * u) / 2;
}

RealFloat Interpolate::SineInOut(RealFloat const& t) {
    return (1 - std::cos(Pi * Clamp(t))) / 2;
}

RealFloat Interpolate::BackOut(RealFloat const& t) {
    constexpr RealFloat Overshoot = 1.70158f; // swings a tenth past the end
    if (!(t > 0)) {
        return 0;
    }
    RealFloat const u = Clamp(t) - 1;
    return 1 + u * u * ((Overshoot + 1) * u + Overshoot);
}

RealFloat Interpolate::BounceOut(RealFloat const& t) {
    // Four parabolas of one curvature. Each after the first starts and ends on the ground, at 1, and is half
    // as long as the one before; the first is half a parabola.
    constexpr RealFloat Unit = 1 / 2.75f;
    constexpr RealFloat Curvature = 1 / (Unit * Unit);
    RealFloat const u = Clamp(t);
    if (u < Unit) {
        return Curvature * u * u;
    }
    RealFloat start = Unit;
    RealFloat length = Unit;
    while (u > start + length && length > Unit / 4) {
        start += length;
        length /= 2;
    }
    RealFloat const fromTop = u - (start + length / 2);
    RealFloat const height = Curvature * length * length / 4;
    return u >= 1 ? 1 : 1 - height + Curvature * fromTop * fromTop;
}

RealFloat Interpolate::ElasticOut(RealFloat const& t) {
    if (!(t > 0)) {
        return 0;
    }
    if (t >= 1) {
        return 1;
    }
    // Shrinks to a thousandth while it swings three and a third times.
    return 1 + std::exp2(-10 * t) * std::sin((10 * t - 0.75f) * (2 * Pi / 3));
}

Interpolate::Function Interpolate::Find(char const* pName) {
    for (NamedFunction const& function : Functions) {
        if (pName && std::strcmp(pName, function.m_pName) == 0) {
            return function.m_pfnFunction;
        }
    }
    return nullptr;
}

char const* Interpolate::GetName(unsigned int nIndex) {
    return nIndex < FunctionCount ? Functions[nIndex].m_pName : nullptr;
}

char const* Interpolate::GetName(Function pfnFunction) {
    for (NamedFunction const& function : Functions) {
        if (pfnFunction == function.m_pfnFunction) {
            return function.m_pName;
        }
    }
    return nullptr;
}

} // namespace trevik::kelvo
