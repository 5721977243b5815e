// The camera stack, the matrices, the viewport and picking.

#include "CameraGL2.h"
#include "DeviceTest.h"
#include "trevik/Allocation.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Matrix = Matrix4T<RealFloat>;
using Point = Vector4T<RealFloat>;

/** Answers with matrices of its own. */
class OtherMatrices : public GraphicsDeviceGL2 {
public:
    Matrix GetViewMatrix() override { return Matrix4Translation(Vector3T<RealFloat>(1, 2, 0)); }
    Matrix GetProjectionMatrix() override {
        Matrix matrix = Matrix4Scale(Vector3T<RealFloat>(6, 10, 1));
        matrix[15] = 2;
        return matrix;
    }
    Matrix GetViewportMatrix() override {
        Matrix matrix = Matrix4Translation(Vector3T<RealFloat>(100, 200, 0));
        matrix[8] = 1; // to the right by depth
        return matrix;
    }
};

class Cameras : public DeviceTest {
protected:
    Cameras() { BringUp(640, 480); }
};

TEST_F(Cameras, TheStackHoldsReferencesAndItsBottomStays) {
    Camera* const pDefault = Device().GetActiveCamera();
    Ref<CameraGL2> const pCamera(new CameraGL2);
    Device().PushCamera(nullptr);
    EXPECT_EQ(Device().GetActiveCamera(), pDefault);
    Device().PushCamera(pCamera.Get());
    EXPECT_EQ(Device().GetActiveCamera(), pCamera.Get());
    EXPECT_EQ(pCamera->GetReferenceCount(), 2);
    Device().PopCamera();
    Device().PopCamera();
    EXPECT_EQ(Device().GetActiveCamera(), pDefault);
    EXPECT_EQ(pCamera->GetReferenceCount(), 1);
}

TEST_F(Cameras, ACameraThatFindsNoRoomIsNotPushedAndItsPopTakesNothing) {
    Ref<CameraGL2> const pBelow(new CameraGL2);
    Ref<CameraGL2> const pCamera(new CameraGL2);
    for (int n = 0; n < 4; ++n) {
        Device().PushCamera(pBelow.Get()); // the stack has room for four
    }
    Allocation::FailAfter(0);
    Device().PushCamera(pCamera.Get());
    Device().PushCamera2D(8, 8);
    Allocation::FailNever();
    Device().PushCamera(pCamera.Get()); // not on top of one that is missing
    EXPECT_EQ(pCamera->GetReferenceCount(), 1);
    for (int n = 0; n < 3; ++n) {
        EXPECT_EQ(Device().GetActiveCamera(), pBelow.Get());
        Device().PopCamera();
    }
    EXPECT_EQ(pBelow->GetReferenceCount(), 5);
    Device().PopCamera();
    EXPECT_EQ(pBelow->GetReferenceCount(), 4);
}

TEST_F(Cameras, ADepthFlagBelowANodeWithoutDepthStaysOff) {
    Camera* const pDefault = Device().GetActiveCamera();
    Device().PushCamera2D(101, 51);
    auto const drawsWithDefault = [&] {
        Device().SetCameraDepth(true);
        return Device().GetProjectionMatrix() == pDefault->GetProjectionMatrix();
    };
    Device().PushCameraDepth(true);
    EXPECT_TRUE(drawsWithDefault());
    Device().PushCameraDepth(false);
    Device().PushCameraDepth(false);
    Device().PopCameraDepth(false);
    EXPECT_FALSE(drawsWithDefault());
    Device().PopCameraDepth(true);
    EXPECT_FALSE(drawsWithDefault());
    Device().PopCameraDepth(false);
    EXPECT_TRUE(drawsWithDefault());
    Device().PopCameraDepth(false);
    EXPECT_TRUE(drawsWithDefault()) << "the count does not go below none";
    Device().PushCameraDepth(false);
    EXPECT_FALSE(drawsWithDefault());
}

TEST_F(Cameras, ATwoDimensionalOneShowsPixelsOfTenToAThousandUnitsDepth) {
    Device().PushCamera2D(320, 200);
    Camera& camera = *Device().GetActiveCamera();
    EXPECT_EQ(camera.GetViewRectangleProperty().GetValue(), RectangleT<RealFloat>(0, 0, 319, 199));
    EXPECT_TRUE(camera.GetNearProperty().GetValue() == 10 && camera.GetFarProperty().GetValue() == 1000);
}

TEST_F(Cameras, TheViewportMatrixTakesWholeHalvesWithYDown) {
    Device().SetViewport(7, 3, 101, 51);
    float const expected[16] = {50, 0, 0, 0, 0, -25, 0, 0, 0, 0, 1, 0, 57, 28, 0, 1};
    EXPECT_EQ(Device().GetViewportMatrix(), Matrix(expected));
    EXPECT_EQ(Device().GetViewport(), RectangleT<int>(7, 3, 108, 54));
}

TEST_F(Cameras, ProjectsThroughTheMatricesThatTheDeviceAnswersWith) {
    OtherMatrices device;
    Vector2T<RealFloat> const pixel =
        device.ProjectCoordinate(Matrix4Scale(Vector3T<RealFloat>(2, 2, 2)), Point(7, 11, 13, 2));
    EXPECT_EQ(pixel, (Vector2T<RealFloat>(100 + 3 * (1 + 7) + 6.5f, 200 + 5 * (2 + 11))));
}

class Picking : public Cameras {
protected:
    Picking() {
        Device().SetViewport(0, 0, 640, 480);
        Device().SetCameraDepth(true);
    }

    bool Hit(Matrix const& model, Vector3T<RealFloat> const& p0, Vector3T<RealFloat> const& p1,
             Vector3T<RealFloat> const& p2) {
        return Device().HitProjection(model, p0, p1, p2, m_uv, m_distance);
    }

    void PointAt(RealFloat x, RealFloat y) {
        Device().SetSelectionMode(Vector2T<RealFloat>(x, y), &m_selected);
    }

    List<SelectionPoint> m_selected;
    Vector2T<RealFloat> m_uv{-7, -7};
    RealFloat m_distance = -7;
};

TEST_F(Picking, FindsThePointOfATrianglesPlaneUnderAPixelThoughItIsOutside) {
    PointAt(90, 480 - 300);
    ASSERT_TRUE(Hit(Matrix4Translation(Vector3T<RealFloat>(100, 200, 0)), {0, 0, 0}, {50, 0, 0}, {0, 40, 0}));
    EXPECT_NEAR(m_uv.x, -10.0f / 50, 1e-3f);
    EXPECT_NEAR(m_uv.y, 100.0f / 40, 1e-3f);
}

TEST_F(Picking, ATriangleSeenEdgeOnIsMissedAndNothingIsWritten) {
    struct Case {
        char const* name;
        Vector3T<RealFloat> p1, p2;
    };
    // The eye looks along z at (320, 240); the triangles start there.
    Case const cases[] = {{"in the plane of the ray", {0, 0, -50}, {0, 30, 0}},
                          {"without area", {10, 10, 0}, {20, 20, 0}},
                          {"but for rounding", {11.1f, 13.7f, 17.3f}, {36.63002f, 45.21f, 57.09f}},
                          {"a point", {0, 0, 0}, {0, 0, 0}}};
    PointAt(320, 240);
    Matrix const model = Matrix4Translation(Vector3T<RealFloat>(320, 240, 0));
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_FALSE(Hit(model, {0, 0, 0}, test.p1, test.p2));
        EXPECT_EQ(m_uv, (Vector2T<RealFloat>(-7, -7)));
        EXPECT_EQ(m_distance, -7);
    }
}

TEST_F(Picking, AViewportWithoutAreaHitsNothing) {
    Device().SetViewport(0, 0, 1, 480);
    EXPECT_FALSE(Hit(Matrix::Identity, {0, 0, 0}, {640, 0, 0}, {0, 480, 0}));
}

} // namespace
