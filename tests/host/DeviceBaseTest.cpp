#include <gtest/gtest.h>

#include "TestNodes.h"
#include "trevik/Allocation.h"

#include <climits>

namespace trevik::kelvo::test {
namespace {

TEST(DeviceBase, ViewportsAreRectanglesAndAResetGivesOne) {
    TestDevice device;
    device.SetViewport(10, 20, 100, 50);
    EXPECT_EQ(device.GetViewport(), RectangleT<int>(10, 20, 110, 70));
    EXPECT_TRUE(device.Reset(RectangleT<int>(10, 10, 74, 42)));
    EXPECT_EQ(device.GetSize(), SizeT<int>(64, 32));
    EXPECT_EQ(device.GetViewport(), RectangleT<int>(10, 10, 74, 42));
}

TEST(DeviceBase, OpacitiesAreStacked) {
    TestDevice device;
    EXPECT_EQ(device.GetOpacity(), 1);
    device.PopOpacity(); // nothing to pop
    device.PushOpacity(RealFloat(0.5));
    device.MergeOpacity(RealFloat(0.5));
    EXPECT_EQ(device.GetOpacity(), RealFloat(0.25));
    device.PushOpacity(RealFloat(0.75));
    EXPECT_EQ(device.GetOpacity(), RealFloat(0.75)) << "push sets";
    device.PopOpacity();
    device.PopOpacity();
    EXPECT_EQ(device.GetOpacity(), RealFloat(0.5));
    device.PushOpacity(RealFloat(0.4));
    device.PushOpacity(RealFloat(0.3));
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
    EXPECT_EQ(device.GetOpacity(), 1) << "a frame starts with an empty stack";
}

TEST(DeviceBase, TransformsAreStackedInnerFirst) {
    TestDevice device;
    EXPECT_EQ(device.GetTransformMatrix(), Matrix::Identity);
    device.PopTransformMatrix();
    Matrix const move = Matrix4Translation(Vector3(10, 0, 0));
    Matrix const grow = Matrix4Scale(Vector3(2, 2, 2));
    device.PushTransformMatrix(move);
    device.MergeTransformMatrix(grow);
    EXPECT_EQ(Apply(device.GetTransformMatrix(), Vector3(1, 0, 0)), Vector3(12, 0, 0)) << "grown, then moved";
    device.PopTransformMatrix();
    EXPECT_EQ(device.GetTransformMatrix(), move);
    device.PushTransformMatrix(grow);
    EXPECT_EQ(device.GetTransformMatrix(), grow) << "push sets";
    device.Clear();
    EXPECT_EQ(device.GetTransformMatrix(), Matrix::Identity);
}

TEST(DeviceBase, AViewportEndsWhereNumbersEnd) {
    TestDevice device;
    GraphicsDevice& base = device;
    base.SetViewport(5, INT_MIN, INT_MAX, -5);
    EXPECT_EQ(base.GetViewport(), RectangleT<int>(5, INT_MIN, INT_MAX, INT_MIN));
    EXPECT_TRUE(base.Reset(RectangleT<int>(INT_MIN, INT_MAX, INT_MAX, INT_MIN)));
    EXPECT_EQ(base.GetSize(), SizeT<int>(INT_MAX, INT_MIN));
}

TEST(DeviceBase, HitsAreSortedAndOfEqualOnesTheLastComesFirst) {
    TestDevice device;
    Ref<TestSprite> const sprites[] = {Make<TestSprite>("0"), Make<TestSprite>("1"), Make<TestSprite>("2"),
                                       Make<TestSprite>("3"), Make<TestSprite>("4")};
    List<SelectionPoint> hits;
    device.PushSelected(sprites[0].Get(), Vector2(), 1); // not selecting: ignored
    device.SetSelectionMode(Vector2(7, 8), &hits);
    EXPECT_TRUE(device.IsSelectionMode());
    EXPECT_EQ(device.GetSelectionPoint(), Vector2(7, 8));
    RealFloat const distances[] = {5, RealFloat(5.00001), 2, 9, 5};
    for (int n = 0; n < 5; ++n) {
        device.PushSelected(sprites[n].Get(), Vector2(), distances[n]);
    }
    std::string names;
    for (SelectionPoint const& hit : hits) {
        names += TestDevice::NameOf(*hit.m_pNode);
    }
    EXPECT_EQ(names, "24103");
    device.SetRenderMode();
    EXPECT_FALSE(device.IsSelectionMode());
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
