#include "command/Options.h"

#include "command/OptionReaders.h"
#include "command/Paths.h"
#include "command/Version.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iterator>
#include <memory>
#include <sstream>

namespace kelvokit::player {

namespace {

char const* const Description =
    "Plays a scene off-screen and turns its frames into pictures. Frames are played in fixed\n"
    "steps of the scene's frame rate, however long they take to draw, so the same scene gives\n"
    "the same pictures every time.";

char const* const Footer =
    "Examples:\n"
    "  kelvo-player scene.json --out pictures     every frame, as pictures/frame_00000.png ...\n"
    "  kelvo-player scene.json --window --watch   in a window, anew whenever the scene is saved\n"
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
    "  kelvo-player scene.json --frames 10 --explain --overdraw heat.png\n"
    "                                             what costs most in frame 10, and where\n"
    "  kelvo-player scene.json --trace trace.json what takes how long: open it at ui.perfetto.dev\n"
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
    "cannot be; frames that differ from those of --compare end with 1, too, and with --strict so does\n"
    "any warning.\n"
    "\n"
    "Environment: KELVO_EGL_PLATFORM chooses what is drawn with: surfaceless, device or device:N.";

/** Whether the frames go into a folder of pictures, or are compared with one. */
bool IsFolder(Options const& options) {
    std::string const& path = options.compare.empty() ? options.out : options.compare;
    return !path.empty() && path != "-" && !options.video && !IsPicturePath(path) && !IsWebpPath(path);
}

/** What plays no scene goes alone; what classes there are is the back end's. */
void CheckAlone(CLI::App const& app, Options const& options) {
    if (!options.fSchema && options.formatScene.empty()) {
        if (options.scene.empty()) {
            throw CLI::RequiredError("SCENE");
        }
        return;
    }
    std::string const alone = options.fSchema ? "--schema" : "--format-scene";
    for (CLI::Option const* const pOption : app.get_options()) {
        std::string const name = pOption->get_name();
        if (pOption->count() > 0 && name != alone && name != "--backend") {
            throw CLI::ExcludesError(alone, name);
        }
    }
}

/** Outputs must not take the place of what is read, or of each other. */
void CheckFiles(Options const& options) {
    struct {
        char const* pOption;
        std::string const& path;
    } const files[] = {{"SCENE", options.scene},         {"--compare", options.compare},
                       {"--out", options.out},           {"--save", options.save},
                       {"--overdraw", options.overdraw}, {"--calls", options.calls},
                       {"--trace", options.trace}};
    for (auto pOne = std::begin(files); pOne != std::end(files); ++pOne) {
        for (auto pOther = pOne + 1; pOther != std::end(files); ++pOther) {
            if (IsSameFile(pOne->path, pOther->path)) {
                throw CLI::ValidationError(pOther->pOption,
                                           "the file \"" + pOther->path + "\" is " +
                                               (pOne->pOption == std::string("SCENE")
                                                    ? "the scene"
                                                    : std::string("that of ") + pOne->pOption));
            }
        }
    }
}

/** --explain=FRAME is as --frames, of one frame. */
void TakeExplained(CLI::App const& app, Options& options) {
    if (!options.explained) {
        return;
    }
    if (app.count("--frames") > 0) {
        throw CLI::ExcludesError("--explain=FRAME", "--frames");
    }
    if (IsFolder(options) || options.video || IsWebpPath(options.out) || options.nSheetColumns > 0) {
        throw CLI::ExcludesError("--explain=FRAME", "--out or --compare of more than one frame");
    }
    options.frames = FrameRange{*options.explained, *options.explained};
}

/** What cannot be told from one option alone. Throws what the command line's reader does. */
void CheckTogether(CLI::App const& app, Options& options) {
    CheckAlone(app, options);
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
    if (fStream && options.fExplain) {
        throw CLI::ExcludesError("--out -", "--explain");
    }
    if (options.fStatsJson && options.pick) {
        throw CLI::ExcludesError("--stats=json", "--pick");
    }
    if (options.pick && app.count("--jobs") > 0) {
        throw CLI::ExcludesError("--jobs", "--pick");
    }
    if (options.trace == "-" && (fStream || options.fStats || options.pick)) {
        throw CLI::ExcludesError("--trace -", fStream ? "--out -" : options.fStats ? "--stats" : "--pick");
    }
    if (options.fWatch && (fStream || options.scene == "-")) {
        throw CLI::ExcludesError("--watch", fStream ? "--out -" : "the scene -");
    }
    if (fStream) {
        options.video = options.streamed;
    }
    CheckFiles(options);
    TakeExplained(app, options);
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

/** What is played. */
void AddScene(CLI::App& app, Options& options) {
    app.option_defaults()->group("Played");
    app.add_option("SCENE", options.scene,
                   "scene to play: a .json file (see docs/scene-format.md), a .kelvo file, or - for JSON "
                   "from standard input")
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
    app.add_flag("--post", options.fPost, "draw frames off screen first, then through the post-process pass");
    app.add_option("--backend", options.backend, "plug-in to draw with instead of libkelvoGLES20")
        ->check(CheckPath)
        ->type_name("FILE");
}

/** A window in place of pictures. */
void AddWindow(CLI::App& app, Options& options) {
    app.option_defaults()->group("Window");
    CLI::Option* const pWindow =
        app.add_flag("--window", options.fWindow, "play in a window; F1 shows its keys");
    for (char const* const pOther : {"--out", "--compare", "--stats", "--calls", "--trace", "--explain",
                                     "--overdraw", "--pick", "--save"}) {
        pWindow->excludes(app.get_option(pOther));
    }
    app.add_flag("--overlay", options.fOverlay, "show figures of the frame in the window from the beginning")
        ->needs(pWindow);
    app.add_flag("--once", options.fOnce, "end after the last frame in place of beginning again")
        ->needs(pWindow);
    app.add_flag("--watch", options.fWatch,
                 "play again, or in the window show anew, whenever a file of the scene changes")
        ->excludes(app.get_option("--save"));
}

/** What of the frames becomes pictures, or is compared with some. */
void AddPictures(CLI::App& app, Options& options) {
    app.option_defaults()->group("Pictures");
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
    AddParsed(app, "--jobs", "N", "share the frames among so many processes, for a folder of pictures",
              options, ReadJobs);
    app.add_option(
           "--compare", options.compare,
           "compare the frames with pictures that are there; where they differ, write how, and end with 1")
        ->check(CheckPath)
        ->type_name("FILE.png|FOLDER")
        ->excludes("--out");
    AddParsed(app, "--tolerance", "N", "differences of a channel, of 255, that count as none; 0 unless given",
              options, ReadTolerance)
        ->needs("--compare");
}

/** What the last frame costs. */
void AddExplanations(CLI::App& app, Options& options) {
    auto const pExplain = std::make_shared<std::string>(); // lives as long as the option
    CLI::Option* const explanations[] = {
        app.add_flag("--explain{text}", *pExplain,
                     "print what each node of the last frame costs: calls, pixels, memory and time; "
                     "--explain=45 of frame 45 alone; --explain=json does so as JSON")
            ->check([&options, pExplain](std::string const& text) { return ReadExplain(text, options); })
            ->excludes("--pick"),
        AddParsed(app, "--overdraw", "FILE.png",
                  "write a heat map of the last frame: how often each pixel was written", options,
                  ReadOverdraw)};
    for (CLI::Option* const pOption : explanations) {
        pOption->excludes("--stats")->excludes("--calls")->excludes("--trace")->excludes("--jobs");
    }
}

/** What is told of the frames in place of pictures, or beside them. */
void AddReports(CLI::App& app, Options& options) {
    app.option_defaults()->group("Told of the frames");
    auto const pStats = std::make_shared<std::string>(); // lives as long as the option
    app.add_flag("--stats{text}", *pStats,
                 "print what was drawn with, then counters and times per frame; --stats=json does so as JSON")
        ->check([&options, pStats](std::string const& text) { return ReadStats(text, options); })
        ->excludes("--jobs");
    app.add_option("--calls", options.calls,
                   "write the EGL and GL calls of the frames as text, without a driver; - is stdout")
        ->check(CheckPath)
        ->type_name("FILE")
        ->excludes("--out")
        ->excludes("--compare")
        ->excludes("--stats")
        ->excludes("--jobs");
    app.add_option("--trace", options.trace,
                   "write what frames, nodes and scopes take as a trace, for ui.perfetto.dev; - is stdout")
        ->check(CheckPath)
        ->type_name("FILE.json")
        ->excludes("--calls")
        ->excludes("--jobs");
    AddParsed(app, "--pick", "X,Y",
              "print the nodes at a point of the last frame, in pixels from the upper left", options,
              ReadPoint);
    AddExplanations(app, options);
    AddParsed(app, "--save", "FILE.kelvo", "write the scene as a binary file", options, ReadSave);
}

/** What helps those who write scenes, and plays none. */
void AddAuthoring(CLI::App& app, Options& options) {
    app.option_defaults()->group("Without SCENE");
    app.add_flag("--schema", options.fSchema,
                 "print the JSON schema that editors complete and check scenes by");
    app.add_option("--format-scene", options.formatScene,
                   "print a scene file (- for standard input) in the one form that all can have; comments "
                   "have to be keys")
        ->check(CheckPath)
        ->type_name("FILE.json");
    app.option_defaults()->group("Told on the way");
}

/** How much is told on the way. */
void AddLogging(CLI::App& app, Options& options) {
    app.option_defaults()->group("Told on the way");
    CLI::Option* const pQuiet = app.add_flag(
        "--quiet", options.fQuiet, "no progress bar, no warnings, and no log unless --log-level asks for it");
    CLI::Option* const pCheck = app.add_flag("--check", options.fCheck,
                                             "draw nothing: tell what is wrong with the scene, and warnings");
    for (char const* const pOther : {"--out", "--compare", "--jobs", "--stats", "--calls", "--trace",
                                     "--explain", "--overdraw", "--pick", "--save", "--window", "--watch"}) {
        pCheck->excludes(app.get_option(pOther));
    }
    app.add_flag("--strict", options.fStrict, "with warnings draw nothing, and end with 1");
    app.add_flag("--verbose", options.fVerbose, "tell on stderr what is read, drawn with and written")
        ->excludes(pQuiet);
    AddParsed(app, "--log-level", "LEVEL",
              "what the libraries log on stderr: debug, info, error (as a rule) or none", options,
              ReadLogLevel);
}

/** The parser's own words, but for an option that is given twice. */
std::string Describe(CLI::ParseError const& error, CLI::App const& app) {
    for (CLI::Option const* const pOption : app.get_options()) {
        if (error.get_name() == "ArgumentMismatch" && pOption->get_items_expected_max() == 1 &&
            pOption->count() > 1) {
            return pOption->get_name() + " may be given once";
        }
    }
    return error.what();
}

} // namespace

std::optional<int> ParseOptions(int nArguments, char const* const* ppArguments, Options& options) {
    CLI::App app{Description, "kelvo-player"};
    app.footer(Footer);
    app.get_formatter()->column_width(26);
    AddScene(app, options);
    AddPictures(app, options);
    AddReports(app, options);
    AddWindow(app, options);
    AddLogging(app, options);
    AddAuthoring(app, options);
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
        std::fprintf(stderr, "kelvo-player: %s\nTry kelvo-player --help.\n", Describe(error, app).c_str());
        return ExitUsage;
    }
    if (app.count("--log-level") == 0 && options.fQuiet) {
        options.nLogLevel = LogNothing;
    }
    return std::nullopt;
}

} // namespace kelvokit::player
