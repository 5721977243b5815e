#include "scene/TextureMaker.h"

#include "trevik/StringEncoded.h"

namespace trevik::kelvo::assets {

Ref<Texture> MakeTexture(ImageData const& image, std::string const& name, ClassRegistry const& registry) {
    Ref<Referenced> const pObject(registry.Create(HashName("Texture")));
    Ref<Texture> pTexture(dynamic_cast<Texture*>(pObject.Get()));
    List<MipLevel> levels;
    for (MipLevel const& level : image.levels) {
        if (!levels.Append(level)) {
            return nullptr;
        }
    }
    if (!pTexture || !pTexture->SetImage(image.width, image.height, image.allocatedWidth,
                                         image.allocatedHeight, image.format, levels, image.pixels.data(),
                                         static_cast<unsigned int>(image.pixels.size()), false)) {
        return nullptr;
    }
    pTexture->SetName(String16(String8(name.data(), static_cast<unsigned int>(name.size()))));
    return pTexture;
}

} // namespace trevik::kelvo::assets
