// Sprites: their geometry, and the calls that draw them.

#include "CameraGL2.h"
#include "NodeTest.h"
#include "trevik/Allocation.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Coords = Vector2T<RealFloat>;
using Vector = Vector3T<RealFloat>;

class SpriteTest : public NodeTest {
protected:
    static Floats VerticesOf(SpriteGL2& sprite) {
        Floats floats;
        for (Vector const& vertex : sprite.GetVertices()) {
            floats.insert(floats.end(), {vertex.x, vertex.y, vertex.z});
        }
        return floats;
    }
};

TEST_F(SpriteTest, ALoadWithoutMemoryForTheGeometryFailsAndLeavesIt) {
    Ref<SpriteGL2> const pSprite = MakeSprite(13, 7);
    pSprite->GetSizeProperty().SetValue(SizeT<int>(20, 30));
    Serializer serializer;
    ASSERT_TRUE(pSprite->Save(serializer));
    Ref<DocumentNode> const pDocument = serializer.Finish();
    bool fLoaded = false;
    for (unsigned int nFailures = 0; !fLoaded; ++nFailures) {
        SCOPED_TRACE(nFailures);
        EXPECT_EQ(VerticesOf(*pSprite), (Floats{0, 0, 0, 0, 7, 0, 13, 0, 0, 13, 7, 0}));
        Deserializer deserializer(pDocument, m_registry);
        Allocation::FailAfter(nFailures);
        fLoaded = pSprite->Load(deserializer);
        Allocation::FailNever();
    }
    EXPECT_EQ(VerticesOf(*pSprite), (Floats{0, 0, 0, 0, 30, 0, 20, 0, 0, 20, 30, 0}));
}

TEST_F(SpriteTest, SetTextureBeforeLoadWritesNothing) {
    Ref<SpriteGL2> const pSprite(new SpriteGL2);
    Ref<TextureGL2> const pTexture = MakeTexture(8, 16);
    pTexture->SetUsedSize(5, 12);
    pSprite->SetTexture(pTexture.Get());
    Draw(*pSprite);
    EXPECT_EQ(Count("glDraw*"), 0u);
    EXPECT_TRUE(kelvokit::test::LoadItself(*pSprite, m_registry));
    Coords coords[4];
    pSprite->GetTextureCoords(coords);
    EXPECT_FLOAT_EQ(coords[0].x, 0.0001f);
}

TEST_F(SpriteTest, IsDrawnThroughTheMatricesOfTheMomentWhateverTheirKind) {
    using Matrix = Matrix4T<RealFloat>;
    /** Answers with matrices of its own. */
    struct OtherMatrices : GraphicsDeviceGL2 {
        Matrix GetViewMatrix() override { return m_view; }
        Matrix GetProjectionMatrix() override { return m_projection; }
        Matrix m_view, m_projection;
    };
    m_pDevice = std::make_unique<OtherMatrices>();
    StartDrawing();
    OtherMatrices& device = static_cast<OtherMatrices&>(Device());
    Ref<SpriteGL2> const pSprite = MakeSprite(13, 7);
    pSprite->GetPositionProperty().SetValue(Vector(3, 4, -5));
    pSprite->GetRotationProperty().SetValue(Vector(30, 40, 50));
    Ref<CameraGL2> const pCamera(new CameraGL2);
    Matrix general;
    for (unsigned int i = 0; i < 16; ++i) {
        general[i] = static_cast<RealFloat>(i % 5) + 0.7f;
    }
    Matrix axial = Matrix4Scale(Vector(2, 3, 4)) * Matrix4Translation(Vector(-5, 6, -7));
    axial[11] = -1;
    axial[15] = 0.5f;
    auto const expectDrawn = [&] {
        pSprite->Render(device);
        auto const draw = Draws().back();
        Matrix const expected = pSprite->GetWorldMatrix() * device.m_view * device.m_projection;
        EXPECT_EQ(Matrix(draw.Uniform("mWorldToView").data()), expected);
        EXPECT_EQ(device.GetModelViewMatrix(), pSprite->GetWorldMatrix() * device.m_view);
    };
    Draw(*pSprite);
    for (unsigned int nCase : {0u, 1u, 3u, 2u, 0u, 3u, 0u, 2u, 1u, 0u}) {
        SCOPED_TRACE(nCase);
        device.m_view = nCase & 1 ? general : axial;
        device.m_projection = nCase & 2 ? general : axial;
        pCamera->Update(device, 0); // an update of any camera is the moment
        expectDrawn();
        expectDrawn();
    }
}

TEST_F(SpriteTest, TheFirstEffectThatDrawsIsTheLastOneAsked) {
    struct Case {
        bool firstDraws, secondDraws;
        Strings asked;
        std::size_t draws;
    };
    Case const cases[] = {{false, false, {"first draws", "second draws", "third draws"}, 1},
                          {false, true, {"first draws", "second draws"}, 0},
                          {true, true, {"first draws"}, 0}};
    for (Case const& test : cases) {
        Strings notes;
        Ref<SpriteGL2> const pSprite = MakeSprite(4, 4);
        pSprite->AddEffect(new NotingEffect("first", notes, test.firstDraws));
        pSprite->AddEffect(new NotingEffect("second", notes, test.secondDraws));
        pSprite->AddEffect(new NotingEffect("third", notes));
        Draw(*pSprite);
        EXPECT_EQ(notes, test.asked);
        EXPECT_EQ(Count("glDraw*"), test.draws);
    }
}

TEST_F(SpriteTest, ATextureWithoutAnImageIsDrawnAsNone) {
    Ref<SpriteGL2> const pSprite = MakeSprite(4, 4);
    pSprite->SetTexture(new TextureGL2);
    Draw(*pSprite);
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), 0u);
    EXPECT_EQ(Count("glDraw*"), 1u);
    EXPECT_EQ(Counts(Object::Texture).created, 0);
}

TEST_F(SpriteTest, EdgesFollowTheSizeOfTheMomentAndTheirTableGoesWithTheDevice) {
    Ref<SpriteGL2> pSprite = MakeSprite(20, 10);
    pSprite->GetAntialiasProperty().SetValue(true);
    pSprite->GetSizeProperty().SetValue(SizeT<int>(40, 10)); // without another load
    Draw(*pSprite);
    EXPECT_EQ(Draws().at(0).streams.at(0).Vertex(2).at(0), 20);
    EXPECT_NEAR(Draws().at(1).streams.at(0).Vertex(1).at(0), 2 * 40.0 / Width - 1, 1e-4);
    EXPECT_TRUE(SpriteGL2::CreateAntialiasFilter());
    Draw(*pSprite);
    EXPECT_TRUE(FindTexture(Draws().at(1).Texture("sDistribution")));
    SpriteGL2::ReleaseAntialiasFilter();
    Draw(*pSprite);
    EXPECT_EQ(Draws().at(1).Texture("sDistribution"), 0u);
    EXPECT_TRUE(SpriteGL2::CreateAntialiasFilter());
    Draw(*pSprite);
    Device().SetActiveShader(nullptr);
    pSprite.Reset();
    m_pDevice.reset();
    EXPECT_TRUE(LiveNames(Object::Texture).empty());
}

} // namespace
