#pragma once

#include <GLES2/gl2.h>

#include <cstddef>
#include <vector>

namespace bench {

/**
 * The GL calls of a frame with their arguments, one after the other, as they can be issued again without
 * anything around them. Linking this file into an executable puts it between the library and GL: all calls of
 * the functions that drawing takes pass here, and are noted while a tape records.
 */
class GlTape {
public:
    /** Notes the calls of `work`, which are made as well. */
    template <class Work>
    void Record(Work work) {
        m_calls.clear();
        m_values.clear();
        s_pRecording = this;
        work();
        s_pRecording = nullptr;
    }
    /** Makes the noted calls. */
    void Play() const;
    std::size_t GetCount() const { return m_calls.size(); }

    /** One call: integer arguments, float arguments, and where the memory that it points to was copied. */
    struct Call {
        unsigned int m_nFunction;
        GLuint m_integers[4];
        GLfloat m_floats[4];
        std::size_t m_nValues;
    };

    static GlTape* Recording() { return s_pRecording; }
    void Note(Call call, GLfloat const* pValues, std::size_t nValues);

private:
    static GlTape* s_pRecording;

    std::vector<Call> m_calls;
    std::vector<GLfloat> m_values;
};

} // namespace bench
