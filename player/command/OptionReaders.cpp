#include "command/OptionReaders.h"

#include "command/Paths.h"
#include "kelvo_host/Scene.h"

#include <algorithm>
#include <cctype>
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

/** Whether a path has this ending, and something before it. */
bool IsNamed(std::string const& path, std::string const& ending) {
    return path.size() > ending.size() && HasEnding(path, ending);
}

struct VideoName {
    char const* pName; ///< of the format, and behind a dot of its files
    VideoFormat format;
};
constexpr VideoName VideoNames[] = {{"y4m", VideoFormat::Y4m}, {"rgba", VideoFormat::Rgba}};

struct LogLevel {
    char const* pName;
    int nLevel;
};
constexpr LogLevel LogLevels[] = {{"debug", TraceLevel::Debug},
                                  {"info", TraceLevel::Info},
                                  {"error", TraceLevel::Error},
                                  {"none", LogNothing}};

} // namespace

bool IsPicturePath(std::string const& path) {
    return IsNamed(path, ".png");
}

bool IsWebpPath(std::string const& path) {
    return IsNamed(path, ".webp");
}

std::string ReadFrames(std::string const& text, Options& options) {
    FrameRange range{0, 0};
    if (std::optional<int> const frame = ReadNumber(text, 0, LastFrame)) {
        range = {*frame, *frame};
    } else if (!ReadPair(text, "..", 0, LastFrame, range.nFirst, range.nLast) || range.nLast < range.nFirst) {
        return "expected a frame (45) or a first and a last one (0..89), up to " + std::to_string(LastFrame) +
               ", found \"" + text + "\"";
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

std::string CheckPath(std::string const& path) {
    return path.empty() ? "expected a path, found nothing" : "";
}

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

std::string ReadExplain(std::string const& text, Options& options) {
    options.fExplain = true;
    options.fExplainJson = text == "json";
    if (std::optional<int> const frame = ReadNumber(text, 0, LastFrame)) {
        options.explained = *frame;
        return "";
    }
    return text == "text" || text == "json" ? "" : "expected a frame, text or json, found \"" + text + "\"";
}

std::string ReadOverdraw(std::string const& text, Options& options) {
    options.overdraw = text;
    return IsPicturePath(text) ? "" : "expected a name that ends in .png, found \"" + text + "\"";
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

std::string ReadLogLevel(std::string const& text, Options& options) {
    for (LogLevel const& level : LogLevels) {
        if (text == level.pName) {
            options.nLogLevel = level.nLevel;
            return "";
        }
    }
    return "expected debug, info, error or none, found \"" + text + "\"";
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
