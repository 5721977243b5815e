#include "Table.h"
#include "kelvo_host/UpdateObserver.h"
#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/MemoryTracer.h"

#include <gtest/gtest.h>

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

/** A film inside another one of 100 frames, which itself moves by its outer frame. */
struct NestedFilm : Film {
    Ref<TestTimeline> m_pOuter = Make<TestTimeline>("outer");

    NestedFilm() {
        m_pOuter->Attach(m_pTimeline.Get());
        m_pOuter->SetFrameDelay(RealFloat(0.5));
        AnimateByFrame(*m_pTimeline);
    }
};

/** Does one step of a table's input to the film, or ("outer-...") to the timeline that it is in. */
void DoStep(Film& film, Timeline& timeline, Setting const& step) {
    RealFloat const r = step.GetFirst();
    std::string const& sName = step.m_sName;
    if (step.Apply(timeline.GetProperties())) {
        return;
    }
    sName == "play"    ? timeline.Play()
    : sName == "stop"  ? timeline.Stop()
    : sName == "reset" ? timeline.Reset()
    : sName == "auto"  ? timeline.SetAutoPlay(r != 0)
    : sName == "seek"  ? timeline.SetFrame(r)
    : sName == "delay" ? timeline.SetFrameDelay(r)
    : sName == "map"   ? timeline.SetTimeMapFunction(r != 0 ? &Interpolate::EaseIn : nullptr)
    : sName == "go"    ? timeline.Update(film.m_device, 0, r, false)
    : sName == "frame" ? timeline.Update(film.m_device, r)
    : sName == "sync"  ? timeline.UpdateSynchronous(film.m_device, r)
                       : void(ADD_FAILURE() << sName);
}

/** Each input has steps; it gives what is shown, the frames of both timelines, whether they play, and faults.
 */
TEST(Timeline, PlaysAsTheTableSays) {
    CompareTable("nodes/timelines.txt", [](std::string const& sInput) {
        NestedFilm film;
        std::istringstream steps(sInput);
        std::ostringstream result;
        std::string step;
        TraceLog log;
        if (sInput.compare(0, 6, "nested") == 0) {
            steps >> step;
        } else {
            film.m_pOuter->Detach(film.m_pTimeline.Get());
        }
        while (steps >> step) {
            bool const fOuter = step.compare(0, 6, "outer-") == 0;
            DoStep(film, fOuter ? *film.m_pOuter : *film.m_pTimeline, Setting(step.substr(fOuter ? 6 : 0)));
            result << "  " << step << ": shows " << film.Shown();
            for (Timeline* pTimeline : {film.m_pTimeline.Get(), film.m_pOuter.Get()}) {
                result << (pTimeline->IsPlaying() ? ", plays " : ", at ") << pTimeline->GetFrame();
            }
            result << "\n";
        }
        for (std::string const& line : log.Messages()) {
            result << "  ! " << line << "\n";
        }
        return result.str();
    });
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
    Ref<Node> nodes[] = {Make<TransformNode>("a"), Make<TransformNode>("b"), Make<TestTimeline>("c"),
                         Make<TransformNode>("hidden"), Make<TransformNode>("d")};
    for (int n : {0, 1, 2}) {
        nodes[n]->Attach(nodes[n + 1].Get());
    }
    pRoot->Attach(nodes[0].Get());
    pRoot->Attach(nodes[4].Get());
    pRoot->Update(device, 0);
    EXPECT_EQ(pRoot->m_tree, "a0/3 b1/2 c2/1 d0/1 ");
    pRoot->AttachBefore(nodes[4].Get(), nodes[0].Get()); // moved among its siblings
    pRoot->Update(device, 0);
    EXPECT_EQ(pRoot->m_tree, "d0/1 a0/3 b1/2 c2/1 ");
}

TEST(Timeline, AnObserverIsToldOfNodesAboveBeforeThoseBelow) {
    struct Watched : UpdateObserver {
        std::string m_names;
        void BeginUpdate(Node& node) override {
            m_names +=
                TestDevice::NameOf(node) + (static_cast<TestSprite&>(node).m_nUpdates > 0 ? "! " : " ");
        }
    } watched;
    TestDevice device;
    Ref<TestTimeline> const pRoot(new TestTimeline);
    Ref<Node> nodes[] = {Make<TestSprite>("a"), Make<TestSprite>("b"), Make<TestSprite>("c")};
    pRoot->Attach(nodes[0].Get());
    nodes[0]->Attach(nodes[1].Get());
    pRoot->Attach(nodes[2].Get());
    UpdateObserver* const pBefore = UpdateObserver::Set(&watched);
    pRoot->Update(device, 0);
    EXPECT_EQ(UpdateObserver::Set(pBefore), &watched);
    EXPECT_EQ(watched.m_names, "a b c ") << "each before it is updated";
    pRoot->Update(device, 1);
    EXPECT_EQ(watched.m_names, "a b c ");
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

TEST(Timeline, ItsCameraIsCountedOnceAndNotCopiedFromElsewhere) {
    NestedFilm film;
    auto const count = [&film] {
        MemoryTracer tracer;
        tracer.EmitObject(film.m_pOuter.Get());
        return tracer.GetBytes(MemoryType::Object);
    };
    unsigned long long const nWithout = count();
    film.m_pTimeline->SetCamera(new TestCamera);
    EXPECT_EQ(count(), nWithout + sizeof(TestCamera));
    film.m_pOuter->Attach(film.m_pTimeline->GetCamera());
    EXPECT_EQ(count(), nWithout + sizeof(TestCamera)) << "reported by two, and counted once";
    // Attached elsewhere, it is not copied.
    Ref<Node> const pCopy(film.m_pTimeline->CloneTree());
    EXPECT_EQ(static_cast<Timeline*>(pCopy.Get())->GetCamera(), film.m_pTimeline->GetCamera());
}

} // namespace
} // namespace trevik::kelvo::test
