#pragma once

#include "Canvas.h"

namespace kelvokit::examples {

// The examples' common colours, those of an evening by the sea.
constexpr Colour Navy{0.075, 0.105, 0.215};
constexpr Colour Indigo{0.165, 0.145, 0.36};
constexpr Colour Plum{0.42, 0.2, 0.41};
constexpr Colour Coral{0.96, 0.46, 0.36};
constexpr Colour Gold{1.0, 0.79, 0.37};
constexpr Colour Cream{1.0, 0.95, 0.86};
constexpr Colour Teal{0.12, 0.58, 0.58};
constexpr Colour Sea{0.06, 0.36, 0.43};

constexpr double Pi = 3.14159265358979323846;

/** The sky from the zenith (v = 0) to the horizon (v = 1). */
inline Paint DuskSky(double, double v) {
    Paint paint{Navy, 1};
    paint.colour = Mix(paint.colour, Indigo, Smooth(0, 0.42, v));
    paint.colour = Mix(paint.colour, Plum, Smooth(0.28, 0.66, v));
    paint.colour = Mix(paint.colour, Coral, Smooth(0.52, 0.86, v));
    paint.colour = Mix(paint.colour, Gold, Smooth(0.78, 1.05, v));
    return paint;
}

} // namespace kelvokit::examples
