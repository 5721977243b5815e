#pragma once

#include "command/Options.h"

#include <string>

namespace kelvokit::player {

// What the texts of options mean: each takes the text of one into `options`. Returns the complaint about it,
// "expected ..., found ...", or an empty text.

std::string ReadFrames(std::string const& text, Options& options);
std::string ReadSize(std::string const& text, Options& options);
std::string ReadPoint(std::string const& text, Options& options);
std::string ReadShot(std::string const& text, Options& options);
std::string ReadOut(std::string const& text, Options& options);
std::string ReadSave(std::string const& text, Options& options);
std::string ReadFormat(std::string const& text, Options& options);
std::string ReadExplain(std::string const& text, Options& options);
std::string ReadOverdraw(std::string const& text, Options& options);
std::string ReadStats(std::string const& text, Options& options);
std::string ReadQuality(std::string const& text, Options& options);
std::string ReadScale(std::string const& text, Options& options);
std::string ReadSheet(std::string const& text, Options& options);
std::string ReadJobs(std::string const& text, Options& options);
std::string ReadTolerance(std::string const& text, Options& options);
std::string ReadLoops(std::string const& text, Options& options);
std::string ReadLogLevel(std::string const& text, Options& options);

/** The complaint about a path that names nothing; empty for any other. */
std::string CheckPath(std::string const& path);

} // namespace kelvokit::player
