#include "scene/SceneCheck.h"
#include "scene/SceneChecks.h"
#include "trevik/kelvo/BlendMode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

using Vector = Vector3T<RealFloat>;

template <class T>
T ValueAt(BaseProperty<T> const& property, int nFrame) {
    SampleController<T> const* const pSamples = GetSamples(property);
    if (!pSamples) {
        return property.GetValue();
    }
    long long const nSample = static_cast<long long>(nFrame) - pSamples->GetStartFrame();
    return pSamples->GetSample(static_cast<unsigned int>(std::max(nSample, 0LL)));
}

/** Whether a node's own properties show it in a frame. */
bool IsSeen(TransformNode& node, int nFrame) {
    return ValueAt(node.GetVisibleProperty(), nFrame) && ValueAt(node.GetOpacityProperty(), nFrame) > 0;
}

/** Frames that are the last one of a fade, or the last one before it, where the next one is fully there. */
std::vector<int> FindJumps(BaseProperty<RealFloat> const& opacity) {
    std::vector<int> frames;
    SampleController<RealFloat> const* const pSamples = GetSamples(opacity);
    for (unsigned int n = 1; pSamples && n < pSamples->GetSampleCount(); ++n) {
        RealFloat const less = std::min(pSamples->GetSample(n - 1), pSamples->GetSample(n));
        RealFloat const more = std::max(pSamples->GetSample(n - 1), pSamples->GetSample(n));
        if (less > 0 && less < 1 && more >= 1) {
            frames.push_back(pSamples->GetStartFrame() + static_cast<int>(n) - 1);
        }
    }
    return frames;
}

/** From the least to the greatest value. */
struct Range {
    double least = 0;
    double most = 0;

    bool Moves() const { return least != most; }
    void Take(double value) {
        least = std::min(least, value);
        most = std::max(most, value);
    }
};

Range operator+(Range const& one, Range const& other) {
    return {one.least + other.least, one.most + other.most};
}

Range operator*(Range const& one, Range const& other) {
    Range product = {one.least * other.least, one.least * other.least};
    product.Take(one.least * other.most);
    product.Take(one.most * other.least);
    product.Take(one.most * other.most);
    return product;
}

Range FindRange(BaseProperty<Vector> const& property, RealFloat Vector::* pAxis) {
    std::optional<Range> range;
    TakesValue(property, [&](Vector const& value) {
        double const number = static_cast<double>(value.*pAxis);
        range = range.value_or(Range{number, number});
        range->Take(number);
        return false;
    });
    return range.value_or(Range());
}

/** Where a sprite may be in a group, in units of that. */
struct Place {
    Range x;
    Range y;
    bool fStill = true;

    bool Contains(Place const& other, double margin) const {
        return x.least <= other.x.least - margin && x.most >= other.x.most + margin &&
               y.least <= other.y.least - margin && y.most >= other.y.most + margin;
    }
};

bool IsTurned(TransformNode& node) {
    auto const turned = [](Vector const& value) { return value.x != 0 || value.y != 0 || value.z != 0; };
    auto const deep = [](Vector const& value) { return value.z != 0; };
    return TakesValue(node.GetRotationProperty(), turned) || TakesValue(node.GetPositionProperty(), deep) ||
           TakesValue(node.GetPivotProperty(), deep);
}

void Move(TransformNode& node, RealFloat Vector::* pAxis, Range& range, bool& fStill) {
    Range const scale =
        FindRange(node.GetScaleProperty(), pAxis) * FindRange(node.GetStretchProperty(), pAxis);
    Range const pivot = FindRange(node.GetPivotProperty(), pAxis);
    Range const position = FindRange(node.GetPositionProperty(), pAxis);
    fStill = fStill && !scale.Moves() && !pivot.Moves() && !position.Moves();
    range = position + scale * (range + pivot);
}

/** None where something on the way turns it, or leaves the plane. */
std::optional<Place> FindPlace(Sprite& sprite, Node const& group) {
    std::optional<SizeT<int>> const size = GetFixed(sprite.GetSizeProperty());
    if (!size) {
        return std::nullopt;
    }
    Place place{{0, static_cast<double>(size->width)}, {0, static_cast<double>(size->height)}};
    for (Node* pNode = &sprite; pNode && pNode != &group; pNode = pNode->GetParent()) {
        TransformNode* const pTransform = pNode->GetTransformNode();
        bool const fCamera = pNode->IsKindOf(Timeline::ClassID) && static_cast<Timeline&>(*pNode).GetCamera();
        if (!pTransform || fCamera || IsTurned(*pTransform)) {
            return std::nullopt;
        }
        Move(*pTransform, &Vector::x, place.x, place.fStill);
        Move(*pTransform, &Vector::y, place.y, place.fStill);
    }
    return place;
}

/** Whether more than half of a picture is opaque, as those with round corners or soft edges are. */
bool IsMostlyOpaque(Texture& texture) {
    switch (texture.GetFormat()) {
    case TextureFormat::RGB565:
    case TextureFormat::RGB888:
    case TextureFormat::RGBX8888:
    case TextureFormat::ETC1_RGB:
        return true;
    case TextureFormat::RGBA8888:
        break;
    default:
        return false;
    }
    PixelBuffer const& buffer = texture.GetPixelData().GetBuffer();
    unsigned int nOpaque = 0;
    for (unsigned int n = 3; n < buffer.GetSize(); n += 4) {
        nOpaque += buffer.GetData()[n] == 255;
    }
    return nOpaque > buffer.GetSize() / 8;
}

/** Whether a sprite looks at what is behind it, how far around it if so. */
std::optional<double> FindReach(Sprite& sprite) {
    std::optional<double> reach;
    for (Effect* const pEffect : sprite.GetEffects()) {
        bool const fModes = IsEffect(*pEffect, "BlendModeEffect");
        BaseProperty<RealFloat>* const pRadius =
            IsEffect(*pEffect, "BackdropBlurEffect")
                ? FindProperty<RealFloat>(pEffect->GetProperties(), "Radius")
                : nullptr;
        if (pRadius && !HasBands(sprite)) {
            TakesValue(*pRadius, [&reach](RealFloat radius) {
                if (radius > 0) {
                    reach = std::max(reach.value_or(0), static_cast<double>(radius));
                }
                return false;
            });
        } else if ((fModes || IsEffect(*pEffect, "DirectionalBlurEffect")) && sprite.GetTexture()) {
            bool const fMixes = TakesValue(sprite.GetBlendModeProperty(), [fModes](int nMode) {
                return nMode == BlendMode::Additive ||
                       (fModes && (nMode == BlendMode::Multiply || nMode == BlendMode::Screen ||
                                   nMode == BlendMode::ColorDodge || nMode == BlendMode::Invert));
            });
            return fMixes ? reach.value_or(0) : reach; // the first one that draws the sprite is the only one
        }
    }
    return reach;
}

/** Groups that fade to their full opacity, from which on what is in them sees what is behind them. */
class GroupCheck : public SceneCheck {
public:
    GroupCheck(bool fExact, SceneNotes& notes) : SceneCheck(notes), m_fExact(fExact) {}

    void Enter(SceneStep const& step) override {
        if (step.role == SceneRole::Child && step.node.IsKindOf(Timeline::ClassID)) {
            EnterTimeline(step);
        } else if (step.role == SceneRole::Child && step.node.IsKindOf(Sprite::ClassID) &&
                   !m_groups.empty() && !m_groups.back().jumps.empty()) {
            EnterSprite(step, static_cast<Sprite&>(step.node), m_groups.back());
        }
    }

    void Leave(SceneStep const& step) override {
        if (!m_groups.empty() && m_groups.back().pStep == &step) {
            m_groups.pop_back();
        }
    }

private:
    struct Cover {
        Sprite* pSprite;
        Place place;
    };
    struct Group {
        SceneStep const* pStep;
        std::string key;        ///< of its effect's opacity
        std::vector<int> jumps; ///< see FindJumps; empty once it has been told of
        std::vector<Cover> covers;
    };

    void EnterTimeline(SceneStep const& step) {
        for (SceneStep const* pStep = &step; pStep; pStep = pStep->pAbove) {
            if (IsNeverVisible(pStep->node)) {
                return;
            }
        }
        List<Effect*> const& effects = static_cast<Timeline&>(step.node).GetEffects();
        for (unsigned int n = 0; n < effects.GetCount(); ++n) {
            BaseProperty<RealFloat>* const pOpacity =
                IsEffect(*effects[n], "GroupOpacityEffect")
                    ? FindProperty<RealFloat>(effects[n]->GetProperties(), "Opacity")
                    : nullptr;
            if (pOpacity && TakesValue(*pOpacity, [](RealFloat opacity) { return opacity < 1; })) {
                m_groups.push_back(
                    {&step, "effects/" + std::to_string(n) + "/Opacity", FindJumps(*pOpacity), {}});
                return;
            }
        }
    }

    void EnterSprite(SceneStep const& step, Sprite& sprite, Group& group) {
        std::optional<Place> const place = FindPlace(sprite, group.pStep->node);
        std::optional<double> const reach = FindReach(sprite);
        if (!reach) {
            if (place && place->fStill && IsPlain(step, group)) {
                group.covers.push_back({&sprite, *place});
            }
            return;
        }
        // Elsewhere than where they are described, unless effects are exact.
        bool const fPlaced = place && (m_fExact || !IsDrawnByEffect(sprite));
        bool const fCovered =
            fPlaced && std::any_of(group.covers.begin(), group.covers.end(), [&](Cover const& cover) {
                Texture* const pTexture = cover.pSprite->GetTexture();
                return cover.place.Contains(*place, *reach) && (!pTexture || IsMostlyOpaque(*pTexture));
            });
        bool const fSeen = std::any_of(group.jumps.begin(), group.jumps.end(), [&](int nFrame) {
            return IsSeenInGroup(step, group, nFrame) && IsSeenInGroup(step, group, nFrame + 1);
        });
        if (fSeen && !fCovered) {
            Warn(*group.pStep, group.key, WarningId::GroupJumps,
                 "the fade jumps where it reaches 1: only from there on the sprite on " +
                     DescribeLine(step.place, *group.pStep) +
                     " sees what is behind the group; a fade to 0.999 does not jump");
            group.jumps.clear();
        }
    }

    /** Whether a sprite hides what is behind it in all frames. */
    static bool IsPlain(SceneStep const& step, Group const& group) {
        Sprite& sprite = static_cast<Sprite&>(step.node);
        if (!sprite.GetEffects().IsEmpty() || !sprite.GetMasks().IsEmpty() || IsNeverDrawn(sprite)) {
            return false;
        }
        for (SceneStep const* pStep = &step; pStep && pStep != group.pStep; pStep = pStep->pAbove) {
            TransformNode* const pNode = pStep->node.GetTransformNode();
            if (!pNode || GetFixed(pNode->GetVisibleProperty()) != true ||
                GetFixed(pNode->GetOpacityProperty()).value_or(RealFloat(0)) < 1 ||
                !pNode->GetMasks().IsEmpty()) {
                return false;
            }
        }
        return true;
    }

    static bool IsSeenInGroup(SceneStep const& step, Group const& group, int nFrame) {
        SceneStep const* pStep = &step;
        // What lies in a timeline below the group has frames of its own.
        for (SceneStep const* pAbove = step.pAbove; pAbove != group.pStep; pAbove = pAbove->pAbove) {
            pStep = pAbove->node.IsKindOf(Timeline::ClassID) ? pAbove : pStep;
        }
        for (; pStep != group.pStep; pStep = pStep->pAbove) {
            TransformNode* const pNode = pStep->node.GetTransformNode();
            if (pNode && !IsSeen(*pNode, nFrame)) {
                return false;
            }
        }
        return true;
    }

    bool const m_fExact;
    std::vector<Group> m_groups; ///< that are not always fully there, from the outermost one
};

} // namespace

std::unique_ptr<SceneVisitor> MakeGroupCheck(BuiltScene const& built, SceneNotes& notes) {
    return std::make_unique<GroupCheck>(built.scene.GetSettings().m_fExactEffects, notes);
}

} // namespace trevik::kelvo::assets
