#include "font/GrowingPage.h"

#include "trevik/StringEncoded.h"

#include <algorithm>

namespace trevik::kelvo::assets {

bool GrowingPage::Place(GlyphBitmap const& glyph, GlyphPlace& place) {
    int x = m_nX;
    int y = m_nY;
    int shelfHeight = m_nShelfHeight;
    bool const fShelfFits = x + glyph.width + 1 <= m_nSide && (glyph.height <= shelfHeight || x == 1);
    if (!fShelfFits) {
        x = 1;
        y += shelfHeight + 1;
        shelfHeight = 0;
    }
    if (x + glyph.width + 1 > m_nSide || y + glyph.height + 1 > m_nSide) {
        return false;
    }
    std::size_t const width = std::size_t(glyph.width);
    for (int row = 0; row < glyph.height; ++row) {
        std::copy_n(glyph.coverage.data() + std::size_t(row) * width, width,
                    m_pixels.data() + std::size_t(y + row) * std::size_t(m_nSide) + std::size_t(x));
    }
    place = {0, x, y};
    m_nX = x + glyph.width + 1;
    m_nY = y;
    m_nShelfHeight = std::max(shelfHeight, glyph.height);
    return true;
}

bool GrowingPage::Show(std::string const& name) {
    if (m_pTexture) {
        return m_pTexture->Replace(m_nSide, m_nSide, TextureFormat::Alpha8, m_pixels.data(), 0);
    }
    m_pTexture = Texture::CreateTexture(m_nSide, m_nSide, TextureFormat::Alpha8, m_pixels.data(), 0);
    if (m_pTexture) {
        m_pTexture->SetName(String16(String8(name.data(), static_cast<unsigned int>(name.size()))));
    }
    return static_cast<bool>(m_pTexture);
}

} // namespace trevik::kelvo::assets
