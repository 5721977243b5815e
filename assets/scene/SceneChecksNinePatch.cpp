#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"

namespace trevik::kelvo::assets {

namespace {

constexpr unsigned int MostBands = 10;

/** What is wrong with bands along a side of so many texels; empty for nothing. */
std::string FindBandFault(List<Vector2T<int>> const& bands, int nTexels) {
    if (bands.GetCount() > MostBands) {
        return "only the first 10 bands stretch";
    }
    long long nEnd = 0;
    long long nStretched = 0;
    for (Vector2T<int> const& band : bands) {
        if (band.x < nEnd) {
            return "the bands overlap, or do not go up";
        }
        nEnd = static_cast<long long>(band.x) + band.y;
        nStretched += band.y;
    }
    if (nEnd > nTexels) {
        return "the bands reach up to texel " + std::to_string(nEnd) + ", and the picture has " +
               std::to_string(nTexels);
    }
    return nStretched == 0 && !bands.IsEmpty() ? "bands without a texel do not stretch" : "";
}

/** What does not go together with stretching in bands. */
class NinePatchCheck : public SceneCheck {
public:
    using SceneCheck::SceneCheck;

    void Enter(SceneStep const& step) override {
        if (!IsNinePatch(step.node)) {
            return;
        }
        Sprite& sprite = static_cast<Sprite&>(step.node);
        if (!sprite.GetTexture() || IsDrawnByEffect(sprite)) { // which knows no bands, and tells so
            return;
        }
        if (HasBands(sprite)) {
            CheckTexture(step, *sprite.GetTexture());
            CheckProperties(step, *sprite.GetTexture());
        } else if (step.role == SceneRole::Child) {
            Warn(step, "", WarningId::NinePatchWithoutBands,
                 "without \"NinePatchPairX\", \"NintPatchPairY\" or a nine-patch image it stretches as a "
                 "Sprite does");
        }
    }

private:
    void CheckTexture(SceneStep const& step, Texture const& texture) {
        if (texture.GetWidth() != texture.GetAllocatedWidth() ||
            texture.GetHeight() != texture.GetAllocatedHeight()) {
            Warn(step, "texture", WarningId::NinePatchPadded,
                 "the picture does not fill its texture, of which the whole is shown");
        }
        if (texture.GetWantedSurfaces() > 0) {
            Warn(step, "texture", WarningId::SurfaceUpsideDown,
                 "bands show the texture's surfaces upside down");
        }
        struct {
            char const* pKey;
            int nTexels;
        } const axes[] = {{"NinePatchPairX", texture.GetWidth()}, {"NintPatchPairY", texture.GetHeight()}};
        for (auto const& axis : axes) {
            std::string const fault = FindBandFault(*FindBands(step.node, axis.pKey), axis.nTexels);
            if (!fault.empty()) {
                Warn(step, FindGiven(step.place, axis.pKey), WarningId::NinePatchBands, fault);
            }
        }
    }

    void CheckProperties(SceneStep const& step, Texture const& texture) {
        Sprite& sprite = static_cast<Sprite&>(step.node);
        bool const fChild = step.role == SceneRole::Child; // a background has its text's
        bool const fOtherSize = TakesValue(sprite.GetSizeProperty(), [&](SizeT<int> const& taken) {
            return taken.width != texture.GetWidth() || taken.height != texture.GetHeight();
        });
        std::string const size = FindGiven(step.place, "Size");
        if (fChild && fOtherSize && !size.empty()) {
            Warn(step, size, WarningId::NinePatchSize,
                 "the bands follow \"Scale\" and the picture's size; another \"Size\" tears them apart");
        }
        bool const fStretched = TakesValue(sprite.GetStretchProperty(), [](Vector3T<RealFloat> const& taken) {
            return taken.x != 1 || taken.y != 1;
        });
        std::string const stretch = FindGiven(step.place, "Stretch");
        if (fChild && fStretched && !stretch.empty()) {
            Warn(step, stretch, WarningId::NinePatchStretch,
                 "\"Stretch\" enlarges all of the picture, not its bands alone; \"Scale\" does that");
        }
        if (TakesValue(sprite.GetAntialiasProperty(), [](bool fOn) { return fOn; })) {
            Warn(step, "Antialias", WarningId::NinePatchAntialias,
                 "a sprite that stretches in bands has no smooth edges");
        }
    }
};

} // namespace

std::unique_ptr<SceneVisitor> MakeNinePatchCheck(BuiltScene const&, SceneNotes& notes) {
    return std::make_unique<NinePatchCheck>(notes);
}

} // namespace trevik::kelvo::assets
