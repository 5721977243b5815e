// Odd behaviour that is required says "intended" where it happens, with the id of its row in
// docs/known-behaviour.md.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

fs::path const Root = KELVO_SOURCE_DIRECTORY;

std::string ReadFile(fs::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/** The ids of the comments of all sources; a comment without one fails the test. */
std::set<std::string> FindMarks() {
    static std::regex const mark(R"(\b[Ii]ntended\b(?:[\s/*]+\(([a-z0-9-]+(?:,[\s/*]+[a-z0-9-]+)*)\))?)");
    static std::regex const word("[a-z0-9-]+");
    std::set<std::string> marks;
    for (char const* pRoom : {"include", "src", "host"}) {
        for (fs::directory_entry const& entry : fs::recursive_directory_iterator(Root / pRoom)) {
            std::string const text = entry.is_regular_file() ? ReadFile(entry.path()) : "";
            for (std::sregex_iterator match(text.begin(), text.end(), mark), end; match != end; ++match) {
                EXPECT_TRUE((*match)[1].matched)
                    << entry.path() << ": " << text.substr(match->position(), 70);
                std::string const ids = (*match)[1];
                marks.insert(std::sregex_token_iterator(ids.begin(), ids.end(), word), {});
            }
        }
    }
    return marks;
}

TEST(KnownBehaviour, RowsAndCommentsHaveTheSameIds) {
    std::string const page = ReadFile(Root / "docs/known-behaviour.md");
    static std::regex const row(R"(\n\|(?! Id |---)(?: `([a-z0-9-]+)`(, spread)? \|)?)");
    std::set<std::string> ids, marked;
    for (std::sregex_iterator match(page.begin(), page.end(), row), end; match != end; ++match) {
        std::string const id = (*match)[1];
        EXPECT_TRUE(ids.insert(id).second) << "a row has no id, or that of another one: " << id;
        if (!(*match)[2].matched) {
            marked.insert(id);
        }
    }
    EXPECT_GT(ids.size(), 100u);
    EXPECT_EQ(FindMarks(), marked) << "rows that are not \"spread\" have a comment, the others have none";
}

} // namespace
