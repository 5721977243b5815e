#pragma once

#include "Export.h"
#include "GlState.h"
#include "TextureGL2.h"
#include "UniformNames.h"
#include "trevik/Encoding.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/StringEncoded.h"
#include "trevik/Vector.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

class GraphicsDeviceGL2;

/** The two stages of a program. */
struct ShaderType {
    enum Enum : int { Fragment = 0, Vertex = 1 };
};

/** Attribute locations that all programs agree on; a program uses some of them. */
struct VertexAttributeIndex {
    enum Enum {
        Position = 0,      ///< vInPosition
        Texture = 1,       ///< vInTexture
        Color = 4,         ///< vInColor, one colour per vertex
        Fade = 4,          ///< fInFade, one opacity per vertex
        EdgeEquation0 = 4, ///< vInE0
        EdgeEquation1 = 5, ///< vInE1
        EdgeEquation2 = 6, ///< vInE2
        EdgeEquation3 = 7, ///< vInE3
        Count = 8
    };
};

/**
 * One GLSL ES program: its sources, the attribute locations that it is linked with, the locations of its
 * uniforms and the texture units of its samplers. Set the sources and attributes, compile once; then, for
 * each draw, bind, set parameters and samplers, draw, unbind. Everything but the setters of sources and
 * attributes runs on the render thread with the device's context current.
 */
class KELVO_EXPORT ShaderProgramGL2 : public Referenced {
public:
    /** What a texture unit holds for this program. */
    struct SamplerInfo {
        StringEncoded<UTF16Encoding>
            m_sName;                ///< the sampler that owns the unit; empty while the unit is free
        Ref<TextureGL2> m_pTexture; ///< stays referenced until the unit is given another one
    };

    /** An empty program without GL objects. */
    ShaderProgramGL2();
    /**
     * Unbinds a device's active program first, then deletes the GL objects. Calls what Unbind and Cleanup
     * call, and what TextureGL2::ReleaseGLTexture calls for textures that only its samplers hold. Render
     * thread.
     */
    ~ShaderProgramGL2() override;
    ShaderProgramGL2(ShaderProgramGL2 const&) = delete;
    ShaderProgramGL2& operator=(ShaderProgramGL2 const&) = delete;

    /** Sets a stage's source; any type but Vertex sets the fragment source. */
    void SetSource(ShaderType::Enum type, StringEncoded<UTF16Encoding> const& sSource);
    /**
     * Stores a program binary, which the caller keeps. Binaries are not loaded: a program that has one fails
     * to compile.
     */
    void SetBinary(void const* pData, int nSize);
    /**
     * Names the attribute at an index from 0 to 7, in place of an earlier one. Takes effect when the program
     * compiles.
     */
    void SetVertexAttributeIndex(StringEncoded<UTF16Encoding> const& sName, VertexAttributeIndex::Enum index);

    /**
     * Compiles and links the sources. On success there are as many texture units as GL has, all of them free
     * the first time; units that samplers have from an earlier compilation stay theirs. Calls, in this order,
     * glGetBooleanv, glCreateProgram, glCreateShader, glShaderSource, glCompileShader, glAttachShader,
     * glBindAttribLocation, glLinkProgram, glGetProgramiv and glGetIntegerv; when linking fails, in place of
     * the last one glGetProgramInfoLog, glGetShaderiv and what Cleanup calls. Render thread. False without a
     * message for a binary, a missing source or a driver without compiler, with the empty program object left
     * in place; false with the traced logs, and without GL objects, when linking fails.
     */
    bool Compile();
    /**
     * Makes draws use the program and its attributes; nothing while bound already. Calls glUseProgram, and
     * glEnableVertexAttribArray for each attribute. Render thread.
     */
    void Bind();
    /**
     * Leaves no program, none of its attributes and no texture in the units that hold one of its textures;
     * nothing while not bound. The active unit stays the last one touched. Calls glDisableVertexAttribArray,
     * glActiveTexture, glBindTexture and glUseProgram. Render thread.
     */
    void Unbind();

    /**
     * The location of a uniform, -1 for one that is not active. Asked of GL once for each name, even across
     * Cleanup. Calls glGetUniformLocation the first time. Render thread. -1 while memory is short, too.
     */
    int GetUniformLocation(StringEncoded<UTF16Encoding> const& sName);
    /** The same for a name with a slot: after the first time one look into the table. */
    template <UniformSlot::Enum slot>
    int GetUniformLocation(UniformName<slot> const& sName) {
        int const nLocation = m_slotLocations[slot];
        return __builtin_expect(nLocation != NotAsked, 1) ? nLocation : FillSlot(slot, sName);
    }

    /**
     * Gives a sampler of the bound program a texture: in the sampler's own unit, or in the first free one,
     * which is its own from now on. Null binds texture 0; the unit stays the sampler's. `nGLTexture` is the
     * GL name to bind in place of the texture's own; 0 for its own, made on first use. Calls glUniform1i,
     * glActiveTexture and glBindTexture each time, before them glActiveTexture and glBindTexture for another
     * texture that the unit held, and what GetUniformLocation and TextureGL2::GetGLTexture call. Render
     * thread. Without a free unit a trace is all that happens.
     */
    template <class Name>
    void SetSampler(Name const& sName, TextureGL2* pTexture, unsigned int nGLTexture) {
        if (HasFirstUnit(sName)) {
            SetSamplerOfUnit(sName, 0, pTexture, nGLTexture);
        } else {
            SetSamplerSearched(sName, pTexture, nGLTexture);
        }
    }

    /**
     * Sets a uniform of the bound program from a 4 by 4 matrix, a vector of 4, 3 or 2 floats, or a float.
     * `sName` is a StringEncoded, or a UniformName, which is found faster. The stage does not matter, since
     * uniforms belong to the whole program; it is ignored: intended (parameter-stage-ignored). Calls
     * glUniformMatrix4fv, glUniform4f, glUniform3f, glUniform2f or glUniform1f, and what GetUniformLocation
     * calls. Render thread. Inactive uniforms are ignored by GL.
     */
    template <class Name, class Value>
    void SetParameter(ShaderType::Enum, Name const& sName, Value const& value) {
        SetUniform(GetUniformLocation(sName), value);
    }

    /**
     * Deletes vertex shader, fragment shader and program, those that exist. All that was set stays. Calls
     * glDeleteShader and glDeleteProgram. Render thread.
     */
    void Cleanup();

private:
    friend class GraphicsDeviceGL2;

    struct UniformLocation {
        StringEncoded<UTF16Encoding> m_sName;
        int m_nLocation;
    };

    /** Stands in a slot whose name has not been asked for; locations are -1 or more. */
    enum : int { NotAsked = -2 };
    /** A table in which nothing has been asked for. */
    struct SlotLocations {
        SlotLocations() {
            for (int& nLocation : m_locations) {
                nLocation = NotAsked;
            }
        }
        int operator[](UniformSlot::Enum slot) const { return m_locations[slot]; }
        int& operator[](UniformSlot::Enum slot) { return m_locations[slot]; }
        int m_locations[UniformSlot::Count];
    };

    static void SetUniform(int nLocation, Matrix4T<float> const& value) {
        glUniformMatrix4fv(nLocation, 1, GL_FALSE, value.m);
    }
    static void SetUniform(int nLocation, Vector4T<float> const& value) {
        glUniform4f(nLocation, value.x, value.y, value.z, value.w);
    }
    static void SetUniform(int nLocation, Vector3T<float> const& value) {
        glUniform3f(nLocation, value.x, value.y, value.z);
    }
    static void SetUniform(int nLocation, Vector2T<float> const& value) {
        glUniform2f(nLocation, value.x, value.y);
    }
    static void SetUniform(int nLocation, float value) { glUniform1f(nLocation, value); }

    int FindLocation(StringEncoded<UTF16Encoding> const& sName);
    int FillSlot(UniformSlot::Enum slot, StringEncoded<UTF16Encoding> const& sName);

    /** Whether the sampler has the first unit, as that of nearly all programs. */
    bool HasFirstUnit(StringEncoded<UTF16Encoding> const& sName) const {
        // A unit shares the storage of the name that it was given, and shared text never changes: the same
        // address is the same name.
        return __builtin_expect(!m_samplers.IsEmpty(), true) &&
               __builtin_expect(m_samplers[0].m_sName.GetData() == sName.GetData(), true);
    }
    template <class Name>
    void SetSamplerOfUnit(Name const& sName, unsigned int nUnit, TextureGL2* pTexture,
                          unsigned int nGLTexture) {
        SamplerInfo& sampler = m_samplers[nUnit];
        if (sampler.m_pTexture.Get() != pTexture) {
            ExchangeTexture(sampler, nUnit, pTexture);
        }
        glUniform1i(GetUniformLocation(sName), static_cast<GLint>(nUnit));
        GlState::SelectTextureUnit(nUnit);
        if (nGLTexture == 0 && pTexture) {
            nGLTexture = pTexture->GetGLTexture();
        }
        GlState::BindTexture(GL_TEXTURE_2D, nGLTexture);
    }
    /** SetSampler for any unit; not inline, so that it takes no registers from draws with one sampler. */
    template <class Name>
    KELVO_LOCAL TREVIK_NOINLINE void SetSamplerSearched(Name const& sName, TextureGL2* pTexture,
                                                        unsigned int nGLTexture) {
        unsigned int const nUnit = FindUnit(sName);
        if (nUnit == m_samplers.GetCount()) {
            TraceNoUnit();
        } else {
            SetSamplerOfUnit(sName, nUnit, pTexture, nGLTexture);
        }
    }
    /** The sampler's own unit, or one that is its own from now on; the number of units without a free one. */
    unsigned int FindUnit(StringEncoded<UTF16Encoding> const& sName);
    /** Unbinds the texture that a unit holds, if any, and lets the unit hold another one, or none. */
    static void ExchangeTexture(SamplerInfo& sampler, unsigned int nUnit, TextureGL2* pTexture) {
        if (__builtin_expect(sampler.m_pTexture != nullptr, true)) {
            GlState::SelectTextureUnit(nUnit);
            GlState::BindTexture(GL_TEXTURE_2D, 0);
        }
        // A reference that stays until the next exchange: intended (sampler-keeps-texture).
        sampler.m_pTexture = Ref(pTexture);
    }
    static void TraceNoUnit();
    void CompileStage(unsigned int nShader, StringEncoded<UTF16Encoding> const& sSource);
    void BindAttributeLocations();
    void TraceLinkLog() const;
    static void TraceCompileLog(unsigned int nShader, char16_t const* pFormat);

    unsigned int m_nProgram = 0;
    unsigned int m_nFragmentShader = 0;
    unsigned int m_nVertexShader = 0;
    StringEncoded<UTF16Encoding> m_sFragmentSource;
    StringEncoded<UTF16Encoding> m_sVertexSource;
    void const* m_pBinary = nullptr;
    int m_nBinarySize = 0;
    StringEncoded<UTF16Encoding> m_attributeNames[VertexAttributeIndex::Count];
    List<UniformLocation> m_uniforms; ///< in the order in which they were first asked for
    List<SamplerInfo> m_samplers;     ///< one for each texture unit
    bool m_fBound = false;
    SlotLocations m_slotLocations;           ///< the locations of names that have a slot
    ShaderProgramGL2** m_ppActive = nullptr; ///< where a device keeps this as its active program
};

} // namespace trevik::kelvo
