#pragma once

#include "GraphicsDeviceGL2.h"
#include "ShaderProgramGL2.h"
#include "UniformNames.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/Glyph.h"

#include <climits>

/** The quads that texts and bitmap fonts draw glyphs with: six vertices each, one after the other. */
namespace trevik::kelvo::GlyphQuads {

constexpr unsigned int VerticesPerGlyph = 6;

/**
 * Writes one value for each of a quad's vertices. The corners come in the order of GlyphInstance::m_colors;
 * by value, so that no corner has to be read again after a write, which could have changed it.
 */
template <class T>
inline void WriteQuad(T* pOut, T lowerLeft, T upperLeft, T lowerRight, T upperRight) {
    pOut[0] = lowerLeft;
    pOut[1] = upperLeft;
    pOut[2] = upperRight;
    pOut[3] = upperRight;
    pOut[4] = lowerRight;
    pOut[5] = lowerLeft;
}

/** A rectangle of the plane z = 0, font pixels. */
struct Box {
    RealFloat m_rLeft;
    RealFloat m_rBottom;
    RealFloat m_rRight;
    RealFloat m_rTop;
};

/** The rectangle that a glyph is drawn in. */
inline Box GlyphBox(GlyphInstance const& instance, Glyph const& glyph) {
    RealFloat const x = instance.m_rX;
    RealFloat const y = instance.m_rY;
    return {x, y, x + static_cast<RealFloat>(glyph.m_nWidth), y + static_cast<RealFloat>(glyph.m_nHeight)};
}

inline void WritePositions(Vector3T<RealFloat>* pOut, Box const& box) {
    WriteQuad(pOut, {box.m_rLeft, box.m_rBottom, 0}, {box.m_rLeft, box.m_rTop, 0},
              {box.m_rRight, box.m_rBottom, 0}, {box.m_rRight, box.m_rTop, 0});
}

/** The batch's first instance; null for a batch that is not among the instances or cannot be drawn at once.
 */
inline GlyphInstance const* FindInstances(List<GlyphInstance> const& instances, GlyphBatch const& batch) {
    unsigned int const nAll = instances.GetCount();
    bool const fThere = batch.m_nFirst < nAll && batch.m_nCount <= nAll - batch.m_nFirst;
    return fThere && batch.m_nCount <= INT_MAX / VerticesPerGlyph ? &instances[batch.m_nFirst] : nullptr;
}

/** Lengthens a stream to at least `nElements`, with copies of `fill`. False, unchanged, without memory. */
template <class T>
inline bool Grow(List<T>& stream, unsigned int nElements, T const& fill = T()) {
    return nElements <= stream.GetCount() || stream.Resize(nElements, fill);
}

inline void SetTextureSampler(ShaderProgramGL2& program, Texture* pTexture) {
    program.SetSampler(UniformNames::sTexture, static_cast<TextureGL2*>(pTexture), 0);
}

/** Sets mWorldToView to the transform on top of the device's stack × projection. */
inline void SetTransformParameter(GraphicsDeviceGL2& device, ShaderProgramGL2& program) {
    Matrix4T<RealFloat> worldToView{Uninitialized()};
    Matrix4Multiply(device.GetTransformMatrix(), device.ProjectionMatrix(), worldToView);
    program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, worldToView);
}

} // namespace trevik::kelvo::GlyphQuads
