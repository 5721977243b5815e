// Drawing with what was never brought up.

#include "NinePatchSpriteGL2.h"
#include "NodeTest.h"
#include "trevik/kelvo/Mask.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

/** A device that was never brought up, or failed to be: there are no programs and no context. */
class DeviceThatIsNotUp : public NodeTest {
protected:
    DeviceThatIsNotUp() { m_pDevice = std::make_unique<GraphicsDeviceGL2>(); }
};

TEST_F(DeviceThatIsNotUp, DrawsWithoutProgramsAndHarm) {
    struct Case {
        char const* name;
        bool ninePatch, textured, antialiased, masked;
    };
    Case const cases[] = {
        {"plain", false, false, false, false},           {"textured", false, true, false, false},
        {"plain with edges", false, false, true, false}, {"with edges", false, true, true, false},
        {"masked", false, false, false, true},           {"nine-patch", true, true, false, false}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Ref<NinePatchSpriteGL2> const pPatch = MakeSprite<NinePatchSpriteGL2>(4, 4);
        pPatch->SetTexture(test.textured ? MakeTexture(4, 4).Get() : nullptr);
        pPatch->GetAntialiasProperty().SetValue(test.antialiased);
        if (test.masked) {
            Vector3T<RealFloat> const corners[] = {{0, 0, 0}, {5, 0, 0}, {0, 7, 0}};
            Ref<Mask> const pMask(new Mask);
            EXPECT_TRUE(pMask->SetTriangles(corners, 3));
            pPatch->AddMask(pMask.Get());
        }
        if (test.ninePatch) {
            pPatch->GetHorizontalBandsProperty().SetValue(ToList({{1, 2}}));
        }
        Draw(*pPatch);
        EXPECT_EQ(Count("glUseProgram"), 0u);
        EXPECT_EQ(Count("glUniform*"), 0u);
        EXPECT_EQ(Count("glDraw*"), 0u);
    }
    Device().Present();
    Device().Process();
    EXPECT_FALSE(Device().Reset(nullptr));
    EXPECT_EQ(Device().GetActiveCamera(), nullptr);
    EXPECT_EQ(Device().GetEffectResource(HashName("NoSuchResource")), nullptr);
}

} // namespace
