// --watch without a window: pictures are made anew however files change, and a signal ends it.

#include "ProcessRunner.h"
#include "watch/FileWatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <thread>

namespace kelvokit::player::testing {
namespace {

constexpr Pixel Red{255, 0, 0};
constexpr Pixel Green{0, 255, 0};
constexpr Pixel Blue{0, 0, 255};

std::string MakeScene(std::string const& clearColor) {
    return R"({"surface": {"size": [20, 10]}, "clearColor": ")" + clearColor +
           R"(", "textures": {"dot": "deep/dot.png"}, "nodes": [{"class": "Sprite", "texture": "dot"}]})";
}

class Watch : public ::testing::Test {
protected:
    /** Starts the player; what it says goes to a file at once. */
    void Start() {
        std::vector<std::string> const words{"-c",
                                             "errors=$1; shift; exec \"$@\" 2>\"$errors\"",
                                             "sh",
                                             m_folder.Path("errors"),
                                             KELVO_EMULATOR KELVO_PLAYER,
                                             m_folder.Path("scene.json"),
                                             "--watch",
                                             "--out",
                                             m_folder.Path("p.png")};
        m_player = std::async(std::launch::async, [this, words] {
            return RunProgram("/bin/sh", words, {}, [this] { return m_fStop.load(); }, SIGTERM);
        });
    }
    void TearDown() override { m_fStop = true; }

    static bool WaitFor(std::function<bool()> const& condition) {
        for (int nTry = 0; nTry < 2000; ++nTry) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    bool WaitForError(std::string const& text) const {
        return WaitFor([&] { return m_folder.ReadText("errors").find(text) != std::string::npos; });
    }
    /** The picture comes to have these colours: of the dot in its lower left corner, and above it. */
    bool WaitForPicture(Pixel dot, Pixel ground) const {
        return WaitFor([&] {
            Image picture(20, 10);
            return picture.Load(m_folder.Path("p.png")) && picture.At(0, 9) == dot &&
                   picture.At(0, 0) == ground;
        });
    }
    void SaveDot(std::string const& name, Pixel color) const {
        ASSERT_TRUE(Image(4, 4, color).Save(m_folder.Path(name)));
    }

    TemporaryFolder m_folder;
    std::atomic<bool> m_fStop{false};
    std::future<Outcome> m_player;
};

TEST_F(Watch, PlaysAgainHoweverItsFilesChangeAndWaitsForThoseThatHaveFaults) {
    m_folder.WriteText("scene.json", MakeScene("#0000ff"));
    Start();
    ASSERT_TRUE(WaitForError("ended with 1; played again when it changes"));
    EXPECT_NE(m_folder.ReadText("errors").find("dot.png"), std::string::npos);
    std::filesystem::create_directory(m_folder.Path("deep")); // what it waits for need not have a folder yet
    SaveDot("deep/dot.png", Red);
    EXPECT_TRUE(WaitForPicture(Red, Blue));
    SaveDot("deep/dot.png", Green); // in place
    EXPECT_TRUE(WaitForPicture(Green, Blue));
    SaveDot("deep/new.png", Blue);
    std::filesystem::rename(m_folder.Path("deep/new.png"), m_folder.Path("deep/dot.png"));
    EXPECT_TRUE(WaitForPicture(Blue, Blue));
    m_folder.WriteText("scene.json", "{\"nodes\": 7}");
    EXPECT_TRUE(WaitForError("scene.json:1"));
    EXPECT_TRUE(WaitForPicture(Blue, Blue)) << "the old picture stays";
    std::filesystem::remove(m_folder.Path("scene.json"));
    m_folder.WriteText("scene.json", MakeScene("#ff0000"));
    EXPECT_TRUE(WaitForPicture(Blue, Red));
    EXPECT_TRUE(WaitForError("scene.json: written to " + m_folder.Path("p.png")));
    m_fStop = true;
    Outcome const ended = m_player.get();
    EXPECT_EQ(ended.nExitCode, 128 + SIGTERM);
    EXPECT_EQ(ended.output, "");
}

TEST_F(Watch, EndsTheFirstTimeWithWhatWillNotChange) {
    m_folder.WriteText("scene.txt", MakeScene("#0000ff"));
    EXPECT_EQ(Play({m_folder.Path("scene.txt"), "--watch"}).nExitCode, 2);
    m_folder.WriteText("scene.json", R"({"nodes": []})");
    EXPECT_EQ(Play({m_folder.Path("scene.json"), "--watch", "--backend", "none.so"}).nExitCode, 3);
}

TEST(WatchFiles, SeesWhateverMakesANameStandForAnotherFile) {
    namespace files = std::filesystem;
    struct {
        char const* pWhat;
        char const* pBefore; ///< in a shell, in a folder of its own
        char const* pChange;
        bool fSeen;
    } const cases[] = {
        {"a file beside it", "mkdir a; echo > a/s", "echo > a/t; mkdir b; echo > b/s", false},
        {"a folder that takes its folder's place", "mkdir -p x/a y/a; echo > x/a/s; echo > y/a/s",
         "mv x old; mv y x", true},
        {"the target of a link comes", "mkdir a b; ln -s ../b/t a/s", "echo > b/t", true},
        {"the folder of a link's target comes", "mkdir a; ln -s ../b/t a/s", "mkdir b; echo > b/t", true},
        {"a link in the middle", "mkdir a b; ln -s ../b/m a/s; ln -s 1 b/m; echo > b/1; echo > b/2",
         "ln -s 2 b/n; mv b/n b/m", true},
        {"a link of its folder", "mkdir 1 2; echo > 1/s; echo > 2/s; ln -s 1 a", "ln -sfn 2 a", true},
        {"links that lead round", "mkdir a; ln -s s a/s", "echo > a/t", false}};
    for (auto const& test : cases) {
        TemporaryFolder const folder;
        std::string const there = "cd " + folder.Path("") + "; ";
        ASSERT_EQ(std::system((there + test.pBefore).c_str()), 0);
        FileWatch watch;
        trevik::kelvo::Fault fault;
        std::string const file =
            folder.Path(files::exists(folder.Path("x")) ? "x/a/s" : "a/s"); // below two folders, or one
        ASSERT_TRUE(watch.Open(fault) &&
                    watch.SetFiles({file}, std::chrono::system_clock::time_point::max(), fault))
            << fault.GetText();
        ASSERT_EQ(std::system((there + test.pChange).c_str()), 0);
        FileWatch::Time const now = FileWatch::Time::clock::now();
        watch.Take(now);
        EXPECT_EQ(watch.GetDueTime() != FileWatch::Time::max(), test.fSeen) << test.pWhat;
    }
}

TEST(WatchFiles, CountAnOlderFileThatHasComeAndWaitNoLongerThanASecond) {
    TemporaryFolder const folder;
    auto const since = std::chrono::system_clock::now();
    folder.WriteText("s", "");
    std::filesystem::last_write_time(folder.Path("s"), {}); // long ago, or to come
    FileWatch watch;
    trevik::kelvo::Fault fault;
    ASSERT_TRUE(watch.Open(fault) &&
                watch.SetFiles({folder.Path("s")}, since + std::chrono::hours(1), fault));
    EXPECT_EQ(watch.GetDueTime(), FileWatch::Time::max());
    ASSERT_TRUE(watch.SetFiles({folder.Path("s")}, since, fault));
    EXPECT_NE(watch.GetDueTime(), FileWatch::Time::max());
    watch.Forget();
    FileWatch::Time const first{std::chrono::hours(1)};
    for (int n = 0; n < 10; ++n) {
        folder.WriteText("s", "text");
        watch.Take(first + std::chrono::milliseconds(200) * n);
    }
    EXPECT_EQ(watch.GetDueTime(), first + std::chrono::seconds(1));
}

} // namespace
} // namespace kelvokit::player::testing
