#include "SceneReader.h"

#include "TestImages.h"
#include "TestScenes.h"

#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/Sprite.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {
namespace {

/** The value that a property has at a frame. */
template <class T>
T ValueAt(Node& node, char const* pName, RealFloat frame) {
    BaseProperty<T>& property = PropertyOf<T>(node, pName);
    property.Update(UpdateContext(), frame);
    return property.GetValue();
}

TEST(SceneReader, TakesSettingsAndInitialOnes) {
    Scene scene;
    ReadGood(R"({"surface": {"size": [321, 123], "format": "rgba8888"}, "frameRate": 12.5, "frames": [3, 9],
                 "clearColor": "#ff000080", "nodes": []})",
             scene);
    SceneSettings const& settings = scene.GetSettings();
    EXPECT_EQ(settings.m_size, SizeT<int>(321, 123));
    EXPECT_EQ(settings.m_format, DeviceFormat::RGBA8888);
    EXPECT_EQ(settings.m_rFrameRate, 12.5f);
    EXPECT_EQ(settings.m_nFirstFrame, 3);
    EXPECT_EQ(settings.m_nLastFrame, 9);
    EXPECT_EQ(settings.m_clearColor, ColorT<RealFloat>(1, 0, 0, 128 / 255.0f));

    ReadGood(SceneOf(""), scene);
    EXPECT_EQ(settings.m_size, SizeT<int>(800, 480));
    EXPECT_EQ(settings.m_format, DeviceFormat::RGB888);
    EXPECT_EQ(settings.m_clearColor, ColorT<RealFloat>::Black);
}

TEST(SceneReader, KeepsTheTreeInOrder) {
    Scene scene;
    ReadGood(SceneOf(R"({"class": "TransformNode", "name": "a", "children": [
                            {"class": "Sprite", "name": "b"}, {"class": "Camera", "name": "c"}]},
                        {"class": "NinePatchSprite", "name": "\u00e9\ud83d\ude00"})"),
             scene);
    Node& root = *scene.GetRoot();
    ASSERT_EQ(root.GetChildCount(), 2u);
    Node& a = *root.GetChild(0);
    ASSERT_EQ(a.GetChildCount(), 2u);
    EXPECT_EQ(a.GetFactoryClassID(), HashName("TransformNode"));
    EXPECT_EQ(a.GetChild(0)->GetFactoryClassID(), HashName("Sprite"));
    EXPECT_EQ(a.GetChild(1)->GetFactoryClassID(), HashName("Camera"));
    EXPECT_EQ(root.GetChild(1)->GetFactoryClassID(), HashName("NinePatchSprite"));
    EXPECT_EQ(root.GetChild(1)->GetName(), String16(u"\u00e9\U0001f600"));
}

TEST(SceneReader, SetsPropertiesOfEveryType) {
    Scene scene;
    ReadGood(SceneOf(R"({"class": "NinePatchSprite", "name": "n", "Position": [1.5, -2, 3e2], "Opacity": 0.25,
                         "Visible": false, "Size": [30, 40], "Color": "#3366Ff", "BlendMode": "screen",
                         "NinePatchPairX": [[1, 2], [5, 6]], "ContentMargin": [1, 2, 3, 4]},
                        {"class": "Sprite", "name": "s", "Color": [0.5, 0, 1], "BlendMode": 23},
                        {"class": "Timeline", "name": "t", "PlaybackMode": "pingPong"})"),
             scene);
    Node& n = Find(scene, "n");
    EXPECT_EQ(PropertyOf<Vector3T<RealFloat>>(n, "Position").GetValue(), Vector3T<RealFloat>(1.5f, -2, 300));
    EXPECT_EQ(PropertyOf<RealFloat>(n, "Opacity").GetValue(), 0.25f);
    EXPECT_FALSE(PropertyOf<bool>(n, "Visible").GetValue());
    EXPECT_EQ(PropertyOf<SizeT<int>>(n, "Size").GetValue(), SizeT<int>(30, 40));
    EXPECT_EQ(PropertyOf<Vector3T<RealFloat>>(n, "Color").GetValue(), Vector3T<RealFloat>(0.2f, 0.4f, 1));
    EXPECT_EQ(PropertyOf<int>(n, "BlendMode").GetValue(), 6);
    List<Vector2T<int>> const& bands = PropertyOf<List<Vector2T<int>>>(n, "NinePatchPairX").GetValue();
    ASSERT_EQ(bands.GetCount(), 2u);
    EXPECT_EQ(bands[1], Vector2T<int>(5, 6));
    EXPECT_EQ(PropertyOf<RectangleT<RealFloat>>(n, "ContentMargin").GetValue(),
              RectangleT<RealFloat>(1, 2, 3, 4));
    EXPECT_EQ(PropertyOf<Vector3T<RealFloat>>(Find(scene, "s"), "Color").GetValue(),
              Vector3T<RealFloat>(0.5f, 0, 1));
    EXPECT_EQ(PropertyOf<int>(Find(scene, "s"), "BlendMode").GetValue(), 23);
    EXPECT_EQ(PropertyOf<int>(Find(scene, "t"), "PlaybackMode").GetValue(), 2);
}

TEST(SceneReader, PlaysOneValuePerFrame) {
    Scene scene;
    ReadGood(SceneOf(R"({"class": "Sprite", "name": "s", "Opacity": {"samples": [0, 0.5, 1], "start": 10},
                         "Visible": {"samples": [true, false]}, "BlendMode": {"samples": [2, "screen", 6]}})"),
             scene);
    Node& s = Find(scene, "s");
    for (auto const& [frame, opacity] :
         {std::pair{0.0f, 0.0f}, {10, 0}, {10.5f, 0.25f}, {11, 0.5f}, {99, 1}}) {
        EXPECT_EQ(ValueAt<RealFloat>(s, "Opacity", frame), opacity) << frame;
    }
    EXPECT_TRUE(ValueAt<bool>(s, "Visible", 0.9f));
    EXPECT_FALSE(ValueAt<bool>(s, "Visible", 1));
    EXPECT_EQ(ValueAt<int>(s, "BlendMode", 1), 6);
}

TEST(SceneReader, PlaysKeyFramesWithTheirEasings) {
    for (unsigned int n = 0; char const* const pName = Interpolate::GetName(n); ++n) {
        Scene scene;
        ReadGood(SceneOf(R"({"class": "Sprite", "name": "s", "Position": {"keys": [
                                {"frame": -2, "value": [10, 0, 0], "ease": ")" +
                         std::string(pName) +
                         R"("}, {"frame": 6, "value": [110, 0, 4]}, {"frame": 7, "value": [0, 0, 0]}]}})"),
                 scene);
        Node& s = Find(scene, "s");
        for (int nFrame = -2; nFrame <= 6; ++nFrame) {
            RealFloat const eased = Interpolate::Find(pName)(static_cast<RealFloat>(nFrame + 2) / 8);
            Vector3T<RealFloat> const value =
                ValueAt<Vector3T<RealFloat>>(s, "Position", static_cast<RealFloat>(nFrame));
            EXPECT_NEAR(value.x, 10 + 100 * eased, 1e-4) << pName << " at " << nFrame;
            EXPECT_NEAR(value.z, 4 * eased, 1e-4) << pName << " at " << nFrame;
        }
        EXPECT_EQ(ValueAt<Vector3T<RealFloat>>(s, "Position", 8).x, 0) << pName;
    }
}

TEST(SceneReader, KeysOfFlagsHoldAndWholeNumbersAreCutOff) {
    Scene scene;
    ReadGood(SceneOf(R"({"class": "Sprite", "name": "s",
                         "Visible": {"keys": [{"frame": 0, "value": true}, {"frame": 3, "value": false}]},
                         "BlendMode": {"keys": [{"frame": 0, "value": 2}, {"frame": 3, "value": 6}]}})"),
             scene);
    Node& s = Find(scene, "s");
    EXPECT_TRUE(ValueAt<bool>(s, "Visible", 2));
    EXPECT_FALSE(ValueAt<bool>(s, "Visible", 3));
    EXPECT_EQ(ValueAt<int>(s, "BlendMode", 1), 3); // 2 + 4/3
}

TEST(SceneReader, LeavesTimelinesPlayingAtTheRateAroundThem) {
    Scene scene;
    ReadGood(R"({"frameRate": 10, "nodes": [
                {"class": "Timeline", "name": "plain"},
                {"class": "Timeline", "name": "own", "frameRate": 40, "playing": false, "timeMap": "bounceOut",
                 "children": [{"class": "TransformNode", "children": [{"class": "Timeline", "name": "below"}]}]}]})",
             scene);
    Timeline& plain = static_cast<Timeline&>(Find(scene, "plain"));
    Timeline& own = static_cast<Timeline&>(Find(scene, "own"));
    Timeline& below = static_cast<Timeline&>(Find(scene, "below"));
    EXPECT_TRUE(plain.IsPlaying());
    EXPECT_FLOAT_EQ(plain.GetFrameDelay(), 0.1f);
    EXPECT_EQ(plain.GetTimeMapFunction(), nullptr);
    EXPECT_FALSE(own.IsPlaying());
    EXPECT_FLOAT_EQ(own.GetFrameDelay(), 0.025f);
    EXPECT_EQ(own.GetTimeMapFunction(), &Interpolate::BounceOut);
    EXPECT_FLOAT_EQ(below.GetFrameDelay(), 0.025f);
}

TEST(SceneReader, SetsCamerasUpBeforeTheirProperties) {
    Scene scene;
    ReadGood(R"({"camera": {"name": "eye", "lens": {"focalLength": 50, "filmWidth": 60, "size": [640, 360]},
                            "Far": {"samples": [7000]}, "Rotation": [0, 5, 0]},
                 "nodes": [{"class": "Timeline", "name": "t", "camera": {"Orthographic": true}}]})",
             scene);
    Camera* const pCamera = scene.GetRoot()->GetCamera();
    ASSERT_TRUE(pCamera);
    EXPECT_EQ(pCamera->GetName(), String16(u"eye"));
    EXPECT_EQ(pCamera->GetViewRectangleProperty().GetValue(), RectangleT<RealFloat>(0, 0, 640, 360));
    Vector3T<RealFloat> const place = pCamera->GetPositionProperty().GetValue();
    EXPECT_FLOAT_EQ(place.x, 320);
    EXPECT_FLOAT_EQ(place.y, 180);
    EXPECT_NEAR(place.z, 320 * 50 / 30.0, 0.01);
    EXPECT_EQ(pCamera->GetRotationProperty().GetValue(), Vector3T<RealFloat>(0, 5, 0));
    EXPECT_EQ(ValueAt<RealFloat>(*pCamera, "Far", 0), 7000);
    Camera* const pOwn = static_cast<Timeline&>(Find(scene, "t")).GetCamera();
    ASSERT_TRUE(pOwn);
    EXPECT_TRUE(pOwn->GetOrthographicProperty().GetValue());
}

TEST(SceneReader, GivesMasksAndEffectsToTheirNodes) {
    Scene scene;
    ReadGood(SceneOf(R"({"class": "Sprite", "name": "s",
                         "masks": [[[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 0, 0], [2, 0, 0], [0, 2.5, 0]]],
                         "effects": [{"class": "DirectionalBlurEffect", "BlurAmount": {"samples": [3]}},
                                     {"class": "BlendModeEffect"}]})"),
             scene);
    Sprite& s = static_cast<Sprite&>(Find(scene, "s"));
    ASSERT_EQ(s.GetMasks().GetCount(), 2u);
    EXPECT_EQ(s.GetMasks()[1]->GetGeometry().m_nVertexCount, 3u);
    EXPECT_EQ(s.GetMasks()[1]->GetGeometry().m_pVertices[2], Vector3T<RealFloat>(0, 2.5f, 0));
    ASSERT_EQ(s.GetEffects().GetCount(), 2u);
    EXPECT_TRUE(s.GetEffects()[0]->IsKindOf(HashName("DirectionalBlurEffect")));
    EXPECT_TRUE(s.GetEffects()[1]->IsKindOf(HashName("BlendModeEffect")));
}

/** A folder with pictures: an odd-sized one with alpha, and one without. */
class SceneTexturesTest : public ::testing::Test {
protected:
    SceneTexturesTest() {
        m_folder.Write("alpha.png", RgbaPng(3, 5, Bytes(3 * 5 * 4, 200)));
        m_folder.Write("plain.png", RgbPng(4, 2, Bytes(4 * 2 * 3, 100)));
        m_folder.Write("broken.png", Bytes(40, 7));
    }
    std::string Folder() const { return m_folder.Path(""); }
    Texture& TextureOf(Scene const& scene, char const* pName) {
        return *static_cast<Sprite&>(Find(scene, pName)).GetTexture();
    }

    TemporaryFolder m_folder;
};

TEST_F(SceneTexturesTest, SharesATextureAndTakesItsSize) {
    Scene scene;
    ReadGood(R"({"textures": {"t": "alpha.png"}, "nodes": [
                {"class": "Sprite", "name": "a", "texture": "t"},
                {"class": "Sprite", "name": "b", "texture": "t", "Size": [50, 60]}]})",
             scene, Folder());
    Sprite& a = static_cast<Sprite&>(Find(scene, "a"));
    Sprite& b = static_cast<Sprite&>(Find(scene, "b"));
    EXPECT_EQ(a.GetTexture(), b.GetTexture());
    EXPECT_EQ(a.GetSizeProperty().GetValue(), SizeT<int>(3, 5));
    EXPECT_EQ(b.GetSizeProperty().GetValue(), SizeT<int>(50, 60));
    EXPECT_EQ(a.GetTexture()->GetFormat(), TextureFormat::RGBA8888);
    EXPECT_EQ(a.GetTexture()->GetPixelData().GetBuffer().GetSize(), 3u * 5 * 4);
}

TEST_F(SceneTexturesTest, MakesWhatTheOptionsSay) {
    Scene scene;
    ReadGood(
        R"({"textures": {"f": {"file": "alpha.png", "format": "rgba4444"}, "l": {"file": "plain.png", "mipLevels": true},
                              "p": {"file": "alpha.png", "powerOfTwo": true}, "e": {"file": "alpha.png", "etc1": true}},
                 "nodes": [{"class": "Sprite", "name": "f", "texture": "f"}, {"class": "Sprite", "name": "l", "texture": "l"},
                           {"class": "Sprite", "name": "p", "texture": "p"}, {"class": "Sprite", "name": "e", "texture": "e"}]})",
        scene, Folder());
    EXPECT_EQ(TextureOf(scene, "f").GetFormat(), TextureFormat::RGBA4444);
    EXPECT_EQ(TextureOf(scene, "l").GetMipLevels().GetValue().GetCount(), 3u); // 4x2, 2x1, 1x1
    EXPECT_EQ(TextureOf(scene, "p").GetWidth(), 3);
    EXPECT_EQ(TextureOf(scene, "p").GetAllocatedWidth(), 4);
    EXPECT_EQ(TextureOf(scene, "p").GetAllocatedHeight(), 8);
    EXPECT_EQ(TextureOf(scene, "e").GetFormat(), TextureFormat::ETC1_RGBA);
    EXPECT_EQ(static_cast<Sprite&>(Find(scene, "e")).GetSizeProperty().GetValue(), SizeT<int>(3, 5));
}

TEST_F(SceneTexturesTest, LetsOthersWriteTexturesThroughSurfaces) {
    Scene scene;
    ReadGood(
        R"({"textures": {"none": "alpha.png", "one": {"file": "alpha.png", "surfaces": "single"},
                              "two": {"file": "plain.png", "surfaces": "double"}},
                 "nodes": [{"class": "Sprite", "name": "none", "texture": "none"},
                           {"class": "Sprite", "name": "one", "texture": "one"},
                           {"class": "Sprite", "name": "two", "texture": "two"}]})",
        scene, Folder());
    EXPECT_EQ(TextureOf(scene, "none").GetWantedSurfaces(), 0);
    EXPECT_EQ(TextureOf(scene, "one").GetWantedSurfaces(), 1);
    EXPECT_EQ(TextureOf(scene, "two").GetWantedSurfaces(), 2);
    struct {
        char const* pMembers;
        char const* pError;
    } const cases[] = {
        {"\"surfaces\": \"triple\"",
         "unknown kind of surfaces \"triple\"; known are \"single\" and \"double\""},
        {"\"surfaces\": 2", "expected a string, found 2"},
        {"\"etc1\": true, \"surfaces\": \"single\"", "there are no surfaces for ETC1 pictures"},
        {"\"format\": \"alpha8\", \"surfaces\": \"single\"",
         "there are no surfaces for pictures of the format \"alpha8\""},
        {"\"mipLevels\": true, \"surfaces\": \"double\"",
         "there are no surfaces for pictures with \"mipLevels\""},
        {"\"powerOfTwo\": true, \"surfaces\": \"double\"",
         "there are no surfaces for pictures with \"powerOfTwo\""},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(ErrorOf("{\"nodes\": [], \"textures\": {\"t\": {\"file\": \"alpha.png\", " +
                              std::string(c.pMembers) + "}}}",
                          Folder()),
                  std::string("1: /textures/t/surfaces: ") + c.pError);
    }
}

TEST_F(SceneTexturesTest, SaysWhichTextureIsWrongAndWhy) {
    std::string const start = "{\"nodes\": [],\n \"textures\": {\"t\": ";
    EXPECT_EQ(ErrorOf(start + "\"no.png\"}}", Folder()),
              "2: /textures/t: " + m_folder.Path("no.png") + ": cannot be opened: No such file or directory");
    EXPECT_EQ(ErrorOf(start + "{\"file\": \"broken.png\"}}}", Folder()),
              "2: /textures/t: " + m_folder.Path("broken.png") +
                  ": is neither a PNG nor a PKM file (at byte 0)");
    EXPECT_NE(ErrorOf(start + "{\"file\": \"alpha.png\", \"etc1\": true, \"mipLevels\": true}}}", Folder())
                  .find("2: /textures/t: " + m_folder.Path("alpha.png") + ": "),
              std::string::npos);
}

TEST(SceneReader, ReadsTheShowcase) {
    ClassRegistry registry;
    RegisterBackend(registry);
    Scene scene;
    std::string error;
    ASSERT_TRUE(ReadScene(KELVO_EXAMPLES "/showcase/scene.json", registry, scene, error)) << error;
    EXPECT_FALSE(ReadScene(KELVO_EXAMPLES "/showcase/nothing.json", registry, scene, error));
    EXPECT_EQ(error, KELVO_EXAMPLES "/showcase/nothing.json: cannot be opened: No such file or directory");
    EXPECT_TRUE(scene.GetRoot()) << "a failed read took the scene away";
}

} // namespace
} // namespace trevik::kelvo::assets::testing
