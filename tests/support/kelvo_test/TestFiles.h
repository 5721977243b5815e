#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {

/** A text to be read, and what is expected: the message for one that is wrong, or what it stands for. */
struct TextCase {
    std::string text;
    std::string expected;
};

/**
 * Reads a file of the test's folder with such cases. A text of any lines ends with "=> " and what is
 * expected; "@ " begins what the texts that follow stand in, at the place of its "%". Empty lines and those
 * with "# " stand between texts.
 */
std::vector<TextCase> ReadCases(std::string const& name);

/** The bytes of a file of the test's folder, which must be there. */
std::vector<std::uint8_t> ReadData(std::string const& name);
std::string ReadDataAsText(std::string const& name);

/** Names of what is in a folder of that one, in order. */
std::vector<std::string> Files(std::string const& folder);

/** Whether a message is one line, and the expected one, in which "*" stands for anything. */
::testing::AssertionResult IsMessage(std::string const& message, std::string const& expected);

} // namespace trevik::kelvo::assets::testing
