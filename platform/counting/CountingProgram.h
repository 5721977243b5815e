#pragma once

#include "DriverNotes.h"

#include <vector>

namespace kelvokit::counting {

/** A program that writes what another one does, by 1 for each pixel in place of its colours. */
class CountingProgram {
public:
    /** Stands for `nProgram`, which has been linked from these sources. */
    CountingProgram(GLuint nProgram, ProgramSource const& source);
    ~CountingProgram();
    CountingProgram(CountingProgram const&) = delete;
    CountingProgram& operator=(CountingProgram const&) = delete;

    /** Whether the driver takes it. */
    bool IsLinked() const { return m_nCounting != 0; }
    /** Puts it in use, with the values that the other one's uniforms have now. */
    void Use() const;

private:
    /** A uniform, or an element of one, in both programs. */
    struct Uniform {
        GLenum nType;
        GLint nFrom;
        GLint nTo;
    };

    void BindAttributes() const;
    bool Link();
    void FindUniforms();
    void Copy(Uniform const& uniform) const;

    GLuint m_nProgram;
    GLuint m_nCounting = 0;
    std::vector<Uniform> m_uniforms;
};

} // namespace kelvokit::counting
