#include "trace/TraceEvents.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <tuple>

namespace kelvokit::player {

namespace {

constexpr char const* Categories[] = {"frame", "part", "node", "scope"};

/** Text as a JSON string. */
std::string Quote(std::string const& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/** Microseconds with all their digits. */
std::string ToMicroseconds(Nanoseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%llu.%03u", static_cast<unsigned long long>(time / 1000),
                  static_cast<unsigned int>(time % 1000));
    return text;
}

/** What a process or a thread is called. */
std::string NameThread(char const* pWhat, std::size_t nThread, std::string const& name) {
    return std::string(R"({"ph": "M", "name": ")") + pWhat + R"(", "pid": 1, "tid": )" +
           std::to_string(nThread) + R"(, "args": {"name": )" + Quote(name) + "}}";
}

} // namespace

Nanoseconds Now() {
    auto const time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<Nanoseconds>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

TraceEvents::TraceEvents() : m_origin(Now()) {
    FindThread();
}

unsigned int TraceEvents::FindThread() {
    auto const found = std::find(m_threads.begin(), m_threads.end(), std::this_thread::get_id());
    auto const nThread = static_cast<unsigned int>(found - m_threads.begin()) + 1;
    if (found == m_threads.end()) {
        m_threads.push_back(std::this_thread::get_id());
    }
    return nThread;
}

unsigned int TraceEvents::AddName(TraceKind kind, std::string const& name, std::string const& arguments) {
    std::string text =
        R"("name": )" + Quote(name) + R"(, "cat": ")" + Categories[static_cast<std::size_t>(kind)] + "\"";
    if (!arguments.empty()) {
        text += R"(, "args": {)" + arguments + "}";
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_names.push_back({std::move(text)});
    return static_cast<unsigned int>(m_names.size()) - 1;
}

void TraceEvents::Add(unsigned int nName, Nanoseconds start, Nanoseconds end) {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_events.push_back({nName, FindThread(), start, end});
}

void TraceEvents::AddCounter(char const* pName, char const* pUnit, Nanoseconds time, long long nValue) {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_counters.push_back({pName, pUnit, time, nValue});
}

std::string TraceEvents::ToText(Event const& event) const {
    return R"({"ph": "X", "pid": 1, "tid": )" + std::to_string(event.nThread) + R"(, "ts": )" +
           ToMicroseconds(event.start - m_origin) + R"(, "dur": )" + ToMicroseconds(event.end - event.start) +
           ", " + m_names[event.nName].text + "}";
}

std::string TraceEvents::ToText(Counter const& counter) const {
    return R"({"ph": "C", "pid": 1, "tid": 1, "ts": )" + ToMicroseconds(counter.time - m_origin) +
           R"(, "name": )" + Quote(counter.pName) + R"(, "args": {)" + Quote(counter.pUnit) + ": " +
           std::to_string(counter.nValue) + "}}";
}

std::string TraceEvents::GetHead() const {
    return "{\"displayTimeUnit\": \"ms\", \"traceEvents\": [\n" +
           NameThread("process_name", 1, "kelvo-player");
}

std::string TraceEvents::TakeText() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    // Events are added when they end, so of equal ones the outermost comes last: first what was added last.
    std::reverse(m_events.begin(), m_events.end());
    auto const order = [](Event const& event) { return std::make_tuple(event.start, ~event.end); };
    std::stable_sort(m_events.begin(), m_events.end(),
                     [&](Event const& one, Event const& two) { return order(one) < order(two); });
    std::string text;
    for (; m_nThreadsTold < m_threads.size(); ++m_nThreadsTold) {
        text += ",\n" +
                NameThread("thread_name", m_nThreadsTold + 1,
                           m_nThreadsTold == 0 ? "frames" : "thread " + std::to_string(m_nThreadsTold + 1));
    }
    for (Event const& event : m_events) {
        text += ",\n" + ToText(event);
    }
    for (Counter const& counter : m_counters) {
        text += ",\n" + ToText(counter);
    }
    m_events.clear();
    m_counters.clear();
    return text;
}

} // namespace kelvokit::player
