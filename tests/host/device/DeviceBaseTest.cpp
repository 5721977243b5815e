#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <climits>

namespace trevik::kelvo::test {
namespace {

TEST(DeviceBase, ViewportsAreRectanglesAndEndWhereNumbersEnd) {
    TestDevice device;
    device.SetViewport(10, 20, 100, 50);
    EXPECT_EQ(device.GetViewport(), RectangleT<int>(10, 20, 110, 70));
    device.SetViewport(5, INT_MIN, INT_MAX, -5);
    EXPECT_EQ(device.GetViewport(), RectangleT<int>(5, INT_MIN, INT_MAX, INT_MIN));
    EXPECT_TRUE(device.Reset(RectangleT<int>(10, INT_MAX, 74, INT_MIN)));
    EXPECT_EQ(device.GetSize(), SizeT<int>(64, INT_MIN));
    EXPECT_EQ(device.GetViewport(), RectangleT<int>(10, INT_MAX, 74, INT_MIN));
}

TEST(DeviceBase, OpacitiesAndTransformsAreStackedUntilTheFrameEnds) {
    TestDevice device;
    device.PopOpacity(); // nothing to pop
    device.PopTransformMatrix();
    device.PushTransformMatrix(Matrix4Translation(Vector3(10, 0, 0)));
    device.MergeTransformMatrix(Matrix4Scale(Vector3(2, 2, 2)));
    EXPECT_EQ(Apply(device.GetTransformMatrix(), Vector3(1, 0, 0)), Vector3(12, 0, 0)) << "grown, then moved";
    device.MergeOpacity(RealFloat(0.5));
    device.MergeOpacity(RealFloat(0.5));
    EXPECT_EQ(device.GetOpacity(), RealFloat(0.25));
    device.PushOpacity(RealFloat(0.3)); // sets
    device.PushOpacity(RealFloat(0.2)); // the fourth: the stack is full
    Allocation::FailAfter(0);
    device.PushOpacity(RealFloat(0.1));
    Allocation::FailNever();
    device.PushOpacity(RealFloat(0.1));
    for (int n = 0; n < 3; ++n) {
        EXPECT_EQ(device.GetOpacity(), RealFloat(0.2)) << "pops take back their own pushes";
        device.PopOpacity();
    }
    EXPECT_EQ(device.GetOpacity(), RealFloat(0.3));
    device.Clear();
    EXPECT_EQ(device.GetOpacity(), 1);
    EXPECT_EQ(device.GetTransformMatrix(), Matrix::Identity);
}

TEST(DeviceBase, HitsAreSortedAndOfEqualOnesTheLastComesFirst) {
    TestDevice device;
    Ref<TestSprite> sprites[10];
    RealFloat const distances[] = {
        5, RealFloat(5.0004), 2, 9, RealFloat(9.0012), RealFloat(0.5), RealFloat(0.5), -5, -5, 5};
    List<SelectionPoint> hits;
    device.PushSelected(nullptr, Vector2(), 1); // not selecting: ignored
    device.SetSelectionMode(Vector2(7, 8), &hits);
    EXPECT_EQ(device.GetSelectionPoint(), Vector2(7, 8));
    for (int n = 0; n < 10; ++n) {
        sprites[n] = Make<TestSprite>(std::to_string(n).c_str());
        device.PushSelected(sprites[n].Get(), Vector2(), distances[n]);
    }
    std::string names;
    for (SelectionPoint const& hit : hits) {
        names += TestDevice::NameOf(*hit.m_pNode);
    }
    EXPECT_EQ(names, "8765291034");
}

TEST(DeviceBase, EffectResourcesComeFromTheDefaultRegistry) {
    TestDevice device;
    EXPECT_EQ(device.CreateEffectResource(HashName("TestResource")), nullptr) << "there is no registry";
    TestRegistry registry;
    Ref<EffectResource> const pResource(device.CreateEffectResource(HashName("TestResource")));
    ASSERT_TRUE(pResource);
    EXPECT_EQ(pResource->GetReferenceCount(), 1);
    EXPECT_TRUE(pResource->Init(device));
    EXPECT_EQ(device.CreateEffectResource(HashName("NoResource")), nullptr);
    EXPECT_EQ(device.CreateEffectResource(HashName("Sprite")), nullptr) << "something else";
}

} // namespace
} // namespace trevik::kelvo::test
