#include "kelvo_host/DocumentFile.h"
#include "kelvo_host/Scene.h"
#include "kelvo_test/TemporaryFolder.h"
#include "kelvo_test/TestNodes.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <regex>
#include <sstream>

namespace trevik::kelvo::test {
namespace {

constexpr unsigned int NodeTag = HashName("Node");

/** A scene with one of everything. */
struct Sample {
    TestRegistry m_registry;
    TestDevice m_device;
    Ref<TestTimeline> m_pRoot = Make<TestTimeline>("root");
    Ref<TestSprite> m_pSprite = Make<TestSprite>("sprite");
    Ref<Texture> m_pTexture = Texture::CreateTexture(3, 2, TextureFormat::RGB888, "123456789abcdefghi", 0);
    Scene m_scene;

    Sample() {
        m_device.m_pResource = Ref(new EffectResource);
        Ref<TestTimeline> const pInner = Make<TestTimeline>("inner");
        Ref<TransformNode> const pGroup = Make<TransformNode>("group");
        Ref<TestSprite> const pTwin = Make<TestSprite>("twin");
        Ref<TestText> const pText = Make<TestText>("text");
        m_pRoot->Attach(pGroup.Get());
        pGroup->Attach(m_pSprite.Get());
        pGroup->Attach(pTwin.Get());
        m_pRoot->Attach(pInner.Get());
        m_pRoot->Attach(pText.Get());

        m_pSprite->SetTexture(m_pTexture.Get());
        pTwin->SetTexture(m_pTexture.Get());
        m_pSprite->GetSizeProperty().SetValue(SizeT<int>(30, 20));
        Animate<Vector3>(m_pSprite->GetPositionProperty(), 0, {Vector3(0, 0, 0), Vector3(8, 4, 0)});
        pInner->SetAutoPlay(true);
        pInner->GetPlaybackModeProperty().SetValue(PlaybackMode::PingPong);
        pInner->GetFirstFrameProperty().SetValue(2);
        pInner->GetLastFrameProperty().SetValue(20);
        pText->SetBackground(Make<TestSprite>("background").Get());

        m_scene.SetRoot(m_pRoot);
        m_scene.GetSettings().m_size = SizeT<int>(320, 200);
        m_scene.GetSettings().m_clearColor = ColorT<RealFloat>(0, RealFloat(0.25), RealFloat(0.5), 1);
    }

    Ref<DocumentNode> Save() {
        Serializer serializer;
        return m_scene.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
    }
};

bool LoadScene(Scene& scene, Ref<DocumentNode> const& pDocument, ClassRegistry& registry) {
    Deserializer deserializer(pDocument, registry);
    bool const fLoaded = scene.Load(deserializer);
    EXPECT_TRUE(deserializer.GetDepth() == 0 || !fLoaded);
    return fLoaded;
}

TEST(SceneSaveLoad, GoesThroughFiles) {
    Sample sample;
    kelvokit::test::TemporaryFolder const folder;
    std::string const path = folder.Path("scene");
    Fault fault;
    ASSERT_TRUE(sample.m_scene.SaveToFile(path.c_str(), fault)) << fault.GetText().c_str();
    Scene loaded;
    ASSERT_TRUE(loaded.LoadFromFile(path.c_str(), sample.m_registry, fault)) << fault.GetText().c_str();
    EXPECT_EQ(ChildNames(*loaded.GetRoot()), "group inner text");
    std::filesystem::remove(path);
    EXPECT_FALSE(loaded.LoadFromFile(path.c_str(), sample.m_registry, fault));
    EXPECT_EQ(std::string(fault.GetText().c_str()).rfind(path, 0), 0u);
    EXPECT_NE(loaded.GetRoot(), nullptr) << "the scene stays as it was";
    EXPECT_FALSE(Scene().SaveToFile("scene", fault));
    EXPECT_TRUE(fault.GetText() == "scene: the scene cannot be saved: it has no timeline at its root");
    sample.m_pRoot->SetTimeMapFunction([](RealFloat const& t) { return t; });
    TraceLog log;
    EXPECT_FALSE(sample.m_scene.SaveToFile("scene", fault));
    EXPECT_TRUE(fault.GetText() == "scene: the scene cannot be saved");
    EXPECT_EQ(log.Messages().at(0), "[kelvo] /root: the time map is a function without a name");
}

TEST(SceneSaveLoad, ExactEffectsAreSavedWhereTheyAreAskedFor) {
    constexpr unsigned int Id = HashName("ExactEffects");
    for (bool const fExact : {false, true}) {
        Sample sample;
        sample.m_scene.GetSettings().m_fExactEffects = fExact;
        Ref<DocumentNode> const pDocument = sample.Save();
        Deserializer document(pDocument, sample.m_registry);
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        EXPECT_EQ(document.FindAttribute(Id, pData, nLength), fExact)
            << "files of other scenes stay as they were";
        Scene loaded;
        loaded.GetSettings().m_fExactEffects = !fExact;
        ASSERT_TRUE(LoadScene(loaded, pDocument, sample.m_registry));
        EXPECT_EQ(loaded.GetSettings().m_fExactEffects, fExact);
    }
    for (int const nValue : {2, -1}) {
        Sample sample;
        Serializer serializer;
        ASSERT_TRUE(sample.m_scene.Save(serializer) && serializer.WriteValue(Id, nValue));
        Scene loaded;
        Deserializer deserializer(serializer.Finish(), sample.m_registry);
        EXPECT_FALSE(loaded.Load(deserializer));
        EXPECT_NE(std::string(String8(deserializer.GetError()).GetData()).find("exact is neither 0 nor 1"),
                  std::string::npos);
    }
}

TEST(SceneSaveLoad, TheDescriptionsExampleIsAScene) {
    std::ifstream page(KELVO_SOURCE_DIRECTORY "/docs/file-format.md");
    std::vector<unsigned char> bytes;
    for (std::string line; std::getline(page, line);) {
        std::smatch row;
        if (std::regex_search(line, row,
                              std::regex("^([0-9a-f]{3})  ((?:[0-9a-f]{2} )*[0-9a-f]{2})(?:  .*)?$"))) {
            EXPECT_EQ(std::stoul(row[1], nullptr, 16), bytes.size()) << line;
            std::istringstream words(row[2]);
            for (unsigned int nByte = 0; words >> std::hex >> nByte;) {
                bytes.push_back(static_cast<unsigned char>(nByte));
            }
        }
    }
    Fault fault;
    Ref<DocumentNode> const pDocument = DocumentFile::Read(bytes.data(), bytes.size(), fault);
    ASSERT_TRUE(pDocument) << fault.GetText().c_str();
    TestRegistry registry;
    TestDevice device;
    Scene scene;
    ASSERT_TRUE(LoadScene(scene, pDocument, registry));
    EXPECT_EQ(scene.GetSettings().m_size, SizeT<int>(64, 48));
    EXPECT_EQ(scene.GetSettings().m_nLastFrame, 7);
    ASSERT_EQ(ChildNames(*scene.GetRoot()), "bar");
    Sprite& bar = *static_cast<Sprite*>(scene.GetRoot()->GetChild(0));
    scene.Update(device, RealFloat(7));
    EXPECT_EQ(bar.GetPositionProperty().GetValue(), Vector3(24, 20, 0));
    EXPECT_EQ(bar.GetOpacityProperty().GetValue(), RealFloat(0.5));
    EXPECT_EQ(bar.GetSizeProperty().GetValue(), SizeT<int>(16, 8));
}

TEST(SceneSaveLoad, ObjectsOfOtherClassesAreRefusedWithOneLine) {
    char const* const cases[][3] = {{"Node", "Texture", "/root/#0: cannot be loaded: no class of nodes"},
                                    {"Effect", "Sprite", "/root: cannot be loaded: no class of effects"},
                                    {"Camera", "Sprite", "/root: cannot be loaded: its camera is no camera"}};
    for (auto const& [pTag, pType, pReason] : cases) {
        Sample sample;
        Ref<DocumentNode> const pDocument = sample.Save();
        pDocument->FindChild(NodeTag)->InsertChild(
            0, Ref<DocumentNode>(new DocumentNode(HashName(pTag), HashName(pType))));
        Scene scene;
        TraceLog log;
        EXPECT_FALSE(LoadScene(scene, pDocument, sample.m_registry));
        EXPECT_EQ(scene.GetRoot(), nullptr);
        EXPECT_NE(log.Only().find(pReason), std::string::npos) << log.Only();
    }
}

TEST(SceneSaveLoad, SettingsHaveTheirLimits) {
    constexpr DeviceFormat::Enum format = DeviceFormat::RGBA8888;
    constexpr RealFloat endless = std::numeric_limits<RealFloat>::infinity();
    std::pair<SceneSettings, bool> const cases[] = {
        {{{16384, 16384}, format, 25, -10000000, 10000000}, true},
        {{{1, 1}, format, 25, 5, 5}, true},
        {{{16385, 1}, format, 25, 0, 0}, false},
        {{{1, 16385}, format, 25, 0, 0}, false},
        {{{1, 1}, format, endless, 0, 0}, false},
        {{{1, 1}, format, 25, -10000001, 0}, false},
        {{{1, 1}, format, 25, 0, 10000001}, false},
    };
    for (auto const& [settings, fValid] : cases) {
        EXPECT_EQ(!settings.FindFault(), fValid);
    }
}

TEST(SceneSaveLoad, WhatHasBeenLoadedIsReadyToPlay) {
    Sample sample;
    Timeline& saved = static_cast<Timeline&>(*sample.m_pRoot->FindNode(Name("inner")));
    Ref<TestCamera> const pAttached = Make<TestCamera>("attached");
    sample.m_pSprite->Attach(pAttached.Get());
    saved.SetCamera(pAttached.Get());
    Scene loaded;
    ASSERT_TRUE(LoadScene(loaded, sample.Save(), sample.m_registry));
    Timeline& root = *loaded.GetRoot();
    TestSprite& sprite = static_cast<TestSprite&>(*root.FindNode(Name("sprite")));
    EXPECT_EQ(sprite.m_nTextureSets, 1u) << "so that its geometry takes up the texture's used area";
    Timeline& inner = static_cast<Timeline&>(*root.FindNode(Name("inner")));
    EXPECT_TRUE(inner.IsPlaying()) << "it plays from the start";
    EXPECT_EQ(inner.GetFrame(), 2) << "at its first frame";
    ASSERT_EQ(inner.GetCamera(), sprite.GetChild(0)) << "a camera elsewhere in the tree is found again";
    root.Update(sample.m_device, RealFloat(0.5));
    EXPECT_EQ(Origin(inner.GetCamera()->GetWorldMatrix()), Vector3(4, 2, 0)) << "it goes with the sprite";
}

/** Notes when it is loaded; once it is strict it takes nothing but its own kind of document. */
class NotedSprite : public TestSprite {
public:
    static std::string s_loads;
    bool m_fStrict = false;

    bool Load(Deserializer& deserializer) override {
        s_loads += TestDevice::NameOf(*this) + " ";
        return TestSprite::Load(deserializer) && !m_fStrict;
    }
};

std::string NotedSprite::s_loads;

TEST(SceneSaveLoad, WhatHasBeenBuiltIsReadyToPlayAsIfItHadBeenLoaded) {
    Sample sample;
    Timeline& inner = static_cast<Timeline&>(*sample.m_pRoot->FindNode(Name("inner")));
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    Ref<NotedSprite> const pLens = Make<NotedSprite>("lens");
    Ref<NotedSprite> const pBehind = Make<NotedSprite>("behind");
    Ref<NotedSprite> const pLeaf = Make<NotedSprite>("leaf");
    Ref<NotedSprite> const pStem = Make<NotedSprite>("stem");
    pCamera->Attach(pLens.Get());
    inner.SetCamera(pCamera.Get());
    pStem->Attach(pLeaf.Get());
    inner.Attach(pStem.Get());
    static_cast<Text&>(*sample.m_pRoot->FindNode(Name("text"))).SetBackground(pBehind.Get());
    List<unsigned char> before;
    ASSERT_TRUE(sample.Save()->Write(before));
    inner.SetFrame(9);

    NotedSprite::s_loads.clear();
    Scene scene;
    Fault fault;
    ASSERT_TRUE(scene.SetBuiltRoot(sample.m_pRoot, sample.m_registry, fault)) << fault.GetText();
    EXPECT_EQ(scene.GetRoot(), sample.m_pRoot.Get());
    EXPECT_EQ(NotedSprite::s_loads, "lens leaf stem behind ") << "once each, what is above and holds last";
    EXPECT_EQ(sample.m_pSprite->m_nTextureSets, 1u) << "its geometry takes up the texture's used area";
    EXPECT_EQ(inner.GetFrame(), 2) << "at its first frame";
    EXPECT_TRUE(inner.IsPlaying());
    List<unsigned char> after;
    ASSERT_TRUE(sample.Save()->Write(after));
    EXPECT_TRUE(after == before) << "what was set has changed";

    // A camera that is a node of the tree is one of those nodes alone.
    pStem->Attach(pCamera.Get());
    NotedSprite::s_loads.clear();
    ASSERT_TRUE(scene.SetBuiltRoot(sample.m_pRoot, sample.m_registry, fault)) << fault.GetText();
    EXPECT_EQ(NotedSprite::s_loads, "leaf lens stem behind ");

    pLeaf->m_fStrict = true;
    Scene other;
    EXPECT_FALSE(other.SetBuiltRoot(sample.m_pRoot, sample.m_registry, fault));
    EXPECT_EQ(other.GetRoot(), nullptr);
    EXPECT_EQ(fault.GetText(), "the scene cannot be built: /root/inner/stem/leaf: its class asks for more "
                               "than can be set, or memory is short");
    EXPECT_FALSE(other.SetBuiltRoot(Ref<Timeline>(), sample.m_registry, fault));
    EXPECT_EQ(fault.GetText(), "the scene has no timeline at its root");
}

TEST(SceneSaveLoad, ACameraThatCannotBeFoundAgainIsNone) {
    // Up one level, then: a child that is not there, a node that is no camera, and a camera that the timeline
    // hangs from.
    for (std::vector<unsigned char> const& way :
         {BytesOf(1u, 9u), BytesOf(1u, 0u), BytesOf(1000000u, 0u), BytesOf(1u)}) {
        Ref<TestCamera> const pCamera = Make<TestCamera>("above");
        Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
        Ref<TestTimeline> const pTimeline = Make<TestTimeline>("film");
        pCamera->Attach(pSprite.Get());
        pCamera->Attach(pTimeline.Get());
        Ref<DocumentNode> const pNode(new DocumentNode(0, 0));
        AddBytes(*pNode, HashName("CameraWay"), way);
        TestRegistry registry;
        Deserializer deserializer(pNode, registry);
        ASSERT_TRUE(pTimeline->Load(deserializer)) << "what is above is not there yet";
        TraceLog log;
        pTimeline->Reload();
        EXPECT_EQ(pTimeline->GetCamera(), nullptr);
        EXPECT_EQ(log.Only(), "[kelvo] /above/film: its camera is not where it was attached");
    }
}

TEST(SceneSaveLoad, ACameraOfAnotherTreeIsNotSaved) {
    Sample sample;
    Ref<TransformNode> const pElsewhere = Make<TransformNode>("elsewhere");
    Ref<TestCamera> const pCamera = Make<TestCamera>("attached camera");
    sample.m_pRoot->SetCamera(pCamera.Get());
    pElsewhere->Attach(pCamera.Get());
    TraceLog log;
    EXPECT_FALSE(sample.Save());
    EXPECT_EQ(log.Messages().at(0),
              "[kelvo] /root: the camera /elsewhere/attached camera is attached to another tree");
}

TEST(SceneSaveLoad, TreesOfAsManyLevelsAsThereMayBeAreSavedAndLoadedAndNoDeeperOnes) {
    TestRegistry registry;
    Scene scene;
    scene.SetRoot(Make<TestTimeline>("root"));
    Ref<TestSprite> const pBottom = Make<TestSprite>("bottom");
    Animate<RealFloat>(pBottom->GetOpacityProperty(), 0, {0, 1});
    scene.GetRoot()->Attach(MakeChain(Node::MaximumDepth - 1, pBottom.Get()).Get());
    Serializer serializer;
    ASSERT_TRUE(scene.Save(serializer));
    Ref<DocumentNode> const pDocument = serializer.Finish();
    ASSERT_TRUE(LoadScene(scene, pDocument, registry));
    EXPECT_NE(scene.GetRoot()->FindNode(Name("bottom")), nullptr);
    DocumentNode* pDeepest = pDocument.Get();
    while (DocumentNode* const pNode = pDeepest->FindChild(NodeTag)) {
        pDeepest = pNode;
    }
    pDeepest->AddChild(Ref<DocumentNode>(new DocumentNode(NodeTag, TransformNode::ClassID)));
    TraceLog log;
    EXPECT_FALSE(LoadScene(scene, pDocument, registry));
}

TEST(Scene, ShowsAFrameWhateverCameBefore) {
    Sample sample;
    Timeline& inner = static_cast<Timeline&>(*sample.m_pRoot->FindNode(Name("inner")));
    inner.SetFrameDelay(1);
    sample.m_scene.GetSettings().m_nFirstFrame = 0;
    sample.m_scene.GetSettings().m_rFrameRate = 10;
    sample.m_pRoot->Reload();
    for (int nFrame = 0; nFrame <= 50; ++nFrame) {
        sample.m_scene.Update(sample.m_device, static_cast<RealFloat>(nFrame));
    }
    EXPECT_NEAR(inner.GetFrame(), 2 + 5, 1e-4) << "fifty frames are five seconds";
    sample.m_scene.Update(sample.m_device, 20);
    EXPECT_NEAR(inner.GetFrame(), 2 + 2, 1e-4) << "back to two seconds";
    sample.m_scene.Update(sample.m_device, 30);
    EXPECT_NEAR(inner.GetFrame(), 2 + 3, 1e-4);
    EXPECT_EQ(sample.m_pRoot->GetFrame(), 30);
    inner.SetFrame(9);
    sample.m_scene.Update(sample.m_device, 30);
    EXPECT_EQ(inner.GetFrame(), 9) << "the same frame is no step back";
    sample.m_scene.SetRoot(sample.m_pRoot);
    sample.m_scene.Update(sample.m_device, 40);
    EXPECT_NEAR(inner.GetFrame(), 9 + 4, 1e-4) << "shown from the first frame on";
}

TEST(Scene, DrawsWholeFrames) {
    Sample sample;
    sample.m_device.Initialize(nullptr, DeviceFormat::RGB888, SizeT<int>(320, 200));
    sample.m_scene.Update(sample.m_device, 0);
    sample.m_scene.RenderFrame(sample.m_device);
    EXPECT_EQ(sample.m_device.m_calls,
              (std::vector<std::string>{"clear", "enter root", "draw sprite", "draw twin", "enter inner",
                                        "leave inner", "leave root", "present", "process"}));
    EXPECT_EQ(sample.m_device.GetViewport(), RectangleT<int>(0, 0, 320, 200));
    EXPECT_EQ(sample.m_device.GetClearColor(), sample.m_scene.GetSettings().m_clearColor);
}

TEST(Scene, GivesTexturesTheSurfacesTheyWant) {
    Sample sample;
    auto const make = [](int nSurfaces) {
        Ref<Texture> const pTexture = Texture::CreateTexture(2, 2, TextureFormat::RGB565, "abcdefgh", 0);
        pTexture->SetWantedSurfaces(nSurfaces);
        return pTexture;
    };
    Ref<Texture> const pShared = make(2);
    Ref<Texture> const pBehind = make(1);
    Ref<Texture> const pPlain = make(0);
    static_cast<Sprite&>(*sample.m_pRoot->FindNode(Name("twin"))).SetTexture(pShared.Get());
    Sprite& background = *static_cast<Text&>(*sample.m_pRoot->FindNode(Name("text"))).GetBackground();
    background.SetTexture(pBehind.Get());
    Ref<TestSprite> const pChild = Make<TestSprite>("child");
    pChild->SetTexture(pPlain.Get());
    background.Attach(pChild.Get());
    sample.m_pSprite->SetTexture(pShared.Get());
    Fault fault;
    ASSERT_TRUE(sample.m_scene.PromoteTextures(fault));
    EXPECT_EQ(pShared->Count(), 2);
    EXPECT_EQ(pBehind->Count(), 1);
    EXPECT_EQ(pPlain->Count(), 0);
    EXPECT_TRUE(sample.m_scene.PromoteTextures(fault)) << "those that have theirs keep them";

    Ref<Texture> const pRefused = make(1);
    pRefused->SetName(u"screen");
    static_cast<TestTexture&>(*pRefused).m_fRefusePromotion = true;
    pChild->SetTexture(pRefused.Get());
    EXPECT_FALSE(sample.m_scene.PromoteTextures(fault));
    EXPECT_TRUE(fault.GetText() == "texture \"screen\" cannot have surfaces for others to write");
}

TEST(Scene, PicksWhatLiesUnderAPoint) {
    Sample sample;
    sample.m_pRoot->SetCamera(nullptr);
    sample.m_scene.Update(sample.m_device, 1);
    List<SelectionPoint> const hits = sample.m_scene.Pick(sample.m_device, Vector2(10, 10));
    ASSERT_EQ(hits.GetCount(), 1u);
    EXPECT_EQ(hits[0].m_pNode, sample.m_pSprite.Get());
    EXPECT_FALSE(sample.m_device.IsSelectionMode());
    EXPECT_EQ(sample.m_scene.Pick(sample.m_device, Vector2(300, 10)).GetCount(), 0u);
}

} // namespace
} // namespace trevik::kelvo::test
