#include "scene/SceneFonts.h"

#include "file/FileBytes.h"
#include "font/BMFontReader.h"
#include "scene/SceneKeys.h"
#include "scene/SceneValues.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumFonts = 256;
constexpr std::size_t MaximumCharacters = 20000;       ///< of one font
constexpr std::size_t MaximumSceneCharacters = 100000; ///< of all fonts
constexpr std::size_t MaximumPageBytes = std::size_t(256) << 20;
constexpr std::size_t MaximumDescriptionBytes = std::size_t(64) << 20;

/** Control characters end lines and set tabs; none has a shape. */
bool HasShape(unsigned int nCharacter) {
    return nCharacter >= ' ' && (nCharacter < 0x7f || nCharacter >= 0xa0);
}

bool EndsWith(std::string const& text, std::string const& ending) {
    return text.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), text.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [](unsigned char a, unsigned char b) { return std::tolower(b) == a; });
}

/** Whether a file describes a bitmap font: it is called so, or begins as all of its three forms may. */
bool IsBMFont(JsonCursor const& place, std::string const& path) {
    std::vector<std::uint8_t> bytes;
    Fault fault;
    if (!ReadFile(path, MaximumDescriptionBytes, bytes, fault)) {
        place.Fail(fault);
    }
    std::string const start(bytes.begin(),
                            bytes.begin() + std::min<std::ptrdiff_t>(5, std::ptrdiff_t(bytes.size())));
    return EndsWith(path, ".fnt") || start.compare(0, 3, "BMF") == 0 || start == "info " ||
           start == "<?xml" || start == "<font";
}

/** Reads hexadecimal digits behind "U+" from `index` on; -1 when there are none that make a character. */
long ReadCharacterCode(std::string const& text, std::size_t& index) {
    if (text.compare(index, 2, "U+") != 0) {
        return -1;
    }
    long nCode = 0;
    std::size_t const first = index + 2;
    for (index = first; index < text.size() && std::isxdigit(static_cast<unsigned char>(text[index]));
         ++index) {
        if (index - first == 6) {
            return -1;
        }
        nCode = nCode * 16 + std::stol(text.substr(index, 1), nullptr, 16);
    }
    bool const fCharacter = nCode <= CodePoint::Maximum && !CodePoint::IsSurrogate(static_cast<int>(nCode));
    return index > first && fCharacter ? nCode : -1;
}

/** Characters one behind the other. */
struct Range {
    unsigned int nFirst;
    unsigned int nLast;
};

/** What "U+0400-U+04FF" or "U+0400" means. */
Range ReadRange(JsonCursor const& place) {
    std::string const& text = place.ReadText();
    std::size_t index = 0;
    long const nFirst = ReadCharacterCode(text, index);
    long nLast = nFirst;
    if (nFirst >= 0 && index < text.size() && text[index] == '-') {
        nLast = ReadCharacterCode(text, ++index);
    }
    if (nFirst < 0 || nLast < 0 || index != text.size()) {
        place.FailExpected("characters as \"U+0400-U+04FF\" or \"U+20AC\"");
    }
    if (nLast < nFirst) {
        place.Fail("the range \"" + text + "\" ends before it begins");
    }
    return {static_cast<unsigned int>(nFirst), static_cast<unsigned int>(nLast)};
}

void AddCharacters(std::string const& text, std::set<unsigned int>& characters) {
    VisitCharacters(text, [&](unsigned int nCharacter) {
        if (HasShape(nCharacter)) {
            characters.insert(nCharacter);
        }
    });
}

std::optional<RealFloat> ReadMeasure(JsonCursor const& place, char const* pName, NumberRange const& range) {
    std::optional<JsonCursor> const number = place.Find(pName);
    return number ? std::optional<RealFloat>(static_cast<RealFloat>(number->ReadNumber(range)))
                  : std::nullopt;
}

/** The one character that a member's name consists of. */
unsigned int ReadOneCharacter(JsonCursor const& place, std::string const& name) {
    std::vector<unsigned int> characters;
    VisitCharacters(name.substr(0, 8), [&](unsigned int nCharacter) { characters.push_back(nCharacter); });
    if (characters.size() != 1 || !HasShape(characters[0])) {
        place.Fail("the name of an image is the character that it stands for, a single code point");
    }
    return characters[0];
}

} // namespace

void SceneFonts::Read(JsonCursor const& place) {
    place.ReadObject("an object with a font under each name");
    if (place.GetMemberCount() > MaximumFonts) {
        place.FailExpected("at most " + std::to_string(MaximumFonts) + " fonts");
    }
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        if (place.GetMemberName(n) != "comment") {
            JsonCursor const font = place.GetMember(n);
            Description& description = m_fonts.emplace(place.GetMemberName(n), font).first->second;
            description.fRead = place.Attempt([&] { ReadDescription(font, description); });
        }
    }
}

void SceneFonts::ReadDescription(JsonCursor const& place, Description& description) {
    place.ReadObject("a font: an object with \"file\" or \"family\"");
    ReadFile(place, description);
    if (!description.fBMFont) {
        ReadFontOptions(place, description);
    }
    description.options.underline = ReadFlag(place, "underline");
    if (description.options.underline && description.fOutline) {
        place.Require("underline").Fail("texts in outlines cannot be underlined");
    }
    description.underlinePosition = ReadMeasure(place, "underlinePosition", UnderlinePositions);
    description.underlineThickness = ReadMeasure(place, "underlineThickness", UnderlineThicknesses);
    if (std::optional<JsonCursor> const images = place.Find("images")) {
        ReadImages(*images, description);
    }
}

/** Finds the file, and checks the keys that belong to its kind. */
void SceneFonts::ReadFile(JsonCursor const& place, Description& description) const {
    std::optional<JsonCursor> const file = place.Find("file");
    std::optional<JsonCursor> const family = place.Find("family");
    if (!file == !family) {
        place.Fail(file ? "a font has either \"file\" or \"family\", not both"
                        : "there is no \"file\" and no \"family\"");
    }
    std::vector<std::string> known = NamesOf(FontKeys);
    auto const add = [&](std::vector<std::string> const& names) {
        known.insert(known.end(), names.begin(), names.end());
    };
    if (file) {
        description.path = ReadPath(*file, "a font file");
        description.fBMFont = IsBMFont(*file, description.path);
        add(NamesOf(FontFileKeys));
    } else {
        std::optional<JsonCursor> const style = place.Find("style");
        Fault fault;
        if (!FindFontFile(family->ReadText(), style ? style->ReadText() : std::string(), description.path,
                          description.options.faceIndex, fault)) {
            (style ? *style : *family).Fail(fault);
        }
        add(NamesOf(FontFamilyKeys));
    }
    if (!description.fBMFont) {
        add(NamesOf(FontGlyphKeys));
        if (file) {
            add(NamesOf(FontFaceKeys));
        }
    }
    place.CheckNames(known);
}

/** What is made of a file with outlines. */
void SceneFonts::ReadFontOptions(JsonCursor const& place, Description& description) {
    FontOptions& options = description.options;
    if (std::optional<JsonCursor> const size = place.Find("size")) {
        options.pixelsPerEm = size->ReadInteger(FontSizes);
    }
    if (std::optional<JsonCursor> const kind = place.Find("kind")) {
        description.fOutline = kind->ReadWord("kind of font", WordsOf(FontKindWords)) == 1;
    }
    options.hinting = ReadFlag(place, "hinting", options.hinting);
    if (std::optional<JsonCursor> const face = place.Find("face")) {
        options.faceIndex = face->ReadInteger(FontFaces);
    }
    for (unsigned int nCharacter = ' '; nCharacter < 0x7f; ++nCharacter) {
        description.characters.insert(nCharacter);
    }
    if (std::optional<JsonCursor> const characters = place.Find("characters")) {
        AddCharacters(characters->ReadText(), description.characters);
    }
    if (std::optional<JsonCursor> const ranges = place.Find("ranges")) {
        std::size_t const nRanges = ranges->ReadCount("an array of ranges of characters");
        for (std::size_t n = 0; n < nRanges; ++n) {
            AddRange(ranges->GetItem(n), description.characters);
        }
    }
}

/** Ranges count in full even where they overlap, so that they cannot take longer than the scene's budget. */
void SceneFonts::AddRange(JsonCursor const& place, std::set<unsigned int>& characters) {
    Range const range = ReadRange(place);
    std::size_t const nCount = range.nLast - range.nFirst + 1;
    if (nCount > MaximumCharacters) {
        place.Fail("a font has at most " + std::to_string(MaximumCharacters) + " characters");
    }
    m_nRangeCharacters += nCount;
    if (m_nRangeCharacters > MaximumSceneCharacters) {
        place.FailFinally("the scene's ranges have more than " + std::to_string(MaximumSceneCharacters) +
                          " characters together");
    }
    for (unsigned int nCharacter = range.nFirst; nCharacter <= range.nLast; ++nCharacter) {
        if (HasShape(nCharacter) && !CodePoint::IsSurrogate(static_cast<int>(nCharacter))) {
            characters.insert(nCharacter);
        }
    }
}

void SceneFonts::ReadImages(JsonCursor const& place, Description& description) {
    place.ReadObject("an object with an image under each character");
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        if (place.GetMemberName(n) != "comment") {
            JsonCursor const image = place.GetMember(n);
            description.images.push_back(ReadImage(image, ReadOneCharacter(image, place.GetMemberName(n))));
        }
    }
}

/** An image stands on the baseline and is as wide for the pen as it is drawn, unless it says otherwise. */
SceneFonts::Image SceneFonts::ReadImage(JsonCursor const& place, unsigned int nCharacter) {
    JsonCursor name = place;
    if (!place.Is(JsonValue::Kind::String)) {
        place.ReadObject("the name of a texture, or an object with \"texture\"");
        CheckKeys(place, FontImageKeys);
        name = place.Require("texture");
    }
    Image image{place, Glyph()};
    Glyph& glyph = image.glyph;
    glyph.m_nCodePoint = nCharacter;
    glyph.m_fImage = true;
    glyph.m_pTexture = m_textures.FindOrRead(name).pTexture;
    if (!glyph.m_pTexture) {
        return image;
    }
    if (glyph.m_pTexture->GetFormat() == TextureFormat::ETC1_RGBA) {
        name.Fail("a texture in ETC1 with alpha cannot stand for a character: its alpha would not be drawn");
    }
    glyph.m_nWidth = static_cast<unsigned short>(glyph.m_pTexture->GetWidth());
    glyph.m_nHeight = static_cast<unsigned short>(glyph.m_pTexture->GetHeight());
    glyph.m_nAdvance = glyph.m_nWidth;
    if (place.Is(JsonValue::Kind::Object)) {
        if (std::optional<JsonCursor> const offset = place.Find("offset")) {
            offset->ReadCount("2 whole numbers: to the right, upward", 2);
            glyph.m_nOffsetX = offset->GetItem(0).ReadInteger(GlyphOffsets);
            glyph.m_nOffsetY = -offset->GetItem(1).ReadInteger(GlyphOffsets);
        }
        if (std::optional<JsonCursor> const advance = place.Find("advance")) {
            glyph.m_nAdvance = advance->ReadInteger(GlyphAdvances);
        }
    }
    return image;
}

void SceneFonts::Use(JsonCursor const& place, Text& text) {
    std::string const& name = place.ReadText();
    auto const found = m_fonts.find(name);
    if (found == m_fonts.end() && m_fUnknown) {
        return;
    }
    if (found == m_fonts.end()) {
        std::vector<std::string> names;
        for (auto const& font : m_fonts) {
            names.push_back(font.first);
        }
        place.FailUnknownName(name, "font", names);
    }
    String8 const characters(text.GetTextProperty().GetValue());
    AddCharacters(std::string(characters.GetData(), characters.GetLength()), found->second.characters);
    found->second.texts.emplace_back(&text);
}

std::vector<std::string> SceneFonts::FindUnused() const {
    std::vector<std::string> names;
    for (auto const& [name, description] : m_fonts) {
        if (description.texts.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

std::map<std::string, Font const*> SceneFonts::FindUsed() const {
    std::map<std::string, Font const*> used;
    for (auto const& [name, description] : m_fonts) {
        if (!description.texts.empty() && description.texts.front()->GetFont()) {
            used[name] = description.texts.front()->GetFont();
        }
    }
    return used;
}

void SceneFonts::Make() {
    for (auto& [name, description] : m_fonts) {
        if (!description.fRead) {
            continue;
        }
        Ref<Font> pFont;
        description.place.Attempt([&, &made = description] { pFont = MakeFont(made); });
        for (Ref<Text> const& pText : description.texts) {
            pText->SetFont(pFont.Get());
        }
    }
}

Ref<Font> SceneFonts::MakeFont(Description& description) {
    CountCharacters(description);
    Ref<Font> pFont = LoadFont(description);
    CountPages(description, *pFont);
    for (Image const& image : description.images) {
        if (!pFont->AddGlyph(image.glyph)) {
            image.place.FailFinally("there is not enough memory");
        }
    }
    pFont->GetUnderlineProperty().SetValue(description.options.underline);
    if (description.underlinePosition) {
        pFont->GetUnderlinePositionProperty().SetValue(*description.underlinePosition);
    }
    if (description.underlineThickness) {
        pFont->GetUnderlineThicknessProperty().SetValue(*description.underlineThickness);
    }
    if (!pFont->Initialize()) {
        description.place.Fail("the font cannot be used");
    }
    return pFont;
}

/** Takes the characters of a font out of what one font, and all of them together, may have. */
void SceneFonts::CountCharacters(Description const& description) {
    std::size_t const nCount = description.characters.size();
    if (description.fBMFont) {
        return; // it has the glyphs that it has
    }
    if (nCount > MaximumCharacters) {
        description.place.Fail("a font has at most " + std::to_string(MaximumCharacters) +
                               " characters; this one and its texts ask for " + std::to_string(nCount));
    }
    m_nCharacters += nCount;
    if (m_nCharacters > MaximumSceneCharacters) {
        description.place.FailFinally("the scene's fonts have more than " +
                                      std::to_string(MaximumSceneCharacters) + " characters together");
    }
}

Ref<Font> SceneFonts::LoadFont(Description& description) const {
    for (Image const& image : description.images) {
        description.characters.erase(image.glyph.m_nCodePoint);
    }
    description.options.codePoints.assign(description.characters.begin(), description.characters.end());
    Fault fault;
    Ref<Font> pFont;
    if (description.fBMFont) {
        pFont = ReadBMFont(description.path, m_registry, fault);
    } else if (description.fOutline) {
        pFont = ReadPolygonalFont(description.path, description.options, m_registry, fault);
    } else {
        pFont = ReadBitmapFont(description.path, description.options, m_registry, fault);
    }
    if (!pFont) {
        description.place.Fail(fault);
    }
    return pFont;
}

/** Takes the pages of a font out of what all fonts may have together. */
void SceneFonts::CountPages(Description const& description, Font const& font) {
    std::set<Texture*> pages;
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        Texture* const pPage = font.GetGlyphAt(n)->m_pTexture.Get();
        if (pPage && pages.insert(pPage).second) {
            m_nPageBytes += pPage->GetPixelData().GetBuffer().GetSize();
        }
    }
    if (m_nPageBytes > MaximumPageBytes) {
        description.place.FailFinally("the glyphs of the scene's fonts take more than " +
                                      std::to_string(MaximumPageBytes >> 20) + " MiB");
    }
}

} // namespace trevik::kelvo::assets
