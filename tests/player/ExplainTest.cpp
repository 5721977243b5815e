// What a frame costs, node by node: against the calls that the recording driver notes, and against scenes of
// which every pixel is known.

#include "ProcessRunner.h"
#include "kelvo_test/GoldenText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using nlohmann::json;

/** The calls that were made for a node itself: of each function, how many. */
struct NodeCalls {
    std::string node; ///< class, and name in quotes where it has one
    std::map<std::string, unsigned int> calls;

    bool operator==(NodeCalls const& other) const { return node == other.node && calls == other.calls; }
};

std::ostream& operator<<(std::ostream& out, NodeCalls const& calls) {
    out << calls.node;
    for (auto const& call : calls.calls) {
        out << " " << call.first << " " << call.second;
    }
    return out;
}

/** Of the last frame in what --calls writes: nodes that make none are left out. */
std::vector<NodeCalls> ReadCalls(std::string const& text) {
    static std::regex const call("( *)(gl[A-Z][A-Za-z0-9]*)\\(.*");
    static std::regex const heading("( *)([A-Z][A-Za-z]+( \".*\")?)  .*");
    std::vector<NodeCalls> nodes;
    std::vector<std::size_t> open; // from the frame to the node that calls are made for
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (line.rfind("frame ", 0) == 0) {
            nodes = {{"Timeline", {}}};
            open = {0};
        } else if (std::regex_match(line, match, call)) {
            open.resize(match[1].str().size() / 2);
            ++nodes[open.back()].calls[match[2]];
        } else if (std::regex_match(line, match, heading)) {
            open.resize(match[1].str().size() / 2);
            open.push_back(nodes.size());
            nodes.push_back({match[2], {}});
        }
    }
    nodes.erase(
        std::remove_if(nodes.begin(), nodes.end(), [](NodeCalls const& node) { return node.calls.empty(); }),
        nodes.end());
    return nodes;
}

std::string Describe(json const& node) {
    std::string const name = node["name"];
    return std::string(node["class"]) + (name.empty() ? "" : " \"" + name + "\"");
}

/** The same from an explanation. */
std::vector<NodeCalls> GetCalls(json const& explanation) {
    std::vector<NodeCalls> nodes;
    for (json const& node : explanation["nodes"]) {
        if (!node["itself"]["callsByFunction"].empty()) {
            nodes.push_back({Describe(node), node["itself"]["callsByFunction"]});
        }
    }
    return nodes;
}

/** What adds up in a tree of nodes. */
char const* const Sums[] = {"draws",
                            "triangles",
                            "calls",
                            "programChanges",
                            "programRepetitions",
                            "textureChanges",
                            "textureRepetitions",
                            "blendChanges",
                            "blendRepetitions",
                            "writtenPixels",
                            "writtenOffScreen",
                            "updateMilliseconds",
                            "renderMilliseconds"};

class ExplainTest : public ::testing::Test {
protected:
    /** Three layers on 41 by 23 pixels: a masked timeline with two sprites, one below the other, and a third.
     */
    ExplainTest() {
        m_folder.WriteText("scene.json", R"({
  "surface": {"size": [41, 23], "format": "rgb888"}, "frames": [2, 6],
  "nodes": [
    {"class": "Timeline", "name": "panel", "Position": [5, 3, 0],
     "masks": [[[0, 0, 0], [10, 0, 0], [0, 10, 0], [0, 10, 0], [10, 0, 0], [10, 10, 0]]],
     "children": [
      {"class": "Sprite", "name": "one", "Color": "#ff0000", "Size": [20, 10], "children": [
        {"class": "Sprite", "name": "übergroßer Name, der nicht in die Spalte passt", "Size": [4, 10]}]}]},
    {"class": "Sprite", "name": "two", "Color": "#00ff00", "Size": [12, 40], "Position": [12, 8, 0]},
    {"class": "Sprite", "name": "hidden", "Size": [9, 9], "Visible": false},
    {"use": "group"}
  ], "templates": {"group": {"node": {
    "class": "TransformNode", "name": "group", "masks": [[[0, 0, 0], [1, 0, 0], [0, 1, 0]]]}}}})");
    }

    std::string Path(std::string const& name) const { return m_folder.Path(name); }

    json Explain(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--explain=json", "--quiet"});
        Outcome const outcome = Play(arguments);
        EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        return json::parse(outcome.output, nullptr, false);
    }

    TemporaryFolder m_folder;
};

TEST_F(ExplainTest, SumsAreTheRecordedCallsAndThePictureIsTheSame) {
    for (std::string const scene : {"masks", "blur", "text"}) {
        SCOPED_TRACE(scene);
        std::string const path = KELVO_EXAMPLES "/" + scene + "/scene.json";
        // The frame before has made what is made once.
        std::vector<std::string> const frames = {path, "--frames", "44..45"};
        auto const with = [&](std::vector<std::string> const& more) {
            std::vector<std::string> all = frames;
            all.insert(all.end(), more.begin(), more.end());
            return all;
        };
        json const explanation = Explain(with({"--out", Path("explained.png")}));
        EXPECT_EQ(GetCalls(explanation), ReadCalls(Play(with({"--calls", "-"})).output));
        EXPECT_EQ(explanation["unmeasuredDraws"], 0);
        ASSERT_EQ(Play(with({"--out", Path("plain.png")})).nExitCode, 0);
        EXPECT_EQ(m_folder.Read("explained.png"), m_folder.Read("plain.png"));
        for (char const* const pSum : Sums) {
            double rSum = 0;
            for (json const& node : explanation["nodes"]) {
                rSum += double(node["itself"][pSum]);
            }
            EXPECT_NEAR(rSum, double(explanation["nodes"][0]["sum"][pSum]), 1e-6) << pSum;
        }
        std::map<std::string, unsigned int> calls = explanation["nodes"][0]["sum"]["callsByFunction"];
        EXPECT_EQ(calls["glDrawArrays"] + calls["glDrawElements"], explanation["nodes"][0]["sum"]["draws"]);
    }
}

TEST_F(ExplainTest, TellsCoveredAndWrittenPixelsOfNodesAndOfWhatLiesBelowThem) {
    json const explanation = Explain({Path("scene.json")});
    EXPECT_EQ(explanation["nodes"][2]["path"], "/panel/one");
    EXPECT_EQ(explanation["nodes"][2]["line"], 7);
    EXPECT_EQ(explanation["nodes"][2]["way"], "/nodes/0/children/0");
    EXPECT_EQ(explanation["nodes"][2]["parent"], 1);
    EXPECT_FALSE(explanation["nodes"][2].contains("use"));
    EXPECT_EQ(explanation["nodes"][6]["use"], "template \"group\", used at " + Path("scene.json") + ":11");
    EXPECT_EQ(explanation["nodes"][2]["warnings"], json::array());
    ASSERT_EQ(explanation["nodes"][6]["warnings"].size(), 1u);
    EXPECT_EQ(explanation["nodes"][6]["warnings"][0]["id"], "masks-not-drawn");
    std::map<std::string, std::vector<int>> pixels; // covered and written, itself and in sum
    for (json const& node : explanation["nodes"]) {
        pixels[std::string(node["name"]).substr(0, 4)] = {
            node["itself"]["coveredPixels"], node["itself"]["writtenPixels"], node["sum"]["coveredPixels"],
            node["sum"]["writtenPixels"]};
    }
    std::map<std::string, std::vector<int>> const expected = {
        {"", {0, 0, 100 + 12 * 15 - 3 * 5, 140 + 12 * 15}},
        {"pane", {0, 0, 100, 140}}, // the mask writes stencil values alone
        {"one", {100, 100, 100, 140}},
        {"\xc3\xbc\x62\x65", {40, 40, 40, 40}},
        {"two", {12 * 15, 12 * 15, 12 * 15, 12 * 15}},
        {"hidd", {0, 0, 0, 0}},
        {"grou", {0, 0, 0, 0}}};
    EXPECT_EQ(pixels, expected);
}

TEST_F(ExplainTest, PrintsTheDearestNodesThenTheTree) {
    Outcome const outcome = Play({Path("scene.json"), "--frames", "3", "--explain"});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
    // Which nodes take longest changes from run to run, and so do times.
    std::size_t const nTimes = outcome.output.find("Dearest by time");
    std::size_t const nPixels = outcome.output.find("Dearest by pixels");
    ASSERT_LT(nTimes, nPixels);
    std::string text = outcome.output.substr(0, nTimes) + outcome.output.substr(nPixels);
    std::string const folder = Path("");
    for (std::size_t nAt = 0; (nAt = text.find(folder, nAt)) != std::string::npos;) {
        text.erase(nAt, folder.size());
    }
    text = std::regex_replace(text, std::regex("drawn with .*"), "drawn with  ...");
    text = std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9]{3} ms"), " T ms");
    text = std::regex_replace(text, std::regex("medians of [0-9]+"), "medians of N");
    text = std::regex_replace(text, std::regex(" +[0-9]+\\.[0-9]{3} +[0-9]+\\.[0-9]{3}\n"), " T T\n");
    EXPECT_TRUE(test::IsGolden(KELVO_TEST_ASSETS "/explanation.txt", text));
    std::istringstream lines(outcome.output.substr(outcome.output.find("\nAll nodes")));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 120u + 4) << line; // two letters of the long name have two bytes
    }
}

TEST_F(ExplainTest, NamesIncludedFilesAndStandardInputAndWarnsOfWhatIsAskedFor) {
    m_folder.WriteText("parts.json", R"({"templates": {"glass": {"node":
        {"class": "Timeline", "effects": [{"class": "GaussianBlurEffect", "BlurAmount": 1}]}}}})");
    m_folder.WriteText("input",
                       R"({"surface": {"size": [9, 9], "format": "rgba8888"}, "clearColor": "transparent",
        "include": [")" + Path("parts.json") +
                           R"("], "nodes": [{"use": "glass"}]})");
    std::string const player = "player - --explain=7 <" + Path("input");
    std::string const text = RunShell(player).output;
    EXPECT_EQ(text.find("frame       7 of standard input, 9x9 pixels\n"), 0u) << text;
    EXPECT_TRUE(std::regex_search(
        text, std::regex("\nTimeline :1 .*\n  warning \\[frames-outside\\]\n.*"
                         "\n  Timeline parts\\.json:2 .*\n    warning \\[blur-opaque\\]\n")))
        << text;
    EXPECT_EQ(RunShell(player + " --quiet --explain=json | grep -c '\"scene\": *\"standard input\"'").output,
              "1\n");
}

TEST_F(ExplainTest, DrawsHowOftenPixelsAreWrittenAndALegend) {
    Outcome const outcome = Play({Path("scene.json"), "--overdraw", Path("heat.png"), "--verbose"});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(
        outcome.errors.find("kelvo-player: each pixel is written 0.34 times in the mean; most, at 5,10, "
                            "2 times\n"),
        std::string::npos)
        << outcome.errors;
    Image const picture = ReadPicture(Path("heat.png"));
    Image expected(picture.Width(), 23, {0x20, 0x20, 0x20, 255});
    Pixel const once = {0x14, 0x28, 0x5a, 255}, twice = {0x1f, 0x4f, 0xa8, 255};
    expected.Fill(0, 0, 41, 23, {0, 0, 0, 255});
    expected.Fill(5, 10, 10, 10, once); // 3 to 12 from below
    expected.Fill(5, 10, 4, 10, twice);
    expected.Fill(12, 0, 12, 15, once);
    expected.Fill(12, 10, 3, 5, twice);
    EXPECT_TRUE(CompareImages(picture.Cut(0, 0, picture.Width(), 23), expected));
    std::string legend;
    for (int y = 23; y < picture.Height(); ++y) {
        std::string line;
        for (int x = 0; x < picture.Width(); ++x) {
            Pixel const& pixel = picture.At(x, y);
            line += pixel.r == 0xf0 && pixel.b == 0xf0 ? '#' : pixel.r == 0x20 && pixel.g == 0x20 ? ' ' : ':';
        }
        legend += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    EXPECT_TRUE(test::IsGolden(KELVO_TEST_ASSETS "/heat-map-legend.txt", legend));
}

TEST_F(ExplainTest, EndsWithAReasonWhereItCannotExplain) {
    std::string const scene = Path("scene.json");
    Outcome const unwritten = Play({scene, "--overdraw", Path("none/heat.png")});
    EXPECT_EQ(unwritten.nExitCode, 1);
    EXPECT_NE(unwritten.errors.find("kelvo-player: " + Path("none/heat.png") + ": "), std::string::npos)
        << unwritten.errors;
    Outcome const full = RunShell("player " + scene + " --explain >/dev/full");
    EXPECT_EQ(full.nExitCode, 1);
    EXPECT_NE(full.errors.find("standard output: cannot be written"), std::string::npos) << full.errors;
    Outcome const traced = Play({scene, "--explain"}, {"ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0",
                                                       std::string("LD_PRELOAD=") + KELVO_OTHER_GL});
    EXPECT_EQ(traced.nExitCode, 3);
    EXPECT_NE(traced.errors.find("another library takes GL's calls"), std::string::npos) << traced.errors;
    EXPECT_EQ(traced.output, "");
    Outcome const none = Play({scene, "--explain"}, {"KELVO_EGL_PLATFORM=device:999"});
    EXPECT_EQ(none.nExitCode, 3);
    EXPECT_EQ(none.output, "");
}

} // namespace
} // namespace kelvokit::player::testing
