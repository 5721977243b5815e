// Nine-patch sprites: where they cut, the grid that comes of it, and when they draw which.

#include "NodeTest.h"

#include "NinePatchSpriteGL2.h"
#include "trevik/Allocation.h"

#include <climits>
#include <cmath>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;
using Bands = std::vector<Vector2T<int>>;

Floats ToFloats(List<RealFloat> const& list) {
    return Floats(list.begin(), list.end());
}

void ExpectNear(Floats const& found, Floats const& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i], expected[i], 1e-5) << "line " << i;
    }
}

TEST(NinePatchLines, CutAtTheBandsAndKeepFixedTexelsTheirSize) {
    struct Case {
        char const* name;
        Bands bands;
        RealFloat extent;
        int texture;
        RealFloat scale;
        Floats coords, positions;
    };
    // Positions times the scale are pixels: what is not in a band keeps its texels.
    Case const cases[] = {
        {"no bands", {}, 20, 10, 3, {0, 1}, {0, 20}},
        {"not scaled", {{4, 3}}, 20, 10, 1, {0, 1}, {0, 20}},
        {"mirrored", {{4, 3}}, 20, 10, -2, {0, 1}, {0, 20}},
        {"one band", {{4, 3}}, 12, 12, 2, {0, 4 / 12.f, 7 / 12.f, 1}, {0, 2, 9.5f, 12}},
        {"from the start", {{0, 4}}, 10, 10, 2, {0, 0.4f, 1}, {0, 7, 10}},
        {"to the end", {{6, 4}}, 10, 10, 2, {0, 0.6f, 1}, {0, 3, 10}},
        {"all of it", {{0, 10}}, 10, 10, 2, {0, 1}, {0, 10}},
        {"two bands",
         {{1, 2}, {5, 3}},
         10,
         10,
         2,
         {0, 0.1f, 0.3f, 0.5f, 0.8f, 1},
         {0, 0.5f, 3.5f, 4.5f, 9, 10}},
        {"touching bands",
         {{2, 2}, {4, 4}},
         10,
         10,
         2,
         {0, 0.2f, 0.4f, 0.4f, 0.8f, 1},
         {0, 1, 1 + 16 / 6.f, 1 + 16 / 6.f, 9, 10}},
        // A sprite of another size than its texture ends at its size; the cuts are measured in texels.
        {"another size", {{4, 3}}, 100, 12, 2, {0, 4 / 12.f, 7 / 12.f, 1}, {0, 2, 9.5f, 100}},
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        ListProperty<Vector2T<int>> bands(ToList(test.bands));
        List<RealFloat> coords, positions;
        EXPECT_TRUE(NinePatchSpriteGL2::EvaluateVertices(bands, test.extent, test.texture, test.scale, coords,
                                                         positions));
        ExpectNear(ToFloats(coords), test.coords);
        ExpectNear(ToFloats(positions), test.positions);
    }
}

TEST(NinePatchLines, OnlyTheFirstTenBandsCount) {
    Bands twelve;
    for (int i = 0; i < 12; ++i) {
        twelve.push_back({3 * i, 1});
    }
    ListProperty<Vector2T<int>> bands(ToList(twelve));
    List<RealFloat> coords, positions;
    EXPECT_TRUE(NinePatchSpriteGL2::EvaluateVertices(bands, 40, 40, 2, coords, positions));
    // Ten bands from texel 0 on, and the end, since the tenth does not reach it.
    ASSERT_EQ(coords.GetCount(), 21u);
    ASSERT_EQ(positions.GetCount(), 21u);
    EXPECT_FLOAT_EQ(coords[19], 28 / 40.f);
    // 80 pixels less 30 fixed texels leave 50: each band is 5 pixels wide, each gap 2.
    EXPECT_NEAR(positions[19], (10 * 5 + 9 * 2) / 2.f, 1e-4);
    EXPECT_FLOAT_EQ(positions[20], 40);
}

TEST(NinePatchLines, BandsWithoutTexelsHaveNoPlace) {
    ListProperty<Vector2T<int>> bands(ToList({{3, 0}}));
    List<RealFloat> coords, positions;
    EXPECT_TRUE(NinePatchSpriteGL2::EvaluateVertices(bands, 10, 10, 2, coords, positions));
    ASSERT_EQ(positions.GetCount(), 4u);
    EXPECT_FLOAT_EQ(positions[1], 1.5f);
    EXPECT_TRUE(std::isnan(positions[2]));
}

TEST(NinePatchLines, BandsOfAnyNumbersAreTakenAsTheyAre) {
    // As a scene file may have them: no sum of two of these is an int.
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
    /** A patch of 12 by 10 texels in a texture of 16 by 16, scaled to 24 by 30 pixels. */
    Ref<NinePatchSpriteGL2> MakePatch(int format = TextureFormat::RGBA8888) {
        Ref<NinePatchSpriteGL2> const pPatch = MakeSprite<NinePatchSpriteGL2>(12, 10);
        Ref<TextureGL2> const pTexture = MakeTexture(16, 16, format);
        pTexture->SetUsedSize(12, 10);
        pPatch->SetTexture(pTexture.Get());
        pPatch->GetScaleProperty().SetValue(Vector(2, 3, 1));
        pPatch->GetHorizontalBandsProperty().SetValue(ToList({{4, 3}}));
        pPatch->GetVerticalBandsProperty().SetValue(ToList({{2, 5}}));
        return pPatch;
    }

    /** What the only draw of a frame drew with: vertices of the grid, by number, of `size` components. */
    Floats DrawnGrid(NinePatchSpriteGL2& patch, GLuint attribute, unsigned int size) {
        Draw(patch);
        recording::Draw const draw = Draws().at(0);
        Floats grid;
        for (std::size_t i = 0; i < draw.indices.size(); ++i) {
            std::size_t const first = draw.indices[i] * size;
            Floats const vertex = draw.streams.at(attribute).Vertex(i);
            grid.resize(std::max(grid.size(), first + size));
            std::copy(vertex.begin(), vertex.begin() + size, grid.begin() + static_cast<long>(first));
        }
        return grid;
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
        Floats const before = DrawnGrid(*pPatch, 0, 3);
        pPatch->GetHorizontalBandsProperty().SetValue(ToList({{1, 1}})); // marks nothing itself
        EXPECT_EQ(DrawnGrid(*pPatch, 0, 3), before);
        test.pfnChange(*pPatch);
        EXPECT_EQ(DrawnGrid(*pPatch, 0, 3) != before, test.rebuilds);
    }
}

TEST_F(NinePatch, WithoutMemoryItDrawsThePlainSpriteAndTriesAgain) {
    Ref<NinePatchSpriteGL2> const pFirst = MakePatch();
    Floats const grid = DrawnGrid(*pFirst, 0, 3); // programs know their uniforms from here on
    unsigned int nFailures = 0;
    for (bool fDrawsGrid = false; !fDrawsGrid; ++nFailures) {
        SCOPED_TRACE(nFailures);
        ASSERT_LT(nFailures, 100u);
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
        EXPECT_EQ(DrawnGrid(*pPatch, 0, 3), grid) << "with memory";
    }
    EXPECT_GT(nFailures, 3u) << "the grid alone takes three lists";
}

TEST_F(NinePatch, ThePropertiesCarryTheirNamesIntoDocuments) {
    Ref<NinePatchSpriteGL2> const pPatch(new NinePatchSpriteGL2);
    PropertyList& properties = pPatch->GetProperties();
    struct Case {
        char16_t const* name;
        Property* property;
    };
    for (Case const& test : {Case{u"NinePatchPairX", &pPatch->GetHorizontalBandsProperty()},
                             Case{u"NintPatchPairY", &pPatch->GetVerticalBandsProperty()}}) {
        PropertyList::Entry const* const pEntry = properties.Find(HashName(test.name));
        ASSERT_NE(pEntry, nullptr);
        EXPECT_EQ(pEntry->m_pProperty, test.property);
    }
    EXPECT_EQ(properties.Find(HashName(u"NinePatchPairY")), nullptr);
    PropertyList::Entry const* const pMargin = properties.Find(HashName(u"ContentMargin"));
    ASSERT_NE(pMargin, nullptr);
    EXPECT_EQ(pPatch->GetContentMargin(), RectangleT<RealFloat>());
    static_cast<RectangleProperty*>(pMargin->m_pProperty)->SetValue(RectangleT<RealFloat>(1, 2, 3, 4));
    EXPECT_EQ(pPatch->GetContentMargin(), RectangleT<RealFloat>(1, 2, 3, 4));
}

TEST_F(NinePatch, ACloneIsASpriteAndACopyIsNot) {
    Ref<NinePatchSpriteGL2> const pPatch = MakePatch();
    Floats const grid = DrawnGrid(*pPatch, 0, 3);
    Ref<Node> const pClone(pPatch->Clone());
    EXPECT_EQ(dynamic_cast<NinePatchSpriteGL2*>(pClone.Get()), nullptr);
    Draw(*pClone);
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)"}));
    Ref<NinePatchSpriteGL2> const pCopy(new NinePatchSpriteGL2(*pPatch));
    pPatch->GetHorizontalBandsProperty().SetValue({});
    EXPECT_EQ(DrawnGrid(*pCopy, 0, 3), grid);
    // The copy follows its own changes.
    pCopy->GetScaleProperty().SetValue(Vector(3, 3, 1));
    EXPECT_NE(DrawnGrid(*pCopy, 0, 3), grid);
    // One for which memory was short says so.
    bool fWhole = false;
    for (unsigned int nAllocations = 0; !fWhole; ++nAllocations) {
        Allocation::FailAfter(nAllocations);
        Ref<NinePatchSpriteGL2> const pPart(new NinePatchSpriteGL2(*pCopy));
        fWhole = pPart->GetProperties().IsWhole();
        Allocation::FailNever();
        EXPECT_TRUE(!fWhole || !pPart->GetVerticalBandsProperty().GetValue().IsEmpty());
    }
}

TEST_F(NinePatch, UnloadedItDrawsNothing) {
    Ref<NinePatchSpriteGL2> const pPatch(new NinePatchSpriteGL2);
    pPatch->GetSizeProperty().SetValue(SizeT<int>(12, 10));
    pPatch->GetHorizontalBandsProperty().SetValue(ToList({{4, 3}}));
    pPatch->SetTexture(MakePatch()->GetTexture());
    Draw(*pPatch);
    EXPECT_CALLS();
}

} // namespace
