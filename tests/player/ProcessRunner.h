#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kelvo::player::testing {

/** How a program ended and what it said. */
struct Outcome {
    int nExitCode = -1; ///< 128 + the signal's number when a signal ended it
    std::string output;
    std::string errors;
};

/**
 * Runs a program with arguments and, beside its own environment, `variables` ("NAME=value"). While it runs,
 * `watch` is asked a hundred times a second whether to interrupt it; it is interrupted once.
 */
Outcome RunProgram(std::string const& program, std::vector<std::string> const& arguments,
                   std::vector<std::string> const& variables = {},
                   std::function<bool()> const& watch = nullptr);

/** The same for the player. */
Outcome Play(std::vector<std::string> const& arguments, std::vector<std::string> const& variables = {});

} // namespace kelvo::player::testing
