#include "font/FontFile.h"

#include <fontconfig/fontconfig.h>

#include <memory>

namespace trevik::kelvo::assets {

namespace {

struct Destroy {
    void operator()(FcConfig* pConfig) const { FcConfigDestroy(pConfig); }
    void operator()(FcPattern* pPattern) const { FcPatternDestroy(pPattern); }
};
using Config = std::unique_ptr<FcConfig, Destroy>;
using Pattern = std::unique_ptr<FcPattern, Destroy>;

FcChar8 const* Text(std::string const& text) {
    return reinterpret_cast<FcChar8 const*>(text.c_str());
}

/** The font that comes nearest to what is asked for; none when there are no fonts at all. */
Pattern MatchFont(FcConfig* pConfig, std::string const& family, std::string const& style) {
    Pattern const pWanted(FcPatternCreate());
    if (!pWanted || !FcPatternAddString(pWanted.get(), FC_FAMILY, Text(family)) ||
        (!style.empty() && !FcPatternAddString(pWanted.get(), FC_STYLE, Text(style))) ||
        !FcConfigSubstitute(pConfig, pWanted.get(), FcMatchPattern)) {
        return nullptr;
    }
    FcDefaultSubstitute(pWanted.get());
    FcResult result = FcResultNoMatch;
    return Pattern(FcFontMatch(pConfig, pWanted.get(), &result));
}

/** Whether one of a font's names (it has one for each language) is the wanted one; letter case is ignored. */
bool HasName(FcPattern* pFont, char const* object, std::string const& wanted) {
    FcChar8* pName = nullptr;
    for (int i = 0; FcPatternGetString(pFont, object, i, &pName) == FcResultMatch; ++i) {
        if (FcStrCmpIgnoreCase(pName, Text(wanted)) == 0) {
            return true;
        }
    }
    return false;
}

std::string FirstName(FcPattern* pFont, char const* object) {
    FcChar8* pName = nullptr;
    return FcPatternGetString(pFont, object, 0, &pName) == FcResultMatch
               ? reinterpret_cast<char const*>(pName)
               : "";
}

} // namespace

bool FindFontFile(std::string const& family, std::string const& style, std::string& path, int& faceIndex,
                  Fault& fault) {
    Config const pConfig(FcInitLoadConfigAndFonts());
    Pattern const pFont = pConfig ? MatchFont(pConfig.get(), family, style) : nullptr;
    std::string const wanted = "font \"" + family + "\"";
    if (!pFont) {
        return Fail(fault, wanted, "the system has no fonts");
    }
    if (!HasName(pFont.get(), FC_FAMILY, family)) {
        return Fail(fault, wanted,
                    "the system does not have it; the nearest is \"" + FirstName(pFont.get(), FC_FAMILY) +
                        "\"");
    }
    if (!style.empty() && !HasName(pFont.get(), FC_STYLE, style)) {
        return Fail(fault, wanted,
                    "has no style \"" + style + "\"; the nearest is \"" + FirstName(pFont.get(), FC_STYLE) +
                        "\"");
    }
    std::string const file = FirstName(pFont.get(), FC_FILE);
    if (file.empty()) {
        return Fail(fault, wanted, "the system knows no file of it");
    }
    int nIndex = 0;
    FcPatternGetInteger(pFont.get(), FC_INDEX, 0, &nIndex);
    path = file;
    faceIndex = nIndex;
    return true;
}

} // namespace trevik::kelvo::assets
