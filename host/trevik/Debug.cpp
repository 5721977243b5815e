#include "trevik/Debug.h"

#include "trevik/Immortal.h"
#include "trevik/LogLine.h"
#include "trevik/Mutex.h"

namespace trevik {

namespace {

/** Held while a line is handed over, so that lines do not mix and a sink that was replaced has returned. */
Mutex& SinkMutex() {
    static Immortal<Mutex> s_mutex;
    return s_mutex.Get();
}

TraceSink g_sink = {nullptr, nullptr};

} // namespace

std::atomic<int> Debug::s_nMinimumLevel{TraceLevel::Error};

void Debug::Trace(TraceLevel::Enum level, StringEncoded<UTF16Encoding> const& message) {
    if (!IsEnabled(level)) {
        return;
    }
    ScopedLock lock(SinkMutex());
    TraceSink const sink = g_sink;
    if (sink.pfnTrace) {
        sink.pfnTrace(sink.pUser, level, message);
    } else {
        LogLine(level, StringEncoded<UTF8Encoding>(message).GetData());
    }
}

TraceSink Debug::SetSink(TraceSink::Function trace, void* user) {
    return SetSink(TraceSink{trace, user});
}

TraceSink Debug::SetSink(TraceSink const& sink) {
    ScopedLock lock(SinkMutex());
    TraceSink const before = g_sink;
    g_sink = sink;
    return before;
}

TraceLevel::Enum Debug::SetMinimumLevel(TraceLevel::Enum level) {
    return static_cast<TraceLevel::Enum>(s_nMinimumLevel.exchange(level, std::memory_order_relaxed));
}

} // namespace trevik
