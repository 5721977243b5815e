#include "image/NinePatchBorder.h"

#include <cstdio>
#include <cstring>

namespace trevik::kelvo::assets {

namespace {

using Band = NinePatchInfo::Band;

enum class Mark { None, Black, Red, Other };

Mark Classify(std::uint8_t const* pixel) {
    static constexpr std::uint8_t s_white[] = {255, 255, 255, 255};
    static constexpr std::uint8_t s_black[] = {0, 0, 0, 255};
    static constexpr std::uint8_t s_red[] = {255, 0, 0, 255};
    if (pixel[3] == 0 || std::memcmp(pixel, s_white, 4) == 0) {
        return Mark::None;
    }
    if (std::memcmp(pixel, s_black, 4) == 0) {
        return Mark::Black;
    }
    return std::memcmp(pixel, s_red, 4) == 0 ? Mark::Red : Mark::Other;
}

/** One side of the border without its corners. */
struct Side {
    char const* pName;
    bool fHorizontal; ///< a row, and not a column
    int nAcross;      ///< which row or column of the picture
    bool fMayBeRed;   ///< red marks optical bounds here
};

class BorderReader {
public:
    BorderReader(RgbaPicture const& picture, std::string const& name, Fault& fault)
        : m_picture(picture), m_sName(name), m_fault(fault) {}

    /** The black runs of a side, from its left or top, counted without the border. */
    bool ReadRuns(Side const& side, std::vector<Band>& runs) const;
    /** The one run of a side, or, unmarked, from the first band's beginning to the last one's end. */
    bool ReadContent(Side const& side, std::vector<Band> const& bands, Band& content) const;

private:
    bool FailColour(Side const& side, int x, int y) const;

    RgbaPicture const& m_picture;
    std::string const& m_sName;
    Fault& m_fault;
};

bool BorderReader::FailColour(Side const& side, int x, int y) const {
    std::uint8_t const* const pixel = m_picture.At(x, y);
    char colour[16];
    std::snprintf(colour, sizeof colour, "#%02x%02x%02x%02x", unsigned(pixel[0]), unsigned(pixel[1]),
                  unsigned(pixel[2]), unsigned(pixel[3]));
    return Fail(m_fault, m_sName,
                "pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") in the " + side.pName +
                    " border is " + colour + "; it may be black, white, transparent" +
                    (side.fMayBeRed ? ", red" : " (red is for the bottom and right)"));
}

bool BorderReader::ReadRuns(Side const& side, std::vector<Band>& runs) const {
    int const nCount = (side.fHorizontal ? m_picture.width : m_picture.height) - 2;
    bool fInRun = false;
    for (int n = 0; n < nCount; ++n) {
        int const x = side.fHorizontal ? n + 1 : side.nAcross;
        int const y = side.fHorizontal ? side.nAcross : n + 1;
        Mark const mark = Classify(m_picture.At(x, y));
        if (mark == Mark::Other || (mark == Mark::Red && !side.fMayBeRed)) {
            return FailColour(side, x, y);
        }
        if (mark != Mark::Black) {
            fInRun = false;
            continue;
        }
        if (!fInRun) {
            runs.push_back({n, 0});
            fInRun = true;
        }
        ++runs.back().count;
    }
    return true;
}

bool BorderReader::ReadContent(Side const& side, std::vector<Band> const& bands, Band& content) const {
    std::vector<Band> runs;
    if (!ReadRuns(side, runs)) {
        return false;
    }
    if (runs.size() > 1) {
        return Fail(m_fault, m_sName,
                    std::string("the ") + side.pName + " border marks content in " +
                        std::to_string(runs.size()) + " pieces; it must be one");
    }
    if (!runs.empty()) {
        content = runs[0];
    } else if (!bands.empty()) {
        content = {bands.front().first, bands.back().first + bands.back().count - bands.front().first};
    }
    return true;
}

RgbaPicture WithoutBorder(RgbaPicture const& picture) {
    RgbaPicture inner{picture.width - 2, picture.height - 2, {}};
    std::size_t const rowBytes = std::size_t(inner.width) * 4;
    inner.bytes.resize(rowBytes * std::size_t(inner.height));
    for (int y = 0; y < inner.height; ++y) {
        std::memcpy(inner.At(0, y), picture.At(1, y + 1), rowBytes);
    }
    return inner;
}

} // namespace

bool TakeNinePatchBorder(RgbaPicture& picture, std::string const& name, NinePatchInfo& info, Fault& fault) {
    if (picture.width < 3 || picture.height < 3) {
        return Fail(fault, name,
                    std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                        " pixels have no room for a picture inside a border");
    }
    BorderReader const border(picture, name, fault);
    Band across;
    Band down;
    if (!border.ReadRuns({"top", true, 0, false}, info.x) ||
        !border.ReadRuns({"left", false, 0, false}, info.y) ||
        !border.ReadContent({"bottom", true, picture.height - 1, true}, info.x, across) ||
        !border.ReadContent({"right", false, picture.width - 1, true}, info.y, down)) {
        return false;
    }
    picture = WithoutBorder(picture);
    info.left = across.first;
    info.right = picture.width - across.first - across.count;
    info.top = down.first;
    info.bottom = picture.height - down.first - down.count;
    return true;
}

} // namespace trevik::kelvo::assets
