#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/ListProperty.h"

namespace trevik::kelvo {

/** Triangles of one glyph: positions in font pixels and three indices per triangle. */
struct GlyphMesh {
    ListProperty<Vector3T<RealFloat>> m_positions;
    ListProperty<unsigned short> m_indices;
};

/** A font whose glyphs are triangle meshes. */
class TREVIK_API PolygonalFont : public Font {
public:
    PolygonalFont();
    ~PolygonalFont() override;

protected:
    List<GlyphMesh*> m_meshes; ///< owned
};

} // namespace trevik::kelvo
