#include "Pictures.h"

#include "Options.h"
#include "PngWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace kelvo::player {

namespace {

/** The frame without its alpha. */
std::vector<std::uint8_t> DropAlpha(desktop::FinishedFrame const& frame) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(frame.pixels.size() / 4 * 3);
    for (std::size_t n = 0; n + 3 < frame.pixels.size(); n += 4) {
        pixels.insert(pixels.end(), {frame.pixels[n], frame.pixels[n + 1], frame.pixels[n + 2]});
    }
    return pixels;
}

} // namespace

Pictures::Pictures(std::string const& path) : m_sPath(path), m_fSingle(IsPicturePath(path)) {}

bool Pictures::Prepare(std::string& error) const {
    if (m_sPath.empty() || m_fSingle) {
        return true;
    }
    std::error_code fault;
    std::filesystem::create_directories(m_sPath, fault);
    if (fault || !std::filesystem::is_directory(m_sPath, fault)) {
        error = m_sPath + ": cannot be made a folder: " + (fault ? fault.message() : std::strerror(ENOTDIR));
        return false;
    }
    return true;
}

bool Pictures::Write(int nFrame, desktop::FinishedFrame const& frame, bool fAlpha, std::string& error) {
    using trevik::kelvo::assets::PngPicture;
    std::string path = m_sPath;
    if (!m_fSingle) {
        char name[40];
        std::snprintf(name, sizeof name, "/frame_%05d.png", nFrame);
        path += name;
    }
    std::vector<std::uint8_t> const opaque = fAlpha ? std::vector<std::uint8_t>() : DropAlpha(frame);
    PngPicture const picture{fAlpha ? frame.pixels.data() : opaque.data(), frame.width, frame.height,
                             fAlpha ? 4 : 3, 0};
    if (!trevik::kelvo::assets::SavePng(path, picture, error)) {
        return false;
    }
    ++m_nWritten;
    return true;
}

} // namespace kelvo::player
