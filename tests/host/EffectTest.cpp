#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TestNodes.h"

namespace trevik::kelvo::test {
namespace {

/** A sprite with an effect. */
struct Lit {
    TestDevice m_device;
    Ref<TestSprite> m_pSprite = Make<TestSprite>("lit");
    Ref<TestEffect> m_pEffect = Ref<TestEffect>(new TestEffect);

    Lit() { m_pSprite->AddEffect(m_pEffect.Get()); }
    void Update(RealFloat frame = 0) { m_pSprite->Update(m_device, frame); }
};

TEST(Effect, FetchesItsResourceWhenItIsFirstDrawnWith) {
    Lit lit;
    lit.m_device.m_pResource = new EffectResource;
    lit.Update();
    EXPECT_EQ(lit.m_pEffect->m_nUpdates, 1u);
    EXPECT_FALSE(lit.m_pEffect->IsInitialized());
    EXPECT_EQ(lit.m_device.m_nResourceRequests, 0u);
    EXPECT_TRUE(lit.m_pEffect->Prepare(lit.m_device));
    EXPECT_EQ(lit.m_pEffect->m_pGiven, lit.m_device.m_pResource.Get());
    EXPECT_TRUE(lit.m_pEffect->Prepare(lit.m_device));
    EXPECT_EQ(lit.m_device.m_nResourceRequests, 1u);
    EXPECT_FALSE(Ref<Effect>(lit.m_pEffect->Clone())->IsInitialized()) << "a copy fetches its own";
}

TEST(Effect, WithoutAResourceItSaysSoOnceAndTriesAgainWhenTheDeviceChanges) {
    Lit lit;
    TraceLog log;
    Effect& effect = *lit.m_pEffect;
    EXPECT_FALSE(effect.Prepare(lit.m_device));
    EXPECT_FALSE(effect.Prepare(lit.m_device));
    EXPECT_EQ(lit.m_device.m_nResourceRequests, 1u);
    lit.m_device.SetViewport(0, 0, 3, 2);
    EXPECT_FALSE(effect.Prepare(lit.m_device));
    lit.m_device.m_pResource = new EffectResource;
    lit.m_device.SetViewport(0, 0, 3, 2);
    EXPECT_FALSE(effect.Prepare(lit.m_device)) << "the viewport is what it was";
    EXPECT_EQ(lit.m_device.m_nResourceRequests, 2u);
    EXPECT_EQ(log.GetLines().size(), 1u);
    TestDevice other;
    other.m_pResource = lit.m_device.m_pResource;
    EXPECT_TRUE(effect.Prepare(other));
}

TEST(Effect, ItsPropertiesFollowTheNodesFrames) {
    Lit lit;
    lit.m_device.m_pResource = new EffectResource;
    Animate<RealFloat>(lit.m_pEffect->GetAmountProperty(), 0, {0, 1});
    lit.Update(RealFloat(0.5));
    EXPECT_EQ(lit.m_pEffect->GetAmountProperty().GetValue(), RealFloat(0.5));
}

TEST(Effect, NodesHoldEffectsAndMasksByReference) {
    Lit lit;
    EXPECT_EQ(lit.m_pEffect->GetReferenceCount(), 2);
    Ref<TestEffect> const pStranger(new TestEffect);
    lit.m_pSprite->RemoveEffect(pStranger.Get());
    lit.m_pSprite->AddEffect(nullptr);
    EXPECT_EQ(lit.m_pSprite->GetEffects().GetCount(), 1u);
    lit.m_pSprite->RemoveEffect(lit.m_pEffect.Get());
    EXPECT_EQ(lit.m_pEffect->GetReferenceCount(), 1);
    Ref<Mask> const pMask(new Mask);
    lit.m_pSprite->AddMask(pMask.Get());
    EXPECT_EQ(pMask->GetReferenceCount(), 2);
    lit.m_pSprite->RemoveMask(pMask.Get());
    lit.m_pSprite->RemoveMask(pMask.Get());
    EXPECT_EQ(pMask->GetReferenceCount(), 1);
    lit.m_pSprite->AddMask(pMask.Get());
    lit.m_pSprite.Reset();
    EXPECT_EQ(pMask->GetReferenceCount(), 1);
}

TEST(Mask, HoldsWholeTrianglesAlone) {
    Vector3 const corners[6] = {Vector3(0, 0, 0), Vector3(1, 0, 0), Vector3(0, 1, 0),
                                Vector3(5, 5, 5), Vector3(6, 5, 5), Vector3(5, 6, 5)};
    Ref<Mask> const pMask(new Mask);
    EXPECT_EQ(pMask->GetGeometry().m_nVertexCount, 0u);
    ASSERT_TRUE(pMask->SetTriangles(corners, 6));
    EXPECT_FALSE(pMask->SetTriangles(corners, 4));
    EXPECT_EQ(pMask->GetGeometry().m_nVertexCount, 6u) << "as it was";
    EXPECT_NE(pMask->GetGeometry().m_pVertices, corners) << "a copy";
    Ref<Mask> const pCopy(pMask->Clone());
    pMask->SetTriangles(nullptr, 0);
    EXPECT_EQ(pCopy->GetGeometry().m_pVertices[5], Vector3(5, 6, 5));
    EXPECT_FALSE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), *pCopy));
    EXPECT_EQ(pCopy->GetGeometry().m_nVertexCount, 6u);
}

} // namespace
} // namespace trevik::kelvo::test
