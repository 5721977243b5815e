#pragma once

#include "pictures/FrameSink.h"

#include <functional>
#include <string>
#include <vector>

namespace kelvokit::player {

/**
 * Frames against pictures that are there, under the names that `Pictures` gives them. Where they differ, a
 * picture of the differences is written beside.
 */
class Comparison : public FrameSink {
public:
    /**
     * @param nTolerance the largest difference, of 255, of a channel that still counts as equal.
     * @param tell is given a line for each frame that differs.
     */
    Comparison(std::string const& path, int nTolerance, std::function<void(std::string const&)> const& tell)
        : m_sPath(path), m_nTolerance(nTolerance), m_tell(tell) {}

    /** False where there is no folder to compare with, which is told once. */
    bool Prepare(trevik::kelvo::Fault& fault) override;
    bool Wants(bool fLast) const override;
    /** Tells what differs, and goes on. */
    bool Write(int nFrame, FramePixels const& frame, trevik::kelvo::Fault& fault) override;
    /** False when a frame has differed. */
    bool Finish(trevik::kelvo::Fault& fault) override;

private:
    std::string m_sPath;
    int const m_nTolerance;
    std::function<void(std::string const&)> m_tell;
    int m_nFrames = 0;
    int m_nDifferent = 0;
};

} // namespace kelvokit::player
