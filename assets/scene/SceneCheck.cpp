#include "scene/SceneCheck.h"

#include "image/Etc1.h"
#include "trevik/kelvo/BlendMode.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

/**
 * What stands at "effects/1" below a place; the place itself where there is no such thing. `outward` becomes
 * what lies from there on up to below the place.
 */
JsonCursor Descend(JsonCursor place, std::string const& key, std::vector<JsonValue const*>& outward) {
    for (std::size_t at = 0; at < key.size();) {
        std::size_t const end = std::min(key.find('/', at), key.size());
        std::string const step = key.substr(at, end - at);
        if (place.Is(JsonValue::Kind::Array)) {
            place = place.GetItem(static_cast<std::size_t>(std::atoi(step.c_str())));
            outward.insert(outward.begin(), &place.GetValue());
        } else if (std::optional<JsonCursor> const member = place.Find(step)) {
            place = *member;
            outward.insert(outward.begin(), &place.GetValue());
        }
        at = end + 1;
    }
    return place;
}

} // namespace

void SceneCheck::Warn(SceneStep const& step, std::string const& key, WarningId id,
                      std::string const& what) const {
    if (!m_notes.HasRoomForWarnings()) {
        m_notes.Warn({id, "", "", 0}); // is counted
        return;
    }
    std::vector<JsonValue const*> outward;
    JsonCursor const place = Descend(step.place, key, outward);
    std::string const node = step.GetWay();
    std::string const way = key.empty() ? node : node + "/" + key;
    std::string const use = step.DescribeUse(std::move(outward));
    unsigned int const nLine = place.GetValue().GetLine();
    m_notes.Warn({id,
                  place.GetFileName() + ":" + std::to_string(nLine) + (use.empty() ? "" : " (" + use + ")") +
                      (way.empty() ? "" : ": " + way),
                  what, nLine, node});
}

std::string GetWrittenClass(SceneStep const& step) {
    std::optional<JsonCursor> const className = step.place.Find("class");
    return className ? className->ReadText() : step.role == SceneRole::Camera ? "Camera" : "Timeline";
}

std::string DescribeLine(JsonCursor const& place, SceneStep const& warned) {
    std::string const& file = place.GetFileName();
    return "line " + std::to_string(place.GetValue().GetLine()) +
           (file == warned.place.GetFileName() ? "" : " of " + file);
}

bool IsEffect(Effect const& effect, char const* pClassName) {
    return effect.IsKindOf(HashName(pClassName));
}

bool IsDrawnByEffect(Sprite& sprite) {
    List<Effect*> const& effects = sprite.GetEffects();
    return std::any_of(effects.begin(), effects.end(), [&sprite](Effect const* pEffect) {
        if (IsEffect(*pEffect, "DirectionalBlurEffect") || IsEffect(*pEffect, "BlendModeEffect")) {
            return sprite.GetTexture() != nullptr;
        }
        return !IsEffect(*pEffect, "GaussianBlurEffect") && !IsEffect(*pEffect, "GroupOpacityEffect") &&
               !IsEffect(*pEffect, "BackdropBlurEffect");
    });
}

bool IsNeverDrawn(Sprite& sprite) {
    return !IsDrawnByEffect(sprite) &&
           !TakesValue(sprite.GetBlendModeProperty(), [](int nMode) { return nMode == BlendMode::Normal; });
}

bool HasEtc1Alpha(Texture& texture) {
    if (texture.GetFormat() != TextureFormat::ETC1_RGBA) {
        return false;
    }
    PixelBuffer const& buffer = texture.GetPixelData().GetBuffer();
    RgbaPicture picture;
    picture.width = texture.GetAllocatedWidth();
    picture.height = texture.GetAllocatedHeight();
    std::size_t const nPlane = PlaneBytes(TextureFormat::ETC1_RGBA, picture.width, picture.height);
    if (buffer.GetSize() < 2 * nPlane) {
        return true; // not here to be looked at
    }
    picture.bytes.resize(std::size_t(picture.width) * std::size_t(picture.height) * 4);
    DecodeEtc1Plane(buffer.GetData() + nPlane, Etc1Plane::Alpha, picture);
    for (int y = 0; y < texture.GetHeight(); ++y) {
        for (int x = 0; x < texture.GetWidth(); ++x) {
            if (picture.At(x, y)[3] != 255) {
                return true;
            }
        }
    }
    return false;
}

bool IsNinePatch(Node const& node) {
    return node.GetFactoryClassID() == HashName("NinePatchSprite");
}

List<Vector2T<int>> const* FindBands(Node& node, char const* pKey) {
    BaseProperty<List<Vector2T<int>>>* const pBands =
        IsNinePatch(node) ? FindProperty<List<Vector2T<int>>>(node.GetProperties(), pKey) : nullptr;
    return pBands ? &pBands->GetValue() : nullptr;
}

bool HasBands(Node& node) {
    List<Vector2T<int>> const* const pColumns = FindBands(node, "NinePatchPairX");
    List<Vector2T<int>> const* const pRows = FindBands(node, "NintPatchPairY");
    return (pColumns && !pColumns->IsEmpty()) || (pRows && !pRows->IsEmpty());
}

} // namespace trevik::kelvo::assets
