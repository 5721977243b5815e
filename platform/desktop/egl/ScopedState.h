#pragma once

#include "egl/GlFunctions.h"

namespace kelvokit::desktop {

/** Where the context knows it (`fKnown`), sets one integer state for as long as it lives. */
template <class Set>
class ScopedInteger {
public:
    /** `query` is the name to read it by. */
    ScopedInteger(bool fKnown, GLenum query, GLenum value, Set set) : m_set(set) {
        if (fKnown) {
            Gl().glGetIntegerv(query, &m_nSaved);
        }
        m_fChanged = fKnown && m_nSaved != static_cast<GLint>(value);
        if (m_fChanged) {
            m_set(value);
        }
    }
    ScopedInteger(ScopedInteger const&) = delete;
    ~ScopedInteger() {
        if (m_fChanged) {
            m_set(static_cast<GLenum>(m_nSaved));
        }
    }

private:
    Set m_set;
    GLint m_nSaved = 0;
    bool m_fChanged = false;
};

struct PixelStore {
    GLenum name;
    void operator()(GLenum value) const { Gl().glPixelStorei(name, static_cast<GLint>(value)); }
};

struct BufferBinding {
    GLenum target;
    void operator()(GLenum value) const { Gl().glBindBuffer(target, value); }
};

struct TextureBinding {
    void operator()(GLenum value) const { Gl().glBindTexture(GL_TEXTURE_2D, value); }
};

} // namespace kelvokit::desktop
