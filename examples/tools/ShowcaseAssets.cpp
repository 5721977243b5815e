// Paints the pictures of examples/showcase: kelvo-showcase-assets FOLDER. The same pictures, byte for byte,
// every time.

#include "Painting.h"
#include "Palette.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

using namespace kelvokit::examples;

/** A ringless gas planet, lit from the lower left where the sun has set. */
Paint Planet(double u, double v) {
    double const x = 2.06 * u - 1.03;
    double const y = 2.06 * v - 1.03;
    double const r2 = x * x + y * y;
    double const z = std::sqrt(std::max(0.0, 1 - r2));
    double const tilt = y * 0.94 - x * 0.34;
    double const turbulence = Fractal(3.1 * x + 7, 9 * tilt, 4) - 0.5;
    double const band = 0.5 + 0.5 * std::sin(11 * tilt + 2.6 * turbulence);
    Colour surface = Mix({0.86, 0.5, 0.42}, {0.98, 0.82, 0.62}, band);
    surface =
        Mix(surface, {0.62, 0.3, 0.42}, Smooth(0.55, 0.95, std::sin(5 * tilt + 1.3 + turbulence)) * 0.7);
    double const storm = std::hypot((x + 0.18) / 0.26, (tilt - 0.3) / 0.12);
    surface = Mix(surface, {0.99, 0.9, 0.74}, 0.75 * (1 - Smooth(0.7, 1.05, storm)));
    double const light = std::max(0.0, -0.62 * x + 0.5 * y + 0.6 * z);
    Paint paint{Scale(surface, 0.1 + 1.02 * std::pow(light, 0.85)), 1 - Smooth(0.972, 1.0, std::sqrt(r2))};
    // The rim catches the colour of the sky.
    paint.colour = Add(paint.colour, Scale({0.34, 0.22, 0.5}, 0.5 * std::pow(1 - z, 3)));
    return paint;
}

/** Light that falls off from a point. */
Paint Glow(double u, double v) {
    double const r = std::hypot(2 * u - 1, 2 * v - 1);
    return Paint{{1, 0.8, 0.62}, 0.85 * std::pow(std::max(0.0, 1 - r), 2.2)};
}

/** A soft dark spot: only its alpha is kept. */
Paint Shadow(double u, double v) {
    double const r = std::hypot(2 * u - 1, 2 * v - 1);
    return Paint{{0, 0, 0}, 0.8 * (1 - Smooth(0.05, 1, r))};
}

/** Small stars on nothing, a few of them bright. */
void PaintStars(Canvas& canvas, unsigned int nSeed) {
    Random random(nSeed);
    for (int n = 0; n < 150; ++n) {
        double const x = random.Next() * canvas.GetWidth();
        double const y = std::pow(random.Next(), 1.35) * canvas.GetHeight();
        double const size = 0.55 + 1.25 * std::pow(random.Next(), 6);
        Colour const tint = Mix({0.78, 0.86, 1}, {1, 0.93, 0.8}, random.Next());
        canvas.Spot(x, y, size, Paint{tint, 0.45 + 0.55 * random.Next()});
    }
}

/** A bank of cloud with a flat underside, lit from below. */
Paint Cloud(double u, double v, double seed, double density) {
    double const x = 5.4 * u;
    double const y = 2.1 * v;
    double const fray = Fractal(x + seed, 1.6 * y + seed, 5);
    double const billow = Fractal(2.3 * x + 3 * seed, 2.6 * y - seed, 4);
    double const shape = 1 - std::pow(std::abs(2 * u - 1), 2.6) - std::pow(std::abs(2 * v - 1.06), 2.1);
    double const depth = 0.72 * shape + 1.25 * (fray - 0.5) + 0.55 * (billow - 0.5) - 0.16;
    double const edge = Smooth(0, 0.05, std::min({u, v, 1 - u, 1 - v}));
    double const lit = std::min(1.0, std::max(0.0, 0.25 + 0.75 * v + 1.1 * (0.5 - billow)));
    return Paint{Mix({0.52, 0.32, 0.52}, {1, 0.72, 0.56}, lit), density * edge * Smooth(0, 0.62, depth)};
}

/** A line of hills; `horizon` is where the line runs without them. */
Paint Hills(double u, double v, double seed, double height, Colour top, Colour foot) {
    double const ridge =
        0.5 - height * (Fractal(4 * u + seed, seed, 5) - 0.42) - 0.1 * height * std::sin(9 * u + seed);
    double const below = (v - ridge) / (1 - ridge);
    return Paint{Mix(top, foot, std::max(0.0, below)), v > ridge ? 1.0 : 0.0};
}

/** A plaza of tiles that loses itself in the distance (v = 0). */
Paint Floor(double u, double v) {
    double const nTiles = 16;
    double const x = u * nTiles;
    double const y = v * nTiles;
    double const fx = x - std::floor(x);
    double const fy = y - std::floor(y);
    double const border = std::min({fx, fy, 1 - fx, 1 - fy});
    bool const fDark = (static_cast<int>(std::floor(x)) + static_cast<int>(std::floor(y))) % 2 == 0;
    double const diamond = std::abs(fx - 0.5) + std::abs(fy - 0.5);
    Colour colour = fDark ? Colour{0.12, 0.13, 0.28} : Colour{0.2, 0.17, 0.36};
    if (diamond < 0.3) {
        colour = fDark ? Mix(colour, Teal, 0.55) : Mix(colour, Coral, 0.4);
    } else if (diamond < 0.335) {
        colour = Mix(colour, Gold, 0.5);
    }
    if (border < 0.03) {
        colour = Colour{0.07, 0.07, 0.17};
    }
    double const side = std::min(u, 1 - u);
    return Paint{Mix(Coral, colour, Smooth(0, 0.5, v)), Smooth(0, 0.3, v) * Smooth(0, 0.12, side)};
}

// The five cards: a pattern each, u to the right and v downward, v running to 1.5 over the card's height.

Colour Sunburst(double u, double v) {
    double const x = u - 0.5;
    double const y = v - 1.08;
    double const r = std::hypot(x, y);
    double const ray = std::sin(14 * std::atan2(y, x) + 0.4);
    Colour colour = ray > 0 ? Coral : Mix(Coral, Gold, 0.72);
    colour = Mix(colour, Plum, Smooth(0.55, 1.15, r) * 0.75);
    if (r < 0.3) {
        colour = r > 0.265 ? Plum : r > 0.2 ? Cream : Gold;
    }
    return v > 1.08 ? (std::fmod(v * 14, 1.0) < 0.42 ? Mix(Teal, Navy, 0.25) : Navy) : colour;
}

Colour Scales(double u, double v) {
    double const size = 0.25;
    Colour colour = Sea;
    // Rows of discs, each hiding the upper half of the row behind.
    for (int nRow = 0; nRow < 14; ++nRow) {
        double const cy = nRow * size * 0.5;
        double const shift = nRow % 2 ? 0.5 * size : 0;
        double const cx = std::round((u - shift) / size) * size + shift;
        double const r = std::hypot(u - cx, v - cy) / (0.5 * size);
        if (r < 1.0) {
            double const ring = std::fmod(r * 3.0, 1.0);
            Colour const base = Mix(Teal, Navy, 0.15 + 0.7 * v / 1.5);
            colour = r > 0.93 ? Cream : ring > 0.78 ? Mix(base, Cream, 0.75) : Mix(base, Teal, 0.5 * (1 - r));
        }
    }
    return colour;
}

Colour Triangles(double u, double v) {
    double const size = 0.2;
    double const row = v / (size * 0.866);
    double const a = u / size - 0.5 * row;
    double const b = row;
    double const fa = a - std::floor(a);
    double const fb = b - std::floor(b);
    bool const fUpper = fa + fb > 1;
    double const pick = Hash(std::floor(a) * 2 + fUpper, std::floor(b), 5);
    Colour const palette[] = {Gold, Coral, Plum, Teal, Indigo, Cream};
    Colour const colour = palette[static_cast<int>(pick * 5.999)];
    double const shade = 0.85 + 0.15 * Hash(std::floor(a) + 31, std::floor(b) + fUpper, 6);
    return Mix(Navy, Scale(colour, shade), 0.35 + 0.6 * v / 1.5);
}

Colour Rosette(double u, double v) {
    double const x = u - 0.5;
    double const y = v - 0.75;
    double const r = std::hypot(x, y);
    double const angle = std::atan2(y, x);
    Colour colour = Mix(Indigo, Navy, Smooth(0, 0.8, r));
    double const outer = 0.41 * (0.72 + 0.28 * std::cos(8 * angle));
    double const middle = 0.33 * (0.68 + 0.32 * std::cos(8 * angle + Pi));
    double const inner = 0.19 * (0.8 + 0.2 * std::cos(16 * angle));
    if (r < outer) {
        colour = r > outer - 0.022 ? Gold : Mix(Plum, Coral, r / outer);
    }
    if (r < middle) {
        colour = r > middle - 0.018 ? Cream : Mix(Coral, Gold, r / middle);
    }
    if (r < inner) {
        colour = r > inner - 0.016 ? Gold : r < 0.06 ? Coral : Teal;
    }
    double const dots = std::hypot(std::fmod(u * 8, 1.0) - 0.5, std::fmod(v * 8, 1.0) - 0.5);
    return r > 0.44 && dots < 0.13 ? Mix(colour, Gold, 0.7) : colour;
}

Colour Waves(double u, double v) {
    Colour colour = Mix(Cream, Gold, Smooth(0, 0.75, v));
    if (std::hypot(u - 0.66, v - 0.36) < 0.17) {
        colour = Coral;
    }
    for (int nWave = 0; nWave < 6; ++nWave) {
        double const line = 0.58 + 0.16 * nWave + 0.05 * std::sin(2 * Pi * (u * 1.5 + 0.31 * nWave));
        if (v > line) {
            colour = Mix(Teal, Navy, nWave / 6.5);
            colour = v < line + 0.022 ? Mix(colour, Cream, 0.85) : colour;
        }
    }
    return colour;
}

/**
 * A card: rounded, with a cream border; the outermost texels stay clear, which smooths the edges when it
 * turns.
 */
template <class Pattern>
Paint Card(double u, double v, Pattern pattern) {
    double const x = u;
    double const y = 1.5 * v;
    double const radius = 0.1;
    double const margin = 0.018;
    double const dx = std::max(0.0, std::abs(x - 0.5) - (0.5 - margin - radius));
    double const dy = std::max(0.0, std::abs(y - 0.75) - (0.75 - margin - radius));
    double const edge = std::hypot(dx, dy) - radius;
    if (edge > 0) {
        return Paint{Cream, 0};
    }
    Colour const colour = edge > -0.045 ? Cream : edge > -0.056 ? Navy : pattern(x, y);
    return Paint{colour, 1};
}

/** A leaf with a stem and veins, its tip to the upper right. */
Paint Leaf(double u, double v) {
    double const x = 0.7071 * ((u - 0.5) - (v - 0.5));
    double const y = 0.7071 * ((u - 0.5) + (v - 0.5));
    double const along = (x + 0.42) / 1.02;
    double const half =
        along > 0 && along < 1 ? 0.3 * std::pow(along, 0.62) * std::pow(1 - along, 0.8) * 1.75 : 0;
    double const bend = 0.05 * std::sin(3 * along);
    double const across = y - bend;
    if (along < 0 && along > -0.16 && std::abs(across) < 0.014) {
        return Paint{{0.47, 0.2, 0.2}, 1};
    }
    if (std::abs(across) > half) {
        return Paint{Coral, 0};
    }
    double const vein = std::abs(std::fmod(9 * (along - 0.9 * std::abs(across)) + 9, 1.0) - 0.5);
    Colour colour = Mix(Gold, Coral, Smooth(0.15, 0.95, along + 0.9 * across));
    colour = Scale(colour, across > 0 ? 0.86 : 1.0);
    if (std::abs(across) < 0.012 || vein < 0.06) {
        colour = Mix(colour, {0.6, 0.2, 0.22}, 0.6);
    }
    return Paint{colour, 1};
}

/** A five-pointed star with a bright middle. */
Paint Star(double u, double v) {
    double const x = 2 * u - 1;
    double const y = 1 - 2 * v;
    double const step = 2 * Pi / 5;
    double const angle = std::atan2(x, y);
    double const folded = std::abs(angle - step * std::round(angle / step));
    double const r = std::hypot(x, y);
    double const px = r * std::cos(folded);
    double const py = r * std::sin(folded);
    // The edge from the tip (0.92, 0) to the notch between two points.
    double const nx = 0.4 * std::cos(step / 2);
    double const ny = 0.4 * std::sin(step / 2);
    double const side = (px - 0.92) * ny - py * (nx - 0.92);
    if (side > 0) {
        return Paint{Gold, 0};
    }
    return Paint{Mix(Cream, Gold, Smooth(0, 0.6, r)), 1};
}

/** A pane of glass with a rounded frame, to be cut into nine: the middle of each side may be stretched. */
Paint Pane(double u, double v) {
    double const dx = std::max(0.0, std::abs(u - 0.5) - 0.2);
    double const dy = std::max(0.0, std::abs(v - 0.5) - 0.2);
    double const edge = std::hypot(dx, dy) - 0.27;
    if (edge > 0) {
        return Paint{Gold, 0};
    }
    if (edge > -0.05) {
        return Paint{Mix(Gold, Cream, 1 - v), 0.95};
    }
    return Paint{edge > -0.09 ? Navy : Mix(Indigo, Teal, 0.35), edge > -0.09 ? 0.75 : 0.5};
}

template <class Pattern>
Canvas PaintedCard(Pattern pattern) {
    return Painted(128, 192, [=](double u, double v) { return Card(u, v, pattern); });
}

Canvas PaintedStars(unsigned int nSeed) {
    Canvas canvas(512, 192);
    PaintStars(canvas, nSeed);
    return canvas;
}

bool PaintAll(std::string const& folder) {
    auto const file = [&](char const* pName) { return folder + "/" + pName; };
    Colour const farTop{0.5, 0.26, 0.44};
    Colour const nearTop{0.2, 0.13, 0.31};
    return SavePicture(file("sky.png"), Painted(4, 256, DuskSky)) &&
           SavePicture(file("stars-a.png"), PaintedStars(11)) &&
           SavePicture(file("stars-b.png"), PaintedStars(42)) &&
           SaveCompressed(file("planet.pkm"), Painted(192, 192, Planet)) &&
           SavePicture(file("glow.png"), Painted(96, 96, Glow)) &&
           SavePicture(file("shadow.png"), Painted(48, 48, Shadow)) &&
           SavePicture(file("cloud-a.png"),
                       Painted(256, 88, [](double u, double v) { return Cloud(u, v, 3.7, 0.9); })) &&
           SavePicture(file("cloud-b.png"),
                       Painted(192, 64, [](double u, double v) { return Cloud(u, v, 12.2, 0.75); })) &&
           SavePicture(
               file("hills-far.png"),
               Painted(640, 96, [&](double u, double v) { return Hills(u, v, 2.3, 0.9, farTop, Coral); })) &&
           SavePicture(
               file("hills-near.png"),
               Painted(640, 72, [&](double u, double v) { return Hills(u, v, 8.9, 0.8, nearTop, Plum); })) &&
           SavePicture(file("floor.png"), Painted(512, 512, Floor)) &&
           SavePicture(file("card-sunburst.png"), PaintedCard(Sunburst)) &&
           SavePicture(file("card-scales.png"), PaintedCard(Scales)) &&
           SavePicture(file("card-rosette.png"), PaintedCard(Rosette)) &&
           SavePicture(file("card-triangles.png"), PaintedCard(Triangles)) &&
           SavePicture(file("card-waves.png"), PaintedCard(Waves)) &&
           SavePicture(file("leaf.png"), Painted(64, 64, Leaf)) &&
           SavePicture(file("star.png"), Painted(48, 48, Star)) &&
           SavePicture(file("pane.png"), Painted(48, 48, Pane));
}

} // namespace

int main(int nArguments, char** ppArguments) {
    if (nArguments != 2) {
        std::fprintf(stderr,
                     "usage: %s FOLDER\nPaints the pictures of the showcase scene into an existing folder.\n",
                     ppArguments[0]);
        return 2;
    }
    return PaintAll(ppArguments[1]) ? 0 : 1;
}
