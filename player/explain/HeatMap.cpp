#include "explain/HeatMap.h"

#include "explain/SmallText.h"
#include "image/PngWriter.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <numeric>

namespace kelvokit::player {

namespace {

/** A colour for pixels that were written so often or more. */
struct Step {
    char const* pLabel;
    unsigned int nTimes;
    std::uint32_t nColor;
};
// From dark to light, so that the order shows without colours, too.
constexpr Step Steps[] = {
    {"0", 0, 0x000000}, {"1", 1, 0x14285a}, {"2", 2, 0x1f4fa8}, {"3", 3, 0x1a80a0},   {"4", 4, 0x25a35a},
    {"5", 5, 0x8fbc2c}, {"6", 6, 0xf0d030}, {"8", 8, 0xffa020}, {"12", 12, 0xff6050}, {"16+", 16, 0xffc8c8},
};
constexpr std::uint32_t LegendColor = 0x202020;
constexpr std::uint32_t TextColor = 0xf0f0f0;

// Of the legend, at scale 1.
constexpr int Margin = 4;
constexpr int FieldWidth = 22;
constexpr int FieldHeight = 8;
constexpr int LegendWidth = 2 * Margin + static_cast<int>(std::size(Steps)) * FieldWidth;
constexpr int LegendHeight = 4 * Margin + FieldHeight + 2 * SmallTextHeight;
/** Pictures at least so wide have a legend of twice the size. */
constexpr int WidePicture = 2 * LegendWidth;

std::uint32_t GetColor(unsigned int nTimes) {
    std::uint32_t nColor = Steps[0].nColor;
    for (Step const& step : Steps) {
        nColor = nTimes >= step.nTimes ? step.nColor : nColor;
    }
    return nColor;
}

void DrawLegend(Canvas& canvas, int nTop, Overdraw const& overdraw) {
    int const nScale = canvas.nWidth >= WidePicture ? 2 : 1;
    canvas.Fill(0, nTop, canvas.nWidth, LegendHeight * nScale, LegendColor);
    int nLeft = Margin * nScale;
    int nLine = nTop + Margin * nScale;
    for (Step const& step : Steps) {
        canvas.Fill(nLeft, nLine, (FieldWidth - 1) * nScale, FieldHeight * nScale, step.nColor);
        DrawSmallText(canvas, nLeft, nLine + (FieldHeight + Margin) * nScale, nScale, TextColor, step.pLabel);
        nLeft += FieldWidth * nScale;
    }
    char text[60];
    std::snprintf(text, sizeof text, "times written  mean %.2f  most %u", overdraw.rMean, overdraw.nMost);
    nLine += (FieldHeight + SmallTextHeight + 2 * Margin) * nScale;
    DrawSmallText(canvas, Margin * nScale, nLine, nScale, TextColor, text);
}

} // namespace

Overdraw GetOverdraw(std::vector<unsigned int> const& times, int nWidth) {
    Overdraw overdraw;
    auto const most = std::max_element(times.begin(), times.end());
    int const nPlace = static_cast<int>(most - times.begin());
    overdraw.nMost = *most;
    overdraw.nMostX = nPlace % nWidth;
    overdraw.nMostY = nPlace / nWidth;
    overdraw.rMean = static_cast<double>(std::accumulate(times.begin(), times.end(), 0ull)) /
                     static_cast<double>(times.size());
    return overdraw;
}

bool SaveHeatMap(std::string const& path, std::vector<unsigned int> const& times, int nWidth,
                 trevik::kelvo::Fault& fault) {
    int const nHeight = static_cast<int>(times.size()) / nWidth;
    int const nPictureWidth = std::max(nWidth, LegendWidth);
    int const nLegend = LegendHeight * (nPictureWidth >= WidePicture ? 2 : 1);
    Canvas canvas(nPictureWidth, nHeight + nLegend);
    canvas.Fill(0, 0, nPictureWidth, nHeight, LegendColor);
    for (int y = 0; y < nHeight; ++y) {
        for (int x = 0; x < nWidth; ++x) {
            std::size_t const nAt =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(nWidth) + static_cast<std::size_t>(x);
            canvas.Fill(x, y, 1, 1, GetColor(times[nAt]));
        }
    }
    DrawLegend(canvas, nHeight, GetOverdraw(times, nWidth));
    return trevik::kelvo::assets::SavePng(path, {canvas.pixels.data(), canvas.nWidth, canvas.nHeight, 3, 0},
                                          fault);
}

} // namespace kelvokit::player
