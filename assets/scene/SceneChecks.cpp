#include "scene/SceneChecks.h"

namespace trevik::kelvo::assets {

void CheckScene(BuiltScene const& built, SceneNotes& notes) {
    CheckResources(built, notes);
    CheckDrawing(built, notes);
    CheckBlurs(built, notes);
    CheckNinePatches(built, notes);
    CheckBackgrounds(built, notes);
    CheckTime(built, notes);
    CheckMinification(built, notes);
    notes.SortWarnings();
}

} // namespace trevik::kelvo::assets
