#pragma once

#include "Export.h"
#include "trevik/Matrix.h"
#include "trevik/kelvo/Camera.h"

#include <atomic>

namespace trevik::kelvo {

/** A camera that turns the host camera's place and properties into a view and a projection matrix. */
class KELVO_EXPORT CameraGL2 : public Camera {
public:
    TREVIK_NODE_REFLECTION(CameraGL2, Camera, "Camera", VisitCamera)

    /** Both matrices the identity, the projection to be built at the first update. */
    CameraGL2();
    /**
     * Copies matrices and staleness; change handlers are connected when the copy registers its properties.
     */
    CameraGL2(CameraGL2 const& other);
    ~CameraGL2() override;

    /**
     * Registers the host's properties, then marks the projection stale whenever one of the projection's six
     * changes.
     */
    void RegisterProperties() override;
    /** Rebuilds a stale projection, updates the node, then inverts the world matrix into the view matrix. */
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override;

    Matrix4T<RealFloat> GetViewMatrix() const override;
    Matrix4T<RealFloat> GetProjectionMatrix() const override;
    /**
     * A number, never 0, that changes with each update of any camera: a copy of matrices is older than the
     * cameras where its number differs. Any thread.
     */
    static unsigned int GetUpdateNumber() { return s_nUpdate.load(std::memory_order_relaxed); }
    /**
     * Builds the projection if it is stale. A horizontal field of view that is not 0 overwrites the vertical
     * one. An empty view rectangle or equal near and far distances give non-finite elements.
     */
    void CalculateProjection() override;

private:
    void OnFlagChanged(bool const& fValue);
    void OnRealChanged(RealFloat const& value);
    void OnRectangleChanged(RectangleT<RealFloat> const& value);
    void BuildOrthographic(RectangleT<RealFloat> const& view);
    void BuildPerspective(RectangleT<RealFloat> const& view);

    Matrix4T<RealFloat> m_viewMatrix;
    Matrix4T<RealFloat> m_projectionMatrix;
    bool m_fProjectionDirty = true;

    /** Always odd. Hidden, so that reading it, at each draw, takes one instruction. */
    KELVO_LOCAL static std::atomic<unsigned int> s_nUpdate;
};

} // namespace trevik::kelvo
