// Unusual orders of calls that hosts may make, and drawing with what was never brought up.

#include "NodeTest.h"

#include "NinePatchSpriteGL2.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class Sequences : public NodeTest {
protected:
    /** What a sprite samples when it is drawn. */
    GLuint DrawnTexture(SpriteGL2& sprite) {
        Draw(sprite);
        return Draws().at(0).Texture("sTexture");
    }
};

TEST_F(Sequences, ASpriteThatWasNeverLoadedHasNoCoordinatesToGive) {
    SpriteGL2 sprite;
    Vector2T<RealFloat> coords[4] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    sprite.GetTextureCoords(coords);
    EXPECT_EQ(coords[3], (Vector2T<RealFloat>(7, 8)));
}

TEST_F(Sequences, ATextureWithoutAnImageIsDrawnAsNone) {
    Ref<SpriteGL2> const pSprite = MakeSprite(4, 4);
    pSprite->SetTexture(new TextureGL2);
    EXPECT_EQ(DrawnTexture(*pSprite), 0u);
    EXPECT_EQ(Count("glDraw*"), 1u);
    EXPECT_EQ(Counts(Object::Texture).created, 0);
}

/** A device that was never brought up, or failed to be: there are no programs and no context. */
class DeviceThatIsNotUp : public Sequences {
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
            pPatch->AddMask(MakeMask().Get());
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
