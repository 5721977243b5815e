#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace kelvokit::examples {

struct Colour {
    double r, g, b;
};

/** A colour and how much of it covers what lies below, 0 to 1. */
struct Paint {
    Colour colour;
    double alpha;
};

constexpr Colour Mix(Colour a, Colour b, double f) {
    return {a.r + f * (b.r - a.r), a.g + f * (b.g - a.g), a.b + f * (b.b - a.b)};
}
constexpr Colour Scale(Colour a, double f) {
    return {a.r * f, a.g * f, a.b * f};
}
constexpr Colour Add(Colour a, Colour b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}

/** 0 up to `from`, 1 from `to` on, smooth in between. */
inline double Smooth(double from, double to, double x) {
    double const t = std::min(1.0, std::max(0.0, (x - from) / (to - from)));
    return t * t * (3 - 2 * t);
}

/** A number from 0 to 1 that belongs to a lattice point. */
inline double Hash(double x, double y, unsigned int nSeed) {
    std::uint32_t h = static_cast<std::uint32_t>(static_cast<std::int32_t>(x)) * 0x9e3779b1u ^
                      static_cast<std::uint32_t>(static_cast<std::int32_t>(y)) * 0x85ebca77u ^
                      nSeed * 0xc2b2ae3du;
    h = (h ^ h >> 15) * 0x2c1b3c6du;
    h = (h ^ h >> 12) * 0x297a2d39u;
    return static_cast<double>((h ^ h >> 15) & 0xffffff) / 0xffffff;
}

/** Smooth noise from 0 to 1 with features of size 1. */
inline double Noise(double x, double y, unsigned int nSeed) {
    double const ix = std::floor(x);
    double const iy = std::floor(y);
    double const fx = Smooth(0, 1, x - ix);
    double const fy = Smooth(0, 1, y - iy);
    double const top = Hash(ix, iy, nSeed) * (1 - fx) + Hash(ix + 1, iy, nSeed) * fx;
    double const bottom = Hash(ix, iy + 1, nSeed) * (1 - fx) + Hash(ix + 1, iy + 1, nSeed) * fx;
    return top * (1 - fy) + bottom * fy;
}

/** Noise of several sizes, each half as large and half as strong as the one before; about 0.5 in the mean. */
inline double Fractal(double x, double y, int nSizes) {
    double sum = 0;
    double weight = 0;
    double strength = 1;
    for (int n = 0; n < nSizes; ++n) {
        sum += strength * Noise(x, y, static_cast<unsigned int>(n) + 1);
        weight += strength;
        strength *= 0.5;
        x *= 2.03;
        y *= 2.03;
    }
    return sum / weight;
}

/** Numbers from 0 to 1 that are the same in every run. */
class Random {
public:
    explicit Random(unsigned int nSeed) : m_nSeed(nSeed) {}
    double Next() { return Hash(static_cast<double>(++m_nCount), 0, m_nSeed); }

private:
    unsigned int m_nSeed;
    unsigned int m_nCount = 0;
};

/** A picture of four bytes a pixel (R, G, B and straight A), its top row first. */
class Canvas {
public:
    Canvas(int nWidth, int nHeight)
        : m_nWidth(nWidth), m_nHeight(nHeight),
          m_bytes(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) * 4) {}

    int GetWidth() const { return m_nWidth; }
    int GetHeight() const { return m_nHeight; }
    std::vector<std::uint8_t> const& GetBytes() const { return m_bytes; }

    /**
     * Each pixel becomes the mean of `function(u, v)` over it; u runs to the right, v downward, both 0 to 1.
     */
    template <class Function>
    void Fill(Function function) {
        for (int y = 0; y < m_nHeight; ++y) {
            for (int x = 0; x < m_nWidth; ++x) {
                Store(x, y, Sample(x, y, function));
            }
        }
    }

    /** A round spot around (x, y), in pixels, that fades towards `radius`. Lies over what is there. */
    void Spot(double x, double y, double radius, Paint const& paint) {
        int const nReach = static_cast<int>(radius) + 2;
        for (int py = static_cast<int>(y) - nReach; py <= static_cast<int>(y) + nReach; ++py) {
            for (int px = static_cast<int>(x) - nReach; px <= static_cast<int>(x) + nReach; ++px) {
                double const distance = std::hypot(px + 0.5 - x, py + 0.5 - y) / (radius + 0.5);
                double const alpha = paint.alpha * (1 - Smooth(0, 1, distance));
                if (px >= 0 && py >= 0 && px < m_nWidth && py < m_nHeight && alpha > 0.02) {
                    Store(px, py, Paint{paint.colour, alpha});
                }
            }
        }
    }

private:
    template <class Function>
    Paint Sample(int x, int y, Function function) const {
        constexpr int Grid = 4;
        Colour sum{0, 0, 0};
        Colour plain{0, 0, 0};
        double alpha = 0;
        for (int n = 0; n < Grid * Grid; ++n) {
            int const nRow = n / Grid;
            double const u = (x + (n % Grid + 0.5) / Grid) / m_nWidth;
            double const v = (y + (nRow + 0.5) / Grid) / m_nHeight;
            Paint const paint = function(u, v);
            sum = Add(sum, Scale(paint.colour, paint.alpha));
            plain = Add(plain, paint.colour);
            alpha += paint.alpha;
        }
        // Colours count as much as they cover; where nothing covers, they still matter to filtering.
        Colour const colour = alpha > 0 ? Scale(sum, 1 / alpha) : Scale(plain, 1.0 / (Grid * Grid));
        return Paint{colour, alpha / (Grid * Grid)};
    }

    static std::uint8_t ToByte(double value) {
        return static_cast<std::uint8_t>(std::lround(std::min(1.0, std::max(0.0, value)) * 255));
    }

    void Store(int x, int y, Paint const& paint) {
        std::uint8_t* const p = &m_bytes[(static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nWidth) +
                                          static_cast<std::size_t>(x)) *
                                         4];
        p[0] = ToByte(paint.colour.r);
        p[1] = ToByte(paint.colour.g);
        p[2] = ToByte(paint.colour.b);
        p[3] = ToByte(paint.alpha);
    }

    int m_nWidth;
    int m_nHeight;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace kelvokit::examples
