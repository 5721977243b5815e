#pragma once

#include "pictures/FrameSink.h"

#include <string>

namespace kelvokit::player {

/** The picture of a frame: the path if it names one, else a file in the folder that it names. */
std::string GetPicturePath(std::string const& path, int nFrame);

/** Where the frames go as PNG files. */
class Pictures : public FrameSink {
public:
    /** A path that ends in ".png" takes one picture, any other is a folder of them. */
    explicit Pictures(std::string const& path);

    /** Makes the folder unless it is there. */
    bool Prepare(trevik::kelvo::Fault& fault) override;
    bool Wants(bool fLast) const override { return fLast || !m_fSingle; }
    /** Writes a frame, whole or not at all. */
    bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) override;

private:
    std::string m_sPath;
    bool m_fSingle;
};

} // namespace kelvokit::player
