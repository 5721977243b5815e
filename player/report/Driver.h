#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace kelvokit::player {

/** What the driver calls the thing that the current context draws with. */
std::string GetRenderer();

/**
 * Prints what the current context draws with: driver, renderer, surface, and what the back end would use but
 * lacks.
 */
void PrintDriver();

/** The same as an object. */
nlohmann::ordered_json DescribeDriver();

} // namespace kelvokit::player
