#include <gtest/gtest.h>

#include "TestNodes.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo::test {
namespace {

typedef TransformNode Group;

/** A parent with children a, b and c. */
struct Family {
    Ref<Group> m_pParent = Make<Group>("parent");
    Ref<Group> m_pA = Make<Group>("a");
    Ref<Group> m_pB = Make<Group>("b");
    Ref<Group> m_pC = Make<Group>("c");

    Family() {
        for (Group* pChild : {m_pA.Get(), m_pB.Get(), m_pC.Get()}) {
            m_pParent->Attach(pChild);
        }
    }
    std::string Order() const { return ChildNames(*m_pParent); }
};

TEST(Node, ChildrenStandWhereTheyAreAttached) {
    struct Case {
        char const* m_pWhat;
        void (*m_pfnChange)(Family&, Node*);
        char const* m_pOrder;
    };
    Case const cases[] = {
        {"attach appends", [](Family& f, Node* n) { f.m_pParent->Attach(n); }, "a b c n"},
        {"before", [](Family& f, Node* n) { f.m_pParent->AttachBefore(n, f.m_pB.Get()); }, "a n b c"},
        {"after", [](Family& f, Node* n) { f.m_pParent->AttachAfter(n, f.m_pB.Get()); }, "a b n c"},
        {"before a stranger", [](Family& f, Node* n) { f.m_pParent->AttachBefore(n, f.m_pParent.Get()); },
         "a b c n"},
        {"after null", [](Family& f, Node* n) { f.m_pParent->AttachAfter(n, nullptr); }, "a b c n"},
        {"again, to the end", [](Family& f, Node*) { f.m_pParent->Attach(f.m_pA.Get()); }, "b c a"},
        {"moved down", [](Family& f, Node*) { f.m_pParent->AttachAfter(f.m_pA.Get(), f.m_pB.Get()); },
         "b a c"},
        {"moved up", [](Family& f, Node*) { f.m_pParent->AttachBefore(f.m_pC.Get(), f.m_pA.Get()); },
         "c a b"},
        {"before itself", [](Family& f, Node*) { f.m_pParent->AttachBefore(f.m_pB.Get(), f.m_pB.Get()); },
         "a b c"},
        {"after itself", [](Family& f, Node*) { f.m_pParent->AttachAfter(f.m_pB.Get(), f.m_pB.Get()); },
         "a b c"},
        {"detached", [](Family& f, Node*) { f.m_pParent->Detach(f.m_pB.Get()); }, "a c"},
        {"a stranger detached", [](Family& f, Node* n) { f.m_pParent->Detach(n); }, "a b c"},
    };
    for (Case const& c : cases) {
        Family family;
        Ref<Group> const pNew = Make<Group>("n");
        c.m_pfnChange(family, pNew.Get());
        EXPECT_EQ(family.Order(), c.m_pOrder) << c.m_pWhat;
        for (Node* pChild : family.m_pParent->GetChildren()) {
            EXPECT_EQ(pChild->GetParent(), family.m_pParent.Get()) << c.m_pWhat;
        }
    }
}

TEST(Node, AChildOfAnotherParentIsMovedAlive) {
    Family from;
    Ref<Group> const pTo = Make<Group>("to");
    Node* const pMoved = from.m_pB.Get();
    from.m_pB.Reset(); // only the old parent holds it now
    pTo->Attach(pMoved);
    EXPECT_EQ(from.Order(), "a c");
    EXPECT_EQ(ChildNames(*pTo), "b");
    EXPECT_EQ(pMoved->GetReferenceCount(), 1);
}

TEST(Node, WhatWouldMakeACycleIsRefusedWithATrace) {
    Family family;
    Ref<Group> const pDeep = Make<Group>("deep");
    family.m_pA->Attach(pDeep.Get());
    TraceLog log;
    pDeep->Attach(family.m_pParent.Get());
    pDeep->AttachBefore(family.m_pA.Get(), nullptr);
    pDeep->AttachAfter(pDeep.Get(), nullptr);
    pDeep->Attach(nullptr);
    EXPECT_EQ(log.GetLines().size(), 4u);
    EXPECT_NE(log.GetLines()[0].find("/parent/a/deep"), std::string::npos) << log.GetLines()[0];
    EXPECT_EQ(pDeep->GetChildCount(), 0u);
    EXPECT_EQ(family.Order(), "a b c");
}

TEST(Node, NothingHoldsWhatKeepsItAlive) {
    // What a timeline looks through and what a text stands before, each in front of the other and behind it.
    TestDevice device;
    Ref<TestTimeline> const pTimeline = Make<TestTimeline>("timeline");
    Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
    Ref<TestText> const pText = Make<TestText>("text");
    Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
    Ref<Group> const pGroup = Make<Group>("group");
    TraceLog log;
    pTimeline->SetCamera(pCamera.Get());
    pCamera->Attach(pTimeline.Get());
    pText->SetBackground(pSprite.Get());
    pSprite->Attach(pGroup.Get());
    pGroup->Attach(pText.Get());
    // A ring over both: timeline, camera, text, sprite, group.
    pCamera->Attach(pText.Get());
    pGroup->Attach(pTimeline.Get());
    EXPECT_EQ(log.GetLines().size(), 3u);
    pTimeline->SetCamera(nullptr);
    pGroup->Attach(pTimeline.Get());
    pTimeline->SetCamera(pCamera.Get());
    pCamera->Detach(pText.Get());
    pGroup->Detach(pTimeline.Get());
    pText->SetBackground(nullptr);
    pGroup->Attach(pText.Get());
    pText->SetBackground(pSprite.Get());
    EXPECT_EQ(log.GetLines().size(), 5u);
    EXPECT_EQ(pText->GetBackground(), nullptr);
    EXPECT_EQ(pTimeline->GetCamera(), nullptr);
    EXPECT_EQ(ChildNames(*pCamera) + ChildNames(*pTimeline), "") << "nothing is left of what was refused";
    pSprite->Update(device, 0);
    pSprite->Render(device);
    EXPECT_EQ(Ref<Node>(pSprite->CloneTree())->FindNode(Name("text"))->GetName(), Name("text"));
}

TEST(Node, TreesHaveSoManyLevelsAndNoMore) {
    TestDevice device;
    Ref<TestSprite> const pBottom = Make<TestSprite>("bottom");
    Ref<Node> pChain = MakeChain(Node::MaximumDepth - 1, pBottom.Get());
    TraceLog log;
    Ref<Group> const pTop = Make<Group>("top");
    Ref<Group> const pRoof = Make<Group>("roof");
    pTop->Attach(pChain.Get());
    pRoof->Attach(pTop.Get());
    pBottom->Attach(pRoof.Get());
    EXPECT_EQ(log.GetLines().size(), 2u);
    EXPECT_EQ(pTop->GetParent(), nullptr);
    // Over what is held, too.
    pTop->Detach(pChain.Get());
    Ref<TestText> const pText = Make<TestText>("text");
    Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
    pSprite->Attach(pChain.Get());
    pText->SetBackground(pSprite.Get());
    EXPECT_EQ(pText->GetBackground(), nullptr);
    pSprite->Detach(pChain.Get());
    pText->SetBackground(pSprite.Get());
    pSprite->Attach(pChain.Get());
    EXPECT_EQ(pSprite->GetChildCount(), 0u);
    EXPECT_EQ(log.GetLines().size(), 4u);
    pTop->Attach(pChain.Get());
    pTop->GetPositionProperty().SetValue(Vector3(1, 2, 3));
    pTop->Update(device, 0);
    EXPECT_EQ(Origin(pBottom->GetWorldMatrix()), Vector3(1, 2, 3));
    pTop->Render(device);
    EXPECT_EQ(device.m_calls, std::vector<std::string>{"draw bottom"});
    Ref<Node> const pCopy(pTop->CloneTree());
    ASSERT_TRUE(pCopy);
    EXPECT_NE(pCopy->FindNode(Name("bottom")), nullptr);
}

TEST(Node, WithoutMemoryAChildStaysWhereItWas) {
    Family from;
    Ref<Group> const pTo = Make<Group>("to");
    TraceLog log;
    Allocation::FailAfter(0);
    pTo->Attach(from.m_pA.Get());
    Allocation::FailNever();
    EXPECT_EQ(from.Order(), "a b c");
    EXPECT_EQ(from.m_pA->GetParent(), from.m_pParent.Get());
    EXPECT_EQ(pTo->GetChildCount(), 0u);
}

TEST(Node, DetachedChildrenAreReleased) {
    Family family;
    EXPECT_EQ(family.m_pA->GetReferenceCount(), 2);
    family.m_pParent->Detach(family.m_pA.Get());
    EXPECT_EQ(family.m_pA->GetReferenceCount(), 1);
    EXPECT_EQ(family.m_pA->GetParent(), nullptr);
    // Whoever keeps a child sees no dead parent, not even while another one goes.
    struct Mourner : NodeUserdata {
        Node const& m_sibling;
        Node const*& m_pSeen;
        Mourner(Node const& sibling, Node const*& pSeen) : m_sibling(sibling), m_pSeen(pSeen) {}
        ~Mourner() override { m_pSeen = m_sibling.GetParent(); }
    };
    Ref<Group> const pKept = family.m_pB;
    Node const* pSeen = pKept.Get();
    family.m_pC->SetUserData(Ref<NodeUserdata>(new Mourner(*pKept, pSeen)));
    family.m_pC.Reset();
    family.m_pParent.Reset();
    EXPECT_EQ(pSeen, nullptr);
    EXPECT_EQ(pKept->GetParent(), nullptr);
}

TEST(Node, ASubtreeThatSomebodyKeepsSurvivesItsParent) {
    Ref<Group> pTop = Make<Group>("top");
    Ref<Group> const pMiddle = Make<Group>("middle");
    Ref<Group> pLow = Make<Group>("low");
    pTop->Attach(pMiddle.Get());
    pMiddle->Attach(pLow.Get());
    pLow.Reset();
    pTop.Reset();
    EXPECT_EQ(ChildNames(*pMiddle), "low");
}

TEST(Node, KnowsItsAncestorsUpToARoot) {
    Family family;
    Ref<Group> const pDeep = Make<Group>("deep");
    family.m_pA->Attach(pDeep.Get());
    List<Ref<Node>> all;
    pDeep->GetParents(nullptr, all);
    ASSERT_EQ(all.GetCount(), 2u);
    EXPECT_EQ(all[0], family.m_pA);
    EXPECT_EQ(all[1], family.m_pParent);
    List<Ref<Node>> some;
    pDeep->GetParents(family.m_pA.Get(), some);
    EXPECT_EQ(some.GetCount(), 1u);
}

TEST(Node, FindsTheFirstNodeOfANameInDrawingOrder) {
    Family family;
    Ref<Group> const pDeep = Make<Group>("twin");
    family.m_pA->Attach(pDeep.Get());
    family.m_pB->SetName(Name("twin"));
    EXPECT_EQ(family.m_pParent->FindNode(Name("twin")), pDeep.Get());
    EXPECT_EQ(family.m_pParent->FindNode(Name("nobody")), nullptr);
}

TEST(Node, ThePathOfANodeWithoutANameShowsItsPlace) {
    Family family;
    family.m_pB->SetName(String16());
    Ref<Group> const pDeep = Make<Group>("deep");
    family.m_pB->Attach(pDeep.Get());
    EXPECT_EQ(std::string(String8(pDeep->GetPath()).GetData()), "/parent/#1/deep");
}

TEST(Node, VisitsEachNodeAsWhatItIs) {
    struct Visitor : NodeVisitor {
        std::string m_visits;
        void Add(char const* kind, Node& node) {
            m_visits += std::string(kind) + TestDevice::NameOf(node) + " ";
        }
        void VisitNode(Node& node, void*) override { Add("node:", node); }
        void VisitDrawable(TransformNode& node, void*) override { Add("drawable:", node); }
        void VisitCamera(Camera& node, void*) override { Add("camera:", node); }
        void VisitGroup(TransformNode& node, void*) override { Add("group:", node); }
        void VisitTimeline(Timeline& node, void* pArgument) override {
            Add(pArgument == this ? "timeline:" : "argument lost:", node);
        }
    };
    Ref<TestTimeline> const pRoot = Make<TestTimeline>("r");
    Ref<Group> const pGroup = Make<Group>("g");
    Ref<TestSprite> const pSprite = Make<TestSprite>("s");
    Ref<TestCamera> const pCamera = Make<TestCamera>("c");
    pRoot->Attach(pGroup.Get());
    pGroup->Attach(pSprite.Get());
    pRoot->Attach(pCamera.Get());
    Visitor visitor;
    pRoot->Accept(visitor, &visitor);
    EXPECT_EQ(visitor.m_visits, "timeline:r node:g drawable:s camera:c ");
}

TEST(Node, ACopyHasItsOwnParts) {
    TestDevice device;
    Ref<TestSprite> const pSprite = Make<TestSprite>("s");
    pSprite->AddEffect(new TestEffect);
    pSprite->AddMask(new Mask);
    pSprite->SetUserData(new NodeUserdata);
    Animate<Vector3>(pSprite->GetPositionProperty(), 0, {Vector3(0, 0, 0), Vector3(10, 0, 0)});
    Ref<Node> const pCopy(pSprite->Clone());
    TransformNode& copy = *pCopy->GetTransformNode();
    EXPECT_NE(copy.GetEffects()[0], pSprite->GetEffects()[0]);
    EXPECT_NE(copy.GetMasks()[0], pSprite->GetMasks()[0]);
    EXPECT_EQ(copy.GetUserData(), nullptr);
    // The copy's own properties are registered: it follows its controller, its model stays where it is.
    copy.Update(device, 1);
    EXPECT_EQ(Origin(copy.GetWorldMatrix()), Vector3(10, 0, 0));
    EXPECT_EQ(Origin(pSprite->GetWorldMatrix()), Vector3(0, 0, 0));
}

TEST(Node, ReportsItsSubtreeOnce) {
    Family family;
    MemoryTracer tracer;
    tracer.EmitObject(family.m_pParent.Get());
    tracer.EmitObject(family.m_pA.Get());
    EXPECT_EQ(tracer.GetBytes(MemoryType::Object), 4 * sizeof(Group));
}

TEST(Node, ReportsWhatAnimatesItEvenBeforeItsFirstUpdate) {
    Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
    Ref<TestEffect> const pEffect(new TestEffect);
    pSprite->AddEffect(pEffect.Get());
    Animate<RealFloat>(pSprite->GetOpacityProperty(), 0, {0, 1});
    Animate<RealFloat>(pEffect->GetAmountProperty(), 0, {0, 1, 2});
    MemoryTracer tracer;
    tracer.EmitObject(pSprite.Get());
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Property), 4u) << "controllers and samples, of both";
    EXPECT_EQ(tracer.GetBytes(MemoryType::Property),
              2 * sizeof(SampleController<RealFloat>) + 5 * sizeof(RealFloat));
}

TEST(Node, ChangesMadeWhileTheTreeIsUpdatedAreTakenUp) {
    // A handler that swaps its sibling for a new node while the timeline walks its flattened tree.
    struct Swapper {
        TestTimeline* m_pRoot;
        Node* m_pOld;
        Node* m_pNew;
        void Swap(Vector3 const&) {
            m_pRoot->Detach(m_pOld);
            m_pRoot->Attach(m_pNew);
        }
    };
    TestDevice device;
    Ref<TestTimeline> const pRoot = Make<TestTimeline>("root");
    Ref<TestSprite> const pActor = Make<TestSprite>("actor");
    Node* const pOld = new TestSprite; // the timeline alone holds it
    Ref<TestSprite> const pNew = Make<TestSprite>("new");
    pRoot->Attach(pActor.Get());
    pRoot->Attach(pOld);
    Animate<Vector3>(pActor->GetPositionProperty(), 0, {Vector3(0, 0, 0)});
    Swapper swapper{pRoot.Get(), pOld, pNew.Get()};
    pRoot->Update(device, 0);
    pActor->GetPositionProperty().GetChangeEvent().Connect(member_function(&swapper, &Swapper::Swap));
    pRoot->Update(device, 1);
    EXPECT_EQ(pNew->m_nUpdates, 1u);
    EXPECT_EQ(ChildNames(*pRoot), "actor new");
}

} // namespace
} // namespace trevik::kelvo::test
