#include "font/FontKerning.h"

#include <hb-ot.h>
#include <hb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>

#include FT_SYSTEM_H
#include FT_TRUETYPE_TABLES_H

namespace trevik::kelvo::assets {

namespace {

struct Destroy {
    void operator()(hb_face_t* pFace) const { hb_face_destroy(pFace); }
    void operator()(hb_font_t* pFont) const { hb_font_destroy(pFont); }
    void operator()(hb_font_funcs_t* pFunctions) const { hb_font_funcs_destroy(pFunctions); }
    void operator()(hb_buffer_t* pBuffer) const { hb_buffer_destroy(pBuffer); }
    void operator()(hb_set_t* pSet) const { hb_set_destroy(pSet); }
};
template <class T>
using Owned = std::unique_ptr<T, Destroy>;

using Characters = std::vector<FontCharacter>;
using Scripts = std::map<hb_script_t, Characters>;

constexpr hb_tag_t GposTag = HB_TAG('G', 'P', 'O', 'S');
constexpr hb_tag_t KernTag = HB_TAG('k', 'e', 'r', 'n');

/**
 * Glyphs are shaped as characters of private use, one for each, so that no rule for real characters puts
 * others in their place.
 */
constexpr hb_codepoint_t FirstPrivate = 0xF0000;

/** A table adds up what several of its rules say, each of 16 bits; more than this makes no sense. */
constexpr long long MaximumUnits = 65535;

/** Pairs that are shaped at once. */
constexpr std::size_t ChunkPairs = 4096;

/** Of each pair the two glyphs, then the glyph for what a font lacks, which parts it from the next pair. */
constexpr std::size_t GlyphsOfPair = 3;

/** What a text of these two characters would be taken for; what has no script of its own goes along. */
hb_script_t ScriptOf(FontCharacter const& character) {
    hb_script_t const script = hb_unicode_script(hb_unicode_funcs_get_default(), character.nCodePoint);
    bool const fOwn =
        script != HB_SCRIPT_COMMON && script != HB_SCRIPT_INHERITED && script != HB_SCRIPT_UNKNOWN;
    return fOwn ? script : HB_SCRIPT_INVALID;
}

Scripts PartByScript(Characters const& characters) {
    Scripts scripts;
    for (FontCharacter const& character : characters) {
        scripts[ScriptOf(character)].push_back(character);
    }
    return scripts;
}

/** Shapes pairs of glyphs by a face's "GPOS" table. */
class PairShaper {
public:
    PairShaper(FT_Face pFace, int nInstance);

    /** Whether the table kerns a script. From then on the script counts until the next one is chosen. */
    bool ChooseScript(hb_script_t script);
    /** Adds the kerned ones of all pairs of a first with a second glyph. */
    void Shape(Characters const& firsts, Characters const& seconds, std::vector<FontPair>& pairs);
    bool IsShortOfMemory() const { return m_fShort; }

private:
    void ReadTable(FT_Face pFace, hb_tag_t tag);
    void MakeFont(FT_Face pFace, int nInstance);
    void Add(FontCharacter const& first, FontCharacter const& second, std::vector<FontPair>& pairs);
    void ShapeAdded(std::vector<FontPair>& pairs);

    std::map<hb_tag_t, std::vector<std::uint8_t>> m_tables;
    Owned<hb_face_t> m_pFace;
    Owned<hb_font_t> m_pFont;
    Owned<hb_buffer_t> m_pBuffer;
    Owned<hb_set_t> m_pKerned; ///< glyphs that the script's kerning knows, as first or second ones
    hb_script_t m_script = HB_SCRIPT_INVALID;
    std::vector<FontPair> m_added; ///< to the buffer
    bool m_fShort = false;
};

/** A table that the face has; without "GSUB" there is nothing that could replace a glyph by others. */
void PairShaper::ReadTable(FT_Face pFace, hb_tag_t tag) {
    FT_ULong nLength = 0;
    if (FT_Load_Sfnt_Table(pFace, tag, 0, nullptr, &nLength) != 0 || nLength == 0 ||
        nLength > pFace->stream->size) {
        return;
    }
    std::vector<std::uint8_t> bytes(nLength);
    if (FT_Load_Sfnt_Table(pFace, tag, 0, bytes.data(), &nLength) == 0) {
        m_tables[tag] = std::move(bytes);
    }
}

PairShaper::PairShaper(FT_Face pFace, int nInstance) {
    ReadTable(pFace, GposTag);
    if (m_tables.empty()) {
        return;
    }
    for (hb_tag_t const tag :
         {HB_TAG('G', 'D', 'E', 'F'), HB_TAG('f', 'v', 'a', 'r'), HB_TAG('a', 'v', 'a', 'r')}) {
        ReadTable(pFace, tag);
    }
    MakeFont(pFace, nInstance);
}

/** All glyphs get the advance 0, so that kerning is all that moves the pen. */
void PairShaper::MakeFont(FT_Face pFace, int nInstance) {
    auto const findTable = [](hb_face_t*, hb_tag_t tag, void* pUser) -> hb_blob_t* {
        auto const& tables = static_cast<PairShaper*>(pUser)->m_tables;
        auto const found = tables.find(tag);
        return found == tables.end() ? nullptr
                                     : hb_blob_create(reinterpret_cast<char const*>(found->second.data()),
                                                      static_cast<unsigned int>(found->second.size()),
                                                      HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    };
    auto const findGlyph = [](hb_font_t*, void*, hb_codepoint_t nCharacter, hb_codepoint_t* pGlyph,
                              void*) -> hb_bool_t {
        *pGlyph = nCharacter - FirstPrivate;
        return nCharacter >= FirstPrivate;
    };
    auto const getAdvance = [](hb_font_t*, void*, hb_codepoint_t, void*) -> hb_position_t { return 0; };

    m_pFace.reset(hb_face_create_for_tables(findTable, this, nullptr));
    hb_face_set_upem(m_pFace.get(), pFace->units_per_EM);
    hb_face_set_glyph_count(m_pFace.get(), static_cast<unsigned int>(pFace->num_glyphs));
    Owned<hb_font_funcs_t> const pFunctions(hb_font_funcs_create());
    hb_font_funcs_set_nominal_glyph_func(pFunctions.get(), findGlyph, nullptr, nullptr);
    hb_font_funcs_set_glyph_h_advance_func(pFunctions.get(), getAdvance, nullptr, nullptr);
    m_pFont.reset(hb_font_create(m_pFace.get()));
    hb_font_set_funcs(m_pFont.get(), pFunctions.get(), nullptr, nullptr);
    if (nInstance > 0) {
        hb_font_set_var_named_instance(m_pFont.get(), static_cast<unsigned int>(nInstance - 1));
    }
    m_pBuffer.reset(hb_buffer_create());
    m_pKerned.reset(hb_set_create());
    m_fShort = m_pFace.get() == hb_face_get_empty() || m_pFont.get() == hb_font_get_empty() ||
               pFunctions.get() == hb_font_funcs_get_empty() || m_pBuffer.get() == hb_buffer_get_empty() ||
               m_pKerned.get() == hb_set_get_empty();
}

bool PairShaper::ChooseScript(hb_script_t script) {
    if (!m_pFont || m_fShort) {
        return false;
    }
    constexpr unsigned int MaximumTags = HB_OT_MAX_TAGS_PER_SCRIPT;
    hb_tag_t tags[MaximumTags];
    unsigned int nTags = MaximumTags;
    hb_ot_tags_from_script_and_language(script, HB_LANGUAGE_INVALID, &nTags, tags, nullptr, nullptr);
    unsigned int nScript = 0, nFeature = 0;
    hb_ot_layout_table_select_script(m_pFace.get(), GposTag, nTags, tags, &nScript, nullptr);
    if (!hb_ot_layout_language_find_feature(m_pFace.get(), GposTag, nScript,
                                            HB_OT_LAYOUT_DEFAULT_LANGUAGE_INDEX, KernTag, &nFeature)) {
        return false;
    }
    m_script = script;
    hb_set_clear(m_pKerned.get());
    unsigned int nLookup = 0;
    for (unsigned int n = 0, nCount = 1;
         hb_ot_layout_feature_get_lookups(m_pFace.get(), GposTag, nFeature, n, &nCount, &nLookup),
                      nCount == 1;
         ++n) {
        hb_ot_layout_lookup_collect_glyphs(m_pFace.get(), GposTag, nLookup, nullptr, m_pKerned.get(), nullptr,
                                           nullptr);
    }
    m_fShort = !hb_set_allocation_successful(m_pKerned.get());
    return true;
}

void PairShaper::Shape(Characters const& firsts, Characters const& seconds, std::vector<FontPair>& pairs) {
    for (FontCharacter const& first : firsts) {
        if (!hb_set_has(m_pKerned.get(), first.nGlyph)) {
            continue; // a second one may be there as all others are, those that the table does not name
        }
        for (FontCharacter const& second : seconds) {
            Add(first, second, pairs);
        }
    }
    ShapeAdded(pairs);
}

void PairShaper::Add(FontCharacter const& first, FontCharacter const& second, std::vector<FontPair>& pairs) {
    m_added.push_back({first, second, 0});
    if (m_added.size() == ChunkPairs) {
        ShapeAdded(pairs);
    }
}

void PairShaper::ShapeAdded(std::vector<FontPair>& pairs) {
    static hb_feature_t const s_features[] = {
        // Marks stay where they are, and so does what is joined.
        {HB_TAG('m', 'a', 'r', 'k'), 0, 0, HB_FEATURE_GLOBAL_END},
        {HB_TAG('m', 'k', 'm', 'k'), 0, 0, HB_FEATURE_GLOBAL_END},
        {HB_TAG('a', 'b', 'v', 'm'), 0, 0, HB_FEATURE_GLOBAL_END},
        {HB_TAG('b', 'l', 'w', 'm'), 0, 0, HB_FEATURE_GLOBAL_END},
        {HB_TAG('c', 'u', 'r', 's'), 0, 0, HB_FEATURE_GLOBAL_END},
        {HB_TAG('d', 'i', 's', 't'), 0, 0, HB_FEATURE_GLOBAL_END},
    };
    hb_buffer_t* const pBuffer = m_pBuffer.get();
    hb_buffer_reset(pBuffer);
    hb_buffer_set_content_type(pBuffer, HB_BUFFER_CONTENT_TYPE_UNICODE);
    hb_buffer_set_direction(pBuffer, HB_DIRECTION_LTR);
    hb_buffer_set_script(pBuffer, m_script);
    for (FontPair const& pair : m_added) {
        hb_buffer_add(pBuffer, FirstPrivate + pair.first.nGlyph, 0);
        hb_buffer_add(pBuffer, FirstPrivate + pair.second.nGlyph, 0);
        hb_buffer_add(pBuffer, FirstPrivate, 0);
    }
    bool const fShaped = hb_shape_full(m_pFont.get(), pBuffer, s_features,
                                       sizeof(s_features) / sizeof(s_features[0]), nullptr) != 0;
    m_fShort = m_fShort || !fShaped || !hb_buffer_allocation_successful(pBuffer);
    unsigned int nLength = 0;
    hb_glyph_position_t const* pPosition = hb_buffer_get_glyph_positions(pBuffer, &nLength);
    if (!m_fShort && nLength == m_added.size() * GlyphsOfPair) {
        for (FontPair& pair : m_added) {
            long long const nUnits = static_cast<long long>(pPosition[0].x_advance) - pPosition[0].x_offset +
                                     pPosition[1].x_offset;
            if (nUnits != 0 && std::llabs(nUnits) <= MaximumUnits) {
                pair.nUnits = static_cast<int>(nUnits);
                pairs.push_back(pair);
            }
            pPosition += GlyphsOfPair;
        }
    }
    m_added.clear();
}

void FindInTable(FT_Face pFace, Characters const& firsts, Characters const& seconds,
                 std::vector<FontPair>& pairs) {
    for (FontCharacter const& first : firsts) {
        for (FontCharacter const& second : seconds) {
            FT_Vector distance = {0, 0};
            if (FT_Get_Kerning(pFace, first.nGlyph, second.nGlyph, FT_KERNING_UNSCALED, &distance) == 0 &&
                distance.x != 0) {
                pairs.push_back({first, second, static_cast<int>(distance.x)});
            }
        }
    }
}

} // namespace

bool FindKerning(FT_Face pFace, int nInstance, std::vector<FontCharacter> const& firsts,
                 std::vector<FontCharacter> const& seconds, std::vector<FontPair>& pairs) {
    PairShaper shaper(pFace, nInstance);
    auto const find = [&](hb_script_t script, Characters const& from, Characters const& to) {
        if (shaper.ChooseScript(script)) {
            shaper.Shape(from, to, pairs);
        } else if (FT_HAS_KERNING(pFace)) {
            FindInTable(pFace, from, to, pairs);
        }
    };
    Scripts const secondScripts = PartByScript(seconds);
    for (auto const& [script, characters] : PartByScript(firsts)) {
        if (script != HB_SCRIPT_INVALID) {
            find(script, characters, seconds);
            continue;
        }
        for (auto const& [secondScript, secondCharacters] : secondScripts) {
            find(secondScript, characters, secondCharacters);
        }
    }
    return !shaper.IsShortOfMemory();
}

} // namespace trevik::kelvo::assets
