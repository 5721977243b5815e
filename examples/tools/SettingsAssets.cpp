// The pictures of examples/settings: cards and buttons that stretch, icons, and the parts of a switch.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

constexpr Colour Shadow{0.05, 0.02, 0.12};

/** The last of the evening: from indigo in the upper left to coral in the lower right. */
Paint Ground(double u, double v) {
    double const along = 0.6 * u + 0.4 * v;
    Colour const dark = Mix(Navy, Indigo, Smooth(0, 0.4, along));
    Colour const warm = Mix(Plum, Coral, Smooth(0.55, 1.2, along));
    return Paint{Mix(dark, warm, Smooth(0.15, 0.95, along)), 1};
}

/** A card, 56 by 56 pixels, 40 of which are its face; the rest is its shadow. */
Paint Card(double x, double y) {
    Layers layers(Paint{Shadow, 0});
    for (int n = 0; n < 8; ++n) {
        layers.LayInside(Box(x, y, 8 - n, 10 - n, 48 + n, 49 + n, 12 + n), Shadow, 0.045);
    }
    double const face = Box(x, y, 8, 7, 48, 47, 13);
    layers.LayInside(face, Mix({1, 0.985, 0.96}, Cream, Smooth(8, 48, y)));
    return layers.Get();
}

/** A button, 40 by 36 pixels. */
Paint Button(double x, double y, Colour const& colour) {
    Layers layers(Paint{colour, 0});
    layers.LayInside(Box(x, y, 1, 3, 39, 35.5, 11), Scale(colour, 0.72));
    double const face = Box(x, y, 1, 1, 39, 33, 11);
    layers.LayInside(face, Mix(Mix(colour, Cream, 0.22), colour, Smooth(1, 26, y)));
    return layers.Get();
}

/** An icon, 40 by 40 pixels: a tile with what `distance` is inside of. */
template <class Distance>
Canvas Icon(Colour const& colour, Distance distance) {
    return PaintedInPixels(40, 40, [&](double x, double y) {
        Layers layers(Paint{colour, 0});
        layers.LayInside(Box(x, y, 1, 1, 39, 39, 11), Mix(Mix(colour, Cream, 0.2), colour, Smooth(0, 34, y)));
        layers.LayInside(distance(x, y), Cream);
        return layers.Get();
    });
}

double Waves(double x, double y) {
    double const r = std::hypot(x - 20, y - 28);
    double const rings = std::min(std::abs(r - 9), std::abs(r - 16)) - 1.5;
    double const wedge = std::abs(x - 20) * 0.9 - (28 - y); // what is above the dot
    return std::min(Disc(x, y, 20, 28, 2.8), std::max(rings, wedge));
}

double Moon(double x, double y) {
    return std::max(Disc(x, y, 20, 20, 11), -Disc(x, y, 25, 16.5, 9.5));
}

double Bell(double x, double y) {
    double const width = 5.5 + 4.5 * Smooth(16, 26, y);
    double const body = std::max({std::abs(x - 20) - width, 16 - y, y - 26.5});
    double const dome = std::max(Disc(x, y, 20, 16, 5.5), y - 16);
    double const rim = Stroke(x, y, 10.5, 26.5, 29.5, 26.5, 1.5);
    return std::min({body, dome, rim, Disc(x, y, 20, 30.3, 2.4), Disc(x, y, 20, 9.8, 1.7)});
}

double Speaker(double x, double y) {
    double const box = Box(x, y, 10, 16, 16, 24, 1);
    double const cone = std::max({std::abs(y - 20) - 4 - (x - 15) * 0.75, 14 - x, x - 21.5});
    double const r = std::hypot(x - 19, y - 20);
    double const arcs =
        std::max(std::min(std::abs(r - 7), std::abs(r - 12)) - 1.35, std::abs(y - 20) - 0.85 * (x - 19));
    return std::min({box, cone, arcs});
}

/** What a switch's knob slides in, 52 by 28 pixels. */
Canvas Track(Colour const& colour) {
    return PaintedInPixels(52, 28, [&](double x, double y) {
        Layers layers(Paint{colour, 0});
        layers.LayInside(Box(x, y, 1, 1, 51, 27, 13), Scale(colour, 0.86 + 0.14 * Smooth(0, 9, y)));
        return layers.Get();
    });
}

Paint Knob(double x, double y) {
    Layers layers(Paint{Shadow, 0});
    for (int n = 0; n < 4; ++n) {
        layers.LayInside(Disc(x, y, 14, 15.2, 10 + 0.8 * n), Shadow, 0.09);
    }
    layers.LayInside(Disc(x, y, 14, 14, 10.4), Mix({1, 1, 1}, Cream, Smooth(6, 24, y)));
    return layers.Get();
}

/** A ring, 32 by 32 pixels, whose end fades. */
Paint Spinner(double x, double y) {
    double const turn = 0.5 + std::atan2(y - 16, x - 16) / (2 * Pi);
    Layers layers(Paint{Gold, 0});
    layers.LayInside(std::abs(Disc(x, y, 16, 16, 12)) - 2, Gold, turn * turn);
    layers.LayInside(Disc(x, y, 4, 16, 2), Gold);
    return layers.Get();
}

} // namespace

bool PaintSettings(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    auto const yes = [](double x, double y) { return Button(x, y, Coral); };
    auto const no = [](double x, double y) { return Button(x, y, {0.72, 0.66, 0.72}); };
    NinePatchMarks const card{{{26, 4}}, {{26, 4}}, {20, 16}, {20, 16}};
    NinePatchMarks const button{{{18, 4}}, {{16, 4}}, {12, 16}, {8, 18}};
    return SavePicture(file("ground.png"), Painted(320, 180, Ground)) &&
           SavePicture(file("shade.png"), Painted(4, 4, [](double, double) { return Paint{Navy, 0.5}; })) &&
           SaveNinePatch(file("card.9.png"), PaintedInPixels(56, 56, Card), card) &&
           SaveNinePatch(file("yes.9.png"), PaintedInPixels(40, 36, yes), button) &&
           SaveNinePatch(file("no.9.png"), PaintedInPixels(40, 36, no), button) &&
           SavePicture(file("waves.png"), Icon(Teal, Waves)) &&
           SavePicture(file("moon.png"), Icon({0.36, 0.32, 0.68}, Moon)) &&
           SavePicture(file("bell.png"), Icon(Coral, Bell)) &&
           SavePicture(file("speaker.png"), Icon({0.93, 0.66, 0.24}, Speaker)) &&
           SavePicture(file("on.png"), Track(Teal)) &&
           SavePicture(file("off.png"), Track({0.76, 0.71, 0.75})) &&
           SavePicture(file("knob.png"), PaintedInPixels(28, 28, Knob)) &&
           SavePicture(file("spinner.png"), PaintedInPixels(32, 32, Spinner));
}

} // namespace kelvokit::examples
