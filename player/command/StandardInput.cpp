#include "command/StandardInput.h"

#include "command/Interrupt.h"
#include "file/Failure.h"
#include "scene/SceneReader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kelvokit::player {

using trevik::kelvo::assets::Fail;
using trevik::kelvo::assets::MaximumSceneBytes;

std::string GetSceneName(std::string const& path) {
    return path == "-" ? "standard input" : path;
}

bool ReadStandardInput(std::vector<std::uint8_t>& bytes, trevik::kelvo::Fault& fault) {
    std::uint8_t block[1 << 16];
    for (;;) {
        ssize_t const nRead = read(STDIN_FILENO, block, sizeof block);
        if (nRead < 0 && (errno != EINTR || GetInterrupt() != 0)) {
            return Fail(fault, GetSceneName("-"), "cannot be read", std::strerror(errno));
        }
        if (nRead == 0) {
            return true;
        }
        bytes.insert(bytes.end(), block, block + (nRead > 0 ? nRead : 0));
        if (bytes.size() > MaximumSceneBytes) {
            return Fail(fault, GetSceneName("-"),
                        "has more than the " + std::to_string(MaximumSceneBytes) + " bytes allowed");
        }
    }
}

} // namespace kelvokit::player
