#include "font/FontPages.h"

#include "font/GlyphPages.h"
#include "font/GlyphPicture.h"
#include "scene/TextureMaker.h"

#include <algorithm>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumPageBytes = std::size_t(256) << 20;

/** Rasterises the glyphs of a face and lays them out on pages. */
class BitmapFontMaker {
public:
    BitmapFontMaker(FontFace& face, FontOptions const& options)
        : m_face(face), m_pictures(face, options), m_nLargestPage(LargestPage(options.maximumPageSize)) {}

    bool MakeGlyphs(Fault& fault);
    bool MakePages(std::string const& name, ClassRegistry const& registry, Font& font, Fault& fault);

private:
    bool MakeGlyph(FontCharacter const& character, Fault& fault);

    FontFace& m_face;
    GlyphRasterizer m_pictures;
    int m_nLargestPage;
    std::size_t m_nBytes = 0;
    std::vector<Glyph> m_glyphs;
    std::vector<GlyphBitmap> m_bitmaps;
};

bool BitmapFontMaker::MakeGlyphs(Fault& fault) {
    std::vector<FontCharacter> const& characters = m_face.GetCharacters();
    return std::all_of(characters.begin(), characters.end(),
                       [&](FontCharacter const& character) { return MakeGlyph(character, fault); });
}

bool BitmapFontMaker::MakeGlyph(FontCharacter const& character, Fault& fault) {
    Glyph glyph;
    GlyphBitmap bitmap;
    if (!m_pictures.Make(character, glyph, bitmap, fault)) {
        return false;
    }
    m_nBytes += bitmap.coverage.size();
    if (m_nBytes > MaximumPageBytes) {
        return m_face.Fail(fault, "the glyphs asked for have more pixels than the " +
                                      std::to_string(MaximumPageBytes) + " allowed");
    }
    m_glyphs.push_back(glyph);
    m_bitmaps.push_back(std::move(bitmap));
    return true;
}

/** Gives each glyph its part of a page, and the font the glyphs. */
bool BitmapFontMaker::MakePages(std::string const& name, ClassRegistry const& registry, Font& font,
                                Fault& fault) {
    PagePlan const plan = PlanPages(m_bitmaps, m_nLargestPage);
    if (plan.GetBytes() > MaximumPageBytes) {
        return m_face.Fail(fault, "the glyphs asked for need pages of " + std::to_string(plan.GetBytes()) +
                                      " bytes, more than the " + std::to_string(MaximumPageBytes) +
                                      " allowed");
    }
    std::vector<Ref<Texture>> pages;
    for (std::size_t i = 0; i < plan.sides.size(); ++i) {
        ImageData const image = DrawPage(plan, static_cast<int>(i), m_bitmaps);
        pages.push_back(MakeTexture(image, BaseName(name) + " page " + std::to_string(i + 1), registry));
        if (!pages.back()) {
            return m_face.Fail(fault, "no class \"Texture\", or not enough memory, for its pages");
        }
    }
    for (std::size_t i = 0; i < m_glyphs.size(); ++i) {
        Glyph& glyph = m_glyphs[i];
        GlyphPlace const& place = plan.places[i];
        if (place.page >= 0) {
            SetPlace(glyph, place, plan.sides[std::size_t(place.page)], pages[std::size_t(place.page)]);
        }
        if (!font.AddGlyph(glyph)) {
            return m_face.Fail(fault, "not enough memory for its glyphs");
        }
    }
    return true;
}

} // namespace

std::string BaseName(std::string const& path) {
    return path.substr(path.find_last_of('/') + 1);
}

bool MakeGlyphPictures(FontFace& face, std::string const& name, FontOptions const& options,
                       ClassRegistry const& registry, BitmapFont& font, Fault& fault) {
    BitmapFontMaker maker(face, options);
    return maker.MakeGlyphs(fault) && maker.MakePages(name, registry, font, fault);
}

} // namespace trevik::kelvo::assets
