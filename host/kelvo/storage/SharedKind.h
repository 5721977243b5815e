#pragma once

#include "trevik/Hash.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/Texture.h"

namespace trevik::kelvo {

/** What differs between the kinds of objects that documents keep in tables. */
template <class T>
struct SharedKind;

template <>
struct SharedKind<Texture> {
    static constexpr char16_t Name[] = u"Texture";
    static constexpr char16_t TableName[] = u"Textures";
    static constexpr unsigned int EntryID = HashName("Texture");

    static unsigned int GetTypeID(Texture const&) { return EntryID; }
    static bool IsType(unsigned int nTypeID) { return nTypeID == EntryID; }
    static bool Initialize(Texture&) { return true; }
};

template <>
struct SharedKind<Font> {
    static constexpr char16_t Name[] = u"Font";
    static constexpr char16_t TableName[] = u"Fonts";
    static constexpr unsigned int EntryID = HashName("Font");

    static unsigned int GetTypeID(Font const& font) { return font.GetFactoryClassID(); }
    static bool IsType(unsigned int nTypeID) {
        return nTypeID == BitmapFont::FactoryClassID || nTypeID == PolygonalFont::FactoryClassID;
    }
    static bool Initialize(Font& font) { return font.Initialize(); }
};

} // namespace trevik::kelvo
