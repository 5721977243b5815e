#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** What may be told of a scene that can be drawn, but not all of it, or not as it is written. */
enum class WarningId {
    MasksNotDrawn,
    MasksTooDeep,
    EffectNotDrawn,
    EffectWithoutTexture,
    EffectNotFirst,
    EffectSize,
    EffectDrawsPlainly,
    BlendModeNotDrawn,
    BlendModeIgnored,
    BlendModeOpacity,
    BlendModeCamera,
    GroupJumps,
    BlurCoversOthers,
    BlurInBlur,
    BlurInGroup,
    BlurLastDrawn,
    BlurWithoutAmount,
    BlurWithoutTargets,
    BlurOpaque,
    BlurPostProcessed,
    SpriteWithoutContent,
    NinePatchSize,
    NinePatchStretch,
    NinePatchBands,
    NinePatchWithoutBands,
    NinePatchPadded,
    NinePatchAntialias,
    SurfaceUpsideDown,
    SurfaceTranslucent,
    BackgroundProperties,
    BackgroundSlanted,
    BackgroundDisplaced,
    CameraInTree,
    TimelineWithoutEnd,
    AnimationNeverMoves,
    AnimationOutsideFrames,
    FramesOutside,
    ValueClamped,
    ValueUnknown,
    MissingCharacters,
    Etc1Alpha,
    ImageTooLarge,
    ImageMinified,
    UnusedTexture,
    UnusedFont,
    UnusedTemplate,
    Count
};

/** A kind of warning: its name, which stays, and what it means. */
struct WarningKind {
    char const* pName;    ///< as in "[unused-font]"
    char const* pMeaning; ///< a sentence
};

/** The kind that an id stands for; see docs/warnings.md. */
WarningKind const& GetWarningKind(WarningId id);

/** What is worth knowing about one place of a scene. */
struct SceneWarning {
    WarningId id;           ///< its kind
    std::string sWhere;     ///< "scene.json:12: /nodes/3", or an option
    std::string sWhat;      ///< what will not be drawn, or differently, and why
    unsigned int nLine = 0; ///< of the scene file
    std::string sWay = {};  ///< to the node or effect that it is about, as its origin has it; empty for none

    /** "scene.json:12: /nodes/3: warning: what [id]", in one line. */
    std::string GetText() const;
};

/** The first so many warnings, and how many more there were. */
class SceneWarnings {
public:
    static constexpr std::size_t Most = 100; ///< that are kept

    /** Takes it behind the others, or counts it, when there are Most. */
    void Add(SceneWarning warning);
    /** The same with all of some others, and those that these have counted. */
    void Add(SceneWarnings const& others);
    /** Puts them into the order of the lines. */
    void Sort();
    /** Those that were kept. */
    std::vector<SceneWarning> const& Get() const { return m_warnings; }
    /** How many there were, those that were not kept included. */
    std::size_t GetCount() const { return m_warnings.size() + m_nMore; }
    /** Whether the next one is kept. */
    bool HasRoom() const { return m_warnings.size() < Most; }

private:
    std::vector<SceneWarning> m_warnings;
    std::size_t m_nMore = 0;
};

} // namespace trevik::kelvo::assets
