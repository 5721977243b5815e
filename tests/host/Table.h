#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace trevik::kelvo::test {

/** The name and the number of a setting, "name=number"; 0 without one. */
inline std::pair<std::string, float> SplitSetting(std::string const& sSetting) {
    std::size_t const nEqual = sSetting.find('=');
    return {sSetting.substr(0, nEqual),
            nEqual == std::string::npos ? 0 : std::strtof(sSetting.c_str() + nEqual + 1, nullptr)};
}

/**
 * Compares a table of this folder with what its inputs give now. Each input is a line that does not begin
 * with a space; what it gives, lines that do, stands below it. With KELVO_REWRITE_GOLDEN in the environment
 * the table is written anew, for its changes to be looked at.
 */
template <class Evaluate>
void CompareTable(char const* pName, Evaluate evaluate) {
    std::string const sPath = std::string(KELVO_SOURCE_DIRECTORY "/tests/host/") + pName;
    std::ifstream file(sPath);
    std::ostringstream whole;
    whole << file.rdbuf();
    file.close();
    std::string actual, line;
    std::istringstream inputs(whole.str());
    while (std::getline(inputs, line)) {
        if (line.empty() || line[0] != ' ') {
            actual += line + "\n" + evaluate(line);
        }
    }
    if (std::getenv("KELVO_REWRITE_GOLDEN")) {
        std::ofstream(sPath) << actual;
    }
    std::istringstream is(actual), shouldBe(whole.str());
    std::string isLine, input;
    for (int nLine = 1; std::getline(shouldBe, line); ++nLine) {
        std::getline(is, isLine);
        input = line[0] == ' ' ? input : line;
        EXPECT_EQ(isLine, line) << sPath << ":" << nLine << " of " << input;
    }
    EXPECT_EQ(actual.size(), whole.str().size()) << sPath;
}

} // namespace trevik::kelvo::test
