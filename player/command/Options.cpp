#include "command/Options.h"

#include "command/Paths.h"
#include "command/Version.h"
#include "kelvo_host/Scene.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>

namespace kelvokit::player {

using trevik::RectangleT;
using trevik::SizeT;
using trevik::TraceLevel;
using trevik::Vector2T;
using trevik::kelvo::DeviceFormat;
using trevik::kelvo::SceneSettings;

namespace {

constexpr int LargestSurface = SceneSettings::MaximumSide;
constexpr int MostJobs = 256;
constexpr int LastFrame = SceneSettings::MaximumFrame;

struct FormatName {
    char const* pName;
    DeviceFormat::Enum format;
};
constexpr FormatName FormatNames[] = {
    {"rgb565", DeviceFormat::RGB565},
    {"rgb888", DeviceFormat::RGB888},
    {"rgba8888", DeviceFormat::RGBA8888},
};

char const* const Description =
    "Plays a scene off-screen and turns its frames into pictures. Frames are played in fixed\n"
    "steps of the scene's frame rate, however long they take to draw, so the same scene gives\n"
    "the same pictures every time.";

char const* const Footer =
    "Examples:\n"
    "  kelvo-player scene.json --out pictures     every frame, as pictures/frame_00000.png ...\n"
    "  kelvo-player scene.json --frames 45 --out still.png\n"
    "                                             one frame\n"
    "  kelvo-player scene.json --out - --format y4m | ffmpeg -i - scene.mp4\n"
    "                                             a film; docs/player.md has more of these\n"
    "  kelvo-player scene.json --stats            no pictures: what was drawn with, and how fast\n"
    "  kelvo-player scene.json --save scene.kelvo the scene with its textures in one binary file,\n"
    "                                             which plays as the .json does\n"
    "  kelvo-player scene.kelvo --frames 10 --pick 320,180\n"
    "                                             the nodes at a point of frame 10, nearest first\n"
    "  kelvo-player scene.json --frames 10 --shot 20,10,64,48 --out part.png\n"
    "                                             a rectangle of frame 10\n"
    "  kelvo-player scene.json --frames 10 --calls calls.txt\n"
    "                                             what frame 10 has GL do, node by node\n"
    "\n"
    "Pictures are PNG files. Of an rgba8888 surface they have the alpha that the surface ended up\n"
    "with, the other formats are opaque. A picture appears whole or not at all, also when the\n"
    "player is interrupted. --post draws each frame into a target of 5, 6 and 5 bits first, and from\n"
    "there onto the surface, opaque. A frame in which a GaussianBlurEffect is at work is on the\n"
    "surface when it has been drawn, and stays as it is.\n"
    "\n"
    "Exit codes: 0 done; 1 a scene or picture cannot be read or written; 2 the command line makes\n"
    "no sense; 3 there is no back end, no graphics device, or it cannot do what the scene or --post\n"
    "needs; 129 the terminal is gone (SIGHUP); 130 interrupted (Ctrl-C); 143 asked to end (SIGTERM).\n"
    "Standard output that cannot be written, unless it is a pipe that has been closed, is a file that\n"
    "cannot be; frames that differ from those of --compare end with 1, too.\n"
    "\n"
    "Environment: KELVO_EGL_PLATFORM chooses what is drawn with: surfaceless, device or device:N.";

/** The whole text as a number in a range; nothing when it is anything else. */
std::optional<int> ReadNumber(std::string const& text, int nMinimum, int nMaximum) {
    if (text.empty() || text.size() > 9) {
        return std::nullopt;
    }
    int nNumber = 0;
    for (char const unit : text) {
        if (!std::isdigit(static_cast<unsigned char>(unit))) {
            return std::nullopt;
        }
        nNumber = nNumber * 10 + (unit - '0');
    }
    return nNumber >= nMinimum && nNumber <= nMaximum ? std::optional<int>(nNumber) : std::nullopt;
}

/** Two numbers with `separator` between them. */
bool ReadPair(std::string const& text, std::string const& separator, int nMinimum, int nMaximum, int& nFirst,
              int& nSecond) {
    std::size_t const nAt = text.find(separator);
    if (nAt == std::string::npos) {
        return false;
    }
    std::optional<int> const first = ReadNumber(text.substr(0, nAt), nMinimum, nMaximum);
    std::optional<int> const second = ReadNumber(text.substr(nAt + separator.size()), nMinimum, nMaximum);
    if (!first || !second) {
        return false;
    }
    nFirst = *first;
    nSecond = *second;
    return true;
}

std::string ReadFrames(std::string const& text, Options& options) {
    FrameRange range{0, 0};
    if (std::optional<int> const frame = ReadNumber(text, 0, LastFrame)) {
        range = {*frame, *frame};
    } else if (!ReadPair(text, "..", 0, LastFrame, range.nFirst, range.nLast) || range.nLast < range.nFirst) {
        return "expected a frame (45) or a first and a last one (0..89), found \"" + text + "\"";
    }
    options.frames = range;
    return "";
}

std::string ReadSize(std::string const& text, Options& options) {
    SizeT<int> size;
    if (!ReadPair(text, "x", 1, LargestSurface, size.width, size.height)) {
        return "expected width and height from 1 to " + std::to_string(LargestSurface) +
               " pixels (640x360), found \"" + text + "\"";
    }
    options.size = size;
    return "";
}

std::string ReadPoint(std::string const& text, Options& options) {
    Vector2T<int> point;
    if (!ReadPair(text, ",", 0, LargestSurface, point.x, point.y)) {
        return "expected a point in pixels from the upper left corner (320,180), found \"" + text + "\"";
    }
    options.pick = point;
    return "";
}

std::string ReadShot(std::string const& text, Options& options) {
    RectangleT<int> shot;
    std::size_t const nComma = text.find(',');
    std::size_t const nAt = nComma == std::string::npos ? nComma : text.find(',', nComma + 1);
    SizeT<int> size;
    if (nAt == std::string::npos ||
        !ReadPair(text.substr(0, nAt), ",", 0, LargestSurface, shot.left, shot.top) ||
        !ReadPair(text.substr(nAt + 1), ",", 1, LargestSurface, size.width, size.height)) {
        return "expected a rectangle in pixels, its upper left corner, width and height (20,10,64,48), found "
               "\"" +
               text + "\"";
    }
    shot.right = shot.left + size.width;
    shot.bottom = shot.top + size.height;
    options.shot = shot;
    return "";
}

/** Whether a path has this ending, and something before it. */
bool IsNamed(std::string const& path, std::string const& ending) {
    return path.size() > ending.size() && HasEnding(path, ending);
}

/** The complaint about a path that names nothing; empty for any other. */
std::string CheckPath(std::string const& path) {
    return path.empty() ? "expected a path, found nothing" : "";
}

struct VideoName {
    char const* pName; ///< of the format, and behind a dot of its files
    VideoFormat format;
};
constexpr VideoName VideoNames[] = {{"y4m", VideoFormat::Y4m}, {"rgba", VideoFormat::Rgba}};

std::string ReadOut(std::string const& text, Options& options) {
    // A folder with such a name is hardly what is meant.
    static char const* const s_pictureEndings[] = {"png",  "jpg", "jpeg", "gif", "bmp",  "tga", "tif", "tiff",
                                                   "webp", "ppm", "apng", "mp4", "webm", "mkv", "avi", "mov"};
    std::string const ending = GetEnding(text);
    for (char const* pEnding : s_pictureEndings) {
        if (ending == pEnding && !IsPicturePath(text) && !IsWebpPath(text)) {
            return "expected a name that ends in .png or a folder, found \"" + text +
                   "\"; what moves ends in .webp, .y4m or .rgba";
        }
    }
    for (VideoName const& video : VideoNames) {
        if (IsNamed(text, std::string(".") + video.pName)) {
            options.video = video.format;
        }
    }
    options.out = text;
    return CheckPath(text);
}

std::string ReadSave(std::string const& text, Options& options) {
    options.save = text;
    return IsNamed(text, ".kelvo") ? "" : "expected a name that ends in .kelvo, found \"" + text + "\"";
}

/** One format of a surface, one of a video, or both with a comma between them. */
std::string ReadFormat(std::string const& text, Options& options) {
    std::istringstream names(text + ",");
    bool fSurface = false;
    for (std::string name; std::getline(names, name, ',');) {
        auto const pSurface = std::find_if(std::begin(FormatNames), std::end(FormatNames),
                                           [&](FormatName const& format) { return name == format.pName; });
        auto const pVideo = std::find_if(std::begin(VideoNames), std::end(VideoNames),
                                         [&](VideoName const& video) { return name == video.pName; });
        if (pSurface != std::end(FormatNames) && !fSurface) {
            options.format = pSurface->format;
            fSurface = true;
        } else if (pVideo != std::end(VideoNames) && !options.streamed) {
            options.streamed = pVideo->format;
        } else {
            return "expected rgb565, rgb888 or rgba8888, found \"" + text +
                   "\" (y4m or rgba are for --out -, beside these)";
        }
    }
    return "";
}

/** Whether the frames go into a folder of pictures, or are compared with one. */
bool IsFolder(Options const& options) {
    std::string const& path = options.compare.empty() ? options.out : options.compare;
    return !path.empty() && path != "-" && !options.video && !IsPicturePath(path) && !IsWebpPath(path);
}

/** What cannot be told from one option alone. Throws what the command line's reader does. */
void CheckTogether(CLI::App const& app, Options& options) {
    bool const fStream = options.out == "-";
    bool const fPictures = !options.out.empty() || !options.compare.empty();
    struct {
        char const* pOption;
        bool fFits;
        char const* pNeeded;
    } const rules[] = {{"--shot", fPictures, "--out"},
                       {"--scale", fPictures, "--out"},
                       {"--sheet", IsPicturePath(options.out), "--out FILE.png"},
                       {"--jobs", IsFolder(options), "--out FOLDER"},
                       {"--quality", IsWebpPath(options.out), "--out FILE.webp"},
                       {"--loop", IsWebpPath(options.out), "--out FILE.webp"}};
    for (auto const& rule : rules) {
        if (app.count(rule.pOption) > 0 && !rule.fFits) {
            throw CLI::RequiresError(rule.pOption, rule.pNeeded);
        }
    }
    if (options.streamed && !fStream) {
        throw CLI::RequiresError("--format y4m or rgba", "--out -");
    }
    if (fStream && !options.streamed) {
        throw CLI::RequiresError("--out -", "--format y4m or rgba");
    }
    if (fStream && (options.fStats || options.pick)) {
        throw CLI::ExcludesError("--out -", options.fStats ? "--stats" : "--pick");
    }
    if (options.fStatsJson && options.pick) {
        throw CLI::ExcludesError("--stats=json", "--pick");
    }
    if (options.pick && app.count("--jobs") > 0) {
        throw CLI::ExcludesError("--jobs", "--pick");
    }
    if (fStream) {
        options.video = options.streamed;
    }
}

std::string ReadStats(std::string const& text, Options& options) {
    options.fStats = true;
    options.fStatsJson = text == "json";
    return text == "text" || text == "json" ? "" : "expected text or json, found \"" + text + "\"";
}

std::string ReadQuality(std::string const& text, Options& options) {
    options.webp.quality = ReadNumber(text, 0, 100);
    return options.webp.quality ? "" : "expected a number from 0 to 100, found \"" + text + "\"";
}

std::string ReadScale(std::string const& text, Options& options) {
    std::size_t const nDot = text.find('.');
    std::string const fraction = nDot == std::string::npos ? "0" : text.substr(nDot + 1);
    std::optional<int> const whole = ReadNumber(text.substr(0, nDot), 0, 1);
    bool const fDigits = !fraction.empty() && fraction.find_first_not_of("0123456789") == std::string::npos;
    options.rScale = 0;
    std::istringstream(text) >> options.rScale;
    return whole && fDigits && options.rScale > 0 && options.rScale <= 1
               ? ""
               : "expected a number above 0 and up to 1 (0.25), found \"" + text + "\"";
}

std::string ReadSheet(std::string const& text, Options& options) {
    options.nSheetColumns = ReadNumber(text, 1, 65535).value_or(0);
    return options.nSheetColumns > 0 ? ""
                                     : "expected a number of columns from 1 to 65535, found \"" + text + "\"";
}

std::string ReadJobs(std::string const& text, Options& options) {
    std::optional<int> const jobs = ReadNumber(text, 1, MostJobs);
    options.nJobs = jobs.value_or(1);
    return jobs ? "" : "expected a number from 1 to " + std::to_string(MostJobs) + ", found \"" + text + "\"";
}

std::string ReadTolerance(std::string const& text, Options& options) {
    std::optional<int> const tolerance = ReadNumber(text, 0, 255);
    options.nTolerance = tolerance.value_or(0);
    return tolerance ? "" : "expected a number from 0 to 255, found \"" + text + "\"";
}

std::string ReadLoops(std::string const& text, Options& options) {
    std::optional<int> const loops = ReadNumber(text, 0, 65535);
    options.webp.loops = loops.value_or(0);
    return loops ? "" : "expected a number from 0 (without end) to 65535, found \"" + text + "\"";
}

struct LogLevel {
    char const* pName;
    int nLevel;
};
constexpr LogLevel LogLevels[] = {{"debug", TraceLevel::Debug},
                                  {"info", TraceLevel::Info},
                                  {"error", TraceLevel::Error},
                                  {"none", LogNothing}};

std::string ReadLogLevel(std::string const& text, Options& options) {
    for (LogLevel const& level : LogLevels) {
        if (text == level.pName) {
            options.nLogLevel = level.nLevel;
            return "";
        }
    }
    return "expected debug, info, error or none, found \"" + text + "\"";
}

/** An option whose text `read` turns into a part of the options, or into a complaint. */
CLI::Option* AddParsed(CLI::App& app, char const* pName, char const* pValue, char const* pHelp,
                       Options& options, std::string (*read)(std::string const&, Options&)) {
    return app
        .add_option_function<std::string>(
            pName,
            [&options, pName, read](std::string const& text) {
                std::string const complaint = read(text, options);
                if (!complaint.empty()) {
                    throw CLI::ValidationError(pName, complaint);
                }
            },
            pHelp)
        ->type_name(pValue);
}

} // namespace

bool IsPicturePath(std::string const& path) {
    return IsNamed(path, ".png");
}

bool IsWebpPath(std::string const& path) {
    return IsNamed(path, ".webp");
}

std::optional<int> ParseOptions(int nArguments, char const* const* ppArguments, Options& options) {
    CLI::App app{Description, "kelvo-player"};
    app.footer(Footer);
    app.get_formatter()->column_width(26);
    app.add_option("SCENE", options.scene,
                   "scene to play: a .json file (see docs/scene-format.md), a .kelvo file, or - for JSON "
                   "from standard input")
        ->required()
        ->check(CheckPath)
        ->type_name("");
    AddParsed(app, "--frames", "A..B", "frames to play; all of the scene's unless given", options,
              ReadFrames);
    AddParsed(app, "--size", "WxH", "size of the surface in pixels instead of the scene's", options,
              ReadSize);
    AddParsed(app, "--format", "NAME",
              "surface instead of the scene's: rgb565, rgb888 or rgba8888; y4m or rgba: what --out - writes",
              options, ReadFormat)
        ->join(',');
    AddParsed(app, "--out", "FILE|FOLDER",
              "the last frame as FILE.png, every frame into a folder, or into one FILE.webp, .y4m or .rgba, "
              "or as a stream to standard output (-)",
              options, ReadOut);
    AddParsed(app, "--quality", "N", "of a .webp, 0 to 100; without it not a byte is lost", options,
              ReadQuality);
    AddParsed(app, "--loop", "N", "how often a .webp is shown; 0, as without it, for ever", options,
              ReadLoops);
    AddParsed(app, "--shot", "X,Y,W,H", "of each picture only a rectangle, in pixels from the upper left",
              options, ReadShot);
    AddParsed(app, "--scale", "N", "make pictures smaller, N times their sides; 0.25: thumbnails", options,
              ReadScale);
    AddParsed(app, "--sheet", "COLUMNS", "all frames in one picture, so many beside each other", options,
              ReadSheet);
    app.add_option(
           "--compare", options.compare,
           "compare the frames with pictures that are there; where they differ, write how, and end with 1")
        ->check(CheckPath)
        ->type_name("FILE.png|FOLDER")
        ->excludes("--out");
    AddParsed(app, "--tolerance", "N", "differences of a channel, of 255, that count as none; 0 unless given",
              options, ReadTolerance)
        ->needs("--compare");
    app.add_flag("--post", options.fPost, "draw frames off screen first, then through the post-process pass");
    std::string stats;
    app.add_flag("--stats{text}", stats,
                 "print what was drawn with, then counters and times per frame; --stats=json does so as JSON")
        ->check([&options](std::string const& text) { return ReadStats(text, options); });
    app.add_option("--calls", options.calls,
                   "write the EGL and GL calls of the frames as text, without a driver; - is stdout")
        ->check(CheckPath)
        ->type_name("FILE")
        ->excludes("--out")
        ->excludes("--compare")
        ->excludes("--stats");
    CLI::Option* const pQuiet =
        app.add_flag("--quiet", options.fQuiet, "no progress bar, and no log unless --log-level asks for it");
    app.add_flag("--verbose", options.fVerbose, "tell on stderr what is read, drawn with and written")
        ->excludes(pQuiet);
    CLI::Option* const pLogLevel = AddParsed(
        app, "--log-level", "LEVEL",
        "what the libraries log on stderr: debug, info, error (as a rule) or none", options, ReadLogLevel);
    AddParsed(app, "--jobs", "N", "share the frames among so many processes, for a folder of pictures",
              options, ReadJobs)
        ->excludes("--stats")
        ->excludes("--calls");
    AddParsed(app, "--save", "FILE.kelvo", "write the scene as a binary file", options, ReadSave);
    app.add_option("--backend", options.backend, "plug-in to draw with instead of libkelvoGLES20")
        ->check(CheckPath)
        ->type_name("FILE");
    AddParsed(app, "--pick", "X,Y",
              "print the nodes at a point of the last frame, in pixels from the upper left", options,
              ReadPoint);
    app.set_version_flag("--version", GetVersion, "print the version, what is drawn with and its date");
    try {
        app.parse(nArguments, ppArguments);
        CheckTogether(app, options);
    } catch (CLI::Success const& success) {
        std::ostringstream text;
        app.exit(success, text, text);
        std::fputs(text.str().c_str(), stdout);
        return ExitSuccess;
    } catch (CLI::ParseError const& error) {
        std::fprintf(stderr, "kelvo-player: %s\nTry kelvo-player --help.\n", error.what());
        return ExitUsage;
    }
    if (pLogLevel->count() == 0 && options.fQuiet) {
        options.nLogLevel = LogNothing;
    }
    return std::nullopt;
}

char const* GetFormatName(DeviceFormat::Enum format) {
    for (FormatName const& name : FormatNames) {
        if (name.format == format) {
            return name.pName;
        }
    }
    return format == DeviceFormat::RGBX8888 ? "rgbx8888" : "unknown";
}

} // namespace kelvokit::player
