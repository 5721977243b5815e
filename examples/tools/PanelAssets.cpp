// The pictures of examples/panels: nine-patches with their marks, and what lies in and around them.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

/**
 * A gilt frame, 100 by 100 pixels, open in the middle. Corners of 30 and ornaments of 20 in the middle of
 * each side keep their size; the plain moulding between them, 10 long, stretches.
 */
Paint GiltFrame(double x, double y) {
    double const outer = Box(x, y, 0, 0, 100, 100, 4);
    double const depth = -outer; // from the outer edge inwards
    Layers layers;
    if (depth > 0 && depth < 22) {
        double const profile = depth < 2    ? 0.55
                               : depth < 5  ? 1.08
                               : depth < 13 ? 0.72 + 0.3 * std::sin((depth - 5) / 8 * Pi)
                               : depth < 15 ? 0.5
                               : depth < 19 ? 1.0
                                            : 0.62;
        // Upper and left sides are lit.
        bool const fLit = std::min(x, y) < std::min(100 - x, 100 - y);
        layers.Lay(Scale(Mix({0.9, 0.62, 0.28}, Gold, fLit ? 0.8 : 0.15), profile * (fLit ? 1 : 0.85)));
    } else if (depth >= 22 && depth < 28) {
        layers.Lay({0.04, 0.02, 0.1}, 0.5 * (1 - Smooth(22, 28, depth)));
    }
    // The same ornament in each corner and at each side's middle: folded into one of them.
    double const fx = std::min(x, 100 - x);
    double const fy = std::min(y, 100 - y);
    double const cornerX = fx - 13;
    double const cornerY = fy - 13;
    double const r = std::hypot(cornerX, cornerY);
    double const petals = 12.5 * (0.8 + 0.2 * std::cos(8 * std::atan2(cornerY, cornerX)));
    layers.LayInside(r - petals - 1, {0.36, 0.16, 0.16});
    layers.LayInside(r - petals, Mix(Cream, Gold, Smooth(0, 9, r)));
    layers.LayInside(std::abs(r - 5.4) - 0.7, {0.66, 0.38, 0.2});
    layers.LayInside(r - 3.2, Coral);
    double const along = 50 - std::max(fx, fy);
    double const across = std::min(fx, fy) - 10.5;
    double const shield = std::abs(along) / 8.7 + std::abs(across) / 8.7 - 1;
    layers.LayInside(shield - 0.1, {0.36, 0.16, 0.16});
    layers.LayInside(shield, Mix(Gold, Cream, Smooth(0.0, -0.6, shield)));
    layers.LayInside(shield + 0.5, Teal);
    return layers.Get();
}

/** A speech bubble, 64 by 56 pixels, with its tip at the lower left; `fRight` puts the tip to the right. */
Paint Bubble(double x, double y, Colour const& top, Colour const& bottom, bool fRight) {
    double const px = fRight ? 64 - x : x;
    auto const shape = [](double sx, double sy) {
        double const body = Box(sx, sy, 4, 3, 60, 43, 14);
        // The tip: between a steep and a flat line, down to (10, 53).
        double const tip = std::max(
            {(sy - 36) - 17 * (sx - 9) / 6.0 * 1.6 - 10, sy - 53.5 + 0.95 * (sx - 10), 9 - sx, 34 - sy});
        return std::min(body, tip);
    };
    Layers layers;
    for (int n = 4; n >= 1; --n) {
        layers.LayInside(shape(px, y - 0.7 * n), {0.03, 0.01, 0.1}, 0.13);
    }
    layers.LayInside(shape(px, y), Mix(top, bottom, Smooth(3, 45, y)));
    if (shape(px, y) < 0 && shape(px, y - 1.3) > 0) {
        layers.Lay({1, 1, 1}, 0.55);
    }
    return layers.Get();
}

/** A button, 56 by 48 pixels, raised over its shadow. */
Paint Button(double x, double y, Colour const& colour) {
    Layers layers;
    layers.LayInside(Box(x, y, 3, 6, 53, 47, 19), {0.03, 0.01, 0.1}, 0.3);
    layers.LayInside(Box(x, y, 4, 5, 52, 44, 18), Scale(colour, 0.58));
    double const face = Box(x, y, 4, 3, 52, 39, 18);
    layers.LayInside(face, Mix(Mix(colour, Cream, 0.32), colour, Smooth(3, 30, y)));
    layers.LayInside(std::abs(face + 1.6) - 0.7, Mix(colour, Cream, 0.65), 0.9 * (1 - Smooth(3, 24, y)));
    return layers.Get();
}

/** A line of writing, seen from too far away to be read: 14 by 8 pixels, all round at its ends. */
Paint Bar(double x, double y, Colour const& colour) {
    Layers layers(Paint{colour, 0});
    layers.LayInside(Box(x, y, 0.5, 0.5, 13.5, 7.5, 3.5), colour);
    return layers.Get();
}

/** The velvet in the frame and the sun on it. */
Paint Velvet(double, double v) {
    return Paint{Mix({0.1, 0.3, 0.36}, {0.08, 0.12, 0.25}, Smooth(0, 1, v)), 1};
}

Paint Emblem(double x, double y) {
    double const dx = x - 60;
    double const dy = y - 60;
    double const r = std::hypot(dx, dy);
    double const angle = std::atan2(dy, dx);
    Layers layers(Paint{Gold, 0});
    double const step = 2 * Pi / 16;
    double const folded = std::abs(angle - step * std::round(angle / step)) * r;
    bool const fLong = static_cast<int>(std::lround(angle / step) + 16) % 2 == 0;
    double const tip = fLong ? 57 : 46;
    layers.LayInside(r > 30 ? folded - 4.6 * (tip - r) / (tip - 30) : 1, fLong ? Gold : Coral);
    layers.LayInside(r - 30.5, {0.08, 0.2, 0.3});
    layers.LayInside(r - 27, Mix(Cream, Gold, Smooth(-26, 24, dy)));
    // A face, asleep.
    double const brow = std::abs(std::hypot(std::abs(dx) - 10, dy + 4) - 5);
    layers.LayInside(dy > -3.6 ? brow - 0.95 : 1, {0.55, 0.25, 0.22});
    layers.LayInside(dy > 6.5 ? std::abs(std::hypot(dx, dy - 5) - 8) - 1 : 1, {0.55, 0.25, 0.22});
    layers.LayInside(Disc(std::abs(dx), dy, 16.5, 7.5, 4), Coral, 0.6);
    return layers.Get();
}

/** Glyphs for buttons, 24 by 24 pixels: a heart and an arrow. */
Paint Heart(double x, double y) {
    double const px = std::abs(x - 12) / 10.5;
    double const py = (13.2 - y) / 10.5;
    double const a = px * px + py * py - 0.62;
    Layers layers(Paint{Cream, 0});
    layers.LayInside(a * a * a - px * px * py * py * py, Cream);
    return layers.Get();
}

Paint Arrow(double x, double y) {
    Layers layers(Paint{Cream, 0});
    double const head = std::min(Stroke(x, y, 12, 4.5, 19.5, 12, 1.7), Stroke(x, y, 12, 19.5, 19.5, 12, 1.7));
    layers.LayInside(std::min(head, Stroke(x, y, 4, 12, 18, 12, 1.7)), Cream);
    return layers.Get();
}

Paint Dot(double x, double y) {
    Layers layers(Paint{Plum, 0});
    layers.LayInside(Disc(x, y, 6, 6, 5), Plum);
    return layers.Get();
}

/** The wall behind it all. */
Paint Wall(double x, double y) {
    double const r = std::hypot((x - 180) / 420, (y - 150) / 300);
    Colour colour = Mix({0.34, 0.2, 0.4}, {0.12, 0.08, 0.22}, Smooth(0, 1, r));
    double const stripe = std::fmod(x, 36);
    return Paint{stripe < 18 ? Scale(colour, 0.94) : colour, 1};
}

} // namespace

bool PaintPanels(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    auto const said = [](double x, double y) { return Bubble(x, y, Cream, {0.97, 0.84, 0.72}, false); };
    auto const answered = [](double x, double y) { return Bubble(x, y, {0.3, 0.72, 0.69}, Teal, true); };
    auto const coral = [](double x, double y) { return Button(x, y, Coral); };
    auto const indigo = [](double x, double y) { return Button(x, y, {0.4, 0.36, 0.72}); };
    auto const ink = [](double x, double y) { return Bar(x, y, Mix(Plum, Cream, 0.25)); };
    auto const chalk = [](double x, double y) { return Bar(x, y, Mix(Cream, Teal, 0.12)); };
    NinePatchMarks const frame{{{30, 10}, {60, 10}}, {{30, 10}, {60, 10}}, {22, 56}, {22, 56}};
    NinePatchMarks const bubble{{{34, 8}}, {{20, 6}}, {14, 36}, {12, 22}};
    NinePatchMarks const button{{{26, 4}}, {{20, 3}}, {18, 20}, {10, 22}};
    NinePatchMarks const bar{{{6, 2}}, {{3, 2}}, {4, 6}, {2, 4}};
    return SavePicture(file("wall.png"), PaintedInPixels(640, 360, Wall)) &&
           SavePicture(file("velvet.png"), Painted(4, 64, Velvet)) &&
           SavePicture(file("emblem.png"), PaintedInPixels(120, 120, Emblem)) &&
           SavePicture(file("heart.png"), PaintedInPixels(24, 24, Heart)) &&
           SavePicture(file("arrow.png"), PaintedInPixels(24, 24, Arrow)) &&
           SavePicture(file("dot.png"), PaintedInPixels(12, 12, Dot)) &&
           SaveNinePatch(file("frame.9.png"), PaintedInPixels(100, 100, GiltFrame), frame) &&
           SaveNinePatch(file("bubble.9.png"), PaintedInPixels(64, 56, said), bubble) &&
           SaveNinePatch(file("answer.9.png"), PaintedInPixels(64, 56, answered), bubble) &&
           SaveNinePatch(file("button-coral.9.png"), PaintedInPixels(56, 48, coral), button) &&
           SaveNinePatch(file("button-indigo.9.png"), PaintedInPixels(56, 48, indigo), button) &&
           SaveNinePatch(file("bar-ink.9.png"), PaintedInPixels(14, 8, ink), bar) &&
           SaveNinePatch(file("bar-chalk.9.png"), PaintedInPixels(14, 8, chalk), bar);
}

} // namespace kelvokit::examples
