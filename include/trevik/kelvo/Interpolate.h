#pragma once

#include "trevik/Export.h"
#include "trevik/Types.h"

namespace trevik::kelvo {

/**
 * Functions from normalised time (0 to 1) to normalised progress (0 at 0, 1 at 1), for easing and time maps.
 */
struct TREVIK_API Interpolate {
    /** A map from a fraction, 0 to 1, to another. */
    typedef RealFloat (*Function)(RealFloat const& t);

    static RealFloat Step(RealFloat const& t);       ///< 0 until t reaches 1
    static RealFloat Linear(RealFloat const& t);     ///< t
    static RealFloat EaseIn(RealFloat const& t);     ///< t²
    static RealFloat EaseOut(RealFloat const& t);    ///< 1 - (1 - t)²
    static RealFloat EaseInOut(RealFloat const& t);  ///< smooth step 3t² - 2t³
    static RealFloat CubicIn(RealFloat const& t);    ///< t³
    static RealFloat CubicOut(RealFloat const& t);   ///< 1 - (1 - t)³
    static RealFloat CubicInOut(RealFloat const& t); ///< the two cubics joined at t = 0.5
    static RealFloat SineInOut(RealFloat const& t);  ///< (1 - cos(πt)) / 2
    static RealFloat BackOut(RealFloat const& t);    ///< overshoots by about a tenth, then settles
    static RealFloat BounceOut(RealFloat const& t);  ///< falls and bounces three times
    static RealFloat ElasticOut(RealFloat const& t); ///< a damped oscillation around 1

    /** Function by its name in scene files ("linear", "easeInOut", ...); null for an unknown name. */
    static Function Find(char const* pName);
    /** Name of entry `nIndex`, for messages; null past the last one. */
    static char const* GetName(unsigned int nIndex);
    /** Name of a function of this struct; null for any other. */
    static char const* GetName(Function pfnFunction);
};

} // namespace trevik::kelvo
