#pragma once

#include "font/FontFile.h"
#include "scene/JsonCursor.h"
#include "scene/SceneTextures.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/Text.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * The fonts of a scene, by the names that its texts use for them. What glyphs a font is made with depends on
 * its texts, so they get it when all of them are known.
 */
class SceneFonts {
public:
    /** `textures` are those that glyphs may show. */
    SceneFonts(ClassRegistry const& registry, SceneTextures& textures)
        : m_registry(registry), m_textures(textures) {}

    /**
     * Takes the descriptions at `place`; of the files only what they are is looked at. Notes or throws what
     * is wrong.
     */
    void Read(JsonCursor const& place);
    /** What the names mean is not known, because what describes them could not be read: any may be right. */
    void SetUnknown() { m_fUnknown = true; }

    /** Lets `text` be set in the font whose name stands at `place`. Throws a Fault when there is none. */
    void Use(JsonCursor const& place, Text& text);

    /** The names of those that no text uses. */
    std::vector<std::string> FindUnused() const;
    /** The fonts that texts are set in, as they have been made, by their names. */
    std::map<std::string, Font const*> FindUsed() const;

    /** Makes the fonts and gives them to their texts; notes or throws what is wrong. */
    void Make();

private:
    /** A character that a font shows as a picture. */
    struct Image {
        JsonCursor place;
        Glyph glyph;
    };

    /** What the scene says of one font. */
    struct Description {
        explicit Description(JsonCursor const& at) : place(at) {}

        JsonCursor place;
        bool fRead = false; ///< else what is wrong has been told
        std::string path;
        bool fBMFont = false;
        bool fOutline = false;
        FontOptions options;
        std::optional<RealFloat> underlinePosition;
        std::optional<RealFloat> underlineThickness;
        std::set<unsigned int> characters; ///< without those of images
        std::vector<Image> images;
        std::vector<Ref<Text>> texts;
    };

    void ReadDescription(JsonCursor const& place, Description& description);
    void ReadFile(JsonCursor const& place, Description& description) const;
    void ReadFontOptions(JsonCursor const& place, Description& description);
    void AddRange(JsonCursor const& place, std::set<unsigned int>& characters);
    void ReadImages(JsonCursor const& place, Description& description);
    Image ReadImage(JsonCursor const& place, unsigned int nCharacter);
    Ref<Font> MakeFont(Description& description);
    Ref<Font> LoadFont(Description& description) const;
    void CountCharacters(Description const& description);
    void CountPages(Description const& description, Font const& font);

    ClassRegistry const& m_registry;
    SceneTextures& m_textures;
    std::map<std::string, Description> m_fonts;
    bool m_fUnknown = false;
    // Of all fonts.
    std::size_t m_nRangeCharacters = 0; ///< in their ranges
    std::size_t m_nCharacters = 0;
    std::size_t m_nPageBytes = 0;
};

} // namespace trevik::kelvo::assets
