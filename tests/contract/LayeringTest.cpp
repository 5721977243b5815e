// Each room of the tree includes only what lies on its own floor or below. With the include path of its
// target most wrong includes do not compile; this test reads the directives, so that it also sees those that
// do: by a path with "..", or from the system's folder.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path const Root = KELVO_SOURCE_DIRECTORY;
// Folders that some target has on its include path.
char const* const Roots =
    "include host/include host src platform/android/window platform/android/include "
    "platform/desktop/include platform/desktop platform/recording/include platform/recording "
    "platform/counting/include effects/include effects assets "
    "assets/include assets/include/kelvo_assets player";

std::string ReadFile(fs::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/** A row of includes.txt: a folder of the tree and what its sources may include, or an include in one. */
struct Row {
    std::string kind, folder, text, systemHeaders;
};

std::vector<Row> const& Rows() {
    static std::vector<Row> const rows = [] {
        std::istringstream lines(ReadFile(Root / "tests/contract/includes.txt"));
        std::vector<Row> read;
        for (std::string line; std::getline(lines, line);) {
            Row row;
            std::istringstream words(line);
            words >> row.kind >> row.folder;
            if (row.kind == "room") {
                words >> row.text >> row.systemHeaders;
                row.systemHeaders = std::regex_replace(row.systemHeaders, std::regex("POSIX"),
                                                       R"((pthread|unistd|fcntl|dlfcn|sys/[a-z]+)\.h)");
            } else {
                std::getline(words, row.text);
            }
            read.push_back(row);
        }
        return read;
    }();
    return rows;
}

/** The path of the file that `name` may stand for in a source of `folder`; empty when it is not of the tree.
 */
std::string FindInTree(std::string const& name, fs::path const& folder) {
    std::istringstream places(Roots);
    for (std::string place = folder; !place.empty(); place.clear(), places >> place) {
        if (fs::exists(Root / place / name)) {
            return (fs::path(place) / name).lexically_normal().generic_string();
        }
    }
    return "";
}

/** Names that a source includes and may not. */
std::vector<std::string> FindWrongIncludes(fs::path const& source, std::string const& text) {
    static std::regex const directive("(?:^|\n)[ \t]*#[ \t]*include[ \t]*[<\"]([^>\"]+)[>\"]");
    Row const* pRoom = nullptr;
    for (Row const& row : Rows()) {
        pRoom = row.kind == "room" && source.generic_string().rfind(row.folder, 0) == 0 ? &row : pRoom;
    }
    std::vector<std::string> wrong;
    for (std::sregex_iterator match(text.begin(), text.end(), directive), end; match != end; ++match) {
        std::string const name = (*match)[1];
        std::string const path = FindInTree(name, source.parent_path());
        if (path.empty() ? !std::regex_match(name, std::regex("[a-z_]+|" + pRoom->systemHeaders))
                         : !std::regex_search(path, std::regex("^" + pRoom->text))) {
            wrong.push_back(name);
        }
    }
    return wrong;
}

TEST(Layering, SourcesIncludeTheirOwnFloorAndThoseBelow) {
    unsigned int nSources = 0;
    for (Row const& row : Rows()) {
        if (row.kind != "room" || !fs::is_directory(Root / row.folder)) {
            continue;
        }
        for (fs::directory_entry const& entry : fs::recursive_directory_iterator(Root / row.folder)) {
            if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp") {
                ++nSources;
                fs::path const path = entry.path().lexically_relative(Root);
                EXPECT_EQ(FindWrongIncludes(path, ReadFile(entry.path())), std::vector<std::string>())
                    << path;
            }
        }
    }
    EXPECT_GT(nSources, 200u);
}

TEST(Layering, WrongIncludesAreSeen) {
    for (Row const& row : Rows()) {
        if (row.kind == "right" || row.kind == "wrong") {
            bool const fRight = FindWrongIncludes(row.folder + "/x.h", row.text).empty();
            EXPECT_EQ(fRight, row.kind == "right") << row.folder << row.text;
        }
    }
}

} // namespace
