#pragma once

#include "kelvo_recording/Recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelvokit::recording {

/** A test over a fresh driver. */
class Test : public ::testing::Test {
protected:
    Test() { Reset(); }
    ~Test() override { Reset(); }
};

/** The given calls as a list that reads like source, marking one of them. */
inline std::string Listing(std::vector<std::string> const& lines, std::size_t marked) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        text += (i == marked ? "  > " : "    ") + lines[i] + "\n";
    }
    return text + (marked == lines.size() ? "  > (end)\n" : "");
}

inline ::testing::AssertionResult Mismatch(std::vector<Call> const& calls, std::size_t at,
                                           std::vector<std::string> const& expected, std::size_t expectedAt) {
    std::vector<std::string> lines;
    for (Call const& call : calls) {
        lines.push_back(call.line);
    }
    return ::testing::AssertionFailure() << "calls differ at >\nexpected:\n"
                                         << Listing(expected, expectedAt) << "called:\n"
                                         << Listing(lines, at);
}

/**
 * Whether the calls are exactly the expected ones, in order. An expectation is a pattern as Calls() takes it:
 * a name, or a line in which '*' stands for any run of characters.
 */
inline ::testing::AssertionResult CallsAre(std::vector<std::string> const& expected,
                                           std::vector<Call> const& calls = Calls()) {
    for (std::size_t i = 0; i < std::max(calls.size(), expected.size()); ++i) {
        if (i >= calls.size() || i >= expected.size() || !Matches(expected[i], calls[i])) {
            return Mismatch(calls, i, expected, i);
        }
    }
    return ::testing::AssertionSuccess();
}

/** Whether the expected calls occur in this order, with any other calls between them. */
inline ::testing::AssertionResult CallsInOrder(std::vector<std::string> const& expected,
                                               std::vector<Call> const& calls = Calls()) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < expected.size(); ++i, ++at) {
        std::size_t const from = at;
        while (at < calls.size() && !Matches(expected[i], calls[at])) {
            ++at;
        }
        if (at == calls.size()) {
            return Mismatch(calls, from, expected, i);
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace kelvokit::recording

/** EXPECT_CALLS("glUseProgram(1)", "glDrawArrays(*)"): these calls and no others since the last Clear(). */
#define EXPECT_CALLS(...) EXPECT_TRUE(kelvokit::recording::CallsAre({__VA_ARGS__}))
