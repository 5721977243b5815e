#include "pictures/FramePixels.h"

#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace kelvokit::player {

using trevik::RectangleT;
using trevik::Ref;
using trevik::kelvo::GraphicsDevice;
using trevik::kelvo::Texture;

namespace {

/** What one pixel of a smaller row covers of a larger one. */
struct Span {
    /** Pixel `nPixel` of `nSmall`, over `nLarge`. */
    Span(int nPixel, int nSmall, int nLarge)
        : nBegin(static_cast<long long>(nPixel) * nLarge), nEnd(nBegin + nLarge), nUnit(nSmall) {}

    int GetFirst() const { return static_cast<int>(nBegin / nUnit); }
    int GetEnd() const { return static_cast<int>((nEnd + nUnit - 1) / nUnit); }
    /** How much of a pixel of the larger row. */
    unsigned long long GetWeight(int nAt) const {
        return static_cast<unsigned long long>(
            std::min<long long>(nEnd, (nAt + 1ll) * nUnit) -
            std::max<long long>(nBegin, static_cast<long long>(nAt) * nUnit));
    }

    long long nBegin, nEnd; ///< in parts of a pixel of the larger row
    int nUnit;              ///< so many parts have a pixel
};

/** The mean pixel of an area, colours by their alpha. */
void AppendMean(FramePixels const& frame, Span const& across, Span const& down,
                std::vector<std::uint8_t>& out) {
    std::size_t const nChannels = static_cast<std::size_t>(frame.nChannels);
    std::array<unsigned long long, 3> colours{};
    unsigned long long nAlphas = 0;
    unsigned long long nWeights = 0;
    for (int y = down.GetFirst(); y < down.GetEnd(); ++y) {
        for (int x = across.GetFirst(); x < across.GetEnd(); ++x) {
            std::uint8_t const* const pPixel =
                frame.pixels.data() + (static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.nWidth) +
                                       static_cast<std::size_t>(x)) *
                                          nChannels;
            unsigned long long const nWeight = across.GetWeight(x) * down.GetWeight(y);
            unsigned long long const nAlpha = nWeight * (nChannels == 4 ? pPixel[3] : 255);
            for (std::size_t n = 0; n < 3; ++n) {
                colours[n] += nAlpha * pPixel[n];
            }
            nAlphas += nAlpha;
            nWeights += nWeight;
        }
    }
    for (unsigned long long const nColour : colours) {
        out.push_back(static_cast<std::uint8_t>(nAlphas ? (nColour + nAlphas / 2) / nAlphas : 0));
    }
    if (nChannels == 4) {
        out.push_back(static_cast<std::uint8_t>((nAlphas + nWeights / 2) / nWeights));
    }
}

int GetShrunk(int nSide, double rScale) {
    return std::clamp(static_cast<int>(std::lround(nSide * rScale)), 1, nSide);
}

} // namespace

bool FramePixels::Read(GraphicsDevice& device, RectangleT<int> const& area) {
    Texture* pRead = nullptr;
    if (!device.ReadPixels(area, &pRead) || !pRead) {
        return false;
    }
    Ref<Texture> const pTexture(pRead);
    std::size_t const nWide = static_cast<std::size_t>(area.GetWidth());
    std::size_t const nHigh = static_cast<std::size_t>(area.GetHeight());
    std::size_t const nBytes = static_cast<std::size_t>(pTexture->GetBytesPerPixel());
    auto const& buffer = pTexture->GetPixelData().GetBuffer();
    if (nBytes < 3 || buffer.GetSize() != nWide * nHigh * nBytes) {
        return false; // another back end's way of reading
    }
    nWidth = area.GetWidth();
    nHeight = area.GetHeight();
    nChannels = 3;
    pixels.resize(nWide * nHigh * 3);
    std::uint8_t* pTo = pixels.data();
    for (std::size_t nRow = nHigh; nRow-- > 0;) { // read from the bottom up
        unsigned char const* pFrom = buffer.GetData() + nRow * nWide * nBytes;
        for (std::size_t n = 0; n < nWide; ++n, pFrom += nBytes) {
            *pTo++ = pFrom[0];
            *pTo++ = pFrom[1];
            *pTo++ = pFrom[2];
        }
    }
    return true;
}

void FramePixels::AddAlpha(desktop::FinishedFrame const& shown, RectangleT<int> const& area) {
    std::vector<std::uint8_t> wide;
    wide.reserve(pixels.size() / 3 * 4);
    std::uint8_t const* pColour = pixels.data();
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x, pColour += 3) {
            std::size_t const nAt = (static_cast<std::size_t>(y) * static_cast<std::size_t>(shown.width) +
                                     static_cast<std::size_t>(x)) *
                                    4;
            wide.insert(wide.end(), {pColour[0], pColour[1], pColour[2], shown.pixels[nAt + 3]});
        }
    }
    pixels.swap(wide);
    nChannels = 4;
}

void FramePixels::Shrink(double rScale) {
    FramePixels small;
    small.nWidth = GetShrunk(nWidth, rScale);
    small.nHeight = GetShrunk(nHeight, rScale);
    small.nChannels = nChannels;
    small.pixels.reserve(static_cast<std::size_t>(small.nWidth) * static_cast<std::size_t>(small.nHeight) *
                         static_cast<std::size_t>(nChannels));
    for (int y = 0; y < small.nHeight; ++y) {
        for (int x = 0; x < small.nWidth; ++x) {
            AppendMean(*this, Span(x, small.nWidth, nWidth), Span(y, small.nHeight, nHeight), small.pixels);
        }
    }
    *this = std::move(small);
}

} // namespace kelvokit::player
