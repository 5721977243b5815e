#include "GraphicsDeviceGL2.h"

#include "CameraGL2.h"
#include "GlState.h"
#include "trevik/Ref.h"

#include <GLES2/gl2.h>

#include <cmath>
#include <new>

namespace trevik::kelvo {

void GraphicsDeviceGL2::PushCamera(Camera* pCamera) {
    if (pCamera && m_cameras.Push(nullptr)) {
        // Not before there is a place: dropping a camera's only reference would delete the camera.
        m_cameras.Top() = Ref<CameraGL2>(static_cast<CameraGL2*>(pCamera));
        ForgetMatrices();
    }
}

void GraphicsDeviceGL2::PushCamera2D(RealFloat const& width, RealFloat const& height) {
    Ref<CameraGL2> const pCamera(new (std::nothrow) CameraGL2);
    if (!pCamera) {
        m_cameras.PushNothing();
        return;
    }
    pCamera->GetOrthographicProperty().SetValue(true);
    // Up to the size minus 1, and not from z = 0: intended (camera-2d-range).
    pCamera->GetViewRectangleProperty().SetValue(RectangleT<RealFloat>(0, 0, width - 1, height - 1));
    pCamera->GetNearProperty().SetValue(10);
    pCamera->GetFarProperty().SetValue(1000);
    pCamera->Update(*this, RealFloat(0));
    PushCamera(pCamera.Get());
}

void GraphicsDeviceGL2::PopCamera() {
    Ref<CameraGL2> pCamera;
    if (m_cameras.Pop(pCamera)) {
        ForgetMatrices();
    }
}

Camera* GraphicsDeviceGL2::GetActiveCamera() {
    return m_cameras.IsEmpty() ? m_pDefaultCamera.Get() : m_cameras.Top().Get();
}

void GraphicsDeviceGL2::PushCameraDepth(bool fDepth) {
    if (!fDepth) {
        ++m_nCameraDepth;
    }
}

void GraphicsDeviceGL2::PopCameraDepth(bool fDepth) {
    if (!fDepth && m_nCameraDepth > 0) {
        --m_nCameraDepth;
    }
}

Matrix4T<RealFloat> GraphicsDeviceGL2::GetViewMatrix() {
    CameraGL2 const* const pCamera = GetDrawingCamera();
    return pCamera ? pCamera->GetViewMatrix() : Matrix4T<RealFloat>::Identity;
}

Matrix4T<RealFloat> GraphicsDeviceGL2::GetProjectionMatrix() {
    CameraGL2 const* const pCamera = GetDrawingCamera();
    return pCamera ? pCamera->GetProjectionMatrix() : Matrix4T<RealFloat>::Identity;
}

void GraphicsDeviceGL2::FetchMatricesAnew() {
    m_nFetchedUpdate = CameraGL2::GetUpdateNumber();
    m_view.Set(GetViewMatrix(), m_nFetchedUpdate);
    m_projection.Set(GetProjectionMatrix(), m_nFetchedUpdate);
}

void GraphicsDeviceGL2::LoadModelViewAnew(Matrix4T<RealFloat> const& world) {
    FetchMatrices();
    m_view.Apply(world, m_modelView);
}

void GraphicsDeviceGL2::MultiplyProjectionAnew(Matrix4T<RealFloat>& out) {
    FetchMatrices();
    m_projection.Apply(m_modelView, out);
}

Matrix4T<RealFloat> GraphicsDeviceGL2::GetViewportMatrix() {
    return m_viewportMatrix;
}

void GraphicsDeviceGL2::SetViewport(int nX, int nY, int nWidth, int nHeight) {
    GlState::SetViewport(nX, nY, nWidth, nHeight);
    // Whole halves, so an odd size loses its last half pixel: intended (viewport-whole-halves).
    RealFloat const rHalfWidth = static_cast<RealFloat>(nWidth >> 1);
    RealFloat const rHalfHeight = static_cast<RealFloat>(nHeight >> 1);
    Matrix4SetIdentity(m_viewportMatrix);
    m_viewportMatrix[0] = rHalfWidth;
    m_viewportMatrix[5] = -rHalfHeight;
    m_viewportMatrix[12] = rHalfWidth + static_cast<RealFloat>(nX);
    m_viewportMatrix[13] = rHalfHeight + static_cast<RealFloat>(nY);
    GraphicsDevice::SetViewport(nX, nY, nWidth, nHeight);
}

void GraphicsDeviceGL2::SetViewport(RectangleT<int> const& rectangle) {
    // The viewport before comes first, and the bottom edge serves as y: both intended (viewport-rectangle).
    GlState::SetViewport(m_viewport.left, m_viewport.top, m_viewport.GetWidth(), m_viewport.GetHeight());
    SetViewport(rectangle.left, rectangle.bottom, rectangle.GetWidth(), rectangle.GetHeight());
}

void GraphicsDeviceGL2::SetDepthTestEnabled(bool fEnabled) {
    if (fEnabled == m_fDepthTest) {
        return;
    }
    GlState::SetDepthTest(fEnabled);
    m_fDepthTest = fEnabled;
}

Vector2T<RealFloat> GraphicsDeviceGL2::ProjectCoordinate(Matrix4T<RealFloat> const& model,
                                                         Vector4T<RealFloat> const& point) {
    Vector4T<RealFloat> const clip = model * (GetViewMatrix() * GetProjectionMatrix()) * point;
    Vector4T<RealFloat> const window =
        GetViewportMatrix() * Vector4T<RealFloat>(clip.x / clip.w, clip.y / clip.w, clip.z / clip.w, 1);
    return Vector2T<RealFloat>(window.x, window.y);
}

namespace {

Vector3T<RealFloat> TransformPoint(Matrix4T<RealFloat> const& matrix, Vector3T<RealFloat> const& point) {
    Vector4T<RealFloat> const result = matrix * Vector4T<RealFloat>(point.x, point.y, point.z, 1);
    return Vector3T<RealFloat>(result.x, result.y, result.z);
}

RealFloat GetLength(Vector3T<RealFloat> const& v) {
    return std::sqrt(Vector3Dot(v, v));
}

/**
 * Solves [a b c] x = d for three columns. False when the columns lie in a plane, or so nearly that single
 * precision cannot tell, whatever their lengths.
 */
bool SolveColumns(Vector3T<RealFloat> const& a, Vector3T<RealFloat> const& b, Vector3T<RealFloat> const& c,
                  Vector3T<RealFloat> const& d, Vector3T<RealFloat>& x) {
    constexpr RealFloat Flat = 1e-6f;
    Vector3T<RealFloat> const bc = Vector3Cross(b, c);
    RealFloat const rDeterminant = Vector3Dot(a, bc);
    if (!(std::fabs(rDeterminant) > Flat * GetLength(a) * GetLength(b) * GetLength(c))) {
        return false;
    }
    RealFloat const rFactor = 1 / rDeterminant;
    x.x = Vector3Dot(d, bc) * rFactor;
    x.y = Vector3Dot(d, Vector3Cross(c, a)) * rFactor;
    x.z = Vector3Dot(d, Vector3Cross(a, b)) * rFactor;
    return true;
}

} // namespace

bool GraphicsDeviceGL2::HitProjection(Matrix4T<RealFloat> const& model, Vector3T<RealFloat> const& p0,
                                      Vector3T<RealFloat> const& p1, Vector3T<RealFloat> const& p2,
                                      Vector2T<RealFloat>& uv, RealFloat& distance) {
    Matrix4T<RealFloat> const modelView = model * GetViewMatrix();
    // Orthographic projections of many units have no inverse here: their rays would go through an eye's place
    // that they do not have. Intended (hit-orthographic).
    Matrix4T<RealFloat> fromViewport;
    Matrix4T<RealFloat> fromProjection;
    if (!Matrix4Inverse(GetViewportMatrix(), fromViewport) ||
        !Matrix4Inverse(GetProjectionMatrix(), fromProjection)) {
        return false;
    }
    Vector2T<RealFloat> const selection = GetSelectionPoint();
    Vector4T<RealFloat> const r =
        fromViewport * fromProjection * Vector4T<RealFloat>(selection.x, selection.y, 0, 1);
    Vector3T<RealFloat> const q0 = TransformPoint(modelView, p0);
    Vector3T<RealFloat> const e1 = TransformPoint(modelView, p1) - q0;
    Vector3T<RealFloat> const e2 = TransformPoint(modelView, p2) - q0;
    Vector3T<RealFloat> const n(-(r.x / r.w), -(r.y / r.w), -(r.z / r.w));
    Vector3T<RealFloat> solution;
    if (!SolveColumns(n, e1, e2, n - q0, solution)) {
        return false;
    }
    uv = Vector2T<RealFloat>(solution.y, solution.z);
    distance = solution.x;
    return true;
}

} // namespace trevik::kelvo
