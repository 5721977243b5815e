#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/MemoryTracer.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::test {
namespace {

typedef TransformNode Group;

/** A parent with children a, b and c; further nodes are there as soon as they are named. */
class Family {
public:
    Family() {
        for (char const* pName : {"a", "b", "c"}) {
            Attach("parent", pName);
        }
    }
    Group* operator[](std::string const& sName) {
        for (Ref<Group> const& pNode : m_nodes) {
            if (pNode->GetName() == Name(sName.c_str())) {
                return pNode.Get();
            }
        }
        m_nodes.push_back(Make<Group>(sName.c_str()));
        return m_nodes.back().Get();
    }
    void Attach(char const* pParent, char const* pChild) { (*this)[pParent]->Attach((*this)[pChild]); }
    std::string GetOrder() { return ChildNames(*(*this)["parent"]); }

private:
    std::vector<Ref<Group>> m_nodes;
};

TEST(Node, ChildrenStandWhereTheyAreAttached) {
    char const* const cases[][2] = {
        {"n before b", "a n b c"}, {"n after b", "a b n c"}, {"n before x", "a b c n"},
        {"n after x", "a b c n"},  {"a before x", "b c a"},  {"a after b", "b a c"},
        {"c before a", "c a b"},   {"b before b", "a b c"},  {"b after b", "a b c"},
    };
    for (auto const& [pWhat, pOrder] : cases) {
        Family family;
        std::string const what = pWhat;
        Node* const pChild = family[what.substr(0, 1)];
        Node* const pSibling = family[what.substr(what.size() - 1)];
        what.find("before") == 2 ? family["parent"]->AttachBefore(pChild, pSibling)
                                 : family["parent"]->AttachAfter(pChild, pSibling);
        EXPECT_EQ(family.GetOrder(), pOrder) << what;
        family["parent"]->Detach(family["stranger"]);
        EXPECT_EQ(family.GetOrder(), pOrder) << what;
    }
}

TEST(Node, WhatCannotBeAttachedIsRefused) {
    Family family;
    family.Attach("a", "");
    family.Attach("", "deep");
    TraceLog log;
    family.Attach("deep", "parent");
    family["deep"]->AttachBefore(family["a"], nullptr);
    family["deep"]->AttachAfter(family["deep"], nullptr);
    family["deep"]->Attach(nullptr);
    std::string const sRefused = "[kelvo] /parent/a/#0/deep: the node to attach is ";
    std::string const sCycle = sRefused + "this node itself or keeps it alive";
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{sCycle, sCycle, sCycle, sRefused + "null"}));
    Allocation::FailAfter(0);
    family["deep"]->Attach(family["b"]);
    Allocation::FailNever();
    EXPECT_EQ(family["deep"]->GetChildCount(), 0u);
    EXPECT_EQ(family.GetOrder(), "a b c");
    EXPECT_EQ(family["b"]->GetParent(), family["parent"]);
    Group* const parent = family["parent"];
    Group* const child = family["a"];
    parent->Detach(child);
    Allocation::FailAfter(0);
    parent->Attach(child);
    Allocation::FailNever();
    EXPECT_EQ(family.GetOrder(), "b c a") << "where there is room, no memory is needed";
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
    EXPECT_EQ(log.Messages().size(), 3u);
    pTimeline->SetCamera(nullptr);
    pGroup->Attach(pTimeline.Get());
    pTimeline->SetCamera(pCamera.Get());
    pCamera->Detach(pText.Get());
    pGroup->Detach(pTimeline.Get());
    pText->SetBackground(nullptr);
    pGroup->Attach(pText.Get());
    pText->SetBackground(pSprite.Get());
    EXPECT_EQ(log.Messages().size(), 5u);
    EXPECT_EQ(pText->GetBackground(), nullptr);
    EXPECT_EQ(pTimeline->GetCamera(), nullptr);
    EXPECT_EQ(ChildNames(*pCamera) + ChildNames(*pTimeline), "") << "nothing is left of what was refused";
    // Of two that look through it one looks away.
    Ref<TestTimeline> const pOther = Make<TestTimeline>("other");
    pOther->SetCamera(pCamera.Get());
    pTimeline->SetCamera(pCamera.Get());
    pOther->SetCamera(nullptr);
    pCamera->Attach(pOther.Get());
    pCamera->Attach(pTimeline.Get());
    EXPECT_EQ(ChildNames(*pCamera), "other");
}

TEST(Node, TreesHaveSoManyLevelsAndNoMore) {
    Ref<TestSprite> const pBottom = Make<TestSprite>("bottom");
    Ref<Node> const pChain = MakeChain(Node::MaximumDepth - 1, pBottom.Get());
    Ref<Group> const pTop = Make<Group>("top");
    Ref<Group> const pRoof = Make<Group>("roof");
    TraceLog log;
    pTop->Attach(pChain.Get());
    pRoof->Attach(pTop.Get());
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
    EXPECT_EQ(log.Messages().size(), 3u);
    pTop->Attach(pChain.Get());
    pTop->GetPositionProperty().SetValue(Vector3(1, 2, 3));
    TestDevice device;
    pTop->Update(device, 0);
    EXPECT_EQ(Origin(pBottom->GetWorldMatrix()), Vector3(1, 2, 3));
    EXPECT_NE(Ref<Node>(pTop->CloneTree())->FindNode(Name("bottom")), nullptr);
}

TEST(Node, WhatSomebodyKeepsSurvivesItsParentAlone) {
    Ref<Group> pTop = Make<Group>("top");
    Ref<Group> const pMiddle = Make<Group>("middle");
    pTop->Attach(pMiddle.Get());
    pMiddle->Attach(Make<Group>("low").Get());
    pTop.Reset();
    EXPECT_EQ(pMiddle->GetParent(), nullptr);
    EXPECT_EQ(ChildNames(*pMiddle), "low");
}

TEST(Node, KnowsWhatIsAboveAndBelow) {
    Family family;
    family.Attach("a", "deep");
    List<Ref<Node>> all;
    family["deep"]->GetParents(nullptr, all);
    ASSERT_EQ(all.GetCount(), 2u);
    EXPECT_TRUE(all[0].Get() == family["a"] && all[1].Get() == family["parent"]);
    List<Ref<Node>> some;
    family["deep"]->GetParents(family["a"], some);
    EXPECT_EQ(some.GetCount(), 1u);
    family["b"]->SetName(Name("deep"));
    EXPECT_EQ(family["parent"]->FindNode(Name("deep")), family["a"]->GetChild(0)) << "in drawing order";
    EXPECT_EQ(family["parent"]->FindNode(Name("nobody")), nullptr);
    MemoryTracer tracer;
    tracer.EmitObject(family["parent"]);
    tracer.EmitObject(family["a"]); // reported before
    EXPECT_EQ(tracer.GetBytes(MemoryType::Object), 5 * sizeof(Group));
}

TEST(Node, VisitsEachNodeAsWhatItIs) {
    struct Visitor : NodeVisitor {
        std::string m_visits;
        void Add(char const* kind, Node& node) { m_visits += kind + TestDevice::NameOf(node) + " "; }
        void VisitNode(Node& node, void*) override { Add("node:", node); }
        void VisitDrawable(TransformNode& node, void*) override { Add("drawable:", node); }
        void VisitCamera(Camera& node, void*) override { Add("camera:", node); }
        void VisitGroup(TransformNode& node, void*) override { Add("group:", node); }
        void VisitTimeline(Timeline& node, void* pArgument) override {
            Add(pArgument == this ? "timeline:" : "argument lost:", node);
        }
    } visitor;
    Ref<TestTimeline> const pRoot = Make<TestTimeline>("r");
    Ref<Group> const pGroup = Make<Group>("g");
    pRoot->Attach(pGroup.Get());
    pGroup->Attach(Make<TestSprite>("s").Get());
    pRoot->Attach(Make<TestCamera>("c").Get());
    pRoot->Accept(visitor, &visitor);
    EXPECT_EQ(visitor.m_visits, "timeline:r node:g drawable:s camera:c ");
}

TEST(Node, ACopyHasItsOwnParts) {
    TestDevice device;
    Ref<TestSprite> const pSprite = Make<TestSprite>("s");
    pSprite->AddEffect(new TestEffect);
    pSprite->AddMask(new Mask);
    pSprite->SetUserData(Ref(new NodeUserdata));
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

TEST(Node, ReportsWhatItHasEvenBeforeItsFirstUpdate) {
    Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
    Ref<TestEffect> const pEffect(new TestEffect);
    pSprite->AddEffect(pEffect.Get());
    Animate<RealFloat>(pSprite->GetOpacityProperty(), 0, {0, 1});
    Animate<RealFloat>(pEffect->GetAmountProperty(), 0, {0, 1, 2});
    Ref<Mask> const pMask(new Mask);
    Vector3 const corners[3] = {};
    pMask->SetTriangles(corners, 3);
    pSprite->AddMask(pMask.Get());
    MemoryTracer tracer;
    tracer.EmitObject(pSprite.Get());
    EXPECT_EQ(tracer.GetBytes(MemoryType::Object), sizeof(TestSprite) + sizeof(TestEffect));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Geometry), sizeof(corners));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Text), 12u) << "its name";
    EXPECT_EQ(tracer.GetBytes(MemoryType::Property),
              2 * sizeof(SampleController<RealFloat>) + 5 * sizeof(RealFloat));
}

TEST(Node, ChangesMadeWhileTheTreeIsUpdatedAreTakenUp) {
    TestDevice device;
    Ref<TestTimeline> const pRoot = Make<TestTimeline>("root");
    Ref<TestSprite> const pActor = Make<TestSprite>("actor");
    Node* const pOld = new TestSprite; // the timeline alone holds it
    Ref<TestSprite> const pNew = Make<TestSprite>("new");
    pRoot->Attach(pActor.Get());
    pRoot->Attach(pOld);
    Animate<Vector3>(pActor->GetPositionProperty(), 0, {Vector3(0, 0, 0)});
    pRoot->Update(device, 0);
    // A handler swaps the actor's sibling for a new node while the timeline walks its flattened tree.
    pActor->GetPositionProperty().GetChangeEvent().Connect([&](Vector3 const&) {
        pRoot->Detach(pOld);
        pRoot->Attach(pNew.Get());
    });
    pRoot->Update(device, 1);
    EXPECT_EQ(pNew->m_nUpdates, 1u);
    EXPECT_EQ(ChildNames(*pRoot), "actor new");
}

} // namespace
} // namespace trevik::kelvo::test
