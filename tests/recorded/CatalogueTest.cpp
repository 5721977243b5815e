// The built-in programs and the device's record of the one that is bound.

#include "DeviceTest.h"
#include "ShaderCatalogue.h"
#include "trevik/Allocation.h"

#include <climits>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class CatalogueTest : public DeviceTest {};

TEST_F(CatalogueTest, IsRegisteredWholeBeforeTheFirstProgramIsCompiled) {
    FailAt("glLinkProgram", 3);
    EXPECT_FALSE(Device().Initialize(nullptr, DeviceFormat::RGB565, SizeT<int>(8, 8)));
    EXPECT_EQ(Count("glLinkProgram"), 3u);
    EXPECT_EQ(Count("glCreateProgram"), 3u);
    for (int id = ShaderId::Textured; id >= ShaderId::SolidEdges; --id) {
        EXPECT_NE(Device().GetShader(id), nullptr) << id;
    }
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    Clear();
    Device().RenderForPostProcess();
    EXPECT_CALLS(); // there is no program for it
}

TEST_F(CatalogueTest, RegistrationKeepsAReferenceAndTheFirstOfAnyIdWins) {
    BringUp();
    ShaderProgramGL2* const pBuiltIn = Device().GetShader(ShaderId::SolidEdges);
    Ref<ShaderProgramGL2> const pFirst(new ShaderProgramGL2);
    Ref<ShaderProgramGL2> const pSecond(new ShaderProgramGL2);
    int nEntries = -ShaderId::SolidEdges;
    for (int const id : {0, ShaderId::SolidEdges - 1, ShaderId::SolidEdges - 2, 1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Device().GetShader(id), nullptr) << id;
        EXPECT_EQ(Device().RegisterShader(pFirst.Get(), id), nEntries++);
        EXPECT_EQ(Device().RegisterShader(pSecond.Get(), id), nEntries++);
        EXPECT_EQ(Device().GetShader(id), pFirst.Get()) << id;
    }
    Device().RegisterShader(pFirst.Get(), ShaderId::SolidEdges);
    EXPECT_EQ(Device().GetShader(ShaderId::SolidEdges), pBuiltIn);
    EXPECT_EQ(pFirst->GetReferenceCount(), 8);
    m_pDevice.reset();
    EXPECT_EQ(pFirst->GetReferenceCount(), 1);
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
    EXPECT_EQ(Device().GetShader(ShaderId::PostProcess)->GetReferenceCount(), 2);
    Ref<ShaderProgramGL2> const pOther(new ShaderProgramGL2);
    Device().SetPostProccessShader(pOther.Get());
    EXPECT_EQ(Device().GetShader(ShaderId::PostProcess)->GetReferenceCount(), 1);
    Device().SetPostProccessShader(pOther.Get());
    EXPECT_EQ(pOther->GetReferenceCount(), 2);
    m_pDevice.reset();
    EXPECT_EQ(pOther->GetReferenceCount(), 1);
}

} // namespace
