#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "TestNodes.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo::test {
namespace {

/** A timeline over frames 0 to 10, a second each, with a sprite whose x position is the frame it sees. */
struct Film {
    TestDevice m_device;
    Ref<TestTimeline> m_pTimeline = Make<TestTimeline>("film");
    Ref<TestSprite> m_pSprite = Make<TestSprite>("sprite");

    Film() {
        m_pTimeline->Attach(m_pSprite.Get());
        m_pTimeline->GetLastFrameProperty().SetValue(10);
        m_pTimeline->SetFrameDelay(1);
        AnimateByFrame(*m_pSprite);
    }
    static void AnimateByFrame(TransformNode& node) {
        std::vector<Vector3> positions;
        for (int nFrame = 0; nFrame <= 100; ++nFrame) {
            positions.push_back(Vector3(static_cast<RealFloat>(nFrame), 0, 0));
        }
        Animate<Vector3>(node.GetPositionProperty(), 0, positions);
    }
    RealFloat Shown() const { return Origin(m_pSprite->GetWorldMatrix()).x; }
    RealFloat Play(RealFloat delta) {
        m_pTimeline->Update(m_device, 0, delta, false);
        return Shown();
    }
};

TEST(Timeline, AdvancesByTheTimePassedWhileItPlays) {
    Film film;
    EXPECT_EQ(film.Play(3), 0) << "not playing at first";
    film.m_pTimeline->Play();
    EXPECT_EQ(film.Play(3), 3);
    EXPECT_EQ(film.Play(RealFloat(0.5)), RealFloat(3.5));
    film.m_pTimeline->SetFrameDelay(RealFloat(0.25));
    EXPECT_EQ(film.Play(1), RealFloat(7.5));
    film.m_pTimeline->Stop();
    EXPECT_EQ(film.Play(1), RealFloat(7.5));
    film.m_pTimeline->Play();
    EXPECT_EQ(film.Play(RealFloat(0.25)), RealFloat(8.5)) << "resumes where it stopped";
}

TEST(Timeline, EndsAsItsPlaybackModeSays) {
    struct Case {
        PlaybackMode::Enum m_mode;
        std::vector<RealFloat> m_deltas;
        RealFloat m_shown;
        bool m_fPlaying;
    };
    Case const cases[] = {{PlaybackMode::Once, {9}, 9, true},
                          {PlaybackMode::Once, {10}, 10, false},
                          {PlaybackMode::Once, {25, 1}, 10, false},
                          {PlaybackMode::Loop, {10}, 10, true},
                          {PlaybackMode::Loop, {10, 1}, 1, true},
                          {PlaybackMode::Loop, {35}, 5, true},
                          {PlaybackMode::Loop, {RealFloat(10.5)}, RealFloat(0.5), true},
                          {PlaybackMode::PingPong, {RealFloat(20.5)}, RealFloat(0.5), true},
                          {PlaybackMode::PingPong, {10}, 10, true},
                          {PlaybackMode::PingPong, {12}, 8, true},
                          {PlaybackMode::PingPong, {12, 9, 2}, 3, true},
                          {PlaybackMode::PingPong, {33}, 7, true},
                          {PlaybackMode::PingPong, {12, 20}, 8, true}};
    for (Case const& c : cases) {
        Film film;
        film.m_pTimeline->GetPlaybackModeProperty().SetValue(c.m_mode);
        film.m_pTimeline->Play();
        RealFloat shown = 0;
        for (RealFloat delta : c.m_deltas) {
            shown = film.Play(delta);
        }
        EXPECT_NEAR(shown, c.m_shown, 1e-4) << "mode " << c.m_mode << " after " << c.m_deltas.back();
        EXPECT_EQ(film.m_pTimeline->IsPlaying(), c.m_fPlaying)
            << "mode " << c.m_mode << " " << c.m_deltas.back();
    }
    for (PlaybackMode::Enum mode : {PlaybackMode::Once, PlaybackMode::Loop}) {
        Film film;
        film.m_pTimeline->GetPlaybackModeProperty().SetValue(PlaybackMode::PingPong);
        film.m_pTimeline->Play();
        EXPECT_EQ(film.Play(15), 5) << "on the way back";
        film.m_pTimeline->GetPlaybackModeProperty().SetValue(mode);
        EXPECT_EQ(film.Play(2), 7) << "forwards again, mode " << mode;
        film.m_pTimeline->GetFirstFrameProperty().SetValue(4);
        EXPECT_EQ(film.Play(4), mode == PlaybackMode::Loop ? 5 : 10) << "wrapped to its start";
        EXPECT_EQ(film.m_pTimeline->IsPlaying(), mode == PlaybackMode::Loop);
    }
}

TEST(Timeline, ARangeWithoutLengthHasNoEnd) {
    Film film;
    film.m_pTimeline->GetLastFrameProperty().SetValue(0);
    film.m_pTimeline->Play();
    EXPECT_EQ(film.Play(50), 50);
    film.m_pTimeline->SetFrame(77);
    EXPECT_EQ(film.Play(0), 77);
}

TEST(Timeline, SeeksWithinItsRange) {
    struct Case {
        RealFloat m_frame;
        RealFloat m_shown;
    };
    Film film;
    for (Case const& c : {Case{4, 4}, Case{RealFloat(2.5), RealFloat(2.5)}, Case{-1, 0}, Case{11, 10},
                          Case{std::numeric_limits<RealFloat>::infinity(), 10}}) {
        film.m_pTimeline->SetFrame(c.m_frame);
        EXPECT_EQ(film.m_pTimeline->GetFrame(), c.m_shown);
        EXPECT_EQ(film.Play(0), c.m_shown);
    }
    TraceLog log;
    film.m_pTimeline->SetFrame(std::nanf(""));
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 10);
    EXPECT_EQ(log.GetLines().size(), 1u);
    film.m_pTimeline->UpdateSynchronous(film.m_device, 6);
    EXPECT_EQ(film.Shown(), 6) << "at once";
}

TEST(Timeline, RefusesFramesThatTakeNoTime) {
    Film film;
    film.m_pTimeline->Play();
    TraceLog log;
    RealFloat const infinity = std::numeric_limits<RealFloat>::infinity();
    for (RealFloat delay : {RealFloat(0), RealFloat(-1), std::nanf(""), infinity}) {
        film.m_pTimeline->SetFrameDelay(delay);
        EXPECT_EQ(film.m_pTimeline->GetFrameDelay(), 1);
    }
    EXPECT_EQ(log.GetLines().size(), 4u);
    for (RealFloat delta : {RealFloat(-1), std::nanf(""), infinity}) {
        EXPECT_EQ(film.Play(delta), 0) << "nor do they go back or jump";
    }
}

TEST(Timeline, TheTimeMapBendsTheWayThroughTheRange) {
    Film film;
    film.m_pTimeline->SetTimeMapFunction(&Interpolate::EaseIn);
    film.m_pTimeline->SetFrame(5);
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 5);
    EXPECT_NEAR(film.Play(0), RealFloat(2.5), 1e-5) << "half the way, squared, of ten frames";
    film.m_pTimeline->SetFrame(10);
    EXPECT_NEAR(film.Play(0), 10, 1e-5);
    film.m_pTimeline->SetTimeMapFunction(nullptr);
    film.m_pTimeline->SetFrame(5);
    EXPECT_EQ(film.Play(0), 5);
}

/** A film inside another one of 100 frames, which itself moves by its outer frame. */
struct NestedFilm : Film {
    Ref<TestTimeline> m_pOuter = Make<TestTimeline>("outer");

    NestedFilm() {
        m_pOuter->Attach(m_pTimeline.Get());
        m_pOuter->SetFrameDelay(RealFloat(0.5));
        AnimateByFrame(*m_pTimeline);
    }
};

TEST(Timeline, NestedTimelinesKeepTheirOwnTime) {
    NestedFilm film;
    film.m_pOuter->Play();
    film.m_pTimeline->Play();
    film.m_pOuter->Update(film.m_device, 0, 3, false);
    EXPECT_EQ(film.m_pOuter->GetFrame(), 6);
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 3);
    EXPECT_EQ(Origin(film.m_pTimeline->GetWorldMatrix()).x, 6)
        << "its own properties follow the outer frames";
    EXPECT_EQ(film.Shown(), 6 + 3) << "its children its own";
    film.m_pTimeline->Stop();
    film.m_pOuter->Update(film.m_device, 0, 1, false);
    EXPECT_EQ(film.Shown(), 8 + 3);
}

TEST(Timeline, UpdatedByFrameAloneARootSeeksAndNoTimePasses) {
    NestedFilm film;
    film.m_pTimeline->Play();
    film.m_pOuter->Update(film.m_device, 40);
    EXPECT_EQ(film.m_pOuter->GetFrame(), 40);
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 0);
    EXPECT_EQ(film.Shown(), 40);
    film.m_pTimeline->Update(film.m_device, 7);
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 0) << "in a timeline it does not";
    EXPECT_EQ(film.Shown(), 7);
}

TEST(Timeline, ResetGoesBackToTheStart) {
    NestedFilm film;
    film.m_pTimeline->SetAutoPlay(true);
    film.m_pTimeline->Play();
    film.m_pOuter->Play();
    film.m_pOuter->Update(film.m_device, 0, 4, false);
    film.m_pTimeline->Stop();
    film.m_pOuter->Reset();
    EXPECT_EQ(film.m_pOuter->GetFrame(), 0);
    EXPECT_FALSE(film.m_pOuter->IsPlaying());
    EXPECT_EQ(film.m_pTimeline->GetFrame(), 0);
    EXPECT_TRUE(film.m_pTimeline->IsPlaying()) << "it plays from the start";
}

TEST(Timeline, TheFlattenedTreeTellsDepthsAndSubtrees) {
    /** Shows the list that UpdateTree is given. */
    class Watched : public TestTimeline {
    public:
        std::string m_tree;
        void UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice&, RealFloat const&, RealFloat const&,
                        bool) override {
            m_tree.clear();
            for (TreeNode<Node*>* pEntry : tree) {
                m_tree += TestDevice::NameOf(*pEntry->m_value) + std::to_string(pEntry->m_nDepth) + "/" +
                          std::to_string(pEntry->m_nSubtreeCount) + " ";
            }
        }
    };
    TestDevice device;
    Ref<Watched> const pRoot(new Watched);
    Ref<TransformNode> const pA = Make<TransformNode>("a");
    Ref<TransformNode> const pB = Make<TransformNode>("b");
    Ref<TestTimeline> const pC = Make<TestTimeline>("c");
    Ref<TransformNode> const pD = Make<TransformNode>("d");
    pRoot->Attach(pA.Get());
    pA->Attach(pB.Get());
    pB->Attach(pC.Get());
    pC->Attach(Make<TransformNode>("hidden").Get());
    pRoot->Attach(pD.Get());
    pRoot->Update(device, 0);
    EXPECT_EQ(pRoot->m_tree, "a0/3 b1/2 c2/1 d0/1 ");
    pRoot->AttachBefore(pD.Get(), pA.Get()); // moved among its siblings
    pRoot->Update(device, 0);
    EXPECT_EQ(pRoot->m_tree, "d0/1 a0/3 b1/2 c2/1 ");
}

TEST(Timeline, WithoutMemoryForTheFlattenedTreeNothingIsLeftOut) {
    Film film;
    film.m_pSprite->GetProperties(); // registered while there is memory
    film.m_pTimeline->GetProperties();
    film.m_pTimeline->SetFrame(5);
    Allocation::FailAfter(0);
    film.Play(0);
    Allocation::FailNever();
    EXPECT_EQ(film.m_pSprite->m_nUpdates, 1u);
    film.Play(0);
    EXPECT_EQ(film.m_pSprite->m_nUpdates, 2u);
    EXPECT_EQ(film.Shown(), 5);
}

TEST(Timeline, ForcesWhatIsDerivedToBeComputedAnew) {
    /** Counts computations. */
    class Counted : public TestSprite {
    public:
        unsigned int m_nComputed = 0;
        void CalculateTransform() override {
            ++m_nComputed;
            TestSprite::CalculateTransform();
        }
    };
    Film film;
    Ref<Counted> const pCounted(new Counted);
    film.m_pTimeline->Attach(pCounted.Get());
    film.Play(0);
    film.Play(0);
    EXPECT_EQ(pCounted->m_nComputed, 1u) << "once for itself";
    film.m_pTimeline->Update(film.m_device, 0, 0, true);
    EXPECT_EQ(pCounted->m_nComputed, 2u);
    film.m_pTimeline->GetPositionProperty().SetValue(Vector3(1, 0, 0));
    film.Play(0);
    film.Play(0);
    EXPECT_EQ(pCounted->m_nComputed, 3u) << "once for its parent";
}

TEST(Timeline, ChildrenAreDrawnBetweenTheTimelinesSteps) {
    NestedFilm film;
    film.m_pOuter->Update(film.m_device, 0);
    film.m_pOuter->Render(film.m_device);
    EXPECT_EQ(film.m_device.m_calls, (std::vector<std::string>{"enter outer", "enter film", "draw sprite",
                                                               "leave film", "leave outer"}));
    film.m_device.m_calls.clear();
    film.m_pTimeline->GetVisibleProperty().SetValue(false);
    film.m_pOuter->Render(film.m_device);
    EXPECT_EQ(film.m_device.m_calls, (std::vector<std::string>{"enter outer", "leave outer"}));
}

TEST(Timeline, ItsCameraFollowsTheFramesThatChildrenSee) {
    NestedFilm film;
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    Film::AnimateByFrame(*pCamera);
    film.m_pTimeline->SetCamera(pCamera.Get());
    film.m_pTimeline->SetFrame(8);
    film.m_pOuter->Update(film.m_device, 50);
    EXPECT_EQ(Origin(pCamera->GetWorldMatrix()), Vector3(8, 0, 0))
        << "in world space, whatever the timeline's place";
    // Attached somewhere, it goes where its parent goes.
    film.m_pSprite->Attach(pCamera.Get());
    film.m_pOuter->Update(film.m_device, 50);
    EXPECT_EQ(Origin(pCamera->GetWorldMatrix()), Vector3(50 + 8 + 8, 0, 0));
}

TEST(Timeline, SelectionLooksThroughItsCamera) {
    Film film;
    film.m_pSprite->GetSizeProperty().SetValue(SizeT<int>(10, 10));
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    pCamera->GetPositionProperty().SetValue(Vector3(-100, 0, 50));
    film.m_pTimeline->SetCamera(pCamera.Get());
    film.Play(0);
    for (RealFloat x : {RealFloat(5), RealFloat(105)}) {
        EXPECT_EQ(Select(film.m_device, *film.m_pTimeline, Vector2(x, 5)).GetCount(), x > 100 ? 1u : 0u);
        EXPECT_TRUE(film.m_device.m_cameras.empty()) << "popped again";
        EXPECT_EQ(film.m_device.m_nHiddenDepths, 0);
    }
    EXPECT_TRUE(film.m_device.m_calls.empty());
}

TEST(Timeline, SelectionFindsWhatIsInsideTheMasksOfAllTimelinesAbove) {
    NestedFilm film;
    film.m_pSprite->GetSizeProperty().SetValue(SizeT<int>(10, 10));
    film.m_pOuter->Update(film.m_device, 0);
    film.m_pSprite->GetPositionProperty().RemoveControllers();
    film.m_pTimeline->GetPositionProperty().RemoveControllers();
    // The outer one shows what lies right of x = 2, the inner one, moved by 3, what lies left of x = 3 + 4.
    Vector3 const right[] = {Vector3(2, -100, 0), Vector3(202, -100, 0), Vector3(2, 100, 0)};
    Vector3 const left[] = {Vector3(4, 100, 0), Vector3(-196, 100, 0), Vector3(4, -100, 0)};
    Ref<Mask> const pRight(new Mask);
    Ref<Mask> const pLeft(new Mask);
    EXPECT_TRUE(pRight->SetTriangles(right, 3) && pLeft->SetTriangles(left, 3));
    film.m_pOuter->AddMask(pRight.Get());
    film.m_pTimeline->AddMask(pLeft.Get());
    film.m_pTimeline->GetPositionProperty().SetValue(Vector3(3, 0, 0));
    film.m_pSprite->GetPositionProperty().SetValue(Vector3(-3, 0, 0));
    film.m_pOuter->Update(film.m_device, 0);
    for (RealFloat x : {RealFloat(1), RealFloat(3), RealFloat(6), RealFloat(8)}) {
        EXPECT_EQ(Select(film.m_device, *film.m_pOuter, Vector2(x, 5)).GetCount(), x > 2 && x < 7 ? 1u : 0u)
            << x;
    }
}

TEST(Timeline, ItsCameraIsPartOfItsMemory) {
    Film film;
    MemoryTracer without;
    without.EmitObject(film.m_pTimeline.Get());
    film.m_pTimeline->SetCamera(new TestCamera);
    MemoryTracer with;
    with.EmitObject(film.m_pTimeline.Get());
    EXPECT_EQ(with.GetBytes(MemoryType::Object), without.GetBytes(MemoryType::Object) + sizeof(TestCamera));
    // Attached below, it is reported by both, and counted once.
    film.m_pSprite->Attach(film.m_pTimeline->GetCamera());
    MemoryTracer attached;
    attached.EmitObject(film.m_pTimeline.Get());
    EXPECT_EQ(attached.GetTotalBytes(), with.GetTotalBytes());
}

TEST(Timeline, ACopyLooksThroughTheCopyOfAnAttachedCamera) {
    NestedFilm film;
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    film.m_pSprite->Attach(pCamera.Get());
    film.m_pOuter->SetCamera(pCamera.Get());
    Ref<Node> const pCopy(film.m_pOuter->CloneTree());
    EXPECT_EQ(static_cast<Timeline*>(pCopy.Get())->GetCamera(), pCopy->FindNode(Name("camera")));
    EXPECT_NE(static_cast<Timeline*>(pCopy.Get())->GetCamera(), pCamera.Get());
    // Attached elsewhere, it is not copied.
    film.m_pOuter->Attach(pCamera.Get());
    film.m_pTimeline->SetCamera(pCamera.Get());
    Ref<Node> const pInner(film.m_pTimeline->CloneTree());
    EXPECT_EQ(static_cast<Timeline*>(pInner.Get())->GetCamera(), pCamera.Get());
}

} // namespace
} // namespace trevik::kelvo::test
