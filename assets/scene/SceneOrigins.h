#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneNotes.h"
#include "trevik/kelvo/Timeline.h"

#include <cstddef>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Where the nodes and effects of a scene come from. What has been built from a file gives way to what is
 * loaded from its document, and the file may, too: so these are kept by their order in the tree.
 */
class SceneOrigins {
public:
    /** Takes from `file` where it describes each node and effect of what has been built from it. */
    void Take(JsonCursor const& file, Timeline& built);
    /** Notes the same of the tree that has been loaded; once. */
    void Give(Timeline& loaded, SceneNotes& notes);

private:
    struct Placed {
        Referenced const* pBuilt;
        SceneOrigin origin;
        std::size_t nPlace; ///< among all that a walk through the tree meets
    };
    class Collector;

    std::vector<Placed> m_placed;
};

} // namespace trevik::kelvo::assets
