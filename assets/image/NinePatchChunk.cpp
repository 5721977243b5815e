#include "image/NinePatchChunk.h"

namespace trevik::kelvo::assets {

namespace {

using Band = NinePatchInfo::Band;

// Where things are: four bytes of flag and counts, offsets that mean something in memory only, the padding,
// one more such offset, and then columns, rows and colours of four bytes each.
constexpr std::size_t ColumnCount = 1;
constexpr std::size_t RowCount = 2;
constexpr std::size_t ColourCount = 3;
constexpr std::size_t PaddingLeft = 12;
constexpr std::size_t PaddingRight = 16;
constexpr std::size_t PaddingTop = 20;
constexpr std::size_t PaddingBottom = 24;
constexpr std::size_t Divisions = 32;

class ChunkReader {
public:
    ChunkReader(ByteSpan chunk, std::string const& name, Fault& fault)
        : m_chunk(chunk), m_sName(name), m_fault(fault) {}

    bool CheckLength() const;
    /** Bands that `nCount` divisions from byte `at` on begin and end by turns, within `nExtent` texels. */
    bool ReadBands(std::size_t at, std::size_t nCount, int nExtent, char const* what,
                   std::vector<Band>& bands) const;
    /** The padding at the two ends of a direction. */
    bool ReadPadding(std::size_t before, std::size_t after, int nExtent, int& nBefore, int& nAfter) const;

    std::size_t GetCount(std::size_t at) const { return m_chunk.data[at]; }

private:
    int ReadInt(std::size_t at) const {
        std::uint8_t const* const bytes = m_chunk.data + at;
        return static_cast<int>(std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 |
                                std::uint32_t(bytes[2]) << 8 | bytes[3]);
    }

    ByteSpan m_chunk;
    std::string const& m_sName;
    Fault& m_fault;
};

bool ChunkReader::CheckLength() const {
    std::size_t nNeeded = Divisions;
    if (m_chunk.size >= Divisions) {
        nNeeded += 4 * (GetCount(ColumnCount) + GetCount(RowCount) + GetCount(ColourCount));
    }
    if (m_chunk.size < nNeeded) {
        return Fail(m_fault, m_sName,
                    "has " + std::to_string(m_chunk.size) + " bytes, too few for the " +
                        std::to_string(nNeeded) + " of its content");
    }
    return true;
}

bool ChunkReader::ReadBands(std::size_t at, std::size_t nCount, int nExtent, char const* what,
                            std::vector<Band>& bands) const {
    if (nCount % 2 != 0) {
        return Fail(m_fault, m_sName,
                    std::to_string(nCount) + " " + what +
                        " divisions are not pairs of a beginning and an end");
    }
    int nPrevious = 0;
    for (std::size_t n = 0; n < nCount; ++n) {
        int const nDivision = ReadInt(at + 4 * n);
        if (nDivision < nPrevious || nDivision > nExtent) {
            return Fail(m_fault, m_sName,
                        std::string(what) + " division " + std::to_string(n) + " is at " +
                            std::to_string(nDivision) + ", and must be from " + std::to_string(nPrevious) +
                            " to " + std::to_string(nExtent));
        }
        if (n % 2 != 0 && nDivision > nPrevious) {
            bands.push_back({nPrevious, nDivision - nPrevious});
        }
        nPrevious = nDivision;
    }
    return true;
}

bool ChunkReader::ReadPadding(std::size_t before, std::size_t after, int nExtent, int& nBefore,
                              int& nAfter) const {
    nBefore = ReadInt(before);
    nAfter = ReadInt(after);
    if (nBefore < 0 || nAfter < 0 || nBefore > nExtent - nAfter) {
        return Fail(m_fault, m_sName,
                    "a padding of " + std::to_string(nBefore) + " and " + std::to_string(nAfter) +
                        " does not fit " + std::to_string(nExtent) + " texels");
    }
    return true;
}

} // namespace

bool ReadNinePatchChunk(ByteSpan chunk, int nWidth, int nHeight, std::string const& name, NinePatchInfo& info,
                        Fault& fault) {
    ChunkReader const reader(chunk, name, fault);
    if (!reader.CheckLength()) {
        return false;
    }
    std::size_t const nColumns = reader.GetCount(ColumnCount);
    return reader.ReadBands(Divisions, nColumns, nWidth, "column", info.x) &&
           reader.ReadBands(Divisions + 4 * nColumns, reader.GetCount(RowCount), nHeight, "row", info.y) &&
           reader.ReadPadding(PaddingLeft, PaddingRight, nWidth, info.left, info.right) &&
           reader.ReadPadding(PaddingTop, PaddingBottom, nHeight, info.top, info.bottom);
}

} // namespace trevik::kelvo::assets
