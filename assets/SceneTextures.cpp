#include "SceneTextures.h"

#include "ImageReader.h"
#include "TextureMaker.h"

#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumTextures = 4096;
constexpr std::size_t MaximumBytes = std::size_t(1) << 30;

struct FormatName {
    char const* pName;
    TextureFormat::Enum format;
};
constexpr FormatName FormatNames[] = {
    {"rgb565", TextureFormat::RGB565},     {"rgba5551", TextureFormat::RGBA5551},
    {"rgba4444", TextureFormat::RGBA4444}, {"rgb888", TextureFormat::RGB888},
    {"rgbx8888", TextureFormat::RGBX8888}, {"rgba8888", TextureFormat::RGBA8888},
    {"alpha8", TextureFormat::Alpha8},
};

TextureFormat::Enum ReadFormat(JsonCursor const& place) {
    std::vector<std::string> names;
    for (FormatName const& format : FormatNames) {
        names.push_back(format.pName);
    }
    return FormatNames[place.ReadWord("texture format", names)].format;
}

bool ReadFlag(JsonCursor const& place, char const* pName) {
    std::optional<JsonCursor> const flag = place.Find(pName);
    return flag && flag->ReadBool();
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

std::string ReadPath(JsonCursor const& place, std::string const& folder) {
    std::string const& path = place.ReadText();
    if (path.empty() || path.find('\0') != std::string::npos) {
        place.FailExpected("the path of an image file");
    }
    return path[0] == '/' ? path : folder + path;
}

} // namespace

void SceneTextures::Read(JsonCursor const& place, std::string const& folder, ClassRegistry const& registry) {
    place.ReadObject("an object with a texture under each name");
    if (place.GetMemberCount() > MaximumTextures) {
        place.FailExpected("at most " + std::to_string(MaximumTextures) + " textures");
    }
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        std::string const& name = place.GetMemberName(n);
        if (name != "comment") {
            m_textures[name] = ReadTexture(place.GetMember(n), name, folder, registry);
        }
    }
}

Ref<Texture> SceneTextures::ReadTexture(JsonCursor const& place, std::string const& name,
                                        std::string const& folder, ClassRegistry const& registry) {
    ImageOptions options;
    JsonCursor file = place;
    if (!place.Is(JsonValue::Kind::String)) {
        place.ReadObject("the path of an image file, or an object with \"file\"");
        place.CheckNames({"file", "format", "etc1", "mipLevels", "powerOfTwo"});
        file = place.Require("file");
        options = ReadOptions(place);
    }
    ImageData image;
    std::string error;
    if (!LoadImage(ReadPath(file, folder), options, image, error)) {
        place.Fail(error);
    }
    m_nBytes += image.pixels.size();
    if (m_nBytes > MaximumBytes) {
        place.Fail("the scene's textures take more than " + std::to_string(MaximumBytes >> 20) + " MiB");
    }
    Ref<Texture> const pTexture = MakeTexture(image, name, registry);
    if (!pTexture) {
        place.Fail(
            "no texture can be made: the back end has no class \"Texture\", or there is not enough memory");
    }
    return pTexture;
}

Ref<Texture> SceneTextures::Find(JsonCursor const& place) const {
    std::string const& name = place.ReadText();
    auto const found = m_textures.find(name);
    if (found != m_textures.end()) {
        return found->second;
    }
    std::vector<std::string> names;
    for (auto const& texture : m_textures) {
        names.push_back(texture.first);
    }
    place.FailUnknownName(name, "texture", names);
}

} // namespace trevik::kelvo::assets
