#pragma once

#include "image/WebpWriter.h"
#include "trevik/Debug.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/DeviceFormat.h"

#include <optional>
#include <string>

namespace kelvokit::player {

/** How the player ends; its --help lists them. */
enum ExitCode {
    ExitSuccess = 0,
    ExitBadFile = 1, ///< a scene or picture cannot be read or written
    ExitUsage = 2,   ///< the command line makes no sense
    ExitDevice = 3,  ///< no back end, no graphics device, or one that cannot do what is needed
    ExitSignal = 128 ///< and the number of the signal that ended it, such as 130: interrupted
};

/** A level of traces above all others: none of them is logged. */
constexpr int LogNothing = trevik::TraceLevel::Error + 1;

/** Frames to play, the first and the last one. */
struct FrameRange {
    int nFirst;
    int nLast;
};

/** Frames one after the other, not compressed. */
enum class VideoFormat { Y4m, Rgba };

/** What the command line asks for. */
struct Options {
    std::string scene;
    std::optional<FrameRange> frames;
    std::optional<trevik::SizeT<int>> size;
    std::optional<trevik::kelvo::DeviceFormat::Enum> format;
    std::string out; ///< a picture, a video, "-" for a video on stdout, or a folder; empty for no pictures
    std::optional<VideoFormat> video; ///< what `out` is
    trevik::kelvo::assets::WebpOptions webp;
    std::optional<VideoFormat> streamed; ///< what --format asks for on stdout
    int nSheetColumns = 0;               ///< of all frames in one picture; 0 for none
    int nJobs = 1;                       ///< processes that share the frames
    std::string compare;                 ///< a picture or a folder of them to compare with; empty for none
    int nTolerance = 0;                  ///< of 255: differences that do not count
    std::string save;                    ///< empty for none
    bool fExplain = false;               ///< tell what the last frame costs
    bool fExplainJson = false;           ///< and this as JSON
    std::optional<int> explained;        ///< the frame that --explain names, in place of --frames
    std::string overdraw;                ///< a heat map of it; empty for none
    std::string calls;                   ///< a file for the frames' calls, "-" for stdout; empty for none
    std::string trace;                   ///< a file for what frames took, "-" for stdout; empty for none
    std::string backend;                 ///< empty for the one that comes with the player
    std::optional<trevik::Vector2T<int>> pick;
    std::optional<trevik::RectangleT<int>> shot; ///< what of the surface becomes pictures, y down
    double rScale = 1;                           ///< of pictures against the surface, at most 1
    bool fWindow = false;                        ///< play in a window
    bool fOverlay = false;                       ///< with figures of the frames in it
    bool fOnce = false;                          ///< and end after the last frame
    bool fWatch = false;                         ///< play again whenever a file of the scene changes
    bool fCheck = false;                         ///< only tell what is wrong with the scene
    std::string formatScene;                     ///< a scene file to print in its one form; empty for none
    bool fSchema = false;                        ///< print what scene files may say
    bool fStrict = false;                        ///< warnings end the player
    bool fPost = false;                          ///< draw frames through the post-process pass
    bool fStats = false;
    bool fStatsJson = false;                   ///< and these as JSON
    bool fQuiet = false;                       ///< no progress bar
    bool fVerbose = false;                     ///< tell what is done
    int nLogLevel = trevik::TraceLevel::Error; ///< lowest level of traces that is logged

    /** Whether the last frame is measured, for which GL functions that count have to be there. */
    bool Explains() const { return fExplain || !overdraw.empty(); }
};

/** Whether a path names a picture, rather than a folder of pictures. */
bool IsPicturePath(std::string const& path);

/** Whether a path names an animation. */
bool IsWebpPath(std::string const& path);

/**
 * Reads the command line. When there is nothing more to do, the help text or a complaint has been printed and
 * the exit code is returned.
 */
std::optional<int> ParseOptions(int nArguments, char const* const* ppArguments, Options& options);

/** The name that the command line and scene files give to a surface format. */
char const* GetFormatName(trevik::kelvo::DeviceFormat::Enum format);

} // namespace kelvokit::player
