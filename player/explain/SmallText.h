#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvokit::player {

/** A picture of three channels to draw in, the top row first. */
struct Canvas {
    int nWidth;
    int nHeight;
    std::vector<std::uint8_t> pixels;

    Canvas(int width, int height);
    /** What lies outside of the picture is left out. */
    void Fill(int nLeft, int nTop, int nColumns, int nRows, std::uint32_t nColor);
};

/** Height of a line, without space between lines. */
constexpr int SmallTextHeight = 7;
/** Width of `text` at this scale. */
int GetSmallTextWidth(std::string const& text, int nScale);
/**
 * Writes digits, dots, plus signs and the small letters that are needed, of 5 by 7 dots of `nScale` pixels;
 * spaces for others.
 */
void DrawSmallText(Canvas& canvas, int nLeft, int nTop, int nScale, std::uint32_t nColor,
                   std::string const& text);

} // namespace kelvokit::player
