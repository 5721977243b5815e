#include "CameraGL2.h"

#include <cmath>

namespace trevik::kelvo {

namespace {

constexpr RealFloat DegreesToRadians = 0.017453292f;
constexpr RealFloat RadiansToDegrees = 57.29578f;

void SetZero(Matrix4T<RealFloat>& matrix) {
    for (RealFloat& element : matrix.m) {
        element = 0;
    }
}

} // namespace

std::atomic<unsigned int> CameraGL2::s_nUpdate{1};

CameraGL2::CameraGL2() = default;

CameraGL2::CameraGL2(CameraGL2 const& other)
    : Camera(other), m_viewMatrix(other.m_viewMatrix), m_projectionMatrix(other.m_projectionMatrix),
      m_fProjectionDirty(other.m_fProjectionDirty) {}

CameraGL2::~CameraGL2() = default;

void CameraGL2::RegisterProperties() {
    Camera::RegisterProperties();
    // An event refuses a handler that it has already, which is as good as connecting it.
    static_cast<void>(
        m_orthographic.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnFlagChanged)));
    static_cast<void>(
        m_horizontalFieldOfView.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnRealChanged)));
    static_cast<void>(
        m_verticalFieldOfView.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnRealChanged)));
    static_cast<void>(m_near.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnRealChanged)));
    static_cast<void>(m_far.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnRealChanged)));
    static_cast<void>(
        m_viewRectangle.GetChangeEvent().Connect(member_function(this, &CameraGL2::OnRectangleChanged)));
}

void CameraGL2::OnFlagChanged(bool const&) {
    m_fProjectionDirty = true;
}

void CameraGL2::OnRealChanged(RealFloat const&) {
    m_fProjectionDirty = true;
}

void CameraGL2::OnRectangleChanged(RectangleT<RealFloat> const&) {
    m_fProjectionDirty = true;
}

void CameraGL2::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                               bool fForce) {
    CalculateProjection();
    Camera::InternalUpdate(device, frame, delta, fForce);
    Matrix4T<RealFloat> inverse = Matrix4T<RealFloat>::Identity;
    // A world matrix without an inverse leaves the view matrix at the identity.
    static_cast<void>(Matrix4Inverse(m_worldMatrix, inverse));
    m_viewMatrix = inverse;
    s_nUpdate.fetch_add(2, std::memory_order_relaxed);
}

Matrix4T<RealFloat> CameraGL2::GetViewMatrix() const {
    return m_viewMatrix;
}

Matrix4T<RealFloat> CameraGL2::GetProjectionMatrix() const {
    return m_projectionMatrix;
}

void CameraGL2::CalculateProjection() {
    if (!m_fProjectionDirty) {
        return;
    }
    RectangleT<RealFloat> const view = m_viewRectangle.GetValue();
    if (m_orthographic.GetValue()) {
        BuildOrthographic(view);
    } else {
        BuildPerspective(view);
    }
    m_fProjectionDirty = false;
}

void CameraGL2::BuildOrthographic(RectangleT<RealFloat> const& view) {
    RealFloat const rNear = m_near.GetValue();
    RealFloat const rFar = m_far.GetValue();
    RealFloat* m = m_projectionMatrix.m;
    SetZero(m_projectionMatrix);
    // Top is the upper edge as written: a rectangle whose bottom is the greater number flips y. That is
    // intended (orthographic-top).
    m[0] = 2 / (view.right - view.left);
    m[5] = 2 / (view.top - view.bottom);
    m[10] = -2 / (rFar - rNear);
    m[12] = -(view.right + view.left) / (view.right - view.left);
    m[13] = -(view.top + view.bottom) / (view.top - view.bottom);
    m[14] = -(rFar + rNear) / (rFar - rNear);
    m[15] = 1;
}

void CameraGL2::BuildPerspective(RectangleT<RealFloat> const& view) {
    RealFloat const rAspect = (view.right - view.left) / (view.bottom - view.top);
    RealFloat const rHorizontal = m_horizontalFieldOfView.GetValue();
    if (rHorizontal != 0) {
        RealFloat const rHalf = rHorizontal * DegreesToRadians * 0.5f;
        RealFloat const rTangent = static_cast<RealFloat>(std::tan(double(rHalf)) / double(rAspect));
        // Announcing the new value marks the projection stale once more; the caller clears that.
        m_verticalFieldOfView.SetValue(
            static_cast<RealFloat>(2 * std::atan(double(rTangent)) * double(RadiansToDegrees)));
    }
    RealFloat const rNear = m_near.GetValue();
    RealFloat const rFar = m_far.GetValue();
    RealFloat const rHalfVertical = m_verticalFieldOfView.GetValue() * 0.5f * DegreesToRadians;
    RealFloat const rTop = static_cast<RealFloat>(std::tan(double(rHalfVertical)) * double(rNear));
    RealFloat const rBottom = -rTop;
    RealFloat const rLeft = rBottom * rAspect;
    RealFloat const rRight = rTop * rAspect;
    RealFloat* m = m_projectionMatrix.m;
    SetZero(m_projectionMatrix);
    m[0] = 2 * rNear / (rRight - rLeft);
    m[5] = 2 * rNear / (rTop - rBottom);
    m[8] = (rRight + rLeft) / (rRight - rLeft);
    m[9] = (rTop + rBottom) / (rTop - rBottom);
    m[10] = -(rFar + rNear) / (rFar - rNear);
    m[11] = -1;
    m[14] = -2 * rFar * rNear / (rFar - rNear);
}

} // namespace trevik::kelvo
