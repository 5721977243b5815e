#include "image/NinePatchImage.h"

#include "file/FileBytes.h"
#include "image/NinePatchBorder.h"
#include "image/NinePatchChunk.h"
#include "image/PngReader.h"

#include <algorithm>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr char const* ChunkName = "npTc";
/** Nine-patch sprites use no more bands of a direction. */
constexpr std::size_t MaximumBands = 10;

bool CheckBands(std::vector<NinePatchInfo::Band> const& bands, char const* what, std::string const& name,
                std::string& error) {
    if (bands.empty()) {
        return Fail(error, name + ": no " + what + " stretch");
    }
    if (bands.size() > MaximumBands) {
        return Fail(error, name + ": " + std::to_string(bands.size()) + " bands of " + what +
                               " stretch; sprites use " + std::to_string(MaximumBands) + " at most");
    }
    return true;
}

/** Turns bands that are counted from the top around. */
void CountFromBottom(std::vector<NinePatchInfo::Band>& bands, int nExtent) {
    std::reverse(bands.begin(), bands.end());
    for (NinePatchInfo::Band& band : bands) {
        band.first = nExtent - band.first - band.count;
    }
}

/** Takes the description out of the picture, rows counted from the top: its chunk's, or else its border's. */
bool ReadInfo(ByteSpan bytes, std::string const& name, RgbaPicture& picture, NinePatchInfo& info,
              std::string& error) {
    std::vector<ByteSpan> const chunks = FindPngChunks(bytes, ChunkName);
    if (chunks.size() > 1) {
        return Fail(error, name + ": has " + std::to_string(chunks.size()) + " chunks " + ChunkName);
    }
    bool const fRead = chunks.empty() ? TakeNinePatchBorder(picture, name, info, error)
                                      : ReadNinePatchChunk(chunks[0], picture.width, picture.height,
                                                           name + ": chunk " + ChunkName, info, error);
    return fRead && CheckBands(info.x, "columns", name, error) && CheckBands(info.y, "rows", name, error);
}

} // namespace

bool LoadNinePatch(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, std::string& error) {
    try {
        RgbaPicture picture;
        NinePatchInfo found;
        bool fHasAlpha = false;
        if (!DecodePng(bytes, name, options.limits, picture, fHasAlpha, error) ||
            !ReadInfo(bytes, name, picture, found, error)) {
            return false;
        }
        if (options.flipRows) {
            std::swap(found.top, found.bottom); // the file's top rows become the bottom ones
        } else {
            CountFromBottom(found.y, picture.height);
        }
        if (!BuildImage(std::move(picture), fHasAlpha, options, name, image, error)) {
            return false;
        }
        info = std::move(found);
        return true;
    } catch (std::bad_alloc const&) {
        return Fail(error, name + ": not enough memory for its pixels");
    }
}

bool LoadNinePatch(std::string const& path, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, std::string& error) {
    std::vector<std::uint8_t> bytes;
    return ReadFile(path, options.limits.maxFileBytes, bytes, error) &&
           LoadNinePatch({bytes.data(), bytes.size()}, path, options, image, info, error);
}

} // namespace trevik::kelvo::assets
