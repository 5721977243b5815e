// The pictures of examples/text: paper, a panel, and small pictures that stand between letters.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

/** A desk by lamplight, which falls from the upper left. */
Paint Desk(double x, double y) {
    double const grain = Fractal(x / 160, y / 7, 4);
    Colour wood = Mix({0.3, 0.17, 0.2}, {0.2, 0.1, 0.16}, grain);
    wood = std::fmod(y + 30, 120) < 1.5 ? Scale(wood, 0.6) : wood;
    double const lamp = std::hypot((x - 250) / 620, (y - 120) / 420);
    return Paint{Scale(wood, 1.25 - 0.75 * Smooth(0, 1, lamp)), 1};
}

/** A sheet of paper with a shadow, 96 by 96 pixels; a thin frame is printed on it. */
Paint Sheet(double x, double y) {
    Layers layers;
    double const shadow = Box(x, y, 15, 18, 83, 88, 4);
    layers.Lay({0.05, 0.02, 0.06}, 0.55 * std::pow(1 - Smooth(-8, 11, shadow), 1.3));
    double const sheet = Box(x, y, 12, 12, 84, 84, 2);
    layers.LayInside(sheet, {0.985, 0.945, 0.87});
    double const frame = Box(x, y, 20, 20, 76, 76, 7);
    layers.LayInside(std::abs(frame) - 0.6, Mix(Gold, Plum, 0.35), 0.85);
    layers.LayInside(std::abs(frame + 3.5) - 0.35, Mix(Gold, Plum, 0.35), 0.6);
    return layers.Get();
}

/** A night sky with a golden rim to set words on, 64 by 64 pixels. */
Paint NightPanel(double x, double y) {
    Layers layers;
    double const edge = Box(x, y, 2, 2, 62, 62, 14);
    layers.LayInside(edge, Mix({0.17, 0.15, 0.36}, Navy, Smooth(0, 64, y)));
    layers.LayInside(std::abs(edge + 1.2) - 1.1, Mix(Gold, Coral, Smooth(0, 64, y)));
    return layers.Get();
}

// Pictures between letters, drawn on a square of 18 units.

Paint Sun(double x, double y) {
    double const dx = x - 9;
    double const dy = y - 9;
    double const r = std::hypot(dx, dy);
    double const step = Pi / 4;
    double const angle = std::atan2(dy, dx);
    double const folded = std::abs(angle - step * std::round(angle / step)) * r;
    Layers layers(Paint{Coral, 0});
    layers.LayInside(r > 5.6 && r < 8.7 ? folded - 0.9 : 1, Coral);
    layers.LayInside(r - 4.6, Mix(Gold, Coral, Smooth(0, 5, r) * 0.6));
    return layers.Get();
}

Paint Moon(double x, double y) {
    Layers layers(Paint{Indigo, 0});
    double const moon = std::max(Disc(x, y, 8.5, 9, 7.4), -Disc(x, y, 12.4, 6.8, 6.2));
    layers.LayInside(moon, Mix(Plum, Indigo, Smooth(4, 15, y)));
    layers.LayInside(std::abs(x - 13.2) + std::abs(y - 7.2) - 2.2, Gold);
    return layers.Get();
}

Paint Quill(double x, double y) {
    // Along the shaft, from the nib at the lower left to the tip of the feather.
    double const along = ((x - 2.5) + (16 - y)) / 1.4142;
    double const across = ((x - 2.5) - (16 - y)) / 1.4142;
    Layers layers(Paint{Teal, 0});
    double const half = along > 5 && along < 19 ? 3.6 * std::sin(Pi * std::pow((along - 5) / 14, 0.8)) : -1;
    layers.LayInside(std::abs(across) - half, across > 0 ? Sea : Teal);
    layers.LayInside(along > 0 && along < 16 ? std::abs(across) - 0.55 : 1, Navy);
    return layers.Get();
}

template <class Function>
Canvas PaintedBetweenLetters(Function function) {
    return Painted(16, 16, [&](double u, double v) { return function(18 * u, 18 * v); });
}

/** A lozenge between two lines, 120 by 12 pixels, to part a headline from its text. */
Paint Rule(double x, double y) {
    Layers layers(Paint{Plum, 0});
    double const d = std::abs(x - 60);
    layers.LayInside(d > 12 ? std::abs(y - 6) - 0.9 * (1 - (d - 12) / 48) : 1, Mix(Gold, Plum, 0.45));
    layers.LayInside(d + std::abs(y - 6) - 5, Coral);
    layers.LayInside(std::abs(d - 9.5) + std::abs(y - 6) - 2, Mix(Gold, Plum, 0.45));
    return layers.Get();
}

} // namespace

bool PaintText(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    NinePatchMarks const sheet{{{40, 16}}, {{40, 16}}, {28, 40}, {28, 40}};
    NinePatchMarks const panel{{{24, 16}}, {{24, 16}}, {18, 28}, {14, 36}};
    return SavePicture(file("desk.png"), PaintedInPixels(720, 480, Desk)) &&
           SaveNinePatch(file("sheet.9.png"), PaintedInPixels(96, 96, Sheet), sheet) &&
           SaveNinePatch(file("panel.9.png"), PaintedInPixels(64, 64, NightPanel), panel) &&
           SavePicture(file("sun.png"), PaintedBetweenLetters(Sun)) &&
           SavePicture(file("moon.png"), PaintedBetweenLetters(Moon)) &&
           SavePicture(file("quill.png"), PaintedBetweenLetters(Quill)) &&
           SavePicture(file("rule.png"), PaintedInPixels(120, 12, Rule));
}

} // namespace kelvokit::examples
