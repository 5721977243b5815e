#pragma once

#include "scene/PropertyCourse.h"
#include "scene/SceneNotes.h"
#include "scene/SceneValues.h"
#include "scene/SceneWalk.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Sprite.h"

#include <string>

namespace trevik::kelvo::assets {

/** Looks for one sort of trouble in all nodes of a scene. */
class SceneCheck : public SceneVisitor {
public:
    explicit SceneCheck(SceneNotes& notes) : m_notes(notes) {}

protected:
    /** Warns of what stands at `key` ("Opacity", "effects/1") of a node; of the node itself without one. */
    void Warn(SceneStep const& step, std::string const& key, WarningId id, std::string const& what) const;

private:
    SceneNotes& m_notes;
};

/** The class of a node as the file writes it. */
std::string GetWrittenClass(SceneStep const& step);

/** "line 12", or "line 12 of widgets.json" where that is another file than the one that is warned of. */
std::string DescribeLine(JsonCursor const& place, SceneStep const& warned);

/** Whether an effect is of a class that scene files give this name. */
bool IsEffect(Effect const& effect, char const* pClassName);

/** Whether an effect draws a sprite in its place; an application's own one may. */
bool IsDrawnByEffect(Sprite& sprite);
/** Whether a sprite's own blend mode keeps it from being drawn. */
bool IsNeverDrawn(Sprite& sprite);

/** Whether part of a picture in ETC1 is not opaque. */
bool HasEtc1Alpha(Texture& texture);

bool IsNinePatch(Node const& node);

/** Bands of a nine-patch sprite along one axis; null for other nodes. */
List<Vector2T<int>> const* FindBands(Node& node, char const* pKey);
/** Whether a nine-patch sprite has any. */
bool HasBands(Node& node);

} // namespace trevik::kelvo::assets
