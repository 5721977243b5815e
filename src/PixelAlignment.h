#pragma once

#include <GLES2/gl2.h>

namespace trevik::kelvo {

/**
 * While it lives, GL takes or gives rows of pixels without gaps. The alignment is the application's: rows of
 * a multiple of 8 bytes have no gaps at any, and nothing is called; around others the alignment is read, set
 * to 1 and put back. Calls glGetIntegerv and glPixelStorei. Render thread.
 */
class PixelAlignment {
public:
    /** For uploads GL_UNPACK_ALIGNMENT, for reads GL_PACK_ALIGNMENT; and the bytes of a row. */
    PixelAlignment(GLenum name, unsigned long long nRowBytes) : m_name(nRowBytes % 8 != 0 ? name : 0) {
        if (m_name != 0) {
            glGetIntegerv(m_name, &m_nBefore);
            glPixelStorei(m_name, 1);
        }
    }
    ~PixelAlignment() {
        if (m_name != 0) {
            glPixelStorei(m_name, m_nBefore);
        }
    }
    PixelAlignment(PixelAlignment const&) = delete;
    PixelAlignment& operator=(PixelAlignment const&) = delete;

private:
    GLenum m_name;
    GLint m_nBefore = 4; ///< GL's own
};

} // namespace trevik::kelvo
