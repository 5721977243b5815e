#include "check/Warnings.h"

#include "command/Options.h"
#include "command/Output.h"
#include "scene/PropertyCourse.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Timeline.h"

namespace kelvokit::player {

using trevik::SizeT;
using trevik::kelvo::DeviceFormat;
using trevik::kelvo::Effect;
using trevik::kelvo::GaussianBlurEffect;
using trevik::kelvo::Node;
using trevik::kelvo::Scene;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::Timeline;
using trevik::kelvo::assets::EverExceeds;
using trevik::kelvo::assets::IsNeverVisible;
using trevik::kelvo::assets::SceneNotes;
using trevik::kelvo::assets::SceneOrigin;
using trevik::kelvo::assets::SceneWarning;
using trevik::kelvo::assets::WarningId;

namespace {

/** The first effect that blurs a timeline, the node or one below it, where it is seen in some frame; or null.
 */
Effect* FindBlur(Node& node) {
    if (IsNeverVisible(node)) {
        return nullptr;
    }
    if (node.IsKindOf(Timeline::ClassID)) {
        for (Effect* const pEffect : static_cast<Timeline&>(node).GetEffects()) {
            if (pEffect->IsKindOf(GaussianBlurEffect::ClassID) &&
                EverExceeds(static_cast<GaussianBlurEffect*>(pEffect)->GetAmountProperty(), 0)) {
                return pEffect;
            }
        }
    }
    for (Node* const pChild : node.GetChildren()) {
        if (Effect* const pFound = FindBlur(*pChild)) {
            return pFound;
        }
    }
    return nullptr;
}

/** A warning of an effect: where an option leads to it, of that, else of the effect's place in the file. */
SceneWarning WarnOf(Effect const& effect, WarningId id, char const* pOption, std::string const& what,
                    std::string const& source, SceneNotes const& notes) {
    SceneOrigin const* const pOrigin = notes.Find(effect);
    SceneWarning warning{id, pOption ? pOption : source, what};
    if (pOrigin) {
        warning.sWay = pOrigin->way;
    }
    if (pOrigin && !pOption) {
        warning.nLine = pOrigin->nLine;
        warning.sWhere = pOrigin->sFile + ":" + std::to_string(pOrigin->nLine) +
                         (pOrigin->sUse.empty() ? "" : " (" + pOrigin->sUse + ")") + ": " + pOrigin->way;
    }
    return warning;
}

void Say(std::string const& line) {
    Complain(ExitSuccess, line);
}

} // namespace

std::vector<SceneWarning> FindPlayWarnings(Options const& options, Scene const& scene,
                                           std::string const& source, SceneNotes const& notes) {
    std::vector<SceneWarning> warnings;
    SceneSettings const& settings = scene.GetSettings();
    if (options.frames &&
        (options.frames->nFirst < settings.m_nFirstFrame || options.frames->nLast > settings.m_nLastFrame)) {
        warnings.push_back({WarningId::FramesOutside, options.explained ? "--explain" : "--frames",
                            "the scene has frames " + std::to_string(settings.m_nFirstFrame) + ".." +
                                std::to_string(settings.m_nLastFrame)});
    }
    Effect const* const pBlur = FindBlur(*scene.GetRoot());
    if (!pBlur) {
        return warnings;
    }
    auto const warn = [&](WarningId id, char const* pOption, char const* pWhat) {
        warnings.push_back(WarnOf(*pBlur, id, pOption, pWhat, source, notes));
    };
    SizeT<int> const size = options.size.value_or(settings.m_size);
    if (size.width < 2 || size.height < 2) {
        warn(WarningId::BlurWithoutTargets, options.size ? "--size" : nullptr,
             "the targets of a blur have half the surface's size, which is none of 1 pixel");
    }
    // What is cleared with an opaque colour has no alpha to lose.
    if (options.format.value_or(settings.m_format) == DeviceFormat::RGBA8888 && settings.m_clearColor.a < 1) {
        warn(WarningId::BlurOpaque, options.format ? "--format" : nullptr,
             "a blurred layer is opaque, and leaves the surface without alpha");
    }
    if (options.fPost) {
        warn(WarningId::BlurPostProcessed, "--post",
             "a blurred layer, and all that follows, is drawn past the post-processing");
    }
    return warnings;
}

int TellWarnings(Options const& options, Scene const& scene, SceneNotes& notes) {
    std::string const source = notes.GetSource().empty() ? options.scene : notes.GetSource();
    std::vector<SceneWarning> const played = FindPlayWarnings(options, scene, source, notes);
    std::size_t const nWarnings = notes.GetWarnings().GetCount() + played.size();
    if (!options.fQuiet || options.fCheck || options.fStrict) {
        for (SceneWarning const& warning : notes.GetWarnings().Get()) {
            Say(warning.GetText());
        }
        for (SceneWarning const& warning : played) {
            Say(warning.GetText());
        }
        std::size_t const nMore = notes.GetWarnings().GetCount() - notes.GetWarnings().Get().size();
        if (nMore > 0) {
            Say(source + ": ... and " + std::to_string(nMore) + " more warnings");
        }
    }
    if (nWarnings > 0 && (options.fCheck || options.fStrict)) {
        Say(source + ": " + std::to_string(nWarnings) + (nWarnings == 1 ? " warning" : " warnings"));
    }
    for (SceneWarning const& warning : played) {
        notes.Warn(warning);
    }
    return options.fStrict && nWarnings > 0 ? ExitBadFile : ExitSuccess;
}

} // namespace kelvokit::player
