#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvo::player::testing {

struct Colour {
    int r, g, b, a;
    bool operator==(Colour const& other) const {
        return r == other.r && g == other.g && b == other.b && a == other.a;
    }
};

/** A PNG file, decoded. */
struct Picture {
    int nWidth = 0;
    int nHeight = 0;
    bool fAlpha = false;              ///< the file has an alpha channel
    std::vector<std::uint8_t> pixels; ///< four bytes each, top row first

    /** Column and row from the upper left corner. */
    Colour At(int nX, int nY) const;
};

/** A file that must be a whole PNG. */
Picture ReadPicture(std::string const& path);

/** Frame `nFrame` of a scene, which the player draws without complaint. */
Picture DrawFrame(std::string const& scene, int nFrame);

/** Whether none of red, green and blue differs by more. */
bool IsNear(Colour const& a, Colour const& b, int nTolerance);

/** The largest difference of any channel; 256 when the sizes differ. */
int Difference(Picture const& a, Picture const& b);

/** The mean difference of two pictures' colours, the second of which is so many times enlarged. */
double MeanDifference(Picture const& drawn, Picture const& shown, int nTimes = 1);

} // namespace kelvo::player::testing
