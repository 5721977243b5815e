#pragma once

#include "trevik/Color.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Referenced.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/Glyph.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/RealProperty.h"

namespace trevik::kelvo {

class Deserializer;
class GraphicsDevice;
class Serializer;

/** What text layout needs to know of a font besides its glyphs. */
struct FontMetrics {
    RealFloat m_rXPixelsPerEm = 0; ///< font pixels in an em, across
    RealFloat m_rYPixelsPerEm = 0; ///< font pixels in an em, upwards
    RealFloat m_rScaleFactorX = 1; ///< from font pixels to node units at the font's own size
    RealFloat m_rScaleFactorY = 1; ///< the same, upwards
    RealFloat m_rAscent = 0;       ///< above the baseline, positive
    RealFloat m_rDescent = 0;      ///< below the baseline, positive
    RealFloat m_rLeading = 0;      ///< extra distance between lines
};

/** The extra distance that the pen moves between two neighbours, font pixels. */
struct KerningPair {
    unsigned int m_nFirst = 0;  ///< code point on the left
    unsigned int m_nSecond = 0; ///< code point on the right
    RealFloat m_rDistance = 0;  ///< font pixels, negative to pull them together
};

/**
 * A set of glyphs with the measures that text layout needs. Measures are in font pixels unless said
 * otherwise.
 */
class TREVIK_API Font : public Referenced, public ITraceable {
public:
    /** `nFactoryClassID`: see GetFactoryClassID. That of PolygonalFont is for classes that derive from it. */
    explicit Font(unsigned int nFactoryClassID);
    ~Font() override;
    Font(Font const&) = delete;
    Font& operator=(Font const&) = delete;

    /** Font pixels in an em, across. */
    virtual RealFloat GetXPixelsPerEm() const;
    /** Font pixels in an em, upwards. */
    virtual RealFloat GetYPixelsPerEm() const;
    /** Node units in a font pixel at the font's own size, across. */
    virtual RealFloat GetScaleFactorX() const;
    /** Node units in a font pixel at the font's own size, upwards. */
    virtual RealFloat GetScaleFactorY() const;
    virtual RealFloat GetAscent() const;  ///< above the baseline, positive
    virtual RealFloat GetDescent() const; ///< below the baseline, positive
    virtual RealFloat GetLeading() const; ///< extra distance between lines
    /** Prepares the font for use after its glyphs are there. */
    virtual bool Initialize();
    /** Gives the font an id that no other font of the process has. */
    virtual void GenerateID();
    /**
     * Draws a batch of glyphs, or, with `fShadow`, its drop shadow. Only the alpha of `color` is used, as a
     * fade. Render thread.
     */
    virtual void RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                                  GlyphBatch const& batch, Vector3T<RealFloat> const& position,
                                  ColorT<RealFloat> const& color, bool fShadow,
                                  Vector3T<RealFloat> const& shadowOffset,
                                  ColorT<RealFloat> const& shadowColor) const = 0;
    /**
     * Writes metrics, properties, glyphs and kerning into the current document node; the glyphs' textures go
     * into the document's table. False, traced, for a glyph that Load would refuse.
     */
    virtual bool Save(Serializer& serializer);
    /**
     * Replaces everything by what Save wrote; of several glyphs or kerning distances for the same code points
     * the last one counts. False, noted, with the font unchanged, when a code point exceeds 0x10FFFF, a
     * number is not finite, a texture or mesh is not there, an image has no texture, or memory is short.
     * After success the pointers that GetGlyph had given out are no longer good.
     */
    virtual bool Load(Deserializer& deserializer);
    /** The glyph of a code point; null when the font has none. Takes constant time. */
    virtual Glyph const* GetGlyph(unsigned int nCodePoint) const;
    void Emit(MemoryTracer* pTracer) override;

    /**
     * Adds a copy of a glyph, or replaces the one of the same code point. The pointers that GetGlyph has
     * given out stay good, except that one to a glyph that is replaced shows the new one. Fast in the order
     * of the code points. False, with nothing changed, when the code point exceeds 0x10FFFF, a number of the
     * glyph is not finite, or memory is short.
     */
    bool AddGlyph(Glyph const& glyph);
    /** The number of glyphs. */
    unsigned int GetGlyphCount() const { return m_glyphs.GetCount(); }
    /** Glyphs in the order of their code points. */
    Glyph const* GetGlyphAt(unsigned int nIndex) const { return m_glyphs[nIndex]; }
    /**
     * Sets the extra distance that the pen moves between two neighbours, in font pixels, negative to pull
     * them together; 0 takes the pair out. Fast in the order of the pairs. False, with nothing changed, when
     * a code point exceeds 0x10FFFF, the distance is not finite, or memory is short.
     */
    bool SetKerning(unsigned int nFirst, unsigned int nSecond, RealFloat rDistance);
    /** The distance set for two neighbouring code points, else 0. Takes constant time. */
    RealFloat GetKerning(unsigned int nFirst, unsigned int nSecond) const;
    /** Goes up with every change of glyphs, kerning or metrics: layouts made before are out of date. */
    unsigned int GetRevision() const { return m_nRevision; }

    /** Id that the classes of this kind of font are registered under, and saved with. */
    unsigned int GetFactoryClassID() const { return m_nFactoryClassID; }
    /** 0 until GenerateID. */
    unsigned int GetID() const { return m_nID; }
    /** What layout needs besides the glyphs. */
    FontMetrics const& GetMetrics() const { return m_metrics; }
    /** Replaces them; layouts made before are out of date. */
    void SetMetrics(FontMetrics const& metrics) {
        m_metrics = metrics;
        ++m_nRevision;
    }
    BoolProperty& GetUnderlineProperty() { return m_underline; }
    RealProperty& GetUnderlinePositionProperty() { return m_underlinePosition; }
    RealProperty& GetUnderlineThicknessProperty() { return m_underlineThickness; }
    IntProperty& GetUnderlineScaleProperty() { return m_underlineScale; }

protected:
    /** Save and Load for a font with that many meshes. */
    bool SaveContents(Serializer& serializer, unsigned int nMeshCount);
    /** Load for a font with that many meshes. */
    bool LoadContents(Deserializer& deserializer, unsigned int nMeshCount);

    unsigned int const m_nFactoryClassID; ///< see GetFactoryClassID
    unsigned int m_nID = 0;               ///< 0 until GenerateID
    unsigned int m_nRevision = 0;         ///< see GetRevision
    FontMetrics m_metrics;                ///< see GetMetrics
    /** The animated properties. */
    PropertyList m_properties;
    BoolProperty m_underline;         ///< "Underline": all texts in this font are underlined, false
    RealProperty m_underlinePosition; ///< "UnderlinePosition": from baseline down to the line's upper edge, 0
    RealProperty m_underlineThickness; ///< "UnderlineThickness", 0
    IntProperty m_underlineScale;      ///< "UnderlineScale": makes font pixels of both, 1

private:
    /** Code points whose glyphs are found without a search: Latin letters, digits and punctuation. */
    static constexpr unsigned int DirectCount = 256;

    /** Index of a code point's glyph or of a pair, or where it would have to be inserted. */
    unsigned int FindGlyph(unsigned int nCodePoint) const;
    unsigned int FindKerning(KerningPair const& pair) const;
    bool IsKnown(KerningPair const& pair, unsigned int nIndex) const;
    bool LoadProperties(Deserializer& deserializer);
    void EnterDirectly(Glyph const* pGlyph);
    bool ReserveTable();
    bool AddKerning(unsigned int nIndex, KerningPair const& pair);
    void EnterKerningAnew();

    List<Glyph*> m_glyphs;                   ///< owned, by code point
    Glyph const* m_direct[DirectCount] = {}; ///< by code point
    List<Glyph const*> m_glyphTable;         ///< hash table of the glyphs from DirectCount on
    List<KerningPair> m_kerning;             ///< by first, then second code point
    List<unsigned int> m_kerningTable;       ///< hash table of its indices, plus 1
};

} // namespace trevik::kelvo
