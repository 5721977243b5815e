// The pictures of examples/live: a pool with a mosaic on its floor, a rim of stone, water lilies.

#include "ExampleAssets.h"
#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

namespace kelvokit::examples {

namespace {

/** A fish that swims along its own x axis, seen from above. */
struct Carp {
    double x, y; ///< of its middle, pixels
    double angle;
    double length; ///< from the middle to the nose
    double bend;   ///< how far nose and tail are off the axis
    Colour ground;
    Colour spots;
    unsigned int nSeed;

    /** Lays the fish over the mosaic at one point. */
    void Lay(Layers& layers, double px, double py) const {
        double const dx = (px - x) / length;
        double const dy = (py - y) / length;
        double const along = dx * std::cos(angle) + dy * std::sin(angle);
        double const across = dy * std::cos(angle) - dx * std::sin(angle) - bend * along * along;
        Colour const fin = Mix(ground, Cream, 0.35);
        // Fins behind the gills, and the tail, which opens backwards.
        layers.LayInside(Ellipse(along, std::abs(across), 0.3, 0.3, 0.2, 0.14), fin);
        layers.LayInside(Ellipse(along, std::abs(across), -0.35, 0.18, 0.14, 0.09), fin);
        double const tail = std::abs(across) - 0.03 - 0.62 * (-0.78 - along);
        layers.LayInside(std::max(std::max(tail, -1.3 - along + 0.3 * std::abs(across)), along + 0.7), fin);
        double const half = 0.27 * std::sqrt(std::max(0.0, 1 - along * along)) * (0.72 + 0.28 * along);
        double const body = std::abs(along) < 1 ? std::abs(across) - half : 1;
        bool const fSpot = Noise(3 * along + 7, 4 * across + 3, nSeed) > 0.55;
        layers.LayInside(body, fSpot ? spots : ground);
        layers.LayInside(std::max(body, std::abs(across) - 0.035), Mix(ground, spots, 0.6));
        layers.LayInside(Disc(along, std::abs(across), 0.76, 0.11, 0.045), Navy);
    }
};

/** What the mosaic shows, on the floor of 600 by 320 pixels. */
Colour Design(double x, double y) {
    Colour const deep{0.05, 0.33, 0.46};
    Colour const light{0.16, 0.62, 0.66};
    double const middle = std::hypot((x - 300) / 300, (y - 160) / 160);
    Layers layers(Paint{Mix(light, deep, Smooth(0.1, 1.15, middle)), 1});
    double const border = -Box(x, y, 0, 0, 600, 320);
    layers.LayInside(std::abs(border - 20) - 8, Mix(Gold, Coral, Smooth(0, 600, x)));
    layers.LayInside(std::abs(border - 20) - 8 + 8 * std::abs(std::sin((x + y) * Pi / 32)), Navy);
    Carp const carps[] = {{262, 108, -0.3, 112, -0.26, Cream, {0.94, 0.3, 0.2}, 5},
                          {340, 214, Pi - 0.25, 104, -0.28, Gold, {0.86, 0.24, 0.2}, 9}};
    for (Carp const& carp : carps) {
        carp.Lay(layers, x, y);
    }
    return layers.Get().colour;
}

/** Small tiles, each of one colour. */
Paint Floor(double x, double y) {
    constexpr double Size = 5;
    double const column = std::floor(x / Size);
    double const row = std::floor(y / Size);
    Colour const colour = Design((column + 0.5) * Size, (row + 0.5) * Size);
    double const tone = 0.86 + 0.28 * Hash(column, row, 3);
    double const tile = Box(x, y, column * Size + 0.35, row * Size + 0.35, column * Size + Size - 0.35,
                            row * Size + Size - 0.35, 0.9);
    return Paint{tile < 0 ? Scale(colour, tone) : Mix(colour, {0.04, 0.16, 0.24}, 0.72), 1};
}

/** Slabs around the pool, 640 by 360 pixels, with a shadow on the water. */
Paint Rim(double x, double y) {
    double const inside = Box(x, y, 20, 20, 620, 340, 10);
    if (inside < 0) {
        double const light = Box(x, y, 26, 30, 640, 360, 10);
        return Paint{{0.01, 0.06, 0.12}, 0.55 * Smooth(-6, 8, light)};
    }
    double const outside = std::min(std::min(x, 640 - x), std::min(y, 360 - y));
    bool const fLevel = y < 20 || y > 340;
    double const along = fLevel ? x : y - 20;
    double const slab = std::floor(along / 64 + 0.5);
    double const joint = std::abs(along / 64 + 0.5 - slab - 0.5) * 64;
    Colour const stone =
        Mix({0.78, 0.7, 0.66}, {0.6, 0.53, 0.55}, Hash(slab, fLevel ? y > 180 : 2 + (x > 320), 7));
    double const grain = 0.88 + 0.24 * Fractal(x / 9, y / 9, 4);
    Layers layers(Paint{Scale(stone, grain), 1});
    layers.Lay({0.25, 0.18, 0.24}, 0.7 * (1 - Smooth(0.6, 1.6, 32 - joint)));
    layers.Lay(Cream, 0.45 * (1 - Smooth(1.5, 3.5, inside)));
    layers.Lay(Navy, 0.35 * (1 - Smooth(0, 4, outside)));
    return layers.Get();
}

/** A water lily's leaf, 96 by 96 pixels, over its own shadow. */
Paint Leaf(double x, double y) {
    auto const shape = [](double px, double py) {
        double const angle = std::atan2(py - 48, px - 48);
        double const radius = 38 + 1.1 * std::sin(9 * angle) + 0.7 * std::sin(5 * angle + 1);
        double const notch = 7 - 30 * std::abs(angle - 0.5);
        return std::max(std::hypot(px - 48, py - 48) - radius, notch);
    };
    Layers layers;
    layers.LayInside(shape(x - 4, y - 6), {0.01, 0.08, 0.12}, 0.42);
    double const leaf = shape(x, y);
    if (leaf < 0) {
        double const angle = std::atan2(y - 48, x - 48);
        double const r = std::hypot(x - 48, y - 48) / 38;
        layers.Lay(Mix({0.2, 0.52, 0.3}, {0.44, 0.72, 0.33}, Smooth(-1, 1, (48 - y + 48 - x) / 50)));
        double const vein = std::abs(std::sin(6 * (angle - 0.5))) * r;
        layers.Lay({0.72, 0.86, 0.5}, 0.5 * (1 - Smooth(0.02, 0.1, vein)) * (1 - 0.6 * r));
        layers.Lay({0.1, 0.3, 0.22}, 0.55 * Smooth(-3.5, -0.5, leaf));
    }
    return layers.Get();
}

/** A flower, 60 by 60 pixels: three rings of petals. */
Paint Flower(double x, double y) {
    Layers layers;
    layers.LayInside(Disc(x, y, 32, 34, 22), {0.02, 0.1, 0.1}, 0.3);
    struct Ring {
        int nPetals;
        double reach, length, width, turn;
        Colour tip;
    } const rings[] = {{9, 16, 11.5, 6.2, 0.1, {0.95, 0.55, 0.66}},
                       {8, 11, 9.5, 5.4, 0.5, {0.99, 0.72, 0.78}},
                       {6, 6, 6.5, 4, 0.2, {1, 0.88, 0.9}}};
    for (Ring const& ring : rings) {
        for (int n = 0; n < ring.nPetals; ++n) {
            double const angle = ring.turn + 2 * Pi * n / ring.nPetals;
            double const dx = (x - 30) * std::cos(angle) + (y - 30) * std::sin(angle) - ring.reach;
            double const dy = (y - 30) * std::cos(angle) - (x - 30) * std::sin(angle);
            double const petal = Ellipse(dx, dy, 0, 0, ring.length, ring.width);
            layers.LayInside(petal, Mix(Cream, ring.tip, Smooth(-ring.length, ring.length, dx)));
            layers.LayInside(std::max(petal, -petal - 0.16), {0.8, 0.36, 0.5}, 0.5);
        }
    }
    layers.LayInside(Disc(x, y, 30, 30, 5), Gold);
    layers.LayInside(Disc(x, y, 29, 29, 2.4), Cream, 0.6);
    return layers.Get();
}

} // namespace

bool PaintLive(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    return SavePicture(file("floor.png"), PaintedInPixels(600, 320, Floor)) &&
           SavePicture(file("rim.png"), PaintedInPixels(640, 360, Rim)) &&
           SavePicture(file("lily.png"), PaintedInPixels(96, 96, Leaf)) &&
           SavePicture(file("flower.png"), PaintedInPixels(60, 60, Flower));
}

} // namespace kelvokit::examples
