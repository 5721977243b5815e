// Trees that change at random, compared after each update with what their properties alone say.

#include "kelvo_test/TestNodes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace trevik::kelvo::test {
namespace {

/** Node space to parent space by definition: position + R · (scale · stretch · (p + pivot)). */
Matrix LocalMatrixOf(TransformNode& node) {
    return Matrix4Translation(node.GetPivotProperty().GetValue()) *
           Matrix4Scale(node.GetScaleProperty().GetValue()) *
           Matrix4Scale(node.GetStretchProperty().GetValue()) *
           Matrix4RotationEulerXYZ(node.GetRotationProperty().GetValue()) *
           Matrix4Translation(node.GetPositionProperty().GetValue());
}

/** A root with nodes that come and go. */
class ChangingTree {
public:
    explicit ChangingTree(unsigned int nSeed) : m_random(nSeed) {
        m_device.m_fNoting = false;
        m_nodes.push_back(Make<TestTimeline>("root"));
        for (int nNode = 0; nNode < 12; ++nNode) {
            m_nodes.push_back(Ref(nNode % 3 == 0 ? new TestTimeline : new TransformNode));
            m_plain.push_back(new PlainNode);
            m_nodes.push_back(Ref<TransformNode>(m_plain.back()));
            m_sprites.push_back(new TestSprite);
            m_nodes.push_back(Ref<TransformNode>(m_sprites.back()));
        }
    }

    void Change() {
        TransformNode& node = *m_nodes[1 + Pick(m_nodes.size() - 1)];
        TransformNode& other = *m_nodes[Pick(m_nodes.size())];
        m_place.m_value = Place();
        m_factors.m_value = Factors();
        m_opacity.m_value = Number(0, 1);
        m_visible.m_value = Pick(2) == 0;
        switch (Pick(20)) {
        case 0:
        case 1:
            return other.Attach(&node);
        case 16:
            return node.CalculateTransform();
        case 17:
            return node.Update(m_device, Number(0, 2), 0, Pick(2) == 0);
        case 18:
            return node.InternalUpdate(m_device, Number(0, 2), 0, false);
        case 19:
            return m_nodes[0]->GetOpacityProperty().SetValue(Number(0.5, 1));
        case 2:
            return other.AttachBefore(&node, ChildOf(other));
        case 3:
            return other.AttachAfter(&node, ChildOf(other));
        case 4:
            return node.GetParent() ? node.GetParent()->Detach(&node) : void();
        case 5:
            return node.GetOpacityProperty().SetValue(Number(-0.25, 1.25));
        case 6:
            return Animate<Vector3>(node.GetPositionProperty(), 0, {Place(), Place(), Place()});
        case 7:
            node.GetPositionProperty().RemoveControllers();
            return;
        case 8:
            node.GetRotationProperty().Bind(Pick(3) == 0 ? &m_place : nullptr);
            return node.GetRotationProperty().SetValue(Vector3(Number(-180, 180), 0, Number(-180, 180)));
        case 9:
            node.GetVisibleProperty().SetValue(Pick(3) != 0);
            node.GetVisibleProperty().Bind(Pick(3) == 0 ? &m_visible : nullptr);
            return;
        case 10:
            node.GetPositionProperty().Bind(Pick(2) == 0 ? &m_place : nullptr);
            node.GetOpacityProperty().Bind(Pick(2) == 0 ? &m_opacity : nullptr);
            return;
        case 11:
            node.GetPivotProperty().Bind(Pick(3) == 0 ? &m_place : nullptr);
            node.GetStretchProperty().Bind(Pick(3) == 0 ? &m_factors : nullptr);
            node.GetScaleProperty().Bind(Pick(2) == 0 ? &m_factors : nullptr);
            return;
        case 12:
            return node.GetPositionProperty().SetValue(Place());
        case 13:
            return node.GetPivotProperty().SetValue(Place());
        case 14:
            return node.GetScaleProperty().SetValue(Factors());
        default:
            return node.GetStretchProperty().SetValue(Factors());
        }
    }

    /** Takes all bindings and controllers away, so that nodes can come to rest. */
    void Unbind() {
        for (Ref<TransformNode> const& pNode : m_nodes) {
            for (Vector3Property* pProperty :
                 {&pNode->GetPositionProperty(), &pNode->GetRotationProperty(), &pNode->GetPivotProperty(),
                  &pNode->GetStretchProperty(), &pNode->GetScaleProperty()}) {
                pProperty->Bind(nullptr);
                pProperty->RemoveControllers();
            }
            pNode->GetOpacityProperty().Bind(nullptr);
        }
    }

    unsigned int CountAsleep() const {
        unsigned int nAsleep = 0;
        for (PlainNode const* pNode : m_plain) {
            nAsleep += pNode->IsAsleep() ? 1 : 0;
        }
        return nAsleep;
    }

    void Update() {
        for (TestSprite* pSprite : m_sprites) {
            pSprite->m_nUpdates = 0;
        }
        m_nodes[0]->Update(m_device, Number(0, 2), Number(0, 1), Pick(8) == 0);
    }

    /** Checks the subtree of `node`, which stands in the given space. Returns the number of nodes. */
    unsigned int Check(TransformNode& node, Matrix const& space, RealFloat opacity) {
        Matrix const world = LocalMatrixOf(node) * space;
        Matrix const shown = node.GetWorldMatrix();
        for (unsigned int n = 0; n < 16; ++n) {
            EXPECT_NEAR(shown.m[n], world.m[n], 1e-3 + 1e-4 * std::fabs(world.m[n])) << "element " << n;
        }
        RealFloat const own = node.GetOpacityProperty().GetValue();
        RealFloat const product = opacity * (own < 0 ? 0 : own > 1 ? 1 : own);
        EXPECT_NEAR(node.GetOpacity(), product, 1e-5);
        EXPECT_EQ(node.IsHidden(), !node.GetVisibleProperty().GetValue() || !(node.GetOpacity() > 0));
        unsigned int nCount = 1;
        for (Node* pChild : node.GetChildren()) {
            EXPECT_EQ(pChild->GetParent(), &node);
            EXPECT_EQ(pChild->GetReferenceCount(), 2) << "the parent's and this test's";
            nCount += Check(*pChild->GetTransformNode(), world, product);
        }
        return nCount;
    }
    unsigned int Check() { return Check(*m_nodes[0], Matrix::Identity, 1); }

    /** Each sprite below the root was updated once by the last update, no other one. */
    void CheckCounts() {
        for (TestSprite* pSprite : m_sprites) {
            List<Ref<Node>> parents;
            pSprite->GetParents(nullptr, parents);
            bool const fBelow = !parents.IsEmpty() && parents.Last() == m_nodes[0].Get();
            EXPECT_EQ(pSprite->m_nUpdates, fBelow ? 1u : 0u);
        }
    }

private:
    std::size_t Pick(std::size_t nCount) { return m_random() % nCount; }
    RealFloat Number(double low, double high) {
        return static_cast<RealFloat>(low + (high - low) * double(m_random() % 1000) / 1000);
    }
    Vector3 Place() { return Vector3(Number(-50, 50), Number(-50, 50), Number(-50, 50)); }
    Vector3 Factors() { return Vector3(Number(-1.5, 1.5), Number(-1.5, 1.5), Number(-1.5, 1.5)); }
    Node* ChildOf(TransformNode& node) {
        return node.GetChildCount() == 0
                   ? nullptr
                   : node.GetChild(static_cast<unsigned int>(Pick(node.GetChildCount())));
    }
    Elsewhere<Vector3> m_place;
    Elsewhere<Vector3> m_factors;
    Elsewhere<RealFloat> m_opacity;
    Elsewhere<bool> m_visible;
    TestDevice m_device;
    std::mt19937 m_random;
    std::vector<Ref<TransformNode>> m_nodes; // the root first
    std::vector<TestSprite*> m_sprites;      // those of them that are sprites
    std::vector<PlainNode*> m_plain;         // and those that may rest
};

TEST(NodeChanges, UpdatedTreesAreWhatTheirPropertiesSay) {
    TraceLog refused; // nodes that are to be attached below themselves
    unsigned int nLargest = 0, nAsleep = 0;
    for (unsigned int nSeed = 1; nSeed <= 20 && !testing::Test::HasFailure(); ++nSeed) {
        ChangingTree tree(nSeed);
        for (int nRound = 0; nRound < 150 && !testing::Test::HasFailure(); ++nRound) {
            SCOPED_TRACE("seed " + std::to_string(nSeed) + " round " + std::to_string(nRound));
            for (int nChange = nRound % 5; nChange >= 0; --nChange) {
                tree.Change();
            }
            if (nRound % 10 == 0) {
                tree.Unbind();
            }
            nAsleep += tree.CountAsleep();
            tree.Update();
            unsigned int const nNodes = tree.Check();
            nLargest = nNodes > nLargest ? nNodes : nLargest;
            tree.CheckCounts();
            for (int nQuiet = nRound % 4; nQuiet > 0; --nQuiet) {
                tree.Update(); // what has just changed is left out from the second time on
            }
        }
    }
    EXPECT_GT(nLargest, 15u) << "trees large enough to matter";
    EXPECT_GT(nAsleep, 500u) << "nodes were left out";
    EXPECT_FALSE(refused.Messages().empty());
}

} // namespace
} // namespace trevik::kelvo::test
