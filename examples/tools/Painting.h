#pragma once

#include "Canvas.h"

#include <string>
#include <vector>

namespace kelvokit::examples {

/** A picture of `function(u, v)`; u runs to the right, v downward, both 0 to 1. */
template <class Function>
Canvas Painted(int nWidth, int nHeight, Function function) {
    Canvas canvas(nWidth, nHeight);
    canvas.Fill(function);
    return canvas;
}

/** A picture of `function(x, y)`; x runs to the right, y downward, both in pixels. */
template <class Function>
Canvas PaintedInPixels(int nWidth, int nHeight, Function function) {
    return Painted(nWidth, nHeight, [&](double u, double v) { return function(u * nWidth, v * nHeight); });
}

/** A run of pixels of a nine-patch picture. */
struct Run {
    int nFirst;
    int nCount;
};

/** What the border of a nine-patch picture's source says. */
struct NinePatchMarks {
    std::vector<Run> stretchX;
    std::vector<Run> stretchY; ///< from the top
    Run contentX;
    Run contentY; ///< from the top
};

/** Writes a PNG file; false, with a message, when that fails. */
bool SavePicture(std::string const& path, Canvas const& canvas);
/** Writes a picture with a border of one pixel that is black where the marks are, as a .9.png has it. */
bool SaveNinePatch(std::string const& path, Canvas const& canvas, NinePatchMarks const& marks);
/** Writes the picture's colours and its alpha as two files of ETC1 blocks. */
bool SaveCompressed(std::string const& path, Canvas const& canvas);

} // namespace kelvokit::examples
