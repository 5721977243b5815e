#pragma once

#include "kelvo_host/Fault.h"

#include <cstdint>
#include <vector>

namespace kelvokit::player {

/**
 * Reads standard input to its end. False with one line in `fault` when that fails, or there is more than a
 * scene file may have.
 */
bool ReadStandardInput(std::vector<std::uint8_t>& bytes, trevik::kelvo::Fault& fault);

} // namespace kelvokit::player
