// The trace file: events as tools that show traces want them, nested as the scene is.

#include "ProcessRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using nlohmann::json;

class Trace : public ::testing::Test {
protected:
    Trace() {
        m_folder.WriteText("scene.json",
                           R"({"surface": {"size": [41, 23], "format": "rgb888"}, "frames": [0, 9],
  "nodes": [
    {"class": "TransformNode", "name": "group", "children": [
      {"class": "Sprite", "name": "red \"1\"", "Color": "#ff0000", "Size": [7, 3]}]},
    {"class": "Timeline", "name": "film", "children": [
      {"class": "Sprite", "Color": "#00ff00", "Size": [1, 1]}]}]})");
    }

    std::string Path(std::string const& name) const { return m_folder.Path(name); }

    /** The events of a trace that the player writes. */
    json Read(std::vector<std::string> const& options) const {
        std::vector<std::string> arguments = {Path("scene.json"), "--trace", Path("trace.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Outcome const outcome = Play(arguments);
        EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
        return json::parse(m_folder.ReadText("trace.json"), nullptr, false)["traceEvents"];
    }

    TemporaryFolder m_folder;
};

/** Whether a time has at most the nanoseconds that the clock has, in microseconds. */
bool IsTime(json const& value) {
    return value.is_number() && value.get<double>() >= 0;
}

long long ToNanoseconds(json const& microseconds) {
    return static_cast<long long>(microseconds.get<double>() * 1000 + 0.5);
}

/** What is wrong with an event by the format's rules; empty for nothing. */
std::string FindFault(json const& event) {
    static std::map<std::string, std::set<std::string>> const s_keys = {
        {"X", {"ph", "name", "cat", "ts", "dur", "pid", "tid"}},
        {"C", {"ph", "name", "ts", "pid", "tid", "args"}},
        {"M", {"ph", "name", "pid", "tid", "args"}},
    };
    auto const keys = s_keys.find(event.value("ph", ""));
    if (keys == s_keys.end()) {
        return "unknown phase";
    }
    for (std::string const& key : keys->second) {
        bool const fTime = key == "ts" || key == "dur";
        bool const fNumber = key == "pid" || key == "tid";
        if (!event.contains(key) || (fTime           ? !IsTime(event[key])
                                     : fNumber       ? !event[key].is_number_unsigned()
                                     : key != "args" ? !event[key].is_string()
                                                     : !event[key].is_object() || event[key].empty())) {
            return key;
        }
    }
    bool const fName = keys->first == "M";
    if (fName && (!event["args"].contains("name") || !event["args"]["name"].is_string())) {
        return "args.name";
    }
    for (json const& value : keys->first == "C" ? event["args"] : json::array()) {
        if (!value.is_number()) {
            return "a counter's value";
        }
    }
    return "";
}

/** The names of what took time, each below and within what is around it. */
std::string ToOutline(json const& events) {
    struct Around {
        long long start, end;
    };
    std::vector<Around> around;
    std::string outline;
    for (json const& event : events) {
        if (event["ph"] != "X") {
            continue;
        }
        long long const start = ToNanoseconds(event["ts"]);
        long long const end = start + ToNanoseconds(event["dur"]);
        EXPECT_TRUE(around.empty() || start >= around.back().start) << event;
        // What takes no time may stand at the end of what is around it.
        while (!around.empty() && (around.back().end < end || around.back().end <= start)) {
            EXPECT_LE(around.back().end, start) << event << " begins within another one and ends behind it";
            around.pop_back();
        }
        outline += std::string(2 * around.size(), ' ') + event["name"].get<std::string>() + "\n";
        around.push_back({start, end});
    }
    return outline;
}

constexpr char const* Frame = R"(frame #
  update
    Timeline
      TransformNode "group"
        Sprite "red "1""
      Timeline "film"
        Sprite
  draw
    Timeline
      timeline before children
      TransformNode "group"
        Sprite "red "1""
          sprite render
      Timeline "film"
        timeline before children
        Sprite
          sprite render
        timeline after children
      timeline after children
  read back
  show
    present
  write the picture
)";

TEST_F(Trace, HasEveryNodeOfEveryFrameWithinTheNodeAboveIt) {
    json const events = Read({"--frames", "0..2", "--out", Path("")});
    std::map<std::string, unsigned int> values;
    for (json const& event : events) {
        EXPECT_EQ(FindFault(event), "") << event;
        values[event["ph"].get<std::string>() + " " + event["name"].get<std::string>()] += 1;
        if (event["name"] == "Sprite \"red \"1\"\"") {
            EXPECT_EQ(event["args"],
                      json({{"file", Path("scene.json")}, {"line", 4}, {"way", "/nodes/0/children/0"}}));
        }
    }
    EXPECT_EQ(values["M process_name"], 1u);
    EXPECT_EQ(values["M thread_name"], 1u);
    EXPECT_GE(values["C texture memory"], 3u);
    EXPECT_EQ(values["C draws"], 3u);
    std::string expected = "read the scene\ndevice initialisation\nshader initialisation\n";
    for (char const number : {'0', '1', '2'}) {
        expected += std::string(Frame).replace(6, 1, 1, number);
    }
    EXPECT_EQ(ToOutline(events), expected);
}

TEST_F(Trace, IsWrittenWholeOrNotAtAll) {
    Outcome const full = Play({Path("scene.json"), "--trace", "/dev/full"});
    EXPECT_EQ(full.nExitCode, 1);
    EXPECT_NE(full.errors.find("/dev/full"), std::string::npos) << full.errors;
    EXPECT_EQ(Play({Path("none.json"), "--trace", Path("trace.json")}).nExitCode, 1);
    EXPECT_EQ(Play({Path("scene.json"), "--trace", Path("none/trace.json")}).nExitCode, 1);
    EXPECT_EQ(m_folder.List(), std::vector<std::string>{"scene.json"});
    Outcome const streamed = Play({Path("scene.json"), "--frames", "3", "--trace", "-"});
    EXPECT_EQ(streamed.nExitCode, 0) << streamed.errors;
    EXPECT_FALSE(json::parse(streamed.output, nullptr, false).is_discarded()) << streamed.output;
}

} // namespace
} // namespace kelvokit::player::testing
