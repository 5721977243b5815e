#include "trevik/LogLine.h"

#include <cstdio>
#include <cstring>

namespace trevik {

void LogLine(TraceLevel::Enum, char const* text) {
    std::size_t const length = std::strlen(text);
    bool const broken = length > 0 && text[length - 1] == '\n';
    std::fprintf(stderr, broken ? "%s" : "%s\n", text);
}

} // namespace trevik
