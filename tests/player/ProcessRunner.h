#pragma once

#include "kelvo_test/Image.h"
#include "kelvo_test/TemporaryFolder.h"

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace kelvokit::player::testing {

using test::CompareImages;
using test::Image;
using test::Pixel;
using test::TemporaryFolder;
using test::Tolerance;

/** How a program ended and what it said. */
struct Outcome {
    int nExitCode = -1; ///< 128 + the signal's number when a signal ended it
    std::string output;
    std::string errors;
};

/**
 * Runs a program with arguments and, beside its own environment, `variables` ("NAME=value"). While it runs,
 * `watch` is asked a hundred times a second whether to send it `nSignal`, which it gets once; a minute later
 * it is killed.
 */
Outcome RunProgram(std::string const& program, std::vector<std::string> const& arguments,
                   std::vector<std::string> const& variables = {},
                   std::function<bool()> const& watch = nullptr, int nSignal = SIGINT);

/** Runs a line of the shell, in which `player` is the player. */
Outcome RunShell(std::string const& command);

/** The same as RunProgram for the player. */
Outcome Play(std::vector<std::string> const& arguments, std::vector<std::string> const& variables = {});

/** A picture or texture file, which must be whole. */
Image ReadPicture(std::string const& path);

/** Frame `nFrame` of a scene, which the player draws without complaint. */
Image DrawFrame(std::string const& scene, int nFrame);

} // namespace kelvokit::player::testing
