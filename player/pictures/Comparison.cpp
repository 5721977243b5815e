#include "pictures/Comparison.h"

#include "command/Options.h"
#include "file/FileBytes.h"
#include "image/PngReader.h"
#include "image/PngWriter.h"
#include "pictures/Pictures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace kelvokit::player {

using trevik::kelvo::assets::DecodePng;
using trevik::kelvo::assets::Fail;
using trevik::kelvo::assets::ImageLimits;
using trevik::kelvo::assets::ReadFile;
using trevik::kelvo::assets::RgbaPicture;
using trevik::kelvo::assets::SavePng;

namespace {

constexpr std::size_t MaximumBytes = std::size_t(1) << 30; // of the largest surface

bool ReadExpected(std::string const& path, RgbaPicture& picture, trevik::kelvo::Fault& fault) {
    std::vector<std::uint8_t> bytes;
    bool fAlpha = false;
    ImageLimits limits;
    limits.maxBytes = limits.maxFileBytes = MaximumBytes;
    return ReadFile(path, MaximumBytes, bytes, fault) &&
           DecodePng({bytes.data(), bytes.size()}, path, limits, picture, fAlpha, fault);
}

/** How a frame differs from the picture that is expected of it, which has its size. */
struct Differences {
    Differences(FramePixels const& frame, RgbaPicture const& expected, int nTolerance);

    std::vector<std::uint8_t> pixels; ///< R, G, B: how far they are apart, or the alphas if these are further
    int nLargest = 0;
    int nPixels = 0; ///< that are further apart than the tolerance
};

Differences::Differences(FramePixels const& frame, RgbaPicture const& expected, int nTolerance) {
    std::size_t const nChannels = static_cast<std::size_t>(frame.nChannels);
    std::size_t const nCount = frame.pixels.size() / nChannels;
    pixels.reserve(nCount * 3);
    for (std::size_t n = 0; n < nCount; ++n) {
        std::uint8_t const* const pFound = frame.pixels.data() + n * nChannels;
        std::uint8_t const* const pExpected = expected.bytes.data() + n * 4;
        int const nAlpha = std::abs((nChannels == 4 ? pFound[3] : 255) - pExpected[3]);
        int nFurthest = 0;
        for (int nChannel = 0; nChannel < 3; ++nChannel) {
            int const nApart = std::max(nAlpha, std::abs(pFound[nChannel] - pExpected[nChannel]));
            pixels.push_back(static_cast<std::uint8_t>(nApart));
            nFurthest = std::max(nFurthest, nApart);
        }
        nLargest = std::max(nLargest, nFurthest);
        nPixels += nFurthest > nTolerance ? 1 : 0;
    }
    for (std::uint8_t& nApart : pixels) { // small differences can be seen, too
        nApart = static_cast<std::uint8_t>(nApart * 255 / std::max(nLargest, 1));
    }
}

} // namespace

bool Comparison::Prepare(trevik::kelvo::Fault& fault) {
    std::error_code code;
    if (!IsPicturePath(m_sPath)) {
        static_cast<void>(std::filesystem::directory_iterator(m_sPath, code));
    }
    return !code || Fail(fault, m_sPath, "cannot be opened", code.message());
}

bool Comparison::Wants(bool fLast) const {
    return fLast || !IsPicturePath(m_sPath);
}

bool Comparison::Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& /*fault*/) {
    std::string const name = "frame " + std::to_string(nFrame) + ": ";
    std::string const path = GetPicturePath(m_sPath, nFrame);
    std::string const beside = path.substr(0, path.rfind('.')) + ".difference.png";
    std::remove(beside.c_str()); // what an earlier comparison has found
    ++m_nFrames;
    RgbaPicture expected;
    trevik::kelvo::Fault unread;
    if (!ReadExpected(path, expected, unread)) {
        ++m_nDifferent;
        m_tell(name + unread.GetText());
        return true;
    }
    if (expected.width != frame.nWidth || expected.height != frame.nHeight) {
        ++m_nDifferent;
        m_tell(name + std::to_string(frame.nWidth) + "x" + std::to_string(frame.nHeight) + " pixels, " +
               path + " has " + std::to_string(expected.width) + "x" + std::to_string(expected.height));
        return true;
    }
    Differences const differences(frame, expected, m_nTolerance);
    if (differences.nPixels == 0) {
        return true;
    }
    ++m_nDifferent;
    m_tell(name + std::to_string(differences.nPixels) + " of " +
           std::to_string(differences.pixels.size() / 3) + " pixels differ from " + path + ", by up to " +
           std::to_string(differences.nLargest) + "; see " + beside);
    trevik::kelvo::Fault unwritten;
    if (!SavePng(beside, {differences.pixels.data(), frame.nWidth, frame.nHeight, 3, 0}, unwritten)) {
        m_tell(name + unwritten.GetText());
    }
    return true;
}

bool Comparison::Finish(trevik::kelvo::Fault& fault) {
    return m_nDifferent == 0 || Fail(fault, "",
                                     std::to_string(m_nDifferent) + " of " + std::to_string(m_nFrames) +
                                         " frames differ from " + m_sPath);
}

} // namespace kelvokit::player
