#include "FramePixels.h"

#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

namespace kelvokit::player {

using trevik::RectangleT;
using trevik::Ref;
using trevik::kelvo::GraphicsDevice;
using trevik::kelvo::Texture;

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

} // namespace kelvokit::player
