#include "pictures/Pictures.h"

#include "command/Options.h"
#include "file/Failure.h"
#include "image/PngWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kelvokit::player {

std::string GetPicturePath(std::string const& path, int nFrame) {
    char name[40];
    std::snprintf(name, sizeof name, "/frame_%05d.png", nFrame);
    return IsPicturePath(path) ? path : path + name;
}

Pictures::Pictures(std::string const& path) : m_sPath(path), m_fSingle(IsPicturePath(path)) {}

bool Pictures::Prepare(trevik::kelvo::Fault& fault) {
    if (m_fSingle) {
        return true;
    }
    std::error_code code;
    std::filesystem::create_directories(m_sPath, code);
    if (code || !std::filesystem::is_directory(m_sPath, code)) {
        return trevik::kelvo::assets::Fail(fault, m_sPath, "cannot be made a folder",
                                           code ? code.message() : std::strerror(ENOTDIR));
    }
    return true;
}

bool Pictures::Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) {
    std::string const path = GetPicturePath(m_sPath, nFrame);
    trevik::kelvo::assets::PngPicture const picture{frame.pixels.data(), frame.nWidth, frame.nHeight,
                                                    frame.nChannels, 0};
    return trevik::kelvo::assets::SavePng(path, picture, fault);
}

} // namespace kelvokit::player
