#include "font/FontFile.h"

#include "file/FileBytes.h"
#include "font/FontFace.h"
#include "font/FontMeshes.h"
#include "font/FontPages.h"

#include <new>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumFileBytes = std::size_t(64) << 20;

template <class T>
Ref<T> CreateFont(std::string const& name, char const* className, unsigned int nClassID,
                  ClassRegistry const& registry, std::string& error) {
    Ref<Referenced> const pObject(registry.Create(nClassID));
    Ref<T> pFont(dynamic_cast<T*>(pObject.Get()));
    if (!pFont) {
        Fail(error, name + ": no class \"" + className + "\" to make a font of it");
    }
    return pFont;
}

/** Calls `make`, which may run out of memory on the way. */
template <class T, class Make>
Ref<T> WithinMemory(std::string const& name, std::string& error, Make make) {
    try {
        return make();
    } catch (std::bad_alloc const&) {
        Fail(error, name + ": not enough memory");
        return nullptr;
    }
}

} // namespace

Ref<BitmapFont> ReadBitmapFont(std::string const& path, FontOptions const& options,
                               ClassRegistry const& registry, std::string& error) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, MaximumFileBytes, bytes, error)) {
        return nullptr;
    }
    return ReadBitmapFont({bytes.data(), bytes.size()}, path, options, registry, error);
}

Ref<BitmapFont> ReadBitmapFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                               ClassRegistry const& registry, std::string& error) {
    return WithinMemory<BitmapFont>(name, error, [&]() -> Ref<BitmapFont> {
        if (options.maximumPageSize < 4 || options.maximumPageSize > 8192) {
            Fail(error, name + ": cannot be put on pages of at most " +
                            std::to_string(options.maximumPageSize) + " pixels, only of 4 to 8192");
            return nullptr;
        }
        Ref<BitmapFont> const pFont = CreateFont<BitmapFont>(name, "Font", HashName("Font"), registry, error);
        FontFace face(bytes, name);
        if (!pFont || !face.Open(options, error)) {
            return nullptr;
        }
        bool const fMade = MakeGlyphPictures(face, name, options, registry, *pFont, error) &&
                           face.Describe(*pFont, options.underline,
                                         options.hinting ? FT_KERNING_DEFAULT : FT_KERNING_UNFITTED, error);
        return fMade ? pFont : nullptr;
    });
}

Ref<PolygonalFont> ReadPolygonalFont(std::string const& path, FontOptions const& options,
                                     ClassRegistry const& registry, std::string& error) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, MaximumFileBytes, bytes, error)) {
        return nullptr;
    }
    return ReadPolygonalFont({bytes.data(), bytes.size()}, path, options, registry, error);
}

Ref<PolygonalFont> ReadPolygonalFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                                     ClassRegistry const& registry, std::string& error) {
    return WithinMemory<PolygonalFont>(name, error, [&]() -> Ref<PolygonalFont> {
        Ref<PolygonalFont> const pFont =
            CreateFont<PolygonalFont>(name, "PolygonalFont", HashName("PolygonalFont"), registry, error);
        FontFace face(bytes, name);
        bool const fMade = pFont && face.Open(options, error) &&
                           face.Describe(*pFont, options.underline, FT_KERNING_UNFITTED, error) &&
                           MakeGlyphMeshes(face, *pFont, error);
        return fMade ? pFont : nullptr;
    });
}

} // namespace trevik::kelvo::assets
