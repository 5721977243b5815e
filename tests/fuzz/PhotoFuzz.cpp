// Reads hostile JPEG and WebP pictures.

#include "ImageChecks.h"
#include "image/JpegReader.h"
#include "image/WebpReader.h"

namespace fuzz = kelvokit::fuzz;

using namespace trevik::kelvo::assets;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ByteSpan const bytes{data, size};
    ImageOptions const options = fuzz::SmallOptions();
    fuzz::LoadAllOrNothing([&](auto&... out) { return LoadJpeg(bytes, "fuzz.jpg", options, out...); });
    fuzz::LoadAllOrNothing([&](auto&... out) { return LoadWebp(bytes, "fuzz.webp", options, out...); });
    return 0;
}
