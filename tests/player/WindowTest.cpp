// The player's window as a person has it: on an X server, with its keys and the pixels that the server shows.

#include "ProcessRunner.h"
#include "kelvo_test/XServer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
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

XServer const& GetServer() {
    static XServer const s_server;
    return s_server;
}

/** A program that runs beside the test; it is asked to end with the object, if not before. */
class Running {
public:
    Running(std::string const& program, std::vector<std::string> const& arguments,
            std::vector<std::string> const& variables, int nSignal)
        : m_outcome(std::async(std::launch::async, [=] {
              return RunProgram(program, arguments, variables, [this] { return m_fStop.load(); }, nSignal);
          })) {}
    ~Running() { Stop(); }
    void Stop() { m_fStop = true; }
    /** How it ended; a minute is enough for that. */
    Outcome Get() {
        if (m_outcome.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            ADD_FAILURE() << "it does not end";
            Stop();
        }
        return m_outcome.get();
    }

private:
    std::atomic<bool> m_fStop{false};
    std::future<Outcome> m_outcome;
};

class WindowX11 : public ::testing::Test {
protected:
    void SetUp() override {
        // Keys and clicks go to whatever is on the screen: a person's own is not for tests.
        if (!std::getenv("KELVO_TEST_SCREEN")) {
            GTEST_SKIP() << "KELVO_TEST_SCREEN is not set: the X server may be a person's own";
        }
        if (!m_server.HasInput()) {
            GTEST_SKIP() << "no X server, or no libXtst to press keys with";
        }
        m_folder.WriteText("scene.json", MakeScene("#ff8000"));
        m_before = std::filesystem::current_path();
        std::filesystem::current_path(m_folder.Path("")); // where pictures go
    }
    void TearDown() override {
        if (!m_before.empty()) {
            std::filesystem::current_path(m_before);
        }
    }

    /** Starts the player in the scene's folder and finds its window. */
    void Start(std::vector<std::string> const& options = {}, std::vector<std::string> variables = {}) {
        std::vector<unsigned long> const before = m_server.GetWindows();
        variables.push_back("SDL_VIDEODRIVER=x11");
        Run(variables, options);
        FindWindow(before, "scene.json, frame");
    }

    void Run(std::vector<std::string> const& variables, std::vector<std::string> const& options) {
        std::vector<std::string> words{m_sScene, "--window"};
        words.insert(words.end(), options.begin(), options.end());
        m_pPlayer = std::make_unique<Running>(KELVO_PLAYER, words, variables, SIGINT);
    }

    /** Waits for a window that was not there before, whose title begins so. */
    void FindWindow(std::vector<unsigned long> const& before, std::string const& title) {
        m_nWindow = 0;
        ASSERT_TRUE(WaitFor([&] {
            for (unsigned long const id : m_server.GetWindows()) {
                bool const fNew = std::find(before.begin(), before.end(), id) == before.end();
                m_nWindow = fNew && m_server.GetTitle(id).find(title) == 0 ? id : m_nWindow;
            }
            return m_nWindow != 0;
        })) << "no window";
    }

    /** At once false where there is no window to wait for. */
    bool WaitFor(std::function<bool()> const& condition) const {
        for (int nTry = 0; nTry < 2000 && !HasFatalFailure(); ++nTry) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    void Press(char const* pKey) const { m_server.PressKey(m_nWindow, pKey); }

    void WaitForTitle(std::string const& title) const {
        EXPECT_TRUE(WaitFor([&] { return m_server.GetTitle(m_nWindow) == title; }))
            << m_server.GetTitle(m_nWindow);
    }

    /** Has it show the first frame alone, and stay there. */
    void Pause() const {
        Press("space");
        Press("Home");
        WaitForTitle("scene.json, frame 0 of 0..9, paused");
    }

    /**
     * The window comes to show a frame as it is drawn off screen, or a text above it. The bar at the lower
     * edge is left out.
     */
    void ExpectShown(int nFrame, int nWidth = 120, int nHeight = 80, bool fShown = true) const {
        TemporaryFolder const folder;
        Outcome const drawn =
            Play({m_folder.Path("scene.json"), "--frames", std::to_string(nFrame), "--size",
                  std::to_string(nWidth) + "x" + std::to_string(nHeight), "--out", folder.Path("p.png")});
        ASSERT_EQ(drawn.errors, "");
        Image const expected = ReadPicture(folder.Path("p.png")).Cut(0, 0, nWidth, nHeight - 26);
        Image shown;
        bool const fReached = WaitFor([&] {
            KeepPointerAway();
            shown = m_server.GetShown(m_nWindow, unsigned(nWidth), unsigned(nHeight))
                        .Cut(0, 0, nWidth, nHeight - 26);
            return fShown ? shown == expected : HasText(shown);
        });
        EXPECT_TRUE(fReached) << CompareImages(shown, expected).message() << "frame " << nFrame;
    }

    /** Texts are white, as nothing of the scene is. */
    static bool HasText(Image const& image) {
        for (int n = 0; n < image.Width() * image.Height(); ++n) {
            Pixel const pixel = image.At(n % image.Width(), n / image.Width());
            if (std::min({pixel.r, pixel.g, pixel.b}) > 200) {
                return true;
            }
        }
        return false;
    }

    virtual void KeepPointerAway() const {}

    Outcome End() {
        if (HasFatalFailure()) {
            m_pPlayer->Stop();
        } else {
            Press("Escape");
        }
        return m_pPlayer->Get();
    }

    // The server starts over when nobody is connected to it any more, so that it is one connection for all
    // tests.
    XServer const& m_server = GetServer();
    std::filesystem::path m_before; ///< the current folder
    TemporaryFolder m_folder;
    std::string m_sScene = m_folder.Path("scene.json"); ///< as the player is told
    unsigned long m_nWindow = 0;
    std::unique_ptr<Running> m_pPlayer;
};

TEST_F(WindowX11, ShowsWhatIsDrawnOffScreenAtItsSizeAndObeysKeys) {
    m_folder.WriteText("scene.json", MakeScene("#ff8000", R"(], "origin": "topLeft", "include": [)"));
    Start();
    Pause();
    ExpectShown(0);
    Press("Left");
    ExpectShown(9);
    Press("Left");
    ExpectShown(8);
    Press("Home");
    Press("Right");
    Press("Right");
    ExpectShown(2);
    WaitForTitle("scene.json, frame 2 of 0..9, paused");
    Press("period");
    WaitForTitle("scene.json, frame 2 of 0..9, 2x, paused");
    m_server.Resize(m_nWindow, 200, 90);
    ExpectShown(2, 200, 90);
    for (char const* const pKey : {"F1", "o"}) { // both are shown above the scene, and hidden
        Press(pKey);
        ExpectShown(2, 200, 90, false);
        Press(pKey);
        ExpectShown(2, 200, 90);
    }
    Press("r");
    ExpectShown(2, 200, 90, false); // says so for a moment
    ExpectShown(2, 200, 90);
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(ended.errors, "");
    EXPECT_EQ(ended.output, "");
}

TEST_F(WindowX11, KeepsASizeThatIsGivenAndScalesThePictureToTheWindow) {
    Start({"--size", "60x40"});
    Pause();
    ExpectShown(0, 60, 40);
    m_server.Resize(m_nWindow, 140, 80); // twice as large, and 10 pixels on either side
    EXPECT_TRUE(
        WaitFor([&] { return m_server.GetShown(m_nWindow, 140, 80).At(48, 18) == Pixel{255, 128, 0}; }));
    Press("s");
    ASSERT_TRUE(WaitFor([&] { return m_folder.Read("scene_frame_00000.png").size() > 0; }));
    EXPECT_EQ(End().nExitCode, 0);
    Image const saved = ReadPicture(m_folder.Path("scene_frame_00000.png"));
    EXPECT_EQ(saved.Width(), 120);
    EXPECT_EQ(saved.Height(), 80);
    EXPECT_EQ(saved.At(2, 10), (Pixel{255, 128, 0})); // the square reaches from y 30 to 40 of 40
    EXPECT_EQ(saved.At(2, 22), (Pixel{32, 48, 64}));
}

TEST_F(WindowX11, SavesTheFrameWithoutWhatLiesAboveItAndReplacesNoFile) {
    m_folder.WriteText("scene_frame_00003.png", "a picture of before");
    Start({"--overlay"});
    Pause();
    for (int n = 0; n < 3; ++n) {
        Press("Right");
    }
    Press("s");
    ASSERT_TRUE(WaitFor([&] { return m_folder.Read("scene_frame_00003-2.png").size() > 0; }));
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(ended.errors, "kelvo-player: " + m_folder.Path("scene_frame_00003-2.png") + ": written\n");
    EXPECT_EQ(m_folder.ReadText("scene_frame_00003.png"), "a picture of before");
    EXPECT_TRUE(CompareImages(ReadPicture(m_folder.Path("scene_frame_00003-2.png")),
                              DrawFrame(m_folder.Path("scene.json"), 3)));
}

TEST_F(WindowX11, SavesNoPictureOfAWindowThatIsChanging) {
    m_folder.WriteText("scene.json",
                       R"({"surface": {"size": [900, 700], "format": "rgba8888"}, "nodes": []})");
    Start();
    m_server.Resize(m_nWindow, 20, 20, false);
    Press("s");
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(ended.errors, "kelvo-player: the frame cannot be read: the window is changing\n");
}

TEST_F(WindowX11, TellsWhichNodesAreAtAClickAndGoesToFramesOfTheBar) {
    m_folder.WriteText("scene.json", MakeScene("#ff8000", R"(,
        {"class": "Sprite", "Size": [4, 4], "Color": "#0080ff", "Position": [2, 32, 0], "Opacity": 0.5})"));
    for (std::string const& scene : {m_folder.Path("scene.json"), std::string("scene.json")}) {
        m_sScene = scene;
        Start();
        Pause();
        m_server.Click(m_nWindow, 4, 80 - 34);
        m_server.Click(m_nWindow, 100, 5);
        m_server.Click(m_nWindow, 4, 80 - 34);
        m_server.Click(m_nWindow, 119, 79);
        WaitForTitle("scene.json, frame 9 of 0..9, paused");
        ExpectShown(9, 120, 80, false);
        m_server.Click(m_nWindow, 4, 80 - 34); // hides what is told of this node
        ExpectShown(9);
        Outcome const ended = End();
        EXPECT_EQ(ended.nExitCode, 0);
        std::string const told = "Sprite  " + scene + R"(:4
    Position: 2, 32, 0
    Opacity: 0.5
    Size: 4, 4
    Color: 0, 0.501961, 1
below it: Sprite "square"  )" + scene +
                                 ":2\n";
        EXPECT_EQ(ended.output, told + "nothing there\n" + told);
    }
}

TEST_F(WindowX11, ShowsTheSceneAnewWhenItIsSavedAndKeepsTheOldOneWhileItHasFaults) {
    Pixel const orange{255, 128, 0};
    Pixel const ground{32, 48, 64};
    Start({"--watch"});
    m_server.Resize(m_nWindow, 400, 300);
    Pause();
    Press("Right");
    ExpectShown(1, 400, 300);
    m_folder.WriteText("scene.json", MakeScene("#ff8000").substr(0, 99));
    // Above the bar stands what is wrong, and beside that what was there before.
    Image shown;
    EXPECT_TRUE(WaitFor([&] {
        shown = m_server.GetShown(m_nWindow, 400, 300);
        return shown.At(20, 255) != ground;
    }));
    EXPECT_EQ(shown.At(4, 268), orange);
    m_folder.WriteText("new.json", MakeScene("#00ff40"));
    std::filesystem::rename(m_folder.Path("new.json"), m_folder.Path("scene.json"));
    ExpectShown(1, 400, 300);
    EXPECT_EQ(m_server.GetTitle(m_nWindow), "scene.json, frame 1 of 0..9, paused");
    m_folder.WriteText("scene.json", MakeScene("#0040ff"));
    ExpectShown(1, 400, 300);
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(ended.errors.find("kelvo-player: " + m_folder.Path("scene.json") + ":"), 0u) << ended.errors;
}

TEST_F(WindowX11, WaitsForASceneThatItCanShowWhereANewDeviceCannot) {
    Start({"--watch", "--log-level", "none"}, {"MESA_EXTENSION_OVERRIDE=-GL_OES_EGL_image"});
    Pause();
    ASSERT_TRUE(Image(4, 4, Pixel{255, 255, 255}).Save(m_folder.Path("dot.png")));
    m_folder.WriteText("scene.json", R"({"surface": {"size": [200, 90]}, "clearColor": "#ffffff",
        "textures": {"dot": {"file": "dot.png", "surfaces": "single"}},
        "nodes": [{"class": "Sprite", "texture": "dot"}]})");
    Pixel const ground{32, 48, 64};
    EXPECT_TRUE(WaitFor([&] { return m_server.GetShown(m_nWindow, 200, 90).At(197, 5) == ground; }));
    m_folder.WriteText("scene.json", MakeScene("#00ff40"));
    ExpectShown(0);
    Outcome const ended = End();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1) << ended.errors;
}

TEST_F(WindowX11, TellsWarningsOnceHoweverOftenTheWindowChanges) {
    m_folder.WriteText("scene.json",
                       MakeScene("#ff8000", R"(, {"class": "Sprite", "Size": [1, 1], "Opacity": 7})"));
    Start();
    Pause();
    m_server.Resize(m_nWindow, 200, 90);
    EXPECT_TRUE(
        WaitFor([&] { return m_server.GetShown(m_nWindow, 200, 90).At(1, 90 - 31) == Pixel{255, 128, 0}; }));
    Outcome const ended = End();
    EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1) << ended.errors;
}

TEST_F(WindowX11, EndsAfterTheLastFrameWhereItIsAskedTo) {
    Run({"SDL_VIDEODRIVER=x11"}, {"--once", "--verbose", "--log-level", "none"});
    Outcome const ended = m_pPlayer->Get();
    EXPECT_EQ(ended.nExitCode, 0);
    EXPECT_NE(ended.errors.find(" left out as late; draws of the last one: 1\n"), std::string::npos)
        << ended.errors;
}

TEST(Window, NeedsADisplay) {
    TemporaryFolder const folder;
    folder.WriteText("scene.json", MakeScene("#ff8000"));
    struct {
        char const* pDisplay;
        char const* pDriver;
        char const* pReason;
    } const cases[] = {
        {"", "", "there is no X11 or Wayland display (DISPLAY, WAYLAND_DISPLAY)"},
        {"none", "", "the display (DISPLAY, WAYLAND_DISPLAY) cannot be reached"},
        {"none", "x11", "SDL_VIDEODRIVER is \"x11\", and no x11 or wayland that can be reached"},
        {"none", "dummy", "SDL_VIDEODRIVER is \"dummy\", and no x11 or wayland that can be reached"}};
    for (auto const& test : cases) {
        Outcome const ended = Play({folder.Path("scene.json"), "--window"},
                                   {std::string("DISPLAY=") + test.pDisplay,
                                    "WAYLAND_DISPLAY=", std::string("SDL_VIDEODRIVER=") + test.pDriver,
                                    "XDG_RUNTIME_DIR=" + folder.Path("")});
        EXPECT_EQ(ended.nExitCode, 3);
        EXPECT_EQ(ended.errors, std::string("kelvo-player: no window can be opened: ") + test.pReason + "\n");
    }
}

TEST(Window, EndsWithAReasonWhereSdlCannotUseACompositor) {
    if (std::string(KELVO_WESTON).empty()) {
        GTEST_SKIP() << "weston is not installed";
    }
    TemporaryFolder const folder;
    folder.WriteText("scene.json", MakeScene("#ff8000"));
    std::string const runtime = "XDG_RUNTIME_DIR=" + folder.Path("");
    Running compositor(KELVO_WESTON,
                       {"--backend=headless-backend.so", "--use-pixman", "--no-config", "--socket=wayland"},
                       {runtime}, SIGTERM);
    for (int nTry = 0; nTry < 2000 && !std::filesystem::exists(folder.Path("wayland")); ++nTry) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Outcome const ended = Play({folder.Path("scene.json"), "--window", "--once"},
                               {runtime, "WAYLAND_DISPLAY=wayland", "DISPLAY=", "SDL_VIDEODRIVER=wayland"});
    if (ended.nExitCode != 0) { // newer ones can
        EXPECT_EQ(ended.nExitCode, 3);
        EXPECT_NE(ended.errors.find("the Wayland compositor has no seat"), std::string::npos) << ended.errors;
    }
}

/** A Wayland compositor in a window of the X server, with the player's window all over it. */
class WindowWayland : public WindowX11 {
protected:
    void SetUp() override {
        WindowX11::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (std::string(KELVO_WESTON).empty()) {
            GTEST_SKIP() << "weston is not installed";
        }
        std::vector<unsigned long> const before = m_server.GetWindows();
        m_pCompositor = std::make_unique<Running>(
            KELVO_WESTON,
            std::vector<std::string>{"--backend=x11-backend.so", "--use-pixman", "--shell=kiosk-shell.so",
                                     "--no-config", "--socket=wayland", "--width=240", "--height=160"},
            std::vector<std::string>{"XDG_RUNTIME_DIR=" + m_folder.Path("")}, SIGTERM);
        FindWindow(before, ""); // it has none of the kind of title that is looked for
    }

    /** The compositor draws it, where it was seen last: over the bar it is in nobody's way. */
    void KeepPointerAway() const override {
        m_server.MovePointer(120, 155);
        m_server.MovePointer(121, 156);
    }

    std::unique_ptr<Running> m_pCompositor;
};

TEST_F(WindowWayland, ShowsWhatIsDrawnOffScreenAndShowsTheSceneAnewWhenItIsSaved) {
    Run({"SDL_VIDEODRIVER=wayland", "WAYLAND_DISPLAY=wayland", "XDG_RUNTIME_DIR=" + m_folder.Path("")},
        {"--watch", "--frames", "3..3"});
    ExpectShown(3, 240, 160);
    m_folder.WriteText("scene.json", MakeScene("#00ff40"));
    ExpectShown(3, 240, 160);
    m_pPlayer->Stop();
    EXPECT_EQ(m_pPlayer->Get().nExitCode, 128 + SIGINT);
}

} // namespace
} // namespace kelvokit::player::testing
