#pragma once

#include "pictures/ByteOutput.h"
#include "pictures/FrameSink.h"

#include <string>

namespace kelvokit::player {

/** All frames as one picture: row by row from the upper left, without gaps. */
class ContactSheet : public FrameSink {
public:
    /** @param nFrames how many frames come; those that stand beside each other are `nColumns`. */
    ContactSheet(std::string const& path, int nColumns, int nFrames);

    bool Prepare(trevik::kelvo::Fault& fault) override { return m_output.Open(fault); }
    bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) override;
    bool Finish(trevik::kelvo::Fault& fault) override;

private:
    bool Start(FramePixels const& frame, trevik::kelvo::Fault& fault);

    std::string m_sPath;
    ByteOutput m_output;
    int const m_nColumns;
    int const m_nRows;
    int m_nWritten = 0;
    FramePixels m_sheet; ///< where no frame is: black, or clear where frames have alpha
};

} // namespace kelvokit::player
