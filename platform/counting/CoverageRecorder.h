#pragma once

#include "CountingProgram.h"
#include "CountingTarget.h"
#include "kelvo_counting/Coverage.h"

#include <functional>
#include <map>

namespace kelvokit::counting {

/** Makes draws and clears once more, into framebuffers that count. */
class Coverage::Recorder {
public:
    Recorder(int nWidth, int nHeight, CoverageListener& listener);
    ~Recorder();
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    /** The one that is at work; null for none. */
    static Recorder* Get() { return s_pRecorder; }

    /** Makes a draw once more; `nPrimitives`: how often it can write a pixel at most. */
    void RepeatDraw(GLsizei nPrimitives, std::function<void()> const& draw);
    void RepeatClear(GLbitfield nBuffers);
    void Flush();
    void ForgetProgram(GLuint nProgram) { m_programs.erase(nProgram); }
    void ForgetFramebuffers(GLsizei nFramebuffers, GLuint const* pFramebuffers);
    unsigned int GetUnmeasuredDraws() const { return m_nUnmeasured; }

private:
    class PutBack;

    CountingTarget* FindTarget(GLuint nFramebuffer);
    CountingProgram* FindProgram(GLuint nProgram);

    static Recorder* s_pRecorder;

    TargetSize m_surface;
    CoverageListener& m_listener;
    std::map<GLuint, CountingTarget> m_targets;   ///< by the framebuffer that they stand for
    std::map<GLuint, CountingProgram> m_programs; ///< by the program that they stand for
    unsigned int m_nUnmeasured = 0;
};

} // namespace kelvokit::counting
