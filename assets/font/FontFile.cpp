#include "font/FontFile.h"

#include "file/FileBytes.h"
#include "font/FontFace.h"
#include "font/FontFileSource.h"
#include "font/FontMeshes.h"
#include "font/FontPages.h"

#include <new>

namespace trevik::kelvo::assets {

namespace {

template <class T>
Ref<T> CreateFont(std::string const& name, char const* className, unsigned int nClassID,
                  ClassRegistry const& registry, Fault& fault) {
    Ref<Referenced> const pObject(registry.Create(nClassID));
    Ref<T> pFont(dynamic_cast<T*>(pObject.Get()));
    if (!pFont) {
        Fail(fault, name, std::string("no class \"") + className + "\" to make a font of it");
    }
    return pFont;
}

/** Calls `make`, which may run out of memory on the way. */
template <class T, class Make>
Ref<T> WithinMemory(std::string const& name, Fault& fault, Make make) {
    try {
        return make();
    } catch (std::bad_alloc const&) {
        Fail(fault, name, "not enough memory");
        return nullptr;
    }
}

/** Lets a font that has been made of a file get more glyphs of it. */
template <class T>
Ref<T> WithGlyphSource(Ref<T> const& pFont, std::vector<std::uint8_t> const& bytes, std::string const& path,
                       FontOptions const& options, Fault& fault) {
    if (!pFont || options.glyphMemory == 0) {
        return pFont;
    }
    return WithinMemory<T>(path, fault, [&] {
        Ref<GlyphSource> const pSource(new FontFileSource(path, {bytes.data(), bytes.size()}, options));
        for (std::uint32_t const nCodePoint : options.codePoints) {
            if (!pFont->GetGlyph(nCodePoint)) {
                pSource->NoteLacking(nCodePoint);
            }
        }
        GlyphSource::Attach(*pFont, pSource);
        return pFont;
    });
}

} // namespace

Ref<BitmapFont> ReadBitmapFont(std::string const& path, FontOptions const& options,
                               ClassRegistry const& registry, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, MaximumFontFileBytes, bytes, fault)) {
        return nullptr;
    }
    return WithGlyphSource(ReadBitmapFont({bytes.data(), bytes.size()}, path, options, registry, fault),
                           bytes, path, options, fault);
}

Ref<BitmapFont> ReadBitmapFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                               ClassRegistry const& registry, Fault& fault) {
    return WithinMemory<BitmapFont>(name, fault, [&]() -> Ref<BitmapFont> {
        if (options.maximumPageSize < 4 || options.maximumPageSize > 8192) {
            Fail(fault, name,
                 "cannot be put on pages of at most " + std::to_string(options.maximumPageSize) +
                     " pixels, only of 4 to 8192");
            return nullptr;
        }
        Ref<BitmapFont> const pFont = CreateFont<BitmapFont>(name, "Font", HashName("Font"), registry, fault);
        FontFace face(bytes, name);
        if (!pFont || !face.Open(options, fault)) {
            return nullptr;
        }
        bool const fMade = MakeGlyphPictures(face, name, options, registry, *pFont, fault) &&
                           face.Describe(*pFont, options.underline, KerningOf(options), fault);
        return fMade ? pFont : nullptr;
    });
}

Ref<PolygonalFont> ReadPolygonalFont(std::string const& path, FontOptions const& options,
                                     ClassRegistry const& registry, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, MaximumFontFileBytes, bytes, fault)) {
        return nullptr;
    }
    return WithGlyphSource(ReadPolygonalFont({bytes.data(), bytes.size()}, path, options, registry, fault),
                           bytes, path, options, fault);
}

Ref<PolygonalFont> ReadPolygonalFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                                     ClassRegistry const& registry, Fault& fault) {
    return WithinMemory<PolygonalFont>(name, fault, [&]() -> Ref<PolygonalFont> {
        Ref<PolygonalFont> const pFont =
            CreateFont<PolygonalFont>(name, "PolygonalFont", HashName("PolygonalFont"), registry, fault);
        FontFace face(bytes, name);
        bool const fMade = pFont && face.Open(options, fault) &&
                           face.Describe(*pFont, options.underline, FT_KERNING_UNFITTED, fault) &&
                           MakeGlyphMeshes(face, *pFont, fault);
        return fMade ? pFont : nullptr;
    });
}

} // namespace trevik::kelvo::assets
