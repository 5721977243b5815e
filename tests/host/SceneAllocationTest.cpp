#include <gtest/gtest.h>

#include "TextTestSupport.h"
#include "kelvo_test/AllocationCounter.h"

namespace trevik::kelvo::test {
namespace {

TEST(SceneAllocation, AFrameThatChangesNoTreeAllocatesNothing) {
    TestRegistry registry;
    TestDevice device;
    device.m_fNoting = false;
    device.m_pResource = new EffectResource;
    Ref<TestTimeline> const pRoot = Make<TestTimeline>("root");
    Ref<TestTimeline> pInner;
    std::vector<Vector3> const path = {Vector3(0, 0, 0), Vector3(2, 1, 0), Vector3(4, 0, 3)};
    for (int nGroup = 0; nGroup < 10; ++nGroup) {
        pInner = Make<TestTimeline>("inner");
        pInner->GetPlaybackModeProperty().SetValue(PlaybackMode::PingPong);
        pInner->GetLastFrameProperty().SetValue(2);
        pInner->SetTimeMapFunction(&Interpolate::SineInOut);
        Ref<TestCamera> const pCamera = Make<TestCamera>("camera");
        pCamera->GetPositionProperty().SetValue(Vector3(0, 0, 100));
        pInner->SetCamera(pCamera.Get());
        pInner->Play();
        pRoot->Attach(pInner.Get());
        Ref<TransformNode> const pGroup = Make<TransformNode>("group");
        pInner->Attach(pGroup.Get());
        for (int nSprite = 0; nSprite < 10; ++nSprite) {
            Ref<TestSprite> const pSprite = Make<TestSprite>("sprite");
            pSprite->GetSizeProperty().SetValue(SizeT<int>(10, 10));
            Animate(pSprite->GetPositionProperty(), 0, path);
            Animate(pSprite->GetRotationProperty(), 0, path);
            Animate<RealFloat>(pSprite->GetOpacityProperty(), 0, {RealFloat(0.5), 1, RealFloat(0.25)});
            pSprite->AddEffect(new TestEffect);
            pGroup->Attach(pSprite.Get());
        }
    }
    SquareText words(u"the quick brown fox\njumps over\tthe lazy dog");
    words.m_pText->GetShadowProperty().SetValue(true);
    words.SetBox(40);
    pRoot->Attach(words.m_pText.Get());
    List<SelectionPoint> hits;
    hits.Reserve(1000);
    auto const frame = [&](RealFloat n) {
        pRoot->Update(device, n, RealFloat(0.05), false);
        device.Clear();
        device.MergeOpacity(1);
        device.MergeTransformMatrix(Matrix::Identity);
        pRoot->Render(device);
        hits.Clear();
        device.SetSelectionMode(Vector2(5, 5), &hits);
        pRoot->Render(device);
        device.SetRenderMode();
    };
    frame(0);
    std::size_t const nBefore = AllocationCount();
    for (int n = 1; n < 20; ++n) {
        frame(static_cast<RealFloat>(n) / 8);
        words.SetBox(static_cast<RealFloat>(40 + n)); // a layout that needs no more room
    }
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_GT(hits.GetCount(), 0u);
    // The counter does count.
    pRoot->Attach(Make<TestSprite>("new").Get());
    frame(0);
    EXPECT_GT(AllocationCount(), nBefore);
}

} // namespace
} // namespace trevik::kelvo::test
