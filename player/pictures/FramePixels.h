#pragma once

#include "trevik/Rectangle.h"
#include "trevik/kelvo/GraphicsDevice.h"

#include <kelvo_desktop/OffscreenWindow.h>

#include <cstdint>
#include <vector>

namespace kelvokit::player {

/** What a picture shows: a rectangle of a frame. */
struct FramePixels {
    int nWidth = 0;
    int nHeight = 0;
    int nChannels = 3;                ///< 3: R, G, B; 4: and alpha
    std::vector<std::uint8_t> pixels; ///< top row first

    /**
     * Reads the colours of a rectangle (pixels, y down) of the frame that the device has drawn, before it is
     * shown. False, with what there was, when the device cannot read them.
     */
    bool Read(trevik::kelvo::GraphicsDevice& device, trevik::RectangleT<int> const& area);
    /**
     * Adds the alpha of what a window has shown since, which the device does not read. The rectangle is the
     * one that the colours came from.
     */
    void AddAlpha(desktop::FinishedFrame const& shown, trevik::RectangleT<int> const& area);
    /**
     * Makes the picture smaller, `rScale` times its sides but no less than a pixel: each pixel is the mean of
     * those that it covers, by how much of them it covers and, of their colours, by their alpha.
     */
    void Shrink(double rScale);
};

} // namespace kelvokit::player
