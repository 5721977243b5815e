#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "scene/SceneValues.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>

namespace trevik::kelvo::assets {

namespace {

/** A side that all devices can do with, in texels. */
constexpr int PortableSide = 2048;

/** Characters that show nothing, whether the font has a glyph or not; first and last ones. */
constexpr unsigned int Invisible[][2] = {
    {0x00, 0x1f},     {0x7f, 0x9f},     {0xad, 0xad},      {0x34f, 0x34f},   {0x61c, 0x61c},
    {0x180b, 0x180f}, {0x200b, 0x200f}, {0x2028, 0x202e},  {0x2060, 0x206f}, {0xfe00, 0xfe0f},
    {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe0fff}};
/** And those that show a space instead. */
constexpr unsigned int Spaces[][2] = {{0xa0, 0xa0},     {0x1680, 0x1680}, {0x2000, 0x200a},
                                      {0x202f, 0x202f}, {0x205f, 0x205f}, {0x3000, 0x3000}};

template <std::size_t N>
bool Contains(unsigned int const (&ranges)[N][2], unsigned int nCharacter) {
    return std::any_of(std::begin(ranges), std::end(ranges), [nCharacter](unsigned int const(&range)[2]) {
        return nCharacter >= range[0] && nCharacter <= range[1];
    });
}

bool IsMissing(Font const& font, unsigned int nCharacter) {
    return !font.GetGlyph(nCharacter) && !Contains(Invisible, nCharacter) &&
           !(Contains(Spaces, nCharacter) && font.GetGlyph(' '));
}

/** The character itself and its number. */
std::string DescribeCharacter(unsigned int nCharacter) {
    char number[16];
    std::snprintf(number, sizeof number, "U+%04X", nCharacter);
    String8 const character(String16::Format(u"%c", static_cast<int>(nCharacter)));
    return '"' + std::string(character.GetData(), character.GetLength()) + "\" (" + number + ")";
}

/** Whether more of a picture is translucent than opaque; the rims of opaque ones always are. */
bool IsTranslucent(Texture& texture) {
    bool const f4444 = texture.GetFormat() == TextureFormat::RGBA4444;
    if (!f4444 && texture.GetFormat() != TextureFormat::RGBA8888) {
        return false;
    }
    PixelBuffer const& buffer = texture.GetPixelData().GetBuffer();
    unsigned char const* const pBytes = buffer.GetData();
    unsigned int nOpaque = 0;
    unsigned int nTranslucent = 0;
    for (unsigned int n = f4444 ? 0 : 3; n < buffer.GetSize(); n += f4444 ? 2 : 4) {
        unsigned int const nAlpha = f4444 ? (pBytes[n] & 15u) * 17 : pBytes[n];
        nOpaque += nAlpha == 255;
        nTranslucent += nAlpha != 0 && nAlpha != 255;
    }
    return nTranslucent > nOpaque;
}

/** What texts and sprites show. */
class ResourceCheck : public SceneCheck {
public:
    using SceneCheck::SceneCheck;

    void Enter(SceneStep const& step) override {
        if (step.node.IsKindOf(Text::ClassID)) {
            CheckCharacters(step, static_cast<Text&>(step.node));
        } else if (step.node.IsKindOf(Sprite::ClassID)) {
            Texture* const pTexture = static_cast<Sprite&>(step.node).GetTexture();
            if (pTexture && IsAlphaTested(step) && HasEtc1Alpha(*pTexture)) {
                Warn(step, "texture", WarningId::Etc1Alpha,
                     "an AlphaTestGroup does not look at the alpha of ETC1 pictures");
            }
        }
    }

private:
    static bool IsAlphaTested(SceneStep const& step) {
        for (SceneStep const* pAbove = step.pAbove; pAbove; pAbove = pAbove->pAbove) {
            if (GetWrittenClass(*pAbove) == "AlphaTestGroup") {
                return true;
            }
        }
        return false;
    }

    void CheckCharacters(SceneStep const& step, Text& text) {
        if (!text.GetFont()) {
            return;
        }
        std::set<unsigned int> missing;
        String8 const characters(text.GetTextProperty().GetValue());
        VisitCharacters(std::string(characters.GetData(), characters.GetLength()),
                        [&](unsigned int nCharacter) {
                            if (IsMissing(*text.GetFont(), nCharacter)) {
                                missing.insert(nCharacter);
                            }
                        });
        if (missing.empty()) {
            return;
        }
        std::string list;
        std::size_t nListed = 0;
        for (unsigned int const nCharacter : missing) {
            if (++nListed > 5) {
                list += " and " + std::to_string(missing.size() - 5) + " more";
                break;
            }
            list += (list.empty() ? "" : ", ") + DescribeCharacter(nCharacter);
        }
        Warn(step, "Text", WarningId::MissingCharacters,
             "the font \"" + step.place.Require("font").ReadText() + "\" lacks " + list);
    }
};

/** Warns of a texture or a font by its name. */
void WarnOf(BuiltScene const& built, SceneNotes& notes, char const* pKey, std::string const& name,
            WarningId id, std::string const& what) {
    JsonCursor const place = built.file.Require(pKey).Require(name);
    notes.Warn({id, place.GetPlace(), what, place.GetValue().GetLine()});
}

/** Whether the scene's own file describes it. */
bool IsOwn(BuiltScene const& built, SceneNotes const& notes, char const* pKey, std::string const& name) {
    return built.file.Require(pKey).Require(name).GetFileName() == notes.GetSource();
}

bool IsTooLarge(Texture const& image) {
    return std::max(image.GetAllocatedWidth(), image.GetAllocatedHeight()) > PortableSide;
}

std::string DescribeTooLarge(char const* pWhat, Texture const& image) {
    return "a side of more than 2048 texels is more than some devices can draw: " + std::string(pWhat) +
           " has " + std::to_string(image.GetAllocatedWidth()) + " by " +
           std::to_string(image.GetAllocatedHeight());
}

/** Of the pictures of glyphs; those that are textures of the scene are told of as such. */
void CheckPages(BuiltScene const& built, SceneNotes& notes) {
    std::set<Texture const*> named;
    for (auto const& texture : built.textures.GetNamed()) {
        named.insert(texture.second.pTexture.Get());
    }
    for (auto const& [name, pFont] : built.fonts.FindUsed()) {
        for (unsigned int n = 0; n < pFont->GetGlyphCount(); ++n) {
            Texture const* const pPage = pFont->GetGlyphAt(n)->m_pTexture.Get();
            if (pPage && named.count(pPage) == 0 && IsTooLarge(*pPage)) {
                WarnOf(built, notes, "fonts", name, WarningId::ImageTooLarge,
                       DescribeTooLarge("a page or picture of the font", *pPage));
                break;
            }
        }
    }
}

void CheckTextures(BuiltScene const& built, SceneNotes& notes) {
    for (auto const& [name, texture] : built.textures.GetNamed()) {
        Texture& image = *texture.pTexture;
        if (!texture.fUsed) {
            // What an included file has beside is no fault of the scene.
            if (IsOwn(built, notes, "textures", name)) {
                WarnOf(built, notes, "textures", name, WarningId::UnusedTexture, "nothing shows the texture");
            }
            continue;
        }
        if (IsTooLarge(image)) {
            WarnOf(built, notes, "textures", name, WarningId::ImageTooLarge, DescribeTooLarge("it", image));
        }
        if (image.GetWantedSurfaces() > 0 && IsTranslucent(image)) {
            WarnOf(built, notes, "textures", name, WarningId::SurfaceTranslucent,
                   "bitmaps of Java would premultiply translucent colours, which are drawn too dark then");
        }
    }
}

} // namespace

std::unique_ptr<SceneVisitor> MakeResourceCheck(BuiltScene const&, SceneNotes& notes) {
    return std::make_unique<ResourceCheck>(notes);
}

void CheckResources(BuiltScene const& built, SceneNotes& notes) {
    CheckTextures(built, notes);
    CheckPages(built, notes);
    for (std::string const& name : built.fonts.FindUnused()) {
        if (IsOwn(built, notes, "fonts", name)) {
            WarnOf(built, notes, "fonts", name, WarningId::UnusedFont, "no text is set in the font");
        }
    }
    for (JsonUse const& unused : built.file.GetUnusedTemplates()) {
        notes.Warn(
            {WarningId::UnusedTemplate,
             notes.GetSource() + ":" + std::to_string(unused.nLine) + ": /templates/" + unused.templateName,
             "nothing uses the template, so that nobody has looked at what is in it", unused.nLine});
    }
}

} // namespace trevik::kelvo::assets
