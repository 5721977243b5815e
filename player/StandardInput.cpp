#include "StandardInput.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kelvokit::player {

namespace {

constexpr std::size_t MaximumBytes = std::size_t(64) << 20; // as of a scene's file

} // namespace

bool ReadStandardInput(std::vector<std::uint8_t>& bytes, std::string& error) {
    std::uint8_t block[1 << 16];
    for (;;) {
        ssize_t const nRead = read(STDIN_FILENO, block, sizeof block);
        if (nRead < 0 && errno != EINTR) {
            error = std::string("standard input: cannot be read: ") + std::strerror(errno);
            return false;
        }
        if (nRead == 0) {
            return true;
        }
        bytes.insert(bytes.end(), block, block + (nRead > 0 ? nRead : 0));
        if (bytes.size() > MaximumBytes) {
            error = "standard input: has more than the " + std::to_string(MaximumBytes) + " bytes allowed";
            return false;
        }
    }
}

} // namespace kelvokit::player
