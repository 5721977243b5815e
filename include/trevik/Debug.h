#pragma once

#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

#include <atomic>
#include <cstdarg>

namespace trevik {

/** How much a trace matters. */
struct TraceLevel {
    enum Enum { Debug = 0, Info = 1, Error = 2 };
};

/** Where traces go: a function with a value of its user's choice. */
struct TraceSink {
    /** Told one message and its level. */
    using Function = void (*)(void* user, TraceLevel::Enum level,
                              StringEncoded<UTF16Encoding> const& message);

    Function pfnTrace; ///< null: the default, one line in UTF-8 on stderr, or in Android's log
    void* pUser;       ///< handed to the function
};

/** The trace of the whole process. Any thread may trace at any time; lines do not mix. */
class TREVIK_API Debug {
public:
    /**
     * Logs one line, unless its level is below the minimum. A line break at the end of the message is not
     * doubled.
     */
    static void Trace(TraceLevel::Enum level, StringEncoded<UTF16Encoding> const& message);

    /** The same with UTF16Encoding::FormatV, which runs only for a line that is logged. */
    static void TraceFormat(TraceLevel::Enum level, char16_t const* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        TraceFormatV(level, format, arguments);
        va_end(arguments);
    }
    /** The same with the arguments of a format in one. */
    static void TraceFormatV(TraceLevel::Enum level, char16_t const* format, va_list arguments) {
        if (IsEnabled(level)) {
            Trace(level, StringEncoded<UTF16Encoding>::FormatV(format, arguments));
        }
    }

    /**
     * Sends traces to a sink, null for the default, and returns the one before. The sink is called on the
     * tracing thread, one call at a time; it may trace in turn, but not wait for another thread that does.
     * Once this returns on another thread than the sink's, the sink before is not called any more.
     */
    static TraceSink SetSink(TraceSink::Function trace, void* user = nullptr);
    /** The same with a sink that an earlier call has returned. */
    static TraceSink SetSink(TraceSink const& sink);

    /** Sets the lowest level that is logged, errors at first, and returns the one before. */
    static TraceLevel::Enum SetMinimumLevel(TraceLevel::Enum level);

    /** Whether a trace of this level is logged: for messages that are costly to build. */
    static bool IsEnabled(TraceLevel::Enum level) {
        return level >= s_nMinimumLevel.load(std::memory_order_relaxed);
    }

private:
    static std::atomic<int> s_nMinimumLevel;
};

} // namespace trevik
