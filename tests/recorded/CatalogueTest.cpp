// The built-in programs and the device's record of the one that is bound.

#include "DeviceTest.h"

#include "ShaderCatalogue.h"
#include "TexturedProgram.h"
#include "trevik/Allocation.h"

#include <climits>
#include <map>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

using Bindings = std::map<std::string, GLuint>;

struct Entry {
    int id;
    Bindings bindings;
    std::vector<std::string> uniforms;
};

std::vector<Entry> const& Catalogue() {
    static std::vector<Entry> const s_entries = {
        {-1, {{"vInPosition", 0}, {"vInTexture", 1}}, {"mWorldToView", "sTexture", "vColor"}},
        {-2, {{"vInPosition", 0}}, {"mWorldToView", "vColor"}},
        {-3, {{"vInPosition", 0}, {"vInTexture", 1}}, {"sColor"}},
        {-4, {{"vInPosition", 0}, {"vInTexture", 1}}, {"mWorldToView", "sTexture", "vColor"}},
        {-5, {{"vInPosition", 0}, {"vInTexture", 1}, {"vInColor", 4}}, {"fFade", "mWorldToView", "sTexture"}},
        {-6, {{"vInPosition", 0}, {"vInColor", 4}}, {"fFade", "mViewToViewport", "mWorldToView"}},
        {-7,
         {{"vInPosition", 0}, {"vInTexture", 1}, {"fInFade", 4}},
         {"mViewToViewport", "mWorldToView", "sTexture", "vColor"}},
        {-8,
         {{"vInPosition", 0}, {"vInTexture", 1}},
         {"mViewToViewport", "mWorldToView", "sTexture", "sTextureA", "vColor"}},
        {-9,
         {{"vInPosition", 0}, {"vInTexture", 1}},
         {"mViewToViewport", "mWorldToView", "sTexture", "sTextureA", "vColor"}},
        {-10,
         {{"vInPosition", 0}, {"vInTexture", 1}, {"vInE0", 4}, {"vInE1", 5}, {"vInE2", 6}, {"vInE3", 7}},
         {"fVPHeight", "sDistribution", "sTexture"}},
        {-11,
         {{"vInPosition", 0}, {"vInE0", 4}, {"vInE1", 5}, {"vInE2", 6}, {"vInE3", 7}},
         {"fVPHeight", "sDistribution", "vColor"}},
    };
    return s_entries;
}

class CatalogueTest : public DeviceTest {};

TEST_F(CatalogueTest, HasElevenProgramsWithTheirAttributesAndUniforms) {
    BringUp();
    ASSERT_EQ(LiveNames(Object::Program).size(), Catalogue().size());
    for (std::size_t i = 0; i < Catalogue().size(); ++i) {
        Entry const& entry = Catalogue()[i];
        SCOPED_TRACE(entry.id);
        GLuint const name = ProgramName(i);
        EXPECT_EQ(FindProgram(name)->bindings, entry.bindings);
        for (std::string const& uniform : entry.uniforms) {
            EXPECT_NE(UniformLocation(name, uniform), -1) << uniform;
        }
        ASSERT_NE(Device().GetShader(entry.id), nullptr);
        Clear();
        Device().SetActiveShader(Device().GetShader(entry.id));
        EXPECT_EQ(GetState().program, name);
    }
    EXPECT_EQ(Device().GetShader(0), nullptr);
    EXPECT_EQ(Device().GetShader(-12), nullptr);
}

TEST_F(CatalogueTest, EachFragmentShaderIsMediumPrecision) {
    ASSERT_TRUE(Device().Initialize(nullptr, DeviceFormat::RGB565, SizeT<int>(8, 8)));
    std::vector<Call> const sources = Calls("glShaderSource");
    ASSERT_EQ(sources.size(), 2 * Catalogue().size());
    for (std::size_t i = 0; i < Catalogue().size(); ++i) {
        std::string const& fragment = sources[2 * i + 1].text;
        std::size_t const declaration = fragment.find("precision mediump float;\n");
        if (Catalogue()[i].id > -10) {
            EXPECT_EQ(declaration, 0u) << fragment;
        } else {
            EXPECT_EQ(fragment.compare(0, 2, "//"), 0);
            EXPECT_EQ(declaration, fragment.find('\n') + 1) << fragment;
        }
    }
}

TEST_F(CatalogueTest, IsRegisteredWholeBeforeTheFirstProgramIsCompiled) {
    FailAt("glLinkProgram", 3);
    EXPECT_FALSE(Device().Initialize(nullptr, DeviceFormat::RGB565, SizeT<int>(8, 8)));
    EXPECT_EQ(Count("glLinkProgram"), 3u);
    EXPECT_EQ(Count("glCreateProgram"), 3u);
    for (Entry const& entry : Catalogue()) {
        EXPECT_NE(Device().GetShader(entry.id), nullptr) << entry.id;
    }
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    Clear();
    Device().RenderForPostProcess();
    EXPECT_CALLS(); // there is no program for it
}

TEST_F(CatalogueTest, TheSecondMatrixIsTheIdentityWhereThereIsOne) {
    BringUp();
    std::vector<float> const identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (std::size_t i = 0; i < Catalogue().size(); ++i) {
        int const id = Catalogue()[i].id;
        std::vector<float> const value = UniformValue(ProgramName(i), "mViewToViewport");
        EXPECT_EQ(value, id <= -6 && id >= -9 ? identity : std::vector<float>()) << id;
    }
    EXPECT_EQ(GetState().program, 0u);
    for (VertexAttribute const& attribute : GetState().attributes) {
        EXPECT_FALSE(attribute.enabled);
    }
}

TEST_F(CatalogueTest, ATexturedProgramIsChosenByAlphaTestAndSeparateAlpha) {
    for (int format = 0; format <= 16; ++format) {
        TextureFormat::Enum const value = static_cast<TextureFormat::Enum>(format);
        EXPECT_EQ(ChooseTexturedProgram(false, value), format == 14 ? -8 : -1) << format;
        EXPECT_EQ(ChooseTexturedProgram(true, value), format == 14 ? -9 : -4) << format;
    }
}

TEST_F(CatalogueTest, SwitchingProgramsUnbindsTheOneBefore) {
    BringUp();
    ShaderProgramGL2* const pFirst = Device().GetShader(-2);
    ShaderProgramGL2* const pSecond = Device().GetShader(-3);
    Device().SetActiveShader(nullptr);
    EXPECT_CALLS();
    Device().SetActiveShader(pFirst);
    EXPECT_CALLS("glUseProgram(*)", "glEnableVertexAttribArray(0)");
    Clear();
    Device().SetActiveShader(pFirst);
    EXPECT_CALLS();
    Device().SetActiveShader(pSecond);
    EXPECT_CALLS("glDisableVertexAttribArray(0)", "glUseProgram(0)", "glUseProgram(*)",
                 "glEnableVertexAttribArray(0)", "glEnableVertexAttribArray(1)");
    Clear();
    Device().SetActiveShader(nullptr);
    EXPECT_CALLS("glDisableVertexAttribArray(0)", "glDisableVertexAttribArray(1)", "glUseProgram(0)");
}

TEST_F(CatalogueTest, RegistrationKeepsAReferenceAndTheFirstOfAnIdWins) {
    BringUp();
    Ref<ShaderProgramGL2> const pFirst(new ShaderProgramGL2);
    Ref<ShaderProgramGL2> const pSecond(new ShaderProgramGL2);
    EXPECT_EQ(Device().RegisterShader(pFirst.Get(), 100), 11);
    EXPECT_EQ(Device().RegisterShader(pSecond.Get(), 100), 12);
    EXPECT_EQ(Device().RegisterShader(pSecond.Get(), 101), 13);
    EXPECT_EQ(Device().GetShader(100), pFirst.Get());
    EXPECT_EQ(Device().GetShader(101), pSecond.Get());
    EXPECT_EQ(pFirst->GetReferenceCount(), 2);
    EXPECT_EQ(pSecond->GetReferenceCount(), 3);
    m_pDevice.reset();
    EXPECT_EQ(pFirst->GetReferenceCount(), 1);
    EXPECT_EQ(pSecond->GetReferenceCount(), 1);
}

TEST_F(CatalogueTest, AnyNumberIsAnIdThoughBuiltInOnesStayInFront) {
    BringUp();
    ShaderProgramGL2* const pBuiltIn = Device().GetShader(-11);
    Ref<ShaderProgramGL2> const pProgram(new ShaderProgramGL2);
    for (int const id : {0, -12, -13, 1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Device().GetShader(id), nullptr) << id;
        Device().RegisterShader(pProgram.Get(), id);
        EXPECT_EQ(Device().GetShader(id), pProgram.Get()) << id;
    }
    Device().RegisterShader(pProgram.Get(), -11);
    EXPECT_EQ(Device().GetShader(-11), pBuiltIn);
}

TEST_F(CatalogueTest, WithoutMemoryAProgramIsNotEnteredAndKeepsTheReference) {
    Ref<ShaderProgramGL2> const pProgram(new ShaderProgramGL2);
    Allocation::FailAfter(1); // the ids get storage, the programs none
    EXPECT_EQ(Device().RegisterShader(pProgram.Get(), 100), 0);
    Allocation::FailNever();
    EXPECT_EQ(Device().GetShader(100), nullptr);
    EXPECT_EQ(pProgram->GetReferenceCount(), 2);
    // Later on there is memory again, and this is the first entry.
    EXPECT_EQ(Device().RegisterShader(pProgram.Get(), 100), 0);
    EXPECT_EQ(Device().GetShader(100), pProgram.Get());
    // Neither reference is the table's to release: the device has no display.
    pProgram->ReleaseReference();
    pProgram->ReleaseReference();
}

TEST_F(CatalogueTest, ThePostProcessProgramIsHeldOnceMore) {
    BringUp();
    EXPECT_EQ(Device().GetShader(-3)->GetReferenceCount(), 2);
    Ref<ShaderProgramGL2> const pOther(new ShaderProgramGL2);
    Device().SetPostProccessShader(pOther.Get());
    EXPECT_EQ(Device().GetShader(-3)->GetReferenceCount(), 1);
    Device().SetPostProccessShader(pOther.Get());
    EXPECT_EQ(pOther->GetReferenceCount(), 2);
    m_pDevice.reset();
    EXPECT_EQ(pOther->GetReferenceCount(), 1);
}

} // namespace
