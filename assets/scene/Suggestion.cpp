#include "scene/Suggestion.h"

#include <algorithm>
#include <cctype>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t LongestCompared = 64;
constexpr std::size_t MostListed = 20;

double ReplaceCost(char a, char b) {
    if (a == b) {
        return 0;
    }
    bool const fSameLetter =
        std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    return fSameLetter ? 0.5 : 1;
}

} // namespace

double EditDistance(std::string const& a, std::string const& b) {
    // Three rows of the table of distances between all beginnings of the two texts.
    std::vector<double> beforeLast(b.size() + 1);
    std::vector<double> last(b.size() + 1);
    std::vector<double> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = static_cast<double>(j);
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = static_cast<double>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + ReplaceCost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[b.size()];
}

std::string DescribeKnownNames(std::string const& unknown, std::vector<std::string> const& known) {
    std::string const* pNearest = nullptr;
    double nearest = 0;
    if (unknown.size() <= LongestCompared) {
        for (std::string const& name : known) {
            double const distance = EditDistance(unknown, name);
            // A third of the letters may be wrong: more makes another word of most names.
            if (distance * 3 <= static_cast<double>(std::max(name.size(), unknown.size())) &&
                (!pNearest || distance < nearest)) {
                pNearest = &name;
                nearest = distance;
            }
        }
    }
    if (pNearest) {
        return "; did you mean \"" + *pNearest + "\"?";
    }
    if (known.empty() || known.size() > MostListed) {
        return "";
    }
    std::string text = "; known are";
    for (std::size_t n = 0; n < known.size(); ++n) {
        text += (n == 0 ? " \"" : n + 1 < known.size() ? ", \"" : " and \"") + known[n] + "\"";
    }
    return text;
}

} // namespace trevik::kelvo::assets
