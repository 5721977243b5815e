// How one program is compiled, fed and bound, without a device.

#include "ExpectCalls.h"
#include "ShaderProgramGL2.h"
#include "TextureGL2.h"
#include "kelvo_test/Diagnostics.h"
#include "trevik/Allocation.h"

namespace recording = kelvokit::recording;

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Strings = std::vector<std::string>;

constexpr int Units = 4;

class ShaderProgram : public recording::Test {
protected:
    ShaderProgram() {
        SetLimit(GL_MAX_TEXTURE_IMAGE_UNITS, Units);
        m_pProgram->SetSource(ShaderType::Vertex, u"attribute vec4 vInPosition;\n"
                                                  u"attribute vec2 vInTexture;\n"
                                                  u"uniform mat4 mMatrix;\n"
                                                  u"void main() { gl_Position = mMatrix * vInPosition; }\n");
        m_pProgram->SetSource(ShaderType::Fragment,
                              u"uniform sampler2D sA, sB, sC, sD, sE; uniform vec4 v4;\n"
                              u"void main() { gl_FragColor = texture2D(sA, v4) + texture2D(sB, v4) + "
                              u"texture2D(sC, v4) + texture2D(sD, v4) + texture2D(sE, v4); }\n");
        m_pProgram->SetVertexAttributeIndex(u"vInPosition", VertexAttributeIndex::Position);
        m_pProgram->SetVertexAttributeIndex(u"vInTexture", VertexAttributeIndex::EdgeEquation1);
    }

    void CompileAndBind() {
        ASSERT_TRUE(m_pProgram->Compile());
        m_pProgram->Bind();
        Clear();
    }

    kelvokit::test::Diagnostics m_diagnostics;
    Ref<ShaderProgramGL2> m_pProgram{new ShaderProgramGL2};
    // Samplers are given GL names, so that no texture needs one of its own.
    Ref<TextureGL2> m_pTexture{new TextureGL2};
    Ref<TextureGL2> m_pOther{new TextureGL2};
};

TEST_F(ShaderProgram, AnyTypeButVertexReplacesTheFragmentSource) {
    m_pProgram->SetSource(static_cast<ShaderType::Enum>(7), u"void main() { gl_FragColor = vec4(1.0); }");
    ASSERT_TRUE(m_pProgram->Compile());
    EXPECT_EQ(Calls("glShaderSource")[1].text, "void main() { gl_FragColor = vec4(1.0); }");
}

TEST_F(ShaderProgram, GivesUpQuietlyWithTheProgramObjectLeftWhereThereIsNothingToCompile) {
    static char const s_binary[4] = {};
    for (std::string const what : {"a binary", "no compiler", "no vertex source", "no fragment source"}) {
        SCOPED_TRACE(what);
        Reset();
        SetShaderCompiler(what != "no compiler");
        Ref<ShaderProgramGL2> pProgram(new ShaderProgramGL2);
        String16 const source(u"void main() {}");
        pProgram->SetSource(ShaderType::Vertex, what == "no vertex source" ? String16() : source);
        pProgram->SetSource(ShaderType::Fragment, what == "no fragment source" ? String16() : source);
        if (what == "a binary") {
            pProgram->SetBinary(s_binary, 4);
        }
        EXPECT_FALSE(pProgram->Compile());
        EXPECT_CALLS("glGetBooleanv", "glCreateProgram");
        EXPECT_EQ(Counts(Object::Program).live, 1);
        pProgram.Reset();
        EXPECT_EQ(Counts(Object::Program).live, 0);
    }
    EXPECT_TRUE(m_diagnostics.Messages().empty());
}

TEST_F(ShaderProgram, AUniformAskedForWithoutMemoryIsAskedForAgain) {
    ASSERT_TRUE(m_pProgram->Compile());
    String16 const name(u"v4");
    m_pProgram->GetUniformLocation(u"mMatrix"); // makes room for a few
    Allocation::FailAfter(0);
    EXPECT_EQ(m_pProgram->GetUniformLocation(name), -1);
    Allocation::FailNever();
    EXPECT_NE(m_pProgram->GetUniformLocation(name), -1);
}

TEST_F(ShaderProgram, LogsOfMoreThanATerminatorAreTracedTheShadersAskedOfTheProgramFunction) {
    struct Case {
        GLenum stage;
        GLint emptyLength;
        char const* log;
        Strings messages;
    };
    // A driver answers nothing for a shader there, so its text is empty.
    std::string const link = "[kelvo] glLinkProgram failed:\n";
    std::string const vertex = "[kelvo] Compiling vertex shader failed:\n\n";
    std::string const fragment = "[kelvo] Compiling fragment shader failed:\n\n";
    Case const cases[] = {{GL_VERTEX_SHADER, 1, "", {}},
                          {GL_VERTEX_SHADER, 0, "x", {link + "x\n", vertex}},
                          {GL_FRAGMENT_SHADER, 0, "error", {link + "error\n", fragment}}};
    for (Case const& test : cases) {
        SCOPED_TRACE(std::to_string(test.emptyLength) + test.log);
        Reset();
        m_diagnostics.Forget();
        SetEmptyLogLength(test.emptyLength);
        FailCompile(test.stage, test.log);
        FailLink(test.log);
        EXPECT_FALSE(m_pProgram->Compile());
        EXPECT_EQ(m_diagnostics.Messages(), test.messages);
        EXPECT_EQ(Count("glGetProgramInfoLog"), test.messages.size());
        EXPECT_EQ(Count("glGetShaderInfoLog"), 0u);
    }
}

TEST_F(ShaderProgram, UnbindTakesTheTexturesOutOfEveryUnitThatHoldsOne) {
    CompileAndBind();
    m_pProgram->SetSampler(u"sA", m_pTexture.Get(), 7);
    m_pProgram->SetSampler(u"sB", m_pOther.Get(), 8);
    m_pProgram->SetSampler(u"sC", m_pOther.Get(), 8);
    m_pProgram->SetSampler(u"sB", nullptr, 0);
    m_pProgram->Unbind();
    m_pProgram->Bind();
    Clear();
    // Units used by an earlier draw are taken out again, though nothing was drawn since.
    m_pProgram->Unbind();
    EXPECT_CALLS("glDisableVertexAttribArray(0)", "glDisableVertexAttribArray(5)",
                 "glActiveTexture(GL_TEXTURE0)", "glBindTexture(GL_TEXTURE_2D, 0)",
                 "glActiveTexture(GL_TEXTURE2)", "glBindTexture(GL_TEXTURE_2D, 0)", "glUseProgram(0)");
}

TEST_F(ShaderProgram, AsksForALocationOnceWhateverItIs) {
    CompileAndBind();
    GLuint const program = LiveNames(Object::Program)[0];
    String16 const name(u"v4");
    EXPECT_EQ(m_pProgram->GetUniformLocation(name), UniformLocation(program, "v4"));
    // The same name in other storage, and a name that no shader knows.
    EXPECT_EQ(m_pProgram->GetUniformLocation(u"v4"), UniformLocation(program, "v4"));
    EXPECT_EQ(m_pProgram->GetUniformLocation(u"missing"), -1);
    EXPECT_EQ(m_pProgram->GetUniformLocation(u"missing"), -1);
    EXPECT_EQ(Lines(), (Strings{"glGetUniformLocation(" + std::to_string(program) + ", \"v4\")",
                                "glGetUniformLocation(" + std::to_string(program) + ", \"missing\")"}));
    m_pProgram->Cleanup();
    EXPECT_EQ(m_pProgram->GetUniformLocation(name), UniformLocation(program, "v4"));
    EXPECT_EQ(Count("glGetUniformLocation"), 2u);
}

TEST_F(ShaderProgram, AUnitKeepsItsTextureAliveUntilItGetsAnother) {
    CompileAndBind();
    m_pProgram->SetSampler(u"sA", m_pTexture.Get(), 7);
    m_pProgram->SetSampler(u"sA", m_pTexture.Get(), 7);
    EXPECT_EQ(m_pTexture->GetReferenceCount(), 2);
    m_pProgram->Unbind();
    EXPECT_EQ(m_pTexture->GetReferenceCount(), 2);
    m_pProgram->SetSampler(u"sA", m_pOther.Get(), 8);
    EXPECT_EQ(m_pTexture->GetReferenceCount(), 1);
    m_pProgram.Reset();
    EXPECT_EQ(m_pOther->GetReferenceCount(), 1);
}

TEST_F(ShaderProgram, ANullTextureIsBoundAsNoneAndKeepsTheUnitForTheSampler) {
    CompileAndBind();
    m_pProgram->SetSampler(u"sA", m_pTexture.Get(), 7);
    Clear();
    m_pProgram->SetSampler(u"sA", nullptr, 0);
    EXPECT_CALLS("glActiveTexture(GL_TEXTURE0)", "glBindTexture(GL_TEXTURE_2D, 0)", "glUniform1i(sA, 0)",
                 "glActiveTexture(GL_TEXTURE0)", "glBindTexture(GL_TEXTURE_2D, 0)");
    EXPECT_EQ(m_pTexture->GetReferenceCount(), 1);
    m_pProgram->SetSampler(u"sB", m_pOther.Get(), 8);
    EXPECT_EQ(UniformValue(LiveNames(Object::Program)[0], "sB"), std::vector<float>{1});
}

TEST_F(ShaderProgram, WithoutAFreeUnitASamplerIsTracedAndNothingIsCalled) {
    CompileAndBind();
    for (String16 const& name : {String16(u"sA"), String16(u"sB"), String16(u"sC"), String16(u"sD")}) {
        m_pProgram->SetSampler(name, m_pTexture.Get(), 7);
    }
    Clear();
    m_pProgram->SetSampler(u"sE", m_pOther.Get(), 8);
    EXPECT_CALLS();
    EXPECT_EQ(m_diagnostics.Messages(), Strings{"[kelvo] Maximum number of texture units exceeded!\n"});
    // Those that have a unit still work.
    m_pProgram->SetSampler(u"sD", m_pTexture.Get(), 7);
    EXPECT_CALLS("glUniform1i(sD, 3)", "glActiveTexture(GL_TEXTURE3)", "glBindTexture(GL_TEXTURE_2D, 7)");
}

} // namespace
