#pragma once

#include "command/Options.h"
#include "pictures/ByteOutput.h"
#include "pictures/FrameSink.h"

#include <cstdint>
#include <vector>

namespace kelvokit::player {

/**
 * Frames one after the other, not compressed, in a file or on standard output. Y4M has a header with size and
 * rate, and for each frame its planes of Y, Cb and Cr at full size (BT.601, 16 to 235 and 240), without
 * alpha. RGBA has nothing but four bytes a pixel, top row first, with straight alpha.
 */
class VideoFile : public FrameSink {
public:
    /** @param rFrameRate frames per second. */
    VideoFile(std::string const& path, VideoFormat format, float rFrameRate)
        : m_output(path), m_format(format), m_rFrameRate(rFrameRate) {}

    bool Prepare(trevik::kelvo::Fault& fault) override { return m_output.Open(fault); }
    bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) override;
    bool Finish(trevik::kelvo::Fault& fault) override { return m_output.Finish(fault); }

private:
    void AppendPlanes(FramePixels const& frame);
    void AppendPixels(FramePixels const& frame);

    ByteOutput m_output;
    VideoFormat const m_format;
    float const m_rFrameRate;
    bool m_fStarted = false;
    std::vector<std::uint8_t> m_bytes; ///< of one frame
};

} // namespace kelvokit::player
