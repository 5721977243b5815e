#include "kelvo_test/TestNodes.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::test {
namespace {

TEST(Effect, FetchesItsResourceWhenItIsFirstDrawnWithAndAgainWhenTheDeviceChanges) {
    TestDevice device;
    TraceLog log;
    Ref<TestEffect> const pEffect(new TestEffect);
    Ref<TestSprite> const pSprite = Make<TestSprite>("lit");
    pSprite->AddEffect(pEffect.Get());
    Animate<RealFloat>(pEffect->GetAmountProperty(), 0, {0, 1});
    pSprite->Update(device, RealFloat(0.5));
    EXPECT_EQ(pEffect->m_nUpdates, 1u);
    EXPECT_EQ(pEffect->GetAmountProperty().GetValue(), RealFloat(0.5)) << "at the node's frame";
    EXPECT_EQ(device.m_nResourceRequests, 0u);
    EXPECT_FALSE(pEffect->Prepare(device));
    EXPECT_FALSE(pEffect->Prepare(device));
    EXPECT_EQ(device.m_nResourceRequests, 1u);
    device.SetViewport(0, 0, 3, 2);
    EXPECT_FALSE(pEffect->Prepare(device));
    device.m_pResource = Ref(new EffectResource);
    device.SetViewport(0, 0, 3, 2);
    EXPECT_FALSE(pEffect->Prepare(device)) << "the viewport is what it was";
    EXPECT_EQ(device.m_nResourceRequests, 2u);
    EXPECT_EQ(log.Messages().size(), 1u) << "said once";
    TestDevice other;
    other.m_pResource = device.m_pResource;
    EXPECT_TRUE(pEffect->Prepare(other) && pEffect->Prepare(other));
    EXPECT_EQ(other.m_nResourceRequests, 1u);
    EXPECT_EQ(pEffect->m_pGiven, other.m_pResource.Get());
    EXPECT_TRUE(pEffect->IsInitialized());
    EXPECT_FALSE(Ref<Effect>(pEffect->Clone())->IsInitialized()) << "a copy fetches its own";
}

TEST(Effect, NodesHoldEffectsAndMasksByReference) {
    Ref<TestSprite> pSprite = Make<TestSprite>("sprite");
    Ref<TestEffect> const effects[] = {Ref(new TestEffect), Ref(new TestEffect)};
    Ref<Mask> const masks[] = {Ref(new Mask), Ref(new Mask)};
    auto const count = [&] {
        return std::vector<long>{effects[0]->GetReferenceCount(), effects[1]->GetReferenceCount(),
                                 masks[0]->GetReferenceCount(), masks[1]->GetReferenceCount()};
    };
    for (int n : {0, 1}) {
        pSprite->AddEffect(effects[n].Get());
        pSprite->AddMask(masks[n].Get());
    }
    pSprite->AddEffect(nullptr);
    EXPECT_EQ(count(), (std::vector<long>{2, 2, 2, 2}));
    for (int n : {0, 1}) {
        static_cast<void>(n); // the second time it is none of the node's
        pSprite->RemoveEffect(effects[0].Get());
        pSprite->RemoveMask(masks[0].Get());
    }
    EXPECT_EQ(count(), (std::vector<long>{1, 2, 1, 2}));
    EXPECT_EQ(pSprite->GetEffects().GetCount() + pSprite->GetMasks().GetCount(), 2u);
    pSprite.Reset();
    EXPECT_EQ(count(), (std::vector<long>{1, 1, 1, 1}));
}

TEST(Mask, HoldsWholeTrianglesAlone) {
    Vector3 const corners[6] = {Vector3(0, 0, 0), Vector3(1, 0, 0), Vector3(0, 1, 0), Vector3(5, 6, 5)};
    Ref<Mask> const pMask(new Mask);
    EXPECT_EQ(pMask->GetGeometry().m_nVertexCount + pMask->GetGeometry().m_nFlags, 0u);
    ASSERT_TRUE(pMask->SetTriangles(corners, 6));
    EXPECT_FALSE(pMask->SetTriangles(corners, 4));
    EXPECT_EQ(pMask->GetGeometry().m_nVertexCount, 6u) << "as it was";
    EXPECT_EQ(pMask->GetGeometry().m_nFlags, 0u);
    Ref<Mask> const pCopy(pMask->Clone());
    pMask->SetTriangles(nullptr, 0);
    EXPECT_EQ(pCopy->GetGeometry().m_pVertices[3], corners[3]);
}

} // namespace
} // namespace trevik::kelvo::test
