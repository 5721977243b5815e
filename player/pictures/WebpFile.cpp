#include "pictures/WebpFile.h"

#include "file/Failure.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace kelvokit::player {

namespace {

constexpr double LatestMilliseconds = 0xFFFFFF; // of one frame; the encoder's numbers end at 2 147 483 647

} // namespace

/** When the next frame begins; rounded from the start on, so that no error adds up. */
bool WebpFile::GetTime(int& nMilliseconds, trevik::kelvo::Fault& fault) const {
    double const rLength = 1000 / m_rFrameRate;
    double const rTime = std::round(m_nFrames * rLength);
    if (rLength < 1 || rLength > LatestMilliseconds || rTime > 0x7FFFFFFF) {
        return trevik::kelvo::assets::Fail(
            fault, m_sPath,
            "a WebP shows a frame for 1 to 16777215 milliseconds, and all of them for 24 days");
    }
    nMilliseconds = static_cast<int>(rTime);
    return true;
}

bool WebpFile::Write(int, FramePixels const& frame, trevik::kelvo::Fault& fault) {
    int nMilliseconds = 0;
    if (!GetTime(nMilliseconds, fault)) {
        return false;
    }
    if (!m_writer.Add({frame.pixels.data(), frame.nWidth, frame.nHeight, frame.nChannels, 0}, nMilliseconds,
                      fault)) {
        fault = fault.Within(m_sPath);
        return false;
    }
    ++m_nFrames;
    return true;
}

bool WebpFile::Finish(trevik::kelvo::Fault& fault) {
    int nMilliseconds = 0;
    if (!GetTime(nMilliseconds, fault)) {
        return false;
    }
    std::vector<std::uint8_t> bytes;
    if (!m_writer.Finish(nMilliseconds, bytes, fault)) {
        fault = fault.Within(m_sPath);
        return false;
    }
    return m_output.Write({bytes.data(), bytes.size()}, fault) && m_output.Finish(fault);
}

} // namespace kelvokit::player
