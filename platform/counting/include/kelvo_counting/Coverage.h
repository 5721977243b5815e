#pragma once

#include <cstdint>
#include <memory>

namespace kelvokit::counting {

/** A rectangle of what is drawn into, and how often each of its pixels has been written. */
struct WrittenPixels {
    unsigned int nFramebuffer;  ///< what was drawn into; 0 is the surface
    int nWidth, nHeight;        ///< its size
    int nLeft, nBottom;         ///< the rectangle, from the lower left corner
    int nColumns, nRows;        ///< its size, pixels
    std::uint8_t const* pTimes; ///< row by row, the lowest one first; 255: so often or more
};

/** Is told which pixels have been written. */
class CoverageListener {
public:
    virtual ~CoverageListener() = default;
    /** Called for each rectangle; the pixels are valid until it returns. */
    virtual void TakePixels(WrittenPixels const& pixels) = 0;
};

/**
 * Measures, while it lives, which pixels are written: those that a draw call gives a colour to, after
 * clipping, scissor, discarded fragments, depth and stencil tests. Clears do not count.
 *
 * GL ES 2.0 counts no fragments. So each draw call is made once more, with its vertex shader and a fragment
 * shader that adds 1, into a framebuffer of the same size that has a depth and a stencil buffer of its own;
 * these follow the real ones, also through clears. To be made before the frame is cleared, on the thread of
 * the context, with the surface bound. All GL state is put back after each call.
 *
 * A pixel that one draw call writes more than 255 times counts 255 times for it.
 */
class Coverage {
public:
    /** The surface has this size in pixels. `listener` is to live at least as long. */
    Coverage(int nWidth, int nHeight, CoverageListener& listener);
    /** What has not been told is not told any more. */
    ~Coverage();
    Coverage(Coverage const&) = delete;
    Coverage& operator=(Coverage const&) = delete;

    /** Tells the listener what has been written since it was told last. */
    void Flush();
    /** Draw calls that could not be measured: the driver has no framebuffer or program for them. */
    unsigned int GetUnmeasuredDraws() const;

    class Recorder;

private:
    std::unique_ptr<Recorder> m_pRecorder;
};

} // namespace kelvokit::counting
