#pragma once

#include "kelvo_host/Scene.h"
#include "scene/JsonCursor.h"
#include "scene/SceneFonts.h"
#include "scene/SceneNotes.h"
#include "scene/SceneTextures.h"
#include "scene/SceneWalk.h"

#include <memory>

namespace trevik::kelvo::assets {

/** A scene that has been built and is not loaded yet, with all that it was made of. */
struct BuiltScene {
    JsonCursor file;
    Scene const& scene;
    SceneTextures const& textures;
    SceneFonts const& fonts;
};

/** Notes warnings of what in a scene will not be drawn, or not as it is written; see docs/warnings.md. */
void CheckScene(BuiltScene const& built, SceneNotes& notes);

// What is looked for at each node, by subject.

std::unique_ptr<SceneVisitor> MakeResourceCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeDrawingCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeGroupCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeBlurCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeNinePatchCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeBackgroundCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeTimeCheck(BuiltScene const& built, SceneNotes& notes);
std::unique_ptr<SceneVisitor> MakeMinificationCheck(BuiltScene const& built, SceneNotes& notes);

/** Looks at the textures and fonts themselves. */
void CheckResources(BuiltScene const& built, SceneNotes& notes);

} // namespace trevik::kelvo::assets
