#pragma once

#include "DriverNotes.h"
#include "kelvo_counting/Coverage.h"

#include <cstdint>
#include <vector>

namespace kelvokit::counting {

/** A framebuffer that stands for another one: its pixels count, and it has depth and stencil where that has.
 */
class CountingTarget {
public:
    /** Stands for the framebuffer that is bound, of this size. Leaves itself bound. */
    explicit CountingTarget(TargetSize const& size);
    ~CountingTarget();
    CountingTarget(CountingTarget const&) = delete;
    CountingTarget& operator=(CountingTarget const&) = delete;

    bool IsComplete() const { return m_fComplete; }
    /** Whether it can stand for the framebuffer that is bound. */
    bool Fits(TargetSize const& size) const;
    void Bind() const;

    /** Whether so many primitives more might write a pixel oftener than it can count. */
    bool IsFullWith(GLsizei nPrimitives) const;
    /** Notes a draw within viewport and scissor. */
    void NoteDraw(GLsizei nPrimitives);
    /**
     * Tells what has been written, and counts from 0 again. To be called with this target bound, scissor off
     * and all colours written.
     */
    void Tell(GLuint nFramebuffer, CoverageListener& listener);
    bool HasWritten() const { return m_nPrimitives > 0; }

private:
    /** Without any, for none. */
    struct Area {
        GLint nLeft = 0, nBottom = 0, nRight = 0, nTop = 0;
    };

    void AttachColor();
    bool AttachBuffers();
    void AttachBuffer(GLenum nFormat, bool fDepth, bool fStencil);
    void RemoveBuffers();
    void Empty() const;
    void Read();
    Area GetDrawnArea() const;

    TargetSize m_size;
    bool m_fDepth = false;
    bool m_fStencil = false;
    bool m_fComplete = false;
    GLuint m_nFramebuffer = 0;
    GLuint m_nTexture = 0;
    std::vector<GLuint> m_renderbuffers;
    GLsizei m_nPrimitives = 0; ///< drawn since it was told last
    Area m_drawn;
    std::vector<std::uint8_t> m_pixels; ///< kept, since it is needed again
};

} // namespace kelvokit::counting
