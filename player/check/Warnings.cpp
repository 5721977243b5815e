#include "check/Warnings.h"

#include "command/Options.h"
#include "command/Output.h"
#include "scene/PropertyCourse.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Timeline.h"

#include <algorithm>

namespace kelvokit::player {

using trevik::SizeT;
using trevik::kelvo::DeviceFormat;
using trevik::kelvo::GaussianBlurEffect;
using trevik::kelvo::Node;
using trevik::kelvo::Scene;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::Timeline;
using trevik::kelvo::assets::EverExceeds;
using trevik::kelvo::assets::IsNeverVisible;
using trevik::kelvo::assets::SceneNotes;
using trevik::kelvo::assets::SceneWarning;
using trevik::kelvo::assets::WarningId;

namespace {

/** Whether a timeline, the node or one below it, is seen blurred in some frame. */
bool HasBlur(Node& node) {
    if (IsNeverVisible(node)) {
        return false;
    }
    if (node.IsKindOf(Timeline::ClassID)) {
        for (trevik::kelvo::Effect* const pEffect : static_cast<Timeline&>(node).GetEffects()) {
            if (pEffect->IsKindOf(GaussianBlurEffect::ClassID) &&
                EverExceeds(static_cast<GaussianBlurEffect*>(pEffect)->GetAmountProperty(), 0)) {
                return true;
            }
        }
    }
    trevik::List<Node*> const& children = node.GetChildren();
    return std::any_of(children.begin(), children.end(), [](Node* pChild) { return HasBlur(*pChild); });
}

void Say(std::string const& line) {
    Complain(ExitSuccess, line);
}

} // namespace

std::vector<SceneWarning> FindPlayWarnings(Options const& options, Scene const& scene,
                                           std::string const& source) {
    std::vector<SceneWarning> warnings;
    SceneSettings const& settings = scene.GetSettings();
    if (options.frames &&
        (options.frames->nFirst < settings.m_nFirstFrame || options.frames->nLast > settings.m_nLastFrame)) {
        warnings.push_back({WarningId::FramesOutside, options.explained ? "--explain" : "--frames",
                            "the scene has frames " + std::to_string(settings.m_nFirstFrame) + ".." +
                                std::to_string(settings.m_nLastFrame)});
    }
    if (!HasBlur(*scene.GetRoot())) {
        return warnings;
    }
    SizeT<int> const size = options.size.value_or(settings.m_size);
    if (size.width < 2 || size.height < 2) {
        warnings.push_back({WarningId::BlurWithoutTargets, options.size ? "--size" : source,
                            "the targets of a blur have half the surface's size, which is none of 1 pixel"});
    }
    // What is cleared with an opaque colour has no alpha to lose.
    if (options.format.value_or(settings.m_format) == DeviceFormat::RGBA8888 && settings.m_clearColor.a < 1) {
        warnings.push_back({WarningId::BlurOpaque, options.format ? "--format" : source,
                            "a blurred layer is opaque, and leaves the surface without alpha"});
    }
    if (options.fPost) {
        warnings.push_back({WarningId::BlurPostProcessed, "--post",
                            "a blurred layer, and all that follows, is drawn past the post-processing"});
    }
    return warnings;
}

int TellWarnings(Options const& options, Scene const& scene, SceneNotes const& notes) {
    std::string const source = notes.GetSource().empty() ? options.scene : notes.GetSource();
    std::vector<SceneWarning> const played = FindPlayWarnings(options, scene, source);
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
    return options.fStrict && nWarnings > 0 ? ExitBadFile : ExitSuccess;
}

} // namespace kelvokit::player
