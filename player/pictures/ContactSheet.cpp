#include "pictures/ContactSheet.h"

#include "file/Failure.h"
#include "image/PngWriter.h"

#include <algorithm>

namespace kelvokit::player {

namespace {

constexpr long long LargestSide = 65535;
constexpr long long MostPixels = 1 << 28; // a gigabyte of them

} // namespace

ContactSheet::ContactSheet(std::string const& path, int nColumns, int nFrames)
    : m_sPath(path), m_output(path), m_nColumns(std::min(nColumns, nFrames)),
      m_nRows((nFrames - 1) / m_nColumns + 1) {}

bool ContactSheet::Start(FramePixels const& frame, trevik::kelvo::Fault& fault) {
    long long const nWidth = static_cast<long long>(frame.nWidth) * m_nColumns;
    long long const nHeight = static_cast<long long>(frame.nHeight) * m_nRows;
    if (nWidth > LargestSide || nHeight > LargestSide || nWidth * nHeight > MostPixels) {
        return trevik::kelvo::assets::Fail(fault, m_sPath,
                                           "a sheet of " + std::to_string(nWidth) + "x" +
                                               std::to_string(nHeight) +
                                               " pixels is too large; --scale makes it smaller");
    }
    m_sheet.nWidth = static_cast<int>(nWidth);
    m_sheet.nHeight = static_cast<int>(nHeight);
    m_sheet.nChannels = frame.nChannels;
    m_sheet.pixels.resize(static_cast<std::size_t>(nWidth * nHeight * frame.nChannels));
    return true;
}

bool ContactSheet::Write(int, FramePixels const& frame, trevik::kelvo::Fault& fault) {
    if (m_nWritten == 0 && !Start(frame, fault)) {
        return false;
    }
    std::ptrdiff_t const nRow = static_cast<std::ptrdiff_t>(frame.nWidth) * frame.nChannels;
    std::ptrdiff_t const nSheetRow = nRow * m_nColumns;
    std::ptrdiff_t const nAbove = m_nWritten / m_nColumns;
    std::ptrdiff_t const nBeside = m_nWritten % m_nColumns;
    auto to = m_sheet.pixels.begin() + nAbove * frame.nHeight * nSheetRow + nBeside * nRow;
    for (auto from = frame.pixels.begin(); from != frame.pixels.end(); from += nRow) {
        std::copy(from, from + nRow, to);
        // The last row has no next one.
        to += std::min(nSheetRow, m_sheet.pixels.end() - to);
    }
    ++m_nWritten;
    return true;
}

bool ContactSheet::Finish(trevik::kelvo::Fault& fault) {
    std::vector<std::uint8_t> bytes;
    return trevik::kelvo::assets::EncodePng(
               {m_sheet.pixels.data(), m_sheet.nWidth, m_sheet.nHeight, m_sheet.nChannels, 0}, m_sPath, bytes,
               fault) &&
           m_output.Write({bytes.data(), bytes.size()}, fault) && m_output.Finish(fault);
}

} // namespace kelvokit::player
