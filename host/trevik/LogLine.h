#pragma once

#include "trevik/Debug.h"

namespace trevik {

/**
 * Puts one line of UTF-8, which may end with its line break, where people look for a program's messages: on
 * stderr, or in Android's log. Any thread.
 */
void LogLine(TraceLevel::Enum level, char const* text);

} // namespace trevik
