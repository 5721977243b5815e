#pragma once

#include "trevik/Color.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/DeviceFormat.h"
#include "trevik/kelvo/PairedStack.h"
#include "trevik/kelvo/SelectionPoint.h"

namespace trevik::kelvo {

class Camera;
class EffectResource;
class Mask;
class Node;
class Texture;

/**
 * What scenes are drawn through. The base records state and keeps the opacity and transform stacks and the
 * selection; a back end adds everything that touches pixels. All operations run on the render thread.
 *
 * The order of the virtual operations is part of the contract between host and back ends.
 */
class TREVIK_API GraphicsDevice {
public:
    /** The distance that HitProjection gives for the eye itself; hits with less lie behind it. */
    static constexpr RealFloat DistanceOfEye = 1;

    GraphicsDevice();
    virtual ~GraphicsDevice();
    GraphicsDevice(GraphicsDevice const&) = delete;
    GraphicsDevice& operator=(GraphicsDevice const&) = delete;

    /**
     * Brings the device up on a window; the calling thread becomes the render thread. The base records format
     * and size.
     */
    virtual bool Initialize(void* pWindow, DeviceFormat::Enum format, SizeT<int> const& size);
    /** Records a new surface rectangle (left, top, right, bottom; pixels) as size and viewport. */
    virtual bool Reset(RectangleT<int> const& rectangle);
    /** Moves the device to another window. */
    virtual bool Reset(void* pWindow) = 0;
    /**
     * Sets the colour that Clear fills the target with: red, green, blue and alpha, 0 to 1. The base records
     * it.
     */
    virtual void SetClearColor(ColorT<RealFloat> const& color);
    /** The colour that was set last, opaque black at first. */
    virtual ColorT<RealFloat> GetClearColor();
    /** Starts a frame. The base empties the opacity and transform stacks. */
    virtual void Clear();
    /** Sets the viewport; rectangle components left, top, right, bottom. */
    virtual void SetViewport(RectangleT<int> const& rectangle);
    /** Sets the viewport in window pixels. The base records it as (x, y, x + width, y + height). */
    virtual void SetViewport(int nX, int nY, int nWidth, int nHeight);
    /** The viewport that was recorded last: left, top, right and bottom in window pixels; all 0 at first. */
    virtual RectangleT<int> GetViewport() const;
    /** Window position (pixels, y down) of a point given in the space that `model` maps to the world. */
    virtual Vector2T<RealFloat> ProjectCoordinate(Matrix4T<RealFloat> const& model,
                                                  Vector4T<RealFloat> const& point) = 0;
    /**
     * Intersects the pick ray through the selection point with the plane of the triangle (p0, p1, p2) under
     * `model`: the hit is p0 + uv.x (p1 - p0) + uv.y (p2 - p0). `distance` is DistanceOfEye at the eye and
     * grows along the ray. False when there is no single intersection; no range is tested.
     */
    virtual bool HitProjection(Matrix4T<RealFloat> const& model, Vector3T<RealFloat> const& p0,
                               Vector3T<RealFloat> const& p1, Vector3T<RealFloat> const& p2,
                               Vector2T<RealFloat>& uv, RealFloat& distance) = 0;
    /** Leaves selection mode. */
    virtual void SetRenderMode();
    /**
     * Rendering now enters the nodes under `point` (window pixels, y down) into `pSelected` instead of
     * drawing.
     */
    virtual void SetSelectionMode(Vector2T<RealFloat> const& point, List<SelectionPoint>* pSelected);
    /** The point of SetSelectionMode, in window pixels with y down; (0, 0) at first. */
    virtual Vector2T<RealFloat> GetSelectionPoint();
    /**
     * Enters a node that was hit, keeping the list sorted by distance, nearest first. Of nodes at the same
     * distance, up to rounding, the one entered last (drawn on top) comes first. Outside selection mode
     * nothing happens.
     */
    virtual void PushSelected(Node* pNode, Vector2T<RealFloat> const& position, RealFloat const& distance);
    /** View space to clip space, for the nodes that are drawn next; the identity without a camera. */
    virtual Matrix4T<RealFloat> GetProjectionMatrix() = 0;
    /** World space to view space, for the nodes that are drawn next; the identity without a camera. */
    virtual Matrix4T<RealFloat> GetViewMatrix() = 0;
    /** Device coordinates, from -1 to 1 with y up, to window pixels with y down. */
    virtual Matrix4T<RealFloat> GetViewportMatrix() = 0;
    /** The camera on top, or the default one where there is none. Borrowed; null before Initialize. */
    virtual Camera* GetActiveCamera() = 0;
    /** Runs the work that other threads have queued for the render thread. */
    virtual void Process() = 0;
    /** Shows the finished frame. */
    virtual void Present() = 0;
    /** Reads a rectangle of the frame (top-left origin) into a texture, created if `*ppTexture` is null. */
    virtual bool ReadPixels(RectangleT<int> const& rectangle, Texture** ppTexture) = 0;
    /** Whether the depth test is on, as recorded; off at first. */
    virtual bool IsDepthTestEnabled();
    /** Turns the depth test on or off for later draws. */
    virtual void SetDepthTestEnabled(bool fEnabled) = 0;
    /** The shared resource of an effect class, created on first use; null when that fails. Borrowed. */
    virtual EffectResource* GetEffectResource(unsigned int nClassID) = 0;
    /**
     * Opacity stack; the bottom is 1. Push sets, Merge pushes the product with the top. Where a push finds no
     * memory, here and below, the stack stays as it is, and the pop that belongs to it takes nothing.
     */
    virtual void PushOpacity(RealFloat const& opacity);
    /** Takes the last push back. */
    virtual void PopOpacity();
    /** Pushes the product of `opacity` and the top. */
    virtual void MergeOpacity(RealFloat const& opacity);
    /** The opacity on top. */
    virtual RealFloat GetOpacity();
    /**
     * Transform stack; the bottom is the identity. Merge pushes the matrix that applies `matrix` first, then
     * the top.
     */
    virtual void PushTransformMatrix(Matrix4T<RealFloat> const& matrix);
    /** Takes the last push back. */
    virtual void PopTransformMatrix();
    /** Pushes the matrix that applies `matrix` first, then the top. */
    virtual void MergeTransformMatrix(Matrix4T<RealFloat> const& matrix);
    /** The matrix on top. */
    virtual Matrix4T<RealFloat> GetTransformMatrix() const;
    /**
     * Restricts drawing to the masks' shapes; PopMasks with the same list undoes it. The base returns true.
     */
    virtual bool PushMasks(List<Mask*>& masks) {
        static_cast<void>(masks);
        return true;
    }
    /** Ends what PushMasks with the same list has begun. The base returns true. */
    virtual bool PopMasks(List<Mask*>& masks) {
        static_cast<void>(masks);
        return true;
    }
    /** Puts a camera on top, which is kept until PopCamera; null is ignored. */
    virtual void PushCamera(Camera* pCamera) = 0;
    /**
     * Puts an orthographic camera on top. Its units count from (0, 0), the upper left corner of the viewport,
     * to (width - 1, height - 1), the lower right one, with y down.
     */
    virtual void PushCamera2D(RealFloat const& width, RealFloat const& height) = 0;
    /** Takes the last camera that was put on top off again; nothing where there is none. */
    virtual void PopCamera() = 0;
    /**
     * Enters a node with camera depth or, `fDepth` false, without; below the latter SetCameraDepth(true) has
     * no effect.
     */
    virtual void PushCameraDepth(bool fDepth) = 0;
    /** Leaves the node that PushCameraDepth entered with the same argument. */
    virtual void PopCameraDepth(bool fDepth) = 0;
    /**
     * Chooses the camera to draw with: the default one, or, `fDepth` false, the one on top. Without one on
     * top it is always the default one.
     */
    virtual void SetCameraDepth(bool fDepth) = 0;

    // What follows is not virtual.

    /**
     * A new resource of the class from ClassRegistry::GetDefault(); null when no class of resources is
     * registered under the id. The caller takes the first reference.
     */
    EffectResource* CreateEffectResource(unsigned int nClassID);

    /**
     * A number, never 0, that changes with all that effect resources are made from: at the start, with the
     * viewport, and with the back end's own means. No two devices have the same.
     */
    unsigned long long GetResourceState() const { return m_nResourceState; }

    /** While highlighting is on, everything is drawn in the highlight colour. */
    void SetHighlight(bool fEnabled, ColorT<RealFloat> const& color);
    /** Whether highlighting is on. */
    bool IsHighlightEnabled() const { return m_fHighlight; }
    /** The highlight colour with its alpha multiplied by `opacity`. */
    ColorT<RealFloat> GetHighlightColor(RealFloat const& opacity) const;

    /** Whether Render searches for the nodes under a point instead of drawing. */
    bool IsSelectionMode() const { return m_pSelected != nullptr; }
    /** The surface's format, as Initialize was told. */
    DeviceFormat::Enum GetFormat() const { return m_format; }
    /** The surface's size in pixels. */
    SizeT<int> const& GetSize() const { return m_size; }

protected:
    /** Gives GetResourceState another number. */
    void ChangeResourceState() { ++m_nResourceState; }

    DeviceFormat::Enum m_format = DeviceFormat::RGB565; ///< see GetFormat
    SizeT<int> m_size;                                  ///< see GetSize
    RectangleT<int> m_viewport;                         ///< see GetViewport
    ColorT<RealFloat> m_clearColor;                     ///< see GetClearColor
    bool m_fDepthTest = false;                          ///< see IsDepthTestEnabled

private:
    void RecordViewport(RectangleT<int> const& viewport);

    PairedStack<RealFloat> m_opacities;
    PairedStack<Matrix4T<RealFloat>> m_transforms;
    Vector2T<RealFloat> m_selectionPoint;
    List<SelectionPoint>* m_pSelected = nullptr;
    ColorT<RealFloat> m_highlightColor;
    bool m_fHighlight = false;
    unsigned long long m_nResourceState; ///< changes, above the device's number in the upper half
};

} // namespace trevik::kelvo
