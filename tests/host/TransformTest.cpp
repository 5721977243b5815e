#include <gtest/gtest.h>

#include <cmath>

#include "TestNodes.h"

namespace trevik::kelvo::test {
namespace {

constexpr RealFloat Pi = RealFloat(3.14159265358979);

void ExpectNear(Vector3 const& actual, Vector3 const& expected, RealFloat tolerance = RealFloat(1e-4)) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

/** What the class promises, written down straight: position + R · (scale · stretch · (p + pivot)). */
Vector3 Place(TransformNode& node, Vector3 p) {
    Vector3 const pivot = node.GetPivotProperty().GetValue();
    Vector3 const scale = node.GetScaleProperty().GetValue();
    Vector3 const stretch = node.GetStretchProperty().GetValue();
    Vector3 const degrees = node.GetRotationProperty().GetValue();
    p = Vector3(scale.x * stretch.x * (p.x + pivot.x), scale.y * stretch.y * (p.y + pivot.y),
                scale.z * stretch.z * (p.z + pivot.z));
    RealFloat const x = degrees.x * Pi / 180;
    RealFloat const y = degrees.y * Pi / 180;
    RealFloat const z = degrees.z * Pi / 180;
    p = Vector3(p.x, std::cos(x) * p.y - std::sin(x) * p.z, std::sin(x) * p.y + std::cos(x) * p.z);
    p = Vector3(std::cos(y) * p.x + std::sin(y) * p.z, p.y, -std::sin(y) * p.x + std::cos(y) * p.z);
    p = Vector3(std::cos(z) * p.x - std::sin(z) * p.y, std::sin(z) * p.x + std::cos(z) * p.y, p.z);
    return node.GetPositionProperty().GetValue() + p;
}

/** A node in a node, both transformed every way. */
struct Pair {
    TestDevice m_device;
    Ref<TransformNode> m_pOuter = Make<TransformNode>("outer");
    Ref<TransformNode> m_pInner = Make<TransformNode>("inner");

    Pair() {
        m_pOuter->Attach(m_pInner.Get());
        Set(*m_pOuter, 1);
        Set(*m_pInner, 2);
    }
    static void Set(TransformNode& node, RealFloat seed) {
        node.GetPositionProperty().SetValue(Vector3(10 * seed, -3, 7));
        node.GetRotationProperty().SetValue(Vector3(20, 30 * seed, -50));
        node.GetPivotProperty().SetValue(Vector3(-1, 4, seed));
        node.GetScaleProperty().SetValue(Vector3(2, seed, -1));
        node.GetStretchProperty().SetValue(Vector3(RealFloat(0.5), 3, 1));
    }
    void Update(bool fForce = false) { m_pOuter->Update(m_device, 0, 0, fForce); }
    void ExpectPlaced(char const* pWhat) {
        SCOPED_TRACE(pWhat);
        for (Vector3 const& p : {Vector3(0, 0, 0), Vector3(1, 0, 0), Vector3(0, 1, 0), Vector3(2, -3, 5)}) {
            ExpectNear(Apply(m_pOuter->GetWorldMatrix(), p), Place(*m_pOuter, p), RealFloat(1e-3));
            ExpectNear(Apply(m_pInner->GetWorldMatrix(), p), Place(*m_pOuter, Place(*m_pInner, p)),
                       RealFloat(1e-3));
        }
    }
};

TEST(Transform, AMovedNodeEndsUpExactlyWhereAFreshOneWould) {
    // Only the origin is computed anew when nothing but the position has changed; not a bit may differ.
    Pair moved;
    moved.Update();
    Pair fresh;
    for (Pair* pPair : {&moved, &fresh}) {
        pPair->m_pInner->GetPositionProperty().SetValue(Vector3(RealFloat(0.1), RealFloat(-7.3), 1000));
        pPair->Update();
    }
    EXPECT_EQ(moved.m_pInner->GetWorldMatrix(), fresh.m_pInner->GetWorldMatrix());
    moved.Update(true);
    EXPECT_EQ(moved.m_pInner->GetWorldMatrix(), fresh.m_pInner->GetWorldMatrix());
}

TEST(Transform, IsUpdatedBesideASiblingWhileItSharesTheParent) {
    Pair pair;
    pair.m_pOuter->GetOpacityProperty().SetValue(RealFloat(0.5));
    pair.Update();
    Ref<TransformNode> const pGuest = Make<TransformNode>("guest");
    Ref<TransformNode> const pChild = Make<TransformNode>("child");
    Pair::Set(*pGuest, 3);
    pGuest->Attach(pChild.Get());
    Vector3 const p(2, -3, 5);
    {
        TransformNode::SharedParent const parent(*pGuest, *pair.m_pInner);
        pGuest->Update(pair.m_device, 0);
        EXPECT_EQ(pGuest->GetParent(), nullptr);
    }
    ExpectNear(Apply(pGuest->GetWorldMatrix(), p), Place(*pair.m_pOuter, Place(*pGuest, p)), RealFloat(1e-3));
    ExpectNear(Apply(pChild->GetWorldMatrix(), p), Place(*pair.m_pOuter, Place(*pGuest, p)), RealFloat(1e-3));
    EXPECT_EQ(pGuest->GetOpacity(), RealFloat(0.5));
    EXPECT_EQ(pChild->GetOpacity(), RealFloat(0.5));
    // Afterwards it is its own master, whatever becomes of the parent.
    pGuest->Update(pair.m_device, 0);
    ExpectNear(Apply(pGuest->GetWorldMatrix(), p), Place(*pGuest, p), RealFloat(1e-3));
    EXPECT_EQ(pGuest->GetOpacity(), 1);
    // One with a parent gets it back, from which it is not even moved; beside a sibling without a parent it
    // has none.
    Ref<TransformNode> const pOwn = Make<TransformNode>("own");
    pOwn->GetPositionProperty().SetValue(Vector3(100, 0, 0));
    pOwn->Attach(pGuest.Get());
    {
        TransformNode::SharedParent const parent(*pGuest, *pair.m_pOuter);
        pGuest->Update(pair.m_device, 0);
        ExpectNear(Apply(pGuest->GetWorldMatrix(), p), Place(*pGuest, p), RealFloat(1e-3));
    }
    pOwn->Update(pair.m_device, 0);
    ExpectNear(Apply(pGuest->GetWorldMatrix(), p), Vector3(100, 0, 0) + Place(*pGuest, p), RealFloat(1e-3));
}

TEST(Transform, CanBeComputedOutsideAnUpdate) {
    Pair pair;
    pair.Update();
    pair.m_pOuter->GetPositionProperty().SetValue(Vector3(5, 5, 5));
    pair.m_pOuter->CalculateTransform();
    ExpectNear(Origin(pair.m_pOuter->GetWorldMatrix()), Place(*pair.m_pOuter, Vector3(0, 0, 0)));
    pair.Update(); // the child takes it up all the same
    pair.ExpectPlaced("after CalculateTransform");
}

TEST(Transform, AValueThatIsNoNumberDoesNotStick) {
    Pair pair;
    pair.m_pInner->GetPositionProperty().SetValue(Vector3(std::nanf(""), 0, 0));
    pair.m_pInner->GetOpacityProperty().SetValue(std::nanf(""));
    pair.Update();
    EXPECT_EQ(pair.m_pInner->GetOpacity(), 0);
    pair.m_pInner->GetPositionProperty().SetValue(Vector3(1, 1, 1));
    pair.Update();
    pair.ExpectPlaced("after a value that was no number");
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
    pMover->Update(device, 0);
    EXPECT_EQ(Origin(pChild->GetWorldMatrix()), Vector3(1, 0, 0));
    pMover->Update(device, 0);
    EXPECT_EQ(Origin(pChild->GetWorldMatrix()), Vector3(2, 0, 0));
    EXPECT_EQ(pChild->GetOpacity(), RealFloat(0.5));
}

/** Three sprites: a parent with a child, and one beside them. */
struct Picture {
    TestDevice m_device;
    Ref<TransformNode> m_pRoot = Make<TransformNode>("root");
    Ref<TestSprite> m_pParent = Make<TestSprite>("parent");
    Ref<TestSprite> m_pChild = Make<TestSprite>("child");
    Ref<TestSprite> m_pOther = Make<TestSprite>("other");

    Picture() {
        m_pRoot->Attach(m_pParent.Get());
        m_pParent->Attach(m_pChild.Get());
        m_pRoot->Attach(m_pOther.Get());
        for (TestSprite* pSprite : {m_pParent.Get(), m_pChild.Get(), m_pOther.Get()}) {
            pSprite->GetSizeProperty().SetValue(SizeT<int>(10, 20));
        }
    }
    std::string Draw() {
        m_pRoot->Update(m_device, 0);
        m_device.m_calls.clear();
        m_pRoot->Render(m_device);
        std::string drawn;
        for (std::string const& call : m_device.m_calls) {
            drawn += call.substr(5) + " ";
        }
        return drawn;
    }
    std::string Pick(RealFloat x, RealFloat y) {
        m_pRoot->Update(m_device, 0);
        m_device.m_calls.clear();
        List<SelectionPoint> const hits = Select(m_device, *m_pRoot, Vector2(x, y));
        EXPECT_TRUE(m_device.m_calls.empty()) << "nothing is drawn while selecting";
        std::string names;
        for (SelectionPoint const& hit : hits) {
            names += TestDevice::NameOf(*hit.m_pNode) + " ";
        }
        return names;
    }
};

TEST(Transform, HiddenSubtreesAreNeitherDrawnNorSelected) {
    Picture picture;
    EXPECT_EQ(picture.Draw(), "parent child other ");
    EXPECT_EQ(picture.Pick(5, 5), "other child parent ");
    picture.m_pParent->GetVisibleProperty().SetValue(false);
    EXPECT_EQ(picture.Draw(), "other ");
    EXPECT_EQ(picture.Pick(5, 5), "other ");
    picture.m_pParent->GetVisibleProperty().SetValue(true);
    picture.m_pParent->GetOpacityProperty().SetValue(0);
    EXPECT_EQ(picture.Draw(), "other ");
    picture.m_pParent->GetOpacityProperty().SetValue(RealFloat(0.01));
    EXPECT_EQ(picture.Draw(), "parent child other ");
}

TEST(Transform, HitsAreThoseUnderThePointNearestFirst) {
    Picture picture;
    picture.m_pChild->GetPositionProperty().SetValue(Vector3(3, 0, 5));
    picture.m_pOther->GetPositionProperty().SetValue(Vector3(0, 10, -5));
    struct Case {
        RealFloat m_x;
        RealFloat m_y;
        char const* m_pHits;
    };
    Case const cases[] = {{5, 5, "child parent "},
                          {12, 5, "child "},
                          {1, 25, "other "},
                          {-1, 5, ""},
                          {5, 31, ""},
                          {10, 20, "child parent other "},
                          {RealFloat(13.5), 20, ""},
                          {0, 0, "parent "}};
    for (Case const& c : cases) {
        EXPECT_EQ(picture.Pick(c.m_x, c.m_y), c.m_pHits) << c.m_x << ", " << c.m_y;
    }
}

TEST(Transform, AHitTellsWhereAndHowFar) {
    Picture picture;
    picture.m_pParent->GetScaleProperty().SetValue(Vector3(2, 2, 1));
    picture.m_pParent->GetPositionProperty().SetValue(Vector3(0, 0, 50));
    picture.m_pRoot->Update(picture.m_device, 0);
    List<SelectionPoint> hits;
    picture.m_device.SetSelectionMode(Vector2(5, 30), &hits);
    picture.m_pParent->InternalSelect(picture.m_device);
    ASSERT_EQ(hits.GetCount(), 1u);
    EXPECT_NEAR(hits[0].m_position.x, 0.25, 1e-5);
    EXPECT_NEAR(hits[0].m_position.y, 0.75, 1e-5);
    EXPECT_NEAR(hits[0].m_distance, 1.5, 1e-5) << "half the way from the eye at 100 to the plane at 0";
}

TEST(Transform, WhatLiesBehindTheEyeOrHasNoWidthIsNotHit) {
    Picture picture;
    picture.m_pRoot->Detach(picture.m_pParent.Get());
    EXPECT_EQ(picture.Pick(5, 5), "other ");
    picture.m_pOther->GetPositionProperty().SetValue(Vector3(0, 0, 101));
    EXPECT_EQ(picture.Pick(5, 5), "");
    picture.m_pOther->GetPositionProperty().SetValue(Vector3(0, 0, 0));
    picture.m_pOther->GetScaleProperty().SetValue(Vector3(0, 1, 1));
    EXPECT_EQ(picture.Pick(0, 5), "");
}

TEST(Transform, ANodeThatIsNotSelectableIsPassedOverButNotItsChildren) {
    Picture picture;
    picture.m_pParent->GetSelectableProperty().SetValue(false);
    EXPECT_EQ(picture.Pick(5, 5), "other child ");
    EXPECT_EQ(picture.Draw(), "parent child other ");
    Ref<Node> const pCopy(picture.m_pParent->Clone());
    EXPECT_FALSE(pCopy->GetTransformNode()->GetSelectableProperty().GetValue());
}

TEST(Transform, ASpriteIsSelectedInsideItsMasksOnly) {
    Picture picture;
    picture.m_pRoot->Detach(picture.m_pParent.Get());
    picture.m_pOther->GetPositionProperty().SetValue(Vector3(100, 0, 0));
    // The lower left half below 10, and a square in the upper right corner; a triangle without area hits
    // nothing.
    Vector3 const lower[] = {Vector3(0, 0, 0), Vector3(10, 0, 0), Vector3(0, 10, 0)};
    Vector3 const upper[] = {Vector3(5, 15, 0), Vector3(5, 15, 0),  Vector3(5, 15, 0),
                             Vector3(5, 15, 0), Vector3(10, 15, 0), Vector3(5, 20, 0),
                             Vector3(5, 20, 0), Vector3(10, 15, 0), Vector3(10, 20, 0)};
    Ref<Mask> const masks[] = {new Mask, new Mask};
    EXPECT_TRUE(masks[0]->SetTriangles(lower, 3));
    EXPECT_TRUE(masks[1]->SetTriangles(upper, 9));
    picture.m_pOther->AddMask(masks[0].Get());
    picture.m_pOther->AddMask(masks[1].Get());
    struct Case {
        RealFloat m_x, m_y;
        bool m_fHit;
    };
    Case const cases[] = {{1, 1, true},  {4, 5, true},   {6, 5, false},  {9, 9, false},   {6, 16, true},
                          {9, 19, true}, {4, 17, false}, {1, 19, false}, {11, 16, false}, {-1, 1, false}};
    for (Case const& c : cases) {
        EXPECT_EQ(picture.Pick(100 + c.m_x, c.m_y), c.m_fHit ? "other " : "") << c.m_x << ", " << c.m_y;
    }
    // Nothing is inside a mask without triangles.
    picture.m_pOther->RemoveMask(masks[0].Get());
    EXPECT_TRUE(masks[1]->SetTriangles(nullptr, 0));
    EXPECT_EQ(picture.Pick(106, 16), "");
    picture.m_pOther->RemoveMask(masks[1].Get());
    EXPECT_EQ(picture.Pick(106, 16), "other ");
}

TEST(Transform, SelectionUsesTheNodesCameraDepth) {
    Picture picture;
    picture.m_pRoot->Detach(picture.m_pParent.Get());
    picture.m_pOther->GetDepthProperty().SetValue(true);
    picture.Pick(5, 5);
    EXPECT_TRUE(picture.m_device.m_fDepth);
}

TEST(Transform, ACameraSeesAPhotographersFilm) {
    Ref<TestCamera> const pCamera = Make<TestCamera>("c");
    pCamera->SetupMillimeter(50, 60, 800, 480, true);
    RealFloat const halfWidth = 400;
    RealFloat const halfView = pCamera->GetHorizontalFieldOfViewProperty().GetValue() / 2 * Pi / 180;
    Vector3 const eye = pCamera->GetPositionProperty().GetValue();
    EXPECT_NEAR(std::tan(halfView), 30.0 / 50.0, 1e-5) << "half the film over the focal length";
    ExpectNear(eye, Vector3(400, 240, halfWidth / std::tan(halfView)), RealFloat(0.01));
    EXPECT_EQ(pCamera->GetViewRectangleProperty().GetValue(), RectangleT<RealFloat>(0, 0, 800, 480));
    EXPECT_FALSE(pCamera->GetOrthographicProperty().GetValue());
    EXPECT_LT(pCamera->GetNearProperty().GetValue(), eye.z / 2);
    EXPECT_GT(pCamera->GetFarProperty().GetValue(), eye.z * 2);

    Ref<TestCamera> const pFree = Make<TestCamera>("free");
    pFree->GetPositionProperty().SetValue(Vector3(1, 2, 3));
    pFree->SetupMillimeter(50, 60, 800, 480, false);
    EXPECT_EQ(pFree->GetPositionProperty().GetValue(), Vector3(1, 2, 3))
        << "not centred: it stays where it is";
    TraceLog log;
    pFree->SetupMillimeter(0, 60, 800, 480, true);
    EXPECT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(pFree->GetPositionProperty().GetValue(), Vector3(1, 2, 3));
}

} // namespace
} // namespace trevik::kelvo::test
