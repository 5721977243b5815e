#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "scene/ScenePlacement.h"
#include "trevik/kelvo/Camera.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

using Vector = Vector3T<RealFloat>;

/** How much a node enlarges what is below it at most, along x and y. */
struct Enlargement {
    double x = 0;
    double y = 0;
};

Enlargement FindGreatest(BaseProperty<Vector> const& property) {
    Enlargement greatest;
    TakesValue(property, [&](Vector const& value) {
        greatest.x = std::max(greatest.x, std::fabs(static_cast<double>(value.x)));
        greatest.y = std::max(greatest.y, std::fabs(static_cast<double>(value.y)));
        return false;
    });
    return greatest;
}

Enlargement FindEnlargement(TransformNode& node) {
    Enlargement const scale = FindGreatest(node.GetScaleProperty());
    Enlargement const stretch = FindGreatest(node.GetStretchProperty());
    return {scale.x * stretch.x, scale.y * stretch.y};
}

/** Whether the node can bring anything nearer to a viewer on the z axis, or is seen in some way of its own.
 */
bool LeavesPlane(TransformNode& node) {
    return TakesValue(node.GetPositionProperty(), [](Vector const& value) { return value.z > 0; }) ||
           TakesValue(node.GetPivotProperty(), [](Vector const& value) { return value.z != 0; }) ||
           TakesValue(node.GetRotationProperty(),
                      [](Vector const& value) { return value.x != 0 || value.y != 0; }) ||
           TakesValue(node.GetDepthProperty(), [](bool fDepth) { return fDepth; });
}

/** Sprites that are always drawn at less than half their texture's size. */
class MinificationCheck : public SceneCheck {
public:
    MinificationCheck(SceneSettings const& settings, SceneNotes& notes)
        : SceneCheck(notes), m_settings(settings) {}

    void Enter(SceneStep const& step) override {
        m_above.push_back(m_above.empty() ? Above{1, 1} : m_above.back());
        TransformNode* const pNode = step.node.GetTransformNode();
        if (!pNode || IsNeverVisible(*pNode) || step.role == SceneRole::Camera ||
            step.role == SceneRole::Background) {
            m_above.back().pixels = std::nullopt;
            return;
        }
        Above& here = m_above.back();
        Enlargement const own = FindEnlargement(*pNode);
        if (LeavesPlane(*pNode)) {
            here.pixels = std::nullopt;
        }
        if (here.pixels && pNode->IsKindOf(Sprite::ClassID)) {
            CheckSprite(step, static_cast<Sprite&>(*pNode), own, here);
        }
        Camera* const pCamera =
            pNode->IsKindOf(Timeline::ClassID) ? static_cast<Timeline&>(*pNode).GetCamera() : nullptr;
        if (pCamera) {
            here.pixels = IsNeverVisible(*pNode) ? std::nullopt : FindPixelsPerUnit(*pCamera);
            here.fCamera = true;
        }
        // Turned about z, x may become y. What is stretched keeps that from its children.
        here.enlargement *= HasStretchedChildren(step.place) ? 1 : std::max(own.x, own.y);
    }

    void Leave(SceneStep const&) override { m_above.pop_back(); }

private:
    struct Above {
        std::optional<double> pixels; ///< to a unit, at most; none where only drawing would tell
        double enlargement;           ///< of all nodes up to the root, at most
        bool fCamera = false;         ///< whose view fills the surface, so that its size counts
    };

    void CheckSprite(SceneStep const& step, Sprite& sprite, Enlargement const& own, Above const& here) {
        Texture* const pTexture = sprite.GetTexture();
        std::optional<SizeT<int>> const size = GetFixed(sprite.GetSizeProperty());
        if (!pTexture || HasBands(sprite) || pTexture->GetMipLevels().GetValue().GetCount() > 1 || !size ||
            IsDrawnByEffect(sprite) || IsNeverDrawn(sprite)) {
            return;
        }
        // Neither surfaces nor ETC1 with alpha can have levels.
        bool const fLevels =
            pTexture->GetWantedSurfaces() == 0 && pTexture->GetFormat() != TextureFormat::ETC1_RGBA;
        double const above = *here.pixels * here.enlargement;
        double const greatest = above * std::max(size->width * own.x / pTexture->GetWidth(),
                                                 size->height * own.y / pTexture->GetHeight());
        if (greatest > 0 && greatest < 0.5) {
            Warn(step, "texture", WarningId::ImageMinified,
                 "the picture is drawn at " + FormatNumber(std::round(greatest * 1000) / 10) +
                     " % of its size at most" + (here.fCamera ? " on the scene's own surface" : "") +
                     (fLevels ? "; without \"mipLevels\" it flickers and loses lines"
                              : "; it flickers and loses lines, which a smaller picture does not"));
        }
    }

    /** Of what a camera without perspective sees. */
    std::optional<double> FindPixelsPerUnit(Camera& camera) const {
        std::optional<RectangleT<RealFloat>> const view = GetFixed(camera.GetViewRectangleProperty());
        std::optional<Vector> const scale = GetFixed(camera.GetScaleProperty());
        std::optional<Vector> const stretch = GetFixed(camera.GetStretchProperty());
        if (GetFixed(camera.GetOrthographicProperty()) != true || !view || !scale || !stretch ||
            !(*scale == Vector(1, 1, 1)) || !(*stretch == Vector(1, 1, 1))) {
            return std::nullopt;
        }
        auto const perUnit = [](int nPixels, RealFloat from, RealFloat to) {
            return nPixels / std::fabs(static_cast<double>(to) - static_cast<double>(from));
        };
        return std::max(perUnit(m_settings.m_size.width, view->left, view->right),
                        perUnit(m_settings.m_size.height, view->top, view->bottom));
    }

    std::vector<Above> m_above;
    SceneSettings const& m_settings;
};

} // namespace

std::unique_ptr<SceneVisitor> MakeMinificationCheck(BuiltScene const& built, SceneNotes& notes) {
    return std::make_unique<MinificationCheck>(built.scene.GetSettings(), notes);
}

} // namespace trevik::kelvo::assets
