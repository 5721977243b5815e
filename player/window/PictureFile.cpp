#include "window/PictureFile.h"

#include "file/Failure.h"
#include "image/PngWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace kelvokit::player {

namespace {

/** Makes an empty file under the first name that is free; false with the reason in errno. */
bool Reserve(std::string const& start, std::string& path) {
    for (int nTry = 1; nTry < 10000; ++nTry) {
        path = start + (nTry > 1 ? "-" + std::to_string(nTry) : "") + ".png";
        int const nFile = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (nFile >= 0) {
            close(nFile);
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

} // namespace

bool SaveNewPicture(std::string const& scene, int nFrame, FramePixels const& frame, std::string& path,
                    trevik::kelvo::Fault& fault) {
    std::error_code code;
    std::filesystem::path const folder = std::filesystem::current_path(code);
    std::string const name = scene == "-" ? "scene" : std::filesystem::path(scene).stem().string();
    char ending[32];
    std::snprintf(ending, sizeof ending, "_frame_%05d", nFrame);
    if (!Reserve((folder / name).string() + ending, path)) {
        return trevik::kelvo::assets::Fail(fault, path, "cannot be written", std::strerror(errno));
    }
    trevik::kelvo::assets::PngPicture const picture{frame.pixels.data(), frame.nWidth, frame.nHeight,
                                                    frame.nChannels, 0};
    if (!trevik::kelvo::assets::SavePng(path, picture, fault)) {
        unlink(path.c_str());
        return false;
    }
    return true;
}

} // namespace kelvokit::player
