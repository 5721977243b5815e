#include "scene/SceneTextures.h"

#include "image/ImageReader.h"
#include "scene/SceneKeys.h"
#include "scene/SceneValues.h"
#include "scene/TextureMaker.h"

#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumTextures = 4096;
constexpr std::size_t MaximumBytes = std::size_t(1) << 30;

TextureFormat::Enum ReadFormat(JsonCursor const& place) {
    static TextureFormat::Enum const s_formats[] = {
        // in the order of their words
        TextureFormat::RGB565,   TextureFormat::RGBA5551, TextureFormat::RGBA4444, TextureFormat::RGB888,
        TextureFormat::RGBX8888, TextureFormat::RGBA8888, TextureFormat::Alpha8};
    return s_formats[place.ReadWord("texture format", WordsOf(TextureFormatWords))];
}

ImageOptions ReadOptions(JsonCursor const& place) {
    ImageOptions options;
    if (std::optional<JsonCursor> const format = place.Find("format")) {
        options.format = ReadFormat(*format);
    }
    options.encodeEtc1 = ReadFlag(place, "etc1");
    options.mipLevels = ReadFlag(place, "mipLevels");
    options.padToPowerOfTwo = ReadFlag(place, "powerOfTwo");
    return options;
}

std::string DescribeSize(int nWidth, int nHeight) {
    return std::to_string(nWidth) + "x" + std::to_string(nHeight) + " pixels";
}

/** How many surfaces a texture is written through; 0 when the file does not say. */
int ReadSurfaces(JsonCursor const& place) {
    std::optional<JsonCursor> const surfaces =
        place.Is(JsonValue::Kind::Object) ? place.Find("surfaces") : std::nullopt;
    return surfaces ? static_cast<int>(surfaces->ReadWord("kind of surfaces", WordsOf(SurfacesWords))) + 1
                    : 0;
}

/** Throws unless surfaces can hold the texture's image as it is. */
void CheckSurfaces(JsonCursor const& place, SceneTexture const& texture) {
    Texture const& image = *texture.pTexture;
    char const* pWhat = nullptr;
    if (image.IsCompressed()) {
        pWhat = "ETC1 pictures";
    } else if (image.GetFormat() == TextureFormat::Alpha8) {
        pWhat = "pictures of the format \"alpha8\"";
    } else if (image.GetMipLevels().GetValue().GetCount() > 1) {
        pWhat = "pictures with \"mipLevels\"";
    } else if (image.GetWidth() != image.GetAllocatedWidth() ||
               image.GetHeight() != image.GetAllocatedHeight()) {
        pWhat = "pictures with \"powerOfTwo\"";
    } else if (texture.ninePatch) {
        pWhat = "nine-patch images";
    }
    if (pWhat) {
        place.Require("surfaces").Fail(std::string("there are no surfaces for ") + pWhat);
    }
}

bool IsNinePatchPath(std::string const& path) {
    static std::string const s_ending = ".9.png";
    return path.size() > s_ending.size() &&
           path.compare(path.size() - s_ending.size(), s_ending.size(), s_ending) == 0;
}

} // namespace

void SceneTextures::Read(JsonCursor const& place) {
    place.ReadObject("an object with a texture under each name");
    if (place.GetMemberCount() > MaximumTextures) {
        place.FailExpected("at most " + std::to_string(MaximumTextures) + " textures");
    }
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        std::string const& name = place.GetMemberName(n);
        if (name != "comment") {
            SceneTexture& texture = m_textures[name];
            place.Attempt([&] { texture = ReadTexture(place.GetMember(n), name); });
        }
    }
}

SceneTexture SceneTextures::ReadTexture(JsonCursor const& place, std::string const& name) {
    ImageOptions options;
    JsonCursor file = place;
    if (!place.Is(JsonValue::Kind::String)) {
        place.ReadObject("the path of an image file, or an object with \"file\"");
        CheckKeys(place, TextureKeys);
        file = place.Require("file");
        options = ReadOptions(place);
    }
    std::string const path = ReadPath(file, "an image file");
    bool const fNinePatch = place.Is(JsonValue::Kind::Object)
                                ? ReadFlag(place, "ninePatch", IsNinePatchPath(path))
                                : IsNinePatchPath(path);
    int const nSurfaces = ReadSurfaces(place);
    SceneTexture texture = Load(place, path, options, fNinePatch);
    texture.pTexture->SetName(ToUtf16(name));
    if (nSurfaces != 0) {
        CheckSurfaces(place, texture);
        texture.pTexture->SetWantedSurfaces(nSurfaces);
    }
    return texture;
}

SceneTexture SceneTextures::Load(JsonCursor const& place, std::string const& path,
                                 ImageOptions const& options, bool fNinePatch) {
    ImageData image;
    NinePatchInfo ninePatch;
    Fault fault;
    if (!(fNinePatch ? LoadNinePatch(path, options, image, ninePatch, fault)
                     : LoadImage(path, options, image, fault))) {
        place.Fail(fault);
    }
    if (fNinePatch && (image.allocatedWidth != image.width || image.allocatedHeight != image.height)) {
        place.Fail("a nine-patch image must fill its texture: it is " +
                   DescribeSize(image.width, image.height) + ", its texture would be " +
                   DescribeSize(image.allocatedWidth, image.allocatedHeight));
    }
    m_nBytes += image.pixels.size();
    if (m_nBytes > MaximumBytes) {
        place.FailFinally("the scene's textures take more than " + std::to_string(MaximumBytes >> 20) +
                          " MiB");
    }
    Ref<Texture> const pTexture = MakeTexture(image, path, m_registry);
    if (!pTexture) {
        place.Fail(
            "no texture can be made: the back end has no class \"Texture\", or there is not enough memory");
    }
    return {pTexture, fNinePatch ? std::optional<NinePatchInfo>(ninePatch) : std::nullopt, false};
}

SceneTexture const& SceneTextures::FindOrRead(JsonCursor const& place) {
    std::string const& name = place.ReadText();
    if (m_textures.count(name) != 0 || name.find_first_of("./") == std::string::npos) {
        return Find(place);
    }
    std::string const path = ReadPath(place, "an image file");
    auto const found = m_files.find(path);
    if (found != m_files.end()) {
        return found->second;
    }
    if (m_textures.size() + m_files.size() >= MaximumTextures) {
        place.FailFinally("the scene has more than " + std::to_string(MaximumTextures) + " textures");
    }
    SceneTexture& texture = m_files[path];
    return texture = Load(place, path, ImageOptions(), IsNinePatchPath(path));
}

SceneTexture const& SceneTextures::Find(JsonCursor const& place) const {
    std::string const& name = place.ReadText();
    auto const found = m_textures.find(name);
    if (found != m_textures.end()) {
        found->second.fUsed = true;
        return found->second;
    }
    if (m_fUnknown) {
        static SceneTexture const s_unknown;
        return s_unknown;
    }
    std::vector<std::string> names;
    for (auto const& texture : m_textures) {
        names.push_back(texture.first);
    }
    place.FailUnknownName(name, "texture", names);
}

} // namespace trevik::kelvo::assets
