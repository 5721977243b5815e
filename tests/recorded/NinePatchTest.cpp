// Nine-patch sprites: where they cut, the grid that comes of it, and when they draw which.

#include "NinePatchSpriteGL2.h"
#include "NodeTest.h"
#include "trevik/Allocation.h"

#include <climits>
#include <cmath>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;

TEST(NinePatchLines, BandsWithoutTexelsHaveNoPlace) {
    ListProperty<Vector2T<int>> bands(ToList({{3, 0}}));
    List<RealFloat> coords, positions;
    EXPECT_TRUE(NinePatchSpriteGL2::EvaluateVertices(bands, 10, 10, 2, coords, positions));
    ASSERT_EQ(positions.GetCount(), 4u);
    EXPECT_FLOAT_EQ(positions[1], 1.5f);
    EXPECT_TRUE(std::isnan(positions[2]));
}

TEST(NinePatchLines, BandsOfAnyNumbersAreTakenAsTheyAre) {
    // As an application may set them: no sum of two of these is an int.
    ListProperty<Vector2T<int>> bands(ToList({{INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}}));
    List<RealFloat> coords, positions;
    EXPECT_TRUE(NinePatchSpriteGL2::EvaluateVertices(bands, 10, 8, 2, coords, positions));
    ASSERT_EQ(coords.GetCount(), 6u);
    EXPECT_FLOAT_EQ(coords[2], 2.0f * 2147483648 / 8);
    EXPECT_FLOAT_EQ(coords[4], -2.0f * 2147483648 / 8);
    ASSERT_EQ(positions.GetCount(), 6u);
    EXPECT_FLOAT_EQ(positions[1], 2147483648 / 2.0f);
}

class NinePatch : public NodeTest {
protected:
    /** A patch of 12 by 10 texels, scaled to 24 by 30 pixels. */
    Ref<NinePatchSpriteGL2> MakePatch() {
        Ref<NinePatchSpriteGL2> const pPatch = MakeSprite<NinePatchSpriteGL2>(12, 10);
        pPatch->SetTexture(MakeTexture(12, 10).Get());
        pPatch->GetScaleProperty().SetValue(Vector(2, 3, 1));
        pPatch->GetHorizontalBandsProperty().SetValue(ToList({{4, 3}}));
        pPatch->GetVerticalBandsProperty().SetValue(ToList({{2, 5}}));
        return pPatch;
    }

    /** The corners of the only draw of a frame, in its order. */
    Floats DrawnGrid(NinePatchSpriteGL2& patch) {
        Draw(patch);
        return Draws().at(0).Values(0);
    }
};

TEST_F(NinePatch, OnlySizeScaleAndPivotRebuildTheGrid) {
    static constexpr Vector Three(3, 3, 3);
    struct Case {
        char const* name;
        void (*pfnChange)(NinePatchSpriteGL2&);
        bool rebuilds;
    };
    Case const cases[] = {
        {"nothing", [](NinePatchSpriteGL2&) {}, false},
        {"position", [](NinePatchSpriteGL2& patch) { patch.GetPositionProperty().SetValue(Three); }, false},
        {"rotation", [](NinePatchSpriteGL2& patch) { patch.GetRotationProperty().SetValue(Three); }, false},
        {"stretch", [](NinePatchSpriteGL2& patch) { patch.GetStretchProperty().SetValue(Three); }, false},
        {"size", [](NinePatchSpriteGL2& patch) { patch.GetSizeProperty().Notify(true); }, true},
        {"scale", [](NinePatchSpriteGL2& patch) { patch.GetScaleProperty().Notify(true); }, true},
        {"pivot", [](NinePatchSpriteGL2& patch) { patch.GetPivotProperty().Notify(true); }, true},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Ref<NinePatchSpriteGL2> const pPatch = MakePatch();
        Floats const before = DrawnGrid(*pPatch);
        pPatch->GetHorizontalBandsProperty().SetValue(ToList({{1, 1}})); // marks nothing itself
        EXPECT_EQ(DrawnGrid(*pPatch), before);
        test.pfnChange(*pPatch);
        EXPECT_EQ(DrawnGrid(*pPatch) != before, test.rebuilds);
    }
}

TEST_F(NinePatch, WithoutMemoryItDrawsThePlainSpriteAndTriesAgain) {
    Ref<NinePatchSpriteGL2> const pFirst = MakePatch();
    Floats const grid = DrawnGrid(*pFirst); // programs know their uniforms from here on
    bool fDrawsGrid = false;
    for (unsigned int nFailures = 0; !fDrawsGrid; ++nFailures) {
        SCOPED_TRACE(nFailures);
        Ref<NinePatchSpriteGL2> const pPatch = MakePatch();
        pPatch->SetTexture(pFirst->GetTexture());
        pPatch->Update(Device(), 0);
        Device().Clear();
        Clear();
        Allocation::FailAfter(nFailures);
        pPatch->Render(Device());
        Allocation::FailNever();
        fDrawsGrid = Count("glDrawElements") == 1;
        EXPECT_EQ(Count("glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)"), fDrawsGrid ? 0u : 1u);
        EXPECT_EQ(DrawnGrid(*pPatch), grid) << "with memory";
    }
}

TEST_F(NinePatch, ACloneIsASpriteAndACopyIsNot) {
    Ref<NinePatchSpriteGL2> const pPatch = MakePatch();
    Floats const grid = DrawnGrid(*pPatch);
    Ref<Node> const pClone(pPatch->Clone());
    EXPECT_EQ(dynamic_cast<NinePatchSpriteGL2*>(pClone.Get()), nullptr);
    Draw(*pClone);
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)"}));
    Ref<NinePatchSpriteGL2> const pCopy(new NinePatchSpriteGL2(*pPatch));
    pPatch->GetHorizontalBandsProperty().SetValue({});
    EXPECT_EQ(DrawnGrid(*pCopy), grid);
    // The copy follows its own changes.
    pCopy->GetScaleProperty().SetValue(Vector(3, 3, 1));
    EXPECT_NE(DrawnGrid(*pCopy), grid);
}

} // namespace
