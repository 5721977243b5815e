#pragma once

#include "FramePixels.h"

#include <string>

namespace kelvokit::player {

/** Where the frames go as PNG files. */
class Pictures {
public:
    /** A path that ends in ".png" takes one picture, any other is a folder of them; empty takes none. */
    explicit Pictures(std::string const& path);

    /** Makes the folder unless it is there. False with one line in `error` when that fails. */
    bool Prepare(std::string& error) const;
    /** Whether the frame is to become a picture; `fLast`: it is the last one. */
    bool Wants(bool fLast) const { return !m_sPath.empty() && (fLast || !m_fSingle); }
    /** Writes a frame, whole or not at all. False with one line in `error`. */
    bool Write(int nFrame, FramePixels const& frame, std::string& error);
    unsigned int GetCount() const { return m_nWritten; }

private:
    std::string m_sPath;
    bool m_fSingle;
    unsigned int m_nWritten = 0;
};

} // namespace kelvokit::player
