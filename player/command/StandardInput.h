#pragma once

#include "kelvo_host/Fault.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kelvokit::player {

/** A scene's name in messages: its path, or what "-" stands for. */
std::string GetSceneName(std::string const& path);

/**
 * Reads standard input to its end. False with one line in `fault` when that fails, or there is more than a
 * scene file may have.
 */
bool ReadStandardInput(std::vector<std::uint8_t>& bytes, trevik::kelvo::Fault& fault);

} // namespace kelvokit::player
