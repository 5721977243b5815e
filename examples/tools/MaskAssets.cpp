// The pictures of examples/masks: a room, and through its window a ship with portholes.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

constexpr Colour Wood{0.36, 0.19, 0.17};
constexpr Colour Brass{0.86, 0.62, 0.3};

/** The window's opening in the room, 640 by 360 pixels: upright, with rounded upper corners. */
double Opening(double x, double y) {
    return std::max(Box(x, y, 100, 26, 540, 600, 150), y - 306);
}

/** The wall around the window; it catches light near the opening. */
Paint Room(double x, double y) {
    double const light = 1 - Smooth(0, 130, Opening(x, y));
    Colour wall = Mix({0.15, 0.1, 0.2}, {0.27, 0.16, 0.27}, light);
    // Lozenges with a dot in them, row by row.
    double const cellX = 40;
    double const cellY = 56;
    double const shift = std::fmod(std::floor(y / cellY), 2) * 0.5;
    double const fx = x / cellX + shift;
    double const px = (fx - std::floor(fx) - 0.5) * cellX;
    double const py = (y / cellY - std::floor(y / cellY) - 0.5) * cellY;
    double const lozenge = std::abs(px) / 12 + std::abs(py) / 19;
    if ((lozenge > 0.86 && lozenge < 1) || lozenge < 0.2) {
        wall = Mix(wall, Brass, 0.2 + 0.16 * light);
    }
    // Panelling below.
    if (y > 326) {
        wall = Mix(Wood, {0.16, 0.08, 0.13}, Smooth(326, 370, y));
        double const groove = std::abs(std::fmod(x + 20, 80) - 40);
        wall = Scale(wall, groove > 38.6 ? 0.6 : y < 329 ? 1.35 : 1);
    }
    return Paint{wall, 1};
}

/** The window's frame and sill, with the shadow they cast on what is outside; clear in the opening. */
Paint WindowFrame(double x, double y) {
    double const d = Opening(x, y);
    Layers layers;
    layers.LayInside(d, {0.05, 0.03, 0.12}, 0.42 * (1 - Smooth(0, 22, -d)));
    if (d > -2 && d < 17 && y < 309) {
        double const bevel = d < 3 ? 0.62 : d < 5 ? 1.0 : d < 13 ? 0.9 : d < 15 ? 1.0 : 0.66;
        Colour const lit = Mix({0.88, 0.74, 0.64}, Cream, Smooth(330, 60, y));
        layers.Lay(Scale(lit, bevel));
    }
    if (y > 300) {
        layers.LayInside(Box(x, y, 66, 300, 574, 326, 3), {0.78, 0.63, 0.56});
        layers.LayInside(Box(x, y, 66, 300, 574, 311, 3),
                         Mix(Cream, {0.95, 0.82, 0.7}, std::abs(x - 320) / 260));
        layers.LayInside(Box(x, y, 70, 326, 570, 333), {0.05, 0.02, 0.06}, 0.4 * (1 - Smooth(326, 333, y)));
    }
    return layers.Get();
}

/** The sun and its glow, 180 by 180 pixels. */
Paint Sun(double x, double y) {
    double const r = std::hypot(x - 90, y - 90);
    Layers layers;
    layers.Lay({1, 0.8, 0.55}, 0.75 * std::pow(std::max(0.0, 1 - r / 90), 1.8));
    layers.LayInside(r - 33, Mix(Cream, Gold, Smooth(5, 33, r)));
    return layers.Get();
}

/** Water far out, up to the horizon (y = 0), in 440 by 120 pixels; it mirrors the sun at x = 110. */
Paint FarSea(double x, double y) {
    Colour water = Mix({0.98, 0.6, 0.42}, {0.38, 0.22, 0.42}, Smooth(0, 60, y));
    water = Mix(water, {0.13, 0.2, 0.36}, Smooth(30, 115, y));
    double const glint = Noise(x / (7 + 0.4 * y), y / 1.6, 4);
    double const path = 1 - Smooth(0, 26 + 0.9 * y, std::abs(x - 110));
    return Paint{Mix(water, Cream, glint > 0.72 - 0.32 * path ? 0.12 + 0.6 * path : 0), 1};
}

/** A run of waves that continues itself from side to side. */
Paint Waves(double x, double y, double period, Colour const& crest, Colour const& deep) {
    double const phase = 2 * Pi * x / period;
    double const line = 10 - 4.5 * std::sin(phase) - 1.6 * std::sin(2 * phase + 0.9);
    double const depth = y - line;
    if (depth < 0) {
        return Paint{crest, 0};
    }
    Colour const body = Mix(Mix(deep, crest, 0.3), deep, Smooth(0, 34, depth));
    double const second = std::abs(depth - 9 - 3 * std::sin(phase + 1.4));
    return Paint{depth < 2.2 ? crest : second < 0.8 ? Mix(body, crest, 0.5) : body, 1};
}

/** The ship's side, 660 by 190 pixels: rail, deck line, stripe, rivets, and a red belt at the waterline. */
Paint Hull(double x, double y) {
    double const deck = 30 + 10 * std::pow((x - 330) / 330, 2);
    Layers layers;
    double const post = std::abs(std::fmod(x + 22, 44) - 22);
    double const rails = std::min(std::abs(y - deck + 24), std::abs(y - deck + 12));
    if (y < deck && y > deck - 25 && (post < 1.3 || rails < 1.2)) {
        layers.Lay({0.95, 0.86, 0.78});
    }
    if (y < deck) {
        return layers.Get();
    }
    double const below = y - deck;
    Colour side = Mix({0.2, 0.26, 0.42}, {0.1, 0.12, 0.26}, Smooth(0, 150, below));
    double const seam = std::abs(std::fmod(below + 3, 48) - 24);
    double const upright = std::abs(std::fmod(x + 170 / 4.0, 85) - 42.5);
    if (seam > 23.2 || upright > 41.9) {
        side = Scale(side, 0.72);
    }
    double const rivetX = std::abs(std::fmod(x + 5, 10) - 5);
    if (seam < 23.2 && std::hypot(rivetX, 20 - seam) < 1.1) {
        side = Add(side, {0.1, 0.1, 0.12});
    }
    layers.Lay(side);
    layers.LayInside(below - 7, Mix(Cream, {0.8, 0.6, 0.56}, below / 7));
    layers.LayInside(std::abs(below - 11) - 1.4, Brass);
    return layers.Get();
}

/** The brass ring around a porthole, 148 pixels across, with bolts. */
Paint PortholeRing(double x, double y) {
    double const dx = x - 74;
    double const dy = y - 74;
    double const r = std::hypot(dx, dy);
    double const angle = std::atan2(dy, dx);
    Layers layers;
    layers.LayInside(Disc(x, y, 74, 78, 70), {0.02, 0.02, 0.08},
                     0.35 * (1 - Smooth(60, 70, std::hypot(dx, y - 78))));
    // Shade that the ring casts into the cabin.
    layers.LayInside(r - 57, {0.04, 0.02, 0.08}, 0.5 * Smooth(44, 57, r));
    if (r > 54 && r < 67) {
        double const facing = -std::sin(angle + 0.6);
        double const round = 1 - std::pow((r - 60.5) / 6.5, 2);
        Colour const metal = Mix({0.45, 0.27, 0.16}, {0.98, 0.8, 0.48}, 0.25 + 0.45 * round + 0.28 * facing);
        layers.Lay(metal);
        double const step = Pi / 6;
        double const nearest = step * std::round(angle / step);
        double const bolt = std::hypot(dx - 60.5 * std::cos(nearest), dy - 60.5 * std::sin(nearest));
        layers.LayInside(bolt - 3.2, {0.42, 0.26, 0.16});
        layers.LayInside(std::hypot(dx - 60.5 * std::cos(nearest), dy + 0.6 - 60.5 * std::sin(nearest)) - 2.2,
                         {0.94, 0.76, 0.46});
    }
    // Light on the pane.
    double const gleam = Stroke(x, y, 42, 58, 58, 38, 4);
    layers.LayInside(std::max(gleam, r - 54), Cream, 0.3);
    layers.LayInside(std::max(Stroke(x, y, 50, 66, 70, 41, 1.6), r - 54), Cream, 0.25);
    return layers.Get();
}

/** A cabin's wall, 200 by 130 pixels: boards above, a bench below. */
Paint Cabin(double x, double y, Colour const& light, Colour const& dark) {
    double const r = std::hypot((x - 100) / 90, (y - 40) / 75);
    Colour wall = Mix(light, dark, Smooth(0.1, 1.2, r));
    if (std::fmod(x, 22) < 1.3) {
        wall = Scale(wall, 0.86);
    }
    if (y > 97) {
        wall = Mix({0.5, 0.26, 0.2}, {0.3, 0.14, 0.16}, Smooth(97, 130, y));
        wall = y < 101 ? Colour{0.74, 0.44, 0.3} : wall;
    }
    return Paint{wall, 1};
}

/** Water in a bowl, lighter towards the top, 90 by 80 pixels. */
Paint BowlWater(double x, double y) {
    double const sand = 66 - 3 * std::sin(x / 9);
    double const stem = std::abs(x - 66 - 3 * std::sin(y / 6)) - 1.5;
    Layers layers(Paint{Mix({0.46, 0.83, 0.8}, {0.08, 0.42, 0.5}, Smooth(0, 70, y)), 1});
    layers.LayInside(std::max(stem, 24 - y), {0.1, 0.5, 0.32});
    layers.LayInside(std::max(std::abs(x - 73 - 2 * std::sin(y / 5 + 2)) - 1.2, 38 - y), {0.16, 0.6, 0.36});
    layers.LayInside(sand - y,
                     Hash(std::floor(x / 2), std::floor(y / 2), 3) > 0.6 ? Gold : Colour{0.9, 0.66, 0.4});
    return layers.Get();
}

/** The glass around the water: a ball of 66 pixels with an open neck, in 80 by 76. */
Paint BowlGlass(double x, double y) {
    double const r = std::hypot(x - 40, y - 40);
    Layers layers;
    if (y > 13) {
        layers.LayInside(std::abs(r - 33) - 1.1, Cream, 0.75);
        layers.LayInside(std::max(std::abs(std::hypot(x - 40, y - 40) - 27) - 1.4,
                                  std::max(x - 24, std::abs(y - 34) - 12)),
                         Cream, 0.8);
    }
    layers.LayInside(Box(x, y, 19, 10.5, 61, 14, 1.7), Cream, 0.85);
    return layers.Get();
}

/** A goldfish that swims to the right, 40 by 28 pixels. */
Paint Fish(double x, double y) {
    Layers layers;
    double const tail = (14 - x) / 12;
    layers.LayInside(tail > 0 && tail < 1 ? std::abs(y - 14) - (1.5 + 8.5 * tail) * (1 - 0.3 * tail) : 1,
                     {1, 0.62, 0.3});
    layers.LayInside(std::max(Ellipse(x, y, 22, 7, 7, 5.5), y - 10), {1, 0.62, 0.3});
    layers.LayInside(Ellipse(x, y, 24, 14, 13, 7.6), Mix({1, 0.72, 0.32}, Coral, Smooth(8, 20, y)));
    layers.LayInside(
        std::max(Ellipse(x, y, 24, 14, 13, 7.6), std::abs(x - 24 + 0.04 * (y - 14) * (y - 14)) - 1.7), Cream);
    layers.LayInside(Disc(x, y, 31.5, 12, 2.3), Cream);
    layers.LayInside(Disc(x, y, 32, 12, 1.3), Navy);
    return layers.Get();
}

/** A bubble of air, 6 by 6 pixels. */
Paint AirBubble(double x, double y) {
    Layers layers(Paint{Cream, 0});
    layers.LayInside(Disc(x, y, 3, 3, 2.6), Cream, 0.35);
    layers.LayInside(std::abs(Disc(x, y, 3, 3, 2.1)) - 0.5, Cream, 0.8);
    return layers.Get();
}

/** A lantern on its cord, 36 by 70 pixels, hung at the middle of its upper edge. */
Paint Lantern(double x, double y) {
    Layers layers;
    layers.Lay({1, 0.82, 0.5}, 0.55 * std::pow(std::max(0.0, 1 - std::hypot(x - 18, y - 49) / 18), 1.4));
    layers.LayInside(Box(x, y, 17.3, 0, 18.7, 34), {0.25, 0.13, 0.14});
    layers.LayInside(Box(x, y, 9, 38, 27, 60, 6), Mix(Cream, Gold, std::hypot(x - 18, y - 50) / 12));
    layers.LayInside(Box(x, y, 10, 34, 26, 39, 2), {0.35, 0.18, 0.16});
    layers.LayInside(Box(x, y, 10, 59, 26, 63, 2), {0.35, 0.18, 0.16});
    layers.LayInside(std::max(std::abs(std::abs(x - 18) - 4) - 0.6, Box(x, y, 9, 38, 27, 60, 6)),
                     {0.5, 0.28, 0.18});
    return layers.Get();
}

/** A shelf with books of many heights, 100 by 60 pixels. */
Paint Books(double x, double y) {
    Layers layers;
    Colour const covers[] = {Coral, Teal, Gold, Plum, Cream, Sea, {0.7, 0.25, 0.25}};
    double left = 5;
    for (int n = 0; left < 88; ++n) {
        double const width = 6 + std::floor(5 * Hash(n, 1, 7));
        double const top = 52 - 26 - std::floor(16 * Hash(n, 2, 7));
        Colour const cover = covers[n * 3 % 7];
        layers.LayInside(Box(x, y, left, top, left + width - 0.8, 52),
                         Scale(cover, x < left + 1.6 ? 0.75 : 0.95));
        layers.LayInside(Box(x, y, left + 1.6, top + 5, left + width - 1.6, top + 7), Mix(cover, Navy, 0.55));
        left += width;
    }
    layers.LayInside(Box(x, y, 0, 52, 100, 57), {0.62, 0.36, 0.26});
    return layers.Get();
}

/** A cat from behind, 76 by 104 pixels, without its tail. */
Paint Cat(double x, double y) {
    Colour const fur{0.14, 0.1, 0.19};
    Colour const rim{0.82, 0.45, 0.42};
    auto const shape = [](double px, double py) {
        double const mirrored = std::abs(px - 38);
        double const body = std::min(Ellipse(px, py, 38, 74, 25, 30), Ellipse(px, py, 38, 52, 17, 24));
        double const head = Ellipse(px, py, 38, 28, 19, 16);
        // An ear: a triangle with its tip above and outside.
        double const ear =
            std::max({py - 22, (mirrored - 17) - 0.12 * (py - 4), (6 - mirrored) - 0.75 * (py - 12)});
        return std::min({body, head, py > 3 ? ear : 1});
    };
    Layers layers;
    if (shape(x, y) < 0 && y < 102) {
        layers.Lay(Mix(fur, {0.2, 0.14, 0.24}, Smooth(20, 100, y)));
        // The light from outside runs around it.
        if (shape(x + 1.6, y - 1.8) > 0 || shape(x - 1.6, y - 1.8) > 0) {
            layers.Lay(rim, 0.75);
        }
    }
    return layers.Get();
}

/** The cat's tail, 34 by 74 pixels, to be hung at (10, 4). */
Paint Tail(double x, double y) {
    double const bend = 10 + 9 * Smooth(20, 66, y) * std::sin(y / 22);
    double const width = 5.2 - 1.6 * Smooth(30, 70, y);
    Layers layers;
    bool const fTip = std::hypot(x - bend, y - 64) < width;
    if ((y > 4 && y < 64 && std::abs(x - bend) < width) || fTip || Disc(x, y, 10, 5, 5.2) < 0) {
        layers.Lay(x < bend - width + 1.3 ? Colour{0.5, 0.28, 0.36} : Colour{0.17, 0.12, 0.21});
    }
    return layers.Get();
}

/** A pot of leaves, 96 by 120 pixels. */
Paint Plant(double x, double y) {
    Layers layers;
    struct Leaf {
        double tipX, tipY, width;
    };
    Leaf const leaves[] = {{10, 46, 8}, {86, 42, 8}, {28, 14, 9}, {70, 12, 9},
                           {48, 2, 9},  {18, 74, 6}, {80, 72, 6}};
    for (int n = 0; n < 7; ++n) {
        Leaf const& leaf = leaves[n];
        double const dx = leaf.tipX - 48;
        double const dy = leaf.tipY - 88;
        double const length = std::hypot(dx, dy);
        double const along = ((x - 48) * dx + (y - 88) * dy) / length / length;
        double const sag = 10 * along * (1 - along) * (dx > 0 ? 1 : -1);
        double const across = ((x - 48) * dy - (y - 88) * dx) / length + sag;
        double const half = along > 0 && along < 1 ? leaf.width * std::sin(Pi * std::pow(along, 1.2)) : 0;
        if (std::abs(across) < half) {
            Colour const green = Mix({0.1, 0.27, 0.27}, {0.36, 0.55, 0.38}, 0.2 * n / 2 + 0.3 * along);
            layers.Lay(std::abs(across) < 0.7 ? Scale(green, 1.3) : across > 0 ? Scale(green, 0.8) : green);
        }
    }
    double const half = 24 - 0.2 * (y - 86);
    if (y > 86 && y < 118 && std::abs(x - 48) < half) {
        layers.Lay(Mix({0.88, 0.47, 0.34}, {0.5, 0.22, 0.24}, Smooth(-10, half, x - 48)));
    }
    layers.LayInside(Box(x, y, 21, 80, 75, 90, 2),
                     Mix({0.95, 0.55, 0.4}, {0.6, 0.28, 0.27}, Smooth(40, 75, x)));
    return layers.Get();
}

} // namespace

bool PaintMasks(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    auto const warm = [](double x, double y) { return Cabin(x, y, {1, 0.82, 0.55}, {0.7, 0.4, 0.3}); };
    auto const cool = [](double x, double y) { return Cabin(x, y, {0.98, 0.76, 0.6}, {0.46, 0.3, 0.42}); };
    auto const nearWaves = [](double x, double y) {
        return Waves(x, y, 88, {0.62, 0.82, 0.8}, {0.04, 0.17, 0.28});
    };
    auto const backWaves = [](double x, double y) {
        return Waves(x, y, 66, {0.5, 0.6, 0.68}, {0.08, 0.22, 0.34});
    };
    return SavePicture(file("room.png"), PaintedInPixels(640, 360, Room)) &&
           SavePicture(file("window.png"), PaintedInPixels(640, 360, WindowFrame)) &&
           SavePicture(file("sky.png"), Painted(4, 192, DuskSky)) &&
           SavePicture(file("sun.png"), PaintedInPixels(180, 180, Sun)) &&
           SavePicture(file("sea.png"), PaintedInPixels(440, 120, FarSea)) &&
           SavePicture(file("waves-near.png"), PaintedInPixels(528, 64, nearWaves)) &&
           SavePicture(file("waves-back.png"), PaintedInPixels(528, 64, backWaves)) &&
           SavePicture(file("hull.png"), PaintedInPixels(660, 230, Hull)) &&
           SavePicture(file("ring.png"), PaintedInPixels(148, 148, PortholeRing)) &&
           SavePicture(file("cabin-warm.png"), PaintedInPixels(200, 130, warm)) &&
           SavePicture(file("cabin-cool.png"), PaintedInPixels(200, 130, cool)) &&
           SavePicture(file("water.png"), PaintedInPixels(90, 80, BowlWater)) &&
           SavePicture(file("bowl.png"), PaintedInPixels(80, 76, BowlGlass)) &&
           SavePicture(file("fish.png"), PaintedInPixels(40, 28, Fish)) &&
           SavePicture(file("bubble.png"), PaintedInPixels(6, 6, AirBubble)) &&
           SavePicture(file("lantern.png"), PaintedInPixels(36, 70, Lantern)) &&
           SavePicture(file("books.png"), PaintedInPixels(100, 60, Books)) &&
           SavePicture(file("cat.png"), PaintedInPixels(76, 104, Cat)) &&
           SavePicture(file("tail.png"), PaintedInPixels(34, 74, Tail)) &&
           SavePicture(file("plant.png"), PaintedInPixels(96, 120, Plant));
}

} // namespace kelvokit::examples
