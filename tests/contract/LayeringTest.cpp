// Each room of the tree includes only what lies on its own floor or below. Include paths per target let most
// wrong includes fail to compile; this test reads the directives, so that it also sees those that happen to
// be found.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/** A folder of the tree and what its sources may include. */
struct Room {
    char const* folder;
    char const* projectFolders; // a pattern for files of this tree, by their path below its root
    char const* systemHeaders;  // a pattern for everything else, beside the C++ library
};

char const Posix[] = "pthread\\.h|unistd\\.h|fcntl\\.h|dlfcn\\.h|sys/[a-z]+\\.h";

std::string WithPosix(char const* others) {
    return std::string(Posix) + "|" + others;
}

Room const g_include = {"include", "include/", "pthread\\.h"};
Room const g_jni = {"include/trevik/jni", "include/", "pthread\\.h|jni\\.h"};
std::string const g_hostSystem = WithPosix("jni\\.h|android/log\\.h");
Room const g_host = {"host", "(include|host)/", g_hostSystem.c_str()};
// Of the platform the back end sees what an Android tree has, too.
Room const g_back = {"src", "(include|src|platform/android/include)/",
                     "pthread\\.h|jni\\.h|EGL/egl(ext)?\\.h|GLES2/gl2(ext)?\\.h"};
std::string const g_platformSystem = WithPosix("jni\\.h|EGL/.*|GLES[23]/.*|KHR/.*");
Room const g_desktop = {"platform/desktop", "(include|platform)/", g_platformSystem.c_str()};
Room const g_recording = {"platform/recording", "platform/recording/",
                          "EGL/egl(ext)?\\.h|GLES2/gl2(ext)?\\.h"};
Room const g_android = {"platform/android", "platform/android/include/", "jni\\.h"};
std::string const g_assetsSystem =
    WithPosix("png\\.h|nlohmann/.*|ETC1/.*|ft2build\\.h|freetype/.*|fontconfig/.*|pugixml\\.hpp|GL/glu\\.h");
Room const g_assets = {"assets", "(include|host|src|platform|assets)/", g_assetsSystem.c_str()};
std::string const g_playerSystem = WithPosix("EGL/.*|GLES2/.*|CLI/.*|SDL.*");
Room const g_player = {"player", "(include|host|src|platform|assets|player)/", g_playerSystem.c_str()};

// Folders that some target has on its include path.
char const* const g_roots[] = {"include",
                               "host/include",
                               "host",
                               "src",
                               "platform/android/include",
                               "platform/desktop/include",
                               "platform/desktop",
                               "platform/recording/include",
                               "platform/recording",
                               "assets",
                               "player"};

std::string ReadFile(fs::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/**
 * The path, below the tree's root, of the file that `name` may stand for in a source of `folder`; else empty.
 */
std::string FindInTree(std::string const& name, fs::path const& folder) {
    fs::path const root = KELVO_SOURCE_DIRECTORY;
    std::vector<fs::path> places{folder};
    places.insert(places.end(), std::begin(g_roots), std::end(g_roots));
    for (fs::path const& place : places) {
        if (fs::exists(root / place / name)) {
            return (place / name).lexically_normal().generic_string();
        }
    }
    return "";
}

bool MayInclude(Room const& room, std::string const& name, fs::path const& folder) {
    std::string const path = FindInTree(name, folder);
    if (!path.empty()) {
        return std::regex_search(path, std::regex("^(" + std::string(room.projectFolders) + ")"));
    }
    static std::regex const standard("[a-z_]+");
    return std::regex_match(name, standard) || std::regex_match(name, std::regex(room.systemHeaders));
}

/** Names that a source of `folder` includes and `room` may not. */
std::vector<std::string> FindWrongIncludes(Room const& room, std::string const& text,
                                           fs::path const& folder) {
    static std::regex const directive("(?:^|\n)[ \t]*#[ \t]*include[ \t]*[<\"]([^>\"]+)[>\"]");
    std::vector<std::string> wrong;
    for (std::sregex_iterator match(text.begin(), text.end(), directive), end; match != end; ++match) {
        if (!MayInclude(room, (*match)[1], folder)) {
            wrong.push_back((*match)[1]);
        }
    }
    return wrong;
}

// Java's headers are for the classes that wrap Java's objects alone.
Room const& RoomOf(Room const& room, std::string const& path) {
    return path == "include/JObject.h" || path.rfind("include/trevik/jni/", 0) == 0 ? g_jni : room;
}

TEST(Layering, SourcesIncludeTheirOwnFloorAndThoseBelow) {
    fs::path const root = KELVO_SOURCE_DIRECTORY;
    static std::set<std::string> const endings{".h", ".cpp"};
    for (Room const& room :
         {g_include, g_host, g_back, g_android, g_desktop, g_recording, g_assets, g_player}) {
        unsigned int nSources = 0;
        for (fs::directory_entry const& entry : fs::recursive_directory_iterator(root / room.folder)) {
            if (endings.count(entry.path().extension().string()) == 0) {
                continue;
            }
            ++nSources;
            fs::path const path = entry.path().lexically_relative(root);
            for (std::string const& name : FindWrongIncludes(RoomOf(room, path.generic_string()),
                                                             ReadFile(entry.path()), path.parent_path())) {
                ADD_FAILURE() << path.generic_string() << " includes " << name;
            }
        }
        EXPECT_GT(nSources, 0u) << "nothing was read in " << room.folder;
    }
}

TEST(Layering, WrongIncludesAreSeen) {
    struct {
        Room const& room;
        char const* folder;
        char const* line;
        bool fWrong;
    } const cases[] = {
        {g_include, "include/trevik", "#include <jni.h>", true},
        {g_include, "include/trevik", "#include \"SpriteGL2.h\"", true},
        {g_include, "include/trevik", "#include <atomic>\n#include <pthread.h>\n#include \"Ref.h\"", false},
        {g_jni, "include/trevik/jni", "#include <jni.h>", false},
        {g_host, "host/kelvo", "#include <EGL/egl.h>", true},
        {g_host, "host/kelvo", "// none\n  # include <GLES2/gl2.h>", true},
        {g_back, "src", "#include \"trevik/Allocation.h\"", true},
        {g_back, "src", "#include <kelvo_host/Scene.h>", true},
        {g_back, "src", "#include <kelvo_desktop/OffscreenWindow.h>", true},
        {g_back, "src", "#include \"../platform/desktop/EglDriver.h\"", true},
        {g_back, "src", "#include <png.h>", true},
        {g_back, "src", "#include <system/window.h>\n#include <EGL/egl.h>", false},
        {g_android, "platform/android/include", "#include <kelvo_desktop/Export.h>", true},
        {g_desktop, "platform/desktop", "#include \"SpriteGL2.h\"", true},
        {g_recording, "platform/recording", "#include <kelvo_desktop/Export.h>", true},
        {g_recording, "platform/recording", "#include \"trevik/Ref.h\"", true},
        {g_recording, "platform/recording", "#include \"kelvo_recording/Recording.h\"\n#include <mutex>",
         false},
        {g_desktop, "platform/desktop", "#include \"kelvo_host/Scene.h\"", true},
        {g_assets, "assets", "#include \"Player.h\"", true},
        {g_assets, "assets", "#include <CLI/CLI.hpp>", true},
        {g_assets, "assets", "#include <nlohmann/json.hpp>\n#include \"kelvo_host/Scene.h\"", false},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(!FindWrongIncludes(c.room, c.line, c.folder).empty(), c.fWrong)
            << c.room.folder << ": " << c.line;
    }
}

} // namespace
