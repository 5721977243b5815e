#include "ProcessRunner.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <webp/demux.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using trevik::kelvo::assets::testing::ReadCases;
using trevik::kelvo::assets::testing::ReadDataAsText;
using trevik::kelvo::assets::testing::TextCase;

std::string const Showcase = KELVO_EXAMPLES "/showcase/scene.json";

/** A folder with a small scene: odd sizes, nothing symmetrical, one sprite that moves a pixel per frame. */
class PlayerTest : public ::testing::Test {
protected:
    PlayerTest() {
        Write(
            "scene.json",
            R"({"surface": {"size": [41, 23], "format": "rgb888"}, "frames": [2, 6], "clearColor": "#102030",
            "nodes": [
                {"class": "Sprite", "name": "red", "Color": "#ff0000", "Size": [7, 3], "Position": [5, 17, 0]},
                {"class": "Sprite", "name": "green", "Color": "#00ff00", "Size": [1, 1],
                 "Position": {"keys": [{"frame": 0, "value": [0, 0, 0]}, {"frame": 40, "value": [40, 0, 0]}]}}]})");
    }

    void Write(std::string const& name, std::string const& text) const { m_folder.WriteText(name, text); }
    std::string Path(std::string const& name) const { return m_folder.Path(name); }

    TemporaryFolder m_folder;
};

TEST_F(PlayerTest, ExplainsItself) {
    Outcome const outcome = Play({"--help"});
    EXPECT_EQ(outcome.nExitCode, 0);
    for (char const* pPart : {"--frames",
                              "--size",
                              "--format",
                              "--out",
                              "--stats",
                              "--save",
                              "--backend",
                              "--pick",
                              "--shot",
                              "--post",
                              "--calls",
                              "--explain",
                              "--overdraw",
                              "--trace",
                              "--schema",
                              "--format-scene",
                              "--version",
                              "--quiet",
                              "--verbose",
                              "--compare",
                              "--tolerance",
                              "--log-level",
                              "Examples:",
                              "Exit codes: 0 done; 1",
                              "KELVO_EGL_PLATFORM"}) {
        EXPECT_NE(outcome.output.find(pPart), std::string::npos) << pPart;
    }
}

TEST_F(PlayerTest, SaysWhichVersionItIs) {
    Outcome const outcome = Play({"--version"});
    EXPECT_EQ(outcome.nExitCode, 0);
    EXPECT_TRUE(std::regex_match(outcome.output,
                                 std::regex("kelvo-player [0-9.]+\ndriver interface EGL / OpenGL ES 2\n"
                                            "(commit date [0-9]{4}-[0-9]{2}-[0-9]{2}\n)?")))
        << outcome.output;
}

// KELVO_REWRITE_GOLDEN=1 writes the documents' schema.
TEST_F(PlayerTest, PrintsTheSchemaOfTheDocuments) {
    Outcome const outcome = Play({"--schema"});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_TRUE(kelvokit::test::IsGolden(KELVO_EXAMPLES "/../docs/scene.schema.json", outcome.output));
}

TEST_F(PlayerTest, PrintsASceneInItsOneForm) {
    Outcome const once = Play({"--format-scene", KELVO_EXAMPLES "/format/alpha-test-group.json"});
    EXPECT_EQ(once.nExitCode, 0) << once.errors;
    EXPECT_EQ(once.output.rfind("{\n  \"$schema\": ", 0), 0u) << once.output;
    Write("formatted.json", once.output);
    EXPECT_EQ(Play({"--format-scene", Path("formatted.json")}).output, once.output);
    EXPECT_EQ(RunShell("player --format-scene - < " + Path("formatted.json")).output, once.output);
    EXPECT_EQ(
        RunShell("echo '{' | player --format-scene -").errors.rfind("kelvo-player: standard input:2:1", 0),
        0u);
    Outcome const missing = Play({"--format-scene", Path("missing.json")});
    EXPECT_EQ(missing.nExitCode, 1);
    EXPECT_NE(missing.errors.find("missing.json: cannot be opened"), std::string::npos) << missing.errors;
}

TEST_F(PlayerTest, RefusesCommandLinesThatMakeNoSense) {
    for (TextCase const& test : ReadCases("command-lines.txt")) {
        std::vector<std::string> arguments;
        std::istringstream words(test.text);
        for (std::string word; words >> word;) {
            arguments.push_back(word == "''" ? "" : word);
        }
        Outcome const outcome = Play(arguments);
        EXPECT_EQ(outcome.nExitCode, 2) << test.text;
        EXPECT_EQ(outcome.errors.rfind("kelvo-player: ", 0), 0u) << outcome.errors;
        EXPECT_NE(outcome.errors.find(test.expected), std::string::npos) << outcome.errors;
        EXPECT_EQ(outcome.output, "");
    }
}

TEST_F(PlayerTest, SaysWhereAScenesFaultIs) {
    Write("bad.json", "{\"nodes\": [\n{\"class\": \"AlphatestGroup\"}]}");
    Outcome const outcome = Play({Path("bad.json"), "--out", Path("bad.png")});
    EXPECT_EQ(outcome.nExitCode, 1);
    EXPECT_EQ(outcome.errors,
              "kelvo-player: " + Path("bad.json") +
                  ":2: /nodes/0/class: unknown class \"AlphatestGroup\"; did you mean \"AlphaTestGroup\"?\n");
    EXPECT_FALSE(std::filesystem::exists(Path("bad.png")));
    Write("whole.json", "{\"include\": [\n\"part.json\"], \"nodes\": []}");
    for (auto const& [text, what] : {std::pair{"{\n\"node\": 1}", ":2 (included at %:2): /node: unknown key"},
                                     std::pair{"{\n]", ":2:1 (included at %:2): syntax error"}}) {
        Write("part.json", text);
        std::string start = "kelvo-player: " + Path("part.json") + what;
        start.replace(start.find('%'), 1, Path("whole.json"));
        Outcome const checked = Play({Path("whole.json"), "--check"});
        EXPECT_EQ(checked.errors.rfind(start, 0), 0u) << checked.errors;
    }
    std::string nodes = "0";
    std::string complaints;
    for (int n = 0; n < 20; ++n) {
        nodes += ", 0";
        complaints += "kelvo-player: " + Path("many.json") + ":1: /nodes/" + std::to_string(n) +
                      ": expected a node: an object with \"class\", found 0\n";
    }
    Write("many.json", "{\"nodes\": [" + nodes + "]}");
    EXPECT_EQ(Play({Path("many.json")}).errors,
              complaints + "kelvo-player: " + Path("many.json") + ": ... and more\n");
    EXPECT_EQ(Play({Path("none.json")}).errors,
              "kelvo-player: " + Path("none.json") + ": cannot be opened: No such file or directory\n");
}

TEST_F(PlayerTest, TellsWhatWillNotBeDrawnAsItIsWritten) {
    std::string const surface = R"({"surface": {"size": [9, 9], "format": "rgba8888"}, )";
    std::string const clear = surface + R"("clearColor": "#00000000", "nodes": [{"class": "Timeline", )";
    std::string const blur = R"("effects": [{"class": "GaussianBlurEffect", "BlurAmount": )";
    Write("blur.json", clear + blur + "1}]}]}");
    Write("sharp.json", clear + blur + "0}]}]}");
    Write("hidden.json", clear + "\"Visible\": false, " + blur + "1}]}]}");
    Write("opaque.json", surface + R"("nodes": [{"class": "Timeline", )" + blur + "1}]}]}");
    Write("etc1.json", "{\"textures\": {\"p\": \"" KELVO_EXAMPLES R"(/showcase/planet.pkm"}, "nodes": [
        {"class": "AlphaTestGroup", "children": [{"class": "Sprite", "texture": "p"}]},
        {"class": "Sprite"}]})");
    std::string const etc1 =
        Path("etc1.json") +
        ":2: /nodes/0/children/0/texture: warning: an AlphaTestGroup does not "
        "look at the alpha of ETC1 pictures [etc1-alpha]\n" +
        Path("etc1.json") +
        ":3: /nodes/1: warning: without \"texture\" and \"Size\" there is nothing to draw "
        "[sprite-without-content]\n";
    std::string const count = Path("etc1.json") + ": 2 warnings\n";
    std::string const alpha =
        "warning: a blurred layer is opaque, and leaves the surface without alpha [blur-opaque]\n";
    struct {
        std::vector<std::string> arguments;
        int nExitCode;
        std::string errors;
    } const cases[] = {
        {{"etc1.json", "--out", Path("drawn.png")}, 0, etc1},
        {{"etc1.json", "--out", Path("quiet.png"), "--quiet"}, 0, ""},
        {{"etc1.json", "--out", Path("strict.png"), "--strict", "--quiet"}, 1, etc1 + count},
        {{"etc1.json", "--check"}, 0, etc1 + count},
        {{"etc1.json", "--check", "--strict", "--quiet"}, 1, etc1 + count},
        {{"etc1.json", "--save", Path("etc1.kelvo"), "--strict"}, 1, etc1 + count},
        {{"scene.json", "--check", "--strict"}, 0, ""},
        {{"scene.json", "--out", Path("f.png"), "--frames", "99"},
         0,
         "--frames: warning: the scene has frames 2..6 [frames-outside]\n"},
        {{"blur.json", "--check"},
         0,
         Path("blur.json") + ":1: /nodes/0/effects/0: " + alpha + Path("blur.json") + ": 1 warning\n"},
        {{"blur.json", "--out", Path("b.png"), "--format", "rgba8888"}, 0, "--format: " + alpha},
        {{"opaque.json", "--check"}, 0, ""},
        {{"hidden.json", "--check", "--post", "--size", "9x1"}, 0, ""},
        {{"sharp.json", "--check", "--post", "--size", "9x1"},
         0,
         Path("sharp.json") +
             ":1: /nodes/0/effects/0: warning: without a \"BlurAmount\" above 0 nothing is blurred "
             "[blur-without-amount]\n" +
             Path("sharp.json") + ": 1 warning\n"},
        {{"blur.json", "--out", Path("b.png"), "--format", "rgb888", "--post"},
         0,
         "--post: warning: a blurred layer, and all that follows, is drawn past the post-processing "
         "[blur-post-processed]\n"},
        {{"blur.json", "--check", "--format", "rgb888", "--size", "9x1"},
         0,
         "--size: warning: the targets of a blur have half the surface's size, which is none of 1 pixel "
         "[blur-without-targets]\n" +
             Path("blur.json") + ": 1 warning\n"},
    };
    for (auto const& test : cases) {
        std::vector<std::string> arguments = test.arguments;
        arguments[0] = Path(arguments[0]);
        std::string expected = "\n" + test.errors;
        for (std::size_t at = 0; (at = expected.find('\n', at)) + 1 < expected.size();) {
            expected.insert(++at, "kelvo-player: ");
        }
        Outcome const outcome = Play(arguments);
        EXPECT_EQ("\n" + outcome.errors, expected);
        EXPECT_EQ(outcome.nExitCode, test.nExitCode) << test.errors;
    }
    EXPECT_EQ(m_folder.List(), (std::vector<std::string>{"b.png", "blur.json", "drawn.png", "etc1.json",
                                                         "f.png", "hidden.json", "opaque.json", "quiet.png",
                                                         "scene.json", "sharp.json"}));
}

TEST_F(PlayerTest, WritesOverNothingThatItReads) {
    std::filesystem::copy(KELVO_EXAMPLES "/showcase/star.png", Path("t.png"));
    std::filesystem::create_symlink("t.png", Path("link.png"));
    Write("t.json", R"({"textures": {"t": "t.png"}, "nodes": [{"class": "Sprite", "texture": "t"}]})");
    TemporaryFolder::Bytes const before = m_folder.Read("t.png");
    for (char const* pOption : {"--out", "--overdraw", "--calls", "--trace"}) {
        Outcome const outcome = Play({Path("t.json"), pOption, Path("link.png")});
        EXPECT_EQ(outcome.nExitCode, 2) << pOption;
        EXPECT_EQ(outcome.errors, std::string("kelvo-player: ") + pOption + ": the scene reads the file \"" +
                                      Path("link.png") + "\"\n");
    }
    EXPECT_EQ(m_folder.Read("t.png"), before);
}

TEST_F(PlayerTest, RefusesDamagedBinaryScenes) {
    ASSERT_EQ(Play({Path("scene.json"), "--save", Path("scene.kelvo")}).nExitCode, 0);
    TemporaryFolder::Bytes bytes = m_folder.Read("scene.kelvo");
    bytes[bytes.size() / 2] ^= 0x20;
    m_folder.Write("damaged.kelvo", bytes);
    bytes.resize(bytes.size() / 2);
    m_folder.Write("cut.kelvo", bytes);
    for (char const* pName : {"damaged.kelvo", "cut.kelvo", "none.kelvo"}) {
        Outcome const outcome = Play({Path(pName)});
        EXPECT_EQ(outcome.nExitCode, 1) << pName;
        EXPECT_EQ(outcome.errors.rfind("kelvo-player: " + Path(pName) + ": ", 0), 0u) << outcome.errors;
    }
}

TEST_F(PlayerTest, EndsWithThreeWithoutADevice) {
    struct {
        std::vector<std::string> arguments;
        std::vector<std::string> variables;
        char const* pError;
    } const cases[] = {
        {{"--backend", Path("none.so")}, {}, "kelvo-player: the back end cannot be loaded: "},
        {{"--backend", KELVO_FOREIGN_LIBRARY},
         {},
         "is no back end: it does not export Initialize, CreateDevice and Shutdown"},
        {{},
         {"KELVO_EGL_PLATFORM=device:999"},
         "kelvo-player: no graphics device can be had for a surface of 41x23 pixels, rgb888: no display of "
         "the wanted platform"},
        {{},
         {"KELVO_EGL_PLATFORM=bogus"},
         "rgb888: KELVO_EGL_PLATFORM is \"bogus\", not surfaceless, device"},
    };
    for (auto const& test : cases) {
        std::vector<std::string> arguments = test.arguments;
        arguments.insert(arguments.begin(), {Path("scene.json"), "--out", Path("out.png")});
        Outcome const outcome = Play(arguments, test.variables);
        EXPECT_EQ(outcome.nExitCode, 3) << test.pError;
        EXPECT_NE(outcome.errors.find(test.pError), std::string::npos) << outcome.errors;
        EXPECT_FALSE(std::filesystem::exists(Path("out.png")));
    }
}

TEST_F(PlayerTest, DrawsWhatTheSceneSays) {
    Outcome const outcome = Play({Path("scene.json"), "--out", Path("out.png")});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "");
    Image const picture = ReadPicture(Path("out.png"));
    EXPECT_FALSE(picture.HasAlpha());
    Image expected(41, 23, {0x10, 0x20, 0x30, 255});
    expected.Fill(5, 3, 7, 3, {255, 0, 0, 255}); // rows 17 to 19 from below
    expected.At(6, 22) = {0, 255, 0, 255};       // in the last frame, which is 6
    EXPECT_TRUE(CompareImages(picture, expected));
}

TEST_F(PlayerTest, ReadsScenesFromStandardInput) {
    std::filesystem::create_directories(Path("pictures"));
    std::filesystem::copy_file(KELVO_EXAMPLES "/blend/coral.png", Path("pictures/coral.png"));
    Write("textured.json", R"({"surface": {"size": [9, 7]}, "textures": {"coral": "pictures/coral.png"},
        "nodes": [{"class": "Sprite", "texture": "coral", "Size": [9, 7]}]})");
    std::string const player = "cd " + Path("") + " && player ";
    EXPECT_EQ(RunShell(player + "textured.json --out file.PNG").errors, "");
    EXPECT_EQ(RunShell("cat " + Path("textured.json") + " | (" + player + "- --out in.png)").errors, "");
    EXPECT_EQ(m_folder.Read("in.png"), m_folder.Read("file.PNG"));
    struct {
        char const* pCommand;
        char const* pError;
    } const cases[] = {
        {"echo '{' | player -", "kelvo-player: standard input:2:1: syntax error"},
        {"player - <&-", "kelvo-player: standard input: cannot be read: Bad file descriptor\n"}};
    for (auto const& bad : cases) {
        Outcome const outcome = RunShell(bad.pCommand);
        EXPECT_EQ(outcome.nExitCode, 1);
        EXPECT_EQ(outcome.errors.rfind(bad.pError, 0), 0u) << outcome.errors;
    }
}

TEST_F(PlayerTest, WritesEachFrameOfTheRange) {
    struct {
        std::vector<std::string> arguments;
        int nFirst, nLast;
    } const cases[] = {
        {{}, 2, 6}, {{"--frames", "4..5"}, 4, 5}, {{"--frames", "9"}, 9, 9}, {{"--frames", "0..1"}, 0, 1}};
    for (auto const& range : cases) {
        TemporaryFolder const folder;
        std::vector<std::string> arguments = range.arguments;
        arguments.insert(arguments.begin(), {Path("scene.json"), "--out", folder.Path("deep/pictures")});
        ASSERT_EQ(Play(arguments).nExitCode, 0);
        unsigned int nPictures = 0;
        for (int nFrame = range.nFirst; nFrame <= range.nLast; ++nFrame, ++nPictures) {
            char name[60];
            std::snprintf(name, sizeof name, "deep/pictures/frame_%05d.png", nFrame);
            EXPECT_EQ(ReadPicture(folder.Path(name)).At(nFrame, 22), (Pixel{0, 255, 0, 255})) << name;
        }
        std::filesystem::directory_iterator const files(folder.Path("deep/pictures"));
        EXPECT_EQ(std::distance(begin(files), end(files)), nPictures);
    }
}

TEST_F(PlayerTest, TakesAnotherSizeAndFormat) {
    Write("clear.json", R"({"surface": {"size": [8, 8]}, "clearColor": [0.5, 0.25, 1, 0.5], "nodes": []})");
    struct {
        char const* pFormat;
        bool fAlpha;
        Pixel colour;
        int nTolerance;
    } const cases[] = {{"rgb565", false, {132, 65, 255, 255}, 5},
                       {"rgb888", false, {128, 64, 255, 255}, 1},
                       {"rgba8888", true, {128, 64, 255, 128}, 1}};
    for (auto const& format : cases) {
        ASSERT_EQ(
            Play({Path("clear.json"), "--size", "19x11", "--format", format.pFormat, "--out", Path("f.png")})
                .nExitCode,
            0);
        Image const picture = ReadPicture(Path("f.png"));
        EXPECT_TRUE(CompareImages(picture, Image(19, 11, format.colour), {format.nTolerance, 5, "bits"}));
        EXPECT_EQ(picture.HasAlpha(), format.fAlpha) << format.pFormat;
    }
}

TEST_F(PlayerTest, HangsScenesWhoseYPointsDownFromTheUpperEdgeOfAnySurface) {
    std::string const scene = R"({"surface": {"size": [10, 10]}, "origin": "topLeft", "nodes": [
        {"class": "Sprite", "Size": [2, 3], "Color": "red", "Position": [1, 2]}])";
    Write("down.json", scene + "}");
    Write(
        "seen.json",
        scene +
            R"(, "camera": {"Orthographic": true, "ViewRectangle": [0, 10, 10, 0], "Position": [0, 0, 9]}})");
    Image expected(10, 20, {0, 0, 0, 255});
    expected.Fill(1, 2, 2, 3, {255, 0, 0, 255});
    Outcome const played =
        Play({Path("down.json"), "--size", "10x20", "--out", Path("f.png"), "--save", Path("sized.kelvo")});
    EXPECT_EQ(played.nExitCode, 0) << played.errors;
    EXPECT_TRUE(CompareImages(ReadPicture(Path("f.png")), expected, {0, 0, ""}));
    EXPECT_EQ(Play({Path("down.json"), "--save", Path("own.kelvo")}).nExitCode, 0);
    EXPECT_EQ(m_folder.Read("sized.kelvo"), m_folder.Read("own.kelvo"));
    EXPECT_EQ(Play({Path("seen.json"), "--size", "20x20", "--out", Path("f.png")}).nExitCode, 0);
    EXPECT_EQ(ReadPicture(Path("f.png")).At(2, 4), (Pixel{255, 0, 0, 255}));
}

/** Covers every pixel of 41 by 23 with another colour, and some of the surface's alpha. */
char const* const Gradients =
    R"({"surface": {"size": [41, 23], "format": "rgba8888"}, "clearColor": "#10203080",
    "nodes": [{"class": "Sprite", "Color": "#ff8000", "Size": [9, 30], "Opacity": 0.25, "Position": [3, 5, 0],
               "Rotation": [0, 0, -40]},
              {"class": "Sprite", "Color": "#00c0ff", "Size": [50, 6], "Opacity": 0.5, "Position": [0, 20, 0],
               "Rotation": [0, 0, -20]}]})";

TEST_F(PlayerTest, ShootsARectangle) {
    Write("colours.json", Gradients);
    struct {
        char const* pFormat;
        char const* pShot;
        int nX, nY, nWidth, nHeight;
    } const cases[] = {{"rgba8888", "0,0,7,5", 0, 0, 7, 5},   {"rgba8888", "32,0,9,3", 32, 0, 9, 3},
                       {"rgba8888", "0,19,6,4", 0, 19, 6, 4}, {"rgba8888", "36,12,5,11", 36, 12, 5, 11},
                       {"rgb888", "13,17,1,1", 13, 17, 1, 1}, {"rgb888", "35,0,6,23", 35, 0, 6, 23},
                       {"rgb565", "0,0,41,23", 0, 0, 41, 23}};
    std::map<std::string, Image> wholes;
    for (auto const& shot : cases) {
        SCOPED_TRACE(shot.pShot);
        auto const draw = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), {Path("colours.json"), "--format", shot.pFormat});
            Outcome const outcome = Play(arguments);
            EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
            return ReadPicture(arguments.back());
        };
        if (wholes.count(shot.pFormat) == 0) {
            wholes[shot.pFormat] = draw({"--out", Path("whole.png")});
        }
        Image const& whole = wholes[shot.pFormat];
        Image const part = draw({"--shot", shot.pShot, "--out", Path("part.png")});
        EXPECT_EQ(part.HasAlpha(), whole.HasAlpha());
        EXPECT_TRUE(CompareImages(part, whole.Cut(shot.nX, shot.nY, shot.nWidth, shot.nHeight)));
    }
}

TEST_F(PlayerTest, ShootsNothingOutsideOfTheSurface) {
    for (char const* pShot : {"35,0,7,5", "0,20,4,4", "41,0,1,1", "0,0,42,23"}) {
        Outcome const outcome = Play(
            {Path("scene.json"), "--shot", pShot, "--save", Path("saved.kelvo"), "--out", Path("part.png")});
        EXPECT_EQ(outcome.nExitCode, 2) << pShot;
        EXPECT_EQ(outcome.errors,
                  "kelvo-player: --shot: the rectangle reaches out of the surface of 41x23 pixels\n");
    }
    EXPECT_EQ(m_folder.List(), std::vector<std::string>{"scene.json"});
    // What counts is the surface that is drawn on.
    ASSERT_EQ(Play({Path("scene.json"), "--size", "60x50", "--shot", "41,30,19,20", "--scale", "0.5000000000",
                    "--out", Path("part.png")})
                  .nExitCode,
              0);
    EXPECT_TRUE(CompareImages(ReadPicture(Path("part.png")), Image(10, 10, {0x10, 0x20, 0x30, 255})));
}

TEST_F(PlayerTest, PutsFramesOnASheet) {
    ASSERT_EQ(Play({Path("scene.json"), "--out", Path("p")}).nExitCode, 0);
    for (int const nColumns : {1, 3, 9}) {
        ASSERT_EQ(
            Play({Path("scene.json"), "--out", Path("s.png"), "--sheet", std::to_string(nColumns)}).errors,
            "");
        Image const sheet = ReadPicture(Path("s.png"));
        EXPECT_EQ(sheet.Width(), 41 * std::min(nColumns, 5));
        EXPECT_EQ(sheet.Height(), nColumns == 1 ? 5 * 23 : nColumns == 3 ? 2 * 23 : 23);
        for (int n = 0; n < 5; ++n) {
            Image const frame = ReadPicture(Path("p/frame_0000" + std::to_string(n + 2) + ".png"));
            EXPECT_TRUE(CompareImages(sheet.Cut(n % nColumns * 41, n / nColumns * 23, 41, 23), frame));
        }
        EXPECT_EQ(sheet.At(sheet.Width() - 1, sheet.Height() - 1).b, nColumns == 3 ? 0 : 0x30);
    }
    EXPECT_EQ(
        Play({Path("scene.json"), "--out", Path("s.png"), "--sheet", "1", "--frames", "1..3000", "--quiet"})
            .errors,
        "kelvo-player: " + Path("s.png") +
            ": a sheet of 41x69000 pixels is too large; --scale makes it smaller\n");
}

TEST_F(PlayerTest, ComparesWithPicturesThatAreThere) {
    std::string const none = Path("none");
    for (char const* pJobs : {"1", "3"}) {
        Outcome const missing = Play({Path("scene.json"), "--compare", none, "--jobs", pJobs});
        EXPECT_EQ(missing.errors,
                  "kelvo-player: " + none + ": cannot be opened: No such file or directory\n");
        EXPECT_EQ(missing.nExitCode, 1);
    }
    ASSERT_EQ(Play({Path("scene.json"), "--out", Path("p")}).nExitCode, 0);
    ASSERT_EQ(Play({Path("scene.json"), "--compare", Path("p")}).errors, "");
    Image frame = ReadPicture(Path("p/frame_00003.png"));
    frame.At(30, 1) = {0x10, 0x20, 0x35, 255}; // 5 away
    frame.At(31, 1) = {0x10, 0x24, 0x30, 255};
    ASSERT_TRUE(frame.Save(Path("p/frame_00003.png")));
    std::filesystem::remove(Path("p/frame_00005.png"));
    ASSERT_TRUE(Image(2, 3).Save(Path("p/frame_00006.png")));
    std::string const third = Path("p/frame_00003");
    std::filesystem::create_directories(third + ".difference.png/folder"); // nothing can be written there
    EXPECT_NE(
        Play({Path("scene.json"), "--compare", Path("p")}).errors.find("\nkelvo-player: 3 of 5 frames "),
        std::string::npos);
    std::filesystem::remove_all(third + ".difference.png");
    std::string const lines[] = {"kelvo-player: frame 3: 1 of 943 pixels differ from " + third +
                                     ".png, by up to 5; see " + third + ".difference.png\n",
                                 "kelvo-player: frame 5: " + Path("p/frame_00005.png") +
                                     ": cannot be opened: No such file or directory\n",
                                 "kelvo-player: frame 6: 41x23 pixels, " + Path("p/frame_00006.png") +
                                     " has 2x3\n",
                                 "kelvo-player: 3 of 5 frames differ from " + Path("p") + "\n"};
    Outcome const outcome =
        Play({Path("scene.json"), "--compare", Path("p"), "--tolerance", "4", "--pick", "1,1"});
    EXPECT_EQ(outcome.errors, lines[0] + lines[1] + lines[2] + lines[3]);
    EXPECT_EQ(outcome.output, "nothing at 1,1\n");
    EXPECT_EQ(outcome.nExitCode, 1);
    EXPECT_EQ(
        RunShell("trap '' CHLD; player " + Path("scene.json --jobs 2 --compare ") + Path("p")).nExitCode, 1);
    Image differences(41, 23, {0, 0, 0, 255});
    differences.At(30, 1).b = 255;
    differences.At(31, 1).g = 4 * 255 / 5;
    EXPECT_TRUE(CompareImages(ReadPicture(third + ".difference.png"), differences));
    EXPECT_EQ(
        Play({Path("scene.json"), "--compare", third + ".png", "--frames", "3", "--tolerance", "5"}).errors,
        "");
    EXPECT_FALSE(std::filesystem::exists(third + ".difference.png")) << "there are none any more";
}

TEST_F(PlayerTest, WritesVideos) {
    Write("colours.json", Gradients);
    std::string const player = "player " + Path("scene.json") + " ";
    std::size_t const nPixels = std::size_t(41) * 23;
    std::string const header = "YUV4MPEG2 W41 H23 F30:1 Ip A1:1 C444\n";
    for (std::string const format : {"y4m", "rgba"}) {
        EXPECT_EQ(Play({Path("scene.json"), "--out", Path("file." + format)}).errors, "");
        RunShell(player + "--out - --format " + format + " >" + Path("stream"));
        EXPECT_EQ(m_folder.Read("stream"), m_folder.Read("file." + format)) << format;
        std::string const pipe = Path("pipe." + format);
        RunShell("mkfifo " + pipe + "; timeout 60 cat " + pipe + " >" + Path("stream") + " & " + player +
                 "--out " + pipe + "; wait");
        EXPECT_EQ(m_folder.Read("stream"), m_folder.Read("file." + format)) << format;
        Outcome const full = RunShell(player + "--out - --format " + format + " >/dev/full");
        EXPECT_EQ(full.errors, "kelvo-player: standard output: cannot be written: No space left on device\n");
        EXPECT_EQ(full.nExitCode, 1);
    }
    std::string const planes = m_folder.ReadText("file.y4m");
    ASSERT_EQ(planes.size(), header.size() + 5 * (6 + 3 * nPixels));
    EXPECT_EQ(planes.substr(0, header.size() + 6), header + "FRAME\n");
    // Red, which is 81, 90, 240 in such a video, at 5, 3.
    std::size_t const nRed = header.size() + 6 + std::size_t(3) * 41 + 5;
    EXPECT_EQ(static_cast<unsigned char>(planes[nRed]), 81);
    EXPECT_EQ(static_cast<unsigned char>(planes[nRed + nPixels]), 90);
    EXPECT_EQ(static_cast<unsigned char>(planes[nRed + 2 * nPixels]), 240);
    ASSERT_EQ(Play({Path("scene.json"), "--out", Path("pictures")}).nExitCode, 0);
    TemporaryFolder::Bytes const raw = m_folder.Read("file.rgba");
    ASSERT_EQ(raw.size(), 5 * 4 * nPixels);
    EXPECT_TRUE(Image(41, 23, raw.data() + 16 * nPixels) == ReadPicture(Path("pictures/frame_00006.png")));
    // Of a surface with alpha.
    std::vector<std::string> const draw = {Path("colours.json"), "--out"};
    ASSERT_EQ(Play({draw[0], draw[1], Path("c.png")}).nExitCode, 0);
    ASSERT_EQ(Play({draw[0], draw[1], Path("c.rgba")}).nExitCode, 0);
    EXPECT_TRUE(Image(41, 23, m_folder.Read("c.rgba").data()) == ReadPicture(Path("c.png")));
    std::map<std::string, char const*> const ratios = {
        {"29.97", "F30000:1001 "}, {"60", "F60:1 "}, {"12.5", "F12500:1000 "}, {"0.001", "F1:1000 "}};
    for (auto const& ratio : ratios) {
        Write("rate.json", R"({"surface": {"size": [1, 1]}, "nodes": [], "frameRate": )" + ratio.first + "}");
        EXPECT_NE(Play({Path("rate.json"), "--out", "-", "--format", "y4m"}).output.find(ratio.second),
                  std::string::npos)
            << ratio.first;
    }
    EXPECT_EQ(Play({Path("scene.json"), "--out", Path("none/a.y4m")}).errors,
              "kelvo-player: " + Path("none/a.y4m") + ": cannot be created: No such file or directory\n");
}

TEST_F(PlayerTest, WritesAnimations) {
    Write("film.json",
          R"({"surface": {"size": [41, 23], "format": "rgba8888"}, "frameRate": 24, "frames": [1, 4],
        "clearColor": "#10203080", "nodes": [{"class": "Sprite", "Color": "#ff8000", "Size": [9, 30], "Opacity": 0.25,
        "Position": {"keys": [{"frame": 0, "value": [3, 5, 0]}, {"frame": 4, "value": [30, -5, 0]}]}}]})");
    for (std::string const scene : {"film.json", "scene.json"}) {
        bool const fFilm = scene == "film.json";
        ASSERT_EQ(Play({Path(scene), "--out", Path("p")}).nExitCode, 0);
        ASSERT_EQ(Play({Path(scene), "--out", Path("f.webp"), "--loop", "3"}).errors, "");
        TemporaryFolder::Bytes const file = m_folder.Read("f.webp");
        WebPData const data = {file.data(), file.size()};
        std::unique_ptr<WebPAnimDecoder, void (*)(WebPAnimDecoder*)> const pDecoder(
            WebPAnimDecoderNew(&data, nullptr), WebPAnimDecoderDelete);
        ASSERT_TRUE(pDecoder);
        WebPAnimInfo info;
        ASSERT_TRUE(WebPAnimDecoderGetInfo(pDecoder.get(), &info));
        EXPECT_EQ(info.loop_count, 3u);
        EXPECT_EQ(info.frame_count, fFilm ? 4u : 5u);
        for (unsigned int nFrame = 0; nFrame < info.frame_count; ++nFrame) {
            std::uint8_t* pPixels = nullptr;
            int nEnd = 0;
            ASSERT_TRUE(WebPAnimDecoderGetNext(pDecoder.get(), &pPixels, &nEnd));
            EXPECT_EQ(nEnd, std::lround((nFrame + 1) * 1000 / (fFilm ? 24.0 : 30.0)));
            std::string const name = "p/frame_0000" + std::to_string(nFrame + (fFilm ? 1 : 2)) + ".png";
            EXPECT_TRUE(CompareImages(Image(41, 23, pPixels), ReadPicture(Path(name)))) << scene << nFrame;
        }
    }
    ASSERT_EQ(Play({Showcase, "--frames", "1..2", "--out", Path("less.WEBP"), "--quality", "50"}).errors, "");
    ASSERT_EQ(Play({Showcase, "--frames", "1..2", "--out", Path("all.webp")}).errors, "");
    EXPECT_LT(m_folder.Read("less.WEBP").size(), m_folder.Read("all.webp").size() / 2);
    EXPECT_EQ(Play({Path("scene.json"), "--size", "16384x1", "--out", Path("wide.webp")}).errors,
              "kelvo-player: " + Path("wide.webp") + ": a WebP has at most 16383 pixels to a side\n");
}

TEST_F(PlayerTest, PostProcessedFramesShowTheSame) {
    Write("depths.json", R"({"surface": {"size": [41, 23], "format": "rgba8888"}, "frames": [0, 3],
        "clearColor": "#10203080", "nodes": [{"class": "Timeline", "DepthTest": 1, "children": [
            {"class": "Sprite", "Color": "#ff8000", "Size": [9, 8],
             "Position": {"keys": [{"frame": 0, "value": [3, 5, 0]}, {"frame": 3, "value": [30, 5, 0]}]}}]}]})");
    // Ends with a sprite that is blended in a mode of its own.
    Write("modes.json", R"({"surface": {"size": [41, 23], "format": "rgba8888"}, "frames": [0, 3],
        "clearColor": "#804020", "textures": {"coral": ")" KELVO_EXAMPLES R"(/blend/coral.png"},
        "nodes": [{"class": "Timeline", "camera": {"Orthographic": true}, "children": [
            {"class": "Sprite", "texture": "coral", "Size": [1, 1], "Position": [-0.5, -0.5, 0],
             "Scale": [3e-5, 3e-5, 1], "BlendMode": "multiply", "effects": [{"class": "BlendModeEffect"}]}]}]})");
    for (std::string const& scene : {Path("depths.json"), Path("modes.json"), Showcase}) {
        ASSERT_EQ(Play({scene, "--frames", "0..3", "--out", Path("plain")}).nExitCode, 0);
        Outcome const outcome = Play({scene, "--frames", "0..3", "--post", "--out", Path("post")});
        ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        for (int nFrame = 0; nFrame < 4; ++nFrame) {
            std::string const name = "/frame_0000" + std::to_string(nFrame) + ".png";
            Image const plain = ReadPicture(Path("plain") + name);
            Image const post = ReadPicture(Path("post") + name);
            // Several layers of translucent sprites, each rounded to 5 or 6 bits; in the others one or none.
            Image opaque = plain; // as targets, which have no alpha, are
            for (int n = 0; n < plain.Width() * plain.Height(); ++n) {
                opaque.At(n % plain.Width(), n / plain.Width()).a = 255;
            }
            EXPECT_TRUE(CompareImages(post, opaque, {scene == Showcase ? 40 : 9, 40, "5 or 6 bits"})) << name;
            EXPECT_FALSE(post == opaque) << "the frame has been through a target, which shows";
        }
    }
}

TEST_F(PlayerTest, DrawsBlursInFrameTargets) {
    Write("blur.json",
          R"({"surface": {"size": [40, 24]}, "frames": [0, 1], "clearColor": "#000080", "nodes": [
        {"class": "Sprite", "name": "hidden by the blurred layer", "Color": "#ff0000", "Size": [40, 24]},
        {"class": "Timeline", "effects": [{"class": "GaussianBlurEffect", "BlurAmount": {"samples": [0, 3]}}],
         "children": [{"class": "Sprite", "Color": "#ffffff", "Size": [20, 24]}]},
        {"class": "Sprite", "Color": "#00ff00", "Size": [4, 4]}]})");
    for (std::vector<std::string> const& how : {std::vector<std::string>{}, {"--post"}}) {
        std::vector<std::string> arguments = {Path("blur.json"), "--out",       Path("out"),
                                              "--quiet",         "--log-level", "error"};
        arguments.insert(arguments.end(), how.begin(), how.end());
        Outcome const outcome = Play(arguments);
        ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        Image const sharp = ReadPicture(Path("out/frame_00000.png"));
        EXPECT_EQ(sharp.At(19, 12).g, 255);
        EXPECT_EQ(sharp.At(20, 12), (Pixel{255, 0, 0, 255})) << "an amount of 0 draws as without the effect";
        Image const blurred = ReadPicture(Path("out/frame_00001.png"));
        EXPECT_NEAR(blurred.At(20, 12).g, 128, 24) << "half-way at the edge";
        EXPECT_GT(blurred.At(14, 12).g, blurred.At(24, 12).g);
        EXPECT_NEAR(blurred.At(39, 12).b, 0x80, 8) << "the clear colour where the layer is empty";
        EXPECT_NEAR(blurred.At(39, 12).r, 0, 8);
        EXPECT_EQ(blurred.At(1, 23), (Pixel{0, 255, 0, 255})) << "what comes later is sharp";
    }
    // Half of one pixel is none.
    Outcome const tiny = Play({Path("blur.json"), "--size", "1x8", "--out", Path("tiny.png")});
    EXPECT_EQ(tiny.nExitCode, 3);
    EXPECT_NE(tiny.errors.find("kelvo-player: frame 1: the scene's GaussianBlurEffect needs targets of half"),
              std::string::npos)
        << tiny.errors;
    EXPECT_FALSE(std::filesystem::exists(Path("tiny.png")));
}

TEST_F(PlayerTest, DrawsGroupsAndGlassWhereTheDeviceHasTargetsForThem) {
    Write("group.json",
          R"({"surface": {"size": [24, 16]}, "nodes": [{"class": "Timeline",
        "effects": [{"class": "GroupOpacityEffect", "Opacity": 0.5}], "children": [
            {"class": "Sprite", "Color": "#ff0000", "Size": [16, 16]},
            {"class": "Sprite", "Color": "#0000ff", "Size": [16, 16], "Position": [8, 0, 0]}]}]})");
    for (std::vector<std::string> const& how : {std::vector<std::string>{Path("group.json")},
                                                {Path("group.json"), "--post"},
                                                {Path("group.kelvo")}}) {
        std::vector<std::string> arguments = {"--out", Path("out.png")};
        arguments.insert(arguments.begin(), how.begin(), how.end());
        Outcome const outcome = Play(arguments);
        ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
        Image const picture = ReadPicture(Path("out.png"));
        EXPECT_TRUE(test::IsNear(picture.At(4, 8), {128, 0, 0}, 5));
        EXPECT_TRUE(test::IsNear(picture.At(12, 8), {0, 0, 128}, 5));
        ASSERT_EQ(Play({Path("group.json"), "--save", Path("group.kelvo")}).nExitCode, 0);
    }
    Write("glass.json",
          R"({"surface": {"size": [48, 16]}, "nodes": [
        {"class": "Sprite", "Color": "#ffffff", "Size": [24, 16]},
        {"class": "Sprite", "Color": "#ff0000", "Opacity": 0.5, "Size": [48, 8],
         "effects": [{"class": "BackdropBlurEffect", "Radius": 12}]}]})");
    for (std::vector<std::string> const& how : {std::vector<std::string>{}, {"--post"}}) {
        std::vector<std::string> arguments = {Path("glass.json"), "--out", Path("glass.png")};
        arguments.insert(arguments.end(), how.begin(), how.end());
        Outcome const outcome = Play(arguments);
        ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
        Image const picture = ReadPicture(Path("glass.png"));
        EXPECT_TRUE(test::IsNear(picture.At(20, 4), {255, 255, 255}, 5)) << "above the pane";
        // Halves of black or white and of the blur, of which about a sixth is missing, or there; then of red.
        EXPECT_TRUE(test::IsNear(picture.At(17, 12), {247, 117, 117}, 12));
        EXPECT_TRUE(test::IsNear(picture.At(30, 12), {138, 9, 9}, 12));
    }
    setenv("MESA_EXTENSION_OVERRIDE", "-GL_OES_packed_depth_stencil", 1);
    Outcome const lacking = Play({Path("group.json"), "--out", Path("lacking.png")});
    unsetenv("MESA_EXTENSION_OVERRIDE");
    EXPECT_EQ(lacking.nExitCode, 3);
    EXPECT_NE(lacking.errors.find("frame 0: the scene's GroupOpacityEffect needs targets"), std::string::npos)
        << lacking.errors;
}

TEST_F(PlayerTest, GivesTheSameBytesEveryTime) {
    ASSERT_EQ(Play({Showcase, "--frames", "10..12", "--out", Path("a")}).nExitCode, 0);
    ASSERT_EQ(Play({Showcase, "--frames", "10..12", "--out", Path("b"), "--jobs", "2"}).errors, "");
    ASSERT_EQ(Play({Showcase, "--frames", "12", "--out", Path("single.png")}).nExitCode, 0);
    TemporaryFolder::Bytes const last = m_folder.Read("single.png");
    for (char const* pName : {"/frame_00010.png", "/frame_00011.png", "/frame_00012.png"}) {
        TemporaryFolder::Bytes const bytes = m_folder.Read(std::string("a") + pName);
        EXPECT_EQ(bytes, m_folder.Read(std::string("b") + pName)) << pName;
        EXPECT_EQ(bytes == last, std::string(pName) == "/frame_00012.png") << pName;
    }
    EXPECT_FALSE(last.empty());
}

TEST_F(PlayerTest, WritesTheCallsThatItsDescriptionShows) {
    Outcome const outcome = Play({KELVO_EXAMPLES "/format/calls.json", "--calls", Path("calls.txt")},
                                 {"KELVO_EGL_PLATFORM=device:999"});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.output;
    std::string const description = ReadDataAsText(KELVO_EXAMPLES "/../docs/calls.md");
    std::string calls = m_folder.ReadText("calls.txt");
    std::size_t const nFolder = calls.find(KELVO_EXAMPLES);
    ASSERT_NE(nFolder, std::string::npos) << calls;
    calls.replace(nFolder, sizeof KELVO_EXAMPLES - 1, "examples"); // as from the folder of the sources
    EXPECT_NE(description.find("```\n" + calls + "```\n"), std::string::npos) << calls;
}

TEST_F(PlayerTest, PlaysASavedSceneAsTheOriginal) {
    Outcome const saved = Play({Showcase, "--save", Path("s.kelvo")}, {"KELVO_EGL_PLATFORM=device:999"});
    ASSERT_EQ(saved.nExitCode, 0) << saved.errors << "saving needs no device";
    std::string const groups = KELVO_EXAMPLES "/format/alpha-test-group.json";
    ASSERT_EQ(Play({groups, "--save", Path("g.kelvo")}).nExitCode, 0);
    struct {
        std::string original;
        char const* pSaved;
        char const* pFrames;
    } const cases[] = {{Showcase, "s.kelvo", "0"}, {Showcase, "s.kelvo", "47"}, {groups, "g.kelvo", "0"}};
    for (auto const& scene : cases) {
        ASSERT_EQ(Play({scene.original, "--frames", scene.pFrames, "--out", Path("o.png")}).nExitCode, 0);
        ASSERT_EQ(Play({Path(scene.pSaved), "--frames", scene.pFrames, "--out", Path("k.png")}).nExitCode, 0);
        EXPECT_TRUE(ReadPicture(Path("o.png")) == ReadPicture(Path("k.png"))) << scene.pSaved;
    }
    // Saving what was saved gives the same file.
    ASSERT_EQ(Play({Path("s.kelvo"), "--save", Path("again.kelvo"), "--size", "9x9"}).nExitCode, 0);
    EXPECT_EQ(m_folder.Read("again.kelvo"), m_folder.Read("s.kelvo"));
}

TEST_F(PlayerTest, LeavesOldFilesAloneWhenItFails) {
    Write("old.png", "a picture");
    Write("bad.json", "{}");
    Write("old.kelvo", "a scene");
    EXPECT_EQ(Play({Path("bad.json"), "--out", Path("old.png"), "--save", Path("old.kelvo")}).nExitCode, 1);
    EXPECT_EQ(m_folder.Read("old.png").size(), 9u);
    EXPECT_EQ(m_folder.Read("old.kelvo").size(), 7u);
    struct {
        std::vector<std::string> arguments;
        char const* pError;
    } const cases[] = {
        {{"--out", Path("old.png/folder")}, "cannot be made a folder"},
        {{"--out", Path("none/a.png")}, "No such file or directory"},
        {{"--out", Path("none/a.webp"), "--size", "16384x1"}, "cannot be created: No such file"}, // at once
        {{"--save", Path("none/a.kelvo")}, "a.kelvo"},
        {{"--calls", Path("none/a.txt")}, "none/a.txt: cannot be created: No such file or directory"},
    };
    for (auto const& test : cases) {
        std::vector<std::string> arguments = test.arguments;
        arguments.insert(arguments.begin(), Path("scene.json"));
        Outcome const outcome = Play(arguments);
        EXPECT_EQ(outcome.nExitCode, 1) << test.pError;
        EXPECT_NE(outcome.errors.find(test.pError), std::string::npos) << outcome.errors;
    }
    EXPECT_EQ(m_folder.List(), (std::vector<std::string>{"bad.json", "old.kelvo", "old.png", "scene.json"}));
}

TEST_F(PlayerTest, NamesTheNodesAtAPoint) {
    Write("pick.json", R"({"surface": {"size": [40, 20]}, "nodes": [
        {"class": "Sprite", "name": "below", "Color": "#ff0000", "Size": [5, 10], "Position": [30, 10, 0]},
        {"class": "TransformNode", "name": "group", "Position": {"samples": [[0, 0, 0], [20, 0, 0]]}, "children": [
            {"class": "Sprite", "Color": "#ff0000", "Size": [5, 5], "Position": [10, 10, 0]}]}]})");
    auto const pick = [&](char const* pFrame, char const* pPoint) {
        return Play({Path("pick.json"), "--frames", pFrame, "--pick", pPoint}).output;
    };
    // The middle of the pixel, from the upper left: 2.5 of 5 units to the right and 2.5 up.
    EXPECT_TRUE(std::regex_match(
        pick("0", "12,7"),
        std::regex("Sprite  .*/pick\\.json:4 at 0\\.500, 0\\.500 of its size, distance [0-9.]+\n")))
        << pick("0", "12,7");
    EXPECT_EQ(pick("0", "12,12"), "nothing at 12,12\n");
    // On the next frame it lies over the other; what is drawn last comes first.
    EXPECT_TRUE(std::regex_match(
        pick("1", "32,7"),
        std::regex(".*json:4 at 0\\.500, 0\\.500 .*\nSprite \"below\"  .*json:2 at 0\\.500, 0\\.250 .*\n")))
        << pick("1", "32,7");
}

TEST_F(PlayerTest, ReportsDriverThenFigures) {
    Outcome const outcome = Play({Path("scene.json"), "--stats"});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    std::size_t nAt = 0;
    for (char const* pPart : {"display ",
                              "vendor ",
                              "renderer ",
                              "version ",
                              "surface     red 8, green 8, blue 8",
                              "missing ",
                              "first frame ",
                              " ms; the other 4: median ",
                              "a frame's number of ",
                              "draws  ",
                              "the scene's memory ",
                              "bytes",
                              "animations ",
                              "counter ",
                              "bytes",
                              "texture memory",
                              "scope ",
                              "first ms",
                              "median ms",
                              "p95 ms",
                              "p99 ms",
                              "sprite render",
                              "present",
                              "frame"}) {
        std::size_t const nFound = outcome.output.find(pPart, nAt);
        EXPECT_NE(nFound, std::string::npos) << pPart << " in order in\n" << outcome.output;
        nAt = nFound == std::string::npos ? nAt : nFound;
    }
    // Five frames of two sprites each.
    EXPECT_TRUE(std::regex_search(outcome.output, std::regex("sprite render +10 +2\\.0 "))) << outcome.output;
}

TEST_F(PlayerTest, ReportsAsJson) {
    Outcome const outcome = Play({Path("scene.json"), "--stats=json", "--quiet"});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.output.rfind("{\n  \"display\": \"", 0), 0u) << outcome.output;
    for (char const* pPart :
         {"\"surface\": {\n    \"red\": 8,",
          "\"frames\": 5,\n  \"pictures\": 0,\n  \"firstFrame\": {\n    \"milliseconds\": ",
          "\"otherFrames\": {\n    \"medianMilliseconds\": ",
          "\"draws\": {\n      \"firstFrame\": 2,\n      \"median\": 2,\n      \"largest\": 2,\n      "
          "\"total\": 10\n",
          "\"memory\": {\n    \"objects\": {\n      \"bytes\": ",
          "\"sprite render\": {\n      \"calls\": 10,\n      \"callsPerFrame\": 2.0,"}) {
        EXPECT_NE(outcome.output.find(pPart), std::string::npos) << pPart << " in\n" << outcome.output;
    }
}

TEST_F(PlayerTest, CountsWhatTheFramesAskOfGl) {
    for (char const* pScene : {"/showcase/scene.json", "/masks/scene.json", "/text/scene.json"}) {
        std::string const scene = std::string(KELVO_EXAMPLES) + pScene;
        std::string const calls = Play({scene, "--frames", "1..4", "--calls", "-"}).output;
        auto const count = [&](std::regex const& call) {
            return std::distance(std::sregex_iterator(calls.begin(), calls.end(), call),
                                 std::sregex_iterator());
        };
        nlohmann::json const report =
            nlohmann::json::parse(Play({scene, "--frames", "1..4", "--stats=json"}).output, nullptr, false);
        ASSERT_TRUE(report.contains("drawn")) << scene;
        EXPECT_EQ(report["drawn"]["calls"]["total"], count(std::regex("\\n *gl[A-Z]"))) << scene;
        EXPECT_EQ(report["drawn"]["draws"]["total"], count(std::regex("\\n *glDraw"))) << scene;
        EXPECT_LT(0, report["drawn"]["triangles"]["median"]);
        EXPECT_LE(report["drawn"]["triangles"]["median"], report["drawn"]["triangles"]["largest"]);
    }
}

TEST_F(PlayerTest, TellsAsMuchAsIsAskedFor) {
    // Half of a pixel is no target, which is logged.
    Write("bad.json", R"({"surface": {"size": [1, 8]}, "nodes": [{"class": "Timeline", "effects":
        [{"class": "GaussianBlurEffect", "BlurAmount": 1}]}]})");
    auto const tell = [&](char const* pScene, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {Path(pScene), "--out", Path("o.png")});
        return Play(arguments).errors;
    };
    for (std::vector<std::string> const& some :
         {std::vector<std::string>{}, {"--quiet", "--log-level", "error"}}) {
        EXPECT_NE(tell("bad.json", some).find("[kelvo] A GaussianBlurEffect has no resource: "),
                  std::string::npos);
    }
    for (std::vector<std::string> const& none :
         {std::vector<std::string>{"--quiet"}, {"--log-level", "none"}}) {
        std::string const told = tell("bad.json", none);
        EXPECT_EQ(told.find(" has no resource"), std::string::npos) << told;
        EXPECT_NE(told.find("kelvo-player: frame 0: "), std::string::npos) << "the reason itself stays";
    }
    EXPECT_EQ(tell("scene.json", {}), "");
    std::string const told = tell("scene.json", {"--verbose"});
    for (char const* pPart :
         {"scene.json: frames 2..6, 41x23 pixels, rgb888\n", "drawn with ", "frame 6: written\n"}) {
        EXPECT_NE(told.find(pPart), std::string::npos) << pPart << " in\n" << told;
    }
}

TEST_F(PlayerTest, TakesTheProgressBarOffTheTerminalBeforeItComplains) {
    std::filesystem::create_directories(Path("out/frame_00004.png"));
    std::string const command =
        std::string(KELVO_PLAYER) + " " + Path("scene.json") + " --out " + Path("out");
    Outcome const outcome = RunProgram("/usr/bin/script", {"-qec", command, "/dev/null"}); // on a terminal
    EXPECT_EQ(outcome.nExitCode, 1);
    EXPECT_NE(outcome.output.find("] 2 of 5 frames\r\033[Kkelvo-player: "), std::string::npos)
        << outcome.output;
    Outcome const quiet = RunProgram("/usr/bin/script", {"-qec", command + " --quiet", "/dev/null"});
    EXPECT_EQ(quiet.output.rfind("kelvo-player: ", 0), 0u) << quiet.output;
}

TEST_F(PlayerTest, LeavesWholeFilesWhenASignalEndsIt) {
    struct {
        int nSignal;
        char const* pJobs;
    } const cases[] = {{SIGINT, "1"}, {SIGTERM, "1"}, {SIGHUP, "2"}, {SIGTERM, "3"}};
    for (auto const& test : cases) {
        int const nSignal = test.nSignal;
        bool const fAlone = test.pJobs == std::string("1");
        std::string const pictures = Path("pictures" + std::to_string(nSignal) + test.pJobs);
        auto const hasStarted = [&] { return std::filesystem::exists(pictures + "/frame_00001.png"); };
        Outcome const outcome = RunProgram(
            KELVO_PLAYER,
            {Showcase, "--frames", "0..100000", "--out", pictures, "--jobs", test.pJobs, "--quiet"}, {},
            hasStarted, nSignal);
        EXPECT_EQ(outcome.nExitCode, 128 + nSignal);
        EXPECT_EQ(outcome.errors.rfind("kelvo-player: interrupted", 0), 0u) << outcome.errors;
        EXPECT_EQ(outcome.errors.find(" before frame ") != std::string::npos, fAlone) << outcome.errors;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1);
        int nPictures = 0;
        for (auto const& file : std::filesystem::directory_iterator(pictures)) {
            EXPECT_TRUE(std::regex_match(file.path().filename().string(), std::regex("frame_[0-9]{5}\\.png")))
                << file.path();
            EXPECT_EQ(ReadPicture(file.path().string()).Width(), 640);
            ++nPictures;
        }
        EXPECT_GE(nPictures, 2);
    }
}

TEST_F(PlayerTest, EndsWhereASignalHasComeWhileItReadTheScene) {
    Write("empty.json", R"({"nodes": []})");
    std::vector<std::string> const all{Path("empty.json"), "--backend", KELVO_SIGNALLING_BACKEND};
    for (std::vector<std::string> const& options :
         {std::vector<std::string>{"--check"}, {"--save", Path("s.kelvo")}, {"--calls", Path("c.txt")}}) {
        std::vector<std::string> words = all;
        words.insert(words.end(), options.begin(), options.end());
        Outcome const outcome = Play(words);
        EXPECT_EQ(outcome.nExitCode, 128 + SIGTERM) << options[0];
        EXPECT_EQ(outcome.errors, "kelvo-player: interrupted\n") << options[0];
        EXPECT_FALSE(std::filesystem::exists(options.back())) << options[0];
    }
}

TEST_F(PlayerTest, SaysThatItsOutputCannotBeWritten) {
    for (std::string const& arguments :
         {std::string("--help"), std::string("--version"), Path("scene.json") + " --stats",
          Path("scene.json") + " --pick 1,1", std::string("--schema")}) {
        for (std::string const to : {">/dev/full", ">&-"}) {
            Outcome const outcome = RunShell("player " + arguments + " " + to);
            EXPECT_EQ(outcome.nExitCode, 1) << arguments << to;
            EXPECT_EQ(outcome.errors,
                      std::string("kelvo-player: standard output: cannot be written: ") +
                          (to == ">&-" ? "Bad file descriptor\n" : "No space left on device\n"));
        }
    }
    std::string const draw = "player " + Path("scene.json") + " --out " + Path("a.png");
    EXPECT_EQ(RunShell(draw + " <&- >&- 2>&-").nExitCode, 0) << "nothing to write there";
    EXPECT_EQ(ReadPicture(Path("a.png")).Width(), 41);
}

} // namespace
} // namespace kelvokit::player::testing
