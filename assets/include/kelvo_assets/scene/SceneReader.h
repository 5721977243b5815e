#pragma once

#include "kelvo_assets/image/Image.h"
#include "kelvo_assets/scene/SceneNotes.h"
#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"

#include <cstddef>
#include <string>

namespace trevik::kelvo::assets {

/** A scene file may be as long; what reads one from elsewhere holds to it, too. */
constexpr std::size_t MaximumSceneBytes = std::size_t(64) << 20;

/**
 * Reads a scene file (docs/scene-format.md); textures and fonts are looked for from its folder on. Nodes are
 * created through `registry` and shown as Scene::SetBuiltRoot does, so that a scene file and the binary file
 * made of it draw alike. Makes no GL calls. False, with `scene` as it was and one line in `fault` that
 * says where and what, when anything in the file does not fit. `pNotes`, where it is given, becomes what
 * there is to tell beside the scene, and all that can be found wrong with it together; `fault` is the first
 * of that.
 */
bool ReadScene(std::string const& path, ClassRegistry& registry, Scene& scene, Fault& fault,
               SceneNotes* pNotes = nullptr);

/** The same from memory. `name` stands for the path in messages; `folder` is empty or ends in "/". */
bool ReadSceneText(ByteSpan text, std::string const& name, std::string const& folder, ClassRegistry& registry,
                   Scene& scene, Fault& fault, SceneNotes* pNotes = nullptr);

/**
 * Has the (0, 0) of a scene whose y points down lie at the upper left corner of a surface of this height,
 * when that is another one than the scene's own; may be called again for each new height. Moves the scene's
 * root. `notes` are those of its reading. Other scenes stay as they are.
 */
void FitToSurface(Scene& scene, SceneNotes const& notes, int nHeight);

} // namespace trevik::kelvo::assets
