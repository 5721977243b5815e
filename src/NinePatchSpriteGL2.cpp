#include "NinePatchSpriteGL2.h"

#include "GlState.h"
#include "SpriteParameters.h"
#include "TexturedProgram.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

NinePatchSpriteGL2::NinePatchSpriteGL2() {
    RegisterNPProperties();
}

NinePatchSpriteGL2::NinePatchSpriteGL2(NinePatchSpriteGL2 const& other)
    : SpriteGL2(other), m_gridIndices(other.m_gridIndices) {
    RegisterNPProperties();
    m_properties.NoteShortage(!m_horizontalBands.Copy(other.m_horizontalBands));
    m_properties.NoteShortage(!m_verticalBands.Copy(other.m_verticalBands));
    m_properties.NoteShortage(!m_contentMargin.Copy(other.m_contentMargin));
}

NinePatchSpriteGL2::~NinePatchSpriteGL2() = default;

void NinePatchSpriteGL2::RegisterNPProperties() {
    m_properties.Register(u"NinePatchPairX", &m_horizontalBands);
    m_properties.Register(u"NintPatchPairY", &m_verticalBands); // intended (nint-patch-spelling)
    m_properties.Register(u"ContentMargin", &m_contentMargin);
    // Bands and texture do not mark the grid: intended (nine-patch-rebuild).
    m_properties.NoteShortage(
        !m_size.GetChangeEvent().Connect(member_function(this, &NinePatchSpriteGL2::OnSizeChanged)) ||
        !m_scale.GetChangeEvent().Connect(member_function(this, &NinePatchSpriteGL2::OnVectorChanged)) ||
        !m_pivot.GetChangeEvent().Connect(member_function(this, &NinePatchSpriteGL2::OnVectorChanged)));
}

void NinePatchSpriteGL2::OnSizeChanged(SizeT<int> const&) {
    m_dirty = true;
}

void NinePatchSpriteGL2::OnVectorChanged(Vector3T<RealFloat> const&) {
    m_dirty = true;
}

namespace {

/** The texel behind a band. Scenes may give any numbers, so it is computed without overflow. */
long long GetEnd(Vector2T<int> const& band) {
    return static_cast<long long>(band.x) + band.y;
}

} // namespace

bool NinePatchSpriteGL2::EvaluateVertices(ListProperty<Vector2T<int>>& bands, RealFloat extent,
                                          int nTextureSize, RealFloat scale, List<RealFloat>& textureCoords,
                                          List<RealFloat>& positions) {
    List<Vector2T<int>> const& pairs = bands.GetValue();
    if (pairs.IsEmpty() || static_cast<double>(scale) <= 1.0) {
        // Shows the whole texture, even where its image is smaller. The cuts, below, are fractions of the
        // image's size, and GL takes them for fractions of the whole: intended (nine-patch-whole-texture).
        return textureCoords.Append(0) && textureCoords.Append(1) && positions.Append(0) &&
               positions.Append(extent);
    }
    unsigned int const nCount = pairs.GetCount() < g_MaxNinePatchPair ? pairs.GetCount() : g_MaxNinePatchPair;
    RealFloat const rTexture = static_cast<RealFloat>(nTextureSize);
    bool const fLeadingEdge = pairs[0].x != 0;
    bool const fTrailingEdge = GetEnd(pairs[nCount - 1]) != nTextureSize;
    bool fAppended = !fLeadingEdge || textureCoords.Append(0);
    RealFloat rStretchable = 0;
    for (unsigned int i = 0; i < nCount; ++i) {
        fAppended = fAppended && textureCoords.Append(static_cast<RealFloat>(pairs[i].x) / rTexture) &&
                    textureCoords.Append(static_cast<RealFloat>(GetEnd(pairs[i])) / rTexture);
        rStretchable += static_cast<RealFloat>(pairs[i].y);
    }
    fAppended = fAppended && (!fTrailingEdge || textureCoords.Append(1));

    // The length that is left for stretchable bands, as fixed ones keep their size. Positions are divided by
    // the node's scale, which is applied to them later.
    RealFloat const rFill = rTexture * scale - (rTexture - rStretchable);
    fAppended = fAppended && (!fLeadingEdge || positions.Append(0));
    RealFloat rPosition = 0;
    for (unsigned int i = 0; i < nCount; ++i) {
        long long const nFixed = i == 0 ? pairs[0].x : pairs[i].x - GetEnd(pairs[i - 1]);
        rPosition += static_cast<RealFloat>(nFixed) / scale;
        fAppended = fAppended && positions.Append(rPosition);
        rPosition += rFill * (static_cast<RealFloat>(pairs[i].y) / rStretchable) / scale;
        fAppended = fAppended && positions.Append(rPosition);
    }
    return fAppended && (!fTrailingEdge || positions.Append(extent));
}

namespace {

/** Resizes to exactly `nCount`; on failure the list is empty without storage. */
template <class T>
bool ResizeExactly(List<T>& list, unsigned int nCount) {
    list.Resize(nCount);
    if (list.GetCount() != nCount) {
        list.Release();
        return false;
    }
    return true;
}

} // namespace

bool NinePatchSpriteGL2::EvaluateNinePatchInfo() {
    return m_pTexture && CutAxes() && PlaceGridPoints() && JoinGridPoints();
}

/** Finds the cut lines of both axes; false without memory for them. */
bool NinePatchSpriteGL2::CutAxes() {
    for (unsigned int nAxis = 0; nAxis < 2; ++nAxis) {
        m_cutCoords[nAxis].Clear();
        m_cutPositions[nAxis].Clear();
    }
    SizeT<int> const size = m_size.GetValue();
    // The stretch does not count, and enlarges fixed bands as well: intended (nine-patch-scale-only).
    Vector3T<RealFloat> const scale = m_scale.GetValue();
    List<RealFloat>& u = m_cutCoords[0];
    List<RealFloat>& x = m_cutPositions[0];
    List<RealFloat>& v = m_cutCoords[1];
    List<RealFloat>& y = m_cutPositions[1];
    // A list that could not grow is shorter than the other one of its axis, or both are empty: no grid then.
    static_cast<void>(EvaluateVertices(m_horizontalBands, static_cast<RealFloat>(size.width),
                                       m_pTexture->GetWidth(), scale.x, u, x));
    static_cast<void>(EvaluateVertices(m_verticalBands, static_cast<RealFloat>(size.height),
                                       m_pTexture->GetHeight(), scale.y, v, y));
    return u.GetCount() == x.GetCount() && v.GetCount() == y.GetCount() && !x.IsEmpty() && !y.IsEmpty();
}

/** Gives each crossing of cut lines its place and its texture coordinates, row after row. */
bool NinePatchSpriteGL2::PlaceGridPoints() {
    unsigned int const nColumns = m_cutPositions[0].GetCount();
    unsigned int const nRows = m_cutPositions[1].GetCount();
    if (!ResizeExactly(m_gridTextureCoords, nColumns * nRows) ||
        !ResizeExactly(m_gridVertices, nColumns * nRows)) {
        return false;
    }
    for (unsigned int r = 0; r < nRows; ++r) {
        for (unsigned int c = 0; c < nColumns; ++c) {
            unsigned int const i = r * nColumns + c;
            m_gridTextureCoords[i] = Vector2T<RealFloat>(m_cutCoords[0][c], 1 - m_cutCoords[1][r]);
            m_gridVertices[i] = Vector3T<RealFloat>(m_cutPositions[0][c], m_cutPositions[1][r], 0);
        }
    }
    return true;
}

/** Joins the four points around each cell to two triangles. */
bool NinePatchSpriteGL2::JoinGridPoints() {
    unsigned int const nColumns = m_cutPositions[0].GetCount();
    unsigned int const nRows = m_cutPositions[1].GetCount();
    if (!ResizeExactly(m_gridIndices, 6 * (nRows - 1) * (nColumns - 1))) {
        return false;
    }
    unsigned short* pIndex = m_gridIndices.GetData();
    for (unsigned int r = 0; r + 1 < nRows; ++r) {
        for (unsigned int c = 0; c + 1 < nColumns; ++c) {
            unsigned int const i = r * nColumns + c;
            unsigned int const corners[6] = {i, i + nColumns, i + nColumns + 1, i, i + nColumns + 1, i + 1};
            for (unsigned int nCorner : corners) {
                *pIndex++ = static_cast<unsigned short>(nCorner);
            }
        }
    }
    return true;
}

bool NinePatchSpriteGL2::PrepareGrid() {
    if (!m_pTexture || (m_horizontalBands.GetValue().IsEmpty() && m_verticalBands.GetValue().IsEmpty())) {
        return false;
    }
    if (m_dirty) {
        if (!EvaluateNinePatchInfo()) {
            return false; // Stays dirty: tried again at the next draw.
        }
        m_dirty = false;
    }
    return true;
}

void NinePatchSpriteGL2::InternalRender(GraphicsDevice& device) {
    SpriteGL2::InternalRender(device);
}

void NinePatchSpriteGL2::InternalRenderNonBlended(GraphicsDeviceGL2& device) {
    if (!PrepareGrid()) {
        SpriteGL2::InternalRenderNonBlended(device);
        return;
    }
    if (m_textureCoords.IsEmpty()) {
        return; // Never loaded: GL's texture coordinates are those of an earlier draw, and may be freed.
    }
    TextureGL2* const pTexture = GetTextureGL2();
    // Unlike a sprite, a grid has no calls around its draw, no rows swapped for promoted textures and no
    // antialiased edges: intended (nine-patch-no-edges).
    GlState::SetVertexArray(VertexAttributeIndex::Position, m_gridVertices.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Texture, m_gridTextureCoords.GetData());
    ShaderProgramGL2* const pProgram =
        device.GetShader(ChooseTexturedProgram(device.IsAlphaTestEnabled(), pTexture->GetFormat()));
    device.SetActiveShader(pProgram);
    if (!pProgram) {
        return; // the device is not up
    }
    SetTextureSamplers(*pProgram, pTexture);
    SetColorParameter(device, *pProgram, true);
    GlState::SetPlainBlend();
    SetTransformParameter(device, *pProgram);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(m_gridIndices.GetCount()), GL_UNSIGNED_SHORT,
                   m_gridIndices.GetData());
}

} // namespace trevik::kelvo
