#pragma once

#include <vector>

namespace kelvokit::live {

/**
 * A pool in the rain, seen from above: a floor under water. What it looks like depends on the number of the
 * frame only.
 */
class Water {
public:
    /** The floor: four bytes a pixel (R, G, B, A), its top row first, rows without gaps; it is copied. */
    Water(int nWidth, int nHeight, unsigned char const* pFloor);

    /**
     * Paints a frame, counted from 0: R, G, B, A, the lowest row first as in surfaces, rows `nStride` bytes
     * apart.
     */
    void Paint(int nFrame, unsigned char* pPixels, int nStride);

private:
    struct Colour {
        float r, g, b;
    };

    void Swell(int nFrame);
    void AddRing(float x, float y, int nAge);
    float& Height(int x, int y);
    Colour Floor(float x, float y) const;
    Colour Shade(int x, int y);

    int m_nWidth;
    int m_nHeight;
    std::vector<unsigned char> m_floor; ///< the lowest row first
    std::vector<float> m_heights;       ///< of the water, with one more point on each side; pixels
};

} // namespace kelvokit::live
