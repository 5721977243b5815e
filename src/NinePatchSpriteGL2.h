#pragma once

#include "SpriteGL2.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/RectangleProperty.h"

namespace trevik::kelvo {

/** At most this many stretch bands of each direction are used; further ones are ignored. */
constexpr unsigned int g_MaxNinePatchPair = 10;

/**
 * A sprite whose texture is cut into fixed and stretchable bands: scaled up, it keeps the fixed ones at their
 * size in texels while the stretchable ones take up the rest. Without bands it is a plain sprite.
 */
class KELVO_EXPORT NinePatchSpriteGL2 : public SpriteGL2 {
public:
    NinePatchSpriteGL2();
    /**
     * Copies the sprite and the three properties; the grid is rebuilt at the copy's next draw. Without memory
     * the property list is not whole.
     */
    NinePatchSpriteGL2(NinePatchSpriteGL2 const& other);
    ~NinePatchSpriteGL2() override;

    // Clone and the rest of the reflection stay the sprite's, so a clone of a nine-patch sprite is a sprite:
    // intended (nine-patch-clone).
    unsigned int GetFactoryClassID() const override { return HashName(u"NinePatchSprite"); }

    /** Calls what SpriteGL2::InternalRender calls. Render thread. */
    void InternalRender(GraphicsDevice& device) override;
    /**
     * Draws the grid as one indexed triangle list; without a texture or bands, or when it cannot be built,
     * the sprite. Calls glVertexAttribPointer (0 and 1), what GraphicsDeviceGL2::SetActiveShader,
     * ShaderProgramGL2::SetSampler and ShaderProgramGL2::SetParameter call, glBlendFuncSeparate,
     * glBlendEquationSeparate and glDrawElements, or what SpriteGL2::InternalRenderNonBlended calls. Render
     * thread. Nothing is drawn before Load.
     */
    void InternalRenderNonBlended(GraphicsDeviceGL2& device) override;

    /**
     * Distances in node units from the sprite's left, top, right and bottom edge to its content. Not used in
     * drawing.
     */
    RectangleT<RealFloat> GetContentMargin() { return m_contentMargin.GetValue(); }
    /** Stretch bands (start, length) in texels along x and y, increasing and apart. */
    ListProperty<Vector2T<int>>& GetHorizontalBandsProperty() { return m_horizontalBands; }
    ListProperty<Vector2T<int>>& GetVerticalBandsProperty() { return m_verticalBands; }

    /**
     * Rebuilds the grid from bands, sizes and scale. False, with the list that could not grow empty, without
     * memory.
     */
    bool EvaluateNinePatchInfo();

    /**
     * Cut lines along one axis: texture coordinates (0 to 1) and positions (node units) of the band edges.
     * `extent` is the sprite's size, `nTextureSize` the texture's used size in texels, `scale` the node's
     * scale. False when out of memory.
     */
    static bool EvaluateVertices(ListProperty<Vector2T<int>>& bands, RealFloat extent, int nTextureSize,
                                 RealFloat scale, List<RealFloat>& textureCoords, List<RealFloat>& positions);

private:
    void RegisterNPProperties();
    bool PrepareGrid();
    bool CutAxes();
    bool PlaceGridPoints();
    bool JoinGridPoints();
    void OnSizeChanged(SizeT<int> const& size);
    void OnVectorChanged(Vector3T<RealFloat> const& value);

    bool m_dirty = true;
    List<Vector3T<RealFloat>> m_gridVertices;
    List<Vector2T<RealFloat>> m_gridTextureCoords;
    List<unsigned short> m_gridIndices;
    ListProperty<Vector2T<int>> m_horizontalBands; ///< "NinePatchPairX"
    ListProperty<Vector2T<int>> m_verticalBands;   ///< "NintPatchPairY", spelt so in every saved scene
    RectangleProperty m_contentMargin;             ///< "ContentMargin"
    List<RealFloat> m_cutCoords[2];                ///< scratch of EvaluateNinePatchInfo, per axis
    List<RealFloat> m_cutPositions[2];
};

} // namespace trevik::kelvo
