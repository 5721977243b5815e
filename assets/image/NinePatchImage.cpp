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
                Fault& fault) {
    if (bands.empty()) {
        return Fail(fault, name, std::string("no ") + what + " stretch");
    }
    if (bands.size() > MaximumBands) {
        return Fail(fault, name,
                    std::to_string(bands.size()) + " bands of " + what + " stretch; sprites use " +
                        std::to_string(MaximumBands) + " at most");
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
              Fault& fault) {
    std::vector<ByteSpan> const chunks = FindPngChunks(bytes, ChunkName);
    if (chunks.size() > 1) {
        return Fail(fault, name, "has " + std::to_string(chunks.size()) + " chunks " + ChunkName);
    }
    bool const fRead = chunks.empty() ? TakeNinePatchBorder(picture, name, info, fault)
                                      : ReadNinePatchChunk(chunks[0], picture.width, picture.height,
                                                           name + ": chunk " + ChunkName, info, fault);
    return fRead && CheckBands(info.x, "columns", name, fault) && CheckBands(info.y, "rows", name, fault);
}

} // namespace

bool LoadNinePatch(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, Fault& fault) {
    try {
        RgbaPicture picture;
        NinePatchInfo found;
        bool fHasAlpha = false;
        if (!DecodePng(bytes, name, options.limits, picture, fHasAlpha, fault) ||
            !ReadInfo(bytes, name, picture, found, fault)) {
            return false;
        }
        if (options.flipRows) {
            std::swap(found.top, found.bottom); // the file's top rows become the bottom ones
        } else {
            CountFromBottom(found.y, picture.height);
        }
        if (!BuildImage(std::move(picture), fHasAlpha, options, name, image, fault)) {
            return false;
        }
        info = std::move(found);
        return true;
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
}

bool LoadNinePatch(std::string const& path, ImageOptions const& options, ImageData& image,
                   NinePatchInfo& info, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    return ReadFile(path, options.limits.maxFileBytes, bytes, fault) &&
           LoadNinePatch({bytes.data(), bytes.size()}, path, options, image, info, fault);
}

} // namespace trevik::kelvo::assets
