// Nodes in which nothing can have changed are left out of updates: whatever wakes them is done to one of two
// equal scenes that both stand still; the other one has it done, too, and is forced to update all.

#include "kelvo_host/UpdateObserver.h"
#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace trevik::kelvo::test {
namespace {

/** A class that passes on an opacity of which TransformNode knows nothing, another one each time. */
class Fader : public PlainNode {
public:
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override {
        PlainNode::InternalUpdate(device, frame, delta, fForce);
        m_rEffectiveOpacity = 1 / ++m_steps;
    }
    RealFloat m_steps = 0;
};

/** One whose place is computed by itself. */
class Shifted : public PlainNode {
public:
    void CalculateTransform() override {
        PlainNode::CalculateTransform();
        m_worldMatrix.m[12] += 100;
        ++m_nComputed;
    }
    unsigned int m_nComputed = 0;
};

/** Drives a property by so much more for each frame. */
template <class T>
void Ramp(BaseProperty<T>& property, T const& step) {
    std::vector<T> samples(1);
    while (samples.size() < 30) {
        samples.push_back(samples.back() + step);
    }
    Animate<T>(property, 0, samples);
}

struct Scene {
    /** Places in m_nodes; each is below the one before it on its line. */
    enum Place {
        Top,
        Middle,
        Bottom,
        Inner, // a timeline below Top
        InnerTop,
        InnerBottom,
        Fading, // below the root again
        BelowFading,
        Moved, // below the root
        BelowMoved,
        Beside, // below the root
        Spare,  // below nothing
        BelowSpare
    };

    TestDevice m_device;
    Ref<TestTimeline> m_pRoot = Make<TestTimeline>("root");
    std::vector<Ref<TransformNode>> m_nodes;
    Elsewhere<Vector3> m_place;
    Elsewhere<RealFloat> m_opacity;
    std::function<void()> m_handler; ///< called when what Drive has driven changes
    RealFloat m_frame = 0;
    std::unique_ptr<TransformNode::SharedParent> m_pShared;

    Scene() {
        m_device.m_fNoting = false;
        Add<PlainNode>(m_pRoot.Get());
        Add<PlainNode>(m_nodes[Top].Get());
        Add<PlainNode>(m_nodes[Middle].Get());
        Add<TestTimeline>(m_nodes[Top].Get());
        Add<PlainNode>(m_nodes[Inner].Get());
        Add<PlainNode>(m_nodes[InnerTop].Get());
        Add<Fader>(m_pRoot.Get());
        Add<PlainNode>(m_nodes[Fading].Get());
        Add<Shifted>(m_pRoot.Get());
        Add<PlainNode>(m_nodes[Moved].Get());
        Add<PlainNode>(m_pRoot.Get());
        Add<PlainNode>(nullptr);
        Add<PlainNode>(m_nodes[Spare].Get());
        RealFloat n = 1;
        for (Ref<TransformNode> const& pNode : m_nodes) {
            pNode->GetPositionProperty().SetValue(Vector3(n, 2 * n, 3));
            pNode->GetRotationProperty().SetValue(Vector3(0, 0, 10 * n++));
            pNode->GetOpacityProperty().SetValue(RealFloat(0.9));
        }
        for (int nUpdate = 0; nUpdate < 4; ++nUpdate) {
            Update();
        }
    }

    template <class T>
    void Add(Node* pParent) {
        m_nodes.push_back(Make<T>("node"));
        if (pParent) {
            pParent->Attach(m_nodes.back().Get());
        }
    }
    TransformNode& operator[](Place place) { return *m_nodes[place]; }
    bool IsAsleep(Place place) const { return static_cast<PlainNode&>(*m_nodes[place]).IsAsleep(); }

    void Update(bool fForce = false) {
        m_frame += RealFloat(0.25);
        m_pRoot->SetFrame(m_frame);
        m_pRoot->Update(m_device, m_frame, 0, fForce);
    }
    /** Has m_handler called in the middle of each update, when Beside is updated. */
    void Drive(std::function<void()> const& handler) {
        m_handler = handler;
        Ramp((*this)[Beside].GetPositionProperty(), Vector3(60, 0, 0));
        (*this)[Beside].GetPositionProperty().GetChangeEvent().Connect(
            member_function(this, &Scene::OnDriven));
    }
    void OnDriven(Vector3 const&) { m_handler(); }
};

/** Something that is done before the next updates, and which nodes it shows in. */
struct Change {
    char const* m_pName;
    std::function<void(Scene&)> m_do;
    std::vector<Scene::Place> m_places;
    bool m_fGoesOn = false; ///< it goes on changing by itself
};

std::vector<Change> const Changes = {
    {"position",
     [](Scene& s) { s[s.Top].GetPositionProperty().SetValue(Vector3(7, 8, 9)); },
     {Scene::Top, Scene::Middle, Scene::Bottom, Scene::InnerBottom}},
    {"rotation",
     [](Scene& s) { s[s.Middle].GetRotationProperty().SetValue(Vector3(30, 0, 5)); },
     {Scene::Middle, Scene::Bottom}},
    {"pivot", [](Scene& s) { s[s.Bottom].GetPivotProperty().SetValue(Vector3(7, 8, 9)); }, {Scene::Bottom}},
    {"scale", [](Scene& s) { s[s.Middle].GetScaleProperty().SetValue(Vector3(7, 8, 9)); }, {Scene::Bottom}},
    {"stretch",
     [](Scene& s) { s[s.Inner].GetStretchProperty().SetValue(Vector3(7, 8, 9)); },
     {Scene::InnerBottom}},
    {"opacity",
     [](Scene& s) { s[s.Top].GetOpacityProperty().SetValue(RealFloat(0.25)); },
     {Scene::Bottom, Scene::InnerBottom}},
    {"opacity of the root",
     [](Scene& s) { s.m_pRoot->GetOpacityProperty().SetValue(RealFloat(0.5)); },
     {Scene::Top, Scene::Bottom, Scene::InnerBottom, Scene::Beside}},
    {"place of the root",
     [](Scene& s) { s.m_pRoot->GetPivotProperty().SetValue(Vector3(7, 8, 9)); },
     {Scene::Top, Scene::Bottom, Scene::InnerBottom, Scene::BelowMoved}},
    {"in place",
     [](Scene& s) {
         s[s.Bottom].GetPositionProperty().GetWritableValue() = Vector3(5, 5, 5);
         s[s.Bottom].GetPositionProperty().Notify(true);
     },
     {Scene::Bottom}},
    {"assigned",
     [](Scene& s) { s[s.Bottom].GetPositionProperty().Assign(s[s.Top].GetScaleProperty()); },
     {Scene::Bottom}},
    {"copied",
     [](Scene& s) {
         Vector3Property other(Vector3(4, 4, 4));
         Ramp(other, Vector3(90, 0, 0));
         EXPECT_TRUE(s[s.Bottom].GetPositionProperty().Copy(other));
     },
     {Scene::Bottom},
     true},
    {"bound",
     [](Scene& s) {
         s[s.Top].GetPositionProperty().Bind(&s.m_place);
         s[s.Inner].GetOpacityProperty().Bind(&s.m_opacity);
     },
     {Scene::Bottom, Scene::InnerBottom},
     true},
    {"a controller",
     [](Scene& s) {
         Ramp(s[s.Inner].GetScaleProperty(), Vector3(9, 9, 9));
         Ramp(s[s.Middle].GetOpacityProperty(), RealFloat(0.02));
     },
     {Scene::InnerBottom, Scene::Bottom},
     true},
    {"attached", [](Scene& s) { s[s.Middle].Attach(&s[s.Spare]); }, {Scene::Spare, Scene::BelowSpare}},
    {"moved with what is below",
     [](Scene& s) { s[s.Beside].Attach(&s[s.Middle]); },
     {Scene::Middle, Scene::Bottom}},
    {"moved to another timeline",
     [](Scene& s) { s[s.InnerTop].AttachBefore(&s[s.Middle], nullptr); },
     {Scene::Middle, Scene::Bottom}},
    {"moved while asleep, then changed",
     [](Scene& s) {
         s.m_pRoot->Detach(&s[s.Top]);
         s[s.Bottom].GetPivotProperty().SetValue(Vector3(1, 2, 3));
         s[s.InnerBottom].GetPivotProperty().SetValue(Vector3(1, 2, 3));
         s[s.Beside].Attach(&s[s.Top]);
     },
     {Scene::Bottom, Scene::InnerBottom}},
    {"computed from outside",
     [](Scene& s) {
         s[s.Top].GetPositionProperty().SetValue(Vector3(7, 8, 9));
         s[s.Top].CalculateTransform();
     },
     {Scene::Bottom, Scene::InnerBottom}},
    {"computed from outside while asleep",
     [](Scene& s) {
         s.m_pRoot->GetPivotProperty().SetValue(Vector3(7, 8, 9));
         s.m_pRoot->CalculateTransform();
         s[s.Top].CalculateTransform();
     },
     {Scene::Top, Scene::Bottom, Scene::InnerBottom}},
    {"updated alone",
     [](Scene& s) {
         s[s.Top].GetOpacityProperty().SetValue(RealFloat(0.5));
         s[s.Top].InternalUpdate(s.m_device, 0, 0, false);
     },
     {Scene::Bottom, Scene::InnerBottom}},
    {"updated with what is below",
     [](Scene& s) {
         s[s.Top].GetPivotProperty().SetValue(Vector3(7, 8, 9));
         s[s.Top].Update(s.m_device, 3, 0, true);
     },
     {Scene::Bottom, Scene::InnerBottom}},
    {"in another's space",
     [](Scene& s) {
         TransformNode::SharedParent const shared(s[s.Bottom], s[s.Beside]);
         s[s.Bottom].Update(s.m_device, 0);
     },
     {}},
    {"for long in another's space",
     [](Scene& s) {
         s.m_pShared = std::make_unique<TransformNode::SharedParent>(s[s.Bottom], s[s.InnerBottom]);
         s.Drive([&s] { s[s.InnerTop].GetPositionProperty().SetValue(Vector3(s.m_frame, 0, 0)); });
     },
     {Scene::Bottom}},
    {"a class with an update of its own", [](Scene&) {}, {Scene::Fading, Scene::BelowFading}, true},
    {"a class that computes its place",
     [](Scene& s) { s[s.Moved].GetPositionProperty().SetValue(Vector3(7, 8, 9)); },
     {Scene::Moved, Scene::BelowMoved}},
    {"a handler that writes before and behind",
     [](Scene& s) {
         s.Drive([&s] {
             s[s.Middle].GetPositionProperty().SetValue(Vector3(s.m_frame, 0, 0));
             s[s.BelowSpare].GetPositionProperty().SetValue(Vector3(0, s.m_frame, 0));
         });
         s[s.Beside].Attach(&s[s.Spare]);
     },
     {Scene::Beside, Scene::BelowSpare},
     true},
    {"a handler that attaches and detaches",
     [](Scene& s) {
         s.Drive([&s] {
             Node& parent = s[s.BelowSpare].GetParent() == &s[s.Bottom] ? s[s.Spare] : s[s.Bottom];
             parent.Attach(&s[s.BelowSpare]);
         });
         s[s.Beside].Attach(&s[s.Spare]);
     },
     {Scene::Beside, Scene::Spare}},
    {"a handler that adds a controller behind",
     [](Scene& s) {
         s[s.Beside].Attach(&s[s.Spare]);
         s.Update();
         s.Update();
         s.Update();
         s.Drive([&s] {
             if (s[s.Spare].GetPositionProperty().GetControllerCount() == 0) {
                 Ramp(s[s.Spare].GetPositionProperty(), Vector3(30, 0, 0));
             }
         });
     },
     {Scene::Beside, Scene::Spare, Scene::BelowSpare},
     true},
    {"a handler that updates the timeline",
     [](Scene& s) {
         s.Drive([&s] {
             static bool s_fInside = false;
             if (!s_fInside) {
                 s_fInside = true;
                 s[s.Middle].Attach(&s[s.Spare]);
                 s.m_pRoot->Update(s.m_device, s.m_frame, 0, false);
                 s_fInside = false;
             }
         });
     },
     {Scene::Beside},
     true},
};

/** What the places' nodes have now. */
std::vector<std::pair<Matrix, RealFloat>> Look(Scene const& scene) {
    std::vector<std::pair<Matrix, RealFloat>> seen;
    for (Ref<TransformNode> const& pNode : scene.m_nodes) {
        seen.emplace_back(pNode->GetWorldMatrix(), pNode->GetOpacity());
    }
    return seen;
}

TEST(Still, WhateverChangesIsTakenUpAsIfAllWereUpdated) {
    for (Change const& change : Changes) {
        Scene still, forced;
        for (Scene::Place place :
             {Scene::Top, Scene::Middle, Scene::Bottom, Scene::InnerBottom, Scene::Beside}) {
            ASSERT_TRUE(still.IsAsleep(place)) << change.m_pName << " " << place;
        }
        for (int nRound = 0; nRound < 4; ++nRound) {
            SCOPED_TRACE(change.m_pName + std::string(" ") + std::to_string(nRound));
            auto const before = Look(still);
            for (Scene* pScene : {&still, &forced}) {
                pScene->m_place.m_value.x += 1;
                pScene->m_opacity.m_value += RealFloat(0.1);
                if (nRound == 0) {
                    change.m_do(*pScene);
                }
                pScene->Update(pScene == &forced);
            }
            auto const after = Look(still);
            EXPECT_TRUE(after == Look(forced));
            for (Scene::Place place : change.m_places) {
                EXPECT_TRUE(after[place] != before[place] || (nRound != 0 && !change.m_fGoesOn)) << place;
            }
        }
    }
}

TEST(Still, WhatNothingCanChangeIsLeftOutAndNothingElse) {
    Scene scene;
    EXPECT_FALSE(scene.IsAsleep(Scene::BelowFading)) << "it follows a class that tells nothing";
    EXPECT_FALSE(scene.IsAsleep(Scene::Spare)) << "it is in no tree";
    Ref<TestEffect> const pEffect(new TestEffect);
    scene[Scene::Bottom].AddEffect(pEffect.Get());
    scene.Update();
    scene.Update();
    EXPECT_EQ(pEffect->m_nUpdates, 2u);
    scene[Scene::Bottom].RemoveEffect(pEffect.Get());
    scene.Update();
    EXPECT_TRUE(scene.IsAsleep(Scene::Bottom));
    // One that changes goes to sleep again, and so do those below; what stands beside them sleeps on.
    scene[Scene::Top].GetPositionProperty().SetValue(Vector3());
    EXPECT_FALSE(scene.IsAsleep(Scene::Top));
    scene.Update();
    EXPECT_FALSE(scene.IsAsleep(Scene::Middle));
    EXPECT_TRUE(scene.IsAsleep(Scene::Beside));
    scene.Update();
    EXPECT_TRUE(scene.IsAsleep(Scene::Top) && scene.IsAsleep(Scene::Bottom) &&
                scene.IsAsleep(Scene::InnerBottom));
    // A class with a place of its own computes it for each change once.
    Shifted const& shifted = static_cast<Shifted&>(scene[Scene::Moved]);
    unsigned int const nComputed = shifted.m_nComputed;
    scene.Update();
    EXPECT_EQ(shifted.m_nComputed, nComputed);
    // A property that is registered late is driven all the same.
    RealProperty glow;
    Ramp(glow, RealFloat(4));
    scene.Update();
    scene.Update();
    EXPECT_TRUE(scene.IsAsleep(Scene::Bottom));
    scene[Scene::Bottom].GetProperties().Register(u"Glow", &glow);
    scene.Update();
    EXPECT_EQ(glow.GetValue(), 4 * scene.m_frame);
    scene[Scene::Bottom].GetProperties().Clear();
    // A copy is updated once on its own account.
    Ref<Node> const pCopy(scene[Scene::Top].CloneTree());
    EXPECT_FALSE(static_cast<PlainNode&>(*pCopy).IsAsleep());
}

TEST(Still, NobodySleepsWhileAllAreAskedFor) {
    struct Counting : UpdateObserver {
        unsigned int m_nBegun = 0;
        void BeginUpdate(Node&) override { ++m_nBegun; }
    } counting;
    Scene scene;
    UpdateObserver* const pBefore = UpdateObserver::Set(&counting);
    scene.Update();
    EXPECT_EQ(counting.m_nBegun, 11u) << "all in the tree";
    UpdateObserver::Set(pBefore);
    scene.Update(true);
    EXPECT_FALSE(scene.IsAsleep(Scene::Bottom));
    // Without memory for the list all are updated, too.
    scene.Update();
    scene[Scene::Middle].GetPositionProperty().SetValue(Vector3(1, 1, 1));
    scene.m_pRoot->Attach(&scene[Scene::Beside]);
    Allocation::FailAfter(0);
    scene.Update();
    Allocation::FailNever();
    Matrix const shown = scene[Scene::Bottom].GetWorldMatrix();
    scene.Update(true);
    EXPECT_EQ(scene[Scene::Bottom].GetWorldMatrix(), shown);
}

TEST(Still, ATimelineWithAListAndAWalkOfItsOwnIsAskedForBoth) {
    class Own : public TestTimeline {
    public:
        void BuildUpdateTree() override { m_fSubtreeChanged = false; }
        void UpdateTree(List<TreeNode<Node*>*>& /*tree*/, GraphicsDevice& device, RealFloat const& frame,
                        RealFloat const& delta, bool fForce) override {
            GetChild(0)->Update(device, frame, delta, fForce);
        }
    };
    TestDevice device;
    Ref<Own> const pTimeline(new Own);
    Ref<PlainNode> const pNode = Make<PlainNode>("node");
    pTimeline->Attach(pNode.Get());
    for (RealFloat const x : {5, 6}) {
        pNode->GetPositionProperty().SetValue(Vector3(x, 0, 0));
        pTimeline->Update(device, 0);
        EXPECT_EQ(pNode->GetWorldMatrix().m[12], x);
    }
}

TEST(Still, ATimelineThatIsUpdatedWithTheTreeHasItsOwnTime) {
    class Flat : public TestTimeline {
    public:
        Flat() { m_fUpdatesSubtree = false; }
    };
    TestDevice device;
    Ref<TestTimeline> const pTimeline = Make<TestTimeline>("timeline");
    Ref<Flat> const pFlat(new Flat);
    pTimeline->Attach(pFlat.Get());
    pFlat->Play();
    for (int nUpdate = 0; nUpdate < 3; ++nUpdate) {
        pTimeline->Update(device, 0, pFlat->GetFrameDelay(), false);
    }
    EXPECT_EQ(pFlat->GetFrame(), 3);
}

TEST(Still, ATimelineWithAWalkOfItsOwnIsAskedForIt) {
    class Counting : public TestTimeline {
    public:
        unsigned int m_nWalked = 0;
        void UpdateTree(List<TreeNode<Node*>*>& tree, GraphicsDevice& device, RealFloat const& frame,
                        RealFloat const& delta, bool fForce) override {
            m_nWalked += tree.GetCount();
            TestTimeline::UpdateTree(tree, device, frame, delta, fForce);
        }
    };
    TestDevice device;
    Ref<Counting> const pTimeline(new Counting);
    Ref<PlainNode> const pNode = Make<PlainNode>("node");
    pTimeline->Attach(pNode.Get());
    for (unsigned int nUpdate = 1; nUpdate < 5; ++nUpdate) {
        pTimeline->Update(device, 0);
        EXPECT_EQ(pTimeline->m_nWalked, nUpdate);
        EXPECT_FALSE(pNode->IsAsleep());
    }
}

} // namespace
} // namespace trevik::kelvo::test
