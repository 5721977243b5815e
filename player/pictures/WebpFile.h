#pragma once

#include "image/WebpWriter.h"
#include "pictures/ByteOutput.h"
#include "pictures/FrameSink.h"

namespace kelvokit::player {

/** All frames as one animated WebP, each shown as long as the scene has it, to the millisecond. */
class WebpFile : public FrameSink {
public:
    /** @param rFrameRate frames per second. */
    WebpFile(std::string const& path, trevik::kelvo::assets::WebpOptions const& options, float rFrameRate)
        : m_sPath(path), m_output(path), m_rFrameRate(static_cast<double>(rFrameRate)), m_writer(options) {}

    bool Prepare(trevik::kelvo::Fault& fault) override { return m_output.Open(fault); }
    bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) override;
    bool Finish(trevik::kelvo::Fault& fault) override;

private:
    bool GetTime(int& nMilliseconds, trevik::kelvo::Fault& fault) const;

    std::string m_sPath;
    ByteOutput m_output;
    double const m_rFrameRate;
    trevik::kelvo::assets::WebpWriter m_writer;
    int m_nFrames = 0;
};

} // namespace kelvokit::player
