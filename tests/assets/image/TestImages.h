#pragma once

#include "image/Image.h"
#include "kelvo_test/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {

using Bytes = std::vector<std::uint8_t>;

inline ByteSpan Span(Bytes const& bytes) {
    return {bytes.data(), bytes.size()};
}

using kelvokit::test::TemporaryFolder;

/** An 8-bit RGB or RGBA file of the given pixels. */
Bytes PngOf(int nChannels, int width, int height, Bytes const& pixels);
inline Bytes RgbaPng(int width, int height, Bytes const& pixels) {
    return PngOf(4, width, height, pixels);
}
inline Bytes RgbPng(int width, int height, Bytes const& pixels) {
    return PngOf(3, width, height, pixels);
}

/** An image as a reader leaves it: `RGBA8888` of the given pixels. */
ImageData RgbaImage(int width, int height, Bytes const& pixels);

/** A smooth picture whose four corners, rows and columns all differ; alpha falls from left to right. */
Bytes GradientRgba(int width, int height);

/** An image that no loader may touch when it fails, and whether it is still the same. */
ImageData Untouched();
bool IsUntouched(ImageData const& image);

/** A PNG file that must be read. */
ImageData LoadGood(Bytes const& file, ImageOptions const& options = {});

/** An image as text: sizes, levels and all bytes. */
std::string Describe(ImageData const& image);

/** The message for a PNG file "x.png" that must not be read, and leaves the image that was there as it is. */
std::string ErrorOfPng(Bytes const& file, ImageOptions const& options = {});

/** Largest single allocation by operator new on this thread since it was set to 0. */
std::size_t& LargestAllocation();

} // namespace trevik::kelvo::assets::testing
