#pragma once

#include "FramebufferGL2.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo::effects {

/**
 * An off-screen target with 8 bits for each of red, green, blue and alpha, of a size that may change: it is
 * made when a size is first asked for, and anew for another one. Render thread, but for the destructor: GL
 * objects that it holds on another thread go at the device's next Process.
 */
class FrameTarget : public Referenced {
public:
    /** Without and with a buffer for depth and stencil. */
    enum class Kind { Color, ColorDepthStencil };

    explicit FrameTarget(Kind kind = Kind::Color) : m_kind(kind) {}
    ~FrameTarget() override;

    /**
     * Makes the target, unless it has the size. No framebuffer, or another one, may be bound afterwards.
     * False, traced once for a size, when the driver cannot make it.
     */
    bool Fit(int nWidth, int nHeight);
    /** Once Fit was true. Does not clear when it is bound. */
    FramebufferGL2& GetFramebuffer() const { return *m_pFramebuffer; }

    /** GL's name of the framebuffer. */
    int GetName() const { return m_nName; }

    int m_nOuterName = 0; ///< what was bound before, for those who bind the target

private:
    bool NoteName();
    void Release();

    Kind const m_kind;
    Ref<FramebufferGL2> m_pFramebuffer;
    GLint m_nName = 0;
    unsigned int m_nContext = 0; ///< that it belongs to
    int m_nFailedWidth = 0;      ///< the size that could not be had last
    int m_nFailedHeight = 0;
};

/** Whether the driver can attach one object as depth and as stencil. */
bool HasPackedDepthStencil();

} // namespace trevik::kelvo::effects
