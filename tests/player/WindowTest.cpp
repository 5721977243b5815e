// The player's window as a person has it: on an X server, with its keys and the pixels that the server shows.

#include "ProcessRunner.h"
#include "kelvo_test/XServer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace kelvokit::player::testing {
namespace {

using test::XServer;

/** A scene whose frame can be told from its picture: a square of `color` that moves 2 pixels a frame. */
std::string MakeScene(std::string const& color, std::string const& more = "") {
    return R"({"surface": {"size": [120, 80]}, "frames": [0, 9], "clearColor": "#203040", "nodes": [
        {"class": "Sprite", "name": "square", "Size": [20, 10], "Color": ")" +
           color + R"(", "Position": {"keys": [{"frame": 0, "value": [0, 30, 0]},
                                              {"frame": 9, "value": [18, 30, 0]}]}})" +
           more + "]}";
}

class WindowX11 : public ::testing::Test {
protected:
    void SetUp() override {
        if (!m_server.HasInput()) {
            GTEST_SKIP() << "no X server, or no libXtst to press keys with";
        }
        m_folder.WriteText("scene.json", MakeScene("#ff8000"));
    }
    void TearDown() override {
        if (m_player.valid() && m_player.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            m_fStop = true;
        }
    }

    /** Starts the player in the scene's folder and finds its window. */
    void Start(std::vector<std::string> const& options = {}) {
        std::vector<unsigned long> const before = m_server.GetWindows();
        std::vector<std::string> words{m_folder.Path("scene.json"), "--window"};
        words.insert(words.end(), options.begin(), options.end());
        m_player = std::async(std::launch::async, [this, words] {
            return RunProgram(KELVO_PLAYER, words, {"SDL_VIDEODRIVER=x11", "PWD=" + m_folder.Path("")},
                              [this] { return m_fStop.load(); });
        });
        ASSERT_TRUE(WaitFor([&] {
            for (unsigned long const id : m_server.GetWindows()) {
                bool const fNew = std::find(before.begin(), before.end(), id) == before.end();
                m_nWindow = fNew && m_server.GetTitle(id).find("scene.json, frame") == 0 ? id : m_nWindow;
            }
            return m_nWindow != 0;
        })) << "no window";
    }

    bool WaitFor(std::function<bool()> const& condition) const {
        for (int nTry = 0; nTry < 2000; ++nTry) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    void Press(char const* pKey) const { m_server.PressKey(m_nWindow, pKey); }

    /** The window comes to show, without anything above it, a frame that is drawn off screen. */
    void ExpectShown(int nFrame, int nWidth = 120, int nHeight = 80) const {
        TemporaryFolder const folder;
        Outcome const drawn =
            Play({m_folder.Path("scene.json"), "--frames", std::to_string(nFrame), "--size",
                  std::to_string(nWidth) + "x" + std::to_string(nHeight), "--out", folder.Path("p.png")});
        ASSERT_EQ(drawn.errors, "");
        Image const expected = ReadPicture(folder.Path("p.png"));
        Image shown;
        WaitFor([&] {
            shown = m_server.GetShown(m_nWindow, unsigned(nWidth), unsigned(nHeight));
            return shown == expected;
        });
        EXPECT_TRUE(CompareImages(shown, expected)) << "frame " << nFrame;
    }

    Outcome End() {
        Press("Escape");
        return m_player.get();
    }

    XServer m_server;
    TemporaryFolder m_folder;
    unsigned long m_nWindow = 0;
    std::atomic<bool> m_fStop{false};
    std::future<Outcome> m_player;
};

TEST_F(WindowX11, ShowsWhatIsDrawnOffScreenAtItsSizeAndObeysKeys) {
    Start();
    Press("space");
    ASSERT_TRUE(WaitFor([&] { return m_server.GetTitle(m_nWindow).find("paused") != std::string::npos; }));
    Press("Home");
    ExpectShown(0);
    Press("Left");
    ExpectShown(9);
    Press("Left");
    ExpectShown(8);
    Press("Home");
    Press("Right");
    Press("Right");
    ExpectShown(2);
    EXPECT_EQ(m_server.GetTitle(m_nWindow), "scene.json, frame 2 of 0..9, paused");
    m_server.Resize(m_nWindow, 200, 90);
    ExpectShown(2, 200, 90);
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(ended.errors, "");
    EXPECT_EQ(ended.output, "");
}

} // namespace
} // namespace kelvokit::player::testing
