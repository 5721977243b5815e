#include "trevik/LogLine.h"

#include <android/log.h>

namespace trevik {

void LogLine(TraceLevel::Enum level, char const* text) {
    int const priority = level >= TraceLevel::Error  ? ANDROID_LOG_ERROR
                         : level == TraceLevel::Info ? ANDROID_LOG_INFO
                                                     : ANDROID_LOG_DEBUG;
    __android_log_write(priority, "kelvo", text);
}

} // namespace trevik
