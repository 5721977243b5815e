// Cameras: the two matrices that they make of a place and six properties.

#include "CameraGL2.h"
#include "NodeTest.h"

#include <cmath>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Matrix = Matrix4T<RealFloat>;
using Vector = Vector3T<RealFloat>;

class CameraTest : public NodeTest {
protected:
    CameraTest() : m_pCamera(new CameraGL2) {}

    void Update() { m_pCamera->Update(Device(), 0); }

    Ref<CameraGL2> m_pCamera;
};

TEST_F(CameraTest, AHorizontalFieldOfViewOverwritesTheVerticalOne) {
    struct Case {
        RealFloat horizontal, width, height;
        double vertical;
    };
    Case const cases[] = {{60, 3, 2, 2 * std::atan(std::tan(M_PI / 6) / 1.5) * 180 / M_PI},
                          {90, 1, 4, 2 * std::atan(4.0) * 180 / M_PI}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.vertical);
        m_pCamera->GetHorizontalFieldOfViewProperty().SetValue(test.horizontal);
        m_pCamera->GetVerticalFieldOfViewProperty().SetValue(12);
        m_pCamera->GetViewRectangleProperty().SetValue(RectangleT<RealFloat>(0, 0, test.width, test.height));
        Update();
        EXPECT_NEAR(m_pCamera->GetVerticalFieldOfViewProperty().GetValue(), test.vertical, 1e-4);
        EXPECT_NEAR(m_pCamera->GetProjectionMatrix()[5], 1 / std::tan(test.vertical / 360 * M_PI), 1e-5);
    }
}

TEST_F(CameraTest, OfASquareRectangleBothFieldsOfViewAreTheSameNumber) {
    // The arc tangent is taken of a rounded tangent: unrounded, this would end as 30.000002.
    m_pCamera->GetHorizontalFieldOfViewProperty().SetValue(30);
    Update();
    EXPECT_EQ(m_pCamera->GetVerticalFieldOfViewProperty().GetValue(), 30);
}

TEST_F(CameraTest, EachProjectionPropertyMarksTheProjectionStale) {
    struct Case {
        char const* name;
        void (*pfnChange)(CameraGL2&);
    };
    Case const cases[] = {
        {"vertical", [](CameraGL2& camera) { camera.GetVerticalFieldOfViewProperty().SetValue(77); }},
        {"near", [](CameraGL2& camera) { camera.GetNearProperty().SetValue(7); }},
        {"far", [](CameraGL2& camera) { camera.GetFarProperty().SetValue(70); }},
        {"rectangle", [](CameraGL2& camera) { camera.GetViewRectangleProperty().SetValue({0, 0, 5, 3}); }},
        {"horizontal", [](CameraGL2& camera) { camera.GetHorizontalFieldOfViewProperty().SetValue(33); }},
        {"orthographic", [](CameraGL2& camera) { camera.GetOrthographicProperty().SetValue(true); }},
    };
    Update();
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Matrix const before = m_pCamera->GetProjectionMatrix();
        test.pfnChange(*m_pCamera);
        EXPECT_EQ(m_pCamera->GetProjectionMatrix(), before) << "nothing is computed before the update";
        Update();
        EXPECT_NE(m_pCamera->GetProjectionMatrix(), before);
    }
}

TEST_F(CameraTest, AWorldMatrixWithHardlyADeterminantHasTheIdentityForItsInverse) {
    struct Case {
        Vector scale;
        bool identity;
    };
    Case const cases[] = {{Vector(1, 0, 1), true},
                          {Vector(0.1f, 0.1f, 0.0099f), true},
                          {Vector(0.1f, 0.1f, -0.0099f), true},
                          {Vector(0.1f, 0.1f, 0.0102f), false},
                          {Vector(0.1f, 0.1f, -0.0102f), false}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.scale.z);
        m_pCamera->GetScaleProperty().SetValue(Vector(1, 1, 2));
        Update(); // so that there is something to fall back from
        m_pCamera->GetScaleProperty().SetValue(test.scale);
        Update();
        EXPECT_EQ(m_pCamera->GetViewMatrix() == Matrix::Identity, test.identity);
    }
}

TEST_F(CameraTest, ACopyHasTheMatricesAndGoesItsOwnWay) {
    m_pCamera->GetPositionProperty().SetValue(Vector(1, 2, 3));
    m_pCamera->GetNearProperty().SetValue(2);
    Update();
    Ref<CameraGL2> const pCopy(static_cast<CameraGL2*>(m_pCamera->Clone()));
    EXPECT_EQ(pCopy->GetViewMatrix(), m_pCamera->GetViewMatrix());
    EXPECT_EQ(pCopy->GetProjectionMatrix(), m_pCamera->GetProjectionMatrix());
    // Its own changes count, from the first one on, and reach nobody else.
    Matrix const before = m_pCamera->GetProjectionMatrix();
    pCopy->GetVerticalFieldOfViewProperty().SetValue(80);
    pCopy->Update(Device(), 0);
    Update();
    EXPECT_NE(pCopy->GetProjectionMatrix(), before);
    EXPECT_EQ(m_pCamera->GetProjectionMatrix(), before);
}

} // namespace
