#pragma once

#include "kelvo_host/Scene.h"
#include "scene/JsonCursor.h"
#include "scene/SceneFonts.h"
#include "scene/SceneNotes.h"
#include "scene/SceneTextures.h"

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

// Its parts, each with a subject of its own.

void CheckDrawing(BuiltScene const& built, SceneNotes& notes);
void CheckBlurs(BuiltScene const& built, SceneNotes& notes);
void CheckNinePatches(BuiltScene const& built, SceneNotes& notes);
void CheckBackgrounds(BuiltScene const& built, SceneNotes& notes);
void CheckTime(BuiltScene const& built, SceneNotes& notes);
void CheckResources(BuiltScene const& built, SceneNotes& notes);
void CheckMinification(BuiltScene const& built, SceneNotes& notes);

} // namespace trevik::kelvo::assets
