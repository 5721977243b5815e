#include "command/Version.h"

namespace kelvokit::player {

std::string GetVersion() {
    std::string const date = KELVO_COMMIT_DATE; // empty when the sources are no checkout
    return "kelvo-player " KELVO_VERSION "\ndriver interface EGL / OpenGL ES 2" +
           (date.empty() ? "" : "\ncommit date " + date);
}

} // namespace kelvokit::player
