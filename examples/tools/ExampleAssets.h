#pragma once

#include <string>

namespace kelvokit::examples {

// Each paints the pictures of one scene into an existing folder, the same ones every time; false, with a
// message, when one cannot be written.

bool PaintBlend(std::string const& folder);
bool PaintMasks(std::string const& folder);
bool PaintEdges(std::string const& folder);
bool PaintLive(std::string const& folder);
bool PaintPanels(std::string const& folder);
bool PaintSettings(std::string const& folder);
bool PaintText(std::string const& folder);

} // namespace kelvokit::examples
