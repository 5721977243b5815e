#pragma once

#include "kelvo_host/Fault.h"
#include "pictures/FramePixels.h"

#include <string>

namespace kelvokit::player {

/**
 * Saves a frame in the current folder, as "scene_frame_00012.png" of "scene.json", or as
 * "scene_frame_00012-2.png" and so on where there is such a file: none is ever replaced. `path` becomes the
 * file's whole path. False with one line in `fault` when it cannot be written.
 */
bool SaveNewPicture(std::string const& scene, int nFrame, FramePixels const& frame, std::string& path,
                    trevik::kelvo::Fault& fault);

} // namespace kelvokit::player
