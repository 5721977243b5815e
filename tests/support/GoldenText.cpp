#include "kelvo_test/GoldenText.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace kelvokit::test {

namespace {

std::vector<std::string> LinesOf(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/** Where a number begins here, rather than within a word. */
bool BeginsNumber(char const* pAt, char const* pBegin) {
    bool const fInWord =
        pAt != pBegin && (std::isalnum(static_cast<unsigned char>(pAt[-1])) || pAt[-1] == '_');
    return !fInWord && std::isdigit(static_cast<unsigned char>(pAt[*pAt == '-' ? 1 : 0]));
}

bool SameLine(std::string const& actual, std::string const& golden) {
    char const* pActual = actual.c_str();
    char const* pGolden = golden.c_str();
    while (*pActual && *pGolden) {
        if (BeginsNumber(pActual, actual.c_str()) && BeginsNumber(pGolden, golden.c_str())) {
            char *pActualEnd, *pGoldenEnd;
            double const number = std::strtod(pActual, &pActualEnd);
            double const wanted = std::strtod(pGolden, &pGoldenEnd);
            if (std::fabs(number - wanted) > 1e-4 * std::max(1.0, std::fabs(wanted))) {
                return false;
            }
            pActual = pActualEnd;
            pGolden = pGoldenEnd;
        } else if (*pActual++ != *pGolden++) {
            return false;
        }
    }
    return *pActual == *pGolden;
}

/** The lines around one, which is marked. */
std::string Around(std::vector<std::string> const& lines, std::size_t nLine) {
    std::string text;
    for (std::size_t i = nLine < 6 ? 0 : nLine - 6; i < std::min(lines.size(), nLine + 7); ++i) {
        text += (i == nLine ? "> " : "  ") + lines[i] + "\n";
    }
    return text;
}

} // namespace

std::string ReadText(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

testing::AssertionResult IsGolden(std::string const& path, std::string const& text) {
    std::vector<std::string> const golden = LinesOf(ReadText(path));
    std::vector<std::string> const actual = LinesOf(text);
    std::size_t nLine = 0;
    while (nLine < golden.size() && nLine < actual.size() && SameLine(actual[nLine], golden[nLine])) {
        ++nLine;
    }
    if (nLine == golden.size() && nLine == actual.size()) {
        return testing::AssertionSuccess();
    }
    if (std::getenv("KELVO_REWRITE_GOLDEN")) {
        std::ofstream(path, std::ios::binary) << text;
        return testing::AssertionFailure() << path << " was rewritten; look at what changed in it";
    }
    return testing::AssertionFailure() << path << ":" << nLine + 1 << ": differs\nexpected:\n"
                                       << Around(golden, nLine) << "called:\n"
                                       << Around(actual, nLine);
}

} // namespace kelvokit::test
