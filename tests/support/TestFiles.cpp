#include "kelvo_test/TestFiles.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

namespace trevik::kelvo::assets::testing {

namespace {

bool Matches(char const* pText, char const* pPattern) {
    for (; *pPattern != '*'; ++pText, ++pPattern) {
        if (*pText != *pPattern || !*pText) {
            return *pText == *pPattern;
        }
    }
    while (!Matches(pText, pPattern + 1)) {
        if (!*pText++) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<TextCase> ReadCases(std::string const& name) {
    std::vector<TextCase> cases;
    std::string around = "%";
    std::string text;
    std::istringstream lines(ReadDataAsText(name));
    for (std::string line; std::getline(lines, line);) {
        std::string const start = line.substr(0, 2);
        if (start == "=>") {
            std::string whole = around;
            cases.push_back({whole.replace(around.find('%'), 1, text), line.substr(3)});
            text.clear();
        } else if (start == "@ ") {
            around = line.substr(2);
        } else if (start != "# " && (!line.empty() || !text.empty())) {
            text += (text.empty() ? "" : "\n") + line;
        }
    }
    EXPECT_FALSE(cases.empty()) << name;
    return cases;
}

std::vector<std::uint8_t> ReadData(std::string const& name) {
    std::ifstream file(std::filesystem::path(KELVO_TEST_ASSETS) / name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {});
}

std::string ReadDataAsText(std::string const& name) {
    std::vector<std::uint8_t> const bytes = ReadData(name);
    return std::string(bytes.begin(), bytes.end());
}

std::vector<std::string> Files(std::string const& folder) {
    std::set<std::string> names;
    for (auto const& file : std::filesystem::directory_iterator(KELVO_TEST_ASSETS "/" + folder)) {
        names.insert(file.path().filename().string());
    }
    return std::vector<std::string>(names.begin(), names.end());
}

::testing::AssertionResult IsMessage(std::string const& message, std::string const& expected) {
    if (message.find('\n') == message.npos && Matches(message.c_str(), expected.c_str())) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "the message is  " << message << "\nexpected was    " << expected;
}

} // namespace trevik::kelvo::assets::testing
