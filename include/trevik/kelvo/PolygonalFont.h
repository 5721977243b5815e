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
    ListProperty<Vector3T<RealFloat>> m_positions; ///< node units before the glyph's scale, z 0
    ListProperty<unsigned short> m_indices;        ///< three for each triangle, anticlockwise
};

/** A font whose glyphs are triangle meshes. */
class TREVIK_API PolygonalFont : public Font {
public:
    /** Id that saved fonts of this kind have. */
    static constexpr unsigned int FactoryClassID = HashName("PolygonalFont");

    PolygonalFont();
    ~PolygonalFont() override;

    /** Writes the meshes, too. */
    bool Save(Serializer& serializer) override;
    /** Replaces the meshes, too; what AddMesh refuses fails the load. */
    bool Load(Deserializer& deserializer) override;
    void Emit(MemoryTracer* pTracer) override;
    /**
     * Draws one glyph's mesh in `*pColor` under the transform on top of the device's stack and nothing else.
     * The caller pushes one that leads from the pen position all the way to clip space, the projection
     * included, and pops it afterwards, as Text does for each glyph: `position` does not move the mesh, and
     * a back end's program may know no projection. Render thread.
     */
    virtual void RenderGlyph(GraphicsDevice& device, Glyph const* pGlyph, Vector2T<RealFloat> const& position,
                             ColorT<RealFloat> const* pColor) = 0;
    /**
     * Appends a mesh, which the font owns from now on, and returns its index; -1, with the mesh deleted, for
     * null, for a mesh whose indices do not come in threes or go beyond its positions, or whose positions are
     * not finite, when there are 32767 already, or when out of memory.
     */
    short AddMesh(GlyphMesh* pMesh);
    /** The number of meshes. */
    unsigned int GetMeshCount() const { return m_meshes.GetCount(); }
    /**
     * Mesh `nMesh` (0 .. GetMeshCount() - 1); it lives as long as the font, until the font is loaded anew.
     */
    GlyphMesh const* GetMesh(unsigned int nMesh) const { return m_meshes[nMesh]; }

protected:
    List<GlyphMesh*> m_meshes; ///< owned
};

} // namespace trevik::kelvo
