#include "Water.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace kelvokit::live {

namespace {

constexpr float Pi = 3.14159265f;

// Rain: a drop every few frames, and the rings that spread from it. Lengths in pixels.
constexpr int DropInterval = 9;
constexpr int RingLife = 90;
constexpr float RingSpeed = 2.4f; ///< a frame
constexpr float RingWave = 22;
constexpr float RingWidth = 3 * RingWave;

constexpr float Depth = 9; ///< how far a slope of 1 shifts the floor

/** A number from 0 to 1, another one for each drop. */
float Chance(std::uint32_t n) {
    n = (n ^ 0x9E3779B9u) * 0x85EBCA6Bu;
    n = (n ^ n >> 13) * 0xC2B2AE35u;
    return static_cast<float>((n ^ n >> 16) & 0xFFFF) / 0xFFFF;
}

unsigned char ToByte(float value) {
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0f, 255.0f)));
}

} // namespace

Water::Water(int nWidth, int nHeight, unsigned char const* pFloor)
    : m_nWidth(nWidth), m_nHeight(nHeight),
      m_floor(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) * 4),
      m_heights(static_cast<std::size_t>(nWidth + 2) * static_cast<std::size_t>(nHeight + 2)) {
    std::size_t const nRow = static_cast<std::size_t>(nWidth) * 4;
    for (int y = 0; y < nHeight; ++y) {
        std::memcpy(m_floor.data() + static_cast<std::size_t>(nHeight - 1 - y) * nRow,
                    pFloor + static_cast<std::size_t>(y) * nRow, nRow);
    }
}

void Water::Paint(int nFrame, unsigned char* pPixels, int nStride) {
    Swell(nFrame);
    for (int nDrop = std::max(0, nFrame - RingLife) / DropInterval; nDrop <= nFrame / DropInterval; ++nDrop) {
        float const x = Chance(2 * static_cast<std::uint32_t>(nDrop)) * static_cast<float>(m_nWidth);
        float const y = Chance(2 * static_cast<std::uint32_t>(nDrop) + 1) * static_cast<float>(m_nHeight);
        AddRing(x, y, nFrame - nDrop * DropInterval);
    }
    for (int y = 0; y < m_nHeight; ++y) {
        unsigned char* pPixel = pPixels + std::ptrdiff_t{y} * nStride;
        for (int x = 0; x < m_nWidth; ++x, pPixel += 4) {
            Colour const colour = Shade(x, y);
            pPixel[0] = ToByte(colour.r);
            pPixel[1] = ToByte(colour.g);
            pPixel[2] = ToByte(colour.b);
            pPixel[3] = 255;
        }
    }
}

/** Waves that never come to rest. */
void Water::Swell(int nFrame) {
    float const t = static_cast<float>(nFrame);
    for (int y = -1; y <= m_nHeight; ++y) {
        for (int x = -1; x <= m_nWidth; ++x) {
            float const u = static_cast<float>(x);
            float const v = static_cast<float>(y);
            Height(x, y) = 0.9f * std::sin(0.061f * u + 0.027f * v + 0.110f * t) +
                           0.8f * std::sin(0.043f * u - 0.071f * v + 0.083f * t) +
                           0.5f * std::sin(-0.097f * u + 0.083f * v + 0.131f * t) +
                           0.22f * std::sin(0.19f * u + 0.11f * v - 0.21f * t) *
                               std::sin(0.15f * v - 0.08f * u + 0.17f * t);
        }
    }
}

/** Adds what a drop at (x, y) has become, some frames after it fell. */
void Water::AddRing(float x, float y, int nAge) {
    float const front = RingSpeed * static_cast<float>(nAge);
    float const strength = 6.5f * std::exp(static_cast<float>(-nAge) / 32);
    int const nLeft = std::max(-1, static_cast<int>(x - front));
    int const nRight = std::min(m_nWidth, static_cast<int>(x + front) + 1);
    int const nLow = std::max(-1, static_cast<int>(y - front));
    int const nHigh = std::min(m_nHeight, static_cast<int>(y + front) + 1);
    for (int py = nLow; py <= nHigh; ++py) {
        for (int px = nLeft; px <= nRight; ++px) {
            float const dx = static_cast<float>(px) - x;
            float const dy = static_cast<float>(py) - y;
            float const behind = front - std::sqrt(dx * dx + dy * dy);
            if (behind > 0 && behind < RingWidth) {
                float const envelope = std::sin(Pi * behind / RingWidth);
                Height(px, py) += strength * envelope * envelope * std::sin(2 * Pi * behind / RingWave);
            }
        }
    }
}

float& Water::Height(int x, int y) {
    return m_heights[static_cast<std::size_t>(y + 1) * static_cast<std::size_t>(m_nWidth + 2) +
                     static_cast<std::size_t>(x + 1)];
}

/** The floor's colour at a place between its pixels. */
Water::Colour Water::Floor(float x, float y) const {
    x = std::clamp(x, 0.0f, static_cast<float>(m_nWidth) - 1.001f);
    y = std::clamp(y, 0.0f, static_cast<float>(m_nHeight) - 1.001f);
    int const nX = static_cast<int>(x);
    int const nY = static_cast<int>(y);
    float const fx = x - static_cast<float>(nX);
    float const fy = y - static_cast<float>(nY);
    unsigned char const* const pLow = m_floor.data() + std::ptrdiff_t{4} * (nY * m_nWidth + nX);
    unsigned char const* const pHigh = pLow + std::ptrdiff_t{4} * m_nWidth;
    auto const mix = [&](int n) {
        float const low = (1 - fx) * pLow[n] + fx * pLow[n + 4];
        float const high = (1 - fx) * pHigh[n] + fx * pHigh[n + 4];
        return (1 - fy) * low + fy * high;
    };
    return {mix(0), mix(1), mix(2)};
}

Water::Colour Water::Shade(int x, int y) {
    float const slopeX = 0.5f * (Height(x + 1, y) - Height(x - 1, y));
    float const slopeY = 0.5f * (Height(x, y + 1) - Height(x, y - 1));
    float const bulge =
        4 * Height(x, y) - Height(x + 1, y) - Height(x - 1, y) - Height(x, y + 1) - Height(x, y - 1);
    Colour colour = Floor(static_cast<float>(x) - Depth * slopeX, static_cast<float>(y) - Depth * slopeY);
    // Crests gather the light on the floor; slopes towards the upper left let the sky shine back.
    float const light = std::clamp(1 + 1.6f * bulge + 0.25f * (slopeY - slopeX), 0.5f, 2.2f);
    float const glint = std::clamp(1.2f * (slopeY - slopeX) - 0.7f, 0.0f, 0.85f);
    colour = {colour.r * light, colour.g * light, colour.b * light};
    return {colour.r + glint * (255 - colour.r), colour.g + glint * (255 - colour.g),
            colour.b + glint * (250 - colour.b)};
}

} // namespace kelvokit::live
