#pragma once

#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Referenced.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"

namespace trevik::kelvo {

class Deserializer;
class Serializer;

/**
 * Triangles of a mask as the back end draws them: a plain list, three vertices each, in the masked node's
 * space.
 */
struct MaskGeometry {
    unsigned long m_nFlags;                 ///< reserved, 0
    Vector3T<RealFloat> const* m_pVertices; ///< m_nVertexCount positions, tightly packed; the mask's own
    unsigned int m_nVertexCount;            ///< three for each triangle
};

/**
 * A shape outside of which a sprite that it is attached to does not draw, nor anything below a timeline that
 * it is attached to; selection finds nothing there either. Of several masks of a node one is enough. Other
 * nodes only keep it. Shared by reference.
 */
class TREVIK_API Mask : public Referenced {
public:
    Mask();
    ~Mask() override;

    /** A new mask with the same triangles; the caller owns it. */
    virtual Mask* Clone() const;
    /** Writes the triangles. False when out of memory. */
    virtual bool Save(Serializer& serializer) const;
    /** False, with the triangles unchanged, when the data is missing or no whole number of triangles. */
    virtual bool Load(Deserializer& deserializer);
    /** The triangles; valid until the mask is changed. */
    virtual MaskGeometry const& GetGeometry() const;

    /**
     * Replaces the triangles by `nVertexCount` (a multiple of 3) positions. False on another count or out of
     * memory.
     */
    bool SetTriangles(Vector3T<RealFloat> const* pVertices, unsigned int nVertexCount);
    /** Bytes of the vertices, for memory tracing. */
    unsigned int GetByteSize() const;

private:
    Mask(Mask const&) = delete;
    Mask& operator=(Mask const&) = delete;

    List<Vector3T<RealFloat>> m_vertices;
    MaskGeometry m_geometry;
};

} // namespace trevik::kelvo
