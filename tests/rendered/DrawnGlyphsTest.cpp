// Glyphs of fonts as a person sees them: where they are, which way up, their colours, shadows and underlines.

#include "Stage.h"

#include "BitmapFontGL2.h"
#include "PolygonalFontGL2.h"
#include "TextGL2.h"

#include <functional>

namespace kelvo::test {
namespace {

using namespace trevik;
using namespace trevik::kelvo;
using Color = ColorT<RealFloat>;

constexpr Shade Black = {0, 0, 0, 1};
constexpr Shade Green = {0.25, 1, 0.5, 0.75};

Color ToColor(Shade const& shade) {
    return Color(RealFloat(shade.r), RealFloat(shade.g), RealFloat(shade.b), RealFloat(shade.a));
}

/** Draws whatever it is told to where a text would draw its batches. */
class GlyphNode : public TextGL2 {
public:
    explicit GlyphNode(std::function<void(GlyphNode&)> draw) : m_draw(std::move(draw)) {}

    void InternalRender(GraphicsDevice& device) override {
        device.PushTransformMatrix(m_worldMatrix * device.GetViewMatrix());
        m_draw(*this);
        device.PopTransformMatrix();
    }

private:
    std::function<void(GlyphNode&)> m_draw;
};

class DrawnGlyphs : public Stage {
protected:
    DrawnGlyphs() {
        Open();
        Device().SetClearColor(ToColor(Clear));
    }

    /** A glyph that covers a part of a texture, which is measured from its upper left corner. */
    static Glyph MakeGlyph(Ref<Texture> const& pTexture, int left, int top, int width, int height) {
        RealFloat const textureWidth = RealFloat(pTexture->GetWidth());
        RealFloat const textureHeight = RealFloat(pTexture->GetHeight());
        Glyph glyph;
        glyph.m_nWidth = static_cast<unsigned short>(width);
        glyph.m_nHeight = static_cast<unsigned short>(height);
        glyph.m_pTexture = pTexture;
        glyph.m_textureRectangle[0] = RealFloat(top) / textureHeight;
        glyph.m_textureRectangle[1] = RealFloat(left) / textureWidth;
        glyph.m_textureRectangle[2] = RealFloat(top + height) / textureHeight;
        glyph.m_textureRectangle[3] = RealFloat(left + width) / textureWidth;
        return glyph;
    }

    void Append(Glyph const& glyph, RealFloat x, RealFloat y, Shade const& shade) {
        GlyphInstance instance;
        instance.m_pGlyph = &glyph;
        instance.m_rX = x;
        instance.m_rY = y;
        for (Color& corner : instance.m_colors) {
            corner = ToColor(shade);
        }
        m_instances.Append(instance);
    }

    void DrawAs(std::function<void(GlyphNode&)> draw) { Root().Attach(new GlyphNode(std::move(draw))); }

    void DrawBatch(BitmapFontGL2& font, RealFloat fade, bool shadow = false) {
        font.RenderGlyphBatch(Device(), m_instances, GlyphBatch{0, m_instances.GetCount()}, Vector(),
                              Color(0, 0, 0, fade), shadow, Vector(3, -2, 0), Color(1, 0.5f, 0, 0.5f));
    }

    static constexpr Shade Clear = {0.25, 0.125, 0.5, 1};

    List<GlyphInstance> m_instances;
    Canvas m_canvas{Width, Height, Clear};
};

/** Only its alpha makes a glyph's shape; it is the same nowhere. */
Image MakeShape(int width, int height) {
    Image shape(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            shape.At(x, y) = {255, 0, 255, std::uint8_t((x * 5 + y * 16) % 256)};
        }
    }
    return shape;
}

/** A part of a shape in one colour. */
Image Tint(Image const& shape, int left, int top, int width, int height, Shade const& shade) {
    Image tinted(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            double const alpha = shape.At(left + x, top + y).a * shade.a;
            tinted.At(x, y) = {std::uint8_t(255 * shade.r + 0.5), std::uint8_t(255 * shade.g + 0.5),
                               std::uint8_t(255 * shade.b + 0.5), std::uint8_t(alpha + 0.5)};
        }
    }
    return tinted;
}

TEST_F(DrawnGlyphs, AreUprightPartsOfTheirTextureInTheirColour) {
    Image const shape = MakeShape(32, 16);
    Ref<Texture> const pTexture = MakeTexture(shape);
    Glyph const first = MakeGlyph(pTexture, 3, 2, 11, 7);
    Glyph const second = MakeGlyph(pTexture, 20, 5, 6, 10);
    Append(first, 9, 5, Green);
    Append(second, 30, 12, {1, 0, 0.25, 1});
    Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
    DrawAs([&](GlyphNode&) { DrawBatch(*pFont, 0.5f); });
    m_canvas.Blend(9, 5, Tint(shape, 3, 2, 11, 7, Green), 0.5);
    m_canvas.Blend(30, 12, Tint(shape, 20, 5, 6, 10, {1, 0, 0.25, 1}), 0.5);
    EXPECT_TRUE(CompareImages(DrawFrame(), m_canvas.Picture(), Rounding));
}

TEST_F(DrawnGlyphs, ShadowsLieAsideInTheShadowColour) {
    Image const shape = MakeShape(16, 8);
    Glyph const glyph = MakeGlyph(MakeTexture(shape), 0, 0, 16, 8);
    Append(glyph, 9, 5, Green);
    Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
    DrawAs([&](GlyphNode&) {
        DrawBatch(*pFont, 1, true);
        DrawBatch(*pFont, 1);
    });
    m_canvas.Blend(9 + 3, 5 - 2, Tint(shape, 0, 0, 16, 8, {1, 0.5, 0, 0.5 * Green.a}));
    m_canvas.Blend(9, 5, Tint(shape, 0, 0, 16, 8, Green));
    EXPECT_TRUE(CompareImages(DrawFrame(), m_canvas.Picture(), Rounding));
}

TEST_F(DrawnGlyphs, UnderlinesRunFromPenToPenBelowTheBaseline) {
    Image const shape = MakeShape(8, 8);
    Glyph glyph = MakeGlyph(MakeTexture(shape), 0, 0, 8, 8);
    glyph.m_nOffsetX = 2;
    glyph.m_nOffsetY = 3; // it reaches below the baseline
    glyph.m_nAdvance = 13;
    Append(glyph, 10, 15, Green);
    Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
    pFont->GetUnderlineProperty().SetValue(true);
    pFont->GetUnderlinePositionProperty().SetValue(1.5f);
    pFont->GetUnderlineThicknessProperty().SetValue(1);
    pFont->GetUnderlineScaleProperty().SetValue(2);
    DrawAs([&](GlyphNode&) { DrawBatch(*pFont, 0.5f); });
    m_canvas.Blend(10, 15, Tint(shape, 0, 0, 8, 8, Green), 0.5);
    // The pen stands at 8 on a baseline at 18: the line's upper edge is 3 below it, its lower one 5.
    m_canvas.Blend(8, 13, 13, 2, {Green.r, Green.g, Green.b, Green.a * 0.5});
    EXPECT_TRUE(CompareImages(DrawFrame(), m_canvas.Picture(), Rounding));
}

TEST_F(DrawnGlyphs, ImagesAreUprightInTheirOwnColours) {
    Image const picture = MakePicture(11, 7);
    Image padded(16, 32, Pixel{255, 0, 255, 255});
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 11; ++x) {
            padded.At(x, y) = picture.At(x, y);
        }
    }
    Ref<Texture> const pTexture = MakeTexture(padded);
    pTexture->SetUsedSize(11, 7);
    Glyph const glyph = MakeGlyph(pTexture, 0, 0, 11, 7);
    Append(glyph, 9, 5, Green);
    Append(glyph, 25, 20, Black);
    DrawAs([&](GlyphNode& node) {
        node.RenderImageBatch(Device(), m_instances, GlyphBatch{0, 2}, Color(0, 0, 0, 0.5f));
    });
    m_canvas.Blend(9, 5, picture, Green.a * 0.5);
    m_canvas.Blend(25, 20, picture, 0.5);
    EXPECT_TRUE(CompareImages(DrawFrame(), m_canvas.Picture(), Rounding));
}

TEST_F(DrawnGlyphs, MeshesAreFilledWhereTheTransformPutsThem) {
    Ref<PolygonalFontGL2> const pFont(new PolygonalFontGL2);
    GlyphMesh* const pMesh = new GlyphMesh;
    for (Vector const& corner : {Vector(0, 0, 0), Vector(4, 0, 0), Vector(4, 11, 0), Vector(0, 11, 0)}) {
        pMesh->m_positions.GetWritableValue().Append(corner);
    }
    for (unsigned short const nIndex : {0, 1, 2, 0, 2, 3}) {
        pMesh->m_indices.GetWritableValue().Append(nIndex);
    }
    Glyph glyph;
    glyph.m_nMesh = pFont->AddMesh(pMesh);
    Color const color = ToColor(Green);
    AddSprite(Root(), 0, 0, 1, 1, Black); // sets the blending
    m_canvas.Blend(0, 0, 1, 1, Black);
    DrawAs([&](GlyphNode&) {
        Device().PushTransformMatrix(Matrix4Translation(Vector(20, 9, 0)) * Device().GetTransformMatrix() *
                                     Device().GetProjectionMatrix());
        pFont->RenderGlyph(Device(), &glyph, Vector2T<RealFloat>(40, 20), &color);
        Device().PopTransformMatrix();
    });
    m_canvas.Blend(20, 9, 4, 11, Green);
    EXPECT_TRUE(CompareImages(DrawFrame(), m_canvas.Picture(), Rounding));
}

} // namespace
} // namespace kelvo::test
