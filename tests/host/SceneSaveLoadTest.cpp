#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "PropertyTestSupport.h"
#include "TestNodes.h"
#include "kelvo_host/Scene.h"
#include "trevik/Allocation.h"

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
        m_device.m_pResource = new EffectResource;
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
        Ref<TestEffect> const pEffect(new TestEffect);
        pEffect->GetAmountProperty().SetValue(RealFloat(0.75));
        pGroup->AddEffect(pEffect.Get());
        Ref<Mask> const pMask(new Mask);
        Vector3 const triangle[3] = {Vector3(0, 0, 0), Vector3(1, 0, 0), Vector3(0, 1, 0)};
        pMask->SetTriangles(triangle, 3);
        pGroup->AddMask(pMask.Get());
        pInner->SetFrameDelay(RealFloat(0.125));
        pInner->SetTimeMapFunction(&Interpolate::BounceOut);
        pInner->SetAutoPlay(true);
        pInner->GetPlaybackModeProperty().SetValue(PlaybackMode::PingPong);
        pInner->GetFirstFrameProperty().SetValue(2);
        pInner->GetLastFrameProperty().SetValue(20);
        Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
        pCamera->GetNearProperty().SetValue(3);
        m_pRoot->SetCamera(pCamera.Get());
        pText->GetTextProperty().SetValue(u"Grüße");
        pText->SetBackground(Make<TestSprite>("background").Get());

        m_scene.SetRoot(m_pRoot);
        SceneSettings& settings = m_scene.GetSettings();
        settings.m_size = SizeT<int>(320, 200);
        settings.m_format = DeviceFormat::RGBA8888;
        settings.m_rFrameRate = 25;
        settings.m_nFirstFrame = -1;
        settings.m_nLastFrame = 99;
        settings.m_clearColor = ColorT<RealFloat>(0, RealFloat(0.25), RealFloat(0.5), 1);
    }

    Ref<DocumentNode> Save() {
        Serializer serializer;
        return m_scene.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
    }
};

/** The document as bytes, to compare. */
std::vector<unsigned char> Flatten(Ref<DocumentNode> const& pDocument) {
    List<unsigned char> bytes;
    pDocument->Write(bytes);
    return std::vector<unsigned char>(bytes.begin(), bytes.end());
}

DocumentNode* FindChild(DocumentNode& node, unsigned int nTagID) {
    for (unsigned int nChild = 0; nChild < node.GetChildCount(); ++nChild) {
        if (node.GetChild(nChild)->GetTagID() == nTagID) {
            return node.GetChild(nChild);
        }
    }
    return nullptr;
}

TEST(SceneSaveLoad, EverythingComesBack) {
    Sample sample;
    Ref<DocumentNode> const pDocument = sample.Save();
    ASSERT_TRUE(pDocument);
    Scene loaded;
    Deserializer deserializer(pDocument, sample.m_registry);
    ASSERT_TRUE(loaded.Load(deserializer)) << String8(deserializer.GetError()).GetData();
    EXPECT_EQ(deserializer.GetDepth(), 0u);

    SceneSettings const& settings = loaded.GetSettings();
    EXPECT_EQ(settings.m_size, SizeT<int>(320, 200));
    EXPECT_EQ(settings.m_format, DeviceFormat::RGBA8888);
    EXPECT_EQ(settings.m_rFrameRate, 25);
    EXPECT_EQ(settings.m_nFirstFrame, -1);
    EXPECT_EQ(settings.m_nLastFrame, 99);
    EXPECT_EQ(settings.m_clearColor, sample.m_scene.GetSettings().m_clearColor);

    Timeline& root = *loaded.GetRoot();
    EXPECT_EQ(ChildNames(root), "group inner text");
    EXPECT_EQ(static_cast<TestCamera*>(root.GetCamera())->GetNearProperty().GetValue(), 3);
    TransformNode& group = static_cast<TransformNode&>(*root.FindNode(Name("group")));
    ASSERT_EQ(group.GetEffects().GetCount(), 1u);
    EXPECT_EQ(static_cast<TestEffect*>(group.GetEffects()[0])->GetAmountProperty().GetValue(),
              RealFloat(0.75));
    ASSERT_EQ(group.GetMasks().GetCount(), 1u);
    EXPECT_EQ(group.GetMasks()[0]->GetGeometry().m_nVertexCount, 3u);
    EXPECT_EQ(group.GetMasks()[0]->GetGeometry().m_pVertices[2], Vector3(0, 1, 0));

    TestSprite& sprite = static_cast<TestSprite&>(*root.FindNode(Name("sprite")));
    EXPECT_EQ(sprite.GetSizeProperty().GetValue(), SizeT<int>(30, 20));
    ASSERT_NE(sprite.GetTexture(), nullptr);
    EXPECT_EQ(sprite.GetTexture(), static_cast<Sprite*>(root.FindNode(Name("twin")))->GetTexture())
        << "still shared";
    EXPECT_EQ(sprite.GetTexture()->GetHeight(), 2);
    EXPECT_EQ(sprite.m_nTextureSets, 1u) << "so that its geometry takes up the texture's used area";
    root.Update(sample.m_device, RealFloat(0.5));
    EXPECT_EQ(Origin(sprite.GetWorldMatrix()), Vector3(4, 2, 0));

    Timeline& inner = static_cast<Timeline&>(*root.FindNode(Name("inner")));
    EXPECT_EQ(inner.GetFrameDelay(), RealFloat(0.125));
    EXPECT_EQ(inner.GetTimeMapFunction(), &Interpolate::BounceOut);
    EXPECT_EQ(inner.GetPlaybackModeProperty().GetValue(), PlaybackMode::PingPong);
    EXPECT_TRUE(inner.IsPlaying()) << "it plays from the start";
    EXPECT_EQ(inner.GetFrame(), 2) << "at its first frame";

    Text& text = static_cast<Text&>(*root.FindNode(Name("text")));
    EXPECT_TRUE(text.GetTextProperty().GetValue() == u"Grüße");
    ASSERT_NE(text.GetBackground(), nullptr);
    EXPECT_EQ(TestDevice::NameOf(*text.GetBackground()), "background");
}

TEST(SceneSaveLoad, GoesThroughFiles) {
    Sample sample;
    std::string const path = testing::TempDir() + "kelvo-scene-test.kelvo";
    String16 sError;
    ASSERT_TRUE(sample.m_scene.SaveToFile(path.c_str(), sError)) << String8(sError).GetData();
    Scene loaded;
    ASSERT_TRUE(loaded.LoadFromFile(path.c_str(), sample.m_registry, sError)) << String8(sError).GetData();
    EXPECT_EQ(ChildNames(*loaded.GetRoot()), "group inner text");
    std::remove(path.c_str());
    EXPECT_FALSE(loaded.LoadFromFile(path.c_str(), sample.m_registry, sError));
    EXPECT_NE(std::string(String8(sError).GetData()).find(path), std::string::npos);
    EXPECT_NE(loaded.GetRoot(), nullptr) << "the scene stays as it was";
}

/** Something wrong that is added to a scene's document, and what is said of it. */
struct Damage {
    enum Place { Root, Group, Sprite, Timeline }; ///< the last one is added below the root
    char const* m_pWhat;
    Place m_place;
    char const* m_pTag; ///< of a child that is added there; empty: the attribute is the place's own
    char const* m_pType;
    char const* m_pAttribute;
    std::vector<unsigned char> m_bytes;
    char const* m_pPath;
    std::string m_sReason;

    void Apply(DocumentNode& root) const {
        DocumentNode& group = *FindChild(root, NodeTag);
        Ref<DocumentNode> const places[] = {&root, &group, FindChild(group, NodeTag),
                                            new DocumentNode(NodeTag, HashName("Timeline"))};
        Ref<DocumentNode> pNode = places[m_place];
        if (m_place == Timeline) {
            root.AddChild(pNode);
        }
        if (*m_pTag) {
            Ref<DocumentNode> const pChild(new DocumentNode(HashName(m_pTag), HashName(m_pType)));
            pNode->AddChild(pChild);
            pNode = pChild;
        }
        if (*m_pAttribute) {
            AddBytes(*pNode, HashName(m_pAttribute), m_bytes);
        }
    }
};

TEST(SceneSaveLoad, ADamagedSceneIsRefusedWithOneLine) {
    typedef Damage D;
    Damage const cases[] = {
        {"an unknown class", D::Root, "Node", "Nobody", "", BytesOf(), "/root/#3: ",
         "no class of nodes is registered under the type id " + std::to_string(HashName("Nobody"))},
        {"a class that is no node", D::Root, "Node", "Texture", "", BytesOf(),
         "/root/#3: ", "no class of nodes"},
        {"a texture out of range", D::Group, "Node", "Sprite", "Texture", BytesOf(1),
         "/root/group/#2: ", "no texture 1"},
        {"a texture index of two bytes", D::Group, "Node", "Sprite", "Texture", BytesOf(short(0)),
         "/root/group/#2: ", "no texture -1"},
        {"an effect that is none", D::Group, "Effect", "Sprite", "", BytesOf(),
         "/root/group: ", "no class of effects"},
        {"two thirds of a triangle", D::Group, "Mask", "", "Vertices", BytesOf(Vector3(), Vector3()),
         "/root/group: ", "a mask without whole triangles"},
        {"a third of a vector", D::Sprite, "Property", "Scale", "Value", BytesOf(1.0f),
         "/root/group/sprite: ", "property \"Scale\""},
        {"an unknown time map", D::Timeline, "", "", "TimeMap", BytesOf('z', 'i', 'g'),
         "/root/#3: ", "no time map \"zig\""},
        {"negative time", D::Timeline, "", "", "FrameDelay", BytesOf(-1.0f),
         "/root/#3: ", "frames cannot last -1 seconds"},
        {"a byte of time", D::Timeline, "", "", "FrameDelay", BytesOf('x'),
         "/root/#3: ", "frame delay is no number"},
        {"four bytes of truth", D::Timeline, "", "", "AutoPlay", BytesOf(1),
         "/root/#3: ", "plays from the start"},
        {"a camera that is none", D::Timeline, "Camera", "Sprite", "", BytesOf(),
         "/root/#3: ", "its camera is no camera"},
        {"a step of one byte", D::Timeline, "", "", "CameraWay", BytesOf(0u, '\1'),
         "/root/#3: ", "the way to its camera is damaged"},
        {"a way to nowhere", D::Timeline, "", "", "CameraWay", BytesOf(0u, 0u),
         "/root/#3: ", "not where it was attached"},
        {"a way to a group", D::Root, "", "", "CameraWay", BytesOf(0u, 0u),
         "/root: ", "not where it was attached"},
        {"one and a half letters", D::Group, "Node", "Sprite", "NodeName", BytesOf('a', 'b', 'c'),
         "/root/group/#2: ", "no UTF-16 text"},
    };
    for (Damage const& c : cases) {
        Sample sample;
        Ref<DocumentNode> const pDocument = sample.Save();
        c.Apply(*FindChild(*pDocument, NodeTag));
        Scene scene;
        TraceLog log;
        Deserializer deserializer(pDocument, sample.m_registry);
        EXPECT_FALSE(scene.Load(deserializer)) << c.m_pWhat;
        EXPECT_EQ(scene.GetRoot(), nullptr) << c.m_pWhat;
        std::string const line = log.GetOnly();
        EXPECT_NE(line.find(c.m_pPath), std::string::npos) << c.m_pWhat << ": " << line;
        EXPECT_NE(line.find(c.m_sReason), std::string::npos) << c.m_pWhat << ": " << line;
    }
}

/** Adds a scene's settings, as its document has them, to another node. */
void CopySettings(DocumentNode const& document, DocumentNode& target) {
    for (char const* pName :
         {"SurfaceSize", "SurfaceFormat", "FrameRate", "FirstFrame", "LastFrame", "ClearColor"}) {
        AddBytes(target, HashName(pName), GetBytes(document, HashName(pName)));
    }
}

/** The document with another value for one of the scene's settings. */
Ref<DocumentNode> WithSetting(DocumentNode const& document, char const* pName,
                              std::vector<unsigned char> const& bytes) {
    Ref<DocumentNode> const pAltered(new DocumentNode(0, 0));
    AddBytes(*pAltered, HashName(pName), bytes); // the first one counts
    CopySettings(document, *pAltered);
    for (unsigned int nChild = 0; nChild < document.GetChildCount(); ++nChild) {
        pAltered->AddChild(document.GetChild(nChild));
    }
    return pAltered;
}

TEST(SceneSaveLoad, SettingsOutOfRangeAreNeitherSavedNorLoaded) {
    struct Case {
        char const* m_pName;
        std::vector<unsigned char> m_bytes;
        void (*m_pfnApply)(SceneSettings& settings);
        char const* m_pReason;
    };
    RealFloat const none = std::nanf("");
    Case const cases[] = {
        {"SurfaceSize", BytesOf(0, 200), [](SceneSettings& s) { s.m_size.width = 0; }, "1 to 16384"},
        {"SurfaceSize", BytesOf(320, 16385), [](SceneSettings& s) { s.m_size.height = 16385; }, "1 to 16384"},
        {"SurfaceFormat", BytesOf(4),
         [](SceneSettings& s) { s.m_format = static_cast<DeviceFormat::Enum>(4); }, "surface format"},
        {"FrameRate", BytesOf(0.0f), [](SceneSettings& s) { s.m_rFrameRate = 0; }, "frame rate"},
        {"LastFrame", BytesOf(-2), [](SceneSettings& s) { s.m_nLastFrame = -2; }, "last frame"},
        {"FirstFrame", BytesOf(-10000001), [](SceneSettings& s) { s.m_nFirstFrame = -10000001; },
         "-10000000 to 10000000"},
        {"LastFrame", BytesOf(10000001), [](SceneSettings& s) { s.m_nLastFrame = 10000001; },
         "-10000000 to 10000000"},
        {"ClearColor", BytesOf(0.0f, none, 0.0f, 1.0f),
         [](SceneSettings& s) { s.m_clearColor.g = std::nanf(""); }, "clear colour"},
    };
    for (Case const& c : cases) {
        Sample sample;
        Ref<DocumentNode> const pDocument = WithSetting(*sample.Save(), c.m_pName, c.m_bytes);
        TraceLog log;
        Deserializer deserializer(pDocument, sample.m_registry);
        Scene scene;
        EXPECT_FALSE(scene.Load(deserializer)) << c.m_pReason;
        EXPECT_EQ(scene.GetSettings().m_size, SceneSettings().m_size) << c.m_pReason;
        EXPECT_NE(log.GetOnly().find(c.m_pReason), std::string::npos) << log.GetOnly();

        TraceLog saveLog;
        c.m_pfnApply(sample.m_scene.GetSettings());
        EXPECT_FALSE(sample.Save()) << "what could not be loaded again";
        EXPECT_NE(saveLog.GetOnly().find(c.m_pReason), std::string::npos) << saveLog.GetOnly();
    }
}

TEST(SceneSaveLoad, ASceneWithoutARootIsNeitherSavedNorLoaded) {
    Sample sample;
    Ref<DocumentNode> const pDocument(new DocumentNode(0, 0));
    Scene scene;
    TraceLog log;
    Deserializer empty(pDocument, sample.m_registry);
    EXPECT_FALSE(scene.Load(empty));
    CopySettings(*sample.Save(), *pDocument);
    Deserializer rootless(pDocument, sample.m_registry);
    EXPECT_FALSE(scene.Load(rootless));
    EXPECT_EQ(log.GetLines().size(), 2u);
    String16 sError;
    sample.m_scene.SetRoot(nullptr);
    EXPECT_FALSE(sample.m_scene.SaveToFile("/nowhere/scene.kelvo", sError));
    EXPECT_NE(std::string(String8(sError).GetData()).find("no timeline at its root"), std::string::npos);
}

TEST(SceneSaveLoad, WhatCannotBeSavedIsNamed) {
    Sample sample;
    TraceLog log;
    sample.m_pRoot->SetTimeMapFunction([](RealFloat const& t) { return t; });
    EXPECT_FALSE(sample.Save());
    ASSERT_FALSE(log.GetLines().empty());
    EXPECT_NE(log.GetLines()[0].find("/root: the time map is a function without a name"), std::string::npos)
        << log.GetLines()[0];
}

/** A sample whose timelines look through one camera, which is attached to the sprite. */
struct AttachedCamera : Sample {
    Ref<TestCamera> m_pCamera = Make<TestCamera>("attached camera");
    Timeline& m_inner = static_cast<Timeline&>(*m_pRoot->FindNode(Name("inner")));

    AttachedCamera() {
        m_pSprite->Attach(m_pCamera.Get());
        m_pRoot->SetCamera(m_pCamera.Get());
        m_inner.SetCamera(m_pCamera.Get());
    }
};

TEST(SceneSaveLoad, AnAttachedCameraComesBackWhereItWas) {
    AttachedCamera sample;
    Ref<DocumentNode> const pDocument = sample.Save();
    ASSERT_TRUE(pDocument);
    Scene loaded;
    Deserializer deserializer(pDocument, sample.m_registry);
    ASSERT_TRUE(loaded.Load(deserializer)) << String8(deserializer.GetError()).GetData();
    Timeline& root = *loaded.GetRoot();
    Node* const pCamera = root.FindNode(Name("attached camera"));
    ASSERT_NE(pCamera, nullptr);
    EXPECT_EQ(root.GetCamera(), pCamera) << "below the timeline";
    EXPECT_EQ(static_cast<Timeline*>(root.FindNode(Name("inner")))->GetCamera(), pCamera) << "beside it";
    EXPECT_EQ(ChildNames(*root.FindNode(Name("sprite"))), "attached camera");
    loaded.Update(sample.m_device, 1);
    EXPECT_EQ(Origin(pCamera->GetWorldMatrix()), Vector3(8, 4, 0)) << "it goes with the sprite";
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
        EXPECT_EQ(log.GetOnly(), "[kelvo] /above/film: its camera is not where it was attached");
    }
}

TEST(SceneSaveLoad, ACameraOfAnotherTreeIsNotSaved) {
    AttachedCamera sample;
    Ref<TransformNode> const pElsewhere = Make<TransformNode>("elsewhere");
    pElsewhere->Attach(sample.m_pCamera.Get());
    TraceLog log;
    EXPECT_FALSE(sample.Save());
    ASSERT_FALSE(log.GetLines().empty());
    EXPECT_EQ(log.GetLines()[0],
              "[kelvo] /root: the camera /elsewhere/attached camera is attached to another tree");
}

TEST(SceneSaveLoad, ACopySavesTheSame) {
    AttachedCamera sample;
    std::vector<unsigned char> const saved = Flatten(sample.Save());
    Ref<Node> const pCopy(sample.m_pRoot->CloneTree());
    sample.m_inner.SetCamera(nullptr); // the copied inner timeline would look through the original camera
    sample.m_scene.SetRoot(static_cast<Timeline*>(pCopy.Get()));
    static_cast<Timeline*>(pCopy->FindNode(Name("inner")))
        ->SetCamera(static_cast<Camera*>(pCopy->FindNode(Name("attached camera"))));
    EXPECT_EQ(Flatten(sample.Save()), saved);
}

/**
 * Tries something with no memory, then with a little more each time, until it has had enough; each time
 * checks what has come of it.
 */
template <class Try, class Check>
void WithMoreAndMoreMemory(Try tryIt, Check check) {
    bool fEnough = false;
    for (unsigned int nAllocations = 0; !fEnough && !testing::Test::HasFailure(); ++nAllocations) {
        SCOPED_TRACE(nAllocations);
        unsigned long long const nBefore = Allocation::GetCount();
        Allocation::FailAfter(nAllocations);
        tryIt();
        fEnough = Allocation::GetCount() - nBefore < nAllocations;
        Allocation::FailNever();
        check(fEnough);
    }
}

TEST(SceneSaveLoad, WithoutMemoryItIsLoadedWholeOrNotAtAll) {
    AttachedCamera sample;
    Ref<DocumentNode> const pDocument = sample.Save();
    std::vector<unsigned char> const saved = Flatten(pDocument);
    TraceLog log;
    bool fLoaded = false;
    std::unique_ptr<Scene> pScene;
    WithMoreAndMoreMemory(
        [&] {
            pScene = std::make_unique<Scene>();
            Deserializer deserializer(pDocument, sample.m_registry);
            fLoaded = pScene->Load(deserializer);
        },
        [&](bool fEnough) {
            EXPECT_TRUE(fLoaded || !fEnough);
            EXPECT_EQ(pScene->GetRoot() != nullptr, fLoaded);
            Serializer serializer;
            EXPECT_EQ(pScene->Save(serializer), fLoaded);
            EXPECT_TRUE(!fLoaded || Flatten(serializer.Finish()) == saved) << "something is missing";
        });
}

TEST(SceneSaveLoad, WithoutMemoryItIsSavedWholeOrNotAtAll) {
    AttachedCamera sample;
    std::vector<unsigned char> const saved = Flatten(sample.Save());
    TraceLog log;
    Ref<DocumentNode> pDocument;
    WithMoreAndMoreMemory([&] { pDocument = sample.Save(); },
                          [&](bool fEnough) {
                              EXPECT_TRUE(pDocument || !fEnough);
                              EXPECT_TRUE(!pDocument || Flatten(pDocument) == saved)
                                  << "something is missing";
                          });
}

TEST(SceneSaveLoad, TreesOfAsManyLevelsAsThereMayBeAreSavedAndLoadedAndNoDeeperOnes) {
    Sample sample;
    Ref<TestSprite> const pBottom = Make<TestSprite>("bottom");
    Animate<RealFloat>(pBottom->GetOpacityProperty(), 0, {0, 1});
    sample.m_pRoot->Attach(MakeChain(Node::MaximumDepth - 1, pBottom.Get()).Get());
    Ref<DocumentNode> const pDocument = sample.Save();
    ASSERT_TRUE(pDocument);
    Scene scene;
    Deserializer deserializer(pDocument, sample.m_registry);
    ASSERT_TRUE(scene.Load(deserializer));
    Serializer serializer;
    ASSERT_TRUE(scene.Save(serializer));
    EXPECT_EQ(Flatten(serializer.Finish()), Flatten(pDocument));
    DocumentNode* pDeepest = pDocument.Get();
    for (DocumentNode* pNode = pDeepest; pNode;) {
        pDeepest = pNode;
        pNode = nullptr;
        for (unsigned int nChild = 0; nChild < pDeepest->GetChildCount(); ++nChild) {
            if (pDeepest->GetChild(nChild)->GetTagID() == NodeTag) {
                pNode = pDeepest->GetChild(nChild);
            }
        }
    }
    pDeepest->AddChild(Ref<DocumentNode>(new DocumentNode(NodeTag, TransformNode::ClassID)));
    Deserializer deeper(pDocument, sample.m_registry);
    TraceLog log;
    EXPECT_FALSE(Scene().Load(deeper));
}

TEST(SceneSaveLoad, ANodeThatFailsIsNotLeftAttached) {
    Sample sample;
    Ref<DocumentNode> const pNode(new DocumentNode(NodeTag, TransformNode::ClassID));
    pNode->AddChild(Ref<DocumentNode>(new DocumentNode(NodeTag, HashName("Sprite"))));
    pNode->AddChild(Ref<DocumentNode>(new DocumentNode(NodeTag, 1)));
    Deserializer deserializer(pNode, sample.m_registry);
    Ref<TransformNode> const pLoaded(new TransformNode);
    TraceLog log;
    EXPECT_FALSE(pLoaded->Load(deserializer));
    EXPECT_EQ(pLoaded->GetChildCount(), 1u) << "the one that could be loaded";
    EXPECT_EQ(deserializer.GetDepth(), 0u);
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
    String16 sError;
    ASSERT_TRUE(sample.m_scene.PromoteTextures(sError));
    EXPECT_EQ(pShared->Count(), 2);
    EXPECT_EQ(pBehind->Count(), 1);
    EXPECT_EQ(pPlain->Count(), 0);
    EXPECT_TRUE(sample.m_scene.PromoteTextures(sError)) << "those that have theirs keep them";

    Ref<Texture> const pRefused = make(1);
    pRefused->SetName(u"screen");
    static_cast<TestTexture&>(*pRefused).m_fRefusePromotion = true;
    pChild->SetTexture(pRefused.Get());
    EXPECT_FALSE(sample.m_scene.PromoteTextures(sError));
    EXPECT_TRUE(sError == u"texture \"screen\" cannot have surfaces for others to write");
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
