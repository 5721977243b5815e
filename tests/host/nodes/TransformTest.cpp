#include "Table.h"
#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <map>

namespace trevik::kelvo::test {
namespace {

/** A node that is transformed every way. */
Ref<TransformNode> MakeTurned(RealFloat seed, Node* pParent = nullptr) {
    Ref<TransformNode> const pNode = Make<TransformNode>("turned");
    pNode->GetPositionProperty().SetValue(Vector3(10 * seed, -3, 7));
    pNode->GetRotationProperty().SetValue(Vector3(20, 30 * seed, -50));
    pNode->GetPivotProperty().SetValue(Vector3(-1, 4, seed));
    pNode->GetScaleProperty().SetValue(Vector3(2, seed, -1));
    pNode->GetStretchProperty().SetValue(Vector3(RealFloat(0.5), 3, 1));
    pNode->GetOpacityProperty().SetValue(RealFloat(0.5));
    if (pParent) {
        pParent->Attach(pNode.Get());
    }
    return pNode;
}

/** A turned node in a turned node; what changes in one is compared with what a fresh one gives. */
struct Pair {
    TestDevice m_device;
    Ref<TransformNode> m_pOuter = MakeTurned(1);
    Ref<TransformNode> m_pInner = MakeTurned(2, m_pOuter.Get());

    void Update(bool fForce = false) { m_pOuter->Update(m_device, 0, 0, fForce); }
    void MoveTo(Vector3 const& position) {
        m_pInner->GetPositionProperty().SetValue(position);
        Update();
    }
    Matrix GetWorldMatrix() const { return m_pInner->GetWorldMatrix(); }
};

TEST(Transform, AMovedNodeEndsUpExactlyWhereAFreshOneWould) {
    // Only the origin is computed anew when nothing but the position has changed; not a bit may differ.
    Vector3 const places[] = {Vector3(RealFloat(0.1), RealFloat(-7.3), 1000), Vector3(1, 1, 1)};
    Pair moved, fresh, other;
    moved.Update();
    moved.MoveTo(places[0]);
    fresh.MoveTo(places[0]);
    EXPECT_EQ(moved.GetWorldMatrix(), fresh.GetWorldMatrix());
    moved.Update(true);
    EXPECT_EQ(moved.GetWorldMatrix(), fresh.GetWorldMatrix());
    // A value that is no number does not stick.
    moved.m_pInner->GetOpacityProperty().SetValue(std::nanf(""));
    moved.MoveTo(Vector3(std::nanf(""), 0, 0));
    EXPECT_EQ(moved.m_pInner->GetOpacity(), 0);
    moved.MoveTo(places[1]);
    other.MoveTo(places[1]);
    EXPECT_EQ(moved.GetWorldMatrix(), other.GetWorldMatrix());
    // It can be computed outside an update; the child takes it up all the same.
    for (Pair* pPair : {&moved, &other}) {
        pPair->m_pOuter->GetPositionProperty().SetValue(places[0]);
    }
    moved.m_pOuter->CalculateTransform();
    other.Update();
    EXPECT_EQ(moved.m_pOuter->GetWorldMatrix(), other.m_pOuter->GetWorldMatrix());
    moved.Update();
    EXPECT_EQ(moved.GetWorldMatrix(), other.GetWorldMatrix());
}

TEST(Transform, IsUpdatedBesideASiblingWhileItSharesTheParent) {
    Pair pair;
    Ref<TransformNode> const pGuest = MakeTurned(3), pChild = MakeTurned(4, pGuest.Get());
    Ref<TransformNode> const pOther = MakeTurned(3), pOwn = MakeTurned(5);
    Ref<TransformNode> const pTwin = MakeTurned(3, pair.m_pOuter.Get()),
                             pTwinsChild = MakeTurned(4, pTwin.Get());
    pair.Update();
    pOther->Update(pair.m_device, 0);
    {
        TransformNode::SharedParent const parent(*pGuest, *pair.m_pInner);
        pGuest->Update(pair.m_device, 0);
        EXPECT_EQ(pGuest->GetParent(), nullptr);
    }
    EXPECT_EQ(pGuest->GetWorldMatrix(), pTwin->GetWorldMatrix());
    EXPECT_EQ(pChild->GetWorldMatrix(), pTwinsChild->GetWorldMatrix());
    EXPECT_EQ(pChild->GetOpacity(), RealFloat(0.125));
    // Afterwards it is its own master, whatever becomes of the parent.
    pGuest->Update(pair.m_device, 0);
    EXPECT_EQ(pGuest->GetWorldMatrix(), pOther->GetWorldMatrix());
    EXPECT_EQ(pGuest->GetOpacity(), RealFloat(0.5));
    // One with a parent gets it back, from which it is not even moved; beside a sibling without a parent it
    // has none.
    pOwn->Attach(pGuest.Get());
    {
        TransformNode::SharedParent const parent(*pGuest, *pair.m_pOuter);
        pGuest->Update(pair.m_device, 0);
        EXPECT_EQ(pGuest->GetWorldMatrix(), pOther->GetWorldMatrix());
    }
    pOwn->Update(pair.m_device, 0);
    EXPECT_EQ(pGuest->GetWorldMatrix(), pOther->GetWorldMatrix() * pOwn->GetWorldMatrix());
}

/** A node that is no TransformNode. */
class Mover : public Node {
public:
    TREVIK_NODE_REFLECTION(Mover, Node, "Mover", VisitNode)
    RealFloat m_x = 0;
    Matrix GetWorldMatrix() const override { return Matrix4Translation(Vector3(m_x, 0, 0)); }
    RealFloat GetOpacity() const override { return RealFloat(0.5); }
    void Render(GraphicsDevice&) override {}
    void Emit(MemoryTracer*) override {}
    void RegisterProperties() override {}
    void InternalUpdate(GraphicsDevice&, RealFloat const&, RealFloat const&, bool) override { m_x += 1; }
    bool InternalSave(Serializer&) override { return true; }
    bool InternalLoad(Deserializer&) override { return true; }
    void AddMask(Mask*) override {}
    void AddEffect(Effect*) override {}
    void CalculateTransform() override {}
    bool IsSelect(GraphicsDevice&, SizeT<int> const&, Vector2&, RealFloat&) override { return false; }
};

TEST(Transform, StandsUnderNodesThatHaveAMatrixOfTheirOwn) {
    TestDevice device;
    Ref<Mover> const pMover(new Mover);
    Ref<TransformNode> const pChild = Make<TransformNode>("child");
    pMover->Attach(pChild.Get());
    for (int n = 1; n < 3; ++n) {
        pMover->Update(device, 0);
        EXPECT_EQ(Origin(pChild->GetWorldMatrix()), Vector3(static_cast<RealFloat>(n), 0, 0));
    }
    EXPECT_EQ(pChild->GetOpacity(), RealFloat(0.5));
    // So does what shares the parent with such a node, and with that one, if there is memory to note it.
    for (bool const fMemory : {true, false}) {
        Ref<TransformNode> const pGuest = Make<TransformNode>("guest"), pOther = Make<TransformNode>("other");
        if (!fMemory) {
            Allocation::FailAfter(0);
        }
        {
            TransformNode::SharedParent const parent(*pGuest, *pChild), same(*pOther, *pGuest);
            Allocation::FailNever();
            for (Ref<TransformNode> const& pNode : {pGuest, pOther}) {
                pNode->Update(device, 0);
                EXPECT_EQ(Origin(pNode->GetWorldMatrix()), Vector3(fMemory ? 2 : 0, 0, 0));
                EXPECT_EQ(pNode->GetOpacity(), RealFloat(fMemory ? 0.5 : 1));
            }
        }
        pGuest->Update(device, 0);
        EXPECT_EQ(pGuest->GetWorldMatrix(), Matrix::Identity);
    }
}

bool AddMask(TransformNode& node, std::vector<RealFloat> const& values) {
    std::vector<Vector3> corners;
    for (std::size_t n = 0; n + 1 < values.size(); n += 2) {
        corners.push_back(Vector3(values[n], values[n + 1], 0));
    }
    Ref<Mask> const pMask(new Mask);
    node.AddMask(pMask.Get());
    return pMask->SetTriangles(corners.data(), static_cast<unsigned int>(corners.size()));
}

/**
 * Changes sprites, a parent with a child and one beside them, as "parent.Visible=0 other.mask=X,Y,X,Y,X,Y",
 * or the timelines around them, "film" in "outer", which are drawn when one is named; tells what is hit at
 * points, "@=X,Y", how far across and how far away, and what is drawn.
 */
std::string PickAndDraw(std::string const& sInput) {
    TestDevice device;
    Ref<TransformNode> pRoot = Make<TransformNode>("root");
    std::map<std::string, Ref<TransformNode>> nodes;
    if (sInput.find("film") != std::string::npos) {
        nodes["film"] = Make<TestTimeline>("film");
        nodes["outer"] = Make<TestTimeline>("outer");
        nodes["outer"]->Attach(nodes["film"].Get());
        nodes["film"]->Attach(pRoot.Get());
    }
    for (char const* pName : {"parent", "child", "other"}) {
        Node* const pParent = *pName == 'c' ? nodes["parent"].Get() : pRoot.Get();
        Ref<TestSprite> const pSprite = Make<TestSprite>(pName);
        pSprite->GetSizeProperty().SetValue(SizeT<int>(10, 20));
        pParent->Attach(pSprite.Get());
        nodes[pName] = pSprite;
    }
    pRoot = nodes.count("outer") != 0 ? nodes["outer"] : pRoot;
    std::ostringstream text;
    text << std::setprecision(4);
    std::istringstream words(sInput);
    for (std::string word; words >> word;) {
        std::size_t const nDot = word.find('.');
        Setting const setting(word[0] == '@' ? word : word.substr(nDot + 1));
        if (word[0] != '@') {
            TransformNode& node = *nodes.at(word.substr(0, nDot));
            if (setting.m_sName == "camera") {
                Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
                EXPECT_TRUE(
                    Setting("Position" + word.substr(word.find('='))).Apply(pCamera->GetProperties()));
                static_cast<Timeline&>(node).SetCamera(pCamera.Get());
            } else {
                EXPECT_TRUE(setting.m_sName == "mask" ? AddMask(node, setting.m_values)
                                                      : setting.Apply(node.GetProperties()));
            }
            continue;
        }
        text << "  " << word.substr(2) << ":";
        pRoot->Update(device, 0);
        for (SelectionPoint const& hit :
             Select(device, *pRoot, Vector2(setting.m_values[0], setting.m_values[1]))) {
            text << " " << TestDevice::NameOf(*hit.m_pNode) << " " << hit.m_position.x << ","
                 << hit.m_position.y << "," << hit.m_distance << (device.m_fDepth ? " depth" : "");
        }
        EXPECT_TRUE(device.m_cameras.empty() && device.m_nHiddenDepths == 0) << "popped again";
        text << "\n";
    }
    pRoot->Update(device, 0);
    pRoot->Render(device);
    for (std::string const& call : device.m_calls) {
        text << "  " << call << "\n";
    }
    return text.str();
}

TEST(Transform, TurnsWithinThePlaneWhateverSignsTheZerosHave) {
    TestDevice device;
    Ref<TransformNode> const pNode = Make<TransformNode>("turned");
    Matrix worlds[2];
    for (Matrix& world : worlds) {
        RealFloat const zero = &world == worlds ? 0.0f : -0.0f;
        pNode->GetRotationProperty().SetValue(Vector3(zero, zero, 180));
        pNode->Update(device, 0);
        world = pNode->GetWorldMatrix();
    }
    EXPECT_EQ(std::memcmp(&worlds[0], &worlds[1], sizeof(Matrix)), 0);
}

TEST(Transform, WithoutMemoryANodeIsTurnedAsSoonAsThereIsSome) {
    TestDevice device;
    Ref<TestSprite> const pParent(new TestSprite);
    Ref<TestSprite> const pNode(new TestSprite);
    pParent->Attach(pNode.Get());
    pParent->Update(device, 0);
    Matrix const before = pNode->GetWorldMatrix();
    pNode->GetScaleProperty().SetValue(Vector3(2, 3, 4));
    pNode->GetPositionProperty().SetValue(Vector3(5, 0, 0));
    Allocation::FailAfter(0);
    pParent->Update(device, 0);
    pParent->Update(device, 1);
    Allocation::FailNever();
    EXPECT_EQ(pNode->GetWorldMatrix(), before * Matrix4Translation(Vector3(5, 0, 0)));
    Ref<Node> const pCopy(pNode->Clone());
    pParent->Update(device, 2);
    EXPECT_EQ(pNode->GetWorldMatrix().m[0], 2);
    EXPECT_EQ(pNode->GetWorldMatrix().m[12], 5);
    EXPECT_EQ(pNode->GetLocalMatrix(), pNode->GetWorldMatrix());

    Allocation::FailAfter(0);
    Ref<TestSprite> const pShapeless(new TestSprite(*pNode));
    Allocation::FailNever();
    for (Ref<Node> const& pAny : {pCopy, Ref<Node>(pShapeless.Get())}) {
        pParent->Attach(pAny.Get());
        pParent->Update(device, 3);
        EXPECT_EQ(pAny->GetWorldMatrix(), pNode->GetWorldMatrix());
    }
}

TEST(Transform, TableOfWhatIsHitAndDrawn) {
    CompareTable("nodes/picks.txt", [](std::string const& s) { return s[0] == '#' ? "" : PickAndDraw(s); });
}

TEST(Transform, ACameraSeesAPhotographersFilm) {
    Ref<TestCamera> const pCamera = Make<TestCamera>("c"), pFree = Make<TestCamera>("free");
    pCamera->SetupMillimeter(50, 60, 800, 480, true);
    // Half the film over the focal length, which is as half the width over the distance.
    EXPECT_NEAR(pCamera->GetHorizontalFieldOfViewProperty().GetValue(), 61.9275, 1e-3);
    EXPECT_NEAR(pCamera->GetPositionProperty().GetValue().z, 400 / 0.6, 1e-3);
    EXPECT_EQ(pCamera->GetPositionProperty().GetValue().x, 400);
    EXPECT_EQ(pCamera->GetPositionProperty().GetValue().y, 240);
    EXPECT_EQ(pCamera->GetViewRectangleProperty().GetValue(), RectangleT<RealFloat>(0, 0, 800, 480));
    EXPECT_FALSE(pCamera->GetOrthographicProperty().GetValue());
    EXPECT_NEAR(pCamera->GetNearProperty().GetValue(), 40 / 0.6, 1e-3);
    EXPECT_NEAR(pCamera->GetFarProperty().GetValue(), 4000 / 0.6, 1e-2);
    TraceLog log;
    pFree->SetupMillimeter(50, 60, 800, 480, false); // not centred: it stays where it is
    pFree->SetupMillimeter(0, 60, 800, 480, true);
    EXPECT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(pFree->GetPositionProperty().GetValue(), Vector3());
}

} // namespace
} // namespace trevik::kelvo::test
