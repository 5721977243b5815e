#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneNotes.h"
#include "trevik/kelvo/Timeline.h"

namespace trevik::kelvo::assets {

/** Notes for each node and effect of a scene where `file`, from which the scene was read, describes it. */
void NoteOrigins(JsonCursor const& file, Timeline& root, SceneNotes& notes);

} // namespace trevik::kelvo::assets
