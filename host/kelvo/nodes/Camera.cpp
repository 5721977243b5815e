#include "trevik/kelvo/Camera.h"

#include "trevik/Debug.h"

#include <cmath>

namespace trevik::kelvo {

namespace {

constexpr double DegreesPerRadian = 57.295779513082320877;

} // namespace

Camera::Camera()
    : m_verticalFieldOfView(RealFloat(45)), m_near(RealFloat(1)), m_far(RealFloat(1000)),
      m_viewRectangle(RectangleT<RealFloat>(0, 0, 1, 1)) {}

Camera::Camera(Camera const& other)
    : TransformNode(other), m_orthographic(other.m_orthographic),
      m_horizontalFieldOfView(other.m_horizontalFieldOfView),
      m_verticalFieldOfView(other.m_verticalFieldOfView), m_near(other.m_near), m_far(other.m_far),
      m_viewRectangle(other.m_viewRectangle) {}

Camera::~Camera() = default;

void Camera::RegisterProperties() {
    TransformNode::RegisterProperties();
    m_properties.Register(u"Orthographic", &m_orthographic);
    m_properties.Register(u"HorizontalFieldOfView", &m_horizontalFieldOfView);
    m_properties.Register(u"VerticalFieldOfView", &m_verticalFieldOfView);
    m_properties.Register(u"Near", &m_near);
    m_properties.Register(u"Far", &m_far);
    m_properties.Register(u"ViewRectangle", &m_viewRectangle);
}

void Camera::SetupMillimeter(RealFloat const& focalLength, RealFloat const& filmWidth, RealFloat const& width,
                             RealFloat const& height, bool fCentred) {
    if (!(focalLength > 0 && filmWidth > 0 && width > 0 && height > 0)) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] A camera cannot have %g mm on %g mm of film for %g by %g",
                           double(focalLength), double(filmWidth), double(width), double(height));
        return;
    }
    double const halfView = std::atan(double(filmWidth) / (2.0 * double(focalLength)));
    m_orthographic.SetValue(false);
    m_horizontalFieldOfView.SetValue(static_cast<RealFloat>(2.0 * halfView * DegreesPerRadian));
    m_viewRectangle.SetValue(RectangleT<RealFloat>(0, 0, width, height));
    if (fCentred) {
        // Half the width is seen under half the field of view.
        RealFloat const distance = width * focalLength / filmWidth;
        m_position.SetValue(Vector3T<RealFloat>(width / 2, height / 2, distance));
        m_near.SetValue(distance / 10);
        m_far.SetValue(distance * 10);
    }
}

} // namespace trevik::kelvo
