#include "scene/SceneWarning.h"

#include "scene/SceneFaults.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** In the order of WarningId. */
constexpr WarningKind Kinds[] = {
    {"masks-not-drawn", "masks on a node that draws none"},
    {"masks-too-deep", "more than 15 masked nodes inside each other"},
    {"effect-not-drawn", "an effect on a node that it does not change"},
    {"effect-without-texture", "an effect for textures on a sprite without one"},
    {"effect-not-first", "an effect behind another one that draws the sprite already"},
    {"effect-size", "a sprite that an effect draws, of another size than 1 by 1"},
    {"effect-draws-plainly", "something of a sprite that the effect that draws it leaves out"},
    {"blend-mode-not-drawn", "a blend mode that only an effect can draw"},
    {"blend-mode-ignored", "a blend mode that the effect draws as normal"},
    {"blend-mode-opacity", "an opacity that the blend mode does not know"},
    {"blend-mode-camera", "a BlendModeEffect that no orthographic camera sees"},
    {"group-jumps", "a group that fades in up to 1 with something in it that sees what is behind"},
    {"blur-covers-others", "a blur that covers what has been drawn before it"},
    {"blur-in-blur", "a blur inside of another one"},
    {"blur-in-group", "a blur inside of a group that fades"},
    {"blur-last-drawn", "a blurred layer that is not drawn plainly"},
    {"blur-without-amount", "a blur that never blurs"},
    {"blur-without-targets", "a surface that is too small for a blur"},
    {"blur-opaque", "a blur on a surface with alpha"},
    {"blur-post-processed", "a blur in frames that are post-processed"},
    {"sprite-without-content", "a sprite that draws nothing"},
    {"nine-patch-size", "a nine-patch that is sized by Size"},
    {"nine-patch-stretch", "a nine-patch that is sized by Stretch"},
    {"nine-patch-bands", "bands that do not fit the picture"},
    {"nine-patch-without-bands", "a nine-patch that stretches as a whole"},
    {"nine-patch-padded", "a nine-patch whose picture does not fill its texture"},
    {"nine-patch-antialias", "a nine-patch that shall have smooth edges"},
    {"surface-upside-down", "a texture with surfaces where they are shown upside down"},
    {"surface-translucent", "a translucent picture in surfaces"},
    {"background-properties", "what a text's background takes from its text"},
    {"background-slanted", "a text's background that is drawn slanted"},
    {"background-displaced", "a text's background that is drawn beside it"},
    {"camera-in-tree", "a camera that nothing is seen through"},
    {"timeline-without-end", "a timeline that never comes to the end that it is given"},
    {"animation-never-moves", "an animation between equal values"},
    {"animation-outside-frames", "an animation in frames that are not played"},
    {"frames-outside", "frames that the scene does not have"},
    {"value-clamped", "a value that is cut to its range"},
    {"value-unknown", "a number that stands for nothing"},
    {"missing-characters", "characters that the font lacks"},
    {"etc1-alpha", "alpha of an ETC1 picture that is not looked at"},
    {"image-too-large", "a picture that devices may refuse"},
    {"image-minified", "a picture at less than half its size, without mipLevels"},
    {"unused-texture", "a texture that nothing shows"},
    {"unused-font", "a font that no text is set in"},
    {"unused-template", "a template that nothing uses"},
};
static_assert(std::size(Kinds) == static_cast<std::size_t>(WarningId::Count));

} // namespace

WarningKind const& GetWarningKind(WarningId id) {
    return Kinds[static_cast<std::size_t>(id)];
}

std::string SceneWarning::GetText() const {
    return ToOneLine(sWhere + ": warning: " + sWhat + " [" + GetWarningKind(id).pName + "]");
}

void SceneWarnings::Sort() {
    std::stable_sort(m_warnings.begin(), m_warnings.end(),
                     [](SceneWarning const& a, SceneWarning const& b) { return a.nLine < b.nLine; });
}

void SceneWarnings::Add(SceneWarning warning) {
    if (HasRoom()) {
        m_warnings.push_back(std::move(warning));
    } else {
        ++m_nMore;
    }
}

void SceneWarnings::Add(SceneWarnings const& others) {
    for (SceneWarning const& warning : others.m_warnings) {
        Add(warning);
    }
    m_nMore += others.m_nMore;
}

} // namespace trevik::kelvo::assets
