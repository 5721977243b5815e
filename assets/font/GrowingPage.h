#pragma once

#include "font/GlyphPages.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Texture.h"

#include <string>

namespace trevik::kelvo::assets {

/** A square page of glyph pictures that get there one after the other. A copy has pixels of its own. */
class GrowingPage {
public:
    explicit GrowingPage(int side) : m_nSide(side), m_pixels(std::size_t(side) * std::size_t(side)) {}

    int GetSide() const { return m_nSide; }
    /** Finds a place for a picture and draws it there; false, with nothing changed, when there is none. */
    bool Place(GlyphBitmap const& glyph, GlyphPlace& place);
    /**
     * Makes the page's texture, of this name, or gives it the pixels as they are now. False, with a texture
     * that was there as it was, without memory, or when no class "Texture" is registered.
     */
    bool Show(std::string const& name);
    /** Null until the page has been shown. */
    Ref<Texture> const& GetTexture() const { return m_pTexture; }

private:
    int m_nSide;
    std::vector<std::uint8_t> m_pixels;
    // The next place on the lowest shelf, one empty pixel beside all others, and that shelf's height.
    int m_nX = 1;
    int m_nY = 1;
    int m_nShelfHeight = 0;
    Ref<Texture> m_pTexture;
};

} // namespace trevik::kelvo::assets
