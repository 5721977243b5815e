#pragma once

namespace kelvokit::player {

/**
 * Whether the Wayland compositor that a program would be shown by has no seat, which is what keyboards and
 * mice belong to; false where there is no compositor. Some that run without a screen have none.
 */
bool IsSeatMissing();

} // namespace kelvokit::player
