// The pictures of examples/blend: a bay at sunset, and panes of coloured glass to hold before it.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

/** A bay at sunset in a cream frame with round corners, 192 by 124 pixels. */
Paint Bay(double x, double y) {
    double const frame = Box(x, y, 0, 0, 192, 124, 9);
    if (frame > -3.5) {
        return Paint{Cream, frame < 0 ? 1.0 : 0.0};
    }
    constexpr double Horizon = 76;
    double const ridge = Horizon - 9 - 11 * Fractal(x / 34, 3, 3) - 10 * Smooth(80, 200, x);
    Layers layers(DuskSky(0, y / Horizon));
    layers.Lay({1, 0.86, 0.62}, 0.7 * std::pow(std::max(0.0, 1 - std::hypot(x - 66, y - 62) / 62), 2));
    layers.LayInside(Disc(x, y, 66, 62, 15), Cream);
    layers.LayInside(Ellipse(x, y, 132, 22, 34, 3.2), {0.86, 0.5, 0.52}, 0.55);
    layers.LayInside(Ellipse(x, y, 112, 29, 26, 2.4), {0.93, 0.6, 0.5}, 0.5);
    layers.LayInside(Ellipse(x, y, 34, 15, 22, 2.2), {0.55, 0.3, 0.5}, 0.6);
    layers.LayInside(ridge - y, Mix({0.34, 0.19, 0.4}, {0.22, 0.16, 0.36}, x / 192));
    if (y > Horizon) {
        double const depth = (y - Horizon) / (124 - Horizon);
        Colour const water =
            Mix(Mix({0.95, 0.58, 0.42}, Teal, Smooth(0, 0.5, depth)), Sea, Smooth(0.4, 1, depth));
        double const glint = Noise(x / (4 + 9 * depth), (y - Horizon) / 1.7, 5);
        double const path = 1 - Smooth(4, 14 + 26 * depth, std::abs(x - 66));
        layers.Lay(Mix(water, Cream, glint > 0.78 - 0.4 * path ? 0.15 + 0.6 * path : 0));
    }
    return layers.Get();
}

} // namespace

bool PaintBlend(std::string const& folder) {
    struct Pane {
        char const* pName;
        Paint paint;
    };
    // Of one colour each: what draws in a blend mode shows a single texel of its texture.
    Pane const panes[] = {
        {"coral", {Coral, 0.8}},      {"gold", {Gold, 0.8}},      {"teal", {Teal, 0.8}},
        {"coral-half", {Coral, 0.5}}, {"gold-half", {Gold, 0.5}}, {"teal-half", {Teal, 0.5}},
    };
    for (Pane const& pane : panes) {
        if (!SavePicture(folder + "/" + pane.pName + ".png",
                         PaintedInPixels(4, 4, [&](double, double) { return pane.paint; }))) {
            return false;
        }
    }
    return SavePicture(folder + "/bay.png", PaintedInPixels(192, 124, Bay));
}

} // namespace kelvokit::examples
