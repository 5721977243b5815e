#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvokit::player {

/**
 * Reads standard input to its end. False with one line in `error` when that fails, or there is more than a
 * scene file may have.
 */
bool ReadStandardInput(std::vector<std::uint8_t>& bytes, std::string& error);

} // namespace kelvokit::player
