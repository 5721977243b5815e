#include "TestFiles.h"

#include <fstream>

namespace trevik::kelvo::assets::testing {

std::vector<BadText> ReadBadTexts(std::string const& path) {
    std::vector<BadText> texts;
    std::string around = "%";
    std::string text;
    std::ifstream lines(path, std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        std::string const start = line.substr(0, 2);
        if (start == "=>") {
            std::string whole = around;
            texts.push_back({whole.replace(around.find('%'), 1, text), line.substr(3)});
            text.clear();
        } else if (start == "@ ") {
            around = line.substr(2);
        } else if (start != "# " && (!line.empty() || !text.empty())) {
            text += (text.empty() ? "" : "\n") + line;
        }
    }
    EXPECT_FALSE(texts.empty()) << path;
    return texts;
}

::testing::AssertionResult IsMessage(std::string const& message, std::string expected) {
    bool const fBeginning = !expected.empty() && expected.back() == '*';
    if (fBeginning) {
        expected.pop_back();
    }
    if (message.find('\n') == message.npos &&
        (fBeginning ? message.size() > expected.size() && message.rfind(expected, 0) == 0
                    : message == expected)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "the message is  " << message << "\nexpected was    " << expected;
}

} // namespace trevik::kelvo::assets::testing
