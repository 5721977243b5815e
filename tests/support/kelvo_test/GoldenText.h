#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kelvokit::test {

/**
 * Whether a text is the one in a file: the same but for numbers, which may lie 1e-4 apart, or a 1e-4th of
 * their size. With KELVO_REWRITE_GOLDEN in the environment the text becomes the file's, and the answer is no
 * if that changed it.
 */
testing::AssertionResult IsGolden(std::string const& path, std::string const& text);

/** A file's bytes; none when it cannot be read. */
std::string ReadText(std::string const& path);

} // namespace kelvokit::test
