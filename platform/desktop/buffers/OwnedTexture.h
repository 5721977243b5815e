#pragma once

#include "egl/GlFunctions.h"

#include <utility>

namespace kelvokit::desktop {

/** A texture of the layer's context, which is current as long as this lives; deleted with this. */
class OwnedTexture {
public:
    /** None. */
    OwnedTexture() = default;
    static OwnedTexture Generate() {
        OwnedTexture texture;
        Gl().glGenTextures(1, &texture.m_name);
        return texture;
    }
    OwnedTexture(OwnedTexture&& other) noexcept : m_name(other.Release()) {}
    ~OwnedTexture() {
        if (m_name != 0) {
            Gl().glDeleteTextures(1, &m_name);
        }
    }

    explicit operator bool() const { return m_name != 0; }
    GLuint Name() const { return m_name; }
    /** Its name, for the caller to delete. */
    GLuint Release() { return std::exchange(m_name, 0); }

private:
    GLuint m_name = 0;
};

} // namespace kelvokit::desktop
