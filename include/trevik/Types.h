#pragma once

namespace trevik {

/** The scalar of every animated value, coordinate and matrix element: 32-bit floating point. */
using RealFloat = float;

} // namespace trevik
