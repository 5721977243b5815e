#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/RectangleProperty.h"
#include "trevik/kelvo/TransformNode.h"

namespace trevik::kelvo {

/**
 * A point of view: its place and direction are the node's transform (looking along -z, y up), its projection
 * the properties below. The back end supplies the matrices.
 */
class TREVIK_API Camera : public TransformNode {
public:
    TREVIK_CLASS_ID(Camera, TransformNode)

    Camera();
    Camera(Camera const& other);
    ~Camera() override;

    void RegisterProperties() override;

    /** World space to view space, as of the last update. */
    virtual Matrix4T<RealFloat> GetViewMatrix() const = 0;
    /** View space to clip space, as of the last update. */
    virtual Matrix4T<RealFloat> GetProjectionMatrix() const = 0;
    /** Rebuilds the projection if a projection property has changed. */
    virtual void CalculateProjection() = 0;

    /**
     * Sets a perspective camera up as a photographer would: `focalLength` and `filmWidth` in millimetres give
     * the horizontal field of view 2·atan(filmWidth / (2·focalLength)); the view rectangle becomes (0, 0,
     * width, height) in pixels. When `fCentred`, the camera moves to where the plane z = 0 maps one unit to
     * one pixel with (0, 0) in the lower left corner; near and far planes lie at a tenth and at ten times the
     * distance to that plane.
     */
    void SetupMillimeter(RealFloat const& focalLength, RealFloat const& filmWidth, RealFloat const& width,
                         RealFloat const& height, bool fCentred);

    BoolProperty& GetOrthographicProperty() { return m_orthographic; }
    RealProperty& GetHorizontalFieldOfViewProperty() { return m_horizontalFieldOfView; }
    RealProperty& GetVerticalFieldOfViewProperty() { return m_verticalFieldOfView; }
    RealProperty& GetNearProperty() { return m_near; }
    RealProperty& GetFarProperty() { return m_far; }
    RectangleProperty& GetViewRectangleProperty() { return m_viewRectangle; }

protected:
    BoolProperty m_orthographic;          ///< "Orthographic", false
    RealProperty m_horizontalFieldOfView; ///< "HorizontalFieldOfView", degrees; 0 means none is given, 0
    RealProperty m_verticalFieldOfView;   ///< "VerticalFieldOfView", degrees, 45
    RealProperty m_near;                  ///< "Near", distance, 1
    RealProperty m_far;                   ///< "Far", distance, 1000
    RectangleProperty m_viewRectangle;    ///< "ViewRectangle", left, top, right, bottom, (0, 0, 1, 1)
};

} // namespace trevik::kelvo
