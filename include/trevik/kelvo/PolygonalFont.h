#pragma once

#include "trevik/Export.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/ListProperty.h"

namespace trevik::kelvo {

/**
 * Triangles of one glyph: positions in font pixels, y up, with the pen at (0, 0), and three indices per
 * triangle.
 */
struct GlyphMesh {
    ListProperty<Vector3T<RealFloat>> m_positions;
    ListProperty<unsigned short> m_indices;
};

/** A font whose glyphs are triangle meshes. */
class TREVIK_API PolygonalFont : public Font {
public:
    static constexpr unsigned int FactoryClassID = HashName("PolygonalFont");

    PolygonalFont();
    ~PolygonalFont() override;

    bool Save(Serializer& serializer) override;
    bool Load(Deserializer& deserializer) override;
    void Emit(MemoryTracer* pTracer) override;
    /**
     * Draws one glyph's mesh in `*pColor` under the device's current transform, which the caller has moved to
     * the pen position: `position` does not move it. Render thread.
     */
    virtual void RenderGlyph(GraphicsDevice& device, Glyph const* pGlyph, Vector2T<RealFloat> const& position,
                             ColorT<RealFloat> const* pColor) = 0;
    /**
     * Appends a mesh, which the font owns from now on, and returns its index; -1, with the mesh deleted, for
     * null, when there are 32767 already, or when out of memory.
     */
    short AddMesh(GlyphMesh* pMesh);

protected:
    List<GlyphMesh*> m_meshes; ///< owned
};

} // namespace trevik::kelvo
