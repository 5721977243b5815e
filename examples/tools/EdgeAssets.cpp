// The pictures of examples/edges: small ones, for a picture whose pixels are meant to be seen.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

/** Hills under the horizon, 160 by 44 pixels, in three depths. */
Paint Fields(double x, double y) {
    Layers layers;
    struct Row {
        double level, height, length, shift;
        Colour colour;
    };
    Row const rows[] = {{9, 5, 34, 0.4, {0.5, 0.26, 0.42}},
                        {18, 4, 26, 2.1, {0.32, 0.18, 0.38}},
                        {30, 3, 19, 4.0, {0.17, 0.12, 0.28}}};
    for (Row const& row : rows) {
        double const line = row.level - row.height * std::sin(x / row.length + row.shift) -
                            0.4 * row.height * std::sin(2.3 * x / row.length + row.shift);
        layers.LayInside(line - y, Mix(row.colour, Navy, Smooth(0, 30, y - line) * 0.6));
    }
    return layers.Get();
}

/** A mill without its sails, 36 by 58 pixels; the hub is at (18, 14). */
Paint Mill(double x, double y) {
    Layers layers;
    double const half = 8.5 + 0.12 * (y - 14);
    if (y > 14 && y < 58 && std::abs(x - 18) < half) {
        double const round = (x - 18) / half;
        layers.Lay(Mix({0.99, 0.83, 0.7}, {0.5, 0.28, 0.42}, Smooth(-0.7, 1, round)));
        double const course = std::fmod(y, 7);
        layers.LayInside(course - 0.7, {0.45, 0.25, 0.38}, 0.35);
    }
    layers.LayInside(std::max(Ellipse(x, y, 18, 15, 10.5, 12), y - 15),
                     Mix({0.55, 0.2, 0.28}, {0.25, 0.1, 0.22}, Smooth(12, 27, x)));
    layers.LayInside(Box(x, y, 6.5, 14, 29.5, 16.5, 0.8), {0.24, 0.1, 0.2});
    layers.LayInside(Box(x, y, 14.5, 24, 19.5, 31, 2.4), Gold);
    layers.LayInside(Box(x, y, 13.5, 46, 21.5, 60, 4), {0.3, 0.13, 0.22});
    return layers.Get();
}

/** A sail, 9 by 27 pixels: cloth over a lattice. Opaque to its edges, which are left to the sprite. */
Paint Sail(double x, double y) {
    Colour const cloth = Mix(Cream, {0.98, 0.72, 0.5}, Smooth(0, 27, y));
    bool const fLath = std::fmod(y, 5.4) < 0.9 || x < 1.2;
    return Paint{fLath ? Colour{0.62, 0.3, 0.3} : cloth, 1};
}

/** A round sun with a glow, 48 by 48 pixels. */
Paint LowSun(double x, double y) {
    double const r = std::hypot(x - 24, y - 24);
    Layers layers;
    layers.Lay({1, 0.86, 0.6}, 0.6 * std::pow(std::max(0.0, 1 - r / 24), 1.6));
    layers.LayInside(r - 9.5, Mix(Cream, Gold, r / 9.5));
    return layers.Get();
}

} // namespace

bool PaintEdges(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    return SavePicture(file("sky.png"), Painted(4, 96, DuskSky)) &&
           SavePicture(file("sun.png"), PaintedInPixels(48, 48, LowSun)) &&
           SavePicture(file("fields.png"), PaintedInPixels(160, 44, Fields)) &&
           SavePicture(file("mill.png"), PaintedInPixels(36, 58, Mill)) &&
           SavePicture(file("sail.png"), PaintedInPixels(9, 27, Sail));
}

} // namespace kelvokit::examples
