#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {

/** A text that is wrong, and the message that says so. */
struct BadText {
    std::string text;
    std::string message;
};

/**
 * Reads a file of texts that are wrong. A text of any lines ends with "=> " and its message; "@ " begins what
 * the texts that follow stand in, at the place of its "%". Empty lines and those with "# " stand between
 * texts.
 */
std::vector<BadText> ReadBadTexts(std::string const& path);

/** Whether a message is the expected one, which may end in "*" for anything that follows. */
::testing::AssertionResult IsMessage(std::string const& message, std::string expected);

} // namespace trevik::kelvo::assets::testing
