#include "pictures/VideoFile.h"

#include <algorithm>
#include <cmath>

namespace kelvokit::player {

namespace {

/** A plane's value is bias + (red, green, blue) * weights / 65536. */
struct PlaneWeights {
    int nBias;
    int nRed, nGreen, nBlue;
};
constexpr PlaneWeights Planes[] = {
    {16, 16829, 33039, 6416}, {128, -9714, -19070, 28784}, {128, 28784, -24103, -4681}};

/** Frames per second as a ratio: whole, as television has them (30000:1001), or in thousandths. */
std::string ToRatio(float rFrameRate) {
    double const rRate = static_cast<double>(rFrameRate);
    struct {
        int nUnit, nBelow;
    } const ratios[] = {{1, 1}, {1000, 1001}};
    for (auto const& ratio : ratios) {
        long long const nAbove = std::llround(rRate * ratio.nBelow / ratio.nUnit) * ratio.nUnit;
        if (nAbove > 0 && std::fabs(static_cast<double>(nAbove) / ratio.nBelow - rRate) < 1e-4) {
            return std::to_string(nAbove) + ":" + std::to_string(ratio.nBelow);
        }
    }
    return std::to_string(std::max(1ll, std::llround(rRate * 1000))) + ":1000";
}

void Append(std::string const& text, std::vector<std::uint8_t>& bytes) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

} // namespace

bool VideoFile::Write(int, FramePixels const& frame, trevik::kelvo::Fault& fault) {
    m_bytes.clear();
    if (m_format == VideoFormat::Rgba) {
        AppendPixels(frame);
    } else {
        if (!m_fStarted) {
            Append("YUV4MPEG2 W" + std::to_string(frame.nWidth) + " H" + std::to_string(frame.nHeight) +
                       " F" + ToRatio(m_rFrameRate) + " Ip A1:1 C444\n",
                   m_bytes);
        }
        AppendPlanes(frame);
    }
    m_fStarted = true;
    return m_output.Write({m_bytes.data(), m_bytes.size()}, fault);
}

void VideoFile::AppendPlanes(FramePixels const& frame) {
    Append("FRAME\n", m_bytes);
    std::size_t const nChannels = static_cast<std::size_t>(frame.nChannels);
    for (PlaneWeights const& plane : Planes) {
        for (std::size_t n = 0; n < frame.pixels.size(); n += nChannels) {
            int const nSum = plane.nRed * frame.pixels[n] + plane.nGreen * frame.pixels[n + 1] +
                             plane.nBlue * frame.pixels[n + 2];
            // Above 0 once the bias is in it, so that the shift rounds to the nearest.
            m_bytes.push_back(static_cast<std::uint8_t>((nSum + (plane.nBias << 16) + (1 << 15)) >> 16));
        }
    }
}

void VideoFile::AppendPixels(FramePixels const& frame) {
    std::size_t const nChannels = static_cast<std::size_t>(frame.nChannels);
    for (std::size_t n = 0; n < frame.pixels.size(); n += nChannels) {
        std::uint8_t const* const pPixel = frame.pixels.data() + n;
        m_bytes.insert(m_bytes.end(), {pPixel[0], pPixel[1], pPixel[2],
                                       nChannels == 4 ? pPixel[3] : static_cast<std::uint8_t>(255)});
    }
}

} // namespace kelvokit::player
